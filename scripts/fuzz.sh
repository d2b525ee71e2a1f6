#!/usr/bin/env bash
# Builds the native fuzz targets (clang, libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) and runs each for a bounded time. Exits non-zero
# when a target finds a crash or a broken invariant; the input that did it is
# left in the build folder (crash-*, leak-*, timeout-*).
#
#   scripts/fuzz.sh                 every target (fuzz/*Fuzz.cpp), 60 s each
#   scripts/fuzz.sh 300 RegionFuzz  one target, 300 s
#   GRS_FUZZ_BUILD=dir              build folder (default: build-fuzz)
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
SECONDS_EACH=${1:-60}
shift || true
TARGETS=("$@")
BUILD=${GRS_FUZZ_BUILD:-$ROOT/build-fuzz}
case "$BUILD" in /*) ;; *) BUILD="$ROOT/$BUILD" ;; esac

log() { printf '[fuzz] %s\n' "$*" >&2; }

# clang, libFuzzer (clang's runtime package), jsoncpp and rapidjson for Linux:
# on bootstrap.sh's list of tools.
GRS_TOOLS_ONLY=1 "$ROOT/scripts/bootstrap.sh" >/dev/null

CXX=clang++ cmake -S "$ROOT/fuzz" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD" -j "$(nproc 2>/dev/null || echo 2)" >&2
[ "${#TARGETS[@]}" -gt 0 ] || mapfile -t TARGETS <"$BUILD/fuzz-targets.txt"

failed=()
for target in "${TARGETS[@]}"; do
  corpus="$BUILD/corpus/$target"
  mkdir -p "$corpus"
  # Regression inputs are replayed first, every run; seeds
  # give the targets that need structure (JSON, a settings file) a start.
  seeds=()
  for extra in "$ROOT/fuzz/regressions/$target" "$ROOT/fuzz/seeds/$target"; do
    [ -d "$extra" ] && seeds+=("$extra")
  done
  log "$target: ${SECONDS_EACH} s"
  if ! (cd "$BUILD" && "./$target" -max_total_time="$SECONDS_EACH" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 "$corpus" "${seeds[@]}" 2>"$BUILD/$target.log"); then
    failed+=("$target")
    tail -n 40 "$BUILD/$target.log" >&2
  else
    grep -E '^stat::number_of_executed_units' "$BUILD/$target.log" | sed "s/^/[fuzz] $target /" >&2 || true
  fi
done
if [ "${#failed[@]}" -gt 0 ]; then
  log "FAILED: ${failed[*]} (inputs in $BUILD)"
  exit 1
fi
log "no crash in ${#TARGETS[@]} targets"
