#!/usr/bin/env bash
# Configures and builds a preset: scripts/build.sh PRESET [target...]. Prints only what goes wrong.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
targets=("${@:2}")
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake --preset "$preset" && cmake --build --preset "$preset" --target "${targets[@]:-all}"; } \
        >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
