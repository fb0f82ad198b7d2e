#include <algorithm>

#include "components/pcr_model.h"
#include "core/status.h"
#include "linalg/kernels.h"

namespace veldane {

bool CPCRModel::takesY(const FMatrix& x, const FMatrix& y) const {
    const bool weighted = yWeights.size() > 0;
    if (y.rows() != x.rows()) {
        status().reportError("X and Y have different numbers of samples");
    } else if (weighted && (yWeights.rows() != 1 || yWeights.cols() != y.cols())) {
        status().reportError("Weights do not match the variables");
    } else {
        return true;
    }
    return false;
}

FMatrix CPCRModel::prepareY(const FMatrix& y) {
    Y = y;
    Q = FMatrix(numPC, Y.cols(), 0.0f);
    if (Y.size() == 0) return {};
    if (yWeights.size() > 0) {
        weightedY = matScaleColumns(Y, yWeights);
    } else {
        yWeights = FMatrix(1, Y.cols(), 1.0f);
        weightedY = Y;
    }
    if (centred) return matCentre(weightedY, yMeans);
    yMeans = matColumnMeans(weightedY);
    return matClone(weightedY);
}

void CPCRModel::regressOnScores(const FMatrix& y) {
    const FMatrix f = prepareY(y);
    const FMatrix products = matMultiplyAtB(T, f);
    for (int a = 0; a < products.filledRows(); ++a) {
        const float length = matColumnSumSquare(T, a);
        for (int k = 0; k < Q.cols(); ++k) Q[a][k] = products[a][k] / length;
    }
    computeCoefficients();
}

void CPCRModel::computeCoefficients() {
    const int m = X.cols(), q = Y.cols();
    betaWeighted = FCube(m + 1, q, numPC, 0.0f);
    for (int a = 0; a < numPC && q > 0; ++a) {
        const FMatrix p = matSubMatrix(Pt, 0, a, 0, m - 1);
        const FMatrix c = matMultiplyAtB(
            p, matMultiply(matInverse(matMultiplyABt(p, p)), matSubMatrix(Q, 0, a, 0, q - 1)));
        for (int k = 0; k < c.cols(); ++k) {
            float offset = 0.0f;
            for (int j = 0; j < m; ++j) {
                betaWeighted[j + 1][k][a] = c[j][k];
                offset += xMeans[0][j] * c[j][k];
            }
            if (centred) betaWeighted[0][k][a] = yMeans[0][k] - offset;
        }
    }
}

}  // namespace veldane
