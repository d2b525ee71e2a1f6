#!/usr/bin/env bash
# Builds everything (dependencies on first use) and runs the start-up host
# under Wine. Arguments go to the host: see `scripts/run-host.sh --help`.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
exec "$ROOT/build/wine-run.sh" "$ROOT/build/bin/startup-host.exe" "$@"
