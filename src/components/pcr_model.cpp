#include "components/pcr_model.h"

#include <algorithm>
#include <cstdio>

#include "core/status.h"
#include "linalg/kernels.h"

namespace veldane {

void CPCRModel::setLabel(const char* text) {
    std::snprintf(label, sizeof label, "%s", text);
}

int CPCRModel::build(const FMatrix& x, const FMatrix& y, int components, bool centre,
                     int iterations, int builder) {
    if (builder == missingNipals) {
        return buildMissingNipals(x, y, components, centre, iterations);
    }
    if (y.size() > 0 && !takesY(x, y)) return -1;
    const int result = builder == nipals
                           ? buildNipals(x, components, centre, iterations)
                           : buildSvd(x, components, centre, builder == lapackSvdRoute);
    maxIterations = iterations;
    if (result == 0 && y.size() > 0) regressOnScores(y);
    return result;
}

void CPCRModel::assign(const FMatrix& x, int components, bool centre, Algorithm choice) {
    X = x;
    numPC = components;
    centred = centre;
    cancelled = false;
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

float componentProgress(int a, int count) {
    return static_cast<float>(a / (count - 1.0));
}

}  // namespace veldane
