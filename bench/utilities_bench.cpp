// The utilities beside a copy of as many elements into a warm buffer, and the random segments
// beside their random numbers.

#include <cstring>

#include "core/random.h"
#include "linalg/instruction_set.h"
#include "paired.h"
#include "veldane.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

ArrayDesc describe(const FMatrix& a) {
    return {0, a.cols(), a.rows(), 1, a.storage().data()};
}

template <class Work>
void besideCopy(benchmark::State& state, int elements, InstructionSet set, Work work) {
    if (bestInstructionSet() < set) return state.SkipWithError("not on this processor");
    const FVector from(elements, 1.0f), to(elements, 0.0f);
    const size_t bytes = sizeof(float) * static_cast<size_t>(elements);
    useInstructionSet(set);
    pair(
        state, repeatsFor(elements), [&] { std::memcpy(to.data(), from.data(), bytes); }, work);
    useInstructionSet(bestInstructionSet());
}

void segments(benchmark::State& state, int method) {
    const int objects = 1000000;
    ArrayDesc out = {VELDANE_KIND_LIBRARY, 0, 0, 0, nullptr};
    besideCopy(state, objects, bestInstructionSet(),
               [&] { createsegment(method, static_cast<int>(state.range(0)), 1, objects, &out); });
}

void segmentsBesideRandom(benchmark::State& state) {
    const int objects = 1000000;
    ArrayDesc out = {VELDANE_KIND_LIBRARY, 0, 0, 0, nullptr};
    const auto draw = [] {
        for (int i = 0; i < objects; ++i) benchmark::DoNotOptimize(nextRandom());
    };
    pair(state, 1, draw, [&] { createsegment(VELDANE_SEGMENTS_RANDOM, 10, 1, objects, &out); });
}

FMatrix table(const benchmark::State& state) {
    return randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

void weighted(benchmark::State& state) {
    const FMatrix x = table(state), w(1, x.cols(), 1.0f);
    ArrayDesc inout = describe(x), weights = describe(w);
    besideCopy(state, x.size(), bestInstructionSet(), [&] { computeweighted(&inout, &weights); });
}

void centred(benchmark::State& state, InstructionSet set) {
    const FMatrix x = table(state);
    ArrayDesc inout = describe(x);
    besideCopy(state, x.size(), set, [&] { doublecenter(&inout); });
}

void deviations(benchmark::State& state, int axis, double missing, InstructionSet set) {
    const FMatrix x = withMissing(table(state), missing);
    const ArrayDesc data = describe(x);
    ArrayDesc out = {VELDANE_KIND_LIBRARY, 0, 0, 0, nullptr};
    besideCopy(state, x.size(), set, [&] { stddev(&data, axis, &out); });
}

void segmentSizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(1)->Arg(10)->Arg(1000)->UseManualTime()->Iterations(turns);
}

void tableSizes(benchmark::internal::Benchmark* bench) {
    bench->Args({60, 401})->Args({500, 2000})->Args({20000, 50})->Args({2000, 5000});
    bench->UseManualTime()->Iterations(turns);
}

constexpr auto avx2 = InstructionSet::avx2;
constexpr auto baseline = InstructionSet::baseline;

BENCHMARK_CAPTURE(segments, all, VELDANE_SEGMENTS_ALL)->Apply(segmentSizes);
BENCHMARK_CAPTURE(segments, random, VELDANE_SEGMENTS_RANDOM)->Apply(segmentSizes);
BENCHMARK_CAPTURE(segments, consecutive, VELDANE_SEGMENTS_CONSECUTIVE)->Apply(segmentSizes);
BENCHMARK_CAPTURE(segments, interleaved, VELDANE_SEGMENTS_INTERLEAVED)->Apply(segmentSizes);
BENCHMARK(segmentsBesideRandom)->UseManualTime()->Iterations(turns);
BENCHMARK(weighted)->Apply(tableSizes);
BENCHMARK_CAPTURE(centred, best, bestInstructionSet())->Apply(tableSizes);
BENCHMARK_CAPTURE(centred, avx2, avx2)->Apply(tableSizes);
BENCHMARK_CAPTURE(centred, baseline, baseline)->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, columns, 0, 0.0, bestInstructionSet())->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, columnsMissing, 0, 0.05, bestInstructionSet())->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, columnsAvx2, 0, 0.0, avx2)->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, columnsBaseline, 0, 0.0, baseline)->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, rows, 1, 0.0, bestInstructionSet())->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, rowsAvx2, 1, 0.0, avx2)->Apply(tableSizes);
BENCHMARK_CAPTURE(deviations, rowsBaseline, 1, 0.0, baseline)->Apply(tableSizes);

}  // namespace
