#include "linalg/double_centring.h"

#include <algorithm>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Doubles;
using lanes::Floats;

// Elements that are fetched before they are needed.
constexpr int ahead = 128;

/// Sums of `count` rows, each row one lane, so that the chains of additions run side by side.
template <int count>
VELDANE_INLINE void sumRows(const float* const* rows, int cols, double* sums) {
    Doubles<count / 2> sum[2] = {};
    int k = 0;
    for (; k + 4 <= cols; k += 4) {
        // So many rows are more streams than the processor fetches ahead by itself.
        for (int r = 0; r < count; ++r) __builtin_prefetch(rows[r] + k + ahead);
        Floats<count> column[4];
        lanes::loadColumns<count>(rows, k, column);
        for (int l = 0; l < 4; ++l) {
            Doubles<count / 2> wide[2];
            lanes::widenHalves<count>(column[l], wide);
            for (int h = 0; h < 2; ++h) sum[h] = sum[h] + wide[h];
        }
    }
    std::memcpy(sums, sum, sizeof sum);
    for (; k < cols; ++k) {
        for (int r = 0; r < count; ++r) sums[r] += static_cast<double>(rows[r][k]);
    }
}

/// Adds rows to the column sums, in their order.
template <int count>
VELDANE_INLINE void addRows(const float* const* rows, int cols, double* sums) {
    for (int j = 0; j < cols; ++j) {
        double sum = sums[j];
        for (int r = 0; r < count; ++r) sum += static_cast<double>(rows[r][j]);
        sums[j] = sum;
    }
}

/// Both sums of a block of rows while it is in the cache.
template <int count>
VELDANE_INLINE void sumBothWays(const FMatrix& a, double* rowSums, double* colSums) {
    int i = 0;
    for (; i + count <= a.rows(); i += count) {
        sumRows<count>(a.table() + i, a.cols(), rowSums + i);
        addRows<count>(a.table() + i, a.cols(), colSums);
    }
    if (i == a.rows()) return;
    // The last row fills the lanes that are left.
    const float* filled[count];
    double sums[count];
    for (int r = 0; r < count; ++r) filled[r] = a[std::min(i + r, a.rows() - 1)];
    sumRows<count>(filled, a.cols(), sums);
    std::copy_n(sums, a.rows() - i, rowSums + i);
    for (; i < a.rows(); ++i) addRows<1>(a.table() + i, a.cols(), colSums);
}

VELDANE_INLINE void takeOffPart(float* x, int count, const double* colMeans, double rowMean,
                                double all) {
    for (int j = 0; j < count; ++j) {
        x[j] = static_cast<float>((static_cast<double>(x[j]) - colMeans[j]) - rowMean + all);
    }
}

/// A few rows at once share what is read of the column means.
VELDANE_INLINE void takeOff(const FMatrix& a, const TableMeans& means) {
    constexpr int rowsAtOnce = 4, part = 32, line = 16;
    const double* colMeans = means.cols.data();
    const int whole = a.cols() / part * part;
    for (int i = 0; i < a.rows(); i += rowsAtOnce) {
        const int end = std::min(i + rowsAtOnce, a.rows());
        for (int j = 0; j < whole; j += part) {
            for (int r = i; r < end; ++r) {
                float* x = a[r] + j;
                for (int l = 0; l < part; l += line) __builtin_prefetch(x + l + ahead, 1);
                takeOffPart(x, part, colMeans + j, means.rows[r], means.all);
            }
        }
        for (int r = i; r < end; ++r) {
            takeOffPart(a[r] + whole, a.cols() - whole, colMeans + whole, means.rows[r], means.all);
        }
    }
}

struct CentringKernels {
    void (*sum)(const FMatrix& a, double* rowSums, double* colSums);
    void (*takeOff)(const FMatrix& a, const TableMeans& means);
};

void sumBaseline(const FMatrix& a, double* rowSums, double* colSums) {
    sumBothWays<4>(a, rowSums, colSums);
}
void takeOffBaseline(const FMatrix& a, const TableMeans& means) {
    takeOff(a, means);
}
[[gnu::target("avx2")]] void sumAvx2(const FMatrix& a, double* rowSums, double* colSums) {
    sumBothWays<8>(a, rowSums, colSums);
}
[[gnu::target("avx2")]] void takeOffAvx2(const FMatrix& a, const TableMeans& means) {
    takeOff(a, means);
}
[[gnu::target("avx512f")]] void sumAvx512(const FMatrix& a, double* rowSums, double* colSums) {
    sumBothWays<16>(a, rowSums, colSums);
}
[[gnu::target("avx512f")]] void takeOffAvx512(const FMatrix& a, const TableMeans& means) {
    takeOff(a, means);
}

CentringKernels centringKernels() {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return {sumAvx512, takeOffAvx512};
        case InstructionSet::avx2:
            return {sumAvx2, takeOffAvx2};
        case InstructionSet::baseline:
            break;
    }
    return {sumBaseline, takeOffBaseline};
}

}  // namespace

TableMeans doubleCentre(const FMatrix& a) {
    TableMeans means = {Vector<double>(a.rows(), 0.0), Vector<double>(a.cols(), 0.0)};
    if (a.size() == 0) return means;
    const CentringKernels kernels = centringKernels();
    kernels.sum(a, means.rows.data(), means.cols.data());
    for (const double sum : means.rows) means.all += sum;
    for (double& mean : means.rows) mean /= a.cols();
    for (double& mean : means.cols) mean /= a.rows();
    means.all /= a.size();
    kernels.takeOff(a, means);
    return means;
}

}  // namespace veldane
