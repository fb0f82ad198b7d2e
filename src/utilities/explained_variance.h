#pragma once

#include "core/array.h"

namespace veldane {

/// Explained percentages of residual variances. The base, the variance without components, is
/// column 0 of the same row for samples and row 0 of the same column for variables.
FMatrix explainedBySample(const FMatrix& residuals);
FMatrix explainedByVariable(const FMatrix& residuals);

/// 1 - squares of (data - fit) / squares of the centred data for each variable, one fit a column.
/// The column of a fit of another shape, or that is not there, stays -1.
FMatrix explainedByFits(const FMatrix& data, const FMatrix& first, const FMatrix& second);
FMatrix explainedByFits(const FMatrix& data, const FCube& fits, int count);

}  // namespace veldane
