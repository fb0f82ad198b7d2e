#include "utilities/explained_variance.h"

#include <algorithm>

#include "linalg/kernels.h"

namespace veldane {
namespace {

float explained(float residual, float base) {
    // Wanted: nothing left over is missing, not 100.
    if (base == 0.0f || residual == 0.0f) return missingValue();
    const float share = residual / base;
    return share < 0.0f ? 0.0f : (1.0f - share) * 100.0f;
}

/// data as given and its squares around the column means.
struct Fitted {
    const FMatrix& data;
    FVector total;

    explicit Fitted(const FMatrix& table)
        : data(table), total(matColumnSumSquares(matCentre(table))) {}

    FMatrix shares(int count) const { return {data.cols(), count, -1.0f}; }

    void setShares(const FMatrix& fit, const FMatrix& shares, int column) const {
        const FVector left = matColumnSumSquares(matSubtractSame(data, fit));
        for (int j = 0; j < left.size(); ++j) shares[j][column] = 1.0f - left[j] / total[j];
    }
};

}  // namespace

FMatrix explainedBySample(const FMatrix& residuals) {
    FMatrix result(residuals.rows(), residuals.cols());
    for (int i = 0; i < result.filledRows(); ++i) {
        const float* row = residuals[i];
        for (int j = 0; j < result.cols(); ++j) result[i][j] = explained(row[j], row[0]);
    }
    return result;
}

FMatrix explainedByVariable(const FMatrix& residuals) {
    FMatrix result(residuals.rows(), residuals.cols());
    for (int i = 0; i < result.filledRows(); ++i) {
        const float* row = residuals[i];
        const float* base = residuals[0];
        for (int j = 0; j < result.cols(); ++j) result[i][j] = explained(row[j], base[j]);
    }
    return result;
}

FMatrix explainedByFits(const FMatrix& data, const FMatrix& first, const FMatrix& second) {
    const Fitted fitted(data);
    FMatrix result = fitted.shares(2);
    fitted.setShares(first, result, 0);
    fitted.setShares(second, result, 1);
    return result;
}

FMatrix explainedByFits(const FMatrix& data, const FCube& fits, int count) {
    const Fitted fitted(data);
    FMatrix result = fitted.shares(count);
    for (int k = 0; k < std::min(count, fits.pages()); ++k) {
        fitted.setShares(cubePage(fits, k), result, k);
    }
    return result;
}

}  // namespace veldane
