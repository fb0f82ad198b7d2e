#include "utilities/two_column_statistics.h"

#include <cmath>

#include "linalg/kernels.h"

namespace veldane {
namespace {

/// Of float terms, NaN left out.
template <class Term>
double sumOf(const FVector& a, const FVector& b, Term term) {
    float total = 0.0f;
    for (int i = 0; i < a.size(); ++i) {
        const float value = term(a[i], b[i]);
        total = isMissing(value) ? total : total + value;
    }
    return static_cast<double>(total);
}

struct Line {
    double slope;
    double offset;
};

/// The sums of x and y, n of each, that their regressions are made of.
struct PairSums {
    double n, x, y, xx, xy, yy;

    PairSums(const FVector& a, const FVector& b)
        : n(a.size()),
          x(sumOf(a, b, [](float p, float) { return p; })),
          y(sumOf(a, b, [](float, float q) { return q; })),
          xx(sumOf(a, b, [](float p, float) { return p * p; })),
          xy(sumOf(a, b, [](float p, float q) { return p * q; })),
          yy(sumOf(a, b, [](float, float q) { return q * q; })) {}

    double covariance() const { return n * xy - x * y; }
    double varianceX() const { return n * xx - x * x; }
    double varianceY() const { return n * yy - y * y; }
    double correlation() const { return covariance() / std::sqrt(varianceY() * varianceX()); }

    Line yOnX() const {
        const double slope = covariance() / varianceX();
        return {slope, (y - slope * x) / n};
    }
    Line xOnY() const {
        const double slope = covariance() / varianceY();
        return {slope, (x - slope * y) / n};
    }
};

/// Of a - b, less `shift`.
double squaredDifferences(const FVector& a, const FVector& b, float shift) {
    return sumOf(a, b, [shift](float p, float q) { return (p - q - shift) * (p - q - shift); });
}

double meanDifference(const FVector& a, const FVector& b) {
    return 1.0 / a.size() * sumOf(a, b, [](float p, float q) { return p - q; });
}

/// Of r - p around the absolute value of the bias p - r: wanted so, also where that makes the
/// spread larger than one around the mean.
float spread(const FVector& r, const FVector& p, double bias) {
    const float share = static_cast<float>(1.0 / (r.size() - 1));
    const float squares =
        static_cast<float>(squaredDifferences(r, p, static_cast<float>(std::abs(bias))));
    return std::sqrt(squares * share);
}

FVector columnOf(const FMatrix& a, int j) {
    return matColumn(a, j).storage();
}

void setPredictionStatistics(const FVector& r, const FVector& p, const FMatrix& result, int j) {
    const auto set = [&](PredictionRow row, double value) {
        result[row][j] = static_cast<float>(value);
    };
    const PairSums sums(r, p);
    const Line predictedLine = sums.yOnX();
    const Line correction = sums.xOnY();
    set(predictedSlope, predictedLine.slope);
    set(predictedOffset, predictedLine.offset);
    set(predictionCorrelation, sums.correlation());
    set(referenceSlope, correction.slope);
    set(referenceOffset, correction.offset);
    const double bias = meanDifference(p, r);
    set(predictionBias, bias);
    result[standardError][j] = spread(r, p, bias);

    const float slope = static_cast<float>(correction.slope);
    const float offset = static_cast<float>(correction.offset);
    for (float& value : p) value = value * slope + offset;
    set(correctedRmse, std::sqrt(1.0 / p.size() * squaredDifferences(p, r, 0.0f)));
    result[correctedStandardError][j] = spread(r, p, meanDifference(r, p));
}

}  // namespace

FVector pairStatistics(const FMatrix& pairs) {
    const bool present = pairs.size() > 0;
    const FMatrix first = present ? matColumn(pairs, 0) : FMatrix();
    const FMatrix second = present ? matColumn(pairs, 1) : FMatrix();
    const FVector& x = first.storage();
    const FVector& y = second.storage();
    const double n = x.size();
    const Line line = PairSums(x, y).yOnX();
    const float shift = static_cast<float>(std::abs(meanDifference(x, y)));
    // Wanted: the spread is that of y - x around the absolute value of the mean of x - y.
    const double around = std::sqrt(squaredDifferences(y, x, shift) / (n - 1.0));
    FVector result(6);
    result[0] = static_cast<float>(line.slope);
    result[1] = static_cast<float>(line.offset);
    result[2] = matCorrelation(first, second);
    result[3] = static_cast<float>(std::sqrt(squaredDifferences(x, y, 0.0f) / n));
    result[4] = static_cast<float>(around);
    result[5] = shift;
    return result;
}

FMatrix predictionStatistics(const FMatrix& predicted, const FMatrix& reference) {
    if (predicted.rows() != reference.rows() || predicted.cols() != reference.cols()) return {};
    FMatrix result(predictionRows, reference.cols());
    for (int j = 0; j < reference.cols(); ++j) {
        setPredictionStatistics(columnOf(reference, j), columnOf(predicted, j), result, j);
    }
    return result;
}

FCube predictionStatistics(const FCube& predicted, const FMatrix& reference, int components) {
    if (predicted.rows() != reference.rows() || predicted.cols() != reference.cols()) return {};
    if (components > predicted.pages()) return {};
    FCube result(predictionRows, reference.cols(), components, 0.0f);
    for (int a = 0; a < result.pages() && result.size() > 0; ++a) {
        const FMatrix page = predictionStatistics(cubePage(predicted, a), reference);
        for (int i = 0; i < page.rows(); ++i) {
            for (int j = 0; j < page.cols(); ++j) result[i][j][a] = page[i][j];
        }
    }
    return result;
}

}  // namespace veldane
