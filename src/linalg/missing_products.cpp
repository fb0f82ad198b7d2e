#include "linalg/missing_products.h"

#include <algorithm>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

// Columns whose sums are carried at a time; they lie in the first-level cache.
constexpr int blockCols = 512;

/// A quotient of two running sums.
struct Sums {
    double product[blockCols];
    double square[blockCols];
};

/// Takes `count` rows, from column j0 on, into the sums of `cols` columns.
template <int count>
VELDANE_INLINE void addRows(const float* const* rows, int j0, int cols, const float* t,
                            Sums& sums) {
    for (int j = 0; j < cols; ++j) {
        double product = sums.product[j];
        double square = sums.square[j];
        for (int r = 0; r < count; ++r) {
            const double value = rows[r][j0 + j];
            const double factor = t[r];
            product += isMissing(value) ? 0.0 : factor * value;
            square -= isMissing(value) ? factor * factor : 0.0;
        }
        sums.product[j] = product;
        sums.square[j] = square;
    }
}

VELDANE_INLINE void columnQuotients(const FMatrix& e, const float* t, float tt, float* p) {
    const float* const* rows = e.table();
    Sums sums;
    for (int j0 = 0; j0 < e.cols(); j0 += blockCols) {
        const int cols = std::min(blockCols, e.cols() - j0);
        std::fill_n(sums.product, cols, 0.0);
        std::fill_n(sums.square, cols, static_cast<double>(tt));
        int i = 0;
        for (; i + 4 <= e.rows(); i += 4) addRows<4>(rows + i, j0, cols, t + i, sums);
        for (; i < e.rows(); ++i) addRows<1>(rows + i, j0, cols, t + i, sums);
        for (int j = 0; j < cols; ++j) {
            p[j0 + j] = static_cast<float>(sums.product[j] / sums.square[j]);
        }
    }
}

template <int count>
struct Double {
    typedef double Type __attribute__((vector_size(count * sizeof(double))));
};

/// `count` rows abreast.
template <int count>
VELDANE_INLINE void rowQuotients(const float* const* rows, int cols, const float* p, float pp,
                                 float* t) {
    using Doubles = typename Double<count>::Type;
    const Doubles zero = {};
    Doubles product = {};
    Doubles square = zero + static_cast<double>(pp);
    int j = 0;
    for (; j + 4 <= cols; j += 4) {
        lanes::Floats<count> column[4];
        lanes::loadColumns<count>(rows, j, column);
        for (int l = 0; l < 4; ++l) {
            const Doubles value = __builtin_convertvector(column[l], Doubles);
            const double factor = p[j + l];
            product += value == value ? factor * value : zero;
            square -= value == value ? zero : zero + factor * factor;
        }
    }
    for (int r = 0; r < count; ++r) {
        double rowProduct = product[r];
        double rowSquare = square[r];
        for (int k = j; k < cols; ++k) {
            const double value = rows[r][k];
            const double factor = p[k];
            if (isMissing(value)) {
                rowSquare -= factor * factor;
            } else {
                rowProduct += factor * value;
            }
        }
        t[r] = static_cast<float>(rowProduct / rowSquare);
    }
}

template <int count>
VELDANE_INLINE void allRowQuotients(const FMatrix& e, const float* p, float pp, float* t) {
    const float* const* rows = e.table();
    int i = 0;
    for (; i + count <= e.rows(); i += count) rowQuotients<count>(rows + i, e.cols(), p, pp, t + i);
    if (i == e.rows()) return;
    // The last rows once more with what precedes them, or one row repeated, fill the lanes.
    const float* filled[count];
    float quotients[count];
    for (int r = 0; r < count; ++r) filled[r] = rows[std::min(i + r, e.rows() - 1)];
    rowQuotients<count>(filled, e.cols(), p, pp, quotients);
    std::copy_n(quotients, e.rows() - i, t + i);
}

[[gnu::target("avx512f")]] void columnsAvx512(const FMatrix& e, const float* t, float tt,
                                              float* p) {
    columnQuotients(e, t, tt, p);
}
[[gnu::target("avx2")]] void columnsAvx2(const FMatrix& e, const float* t, float tt, float* p) {
    columnQuotients(e, t, tt, p);
}
[[gnu::target("avx512f")]] void rowsAvx512(const FMatrix& e, const float* p, float pp, float* t) {
    allRowQuotients<16>(e, p, pp, t);
}
[[gnu::target("avx2")]] void rowsAvx2(const FMatrix& e, const float* p, float pp, float* t) {
    allRowQuotients<8>(e, p, pp, t);
}

}  // namespace

void projectColumns(const FMatrix& e, const float* t, float tt, float* p) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return columnsAvx512(e, t, tt, p);
        case InstructionSet::avx2:
            return columnsAvx2(e, t, tt, p);
        case InstructionSet::baseline:
            return columnQuotients(e, t, tt, p);
    }
}

void projectRows(const FMatrix& e, const float* p, float pp, float* t) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return rowsAvx512(e, p, pp, t);
        case InstructionSet::avx2:
            return rowsAvx2(e, p, pp, t);
        case InstructionSet::baseline:
            return allRowQuotients<4>(e, p, pp, t);
    }
}

}  // namespace veldane
