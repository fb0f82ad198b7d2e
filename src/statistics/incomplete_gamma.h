#pragma once

namespace veldane {

// The algorithms of S. L. Moshier, Cephes Math Library. The relative error of the tails is below
// 1e-10 for a up to 5e4 and 1e-9 for a = 5e5.

/// The regularised lower incomplete gamma function P(a, x). For x <= 0, a <= 0 and NaN it is 1, the
/// opposite of the textbooks, which is wanted. Writes "gamma(z,x) UNDERFLOW" and gives 0 where
/// x^a e^-x / gamma(a) is too small for a double.
double gammaLower_reg(double a, double x);

/// The regularised upper incomplete gamma function Q(a, x); 0 for x <= 0, a <= 0 and NaN, to match.
/// Writes "InvGammaC UNDERFLOW" and gives 0 where x^a e^-x / gamma(a) is too small for a double.
double gammaUpper_reg(double a, double x);

/// The x with Q(a, x) = y. Writes "gammaUpper_reg_inv DOMAIN" and gives 0 for y <= 0, a <= 0 and
/// NaN; "gamma_inv UNDERFLOW" and 0 where x is too small for a double. y >= 1 meets the text of
/// normalCDF_inv and gives an x close to 0.
double gammaUpper_reg_inv(double a, double y);

}  // namespace veldane
