#!/usr/bin/env bash
# Explores 60 near-infrared spectra of gasoline and calibrates their octane numbers. Works from a
# fresh clone on Debian 12.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh g++ cmake ninja-build libeigen3-dev libgtest-dev liblapack3
scripts/build.sh release explore_spectra calibrate
table="${1:-examples/data/gasoline.csv}"
build/examples/explore_spectra "$table"
echo
exec build/examples/calibrate "$table" snv
