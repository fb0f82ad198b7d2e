#include "linalg/missing_products.h"

#include <algorithm>
#include <cstring>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Floats;

// Columns whose sums are carried at a time; they lie in the first-level cache.
constexpr int blockCols = 1024;

/// The two running sums of a quotient, for `count` quotients side by side.
template <int count>
struct Quotients {
    using Half = lanes::Doubles<count / 2>;
    Half product[2];
    Half square[2];

    /// factor * values where there is a value, and what a missing one takes from the squares.
    VELDANE_INLINE void add(double factor, const Floats<count>& values) {
        const double squared = factor * factor;
        Half value[2];
        lanes::widenHalves<count>(values, value);
        for (int h = 0; h < 2; ++h) {
            const Half sum = product[h] + factor * value[h];
            const Half rest = square[h] - squared;
            product[h] = value[h] == value[h] ? sum : product[h];
            square[h] = value[h] == value[h] ? square[h] : rest;
        }
    }
};

VELDANE_INLINE void addOne(double factor, double value, double& product, double& square) {
    if (isMissing(value)) {
        square -= factor * factor;
    } else {
        product += factor * value;
    }
}

/// The sums of up to blockCols columns.
struct ColumnSums {
    double product[blockCols];
    double square[blockCols];
};

/// Takes `height` rows, from column j0 on, into the sums of `cols` columns.
template <int count, int height>
VELDANE_INLINE void addRows(const float* const* rows, int j0, int cols, const float* t,
                            ColumnSums& sums) {
    int j = 0;
    for (; j + count <= cols; j += count) {
        Quotients<count> quotients;
        std::memcpy(&quotients.product, sums.product + j, sizeof quotients.product);
        std::memcpy(&quotients.square, sums.square + j, sizeof quotients.square);
        for (int r = 0; r < height; ++r) {
            Floats<count> values;
            lanes::load<count>(rows[r] + j0 + j, values);
            quotients.add(t[r], values);
        }
        std::memcpy(sums.product + j, &quotients.product, sizeof quotients.product);
        std::memcpy(sums.square + j, &quotients.square, sizeof quotients.square);
    }
    for (; j < cols; ++j) {
        for (int r = 0; r < height; ++r) {
            addOne(t[r], rows[r][j0 + j], sums.product[j], sums.square[j]);
        }
    }
}

template <int count>
VELDANE_INLINE void columnQuotients(const FMatrix& e, const float* t, double tt, float* p) {
    const float* const* rows = e.table();
    ColumnSums sums;
    for (int j0 = 0; j0 < e.cols(); j0 += blockCols) {
        const int cols = std::min(blockCols, e.cols() - j0);
        std::fill_n(sums.product, cols, 0.0);
        std::fill_n(sums.square, cols, tt);
        int i = 0;
        for (; i + 4 <= e.rows(); i += 4) addRows<count, 4>(rows + i, j0, cols, t + i, sums);
        for (; i < e.rows(); ++i) addRows<count, 1>(rows + i, j0, cols, t + i, sums);
        for (int j = 0; j < cols; ++j) {
            p[j0 + j] = static_cast<float>(sums.product[j] / sums.square[j]);
        }
    }
}

/// `count` rows abreast. Fewer are filled up with the last.
template <int count>
VELDANE_INLINE void rowQuotients(const float* const* rows, int present, int cols, const float* p,
                                 double pp, float* t) {
    const float* row[count];
    for (int r = 0; r < count; ++r) row[r] = rows[std::min(r, present - 1)];
    Quotients<count> quotients = {};
    for (int h = 0; h < 2; ++h) quotients.square[h] += pp;
    int j = 0;
    for (; j + 4 <= cols; j += 4) {
        Floats<count> column[4];
        lanes::loadColumns<count>(row, j, column);
        for (int l = 0; l < 4; ++l) quotients.add(p[j + l], column[l]);
    }
    for (int r = 0; r < present; ++r) {
        double product = quotients.product[r / (count / 2)][r % (count / 2)];
        double square = quotients.square[r / (count / 2)][r % (count / 2)];
        for (int k = j; k < cols; ++k) addOne(p[k], row[r][k], product, square);
        t[r] = static_cast<float>(product / square);
    }
}

template <int count>
VELDANE_INLINE void allRowQuotients(const FMatrix& e, const float* p, double pp, float* t) {
    for (int i = 0; i < e.rows(); i += count) {
        const int present = std::min(count, e.rows() - i);
        rowQuotients<count>(e.table() + i, present, e.cols(), p, pp, t + i);
    }
}

[[gnu::target("avx512f")]] void columnsAvx512(const FMatrix& e, const float* t, double tt,
                                              float* p) {
    columnQuotients<16>(e, t, tt, p);
}
[[gnu::target("avx2")]] void columnsAvx2(const FMatrix& e, const float* t, double tt, float* p) {
    columnQuotients<8>(e, t, tt, p);
}
[[gnu::target("avx512f")]] void rowsAvx512(const FMatrix& e, const float* p, double pp, float* t) {
    allRowQuotients<16>(e, p, pp, t);
}
[[gnu::target("avx2")]] void rowsAvx2(const FMatrix& e, const float* p, double pp, float* t) {
    allRowQuotients<8>(e, p, pp, t);
}

}  // namespace

void projectColumns(const FMatrix& e, const float* t, double tt, float* p) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return columnsAvx512(e, t, tt, p);
        case InstructionSet::avx2:
            return columnsAvx2(e, t, tt, p);
        case InstructionSet::baseline:
            return columnQuotients<4>(e, t, tt, p);
    }
}

void projectRows(const FMatrix& e, const float* p, double pp, float* t) {
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
