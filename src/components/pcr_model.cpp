#include "components/pcr_model.h"

#include "core/status.h"
#include "linalg/kernels.h"

namespace veldane {

void CPCRModel::assign(const FMatrix& x, int components, bool centre, Algorithm choice) {
    X = x;
    numPC = components;
    centred = centre;
    algorithm = choice;
}

bool CPCRModel::hasEnoughData() const {
    if (X.rows() >= 2 && X.cols() >= 2) return true;
    status().reportError("Insufficient data for analysis");
    return false;
}

bool CPCRModel::weightsFit() const {
    if (xWeights.size() == 0) return true;
    if (xWeights.rows() == 1 && xWeights.cols() == X.cols()) return true;
    status().reportError("Weights do not match the variables");
    return false;
}

void CPCRModel::applyWeights() {
    if (xWeights.size() > 0) {
        weightedX = matScaleColumns(X, xWeights);
    } else {
        xWeights = FMatrix(1, X.cols(), 1.0f);
        weightedX = X;
    }
}

FVector crossProductDiagonal(const FMatrix& a) {
    FVector result(a.cols(), 0.0f);
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) result[j] += a[i][j] * a[i][j];
    }
    return result;
}

float componentProgress(int a, int count) {
    return static_cast<float>(a / (count - 1.0));
}

}  // namespace veldane
