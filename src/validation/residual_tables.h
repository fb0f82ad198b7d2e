#pragma once

#include "core/array.h"

namespace veldane {

/// Mean squares of what 0 to A components leave of some samples that a model did not see, or that
/// count as such.
///
/// The divisor of a sample is the number of its values, that of a variable the number of the
/// variable's values in all samples. In X each component uses up one degree of freedom, so that
/// with a of them the first is less by a, the second by its share a / m. In Y they are plain.
struct ResidualDivisors {
    FVector variableCounts;  ///< values of each variable that are there
    bool componentsCount = false;
};

/// The values of each column that are there.
FVector valueCounts(const FMatrix& a);

/// Adds the residuals of k samples to the tables.
///
/// e          k x m, centred; holds what all A components leave when it returns
/// t, p       scores k x A, loadings A x m
/// remaining  1 - leverage, k x (A + 1), by which residuals are divided; empty for none
/// numbers    the row of `samples` for each sample
/// samples    n x (A + 1), set; NaN where the divisor is not above 0
/// variables  (A + 1) x m, added to; NaN where the divisor is 0
void addResiduals(const FMatrix& e, const FMatrix& t, const FMatrix& p, const FMatrix& remaining,
                  const ResidualDivisors& divisors, const IVector& numbers, const FMatrix& samples,
                  const FMatrix& variables);

}  // namespace veldane
