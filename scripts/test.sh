#!/usr/bin/env bash
# Builds everything (dependencies on first use) and runs every test under Wine.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
exec ctest --preset "$PRESET" "$@"
