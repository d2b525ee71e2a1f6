#!/usr/bin/env bash
# Installs the build tools with apt and builds the third-party libraries for
# x86_64-w64-mingw32 from Debian's source packages into a prefix kept outside
# the clone. A prefix whose recorded versions match is reused as it is.
#
#   scripts/bootstrap.sh            print the prefix path on the last line
#   GRS_TOOLS_ONLY=1                install the tools only (the native fuzz build)
#   GRS_DEPS_CACHE=/some/dir        where the prefix and sources are kept
#                                   (default: ~/.cache/globalrootservice)
set -euo pipefail

CACHE_ROOT=${GRS_DEPS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/globalrootservice}
PREFIX="$CACHE_ROOT/mingw64-prefix"
SRC="$CACHE_ROOT/src"
HOST=x86_64-w64-mingw32
JOBS=$(nproc 2>/dev/null || echo 2)
HERE=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
TOOLCHAIN="$HERE/cmake/mingw-w64-x86_64.cmake"

log() { printf '[bootstrap] %s\n' "$*" >&2; }

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; elif command -v sudo >/dev/null; then sudo "$@"; else
    log "need root for: $*"; exit 1; fi
}

APT_PACKAGES=(cmake ninja-build make perl tcl xz-utils dpkg-dev ca-certificates
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  wine wine64 rapidjson-dev locales python3
  clang lld clang-tidy
  libclang-rt-14-dev libjsoncpp-dev)  # the native fuzz build: libFuzzer, jsoncpp for Linux
[ "${GRS_WITH_BENCHMARK:-0}" = 1 ] && APT_PACKAGES+=(libsimpleini-dev)

install_tools() {
  local missing=()
  for p in "${APT_PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  if ! grep -rqs '^Types:.*deb-src\|^deb-src' /etc/apt/sources.list /etc/apt/sources.list.d/; then
    log "adding Debian's source archive to apt"
    local suite
    suite=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
    as_root tee /etc/apt/sources.list.d/globalrootservice-src.sources >/dev/null <<SRC
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: $suite $suite-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg

Types: deb-src
URIs: http://deb.debian.org/debian-security
Suites: $suite-security
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SRC
    NEED_UPDATE=1
  fi
  if [ "${#missing[@]}" -gt 0 ] || [ -n "${NEED_UPDATE:-}" ]; then
    log "apt: ${missing[*]:-(source lists only)}"
    as_root apt-get update -qq
    [ "${#missing[@]}" -eq 0 ] || as_root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  fi
}

# Version of a Debian source package as apt would fetch it: the newest one the
# archive actually serves (a mirror can list a security update whose source
# files are not, or not yet, in its pool). The answer is remembered per package.
src_version() {
  local pkg=$1 v known="$SRC/.version-$1"
  local listed; listed=$(apt-cache showsrc "$pkg" 2>/dev/null | awk '/^Version:/{print $2}' | sort -Vr | uniq)
  if [ -f "$known" ] && grep -qxF "$(cat "$known")" <<<"$listed"; then cat "$known"; return 0; fi
  for v in $listed; do
    if fetch_source "$pkg" "$v" >/dev/null 2>&1; then echo "$v" >"$known"; echo "$v"; return 0; fi
    log "$pkg $v: source not served by the archive, trying an older version"
  done
  return 1
}

# Downloads the source package once and unpacks its upstream tarball into $SRC/$1-$2.
fetch_source() {
  local pkg=$1 ver=$2 dir="$SRC/$1-$2"
  if [ ! -d "$dir" ]; then
    rm -rf "$SRC/dl-$pkg"
    mkdir -p "$SRC/dl-$pkg" && (cd "$SRC/dl-$pkg" && apt-get source --download-only -qq -o APT::Sandbox::User=root "$pkg=$ver" >/dev/null)
    local orig
    orig=$(ls "$SRC/dl-$pkg"/*.orig.tar.* | grep -v '\.asc$' | head -1)
    mkdir -p "$dir.tmp" && tar -xf "$orig" -C "$dir.tmp" --strip-components=1 && mv "$dir.tmp" "$dir"
  fi
  echo "$dir"
}

stamp_ok() { [ -f "$PREFIX/.stamp-$1" ] && [ "$(cat "$PREFIX/.stamp-$1")" = "$2" ]; }
stamp() { echo "$2" >"$PREFIX/.stamp-$1"; }

cmake_dep() { # name version srcdir extra-args...
  local name=$1 ver=$2 dir=$3; shift 3
  rm -rf "$dir/_build"
  cmake -S "$dir" -B "$dir/_build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$PREFIX" -DBUILD_SHARED_LIBS=OFF "$@" >/dev/null
  cmake --build "$dir/_build" -j "$JOBS" >/dev/null
  cmake --install "$dir/_build" >/dev/null
  rm -rf "$dir/_build"
}

build_jsoncpp() {
  local v; v=$(src_version libjsoncpp); stamp_ok jsoncpp "$v" && return 0
  log "jsoncpp $v"
  local d; d=$(fetch_source libjsoncpp "$v")
  cmake_dep jsoncpp "$v" "$d" -DJSONCPP_WITH_TESTS=OFF -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF \
    -DBUILD_STATIC_LIBS=ON -DBUILD_OBJECT_LIBS=OFF -DJSONCPP_WITH_PKGCONFIG_SUPPORT=OFF \
    -DJSONCPP_WITH_CMAKE_PACKAGE=ON
  stamp jsoncpp "$v"
}

build_googletest() {
  local v; v=$(src_version googletest); stamp_ok googletest "$v" && return 0
  log "googletest $v"
  local d; d=$(fetch_source googletest "$v")
  cmake_dep googletest "$v" "$d" -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON -Dgtest_force_shared_crt=ON
  stamp googletest "$v"
}

# Peers of the INI benchmark: inih (built from its source package) and
# SimpleIni (header-only, from its binary package).
# The archive may not serve inih's source: the benchmark then runs without it.
build_ini_peers() {
  local v d; v=$(src_version libinih || true); stamp_ok inih "$v" || {
    log "inih $v"
    if d=$(fetch_source libinih "$v" 2>/dev/null) && [ -f "$d/ini.c" ]; then
      mkdir -p "$PREFIX/lib" "$PREFIX/include"
      (cd "$d" && $HOST-gcc-posix -O2 -c ini.c -o ini.o && $HOST-ar rcs libinih.a ini.o && rm -f ini.o)
      cp "$d/libinih.a" "$PREFIX/lib/" && cp "$d/ini.h" "$PREFIX/include/"
      stamp inih "$v"
    else
      rm -rf "$SRC/dl-libinih"
      log "inih $v: source not available, the INI benchmark runs without it"
    fi
  }
  v=$(dpkg-query -W -f='${Version}' libsimpleini-dev)
  stamp_ok simpleini "$v" || { cp /usr/include/SimpleIni.h "$PREFIX/include/" && stamp simpleini "$v"; }
}

build_benchmark() {
  local v; v=$(src_version benchmark); stamp_ok benchmark "$v" && return 0
  log "google benchmark $v"
  local d; d=$(fetch_source benchmark "$v")
  cmake_dep benchmark "$v" "$d" -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF \
    -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_ENABLE_INSTALL=ON
  stamp benchmark "$v"
}

build_openssl() {
  local v; v=$(src_version openssl); stamp_ok openssl "$v" && return 0
  log "OpenSSL libcrypto $v (a few minutes)"
  local d; d=$(fetch_source openssl "$v")
  (cd "$d" && make distclean >/dev/null 2>&1 || true
   ./Configure mingw64 --cross-compile-prefix=$HOST- no-shared no-tests no-engine no-module \
     no-legacy --prefix="$PREFIX" >/dev/null
   make -j "$JOBS" build_generated >build.log 2>&1 && make -j "$JOBS" libcrypto.a >>build.log 2>&1) ||
    { tail -40 "$d/build.log" >&2; return 1; }
  mkdir -p "$PREFIX/lib" "$PREFIX/include"
  cp "$d/libcrypto.a" "$PREFIX/lib/"
  rm -rf "$PREFIX/include/openssl" && cp -r "$d/include/openssl" "$PREFIX/include/"
  stamp openssl "$v"
}

build_sqlite() {
  local v; v=$(src_version sqlite3); stamp_ok sqlite3 "$v" && return 0
  log "SQLite $v"
  local d; d=$(fetch_source sqlite3 "$v")
  # The source package ships the full tree: generate the amalgamation natively, then cross-compile it.
  rm -rf "$d/_amalg" && mkdir -p "$d/_amalg"
  (cd "$d/_amalg" && ../configure --disable-tcl >/dev/null && make sqlite3.c >/dev/null)
  (cd "$d/_amalg" && $HOST-gcc-posix -O2 -DSQLITE_THREADSAFE=1 -DSQLITE_OMIT_LOAD_EXTENSION \
     -c sqlite3.c -o sqlite3.o && $HOST-ar rcs libsqlite3.a sqlite3.o)
  mkdir -p "$PREFIX/lib" "$PREFIX/include"
  cp "$d/_amalg/libsqlite3.a" "$PREFIX/lib/" && cp "$d/_amalg/sqlite3.h" "$PREFIX/include/"
  rm -rf "$d/_amalg"
  stamp sqlite3 "$v"
}

# zlib and its contrib/minizip (the support program's bundle is one zip file),
# both from the zlib source package, compiled as Debian's libminizip is: the
# library's sources and minizip's zip writer, reader and Win32 file layer.
build_zlib() {
  local v; v=$(src_version zlib); stamp_ok zlib "$v" && return 0
  log "zlib and minizip $v"
  local d; d=$(fetch_source zlib "$v")
  local out="$d/_cross"
  rm -rf "$out" && mkdir -p "$out"
  local cc="$HOST-gcc-posix -O2"
  (cd "$d" && for f in adler32 compress crc32 deflate gzclose gzlib gzread gzwrite infback inffast inflate \
                      inftrees trees uncompr zutil; do $cc -c "$f.c" -o "$out/$f.o"; done &&
     $HOST-ar rcs "$out/libz.a" "$out"/*.o)
  (cd "$d/contrib/minizip" && for f in zip unzip ioapi iowin32; do
     $cc -I"$d" -c "$f.c" -o "$out/mz-$f.o"; done &&
     $HOST-ar rcs "$out/libminizip.a" "$out"/mz-*.o)
  mkdir -p "$PREFIX/lib" "$PREFIX/include/minizip"
  cp "$out/libz.a" "$out/libminizip.a" "$PREFIX/lib/"
  cp "$d/zlib.h" "$d/zconf.h" "$PREFIX/include/"
  cp "$d/contrib/minizip/"{zip.h,unzip.h,ioapi.h,iowin32.h} "$PREFIX/include/minizip/"
  rm -rf "$out"
  stamp zlib "$v"
}

# RapidJSON is header-only: Debian's headers are copied into the prefix so the
# cross build never puts the host's /usr/include on its include path.
copy_rapidjson() {
  local v; v=$(dpkg-query -W -f='${Version}' rapidjson-dev); stamp_ok rapidjson "$v" && return 0
  rm -rf "$PREFIX/include/rapidjson" && mkdir -p "$PREFIX/include" && cp -r /usr/include/rapidjson "$PREFIX/include/"
  stamp rapidjson "$v"
}

# Wine takes the ANSI code page from the Unix locale and names files with
# non-ASCII characters only under a locale that exists: the environment tests
# run under these three (code pages 1252, 1251 and 936). Made once.
TEST_LOCALES=(en_US ru_RU zh_CN)
generate_locales() {
  local l
  for l in "${TEST_LOCALES[@]}"; do
    locale -a 2>/dev/null | grep -qix "$l.utf-\?8" && continue
    log "locale $l.UTF-8"
    as_root localedef -i "$l" -c -f UTF-8 -A /usr/share/locale/locale.alias "$l.UTF-8"
  done
}

install_tools
generate_locales
[ "${GRS_TOOLS_ONLY:-0}" = 1 ] && exit 0
mkdir -p "$PREFIX" "$SRC"
copy_rapidjson
build_jsoncpp
build_googletest
build_sqlite
build_openssl
build_zlib
if [ "${GRS_WITH_BENCHMARK:-0}" = 1 ]; then
  build_benchmark
  build_ini_peers
fi
log "dependencies ready in $PREFIX"
echo "$PREFIX"
