#include "statistics/normal.h"

#include <cmath>

#include "statistics/constants.h"
#include "statistics/error_text.h"
#include "statistics/polynomial.h"

namespace veldane {

namespace {

// W. J. Cody, Rational Chebyshev approximations for the error function, Math. Comp. 23 (1969)
// 631-637, scaled to the normal distribution.

/// (normalCDF(x) - 1/2) / x, in x².
constexpr double centreN[] = {
    1.161110663653770e-2, 3.951404679838207e-1, 2.846603853776254e+1,
    1.887426188426510e+2, 3.209377589138469e+3,
};
constexpr double centreD[] = {
    1.767766952966369e-1, 8.344316438579620e+0, 1.725514762600375e+2,
    1.813893686502485e+3, 8.044716608901563e+3,
};

/// The tail over e, in |x| / sqrt 2.
constexpr double middleN[] = {
    2.15311535474403846e-8, 5.64188496988670089e-1, 8.88314979438837594e0,
    6.61191906371416295e1,  2.98635138197400131e2,  8.81952221241769090e2,
    1.71204761263407058e3,  2.05107837782607147e3,  1.23033935479799725e3,
};
constexpr double middleD[] = {
    1.0,
    1.57449261107098347e1,
    1.17693950891312499e2,
    5.37181101862009858e2,
    1.62138957456669019e3,
    3.29079923573345963e3,
    4.36261909014324716e3,
    3.43936767414372164e3,
    1.23033935480374942e3,
};

/// The far tail's distance from its leading term, in 2 / x².
constexpr double farN[] = {
    1.63153871373020978e-2, 3.05326634961232344e-1, 3.60344899949804439e-1,
    1.25781726111229246e-1, 1.60837851487422766e-2, 6.58749161529837803e-4,
};
constexpr double farD[] = {
    1.0,
    2.56852019228982242e0,
    1.87295284992346047e0,
    5.27905102951428412e-1,
    6.05183413124413191e-2,
    2.33520497626869185e-3,
};

// The inverse: S. L. Moshier, Cephes Math Library, double precision.

/// Centre, in (y - 1/2)².
constexpr double P0[] = {
    -5.99633501014107895267E1, 9.80010754185999661536E1,  -5.66762857469070293439E1,
    1.39312609387279679503E1,  -1.23916583867381258016E0,
};
constexpr double Q0[] = {
    1.95448858338141759834E0,  4.67627912898881538453E0,  8.63602421390890590575E1,
    -2.25462687854119370527E2, 2.00260212380060660359E2,  -8.20372256168333339912E1,
    1.59056225126211695515E1,  -1.18331621121330003142E0,
};

/// Tail with sqrt(-2 ln y) below 8, in its reciprocal.
constexpr double P1[] = {
    4.05544892305962419923E0,   3.15251094599893866154E1,   5.71628192246421288162E1,
    4.40805073893200834700E1,   1.46849561928858024014E1,   2.18663306850790267539E0,
    -1.40256079171354495875E-1, -3.50424626827848203418E-2, -8.57456785154685413611E-4,
};
constexpr double Q1[] = {
    1.57799883256466749731E1,   4.53907635128879210584E1,   4.13172038254672030440E1,
    1.50425385692907503408E1,   2.50464946208309415979E0,   -1.42182922854787788574E-1,
    -3.80806407691578277194E-2, -9.33259480895457427372E-4,
};

/// Tail from 8 on.
constexpr double P2[] = {
    3.23774891776946035970E0,  6.91522889068984211695E0,  3.93881025292474443415E0,
    1.33303460815807542389E0,  2.01485389549179081538E-1, 1.23716634817820021358E-2,
    3.01581553508235416007E-4, 2.65806974686737550832E-6, 6.23974539184983293730E-9,
};
constexpr double Q2[] = {
    6.02427039364742014255E0,  3.67983563856160859403E0,  1.37702099489081330271E0,
    2.16236993594496635890E-1, 1.34204006088543189037E-2, 3.28014464682127739104E-4,
    2.89247864745380683936E-6, 6.79019408009981274425E-9,
};

constexpr double sqrt2 = 1.41421356237309504880;
constexpr double sqrt2Pi = 2.50662827463100050242;
constexpr double expMinus2 = 0.1353352832366127;

/// Minus the normal deviate of a small lower tail y.
double tailDeviate(double y) {
    const double x = std::sqrt(-2.0 * std::log(y)), z = 1.0 / x;
    const double correction =
        x < 8.0 ? z * polevl(z, P1, 8) / p1evl(z, Q1, 8) : z * polevl(z, P2, 8) / p1evl(z, Q2, 8);
    return x - std::log(x) / x - correction;
}

}  // namespace

double normalCDF(double x) {
    if (std::isnan(x)) return 2.0;
    if (std::isinf(x)) return x > 0.0 ? 1.0 : 0.0;
    const double y = std::fabs(x);
    if (y <= 0.6629126073623883) {
        const double z = y * y;
        return 0.5 + x * polevl(z, centreN, 4) / polevl(z, centreD, 4);
    }
    const double e = std::exp(-y * y / 2.0) / 2.0;
    double tail;
    if (y > 4.0) {
        const double s = 2.0 / (y * y);
        tail = e * sqrt2 / y * (0.5641895835477563 - s * polevl(s, farN, 5) / polevl(s, farD, 5));
    } else {
        tail = e * polevl(y / sqrt2, middleN, 8) / polevl(y / sqrt2, middleD, 8);
    }
    return x < 0.0 ? tail : 1.0 - tail;
}

double normalCDF_inv(double y) {
    if (!(y > 0.0) || y >= 1.0) {
        writeErrorText("normalCDF_inv DOMAIN");
        return y >= 1.0 ? MAXNUM : -MAXNUM;
    }
    const bool upper = y > 1.0 - expMinus2;
    if (upper) y = 1.0 - y;
    if (y > expMinus2) {
        const double w = y - 0.5, w2 = w * w;
        return (w + w * (w2 * polevl(w2, P0, 4) / p1evl(w2, Q0, 8))) * sqrt2Pi;
    }
    return upper ? tailDeviate(y) : -tailDeviate(y);
}

double normalPDF(double x, double mean, double variance) {
    if (!(variance > 0.0)) return 0.0;
    const double distance = x - mean;
    return std::exp(-(distance * distance) / (2.0 * variance)) /
           std::sqrt(6.283185307179586 * variance);
}

}  // namespace veldane
