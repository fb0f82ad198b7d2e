#pragma once

#include <cstring>
#include <utility>

/// Vectors of independent sums, for the kernels that are compiled once for each instruction set.
/// Everything here is inlined into a function that names its target. Lane arithmetic is one
/// rounding an operation, as in plain float code.
namespace veldane::lanes {

#define VELDANE_INLINE [[gnu::always_inline]] inline

template <int count>
struct Float {
    typedef float Type __attribute__((vector_size(count * sizeof(float))));
};
template <int count>
using Floats = typename Float<count>::Type;

using Floats4 = Floats<4>;

template <int count>
struct Double {
    typedef double Type __attribute__((vector_size(count * sizeof(double))));
};
template <int count>
using Doubles = typename Double<count>::Type;

template <int count>
VELDANE_INLINE void load(const float* from, Floats<count>& to) {
    std::memcpy(&to, from, sizeof to);
}

template <class V>
VELDANE_INLINE void store(const V& from, float* to) {
    std::memcpy(to, &from, sizeof from);
}

template <int count, int... lane>
VELDANE_INLINE void join(const Floats<count / 2>& low, const Floats<count / 2>& high,
                         Floats<count>& to, std::integer_sequence<int, lane...>) {
    to = __builtin_shufflevector(low, high, lane...);
}

/// Lane by lane: __builtin_convertvector takes four instructions where the processor has one.
template <int count, int... lane>
VELDANE_INLINE void widenHalves(const Floats<count>& from, Doubles<count / 2> (&to)[2],
                                std::integer_sequence<int, lane...>) {
    to[0] = Doubles<count / 2>{from[lane]...};
    to[1] = Doubles<count / 2>{from[lane + count / 2]...};
}

/// The lanes as doubles, which take two vectors.
template <int count>
VELDANE_INLINE void widen(const Floats<count>& from, Doubles<count / 2> (&to)[2]) {
    Floats<count> held = from;
#ifndef __clang__
    // Keeps GCC from going back to the lanes' single loads.
    asm("" : "+v"(held));
#endif
    widenHalves<count>(held, to, std::make_integer_sequence<int, count / 2>());
}

/// Lanes g * 4 .. g * 4 + 3 of `to` are four columns of row g * 4 + offset, from column k on.
template <int count>
VELDANE_INLINE void loadQuads(const float* const* rows, int offset, int k, Floats<count>& to) {
    if constexpr (count == 4) {
        load<4>(rows[offset] + k, to);
    } else {
        Floats<count / 2> low, high;
        loadQuads<count / 2>(rows, offset, k, low);
        loadQuads<count / 2>(rows, offset + count / 2, k, high);
        join<count>(low, high, to, std::make_integer_sequence<int, count>());
    }
}

/// The shuffle of lanes a0..a3 of each quad, 0-3 from x and 4-7 from y.
template <int count, int a0, int a1, int a2, int a3, int... lane>
VELDANE_INLINE void shuffleQuads(const Floats<count>& x, const Floats<count>& y, Floats<count>& to,
                                 std::integer_sequence<int, lane...>) {
    constexpr int pick[4] = {a0, a1, a2, a3};
    to = __builtin_shufflevector(
        x, y, (lane / 4 * 4 + pick[lane % 4] % 4 + pick[lane % 4] / 4 * count)...);
}

/// Columns k .. k + 3 of `count` rows, each column a vector with the rows in order.
template <int count>
VELDANE_INLINE void loadColumns(const float* const* rows, int k, Floats<count> (&column)[4]) {
    constexpr auto all = std::make_integer_sequence<int, count>();
    Floats<count> r0, r1, r2, r3, low01, low23, high01, high23;
    loadQuads<count>(rows, 0, k, r0);
    loadQuads<count>(rows, 1, k, r1);
    loadQuads<count>(rows, 2, k, r2);
    loadQuads<count>(rows, 3, k, r3);
    shuffleQuads<count, 0, 4, 1, 5>(r0, r1, low01, all);
    shuffleQuads<count, 0, 4, 1, 5>(r2, r3, low23, all);
    shuffleQuads<count, 2, 6, 3, 7>(r0, r1, high01, all);
    shuffleQuads<count, 2, 6, 3, 7>(r2, r3, high23, all);
    shuffleQuads<count, 0, 1, 4, 5>(low01, low23, column[0], all);
    shuffleQuads<count, 2, 3, 6, 7>(low01, low23, column[1], all);
    shuffleQuads<count, 0, 1, 4, 5>(high01, high23, column[2], all);
    shuffleQuads<count, 2, 3, 6, 7>(high01, high23, column[3], all);
}

}  // namespace veldane::lanes
