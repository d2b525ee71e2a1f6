#!/usr/bin/env bash
# Builds everything (dependencies on first use) and runs every test under Wine.
# Without arguments it also builds the library with clang (mingw-clang preset,
# warnings as errors); arguments (a choice of suites) go to ctest and skip
# that build.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
if [ "$#" -eq 0 ] && [ -z "${GRS_PRESET:-}" ]; then
  cmake --preset mingw-clang >/dev/null
  cmake --build --preset mingw-clang --target GlobalRootService -j "$(nproc 2>/dev/null || echo 2)" >&2
fi
exec ctest --preset "$PRESET" "$@"
