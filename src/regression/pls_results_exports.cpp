#include <utility>

#include "core/status.h"
#include "regression/pls_family.h"

using namespace veldane;

int PLS_GetPrediction(ArrayDesc* out) {
    if (!pls.model || !out) return noModel;
    status().report(0.0f, "Computing predicted values");
    cubeToDesc(pls.model->predict(), out);
    return 0;
}

int PLS_GetLeverages(ArrayDesc* outSample, ArrayDesc* outVariable) {
    if (!pls.model || !outSample) return noModel;
    status().report(0.0f, "Computing sample and variable leverages");
    pls.model->computeLeverages();
    matrixToDesc(pls.model->leverageX, outSample);
    matrixToDesc(pls.model->leverageY, outVariable);
    return 0;
}

int PLS_GetCorrelationLoadings(ArrayDesc* outX, ArrayDesc* outY) {
    if (!pls.model || !outX || !outY) return noModel;
    status().report(0.0f, "Computing correlation loadings");
    pls.model->computeCorrelationLoadings();
    matrixToDesc(pls.model->correlationX, outX);
    matrixToDesc(pls.model->correlationY, outY);
    return 0;
}

int PLS_GetHotellingTSquare(ArrayDesc* out) {
    if (!pls.model || !out) return noModel;
    matrixToDesc(pls.model->hotellingT2(), out);
    return 0;
}

int PLS_GetQResLim(ArrayDesc* out) {
    if (!pls.model || !out) return noModel;
    matrixToDesc(pls.model->qResidualLimits(), out);
    return 0;
}

int PLS_GetSquSum(ArrayDesc* out) {
    if (!pls.model || !out) return noModel;
    matrixToDesc(pls.model->sumsOfSquares(), out);
    return 0;
}

int PLS_Project(const ArrayDesc* X, const ArrayDesc* xMeans, const ArrayDesc* /*unused1*/,
                const ArrayDesc* /*unused2*/, const ArrayDesc* rotation, ArrayDesc* outScores,
                ArrayDesc* outT2, int centre, int numFactors) {
    if (!X || !rotation || !outScores || !outT2) return noModel;
    const FMatrix axes = descToMatrix(rotation);
    if (numFactors < 1 || numFactors > axes.rows()) return noModel;
    PlsProjection projection =
        projectOnFactors(descToMatrix(X), descToMatrix(xMeans), axes, centre >= 1, numFactors);
    matrixToDesc(std::move(projection.scores), outScores);
    matrixToDesc(std::move(projection.hotellingT2), outT2);
    return 0;
}
