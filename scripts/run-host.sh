#!/usr/bin/env bash
# Builds everything (dependencies on first use) and runs the start-up host
# under Wine. Arguments go to the host: see `scripts/run-host.sh --help`.
# Standard output carries the report alone (the build and the host's progress
# go to standard error), so `scripts/run-host.sh --json | python3 -m json.tool`
# works. A user's profile is inspected by scripts/grs-support.sh.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
exec "$ROOT/build/wine-run.sh" "$ROOT/build/bin/startup-host.exe" "$@"
