#include "regression/pls_family.h"
#include "validation/validation_exports.h"

using namespace veldane;

using V = CPCRValidation;

int PLS_DoValidation(int mode, const ArrayDesc* segments, int uncertainty, int uncertaintyFactors) {
    if (!pls.model) return noModel;
    return doValidation(pls, mode, segments, uncertainty, uncertaintyFactors);
}

int PLS_DoTestValidation(const ArrayDesc* testX, const ArrayDesc* testY) {
    return doTestValidation(pls, testX, testY);
}

int PLS_GetSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pls, &V::sampleResidualsCal, &V::sampleResidualsVal, outCal, outVal);
}

int PLS_GetVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pls, &V::variableResidualsCal, &V::variableResidualsVal, outCal,
                             outVal);
}

int PLS_GetYSampleResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pls, &V::sampleResidualsCalY, &V::sampleResidualsValY, outCal, outVal);
}

int PLS_GetYVariableResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pls, &V::variableResidualsCalY, &V::variableResidualsValY, outCal,
                             outVal);
}

int PLS_GetTotalResiduals(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutComputed(pls, totalResidualsXY, outCal, outVal);
}

int PLS_GetReconstructed(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutComputed(pls, reconstructedX, outCal, outVal);
}

int PLS_GetTestReconstructed(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutValidation(pls, &V::validatedX, &V::testReconstructed, outCal, outVal);
}

int PLS_GetYPredicted(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutComputed(pls, predictedY, outCal, outVal);
}

int PLS_GetRMSE(ArrayDesc* outCal, ArrayDesc* outVal) {
    const V* v = outCal && outVal ? validated(pls) : nullptr;
    if (!v) return noModel;
    toDesc(rootMeanSquareError(*v, Side::calibration), outCal);
    // A cross-validation keeps what it found with the weights and the Y of its time.
    if (v->mode == V::crossValidation) return handOutValidation(pls, &V::rmseLeftOut, outVal);
    toDesc(rootMeanSquareError(*v, Side::validation), outVal);
    return 0;
}

int PLS_GetMultipleCorrelation(ArrayDesc* outCal, ArrayDesc* outVal) {
    return handOutComputed(pls, multipleCorrelation, outCal, outVal);
}

int PLS_GetSuggestedPC() {
    return suggestedPC(pls);
}

int PLS_GetJKScores(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkScores, out);
}

int PLS_GetJKLoadings(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkLoadings, out);
}

int PLS_GetJKYLoadings(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkYLoadings, out);
}

int PLS_GetJKLoadingWeights(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkLoadingWeights, out);
}

int PLS_GetJKBetaCoefficients(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkBeta, out);
}

int PLS_GetJKVarB(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkVarB, out);
}

int PLS_GetJKVarScores(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkVarScores, out);
}

int PLS_GetJKVarLoadings(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkVarLoadings, out);
}

int PLS_GetJKVarYLoadings(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkVarYLoadings, out);
}

int PLS_GetJKVarLoadingWts(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkVarLoadingWts, out);
}

int PLS_GetJKSigniLoadings(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkSigniLoadings, out);
}

int PLS_GetJKSigniLoadingWts(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkSigniLoadingWts, out);
}

int PLS_GetJKSigniYLoadings(ArrayDesc* out) {
    return handOutValidation(pls, &V::jkSigniYLoadings, out);
}

int PLS_GetJackSigniB(ArrayDesc* out) {
    return handOutValidation(pls, &V::jackSigniB, out);
}

int PLS_GetExtraValidation(ArrayDesc* out) {
    return handOutComputed(
        pls, [](const V& v) { return extraValidation(v, Side::validation); }, out);
}

int PLS_GetExtraValidationCal(ArrayDesc* out) {
    return handOutComputed(
        pls, [](const V& v) { return extraValidation(v, Side::calibration); }, out);
}

int PLS_GetStudentizedResiduals(ArrayDesc* out) {
    return handOutComputed(pls, studentizedResiduals, out);
}

int PLS_GetYPredictedStandardError(ArrayDesc* out) {
    return handOutComputed(pls, standardErrorOfPrediction, out);
}

int PLS_GetQResiduals(ArrayDesc* out) {
    return handOutComputed(pls, qResiduals, out);
}

int PLS_ComputeWarnings(const ArrayDesc* thresholds) {
    return computeWarnings(pls, thresholds);
}

int PLS_NumWarnings() {
    return numWarnings(pls);
}

int PLS_GetWarnings(ArrayDesc* out) {
    return handOutValidation(pls, &V::warnings, out);
}
