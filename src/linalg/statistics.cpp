#include <algorithm>
#include <cmath>
#include <limits>

#include "linalg/kernels.h"
#include "linalg/row_statistics.h"
#include "linalg/thin_products.h"

namespace veldane {
namespace {

/// Row by row, so that the columns of a table are summed at the speed of memory. Each column's sum
/// still runs down its rows.
template <class Number, class Term>
Vector<Number> columnTotals(const FMatrix& a, Term term) {
    Vector<Number> totals(a.cols(), Number{0});
    Number* total = totals.data();
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* row = a[i];
        for (int j = 0; j < a.cols(); ++j) {
            const float x = row[j];
            total[j] = isMissing(x) ? total[j] : total[j] + term(x);
        }
    }
    return totals;
}

bool anyMissing(const FVector& v) {
    return std::any_of(v.begin(), v.end(), [](float x) { return isMissing(x); });
}

struct ColumnSums {
    FVector sums;
    IVector counts;
};

/// A product with ones gives the same bits as the sums, faster; a NaN shows in it, and then the
/// sums are formed without.
ColumnSums columnSums(const FMatrix& a) {
    const FVector sums(a.cols());
    const FVector ones(a.rows(), 1.0f);
    multiplyTransposedByVector(a, ones.data(), sums.data());
    if (!anyMissing(sums)) return {sums, IVector(a.cols(), a.rows())};
    return {columnTotals<float>(a, [](float x) { return x; }),
            columnTotals<int32_t>(a, [](float) { return 1; })};
}

FMatrix asRow(const FVector& v) {
    FMatrix row(1, v.size());
    if (v.size() > 0) std::copy(v.begin(), v.end(), row[0]);
    return row;
}

}  // namespace

FMatrix matColumnSums(const FMatrix& a) {
    return asRow(columnSums(a).sums);
}

FMatrix matColumnMeans(const FMatrix& a) {
    return asRow(matColumnMeansVector(a));
}

FVector matColumnMeansVector(const FMatrix& a) {
    auto [means, counts] = columnSums(a);
    for (int j = 0; j < means.size(); ++j) means[j] /= static_cast<float>(counts[j]);
    return means;
}

FVector matColumnSumSquares(const FMatrix& a) {
    return columnTotals<float>(a, [](float x) { return x * x; });
}

float matColumnSumSquare(const FMatrix& a, int j) {
    float total = 0.0f;
    for (int i = 0; i < a.rows(); ++i) {
        if (!isMissing(a[i][j])) total += a[i][j] * a[i][j];
    }
    return total;
}

float matRowSum(const FMatrix& a, int i) {
    float total = 0.0f;
    for (int j = 0; j < a.cols(); ++j) {
        if (!isMissing(a[i][j])) total += a[i][j];
    }
    return total;
}

float matRowSumSquare(const FMatrix& a, int i) {
    float total = 0.0f;
    for (int j = 0; j < a.cols(); ++j) total += a[i][j] * a[i][j];
    return total;
}

FMatrix matRowMeans(const FMatrix& a) {
    FMatrix means(a.rows(), 1);
    for (int i = 0; i < a.rows(); ++i) {
        float total = 0.0f;
        for (int j = 0; j < a.cols(); ++j) total += a[i][j];
        means[i][0] = total / static_cast<float>(a.cols());
    }
    return means;
}

FVector matRowMeansVector(const FMatrix& a) {
    FVector means(a.rows());
    const IVector counts(a.rows());
    rowSums(a, means.data(), counts.data());
    for (int i = 0; i < a.rows(); ++i) means[i] /= static_cast<float>(counts[i]);
    return means;
}

float matSumSquare(const FMatrix& a) {
    float total = 0.0f;
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) total += a[i][j] * a[i][j];
    }
    return total;
}

float matTrace(const FMatrix& a) {
    if (a.rows() != a.cols()) return 0.0f;
    float total = 0.0f;
    for (int i = 0; i < a.rows(); ++i) {
        if (!isMissing(a[i][i])) total += a[i][i];
    }
    return total;
}

float matMin(const FMatrix& a) {
    float least = std::numeric_limits<float>::max();
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) least = a[i][j] < least ? a[i][j] : least;
    }
    return least;
}

float matMax(const FMatrix& a) {
    float most = std::numeric_limits<float>::lowest();
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) most = a[i][j] > most ? a[i][j] : most;
    }
    return most;
}

float matCorrelation(const FMatrix& a, const FMatrix& b) {
    if (a.rows() != b.rows()) return -0.0f;
    int count = 0;
    float sa = 0.0f, sb = 0.0f, saa = 0.0f, sab = 0.0f, sbb = 0.0f;
    for (int i = 0; i < std::min(a.filledRows(), b.filledRows()); ++i) {
        const float x = a[i][0];
        const float y = b[i][0];
        if (isMissing(x) || isMissing(y)) continue;
        ++count;
        sa += x;
        sb += y;
        saa += x * x;
        sab += x * y;
        sbb += y * y;
    }
    const float k = static_cast<float>(count);
    return (k * sab - sa * sb) / std::sqrt((k * saa - sa * sa) * (k * sbb - sb * sb));
}

FMatrix matCentre(const FMatrix& a) {
    FMatrix means;
    return matCentre(a, means);
}

FMatrix matCentre(const FMatrix& a, FMatrix& means) {
    means = matColumnMeans(a);
    return matSubtract(a, means);
}

void matNormalizeColumns(const FMatrix& a) {
    for (int j = 0; j < a.cols() && a.rows() > 0; ++j) {
        double largest = a[0][j];
        for (int i = 1; i < a.rows(); ++i) largest = a[i][j] > largest ? a[i][j] : largest;
        double squares = 0.0;
        for (int i = 0; i < a.rows(); ++i) {
            a[i][j] = static_cast<float>(a[i][j] / largest);
            squares += static_cast<double>(a[i][j]) * a[i][j];
        }
        const double length = std::sqrt(squares);
        for (int i = 0; i < a.rows(); ++i) a[i][j] = static_cast<float>(a[i][j] / length);
    }
}

}  // namespace veldane
