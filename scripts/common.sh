# Shared by the README's two commands: dependencies, configure, build.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
GRS_DEPS_PREFIX=$("$ROOT/scripts/bootstrap.sh" | tail -n 1)
export GRS_DEPS_PREFIX
PRESET=${GRS_PRESET:-mingw}
# Standard output belongs to the command's report (`run-host.sh --json | ...`):
# everything the build says goes to standard error.
cmake --preset "$PRESET" >/dev/null
# GRS_BUILD_TARGET: one target and what it needs instead of everything.
cmake --build --preset "$PRESET" -j "$(nproc 2>/dev/null || echo 2)" ${GRS_BUILD_TARGET:+--target "$GRS_BUILD_TARGET"} >&2
