#include "statistics/student_t.h"

#include <algorithm>
#include <cmath>

#include "statistics/constants.h"
#include "statistics/incomplete_beta.h"

namespace veldane {

namespace {

/// 1 + (j-1)/(z j) + ..., j = first, first + 2, ... <= k - 2.
double finiteSum(double z, int first, int k) {
    double f = 1.0, tz = 1.0;
    for (int j = first; j <= k - 2 && tz / f > MACHEP; j += 2) {
        tz *= (j - 1) / (z * j);
        f += tz;
    }
    return f;
}

}  // namespace

double tCDF(double t, int k) {
    if (k <= 0) return -1.0;
    if (t == 0.0) return 0.5;
    const double rk = k;
    if (t < -2.0) return 0.5 * incompleteBeta(0.5 * rk, 0.5, rk / (rk + t * t), false);

    const double x = std::min(std::fabs(t), 1e150);  // its square is a double; the result is 1
    const double z = 1.0 + x * x / rk;
    double p;
    if (k % 2 == 1) {
        const double xsqk = x / std::sqrt(rk);
        p = std::atan(xsqk);
        if (k > 1) p += finiteSum(z, 3, k) * xsqk / z;
        p *= 0.6366197723675814;
    } else {
        p = finiteSum(z, 2, k) * x / std::sqrt(z * rk);
    }
    return 0.5 + 0.5 * (t < 0.0 ? -p : p);
}

double tCDF_inv(double p, double df) {
    const bool neg = p < 0.5;
    double q = neg ? 1.0 - p : p;
    q = 1.0 - 2.0 * (1.0 - q);
    double lo = 0.0, hi = 1.0, mid = 0.5;
    while (hi - lo > 1.1920928955078125e-7) {
        mid = (lo + hi) / 2.0;
        (betaLower_reg(0.5, df / 2.0, mid) <= q ? lo : hi) = mid;
    }
    const double t = std::sqrt(df / (1.0 - mid) * mid);
    return neg ? -t : t;
}

}  // namespace veldane
