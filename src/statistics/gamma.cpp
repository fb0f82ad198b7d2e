#include "statistics/gamma.h"

#include <cmath>

#include "statistics/constants.h"
#include "statistics/error_text.h"
#include "statistics/polynomial.h"

// Rational approximations of S. L. Moshier, Cephes Math Library, double precision.

namespace veldane {

namespace {

constexpr double pi = 3.14159265358979323846;

/// gamma(x + 2) on [0, 1).
constexpr double P[] = {
    1.60119522476751861407E-4, 1.19135147006586384913E-3, 1.04213797561761569935E-2,
    4.76367800457137231464E-2, 2.07448227648435975150E-1, 4.94214826801497100753E-1,
    9.99999999999999996796E-1,
};
constexpr double Q[] = {
    -2.31581873324120129819E-5, 5.39605580493303397842E-4, -4.45641913851797240494E-3,
    1.18139785222060435552E-2,  3.58236398605498653373E-2, -2.34591795718243348568E-1,
    7.14304917030273074085E-2,  1.00000000000000000320E0,
};

/// Stirling's form, in 1 / x.
constexpr double STIR[] = {
    7.87311395793093628397E-4, -2.29549961613378126380E-4, -2.68132617805781232825E-3,
    3.47222221605458667310E-3, 8.33333333333482257126E-2,
};

/// Stirling's form of the logarithm, in 1 / x².
constexpr double A[] = {
    8.11614167470508450300E-4,  -5.95061904284301438324E-4, 7.93650340457716943945E-4,
    -2.77777777730099687205E-3, 8.33333333333331927722E-2,
};

/// ln gamma(x + 2) / x on [0, 1).
constexpr double B[] = {
    -1.37825152569120859100E3, -3.88016315134637840924E4, -3.31612992738871184744E5,
    -1.16237097492762307383E6, -1.72173700820839662146E6, -8.53555664245765465627E5,
};
constexpr double C[] = {
    -3.51815701436523470549E2, -1.70642106651881159223E4, -2.20528590553854454839E5,
    -1.13933444367982507207E6, -2.53252307177582951285E6, -2.01889141433532773231E6,
};

double stirling(double x) {
    const double w = 1.0 / x;
    double y = std::exp(x);
    if (std::isinf(y)) return y;  // far above MAXGAM, where a quotient of infinities would follow
    if (x > 143.01608) {
        const double v = std::pow(x, 0.5 * x - 0.25);  // the full power would overflow too early
        y = v * (v / y);
    } else {
        y = std::pow(x, x - 0.5) / y;
    }
    return 2.5066282746310007 * y * (1.0 + w * polevl(w, STIR, 4));
}

/// |q sin(pi q)| by the distance to the nearest integer; 0 for an integer.
double reflectionSine(double q) {
    double p = std::floor(q);
    if (p == q) return 0.0;
    if (q - p > 0.5) p += 1.0;
    return std::fabs(q * std::sin(pi * (q - p)));
}

/// The sign of gamma(-q).
int reflectedSign(double q) {
    return std::fmod(std::floor(q), 2.0) == 0.0 ? -1 : 1;
}

double reflectedGamma(double q, int& sign) {
    const double sine = reflectionSine(q);
    if (sine == 0.0) {
        writeErrorText("gamma(): overflow");
        return sign * MAXNUM;
    }
    sign = reflectedSign(q);
    return sign * (pi / (sine * stirling(q)));
}

/// z gamma(x) for |x| < 1e-9.
double gammaNearZero(double x, double z) {
    if (x == 0.0) {
        writeErrorText("gamma(): singularity");
        return MAXNUM;
    }
    return z / ((1.0 + 0.5772156649015329 * x) * x);
}

double logOverflow(int sign) {
    writeErrorText("gamma_log(): overflow ");
    return sign * MAXNUM;
}

/// ln |gamma(x)| for -34 <= x < 13, by the recurrence from [2, 3).
double shiftedLog(double x, int& sign) {
    double z = 1.0, p = 0.0, u = x;
    while (u >= 3.0) {
        p -= 1.0;
        u = x + p;
        z *= u;
    }
    while (u < 2.0) {
        if (u == 0.0) return logOverflow(sign);
        z /= u;
        p += 1.0;
        u = x + p;
    }
    if (z < 0.0) {
        sign = -1;
        z = -z;
    }
    if (u == 2.0) return std::log(z);
    x += p - 2.0;
    return std::log(z) + x * polevl(x, B, 5) / p1evl(x, C, 6);
}

/// ln gamma(x) for x >= 13, by Stirling's series.
double stirlingLog(double x) {
    const double q = (x - 0.5) * std::log(x) - x + 0.9189385332046728;
    if (x > 1e8) return q;
    const double p = 1.0 / (x * x);
    if (x >= 1000.0) {
        return q +
               ((0.0007936507936507937 * p - 0.002777777777777778) * p + 0.08333333333333333) / x;
    }
    return q + polevl(p, A, 4) / x;
}

}  // namespace

double gamma(double x, int* sign) {
    int ignored = 1;
    int& stored = sign ? *sign : ignored;
    stored = 1;
    if (std::fabs(x) > 33.0) return x < 0.0 ? reflectedGamma(-x, stored) : stirling(x);
    double z = 1.0;
    while (x >= 3.0) {
        x -= 1.0;
        z *= x;
    }
    while (x < 0.0) {
        if (x > -1e-9) return gammaNearZero(x, z);
        z /= x;
        x += 1.0;
    }
    while (x < 2.0) {
        if (x < 1e-9) return gammaNearZero(x, z);
        z /= x;
        x += 1.0;
    }
    if (x == 2.0) return z;
    x -= 2.0;
    return z * polevl(x, P, 6) / polevl(x, Q, 7);
}

double gamma_log(double x, int* sign) {
    int ignored = 1;
    int& stored = sign ? *sign : ignored;
    stored = 1;
    if (x < -34.0) {
        const double q = -x;
        const double sine = reflectionSine(q);
        if (sine == 0.0) return logOverflow(stored);
        stored = reflectedSign(q);
        return 1.1447298858494002 - std::log(sine) - gamma_log(q);
    }
    if (x < 13.0) return shiftedLog(x, stored);
    if (x > 2.556348e+305) return logOverflow(stored);
    return stirlingLog(x);
}

}  // namespace veldane
