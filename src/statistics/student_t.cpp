#include "statistics/student_t.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "statistics/constants.h"
#include "statistics/incomplete_beta.h"

namespace veldane {

namespace {

constexpr int abreast = 8;
using Pair = double __attribute__((vector_size(16)));
using PairBits = long __attribute__((vector_size(16)));

/// Of each z: 1 + (j-1)/(z j) + ..., j = first, first + 2, ... <= k - 2, until a term is MACHEP of
/// the sum. A z that has come to its end adds 0 from there on.
void finiteSums(const double (&z)[abreast], int first, int k, double (&sums)[abreast]) {
    constexpr int pairs = abreast / 2;
    Pair zs[pairs], f[pairs], tz[pairs];
    std::memcpy(zs, z, sizeof z);
    for (int i = 0; i < pairs; ++i) f[i] = tz[i] = Pair{1.0, 1.0};
    PairBits goOn = {-1, -1};
    for (int j = first; j <= k - 2 && (goOn[0] | goOn[1]) != 0; j += 2) {
        goOn = PairBits{0, 0};
        for (int i = 0; i < pairs; ++i) {
            const PairBits goesOn = tz[i] > MACHEP * f[i];
            const Pair next = tz[i] * ((j - 1.0) / (zs[i] * j));
            tz[i] = reinterpret_cast<Pair>(reinterpret_cast<PairBits>(next) & goesOn);
            f[i] += tz[i];
            goOn |= goesOn;
        }
    }
    std::memcpy(sums, f, sizeof sums);
}

/// |t|; its square is a double, and the result for a greater one is 1.
double size(double t) {
    return std::min(std::fabs(t), 1e150);
}

double argument(double t, int k) {
    const double x = size(t);
    return 1.0 + x * x / k;
}

double tail(double t, int k) {
    const double rk = k;
    return 0.5 * incompleteBeta(0.5 * rk, 0.5, rk / (rk + t * t), false);
}

double fromSum(double t, int k, double sum) {
    if (t == 0.0) return 0.5;
    const double rk = k, x = size(t), z = argument(t, k);
    double p;
    if (k % 2 == 1) {
        const double xsqk = x / std::sqrt(rk);
        p = std::atan(xsqk);
        if (k > 1) p += sum * xsqk / z;
        p *= 0.6366197723675814;
    } else {
        p = sum * x / std::sqrt(z * rk);
    }
    return 0.5 + 0.5 * (t < 0.0 ? -p : p);
}

}  // namespace

void tCDF(const double* t, int count, int k, double* lower) {
    if (k <= 0) std::fill_n(lower, count, -1.0);
    for (int i = 0; k > 0 && i < count; i += abreast) {
        const int used = std::min(abreast, count - i);
        double z[abreast], sums[abreast];
        std::fill_n(z, abreast, std::numeric_limits<double>::infinity());
        for (int l = 0; l < used; ++l) z[l] = argument(t[i + l], k);
        finiteSums(z, k % 2 == 1 ? 3 : 2, k, sums);
        for (int l = 0; l < used; ++l) {
            const double value = t[i + l];
            lower[i + l] = value < -2.0 ? tail(value, k) : fromSum(value, k, sums[l]);
        }
    }
}

double tCDF(double t, int k) {
    double lower;
    tCDF(&t, 1, k, &lower);
    return lower;
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
