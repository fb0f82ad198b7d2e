#pragma once

namespace veldane {

/// The gamma function after S. L. Moshier, Cephes Math Library. Infinite above MAXGAM. Writes
/// "gamma(): singularity" and gives MAXNUM at 0, -1, ... -33; "gamma(): overflow" and MAXNUM at the
/// integers below and at -infinity. A NaN gives NaN.
///
/// sign  if not null, -1 where x < -33 and the result is negative, otherwise 1
double gamma(double x, int* sign = nullptr);

/// ln |gamma(x)|. Writes "gamma_log(): overflow " and gives MAXNUM at 0, the negative integers and
/// above 2.556348e305. A NaN gives NaN.
///
/// sign  if not null, the sign of gamma(x); 1 where it is not defined
double gamma_log(double x, int* sign = nullptr);

}  // namespace veldane
