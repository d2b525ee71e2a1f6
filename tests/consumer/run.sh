#!/usr/bin/env bash
# The package as a client consumes it: install the build into a fresh prefix
# (the stand-in too, as the client's own libraries), configure and build the
# consumer project against it with find_package, run it under Wine.
#   tests/consumer/run.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
BUILD=$(cd "$1" && pwd)
SOURCE=$(cd "$2" && pwd)
WORK=$BUILD/consumer-check
rm -rf "$WORK"
mkdir -p "$WORK"
cmake --install "$BUILD" --prefix "$WORK/prefix" >/dev/null
cmake --install "$BUILD" --prefix "$WORK/prefix" --component standin >/dev/null

# The installed tree is exactly the public surface.
test -f "$WORK/prefix/bin/GlobalRootService.dll"
test -f "$WORK/prefix/lib/cmake/GlobalRootService/GlobalRootServiceConfig.cmake"
test -f "$WORK/prefix/lib/cmake/GlobalRootService/GlobalRootServiceConfigVersion.cmake"
if find "$WORK/prefix/include" -name '*.h' | xargs grep -l 'rapidjson\|json/json.h\|"core/\|"route/\|"settings/\|"serverconfig/' 2>/dev/null; then
  echo "installed headers include internal or third-party headers" >&2
  exit 1
fi

cmake -S "$SOURCE/tests/consumer" -B "$WORK/build" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$SOURCE/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_PREFIX_PATH="$WORK/prefix" -DCMAKE_FIND_ROOT_PATH="$WORK/prefix" >"$WORK/build.log" 2>&1 &&
  cmake --build "$WORK/build" >>"$WORK/build.log" 2>&1 || { cat "$WORK/build.log" >&2; exit 1; }
# Beside its DLLs, as the client ships it.
cp "$WORK/build/consumer.exe" "$WORK/prefix/bin/"
mkdir -p "$WORK/appdata"
"$BUILD/wine-run.sh" "$WORK/prefix/bin/consumer.exe" "$(cd "$WORK/appdata" && pwd | sed 's#/#\\#g; s#^#Z:#')"
