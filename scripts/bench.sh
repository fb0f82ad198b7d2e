#!/usr/bin/env bash
# Builds and runs the benchmarks; each row gives a ratio to a reference timed in the same run.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh g++ cmake ninja-build libbenchmark-dev libopenblas-dev
scripts/build.sh bench
for program in build-bench/bench/*_bench; do
    "$program" --benchmark_counters_tabular=true "$@"
done
build-bench/bench/pca_memory
