#pragma once

#include "core/array.h"

/// The causal filter of the gap derivatives, y[j] = sum of h[m] x[j - m] / divisor, m ascending, in
/// place on each row; sums in double, NaN spreads. Up to column `head` all of h may be used, behind
/// it the first `length` elements. Column 0 is x[0] / divisor, or x[0] h[0] with mode 1. Elements
/// that h does not have are left out, and without any h the matrix stays. Reports along the rows.
///
/// Exported under its C++ name, for parts of the same build: the matrix is a handle to its storage.
__attribute__((visibility("default"))) void derivativeFilter(veldane::FMatrix data,
                                                             veldane::FVector h, int head,
                                                             int divisor, int length, int mode);

namespace veldane {

/// The same with a divisor that an int may not hold.
void filterCausally(const FMatrix& data, const FVector& h, int head, double divisor, int length,
                    int mode);

}  // namespace veldane
