#include <algorithm>

#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "linalg/score_statistics.h"

namespace veldane {
namespace {

/// The limit for what the eigenvalues from l on leave.
double qLimit(const float* l, const float* end) {
    double th1 = 0.0, th2 = 0.0, th3 = 0.0;
    for (; l != end; ++l) {
        const double value = *l;
        th1 += value;
        th2 += value * value;
        th3 += value * value * value;
    }
    return jacksonMudholkarLimit(th1, th2, th3);
}

}  // namespace

void CPCRModel::computeCorrelationLoadings() {
    correlationX = correlationLoadings(T, X);
    correlationY = correlationLoadings(T, Y);
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
        result[3][a] = Y.rows() > 0 ? matRowSumSquare(Q, a) : missingValue();
        result[4][a] = matMin(t);
        result[5][a] = matMax(t);
    }
    return result;
}

}  // namespace veldane
