#pragma once

namespace veldane {

/// Lower tail of Student's t distribution; -1 for k <= 0. A NaN t gives NaN.
double tCDF(double t, int k);

/// The same of `count` values, several at a time: the sums of large k are long.
void tCDF(const double* t, int count, int k, double* lower);

/// The t with lower tail p. Wanted: a coarse bisection, in which t² / (df + t²) is good to 1.2e-7.
/// p <= 0 and p >= 1 give the largest such t, about 2900 to 4100 times sqrt(df); a NaN counts as
/// 1/2. df <= 0 meets the text of betaLower_reg in each of the 23 rounds.
double tCDF_inv(double p, double df);

}  // namespace veldane
