#pragma once

#include <memory>

#include "core/family.h"
#include "core/status.h"
#include "validation/validation.h"
#include "validation/validation_results.h"

/// What the exports of the families with a validation object have in common. They return noModel,
/// and touch nothing, without a model, without a validation and for a null descriptor.
namespace veldane {

template <class Model>
using ValidatedFamily = Family<Model, CPCRValidation>;

/// Runs a new validation, which takes the place of the one before.
template <class Model>
int runValidation(ValidatedFamily<Model>& family, std::unique_ptr<CPCRValidation> validation,
                  int mode) {
    family.validation = std::move(validation);
    return family.validation->run(
        mode, [&](const FMatrix& x, const FMatrix& y, const char* label, BilinearModel& built) {
            return rebuild(*family.model, x, y, label, built);
        });
}

template <class Model>
int doValidation(ValidatedFamily<Model>& family, int mode, const ArrayDesc* segments,
                 int uncertainty, int uncertaintyPC) {
    status().report(0.0f, mode != 0 ? "Performing Validation - Cross Validation..."
                                    : "Performing Validation - Leverage Correction...");
    auto validation =
        std::make_unique<CPCRValidation>(bilinear(*family.model), descToMatrix(segments));
    if (uncertainty == 1) {
        validation->uncertaintyOn = 1;
        validation->uncertaintyPC = uncertaintyPC;
    }
    return runValidation(family, std::move(validation), mode);
}

template <class Model>
int doTestValidation(ValidatedFamily<Model>& family, const ArrayDesc* testX,
                     const ArrayDesc* testY) {
    if (!family.model) return noModel;
    status().report(0.0f, "Performing Test Validation...");
    return runValidation(family,
                         std::make_unique<CPCRValidation>(bilinear(*family.model),
                                                          descToMatrix(testX), descToMatrix(testY)),
                         CPCRValidation::testSet);
}

inline void toDesc(const FMatrix& kept, ArrayDesc* out) {
    matrixToDesc(kept, out);
}
inline void toDesc(const FCube& kept, ArrayDesc* out) {
    cubeToDesc(kept, out);
}
inline void toDesc(FMatrix&& computed, ArrayDesc* out) {
    matrixToDesc(std::move(computed), out);
}
inline void toDesc(FCube&& computed, ArrayDesc* out) {
    cubeToDesc(std::move(computed), out);
}

/// Hands out an array that the validation keeps.
template <class Model, class Array>
int handOutValidation(const ValidatedFamily<Model>& family, Array CPCRValidation::*field,
                      ArrayDesc* out) {
    if (!family.model || !family.validation || !out) return noModel;
    toDesc((*family.validation).*field, out);
    return 0;
}

/// Calibration and validation, one after the other.
template <class Model, class Array>
int handOutValidation(const ValidatedFamily<Model>& family, Array CPCRValidation::*calibration,
                      Array CPCRValidation::*validation, ArrayDesc* outCal, ArrayDesc* outVal) {
    if (!outCal || !outVal) return noModel;
    const int result = handOutValidation(family, calibration, outCal);
    return result != 0 ? result : handOutValidation(family, validation, outVal);
}

/// The validation with the family's model as it is now. Null also if that is not the one that was
/// validated.
template <class Model>
CPCRValidation* validated(ValidatedFamily<Model>& family) {
    if (!family.model || !family.validation) return nullptr;
    family.validation->model = bilinear(*family.model);
    return family.validation->isComplete() ? family.validation.get() : nullptr;
}

/// Hands out what is computed from the validation at each call.
template <class Model, class Compute>
int handOutComputed(ValidatedFamily<Model>& family, Compute compute, ArrayDesc* out) {
    const CPCRValidation* validation = out ? validated(family) : nullptr;
    if (!validation) return noModel;
    toDesc(compute(*validation), out);
    return 0;
}

template <class Model, class Compute>
int handOutComputed(ValidatedFamily<Model>& family, Compute compute, ArrayDesc* outCal,
                    ArrayDesc* outVal) {
    const CPCRValidation* validation = outCal && outVal ? validated(family) : nullptr;
    if (!validation) return noModel;
    toDesc(compute(*validation, Side::calibration), outCal);
    toDesc(compute(*validation, Side::validation), outVal);
    return 0;
}

template <class Model>
int suggestedPC(const ValidatedFamily<Model>& family) {
    return family.model && family.validation ? family.validation->suggestedPC() : noModel;
}

template <class Model>
int computeWarnings(ValidatedFamily<Model>& family, const ArrayDesc* thresholds) {
    CPCRValidation* validation = thresholds ? validated(family) : nullptr;
    return validation && validation->computeWarnings(descToMatrix(thresholds)) ? 0 : noModel;
}

template <class Model>
int numWarnings(const ValidatedFamily<Model>& family) {
    return family.validation ? family.validation->warnings.rows() : noModel;
}

}  // namespace veldane
