#!/usr/bin/env bash
# A bundle is judged on another machine as on the user's: collected in one Wine
# prefix (the user's: its own Run value, the ANSI code page of a Russian
# Windows), inspected in another that has neither, the report carries the
# user's Run value and code page.
#   run.sh BUILD_DIR
set -euo pipefail
BUILD=$1
TOOL="$BUILD/bin/grs-support/grs-support.exe"
WORK=$(mktemp -d "$BUILD/bundle-test.XXXXXX")
USER_PREFIX="$BUILD/wineprefix-bundle-user"
RUN_KEY='HKEY_CURRENT_USER\Software\Microsoft\Windows\CurrentVersion\Run'
RUN_DATA='"C:\Users\Anna\Qirent\client.exe" /background'
on_user() { LANG=ru_RU.UTF-8 LC_ALL=ru_RU.UTF-8 GRS_WINEPREFIX="$USER_PREFIX" "$BUILD/wine-run.sh" "$@"; }
on_support() { "$BUILD/wine-run.sh" "$@"; }
cleanup() {
  on_user reg delete "$RUN_KEY" /v "QIRENT Cloud" /f >/dev/null 2>&1 || true
  rm -rf "$WORK"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

mkdir -p "$WORK/AppData"
printf '[Setting]\r\nIsAutoStartUp=1\r\n' >"$WORK/AppData/Setting.ini"
on_user reg add "$RUN_KEY" /v "QIRENT Cloud" /t REG_SZ /d "$RUN_DATA" /f >/dev/null 2>&1
on_user "$TOOL" collect --appdata "Z:${WORK//\//\\}\\AppData" "Z:${WORK//\//\\}\\bundle.zip" >/dev/null 2>&1 ||
  fail "collect"
rm -rf "$WORK/AppData"

# The support side's registry has no Run value of the client.
if on_support reg query "$RUN_KEY" /v "QIRENT Cloud" >/dev/null 2>&1; then fail "the support prefix has a Run value"; fi
status=0
on_support "$TOOL" inspect "Z:${WORK//\//\\}\\bundle.zip" >"$WORK/report.txt" 2>/dev/null || status=$?
# The user's Run value names an executable that the bundle did not find: a
# finding that needs action.
[ "$status" = 1 ] || fail "inspect exited $status, not 1"
grep -qF 'C:\Users\Anna\Qirent\client.exe' "$WORK/report.txt" || fail "the user's Run value is not in the report"
grep -q 'run-executable-missing' "$WORK/report.txt" || fail "no run-executable-missing finding"
grep -qE 'ansiCodePage[^0-9]*1251' "$WORK/report.txt" || fail "the user's code page 1251 is not in the report"
grep -qE 'windowsVersion: 10\.0\.' "$WORK/report.txt" || fail "the user's Windows version is not in the report"
