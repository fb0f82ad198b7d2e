#pragma once

#include "validation/sample_split.h"
#include "validation/validation.h"

/// The jack-knife of a cross-validation: how much scores, loadings and coefficients differ between
/// the segment models and the full one, and which of them are significant. After H. Martens and
/// M. Martens, Food Quality and Preference 11 (2000) 5-16.
namespace veldane {

/// Keeps the full model and makes room for uncertaintyPC components of the segment models.
void prepareUncertaintyTest(CPCRValidation& validation);

/// Keeps segment model s in the axes of the full model; `left` holds the scores of the samples that
/// it left out.
void collectSegmentModel(CPCRValidation& validation, const BilinearModel& segment,
                         const SampleSplit& split, const FMatrix& left, int s);

/// Empties what was collected, as of a run that did not come to its end.
void discardSegmentModels(CPCRValidation& validation);

/// Fills variances and significances for uncertaintyPC components.
void computeUncertainties(CPCRValidation& validation);

}  // namespace veldane
