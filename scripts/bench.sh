#!/usr/bin/env bash
# Builds and runs the benchmarks; each row gives a ratio to a reference timed in the same run.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh g++ cmake ninja-build libeigen3-dev libbenchmark-dev libopenblas-dev liblapack3 libblas3
scripts/build.sh bench
# The SVD is held against the reference LAPACK, which OpenBLAS takes the place of otherwise.
libraries=/usr/lib/x86_64-linux-gnu
export LD_LIBRARY_PATH=$libraries/lapack:$libraries/blas
for program in build-bench/bench/*_bench; do
    "$program" --benchmark_counters_tabular=true "$@"
done
build-bench/bench/pca_memory
