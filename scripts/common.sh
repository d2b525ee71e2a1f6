# Shared by the README's two commands: dependencies, configure, build.
#   GRS_PRESET      the configure preset (default: mingw)
#   GRS_NO_BUILD=1  configure only; the caller builds what it needs
#   GRS_BUILD_TARGET  build one target and what it needs instead of everything
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
GRS_DEPS_PREFIX=$("$ROOT/scripts/bootstrap.sh" | tail -n 1)
export GRS_DEPS_PREFIX
PRESET=${GRS_PRESET:-mingw}
# The preset's build folder, as CMakePresets.json names it (inherited or its own).
BUILD_DIR=$(python3 - "$ROOT" "$PRESET" <<'PY'
import json, sys
root, name = sys.argv[1:3]
presets = {p["name"]: p for p in json.load(open(root + "/CMakePresets.json"))["configurePresets"]}
preset = presets[name]
while "binaryDir" not in preset:
    parent = preset["inherits"]
    preset = presets[parent if isinstance(parent, str) else parent[0]]
print(preset["binaryDir"].replace("${sourceDir}", root))
PY
)
# Standard output belongs to the command's report (`run-host.sh --json | ...`):
# everything the build says goes to standard error.
cmake --preset "$PRESET" >/dev/null
[ "${GRS_NO_BUILD:-0}" = 1 ] ||
  cmake --build --preset "$PRESET" -j "$(nproc 2>/dev/null || echo 2)" ${GRS_BUILD_TARGET:+--target "$GRS_BUILD_TARGET"} >&2
