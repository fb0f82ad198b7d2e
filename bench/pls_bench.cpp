// What a PLS build of ten factors costs beside the passes over X that it cannot do without, and the
// missing-data builder beside the one for complete data. bench/pls_packages.py holds the builds
// beside other packages.

#include "linalg/kernels.h"
#include "linalg/thin_products.h"
#include "paired.h"
#include "regression/pls_model.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

constexpr int factors = 10;

struct Tables {
    explicit Tables(const benchmark::State& state)
        : x(randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)))),
          y(randomMatrix(x.rows(), static_cast<int>(state.range(2)))) {}

    FMatrix x, y;
};

void covarianceKernelBesidePasses(benchmark::State& state) {
    const Tables d(state);
    const FVector r(d.x.cols(), 0.5f), t(d.x.rows()), xt(d.x.cols());
    const auto passes = [&] {
        for (int a = 0; a < factors; ++a) multiplyBothWays(d.x, r.data(), t.data(), xt.data());
    };
    pair(state, 1, passes, [&] { CPLSModel().buildCovarianceKernel(d.x, d.y, factors, true); });
}

void sampleKernelBesideCrossProduct(benchmark::State& state) {
    const Tables d(state);
    pair(
        state, 1, [&] { benchmark::DoNotOptimize(matXXt(d.x)); },
        [&] { CPLSModel().buildSampleKernel(d.x, d.y, factors, true); });
}

void nipalsBesidePasses(benchmark::State& state) {
    const Tables d(state);
    const FVector w(d.x.cols(), 0.5f), t(d.x.rows());
    const auto passes = [&] {
        for (int a = 0; a < factors; ++a) {
            multiplyTransposedByVector(d.x, t.data(), w.data());
            multiplyByVector(d.x, w.data(), t.data());
            multiplyTransposedByVector(d.x, t.data(), w.data());
        }
    };
    pair(state, 1, passes, [&] { CPLSModel().buildNipals(d.x, d.y, factors, true, 0); });
}

/// With one response both make one round for each factor.
void missingNipalsBesideComplete(benchmark::State& state) {
    const Tables d(state);
    const FMatrix gaps = withMissing(d.x, 0.02);
    pair(
        state, 1, [&] { CPLSModel().buildNipals(d.x, d.y, factors, true, 1); },
        [&] { CPLSModel().buildMissingNipals(gaps, d.y, factors, true, 1); });
}

void oneResponse(benchmark::internal::Benchmark* bench) {
    bench->Args({500, 2000, 1})->Args({60, 401, 1})->UseManualTime()->Iterations(turns);
}

BENCHMARK(covarianceKernelBesidePasses)->Apply(oneResponse)->Args({500, 2000, 5});
BENCHMARK(sampleKernelBesideCrossProduct)
    ->Args({100, 10000, 1})
    ->Args({100, 10000, 3})
    ->UseManualTime()
    ->Iterations(turns);
BENCHMARK(nipalsBesidePasses)->Apply(oneResponse);
BENCHMARK(missingNipalsBesideComplete)->Apply(oneResponse);

}  // namespace
