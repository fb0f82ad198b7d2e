#pragma once

#include "validation/validation.h"

/// What is computed on request from a completed validation of a model with q Y-variables and A
/// components, in the units of Y as given. Each takes the calibration's side, where a sample is in
/// the model, or the validation's. NaN in Y or in a prediction is left out.
namespace veldane {

enum class Side { calibration, validation };

/// Predictions with 1 to A components: samples x q x A.
FCube predictedY(const CPCRValidation& v, Side side);

/// Root mean square error with 0 to A components, (A + 1) x q: the divisor is the number of samples
/// with a value.
FMatrix rootMeanSquareError(const CPCRValidation& v, Side side);

/// Correlation of the predictions with Y, (A + 1) x q; row 0 is NaN.
FMatrix multipleCorrelation(const CPCRValidation& v, Side side);

/// Standard error of prediction, (A + 1) x q: the standard deviation of prediction - Y about its
/// mean, the bias, with the number of samples less 1 as divisor.
FMatrix standardErrorOfPrediction(const CPCRValidation& v);

/// Y - fit over s sqrt(1 - leverage), n x q x A, where s² is the sum of the squared residuals over
/// the number of samples less the components, less 1 for a centred model.
FCube studentizedResiduals(const CPCRValidation& v);

/// The nine figures of predictions against Y, 9 x q x A.
FCube extraValidation(const CPCRValidation& v, Side side);

/// Sums of squares of the rows of validatedX, n x A; skips NaN.
FMatrix qResiduals(const CPCRValidation& v);

/// X as reconstructed with 1 to A components, samples x m x A; on the validation's side that of
/// samples which were not in the model: left out, of the test set, or with their residuals divided
/// by 1 - leverage.
FCube reconstructedX(const CPCRValidation& v, Side side);

/// Total residuals with 0 to A components, (A + 1) x 2: of X, of Y.
FMatrix totalResidualsXY(const CPCRValidation& v, Side side);

}  // namespace veldane
