#!/usr/bin/env bash
# Builds the library and runs its tests. Works from a fresh clone on Debian 12.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh g++ cmake ninja-build libeigen3-dev libgtest-dev liblapack3 pkg-config
scripts/build.sh release
exec ctest --preset release --output-on-failure --progress "$@"
