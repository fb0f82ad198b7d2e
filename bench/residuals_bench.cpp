// The residual tables of all components beside a copy of the data.

#include <cstring>

#include "linalg/instruction_set.h"
#include "linalg/residual_sums.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

/// The time as a multiple of a copy into a warm buffer.
void residualsBesideCopy(benchmark::State& state, double missing, InstructionSet set) {
    if (bestInstructionSet() < set) return state.SkipWithError("not on this processor");
    const int n = static_cast<int>(state.range(0)), m = static_cast<int>(state.range(1));
    const int components = static_cast<int>(state.range(2));
    const FMatrix x = withMissing(randomMatrix(n, m), missing);
    const FMatrix t = randomMatrix(n, components), p = randomMatrix(components, m);
    const FMatrix means(1, m, 0.5f), copy = x.clone();
    useInstructionSet(set);
    double bestCopy = 1e9, best = 1e9;
    for ([[maybe_unused]] auto _ : state) {
        bestCopy =
            std::min(bestCopy, secondsOf(3, [&] {
                         std::memcpy(copy[0], x[0], sizeof(float) * static_cast<size_t>(x.size()));
                     }));
        const double seconds = secondsOf(1, [&] { residualSums(x, t, p, means); });
        best = std::min(best, seconds);
        state.SetIterationTime(seconds);
    }
    useInstructionSet(bestInstructionSet());
    state.counters["copy_us"] = bestCopy * 1e6;
    state.counters["library_us"] = best * 1e6;
    state.counters["times_copy"] = best / bestCopy;
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({60, 401, 10})->Args({60, 10000, 10})->Args({500, 2000, 10})->Args({500, 2000, 20});
    bench->Args({2000, 5000, 10})->UseManualTime()->Iterations(turns);
}

BENCHMARK_CAPTURE(residualsBesideCopy, best, 0.0, bestInstructionSet())->Apply(sizes);
BENCHMARK_CAPTURE(residualsBesideCopy, avx2, 0.0, InstructionSet::avx2)->Apply(sizes);
BENCHMARK_CAPTURE(residualsBesideCopy, baseline, 0.0, InstructionSet::baseline)->Apply(sizes);

}  // namespace
