#include "statistics/incomplete_beta.h"

#include <cmath>

#include "statistics/constants.h"
#include "statistics/error_text.h"
#include "statistics/gamma.h"

namespace veldane {

namespace {

bool isShape(double shape) {
    return shape > 0.0 && std::isfinite(shape);
}

/// A continued fraction of I_x(a, b). Its coefficients are -x k1 k2 / (k3 k4) and
/// x k5 k6 / (k4 (k3 + 2)) in turns, where k2 and k6 step by `step2` and `step6` a round.
double continuedFraction(double x, double a, double k2, double step2, double k6, double step6) {
    double k1 = a, k3 = a, k4 = a + 1.0, k5 = 1.0;
    double pkm2 = 0.0, qkm2 = 1.0, pkm1 = 1.0, qkm1 = 1.0;
    double ratio = 1.0, r = 1.0;
    const auto scaleAll = [&](double scale) {
        pkm2 *= scale;
        pkm1 *= scale;
        qkm2 *= scale;
        qkm1 *= scale;
    };
    for (int round = 0; round < 300; ++round) {
        const double even = -(x * k1 * k2) / (k3 * k4);
        pkm2 = pkm1 + pkm2 * even;
        qkm2 = qkm1 + qkm2 * even;
        k3 += 2.0;
        const double odd = (x * k5 * k6) / (k4 * k3);
        const double pk = pkm2 + pkm1 * odd, qk = qkm2 + qkm1 * odd;
        pkm1 = pk;
        qkm1 = qk;

        if (qk != 0.0) r = pk / qk;
        if (r != 0.0) {
            if (std::fabs((ratio - r) / r) < 3.0 * MACHEP) return r;
            ratio = r;
        }
        k1 += 1.0;
        k2 += step2;
        k4 += 2.0;
        k5 += 1.0;
        k6 += step6;
        if (std::fabs(qk) + std::fabs(pk) > big) scaleAll(biginv);
        if (std::fabs(qk) < biginv || std::fabs(pk) < biginv) scaleAll(big);
    }
    return 0.0;
}

double minusLogBeta(double a, double b) {
    return gamma_log(a + b) - gamma_log(a) - gamma_log(b);
}

double inverseBeta(double a, double b) {
    return gamma(a + b) / (gamma(a) * gamma(b));
}

double expOrZero(double y) {
    return y < -MAXLOG ? 0.0 : std::exp(y);
}

/// I_x(a, b) for small b x.
double powerSeries(double a, double b, double x) {
    double u = (1.0 - b) * x;
    double v = u / (a + 1.0);
    const double first = v, threshold = MACHEP / a;
    double s = 0.0, n = 2.0;
    while (std::fabs(v) > threshold) {
        u = u * (n - b) * x / n;
        v = u / (a + n);
        s += v;
        n += 1.0;
    }
    s = s + first + 1.0 / a;
    const double power = a * std::log(x);
    // The gamma functions are divided first: with s the product would overflow near MAXGAM.
    if (a + b < MAXGAM && std::fabs(power) < MAXLOG) {
        return s * inverseBeta(a, b) * std::pow(x, a);
    }
    return expOrZero(minusLogBeta(a, b) + power + std::log(s));
}

/// I_x(a, b) for x up to the mean, by the fraction that converges faster there; xc = 1 - x.
double byFraction(double a, double b, double x, double xc) {
    const double w = (a + b - 2.0) * x - (a - 1.0) < 0.0
                         ? continuedFraction(x, a, a + b, 1.0, b - 1.0, -1.0)
                         : continuedFraction(x / (1.0 - x), a, b - 1.0, -1.0, a + b, 1.0) / xc;
    const double y = a * std::log(x), t = b * std::log(xc);
    if (a + b < MAXGAM && std::fabs(y) < MAXLOG && std::fabs(t) < MAXLOG) {
        return std::pow(xc, b) * std::pow(x, a) / a * w * inverseBeta(a, b);
    }
    return expOrZero(y + t + gamma_log(a + b) - gamma_log(a) - gamma_log(b) + std::log(w / a));
}

double oneMinus(double t) {
    return t <= MACHEP ? 1.0 - MACHEP : 1.0 - t;
}

bool seriesSuits(double b, double x) {
    return b * x <= 1.0 && x <= 0.95;
}

}  // namespace

bool requireShapes(double aa, double bb) {
    if (!isShape(aa)) writeErrorText("betaLower_reg: aa <= 0");
    if (!isShape(bb)) writeErrorText("betaLower_reg: bb <= 0");
    return isShape(aa) && isShape(bb);
}

double incompleteBeta(double a, double b, double x, bool complement) {
    if (x == 0.0 || x == 1.0) return complement ? 1.0 - x : x;
    if (!isShape(a) || !isShape(b) || !(x > 0.0 && x < 1.0)) return -1.0;
    if (seriesSuits(b, x)) {
        const double t = powerSeries(a, b, x);
        return complement ? oneMinus(t) : t;
    }
    const double xc = 1.0 - x;
    if (x <= a / (a + b)) {
        const double t = byFraction(a, b, x, xc);
        return complement ? oneMinus(t) : t;
    }
    const double t = seriesSuits(a, xc) ? powerSeries(b, a, xc) : byFraction(b, a, xc, x);
    return complement ? t : oneMinus(t);
}

double betaLower_reg(double aa, double bb, double xx) {
    if (xx == 0.0 || xx == 1.0) return xx;
    requireShapes(aa, bb);
    if (!(xx >= 0.0)) writeErrorText("betaLower_reg: xx < 0");
    if (xx > 1.0) writeErrorText("betaLower_reg: xx > 1");
    return incompleteBeta(aa, bb, xx, false);
}

}  // namespace veldane
