#include <algorithm>
#include <cmath>
#include <vector>

#include "components/pcr_model.h"
#include "linalg/kernels.h"

namespace veldane {
namespace {

/// The normal deviate of the Q limit, 5 % one-sided.
constexpr double deviate = 1.65;

/// The limit for what the eigenvalues from l on leave. J. E. Jackson and G. S. Mudholkar,
/// Technometrics 21 (1979) 341-349.
double qLimit(const float* l, const float* end) {
    double th1 = 0.0, th2 = 0.0, th3 = 0.0;
    for (; l != end; ++l) {
        const double value = *l;
        th1 += value;
        th2 += value * value;
        th3 += value * value * value;
    }
    const double h0 = 1.0 - (2.0 * th1 * th3) / (3.0 * th2 * th2);
    const double base = ((h0 - 1.0) * th2 * h0) / (th1 * th1) +
                        (std::sqrt(2.0 * th2 * h0 * h0) * deviate) / th1 + 1.0;
    return th1 * std::pow(base, 1.0 / h0);
}

/// The columns of a matrix, each in a row of memory.
std::vector<FMatrix> columnsOf(const FMatrix& transposed) {
    std::vector<FMatrix> columns;
    columns.reserve(static_cast<size_t>(transposed.rows()));
    for (int j = 0; j < transposed.filledRows(); ++j) {
        columns.emplace_back(transposed.cols(), 1, transposed[j]);
    }
    return columns;
}

}  // namespace

void CPCRModel::computeCorrelationLoadings() {
    // -0 is what matCorrelation gives for an X without rows, which a refused build may leave.
    correlationX = FMatrix(T.cols(), X.cols(), -0.0f);
    const FMatrix scores = matTranspose(T);
    const FMatrix variables = matTranspose(X);
    const std::vector<FMatrix> t = columnsOf(scores);
    const std::vector<FMatrix> x = columnsOf(variables);
    for (size_t j = 0; j < x.size(); ++j) {
        for (size_t a = 0; a < t.size(); ++a) {
            correlationX[static_cast<int>(a)][j] = matCorrelation(t[a], x[j]);
        }
    }
}

FMatrix CPCRModel::explainedVariance() {
    refreshLatent();
    FMatrix result(1, T.cols(), 0.0f);
    const int known = std::min(T.cols(), latent.size());
    for (int a = 0; a < known; ++a) {
        result[0][a] = latent[a] / static_cast<float>(X.rows() - 1);
    }
    return result;
}

FMatrix CPCRModel::qResidualLimits() {
    refreshLatent();
    const int k = latent.size();
    const FVector l(k);
    for (int i = 0; i < k; ++i) l[i] = latent[i] / static_cast<float>(weightedX.rows() - 1);
    FMatrix result(1, T.cols() + 1, 0.0f);
    for (int c = 0; c < std::min(k, result.cols()); ++c) {
        result[0][c] = static_cast<float>(qLimit(l.begin() + c, l.end()));
    }
    return result;
}

FMatrix CPCRModel::sumsOfSquares() const {
    FMatrix result(6, T.cols(), missingValue());
    const FVector squares = matColumnSumSquares(T);
    for (int a = 0; a < T.cols() && a < Pt.rows(); ++a) {
        const FMatrix t = matSubMatrix(T, 0, T.rows() - 1, a, a);
        result[0][a] = squares[a];
        result[1][a] = matRowSumSquare(Pt, a);
        result[2][a] = result[1][a];
        result[3][a] = missingValue();  // the Y loadings, which a model without Y has not
        result[4][a] = matMin(t);
        result[5][a] = matMax(t);
    }
    return result;
}

}  // namespace veldane
