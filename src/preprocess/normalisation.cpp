#include <cmath>
#include <limits>

#include "linalg/kernels.h"
#include "linalg/row_division.h"
#include "linalg/row_statistics.h"
#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

void clearRow(float* row, int cols) {
    for (int j = 0; j < cols; ++j) row[j] = isMissing(row[j]) ? row[j] : 0.0f;
}

void divideOrClear(float* row, int cols, float divisor) {
    if (divisor == 0.0f) return clearRow(row, cols);
    divideRow(row, cols, divisor);
}

void divideByMean(const FMatrix& x) {
    const FVector means = matRowMeansVector(x);
    for (int i = 0; i < x.rows(); ++i) divideRow(x[i], x.cols(), std::fabs(means[i]));
}

void divideByArea(const FMatrix& x) {
    const FVector sums(x.rows());
    const IVector present(x.rows());
    rowSums(x, sums.data(), present.data());
    for (int i = 0; i < x.rows(); ++i) divideOrClear(x[i], x.cols(), sums[i]);
}

void divideByLength(const FMatrix& x) {
    const Vector<double> squares(x.rows());
    rowSumSquares(x, squares.data());
    for (int i = 0; i < x.rows(); ++i) {
        using Float = std::numeric_limits<float>;
        const double length = std::sqrt(squares[i]);
        if (squares[i] == 0.0) {
            clearRow(x[i], x.cols());
        } else {
            divideRow(x[i], x.cols(), 0.0, length < Float::min() ? Float::epsilon() : length);
        }
    }
}

void standardise(const FMatrix& x) {
    const FVector means = matRowMeansVector(x);
    const FMatrix deviations = RowStdDev(x, true);
    for (int i = 0; i < x.rows(); ++i) {
        divideRow(x[i], x.cols(), means[i], deviations[i][0]);
    }
}

/// Wanted as it is: a missing first element makes the whole row missing.
void divideByMaximum(float* row, int cols) {
    const Extremes ends = rowExtremes(row, cols, {row[0], row[0]});
    divideOrClear(row, cols, std::max(std::fabs(ends.least), std::fabs(ends.most)));
}

/// Wanted as it is: the minimum is not taken off.
void divideByRange(float* row, int cols) {
    constexpr float end = std::numeric_limits<float>::max();
    const Extremes start = {isMissing(row[0]) ? end : row[0], isMissing(row[0]) ? -end : row[0]};
    const Extremes ends = rowExtremes(row, cols, start);
    const double range = static_cast<double>(ends.most) - ends.least;
    if (range == 0.0) return clearRow(row, cols);
    divideRow(row, cols, 0.0, range);
}

}  // namespace

int normalizemean(ArrayDesc* data) {
    return transformBlocks(data, "", divideByMean);
}

int normalizemax(ArrayDesc* data) {
    return transformRows(data, normalized, divideByMaximum);
}

int normalizerange(ArrayDesc* data) {
    return transformRows(data, normalized, divideByRange);
}

int normalizearea(ArrayDesc* data) {
    return transformBlocks(data, normalized, divideByArea);
}

int normalizepeak(ArrayDesc* data, int peakColumn) {
    if (!data || columnIsOutside(data, peakColumn)) return badArgument;
    return transformRows(data, normalized,
                         [=](float* row, int cols) { divideOrClear(row, cols, row[peakColumn]); });
}

int normalizeunit(ArrayDesc* data) {
    return transformBlocks(data, silent, divideByLength);
}

int snv(ArrayDesc* data) {
    return transformBlocks(data, normalized, standardise);
}
