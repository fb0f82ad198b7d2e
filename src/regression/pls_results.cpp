#include <algorithm>
#include <cmath>

#include "linalg/kernels.h"
#include "linalg/score_statistics.h"
#include "regression/pls_model.h"

namespace veldane {
namespace {

/// Variances t't / (degrees of freedom) of the scores.
FVector scoreVariances(const FMatrix& T, int degrees) {
    FVector result = crossProductDiagonal(T);
    for (float& value : result) value /= static_cast<float>(degrees);
    return result;
}

/// (t / s)² with s the root of the variance, cumulated over the factors.
FMatrix cumulatedT2(const FMatrix& T, const FVector& variances) {
    FMatrix result(T.rows(), T.cols());
    for (int i = 0; i < result.filledRows(); ++i) {
        for (int a = 0; a < T.cols(); ++a) {
            const float scaled = T[i][a] / std::sqrt(variances[a]);
            result[i][a] = scaled * scaled + (a == 0 ? 0.0f : result[i][a - 1]);
        }
    }
    return result;
}

/// NaN if there is no score.
float leastScore(const FMatrix& t) {
    float least = t[0][0];
    for (int i = 1; i < t.rows(); ++i) {
        if (!isMissing(t[i][0]) && !(least <= t[i][0])) least = t[i][0];
    }
    return least;
}

}  // namespace

FCube CPLSModel::predict() const {
    const int p = weightedX.cols(), m = betaWeighted.cols(), A = betaWeighted.pages();
    FCube result(weightedX.rows(), m, A, 0.0f);
    for (int a = 0; a < A; ++a) {
        const FMatrix b = cubePage(betaWeighted, a);
        const FMatrix f = matAdd(matMultiply(weightedX, matSubMatrix(b, 1, p, 0, m - 1)),
                                 matSubMatrix(b, 0, 0, 0, m - 1));
        for (int i = 0; i < f.filledRows(); ++i) {
            for (int j = 0; j < m; ++j) result[i][j][a] = f[i][j];
        }
    }
    return result;
}

void CPLSModel::computeLeverages() {
    leverageX = sampleLeverages(T);
    leverageY = variableLeverages(Wt);
}

void CPLSModel::computeCorrelationLoadings() {
    correlationX = correlationLoadings(T, weightedX);
    correlationY = correlationLoadings(T, weightedY);
}

FMatrix CPLSModel::hotellingT2() const {
    return cumulatedT2(T, scoreVariances(T, weightedX.rows() - 1));
}

FMatrix CPLSModel::qResidualLimits() const {
    const FVector l = scoreVariances(T, weightedX.rows() - 1);
    FMatrix result(1, l.size());
    for (int a = 0; a < l.size(); ++a) {
        float th1 = 0.0f, th2 = 0.0f, th3 = 0.0f;
        for (int k = a; k < l.size(); ++k) {
            th1 += l[k];
            th2 += l[k] * l[k];
            th3 += l[k] * l[k] * l[k];
        }
        result[0][a] = static_cast<float>(jacksonMudholkarLimit(th1, th2, th3));
    }
    return result;
}

FMatrix CPLSModel::sumsOfSquares() const {
    FMatrix result(6, T.cols());
    const FVector squares = matColumnSumSquares(T);
    for (int a = 0; a < T.cols(); ++a) {
        const FMatrix t = matSubMatrix(T, 0, T.rows() - 1, a, a);
        result[0][a] = squares[a];
        result[1][a] = matRowSumSquare(Pt, a);
        result[2][a] = matRowSumSquare(Wt, a);
        result[3][a] = matRowSumSquare(Q, a);
        result[4][a] = leastScore(t);
        result[5][a] = matMax(t);
    }
    return result;
}

PlsProjection projectOnFactors(const FMatrix& x, const FMatrix& means, const FMatrix& rotation,
                               bool centre, int factors) {
    PlsProjection result;
    const FMatrix e = centre ? matSubtract(x, means) : x;
    result.scores =
        matMultiplyABt(e, matSubMatrix(rotation, 0, factors - 1, 0, rotation.cols() - 1));
    // The variances are those of the samples that are projected, and not of the model's.
    result.hotellingT2 =
        cumulatedT2(result.scores, scoreVariances(result.scores, result.scores.rows() - 1));
    return result;
}

}  // namespace veldane
