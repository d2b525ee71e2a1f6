#!/usr/bin/env bash
# Line and branch coverage of the library's own folders: everything built
# with --coverage in build-coverage/ (linked -static like the other builds, or
# the test executables lose their runtime), every test run under Wine, then
# gcovr with the cross gcov. Not part of CI: slow. Report in
# build-coverage/coverage/index.html and on standard output.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
if ! command -v gcovr >/dev/null; then
  apt-get install -y gcovr >&2
fi
GRS_DEPS_PREFIX=$("$ROOT/scripts/bootstrap.sh" | tail -n 1)
export GRS_DEPS_PREFIX
cmake --preset mingw-coverage >/dev/null
cmake --build --preset mingw-coverage -j "$(nproc 2>/dev/null || echo 2)" >&2
find build-coverage -name '*.gcda' -delete
# Failing tests still count towards what ran; their report is above.
ctest --preset mingw-coverage "$@" >&2 || echo "coverage: some tests failed" >&2
mkdir -p build-coverage/coverage
# Throw branches and the compiler's unreachable ones are no decisions of the code.
gcovr --root "$ROOT" --object-directory build-coverage \
  --gcov-executable x86_64-w64-mingw32-gcov --gcov-ignore-parse-errors \
  --filter 'core/' --filter 'serverconfig/' --filter 'route/' --filter 'settings/' \
  --filter 'userprops/' --filter 'dll/' \
  --exclude-throw-branches --exclude-unreachable-branches \
  --html-details build-coverage/coverage/index.html --print-summary
