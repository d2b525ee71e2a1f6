#!/usr/bin/env bash
# Builds the support program (dependencies on first use) and runs it under
# Wine: `scripts/grs-support.sh inspect --appdata DIR --json`. Arguments go to
# the program as given, except that a Unix absolute path (/home/...) becomes
# the Windows path Wine shows it under (Z:\home\...). Standard output carries
# the report alone and the exit status is the program's (0 nothing needs
# action, 1 findings that need action, 2 could not check).
GRS_BUILD_TARGET=grs-support
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

args=()
for arg in "$@"; do
  if [[ "$arg" == /* ]]; then
    arg="Z:${arg//\//\\}"
  fi
  args+=("$arg")
done
exec "$ROOT/build/wine-run.sh" "$ROOT/build/bin/grs-support/grs-support.exe" ${args[@]+"${args[@]}"}
