#!/usr/bin/env bash
# clang-tidy (checks in .clang-tidy) over the library's sources, with the
# flags of the clang build: scripts/tidy.sh BUILD_DIR (default build-clang).
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${1:-$ROOT/build-clang}
[ -f "$BUILD/compile_commands.json" ] || { echo "no $BUILD/compile_commands.json: configure the mingw-clang preset" >&2; exit 1; }
files=()
for layer in core serverconfig route settings userprops dll; do
  files+=("$ROOT/$layer"/*.cpp)
done
run-clang-tidy -quiet -p "$BUILD" -j "$(nproc 2>/dev/null || echo 2)" "${files[@]}" >"$BUILD/clang-tidy.log" 2>&1 ||
  { grep -E 'warning:|error:' -A3 "$BUILD/clang-tidy.log" >&2 || tail -40 "$BUILD/clang-tidy.log" >&2; exit 1; }
echo "clang-tidy: ${#files[@]} sources, nothing to report" >&2
