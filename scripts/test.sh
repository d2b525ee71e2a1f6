#!/usr/bin/env bash
# Builds everything (dependencies on first use) and runs every test under Wine.
# Without arguments it also builds the whole tree a second time with clang and
# lld (mingw-clang preset, warnings as errors) and runs clang-tidy over the
# library's sources; arguments (a choice of suites) go to ctest and skip both.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
if [ "$#" -eq 0 ] && [ -z "${GRS_PRESET:-}" ]; then
  cmake --preset mingw-clang >/dev/null
  cmake --build --preset mingw-clang -j "$(nproc 2>/dev/null || echo 2)" >&2
  "$ROOT/scripts/tidy.sh" "$ROOT/build-clang"
fi
exec ctest --preset "$PRESET" "$@"
