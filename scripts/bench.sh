#!/usr/bin/env bash
# Builds the optimised benchmarks (preset mingw-release, with Google Benchmark,
# SimpleIni and, when its source can be had, inih) and runs them under Wine.
# Every figure is a ratio of two measurements of the same run; the ratios are
# printed at the end of each program's output and written, with the date, the
# commit and the machine of the run, over docs/benchmark-results.md (or
# GRS_BENCH_RESULTS). A run that fails writes nothing.
#
#   scripts/bench.sh                      both programs
#   scripts/bench.sh --benchmark_filter=Ini   extra flags go to Google Benchmark
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
RESULTS=${GRS_BENCH_RESULTS:-$ROOT/docs/benchmark-results.md}
PROGRAMS=(bench_startup bench_parsers)

GRS_DEPS_PREFIX=$(GRS_WITH_BENCHMARK=1 "$ROOT/scripts/bootstrap.sh" | tail -n 1)
export GRS_DEPS_PREFIX
cmake --preset mingw-release >/dev/null
cmake --build build-release --target "${PROGRAMS[@]}" -j "$(nproc 2>/dev/null || echo 2)"

OUTPUT=$(mktemp -d)
trap 'rm -rf "$OUTPUT"' EXIT

# The facts a reader needs to compare two runs: when, which code, which machine.
machine_facts() {
  local commit cpu memory os wine compiler
  commit=$(git -C "$ROOT" rev-parse --short HEAD 2>/dev/null || echo unknown)
  # The results file itself is not a change of the code measured.
  if [ -n "$(git -C "$ROOT" status --porcelain -- . ':!docs/benchmark-results.md' 2>/dev/null)" ]; then
    commit="$commit with uncommitted changes"
  fi
  cpu=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo 2>/dev/null | head -n 1)
  memory=$(awk '/^MemTotal:/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo 2>/dev/null)
  os=$(. /etc/os-release 2>/dev/null && echo "${PRETTY_NAME:-}")
  wine=$({ command -v wine64 >/dev/null && wine64 --version; } 2>/dev/null || wine --version 2>/dev/null || echo unknown)
  compiler=$(x86_64-w64-mingw32-g++-posix --version 2>/dev/null | head -n 1)
  echo "| run | $(date -u '+%Y-%m-%d %H:%M UTC') |"
  echo "| commit | $commit |"
  echo "| flags | ${*:-none} |"
  echo "| processor | ${cpu:-unknown}, $(nproc 2>/dev/null || echo '?') cores, ${memory:-unknown memory} |"
  echo "| system | ${os:-unknown}, Linux $(uname -r) |"
  echo "| Wine | $wine |"
  echo "| compiler | ${compiler:-unknown} |"
}

# The ratios and notes of one program's output: from the ratio table's header
# to the end, without Wine's carriage returns or colour codes.
ratio_lines() {
  tr -d '\r' <"$1" | sed 's/\x1b\[[0-9;]*m//g' | sed -n '/^ratio (ours \/ peer/,$p'
}

write_results() {
  local program
  {
    echo "# Benchmark results"
    echo
    echo "Written by \`scripts/bench.sh\` at the end of its run, over the previous run's results: not edited by hand."
    echo "What each figure compares and the goals: [benchmarks.md](benchmarks.md)."
    echo
    echo "| | |"
    echo "|---|---|"
    machine_facts "$@"
    for program in "${PROGRAMS[@]}"; do
      echo
      echo "## $program"
      echo
      echo '```text'
      ratio_lines "$OUTPUT/$program.txt"
      echo '```'
    done
  } >"$OUTPUT/results.md"
  mkdir -p "$(dirname "$RESULTS")"
  cp "$OUTPUT/results.md" "$RESULTS.tmp" && mv "$RESULTS.tmp" "$RESULTS"
  echo "results: $RESULTS" >&2
}

for program in "${PROGRAMS[@]}"; do
  echo
  echo "== $program"
  build-release/wine-run.sh "build-release/bin/$program.exe" --benchmark_min_time=0.2 "$@" | tee "$OUTPUT/$program.txt"
done
write_results "$@"
