// What an iteration of the two NIPALS builders costs, by the difference of a long and a short
// build.

#include "components/pcr_model.h"
#include "linalg/missing_products.h"
#include "linalg/thin_products.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

constexpr int fewIterations = 3;
constexpr int moreIterations = 23;

/// A table whose first component takes more iterations than are asked for.
FMatrix table(const benchmark::State& state) {
    return randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

double nipalsIteration(const FMatrix& x) {
    const auto build = [&x](int limit) {
        CPCRModel model;
        model.buildNipals(x, 1, true, limit);
    };
    const double few = secondsOf(1, [&] { build(fewIterations); });
    const double more = secondsOf(1, [&] { build(moreIterations); });
    return (more - few) / (moreIterations - fewIterations);
}

double missingNipalsIteration(const FMatrix& x) {
    const auto build = [&x](int limit) {
        CPCRModel model;
        model.buildMissingNipals(x, 1, true, limit);
    };
    const double few = secondsOf(1, [&] { build(fewIterations); });
    const double more = secondsOf(1, [&] { build(moreIterations); });
    return (more - few) / (moreIterations - fewIterations);
}

double twoPasses(const FMatrix& x) {
    const FVector p(x.cols(), 0.5f), t(x.rows());
    return secondsOf(3, [&] {
        multiplyByVector(x, p.data(), t.data());
        multiplyTransposedByVector(x, t.data(), p.data());
    });
}

void compare(benchmark::State& state, const char* name, double (*reference)(const FMatrix&),
             const FMatrix& referenceTable, double (*measured)(const FMatrix&),
             const FMatrix& measuredTable) {
    double bestReference = 1e9;
    double bestMeasured = 1e9;
    for ([[maybe_unused]] auto _ : state) {
        bestReference = std::min(bestReference, reference(referenceTable));
        const double seconds = measured(measuredTable);
        bestMeasured = std::min(bestMeasured, seconds);
        state.SetIterationTime(std::max(seconds, 1e-9));
    }
    state.counters["iteration_us"] = bestMeasured * 1e6;
    state.counters[name] = bestMeasured / bestReference;
}

void iterationBesideTwoPasses(benchmark::State& state) {
    const FMatrix x = table(state);
    compare(state, "times_two_passes", twoPasses, x, nipalsIteration, x);
}
void missingIterationBesideComplete(benchmark::State& state) {
    const FMatrix x = table(state);
    compare(state, "times_complete", nipalsIteration, x, missingNipalsIteration,
            withMissing(x, 0.02));
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({60, 401})->Args({60, 10000})->Args({500, 2000})->Args({2000, 5000});
    bench->UseManualTime()->Iterations(turns);
}

BENCHMARK(iterationBesideTwoPasses)->Apply(sizes);
BENCHMARK(missingIterationBesideComplete)->Apply(sizes);

}  // namespace
