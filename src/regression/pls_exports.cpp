#include "linalg/kernels.h"
#include "regression/pls_family.h"

using namespace veldane;

Family<CPLSModel, CPCRValidation> veldane::pls;

namespace {

template <class Array>
int handOut(Array CPLSModel::*field, ArrayDesc* out) {
    return out ? pls.handOut(field, out) : noModel;
}

int setWeights(FMatrix CPLSModel::*field, const ArrayDesc* weights) {
    if (!pls.model) return noModel;
    (*pls.model).*field = descToMatrix(weights);
    return 0;
}

}  // namespace

int PLS_Init() {
    return pls.init();
}

void PLS_Terminate() {
    pls.terminate();
}

int PLS_SetXWeights(const ArrayDesc* weights) {
    return setWeights(&CPLSModel::xWeights, weights);
}

int PLS_SetYWeights(const ArrayDesc* weights) {
    return setWeights(&CPLSModel::yWeights, weights);
}

int PLS_BuildModel(const ArrayDesc* X, const ArrayDesc* Y, int centre, int numFactors,
                   int algorithm) {
    if (!pls.model || !X || !Y) return noModel;
    return pls.model->build(descToMatrix(X), descToMatrix(Y), numFactors, centre > 0, algorithm);
}

int PLS_GetXScores(ArrayDesc* out) {
    return handOut(&CPLSModel::T, out);
}

int PLS_GetYScores(ArrayDesc* out) {
    return handOut(&CPLSModel::U, out);
}

int PLS_GetXLoadings(ArrayDesc* out) {
    return handOut(&CPLSModel::Pt, out);
}

int PLS_GetYLoadings(ArrayDesc* out) {
    return handOut(&CPLSModel::Q, out);
}

int PLS_GetLoadingWeights(ArrayDesc* out) {
    return handOut(&CPLSModel::Wt, out);
}

int PLS_GetXMeans(ArrayDesc* out) {
    return handOut(&CPLSModel::xMeans, out);
}

int PLS_GetYMeans(ArrayDesc* out) {
    return handOut(&CPLSModel::yMeans, out);
}

int PLS_GetWBeta(ArrayDesc* out) {
    return handOut(&CPLSModel::betaWeighted, out);
}

int PLS_GetBeta(ArrayDesc* out) {
    if (!pls.model || !out) return noModel;
    pls.model->computeBeta();
    return handOut(&CPLSModel::betaFull, out);
}

int PLS_GetRotationMatrix(ArrayDesc* out) {
    if (!pls.model || !out) return noModel;
    matrixToDesc(matTranspose(pls.model->R), out);
    return 0;
}
