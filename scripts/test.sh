#!/usr/bin/env bash
# The test command.
#
#   scripts/test.sh             the full gate, as CI runs it: builds everything
#                               (dependencies on first use) and runs every suite
#                               under Wine; then builds the tree again with clang
#                               and lld (mingw-clang preset, warnings as errors),
#                               runs clang-tidy over the library's sources it has
#                               not passed yet (scripts/tidy.sh), and builds every
#                               native fuzz target and runs each for a few seconds
#                               (scripts/fuzz.sh). Stops at the first step that fails.
#   scripts/test.sh -R core     the inner loop: the arguments choose suites as
#                               ctest's do; only the targets those suites need are
#                               built (incrementally), then they run.
#
#   GRS_FUZZ_SECONDS=n          seconds per fuzz target in the full gate (default 5)
if [ "$#" -eq 0 ]; then
  source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
  ctest --preset "$PRESET"
  [ -n "${GRS_PRESET:-}" ] && exit 0
  cmake --preset mingw-clang >/dev/null
  cmake --build --preset mingw-clang -j "$(nproc 2>/dev/null || echo 2)" >&2
  "$ROOT/scripts/tidy.sh" "$ROOT/build-clang"
  exec "$ROOT/scripts/fuzz.sh" "${GRS_FUZZ_SECONDS:-5}"
fi

GRS_NO_BUILD=1 source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
# The chosen tests as ctest selects them, and the targets each needs
# (test-targets.txt, written by tests/CMakeLists.txt beside the build).
targets=$(ctest --preset "$PRESET" --show-only=json-v1 "$@" | python3 -c '
import json, sys
needs = {}
for line in open(sys.argv[1]):
    words = line.split()
    if words:
        needs[words[0]] = words[1:]
targets = []
for test in json.load(sys.stdin)["tests"]:
    if test["name"] not in needs:
        sys.exit("test " + test["name"] + " has no entry in " + sys.argv[1])
    for target in needs[test["name"]]:
        if target not in targets:
            targets.append(target)
print("all" if "all" in targets else " ".join(targets))
' "$BUILD_DIR/test-targets.txt")
if [ -n "$targets" ]; then
  # shellcheck disable=SC2086 # a list of target names
  cmake --build --preset "$PRESET" -j "$(nproc 2>/dev/null || echo 2)" --target $targets >&2
fi
exec ctest --preset "$PRESET" "$@"
