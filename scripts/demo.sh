#!/usr/bin/env bash
# Explores 60 near-infrared spectra of gasoline. Works from a fresh clone on Debian 12.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh g++ cmake ninja-build libeigen3-dev libgtest-dev liblapack3
scripts/build.sh release explore_spectra
exec build/examples/explore_spectra "${1:-examples/data/gasoline.csv}" "${@:2}"
