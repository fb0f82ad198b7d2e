#pragma once

#include "core/array.h"

/// Statistics of two columns, objects down. Sums leave NaN out and are rounded to float after each
/// term; what is made of them is double and rounded once. The number of objects in the formulas
/// counts those with a NaN as well.
namespace veldane {

/// Of x, y, the two columns of `pairs`: slope and offset of y on x; correlation over the complete
/// rows; root mean square of x - y; its spread, see below; absolute mean of x - y.
FVector pairStatistics(const FMatrix& pairs);

/// Rows of predictionStatistics.
enum PredictionRow {
    correctedRmse = 0,
    standardError = 1,
    predictionBias = 2,
    predictedSlope = 3,
    predictedOffset = 4,
    predictionCorrelation = 5,
    correctedStandardError = 6,
    referenceSlope = 7,
    referenceOffset = 8,
    predictionRows = 9
};

/// How the columns of `predicted` agree with those of `reference`, both objects x responses:
/// predictionRows x responses. Rows 3 and 4 regress predicted on reference, 7 and 8 reference on
/// predicted, and rows 0 and 6 are of the predictions that this second line corrects. Empty if the
/// shapes differ.
FMatrix predictionStatistics(const FMatrix& predicted, const FMatrix& reference);

/// The same for the first pages of a cube, one a component: predictionRows x responses x
/// `components`. Empty if the shapes differ or there are fewer pages.
FCube predictionStatistics(const FCube& predicted, const FMatrix& reference, int components);

}  // namespace veldane
