// What a build of principal components by SVD costs beside the decomposition that it rests on.

#include "components/pcr_model.h"
#include "linalg/golub_kahan_svd.h"
#include "linalg/kernels.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

FMatrix table(const benchmark::State& state) {
    return randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

FMatrix crossProduct(const FMatrix& x) {
    return x.rows() > x.cols() ? matXtX(x) : matXXt(x);
}

void buildBesideDecomposition(benchmark::State& state) {
    const FMatrix x = table(state);
    const FMatrix g = crossProduct(matCentre(x));
    pair(
        state, 1,
        [&] {
            CSVD svd;
            svd.compute(g, true);
        },
        [&] {
            CPCRModel model;
            model.buildSvd(x, 10, true, false);
        });
}

/// The product of the build beside matMultiply of the same shape.
void crossProductBesideMultiply(benchmark::State& state) {
    const FMatrix x = table(state);
    const FMatrix xt = matTranspose(x);
    pair(
        state, 1, [&] { benchmark::DoNotOptimize(matMultiply(x, xt)); },
        [&] { benchmark::DoNotOptimize(crossProduct(x)); });
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({500, 2000})->Args({60, 10000})->UseManualTime()->Iterations(turns);
}

BENCHMARK(buildBesideDecomposition)->Apply(sizes);
BENCHMARK(crossProductBesideMultiply)->Apply(sizes);

}  // namespace
