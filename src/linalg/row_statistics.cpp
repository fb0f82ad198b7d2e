#include "linalg/row_statistics.h"

#include <algorithm>
#include <cmath>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Doubles;
using lanes::Floats;
using lanes::Ints;

struct Sums {
    float* sums;
    int* present;

    template <int count>
    struct Chain {
        Floats<count> sum;
        Ints<count> present;

        VELDANE_INLINE void operator()(const Floats<count>& x, int /*column*/) {
            const Ints<count> there = x == x;
            sum = there ? sum + x : sum;
            present -= there;
        }
    };

    template <int count>
    void take(const Chain<count>& chain, int lane, int row) const {
        sums[row] = chain.sum[lane];
        present[row] = chain.present[lane];
    }
};

struct SumSquares {
    double* sums;

    template <int count>
    struct Chain {
        Doubles<count / 2> sum[2];

        VELDANE_INLINE void operator()(const Floats<count>& x, int /*column*/) {
            const Floats<count> zero = {};
            Doubles<count / 2> half[2];
            lanes::widenHalves<count>(x == x ? x : zero, half);
            for (int h = 0; h < 2; ++h) sum[h] = sum[h] + half[h] * half[h];
        }
    };

    template <int count>
    void take(const Chain<count>& chain, int lane, int row) const {
        sums[row] = chain.sum[lane / (count / 2)][lane % (count / 2)];
    }
};

/// Fewer rows than lanes are filled up with the last.
template <int count, class Statistic>
VELDANE_INLINE void addAllRows(const FMatrix& a, const Statistic& statistic) {
    for (int i = 0; i < a.rows(); i += count) {
        const float* rows[count];
        for (int r = 0; r < count; ++r) rows[r] = a[std::min(i + r, a.rows() - 1)];
        typename Statistic::template Chain<count> chain = {};
        lanes::walkColumns<count>(rows, a.cols(), chain);
        for (int r = 0; r < count && i + r < a.rows(); ++r) {
            statistic.template take<count>(chain, r, i + r);
        }
    }
}

template <int count>
struct ExtremeLanes {
    Floats<count> least;
    Floats<count> most;

    /// A comparison with NaN is false.
    VELDANE_INLINE void add(const Floats<count>& x, const Floats<count>& y) {
        least = x < least ? x : least;
        most = y > most ? y : most;
    }
};

template <int count>
VELDANE_INLINE Extremes extremesOfRow(const float* row, int cols, Extremes start) {
    const Floats<count> zero = {};
    constexpr int chains = 4;
    ExtremeLanes<count> lanesOf[chains];
    for (auto& chain : lanesOf) chain = {zero + start.least, zero + start.most};
    int j = 0;
    for (; j + chains * count <= cols; j += chains * count) {
        for (int c = 0; c < chains; ++c) {
            Floats<count> x;
            lanes::load<count>(row + j + c * count, x);
            lanesOf[c].add(x, x);
        }
    }
    for (int c = 1; c < chains; ++c) lanesOf[0].add(lanesOf[c].least, lanesOf[c].most);
    ExtremeLanes<1> result = {Floats<1>{start.least}, Floats<1>{start.most}};
    for (int l = 0; l < count; ++l) {
        result.add(Floats<1>{lanesOf[0].least[l]}, Floats<1>{lanesOf[0].most[l]});
    }
    for (; j < cols; ++j) result.add(Floats<1>{row[j]}, Floats<1>{row[j]});
    return {result.least[0], result.most[0]};
}

[[gnu::target("avx512f")]] Extremes extremesAvx512(const float* row, int cols, Extremes start) {
    return extremesOfRow<16>(row, cols, start);
}
[[gnu::target("avx2")]] Extremes extremesAvx2(const float* row, int cols, Extremes start) {
    return extremesOfRow<8>(row, cols, start);
}

template <class Statistic>
[[gnu::target("avx512f")]] void addAvx512(const FMatrix& a, const Statistic& statistic) {
    addAllRows<16>(a, statistic);
}
template <class Statistic>
[[gnu::target("avx2")]] void addAvx2(const FMatrix& a, const Statistic& statistic) {
    addAllRows<8>(a, statistic);
}

template <class Statistic>
void addByInstructionSet(const FMatrix& a, const Statistic& statistic) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return addAvx512(a, statistic);
        case InstructionSet::avx2:
            return addAvx2(a, statistic);
        case InstructionSet::baseline:
            return addAllRows<4>(a, statistic);
    }
}

}  // namespace

void rowSums(const FMatrix& a, float* sums, int* present) {
    std::fill_n(sums, a.rows(), 0.0f);
    std::fill_n(present, a.rows(), 0);
    if (a.size() > 0) addByInstructionSet(a, Sums{sums, present});
}

void rowSumSquares(const FMatrix& a, double* sums) {
    std::fill_n(sums, a.rows(), 0.0);
    if (a.size() > 0) addByInstructionSet(a, SumSquares{sums});
}

Extremes rowExtremes(const float* row, int cols, Extremes start) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return extremesAvx512(row, cols, start);
        case InstructionSet::avx2:
            return extremesAvx2(row, cols, start);
        case InstructionSet::baseline:
            break;
    }
    return extremesOfRow<4>(row, cols, start);
}

}  // namespace veldane
