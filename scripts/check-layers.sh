#!/usr/bin/env bash
# Fails when a file includes across a forbidden edge of the library's layers:
#   core <- serverconfig <- route;  core <- settings <- userprops;  dll on top.
# The public headers in include/globalrootservice/ belong to the layer that
# implements them and may include only each other. The stand-in (the client's
# libraries) and support/ may use the collaborator declarations and the file
# and text kit of core, nothing else of the library.
#   scripts/check-layers.sh [ROOT]      (run by ctest as "layering")
set -euo pipefail
ROOT=${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)}
cd "$ROOT"

PUB=include/globalrootservice
KIT="core/UniqueResource.h core/TextUtil.h core/PathUtil.h core/FileIo.h core/HashUtil.h"

# The layer a file (or an included path, as written) belongs to; empty: outside the library.
layer_of() {
  case "$1" in
    core/* | $PUB/GlobalRootServiceExport.h | $PUB/IniFileHelper.h | $PUB/collaborators/*) echo core ;;
    globalrootservice/GlobalRootServiceExport.h | globalrootservice/IniFileHelper.h | globalrootservice/collaborators/*) echo core ;;
    serverconfig/* | $PUB/ServerConfigHelper.h | $PUB/ServiceAddressEnum.h) echo serverconfig ;;
    globalrootservice/ServerConfigHelper.h | globalrootservice/ServiceAddressEnum.h) echo serverconfig ;;
    route/* | $PUB/GlobalParameter.h | $PUB/Zorvane.h | $PUB/ZRVInfo.h) echo route ;;
    globalrootservice/GlobalParameter.h | globalrootservice/Zorvane.h | globalrootservice/ZRVInfo.h) echo route ;;
    settings/* | $PUB/ClientInitialize.h | globalrootservice/ClientInitialize.h) echo settings ;;
    userprops/*) echo userprops ;;
    dll/* | $PUB/GlobalRootService.h | globalrootservice/GlobalRootService.h) echo dll ;;
    globalrootservice/*) echo unknown-public ;;
    standin/*) echo standin ;;
    support/*) echo support ;;
    tests/* | tools/* | host/* | bench/* | fuzz/*) echo tooling ;;
  esac
}

# Whether layer $1 may include layer $2 (the included path is $3).
allowed() {
  local from=$1 to=$2 path=$3
  [ -z "$to" ] && return 0  # system and third-party headers
  case "$from" in
    core) [[ $to == core ]] ;;
    serverconfig) [[ $to == core || $to == serverconfig ]] ;;
    route) [[ $to == core || $to == serverconfig || $to == route ]] ;;
    settings) [[ $to == core || $to == settings ]] ;;
    userprops) [[ $to == core || $to == settings || $to == userprops ]] ;;
    dll) [[ $to != standin && $to != support && $to != tooling && $to != unknown-public ]] ;;
    standin | support)
      [[ $to == "$from" || $to == support || $path == globalrootservice/collaborators/* ]] && return 0
      [[ " $KIT " == *" $path "* ]] ;;
    *) return 0 ;;
  esac
}

status=0
while IFS= read -r file; do
  from=$(layer_of "$file")
  case "$from" in tooling | "") continue ;; esac
  public=0
  [[ $file == $PUB/* ]] && public=1
  while IFS=: read -r line path; do
    to=$(layer_of "$path")
    if [ $public = 1 ] && [ -n "$to" ] && [[ $path != globalrootservice/* ]]; then
      echo "$file:$line: public header includes internal \"$path\"" >&2
      status=1
    elif ! allowed "$from" "$to" "$path"; then
      echo "$file:$line: $from may not include \"$path\" ($to)" >&2
      status=1
    fi
  done < <(awk '/^[ \t]*#[ \t]*include[ \t]*"/ { match($0, /"[^"]*"/); print FNR ":" substr($0, RSTART + 1, RLENGTH - 2) }' "$file")
done < <(git ls-files -co --exclude-standard -- '*.h' '*.cpp' 2>/dev/null || find . -name '*.h' -o -name '*.cpp')

if [ $status = 0 ]; then echo "layering: every include follows the allowed edges"; fi
exit $status
