#!/usr/bin/env bash
# clang-tidy (checks in .clang-tidy) over the library's sources, with the
# flags of the clang build: scripts/tidy.sh BUILD_DIR (default build-clang).
#
# A source that passed is remembered in BUILD_DIR/tidy-passed/ under a key of
# everything its findings depend on: its own bytes, the bytes of the headers
# it includes (the build's dependency record), its compile command, .clang-tidy
# and the clang-tidy version. Only sources without a remembered pass are
# checked, so a repeated run checks nothing and a fresh clone checks all.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=${1:-$ROOT/build-clang}
[ -f "$BUILD/compile_commands.json" ] || { echo "no $BUILD/compile_commands.json: configure the mingw-clang preset" >&2; exit 1; }
files=()
for layer in core serverconfig route settings userprops dll; do
  files+=("$ROOT/$layer"/*.cpp)
done
PASSED="$BUILD/tidy-passed"
mkdir -p "$PASSED"

# "<key> <source>" for every source; headers as the last build recorded them.
ninja -C "$BUILD" -t deps >"$BUILD/tidy-deps.txt" 2>/dev/null || : >"$BUILD/tidy-deps.txt"
keys=$(python3 - "$BUILD" "$ROOT/.clang-tidy" "$(clang-tidy --version | tr '\n' ' ')" "${files[@]}" <<'PY'
import hashlib, json, os, shlex, sys
build, config, version, sources = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
commands = {}
for entry in json.load(open(os.path.join(build, "compile_commands.json"))):
    path = os.path.normpath(os.path.join(entry["directory"], entry["file"]))
    arguments = entry.get("arguments") or shlex.split(entry["command"])
    output = entry.get("output") or (arguments[arguments.index("-o") + 1] if "-o" in arguments else "")
    commands[path] = (" ".join(arguments), output)
# ninja -t deps: "<object>: #deps N, ..." then one indented dependency per line.
deps, current = {}, None
for line in open(os.path.join(build, "tidy-deps.txt"), errors="replace"):
    if line and not line[0].isspace() and ": #deps" in line:
        current = deps.setdefault(line.split(": #deps")[0], [])
    elif line.strip() and current is not None:
        current.append(os.path.normpath(os.path.join(build, line.strip())))
seen = {}
def digest(path, h):
    if path not in seen:
        try:
            seen[path] = hashlib.sha256(open(path, "rb").read()).digest()
        except OSError:
            seen[path] = b"<missing>"
    h.update(seen[path])
common = hashlib.sha256(version.encode())
digest(config, common)
for source in sources:
    source = os.path.normpath(source)
    command, output = commands.get(source, ("", ""))
    h = common.copy()
    h.update(command.encode())
    headers = deps.get(output) or deps.get(os.path.join(build, output)) or []
    if not headers:
        h.update(b"<no dependency record>" + os.urandom(8))  # checked until the build records them
    for header in sorted(set(headers) | {source}):
        h.update(header.encode())
        digest(header, h)
    print(h.hexdigest(), source)
PY
)
stale=()
while read -r key source; do
  [ -f "$PASSED/$key" ] || stale+=("$source")
done <<<"$keys"
if [ "${#stale[@]}" -eq 0 ]; then
  echo "clang-tidy: ${#files[@]} sources, all passed before unchanged" >&2
  exit 0
fi
run-clang-tidy -quiet -p "$BUILD" -j "$(nproc 2>/dev/null || echo 2)" "${stale[@]}" >"$BUILD/clang-tidy.log" 2>&1 ||
  { grep -E 'warning:|error:' -A3 "$BUILD/clang-tidy.log" >&2 || tail -40 "$BUILD/clang-tidy.log" >&2; exit 1; }
# A clean pass: every key checked now is remembered.
while read -r key source; do : >"$PASSED/$key"; done <<<"$keys"
echo "clang-tidy: ${#stale[@]} of ${#files[@]} sources checked, nothing to report" >&2
