#include <initializer_list>
#include <utility>

#include "components/pca_family.h"
#include "validation/validation_exports.h"

using namespace veldane;

using V = CPCRValidation;

namespace {

/// Tables of the validation. As in the other results of this family a null output is left out.
template <class Array>
int handOutTables(std::initializer_list<std::pair<Array V::*, ArrayDesc*>> outputs) {
    if (!pca.model || !pca.validation) return noModel;
    for (const auto& [table, out] : outputs) toDesc((*pca.validation).*table, out);
    return 0;
}

}  // namespace

int PCA_DoValidation(int mode, const ArrayDesc* segments, int uncertainty, int uncertaintyPC) {
    // Wanted as it is: every other function of the family gives -1.
    if (!pca.model) return -2;
    return doValidation(pca, mode, segments, uncertainty, uncertaintyPC);
}

int PCA_DoTestValidation(const ArrayDesc* testX) {
    return doTestValidation(pca, testX, nullptr);
}

int PCA_GetSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutTables<FMatrix>(
        {{&V::sampleResidualsCal, outCal}, {&V::sampleResidualsVal, outVal}});
}

int PCA_GetVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutTables<FMatrix>(
        {{&V::variableResidualsCal, outCal}, {&V::variableResidualsVal, outVal}});
}

int PCA_GetTotalResiduals(ArrayDesc* out) {
    return handOutTables<FMatrix>({{&V::totalResiduals, out}});
}

int PCA_GetReconstructed(ArrayDesc* out) {
    return handOutTables<FCube>({{&V::validatedX, out}});
}

int PCA_GetTestReconstructed(ArrayDesc* out) {
    return handOutTables<FCube>({{&V::testReconstructed, out}});
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
