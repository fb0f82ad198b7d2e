#pragma once

namespace veldane {

/// Upper tail at x of F with m and n degrees of freedom. Writes "fCDF_upper: (m < 1) or (n < 1) or
/// (x < 0)" and gives -1 in those cases and for NaN.
double fCDF_upper(int m, int n, double x);

/// The x with upper tail y. Writes "fCDF_upper_inv: (m < 1) or (n < 1) or (y <= 0) or (y > 1)" and
/// gives -1 in those cases and for NaN.
double fCDF_upper_inv(int m, int n, double y);

}  // namespace veldane
