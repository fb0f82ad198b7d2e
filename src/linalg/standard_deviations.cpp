#include <algorithm>
#include <cmath>
#include <cstring>

#include "linalg/instruction_set.h"
#include "linalg/kernels.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Floats;
using lanes::Ints;

/// Welford's recurrence in float over the values that are not NaN, for each column or row: the mean
/// so far, the sum of squares around it, the count.
struct Spreads {
    explicit Spreads(int size) : means(size, 0.0f), squares(size, 0.0f), counts(size, 0) {}
    FVector means;
    FVector squares;
    IVector counts;
};

/// Two divisions a value are what the time goes into, so lanes are columns or rows. Two of these
/// run abreast, since each step waits for the one before.
template <int count>
struct Running {
    Floats<count> mean, squares;
    Ints<count> seen;

    VELDANE_INLINE void load(const Spreads& from, int at) {
        lanes::load<count>(&from.means[at], mean);
        lanes::load<count>(&from.squares[at], squares);
        std::memcpy(&seen, &from.counts[at], sizeof seen);
    }

    VELDANE_INLINE void store(const Spreads& to, int at) const {
        lanes::store(mean, &to.means[at]);
        lanes::store(squares, &to.squares[at]);
        std::memcpy(&to.counts[at], &seen, sizeof seen);
    }

    VELDANE_INLINE void add(const Floats<count>& x) {
        const Ints<count> first = seen == 0;
        const Ints<count> present = x == x;
        const Floats<count> before = __builtin_convertvector(seen, Floats<count>);
        const Floats<count> next = __builtin_convertvector(seen + 1, Floats<count>);
        const Floats<count> d = x - mean;
        const Floats<count> moved = mean + d / next;
        const Floats<count> grown = squares + before * d * d / next;
        mean = present ? (first ? x : moved) : mean;
        squares = present & ~first ? grown : squares;
        seen = seen - present;
    }
};

/// Lanes are columns from j on, two vectors of them, as many rows as there are.
template <int count>
VELDANE_INLINE void addRows(const float* const* rows, int present, int from, const Spreads& spreads,
                            int j) {
    Running<count> left, right;
    left.load(spreads, j);
    right.load(spreads, j + count);
    for (int r = 0; r < present; ++r) {
        // So many rows are more streams than the processor fetches ahead by itself.
        for (int l = 0; l < 2 * count; l += 16) __builtin_prefetch(rows[r] + from + l + 128);
        Floats<count> x[2];
        lanes::load<count>(rows[r] + from, x[0]);
        lanes::load<count>(rows[r] + from + count, x[1]);
        left.add(x[0]);
        right.add(x[1]);
    }
    left.store(spreads, j);
    right.store(spreads, j + count);
}

constexpr int rowsAtOnce = 16;

/// `spreads` has room for whole pairs of vectors.
template <int count>
VELDANE_INLINE void addColumns(const FMatrix& a, const Spreads& spreads) {
    constexpr int width = 2 * count;
    const int whole = a.cols() / width * width;
    float padded[rowsAtOnce][width];
    const float* ends[rowsAtOnce];
    for (int i = 0; i < a.rows(); i += rowsAtOnce) {
        const int present = std::min(rowsAtOnce, a.rows() - i);
        const float* const* rows = a.table() + i;
        for (int j = 0; j < whole; j += width) addRows<count>(rows, present, j, spreads, j);
        if (whole == a.cols()) continue;
        for (int r = 0; r < present; ++r) {
            std::fill_n(padded[r], width, 0.0f);
            std::copy(rows[r] + whole, rows[r] + a.cols(), padded[r]);
            ends[r] = padded[r];
        }
        addRows<count>(ends, present, 0, spreads, whole);
    }
}

/// Lanes are rows. Where they run out, the last one fills the lanes that are left.
template <int count>
VELDANE_INLINE void addAllColumns(const FMatrix& a, const Spreads& spreads) {
    for (int i = 0; i < a.rows(); i += 2 * count) {
        const float* rows[2][count];
        for (int r = 0; r < 2 * count; ++r) {
            rows[r / count][r % count] = a[std::min(i + r, a.rows() - 1)];
        }
        Running<count> running[2];
        for (int h = 0; h < 2; ++h) running[h].load(spreads, i + h * count);
        int k = 0;
        for (; k + 4 <= a.cols(); k += 4) {
            Floats<count> column[2][4];
            for (int h = 0; h < 2; ++h) lanes::loadColumns<count>(rows[h], k, column[h]);
            for (int l = 0; l < 4; ++l) {
                for (int h = 0; h < 2; ++h) running[h].add(column[h][l]);
            }
        }
        for (; k < a.cols(); ++k) {
            for (int h = 0; h < 2; ++h) {
                Floats<count> x;
                for (int r = 0; r < count; ++r) x[r] = rows[h][r][k];
                running[h].add(x);
            }
        }
        for (int h = 0; h < 2; ++h) running[h].store(spreads, i + h * count);
    }
}

struct SpreadKernels {
    void (*columns)(const FMatrix& a, const Spreads& spreads);
    void (*rows)(const FMatrix& a, const Spreads& spreads);
};

void columnsBaseline(const FMatrix& a, const Spreads& spreads) {
    addColumns<4>(a, spreads);
}
void rowsBaseline(const FMatrix& a, const Spreads& spreads) {
    addAllColumns<4>(a, spreads);
}
[[gnu::target("avx2")]] void columnsAvx2(const FMatrix& a, const Spreads& spreads) {
    addColumns<8>(a, spreads);
}
[[gnu::target("avx2")]] void rowsAvx2(const FMatrix& a, const Spreads& spreads) {
    addAllColumns<8>(a, spreads);
}
[[gnu::target("avx512f")]] void columnsAvx512(const FMatrix& a, const Spreads& spreads) {
    addColumns<16>(a, spreads);
}
[[gnu::target("avx512f")]] void rowsAvx512(const FMatrix& a, const Spreads& spreads) {
    addAllColumns<16>(a, spreads);
}

SpreadKernels spreadKernels() {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return {columnsAvx512, rowsAvx512};
        case InstructionSet::avx2:
            return {columnsAvx2, rowsAvx2};
        case InstructionSet::baseline:
            break;
    }
    return {columnsBaseline, rowsBaseline};
}

/// Room for the widest pair of vectors behind the last.
Spreads spreadsFor(int64_t size) {
    constexpr int pair = 32;
    return Spreads(elementCount(1, static_cast<int>((size + pair - 1) / pair * pair)));
}

Spreads columnSpreads(const FMatrix& a) {
    Spreads spreads = spreadsFor(a.cols());
    if (a.size() > 0) spreadKernels().columns(a, spreads);
    return spreads;
}

Spreads rowSpreads(const FMatrix& a) {
    Spreads spreads = spreadsFor(a.rows());
    if (a.size() > 0) spreadKernels().rows(a, spreads);
    return spreads;
}

float unguardedDeviation(const Spreads& spreads, int at, bool sample) {
    return std::sqrt(spreads.squares[at] /
                     static_cast<float>(spreads.counts[at] - (sample ? 1 : 0)));
}

float deviation(const Spreads& spreads, int at, bool sample) {
    return spreads.counts[at] <= 1 ? missingValue() : unguardedDeviation(spreads, at, sample);
}

}  // namespace

FMatrix matColumnStdDev(const FMatrix& a, bool sample) {
    const Spreads spreads = columnSpreads(a);
    FMatrix result(1, a.cols());
    for (int j = 0; j < a.cols(); ++j) result[0][j] = deviation(spreads, j, sample);
    return result;
}

FMatrix matRowStdDev(const FMatrix& a, bool sample) {
    const Spreads spreads = rowSpreads(a);
    FMatrix result(a.rows(), 1);
    for (int i = 0; i < a.rows(); ++i) result[i][0] = deviation(spreads, i, sample);
    return result;
}

FMatrix RowStdDev(const FMatrix& a, bool unbiased) {
    const Spreads spreads = rowSpreads(a);
    FMatrix result(a.rows(), 1);
    // The missing guard is wanted: with one value it is 0/0, or 0 where nothing is taken off.
    for (int i = 0; i < a.rows(); ++i) result[i][0] = unguardedDeviation(spreads, i, unbiased);
    return result;
}

FMatrix matColumnVariance(const FMatrix& a) {
    FMatrix result = matColumnStdDev(a, true);
    for (int j = 0; j < a.cols(); ++j) result[0][j] *= result[0][j];
    return result;
}

}  // namespace veldane
