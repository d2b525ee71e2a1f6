#!/usr/bin/env bash
# Line, function and branch coverage of the library's own folders: the suites
# that drive the library built with --coverage in build-coverage/ (linked
# -static like the other builds, or the test executables lose their runtime),
# run under Wine, then gcovr with the cross gcov. Not part of the test
# command: slow. Report in build-coverage/coverage/index.html (per line) and
# on standard output (the summary); lines.txt and branches.txt beside the
# HTML list what each file leaves unreached.
#
#   scripts/coverage.sh                 the suites in SUITES below
#   scripts/coverage.sh all             every suite of the test command
#   scripts/coverage.sh core settings   chosen suites
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

# The suites that call the library's code. Left out: standin (the client's
# libraries only), host (the start-up demo and the inspection as programs:
# their library calls are those of the suites here, at several times the
# run time), soak (every operation of the suites here, repeated), and the
# layering and package checks, which run no library code.
SUITES=(core serverconfig route settings userprops frame robustness client faults unload)
if [ "$#" -eq 1 ] && [ "$1" = all ]; then
  SUITES=(standin core serverconfig route settings userprops frame robustness client faults soak unload host)
elif [ "$#" -gt 0 ]; then
  SUITES=("$@")
fi

if ! command -v gcovr >/dev/null; then
  if [ "$(id -u)" -eq 0 ]; then SUDO=(); else SUDO=(sudo); fi
  "${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends gcovr >&2
fi
GRS_DEPS_PREFIX=$("$ROOT/scripts/bootstrap.sh" | tail -n 1)
export GRS_DEPS_PREFIX
cmake --preset mingw-coverage >/dev/null
targets=()
for suite in "${SUITES[@]}"; do targets+=("test_$suite"); done
cmake --build --preset mingw-coverage -j "$(nproc 2>/dev/null || echo 2)" --target "${targets[@]}" >&2
find build-coverage -name '*.gcda' -delete
# Failing tests still count towards what ran; their report is above.
pattern="^($(IFS='|'; echo "${SUITES[*]}"))\$"
ctest --preset mingw-coverage -R "$pattern" >&2 || echo "coverage: some tests failed" >&2
mkdir -p build-coverage/coverage
# Throw branches and the compiler's unreachable ones are no decisions of the
# code. mingw's gcov stumbles over some of its own records: they are skipped.
# The search stays in the build tree and out of its Wine prefix, whose drive
# Z: links back to / (every other tree's data, and minutes of walking).
gcovr --root "$ROOT" --object-directory build-coverage \
  --exclude-directories "$ROOT/build-coverage/wineprefix" \
  --gcov-executable x86_64-w64-mingw32-gcov --gcov-ignore-parse-errors \
  --filter "$ROOT/core/" --filter "$ROOT/serverconfig/" --filter "$ROOT/route/" --filter "$ROOT/settings/" \
  --filter "$ROOT/userprops/" --filter "$ROOT/dll/" \
  --exclude-throw-branches --exclude-unreachable-branches \
  --json build-coverage/coverage/coverage.json --html-details build-coverage/coverage/index.html \
  --txt build-coverage/coverage/lines.txt --print-summary build-coverage
# The same data by branch, from the tracefile (gcov is not run again).
gcovr --root "$ROOT" --add-tracefile build-coverage/coverage/coverage.json \
  --branches --txt build-coverage/coverage/branches.txt
echo "coverage: suites ${SUITES[*]}; per line: build-coverage/coverage/index.html"
