#include "components/pca_family.h"
#include "validation/validation_exports.h"

using namespace veldane;

using V = CPCRValidation;

int PCA_DoValidation(int mode, const ArrayDesc* segments, int uncertainty, int uncertaintyPC) {
    // Wanted as it is: every other function of the family gives -1.
    if (!pca.model) return -2;
    return doValidation(pca, mode, segments, uncertainty, uncertaintyPC);
}

int PCA_DoTestValidation(const ArrayDesc* testX) {
    return doTestValidation(pca, testX, nullptr);
}

int PCA_GetSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pca, &V::sampleResidualsCal, &V::sampleResidualsVal, outCal, outVal);
}

int PCA_GetVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pca, &V::variableResidualsCal, &V::variableResidualsVal, outCal,
                             outVal);
}

int PCA_GetTotalResiduals(ArrayDesc* out) {
    return handOutValidation(pca, &V::totalResiduals, out);
}

int PCA_GetReconstructed(ArrayDesc* out) {
    return handOutValidation(pca, &V::validatedX, out);
}

int PCA_GetTestReconstructed(ArrayDesc* out) {
    return handOutValidation(pca, &V::testReconstructed, out);
}

int PCA_GetQResiduals(ArrayDesc* out) {
    return handOutComputed(pca, qResiduals, out);
}

int PCA_GetSuggestedPC() {
    return suggestedPC(pca);
}

int PCA_GetJKScores(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkScores, out);
}

int PCA_GetJKLoadings(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkLoadings, out);
}

int PCA_GetJKLoadingWeights(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkLoadingWeights, out);
}

int PCA_GetJKVarScores(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkVarScores, out);
}

int PCA_GetJKVarLoadings(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkVarLoadings, out);
}

int PCA_GetJKVarLoadingWts(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkVarLoadingWts, out);
}

int PCA_GetJKSigniLoadings(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkSigniLoadings, out);
}

int PCA_GetJKSigniLoadingWts(ArrayDesc* out) {
    return handOutValidation(pca, &V::jkSigniLoadingWts, out);
}

int PCA_ComputeWarnings(const ArrayDesc* thresholds) {
    return computeWarnings(pca, thresholds);
}

int PCA_NumWarnings() {
    return numWarnings(pca);
}

int PCA_GetWarnings(ArrayDesc* out) {
    return handOutValidation(pca, &V::warnings, out);
}
