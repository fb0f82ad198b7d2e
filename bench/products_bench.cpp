// The matrix products beside cblas_sgemm of OpenBLAS on one thread.

#include <cblas.h>

#include "linalg/instruction_set.h"
#include "linalg/kernels.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

void sgemm(CBLAS_TRANSPOSE a, CBLAS_TRANSPOSE b, const FMatrix& x, const FMatrix& y,
           const FMatrix& c) {
    const int n = c.rows();
    cblas_sgemm(CblasRowMajor, a, b, n, n, n, 1.0f, x[0], n, y[0], n, 0.0f, c[0], n);
}

template <class Kernel>
void besideSgemm(benchmark::State& state, CBLAS_TRANSPOSE a, CBLAS_TRANSPOSE b, Kernel kernel) {
    openblas_set_num_threads(1);
    const int n = static_cast<int>(state.range(0));
    const FMatrix x = randomMatrix(n, n);
    const FMatrix y = randomMatrix(n, n).clone();
    const FMatrix c(n, n);
    pair(
        state, repeatsFor(double(n) * n * n / 5), [&] { sgemm(a, b, x, y, c); },
        [&] { benchmark::DoNotOptimize(kernel(x, y)); });
}

template <class Reference, class Library>
void besideKernel(benchmark::State& state, Reference reference, Library library) {
    const int n = static_cast<int>(state.range(0));
    const FMatrix x = randomMatrix(n, n);
    pair(
        state, repeatsFor(double(n) * n * n / 5), [&] { benchmark::DoNotOptimize(reference(x)); },
        [&] { benchmark::DoNotOptimize(library(x)); });
}

void multiply(benchmark::State& state) {
    besideSgemm(state, CblasNoTrans, CblasNoTrans, matMultiply);
}
void multiplyAtB(benchmark::State& state) {
    besideSgemm(state, CblasTrans, CblasNoTrans, matMultiplyAtB);
}
void multiplyABt(benchmark::State& state) {
    besideSgemm(state, CblasNoTrans, CblasTrans, matMultiplyABt);
}
void multiplyWithAvx2(benchmark::State& state) {
    if (bestInstructionSet() < InstructionSet::avx2) return state.SkipWithError("no AVX2");
    useInstructionSet(InstructionSet::avx2);
    multiply(state);
    useInstructionSet(bestInstructionSet());
}
void xtxBesideMultiplyAtB(benchmark::State& state) {
    besideKernel(
        state, [](const FMatrix& x) { return matMultiplyAtB(x, x); }, matXtX);
}
void xxtBesideMultiplyABt(benchmark::State& state) {
    besideKernel(
        state, [](const FMatrix& x) { return matMultiplyABt(x, x); }, matXXt);
}
/// The clean product is the reference.
void multiplyABtWithMissing(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const FMatrix gaps = withMissing(randomMatrix(n, n), 0.01);
    besideKernel(
        state, [](const FMatrix& x) { return matMultiplyABt(x, x); },
        [&](const FMatrix& x) { return matMultiplyABt(gaps, x); });
}
/// The plain loops are the reference.
void multiplySmall(benchmark::State& state) {
    const auto plain = [](const FMatrix& x) {
        FMatrix c(x.rows(), x.cols());
        for (int i = 0; i < c.rows(); ++i) {
            for (int j = 0; j < c.cols(); ++j) {
                float sum = 0.0f;
                for (int k = 0; k < x.cols(); ++k) sum += x[i][k] * x[k][j];
                c[i][j] = sum;
            }
        }
        return c;
    };
    besideKernel(state, plain, [](const FMatrix& x) { return matMultiply(x, x); });
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(200)->Arg(500)->Arg(1000)->Arg(2000)->UseManualTime()->Iterations(turns);
}

BENCHMARK(multiply)->Apply(sizes);
BENCHMARK(multiplyAtB)->Apply(sizes);
BENCHMARK(multiplyABt)->Apply(sizes);
BENCHMARK(multiplyWithAvx2)->Apply(sizes);
BENCHMARK(xtxBesideMultiplyAtB)->Apply(sizes);
BENCHMARK(xxtBesideMultiplyABt)->Apply(sizes);
BENCHMARK(multiplyABtWithMissing)->Apply(sizes);
BENCHMARK(multiplySmall)
    ->Arg(4)
    ->Arg(8)
    ->Arg(12)
    ->Arg(16)
    ->Arg(32)
    ->Arg(64)
    ->UseManualTime()
    ->Iterations(turns);

}  // namespace
