#pragma once

namespace veldane {

// The algorithms of S. L. Moshier, Cephes Math Library. A continued fraction that has not converged
// in 300 rounds counts as 0, which is wanted: in the middle of the distribution the results may
// then be 0 or 1 - MACHEP, with shapes above some 20000, or above some 5000 beside one below 0.1.

/// The regularised incomplete beta function I_xx(aa, bb). xx = 0 and xx = 1 come back before the
/// shapes are looked at. Otherwise each of "betaLower_reg: aa <= 0", "betaLower_reg: bb <= 0",
/// "betaLower_reg: xx < 0" and "betaLower_reg: xx > 1" that holds is written, and the result is -1;
/// NaN and infinite shapes count as <= 0, a NaN xx as < 0.
double betaLower_reg(double aa, double bb, double xx);

/// The same algorithm without a text: I_x(a, b), or 1 - I_x(a, b) as the complement. -1 where
/// betaLower_reg writes a text.
double incompleteBeta(double a, double b, double x, bool complement);

/// Whether both are positive and finite; writes betaLower_reg's text of each that is not.
bool requireShapes(double aa, double bb);

/// The x with I_x(aa, bb) = y: 0 for y <= 0 and NaN, 1 for y >= 1. Shapes that betaLower_reg
/// refuses give its texts and -1. Writes "betaLower_reg_inv: PLOSS" where the bisection ends before
/// it reaches its tolerance, and goes on, and "ibetaLower_reg_inv: UNDERFLOW" with the result 0 (1
/// - MACHEP if it was looking from the other end) where x is too small for a double.
double betaLower_reg_inv(double aa, double bb, double y);

}  // namespace veldane
