#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <random>

#include "core/array.h"

namespace veldane::bench {

/// The seconds that `repeats` calls take, for one.
template <class Work>
double secondsOf(int repeats, Work work) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i) {
        work();
        benchmark::ClobberMemory();
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / repeats;
}

constexpr int turns = 25;

/// Times the reference and the library in turns, so that both see the same machine, and counts how
/// many times as fast the library is, by the best time of each. Rows ask for `turns` iterations.
template <class Reference, class Library>
void pair(benchmark::State& state, int repeats, Reference reference, Library library) {
    double bestReference = std::numeric_limits<double>::max();
    double bestLibrary = bestReference;
    for ([[maybe_unused]] auto _ : state) {
        bestReference = std::min(bestReference, secondsOf(repeats, reference));
        const double seconds = secondsOf(repeats, library);
        bestLibrary = std::min(bestLibrary, seconds);
        state.SetIterationTime(seconds * repeats);
    }
    state.counters["reference_us"] = bestReference * 1e6;
    state.counters["library_us"] = bestLibrary * 1e6;
    state.counters["times_as_fast"] = bestReference / bestLibrary;
}

/// Calls that make a measurement of about a tenth of a millisecond or more.
inline int repeatsFor(double operations) {
    return std::max(1, static_cast<int>(1e6 / operations));
}

inline FMatrix randomMatrix(int rows, int cols) {
    std::mt19937 generator(static_cast<unsigned>(rows * 31 + cols));
    std::normal_distribution<float> normal;
    FMatrix result(rows, cols);
    for (float& x : result.storage()) x = normal(generator);
    return result;
}

/// Takes away a share of the values, at random.
inline FMatrix withMissing(const FMatrix& a, double share) {
    FMatrix result = a.clone();
    std::mt19937 generator(7);
    std::bernoulli_distribution gone(share);
    for (float& x : result.storage()) x = gone(generator) ? missingValue() : x;
    return result;
}

}  // namespace veldane::bench
