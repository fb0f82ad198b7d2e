// Critical values of the F distribution over a grid of 10,000 ordinary arguments. There is no
// reference here: the time is to be held against scipy.stats.f.isf on the same grid as one array.

#include "paired.h"
#include "veldane.h"

namespace {

using namespace veldane::bench;

double sumOfCriticalValues() {
    constexpr double levels[] = {0.001, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 0.9, 0.95};
    double sum = 0.0;
    for (int m = 1; m <= 20; ++m) {
        for (int n = 5; n <= 250; n += 5) {
            for (const double alpha : levels) sum += STAT_FDist(m, n, alpha);
        }
    }
    return sum;
}

void gridOfCriticalValues(benchmark::State& state) {
    double best = 1e9;
    for ([[maybe_unused]] auto _ : state) {
        const double seconds =
            secondsOf(1, [] { benchmark::DoNotOptimize(sumOfCriticalValues()); });
        best = std::min(best, seconds);
        state.SetIterationTime(seconds);
    }
    state.counters["library_us"] = best * 1e6;
}

BENCHMARK(gridOfCriticalValues)->UseManualTime()->Iterations(turns);

}  // namespace
