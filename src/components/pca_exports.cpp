#include "components/pcr_model.h"
#include "core/family.h"
#include "core/status.h"

using namespace veldane;

namespace {

Family<CPCRModel> pca;

int build(CPCRModel& model, const FMatrix& x, int numPC, bool centre, int maxIterations,
          int algorithm) {
    if (algorithm == CPCRModel::nipals) return model.buildNipals(x, numPC, centre, maxIterations);
    return model.buildMissingNipals(x, numPC, centre, maxIterations);
}

/// Reports what cannot be computed.
bool isAvailable(int algorithm, int rotation) {
    if (algorithm != CPCRModel::nipals && algorithm != CPCRModel::missingNipals) {
        status().reportError(formatMessage("PCA algorithm %d is not available", algorithm));
        return false;
    }
    if (rotation > 0) {
        status().reportError("Rotation of components is not available");
        return false;
    }
    return true;
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
    if (!isAvailable(algorithm, rotation)) return -1;
    const FMatrix x = descToMatrix(X);
    status().report(0.0f, "Computing PCA...");
    const int result = build(*pca.model, x, numPC, centre != 0, maxIterations, algorithm);
    if (result != 0) return result;
    status().report(1.0f, "Completed PCA");
    return result;
}

int PCA_GetScores(ArrayDesc* out) {
    return pca.handOut(&CPCRModel::T, out);
}

int PCA_GetLoadings(ArrayDesc* out) {
    return pca.handOut(&CPCRModel::Pt, out);
}
