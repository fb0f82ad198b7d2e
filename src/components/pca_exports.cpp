#include <initializer_list>
#include <utility>

#include "components/pca_family.h"
#include "components/pca_projection.h"
#include "core/status.h"

using namespace veldane;

Family<CPCRModel, CPCRValidation> veldane::pca;

namespace {

/// Runs a computation of the model and hands out the members that it filled.
int compute(const char* message, void (CPCRModel::*method)(),
            std::initializer_list<std::pair<FMatrix CPCRModel::*, ArrayDesc*>> outputs) {
    if (!pca.model) return noModel;
    if (*message) status().report(0.0f, message);
    ((*pca.model).*method)();
    for (const auto& [member, out] : outputs) matrixToDesc((*pca.model).*member, out);
    return 0;
}

}  // namespace

int PCA_Init() {
    return pca.init();
}

void PCA_Terminate() {
    pca.terminate();
}

int PCA_SetWeights(const ArrayDesc* weights) {
    if (!pca.model) return noModel;
    pca.model->xWeights = descToMatrix(weights);
    return 0;
}

int PCA_BuildModel(const ArrayDesc* X, int numPC, int centre, int maxIterations, int algorithm,
                   int rotation) {
    if (!pca.model || !X) return noModel;
    const FMatrix x = descToMatrix(X);
    status().report(0.0f, "Computing PCA...");
    int result = pca.model->build(x, {}, numPC, centre != 0, maxIterations, algorithm);
    if (result != 0) return result;
    if (rotation > 0) result = pca.model->rotate(x, numPC, rotation, centre != 0, maxIterations);
    status().report(1.0f, "Completed PCA");
    return result;
}

int PCA_GetScores(ArrayDesc* out) {
    return pca.handOut(&CPCRModel::T, out);
}

int PCA_GetLoadings(ArrayDesc* out) {
    return pca.handOut(&CPCRModel::Pt, out);
}

int PCA_GetMean(ArrayDesc* out) {
    return pca.handOut(&CPCRModel::xMeans, out);
}

int PCA_GetRotationMatrix(ArrayDesc* out) {
    return pca.handOut(&CPCRModel::rotation, out);
}

int PCA_GetReconstructedX(ArrayDesc* out) {
    return compute("", &CPCRModel::reconstruct, {{&CPCRModel::reconstructedX, out}});
}

int PCA_GetResiduals(ArrayDesc* outSample, ArrayDesc* outVariable) {
    return compute(
        "Computing residuals", &CPCRModel::computeResiduals,
        {{&CPCRModel::sampleResiduals, outSample}, {&CPCRModel::variableResiduals, outVariable}});
}

int PCA_GetLeverages(ArrayDesc* outSample, ArrayDesc* outVariable) {
    return compute(
        "Computing sample and variable leverages", &CPCRModel::computeLeverages,
        {{&CPCRModel::sampleLeverage, outSample}, {&CPCRModel::variableLeverage, outVariable}});
}

int PCA_GetHotellingTSquare(ArrayDesc* out) {
    return compute("Computing Hotelling T squares", &CPCRModel::computeHotellingT2,
                   {{&CPCRModel::hotellingT2, out}});
}

int PCA_GetCorrelationLoadings(ArrayDesc* out) {
    return compute("Computing correlation loadings", &CPCRModel::computeCorrelationLoadings,
                   {{&CPCRModel::correlationX, out}});
}

int PCA_GetLatent(ArrayDesc* out) {
    if (!pca.model) return noModel;
    matrixToDesc(pca.model->explainedVariance(), out);
    return 0;
}

int PCA_GetQResLim(ArrayDesc* out) {
    if (!pca.model) return noModel;
    matrixToDesc(pca.model->qResidualLimits(), out);
    return 0;
}

int PCA_GetSquSum(ArrayDesc* out) {
    if (!pca.model || !out) return noModel;
    matrixToDesc(pca.model->sumsOfSquares(), out);
    return 0;
}

int PCA_Project(const ArrayDesc* Xnew, const ArrayDesc* means, const ArrayDesc* T,
                const ArrayDesc* Pt, ArrayDesc* outScores, ArrayDesc* outT2, int centre,
                int numPC) {
    if (!pca.model || !Xnew || !means || !T || !Pt) return noModel;
    PcaProjection projection = projectSamples(descToMatrix(Xnew), descToMatrix(means),
                                              descToMatrix(T), descToMatrix(Pt), centre > 0, numPC);
    matrixToDesc(std::move(projection.scores), outScores);
    matrixToDesc(std::move(projection.hotellingT2), outT2);
    return 0;
}
