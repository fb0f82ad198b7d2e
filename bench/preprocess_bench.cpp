// The preprocessing of a table beside a copy of it into a warm buffer, with and without a callback.

#include <cstring>

#include "paired.h"
#include "veldane.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

void ignore(float progress, char* message) {
    benchmark::DoNotOptimize(progress);
    benchmark::DoNotOptimize(message);
}

/// Each run starts from the same spectra: noise on a baseline.
template <class... Arguments, class... Given>
void inPlace(benchmark::State& state, int (*run)(ArrayDesc*, Arguments...), Given... arguments) {
    const FMatrix x = randomMatrix(1000, 2000), copy = x.clone();
    for (float& value : x.storage()) value += 5.0f;
    ArrayDesc data = {0, copy.cols(), copy.rows(), 1, copy.storage().data()};
    const auto restore = [&] {
        std::memcpy(copy[0], x[0], sizeof(float) * static_cast<size_t>(x.size()));
    };
    char message[VELDANE_MESSAGE_SIZE];
    if (state.range(0) != 0) init_callback(message, ignore);
    double bestCopy = 1e9, best = 1e9;
    for ([[maybe_unused]] auto _ : state) {
        bestCopy = std::min(bestCopy, secondsOf(1, restore));
        const double seconds = secondsOf(1, [&] { run(&data, arguments...); });
        best = std::min(best, seconds);
        state.SetIterationTime(seconds);
    }
    init_callback(nullptr, nullptr);
    state.counters["copy_us"] = bestCopy * 1e6;
    state.counters["library_us"] = best * 1e6;
    state.counters["times_copy"] = best / bestCopy;
}

void rows(benchmark::internal::Benchmark* bench) {
    bench->ArgName("callback")->Arg(0)->Arg(1)->UseManualTime()->Iterations(turns);
}

#define VELDANE_BENCH_IN_PLACE(name, ...) BENCHMARK_CAPTURE(inPlace, name, __VA_ARGS__)->Apply(rows)

VELDANE_BENCH_IN_PLACE(mean, normalizemean);
VELDANE_BENCH_IN_PLACE(max, normalizemax);
VELDANE_BENCH_IN_PLACE(range, normalizerange);
VELDANE_BENCH_IN_PLACE(area, normalizearea);
VELDANE_BENCH_IN_PLACE(peak, normalizepeak, 7);
VELDANE_BENCH_IN_PLACE(unit, normalizeunit);
VELDANE_BENCH_IN_PLACE(snv, snv);
VELDANE_BENCH_IN_PLACE(offset, baselineoffset);
VELDANE_BENCH_IN_PLACE(line, linearbaselinecorrection, 1, 2000);
VELDANE_BENCH_IN_PLACE(abstoref, spectraabstoref);
VELDANE_BENCH_IN_PLACE(reftoabs, spectrareftoabs);
VELDANE_BENCH_IN_PLACE(reftokm, spectrareftokm);
VELDANE_BENCH_IN_PLACE(gap, derivnorrisgap, 2, 10);
VELDANE_BENCH_IN_PLACE(savgol15, derivsgolay, 1, 7, 7, 2);
VELDANE_BENCH_IN_PLACE(savgol101, derivsgolay, 1, 50, 50, 2);
VELDANE_BENCH_IN_PLACE(savgolnew15, derivsgolaynew, 1, 7, 7, 2);
VELDANE_BENCH_IN_PLACE(average3, movingavg, 3);
VELDANE_BENCH_IN_PLACE(average101, movingavg, 101);
VELDANE_BENCH_IN_PLACE(median3, medianfilter, 3);
VELDANE_BENCH_IN_PLACE(median31, medianfilter, 31);
VELDANE_BENCH_IN_PLACE(median101, medianfilter, 101);
VELDANE_BENCH_IN_PLACE(gaussian15, gaussianfilter, 15);
VELDANE_BENCH_IN_PLACE(gaussian101, gaussianfilter, 101);
VELDANE_BENCH_IN_PLACE(detrend, detrend, 2);

}  // namespace
