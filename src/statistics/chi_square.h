#pragma once

namespace veldane {

/// The critical value of chi-square with upper tail y. Writes "chiCDF_upper_inv: (y < 0) or (y > 1)
/// or (df < 1)" and gives -1 in those cases and for NaN; y = 0 gives 0 with the text of
/// gammaUpper_reg_inv.
double chiCDF_upper_inv(double df, double y);

}  // namespace veldane
