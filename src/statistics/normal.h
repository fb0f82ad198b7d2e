#pragma once

namespace veldane {

/// Lower tail of the standard normal distribution, relative error up to 2e-11 at the switch of form
/// at |x| = 4. A NaN gives 2.
double normalCDF(double x);

/// Inverse of normalCDF. Writes "normalCDF_inv DOMAIN" and gives -MAXNUM for y <= 0 and NaN, and
/// MAXNUM for y >= 1.
double normalCDF_inv(double y);

/// Normal density at x; 0 unless variance > 0.
double normalPDF(double x, double mean, double variance);

}  // namespace veldane
