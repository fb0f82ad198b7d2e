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
struct Int {
    typedef int Type __attribute__((vector_size(count * sizeof(int))));
};
template <int count>
using Ints = typename Int<count>::Type;

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

template <int count>
VELDANE_INLINE void widen(const Floats<count>& from, Doubles<count>& to) {
#ifdef __clang__
    to = __builtin_convertvector(from, Doubles<count>);
#else
    // GCC 12 makes several instructions of the builtin, at the spot that the time hangs on.
    Doubles<count> wide;
    if constexpr (count > 2) {
        asm("vcvtps2pd %1, %0" : "=v"(wide) : "vm"(from));
    } else {
        asm("cvtps2pd %1, %0" : "=x"(wide) : "x"(from));
    }
    to = wide;
#endif
}

template <int count>
VELDANE_INLINE void narrow(const Doubles<count>& from, Floats<count>& to) {
    to = __builtin_convertvector(from, Floats<count>);
}

template <int count, int... lane>
VELDANE_INLINE void halve(const Floats<count>& from, Floats<count / 2> (&to)[2],
                          std::integer_sequence<int, lane...>) {
    to[0] = __builtin_shufflevector(from, from, lane...);
    to[1] = __builtin_shufflevector(from, from, (lane + count / 2)...);
}

/// The lanes as doubles, which take two vectors.
template <int count>
VELDANE_INLINE void widenHalves(const Floats<count>& from, Doubles<count / 2> (&to)[2]) {
    Floats<count / 2> half[2];
    halve<count>(from, half, std::make_integer_sequence<int, count / 2>());
    for (int h = 0; h < 2; ++h) widen<count / 2>(half[h], to[h]);
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

/// Four vectors of quads of rows to four columns, in place.
template <int count>
VELDANE_INLINE void turnQuads(Floats<count> (&v)[4]) {
    constexpr auto all = std::make_integer_sequence<int, count>();
    Floats<count> low01, low23, high01, high23;
    shuffleQuads<count, 0, 4, 1, 5>(v[0], v[1], low01, all);
    shuffleQuads<count, 0, 4, 1, 5>(v[2], v[3], low23, all);
    shuffleQuads<count, 2, 6, 3, 7>(v[0], v[1], high01, all);
    shuffleQuads<count, 2, 6, 3, 7>(v[2], v[3], high23, all);
    shuffleQuads<count, 0, 1, 4, 5>(low01, low23, v[0], all);
    shuffleQuads<count, 2, 3, 6, 7>(low01, low23, v[1], all);
    shuffleQuads<count, 0, 1, 4, 5>(high01, high23, v[2], all);
    shuffleQuads<count, 2, 3, 6, 7>(high01, high23, v[3], all);
}

/// Columns k .. k + 3 of `count` rows, each column a vector with the rows in order.
template <int count>
VELDANE_INLINE void loadColumns(const float* const* rows, int k, Floats<count> (&column)[4]) {
    for (int r = 0; r < 4; ++r) loadQuads<count>(rows, r, k, column[r]);
    turnQuads<count>(column);
}

/// Quads q0..q3, 0-3 of x and 4-7 of y.
template <int q0, int q1, int q2, int q3>
VELDANE_INLINE void pickQuads(const Floats<16>& x, const Floats<16>& y, Floats<16>& to) {
    to = __builtin_shufflevector(x, y, q0 * 4, q0 * 4 + 1, q0 * 4 + 2, q0 * 4 + 3, q1 * 4,
                                 q1 * 4 + 1, q1 * 4 + 2, q1 * 4 + 3, q2 * 4, q2 * 4 + 1, q2 * 4 + 2,
                                 q2 * 4 + 3, q3 * 4, q3 * 4 + 1, q3 * 4 + 2, q3 * 4 + 3);
}

/// Columns k .. k + 15 of 16 rows, four by four, with a quarter of the loads.
VELDANE_INLINE void loadSquare(const float* const* rows, int k, Floats<16> (&column)[4][4]) {
    for (int r = 0; r < 4; ++r) {
        Floats<16> row[4], pair[4];
        for (int q = 0; q < 4; ++q) load<16>(rows[r + 4 * q] + k, row[q]);
        pickQuads<0, 1, 4, 5>(row[0], row[1], pair[0]);
        pickQuads<2, 3, 6, 7>(row[0], row[1], pair[1]);
        pickQuads<0, 1, 4, 5>(row[2], row[3], pair[2]);
        pickQuads<2, 3, 6, 7>(row[2], row[3], pair[3]);
        pickQuads<0, 2, 4, 6>(pair[0], pair[2], column[0][r]);
        pickQuads<1, 3, 5, 7>(pair[0], pair[2], column[1][r]);
        pickQuads<0, 2, 4, 6>(pair[1], pair[3], column[2][r]);
        pickQuads<1, 3, 5, 7>(pair[1], pair[3], column[3][r]);
    }
    for (int q = 0; q < 4; ++q) turnQuads<16>(column[q]);
}

/// Each row one lane: take(column, k) for the columns of `count` rows, k ascending. Sums of rows
/// are chains of dependent additions; side by side they fill the processor.
template <int count, class Take>
VELDANE_INLINE void walkColumns(const float* const* rows, int cols, Take& take) {
    int k = 0;
    if constexpr (count == 16) {
        for (; k + 16 <= cols; k += 16) {
            // Sixteen rows are more streams than the processor fetches ahead by itself.
            for (int r = 0; r < 16; ++r) __builtin_prefetch(rows[r] + k + 128);
            Floats<16> column[4][4];
            loadSquare(rows, k, column);
            for (int l = 0; l < 16; ++l) take(column[l / 4][l % 4], k + l);
        }
    }
    for (; k + 4 <= cols; k += 4) {
        Floats<count> column[4];
        loadColumns<count>(rows, k, column);
        for (int l = 0; l < 4; ++l) take(column[l], k + l);
    }
    for (; k < cols; ++k) {
        Floats<count> column;
        for (int r = 0; r < count; ++r) column[r] = rows[r][k];
        take(column, k);
    }
}

}  // namespace veldane::lanes
