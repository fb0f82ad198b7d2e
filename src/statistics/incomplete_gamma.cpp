#include "statistics/incomplete_gamma.h"

#include <cmath>

#include "statistics/constants.h"
#include "statistics/error_text.h"
#include "statistics/gamma.h"
#include "statistics/normal.h"

namespace veldane {

namespace {

/// Series and fraction take some 9 sqrt(a) rounds; above a = 1e12, where rounding has eaten the
/// result anyway, they could go on for ever.
constexpr int maxRounds = 10000000;

/// ln(x^a e^-x / gamma(a)).
double logTerm(double a, double x) {
    return a * std::log(x) - x - gamma_log(a);
}

bool underflows(double ax) {
    return ax < -MAXLOG || !std::isfinite(ax);
}

/// P(a, x) without its factor e^ax / a.
double lowerSeries(double a, double x) {
    double r = a, c = 1.0, s = 1.0;
    for (int round = 0; round < maxRounds; ++round) {
        r += 1.0;
        c *= x / r;
        s += c;
        if (!(c / s > MACHEP)) break;
    }
    return s;
}

/// Q(a, x) without its factor e^ax.
double upperFraction(double a, double x) {
    double y = 1.0 - a, z = x + y + 1.0, c = 0.0;
    double pkm2 = 1.0, qkm2 = x, pkm1 = x + 1.0, qkm1 = z * x;
    double ratio = pkm1 / qkm1;
    for (int round = 0; round < maxRounds; ++round) {
        c += 1.0;
        y += 1.0;
        z += 2.0;
        const double yc = y * c;
        const double pk = pkm1 * z - pkm2 * yc, qk = qkm1 * z - qkm2 * yc;
        double change = 1.0;
        if (qk != 0.0) {
            const double r = pk / qk;
            change = std::fabs((ratio - r) / r);
            ratio = r;
        }
        if (!(change > MACHEP)) break;
        const double scale = std::fabs(pk) > big ? biginv : 1.0;
        pkm2 = pkm1 * scale;
        pkm1 = pk * scale;
        qkm2 = qkm1 * scale;
        qkm1 = qk * scale;
    }
    return ratio;
}

/// Solves Q(a, x) = target by Newton's method and then by a bisection that moves its point.
class UpperGammaInverse {
  public:
    UpperGammaInverse(double shape, double tail) : a(shape), target(tail) {}
    double solve();

  private:
    bool newton();
    void widen();
    void halve();
    bool settled() const;
    void raiseLowerEnd();
    void dropUpperEnd();

    const double a, target;
    double x = 0.0, y = 0.0;       ///< the last point and the function there
    double x0 = MAXNUM, yl = 0.0;  ///< upper end of the bracket, where the function is below target
    double x1 = 0.0, yh = 1.0;     ///< lower end
    int direction = 0;             ///< moves to the right in a row; negative: to the left
    double fraction = 0.5;         ///< where in the bracket the next point lies
};

double UpperGammaInverse::solve() {
    // E. B. Wilson and M. M. Hilferty, Proc. Natl. Acad. Sci. USA 17 (1931) 684-688.
    const double d = 1.0 / (9.0 * a);
    const double root = 1.0 - d - normalCDF_inv(target) * std::sqrt(d);
    x = a * root * root * root;
    if (newton()) return x;
    if (x0 == MAXNUM) widen();
    halve();
    if (x == 0.0) writeErrorText("gamma_inv UNDERFLOW");
    return x;
}

bool UpperGammaInverse::newton() {
    const double lgm = gamma_log(a);
    for (int round = 0; round < 10; ++round) {
        if (!(x <= x0 && x >= x1)) return false;
        y = gammaUpper_reg(a, x);
        if (y < yl || y > yh) return false;
        if (y < target) {
            x0 = x;
            yl = y;
        } else {
            x1 = x;
            yh = y;
        }
        const double d = (a - 1.0) * std::log(x) - x - lgm;
        if (d < -MAXLOG) return false;
        const double step = (y - target) / -std::exp(d);
        if (std::fabs(step / x) < MACHEP) return true;
        x -= step;
    }
    return false;
}

/// Moves right until the function is below the target, as it is at infinity at the latest.
void UpperGammaInverse::widen() {
    if (!(x > 0.0)) x = 1.0;
    for (double d = 0.0625; x0 == MAXNUM; d += d) {
        x *= 1.0 + d;
        y = gammaUpper_reg(a, x);
        if (y < target) {
            x0 = x;
            yl = y;
        }
    }
}

void UpperGammaInverse::halve() {
    for (int round = 0; round < 400; ++round) {
        x = x1 + fraction * (x0 - x1);
        y = gammaUpper_reg(a, x);
        if (settled() || x <= 0.0) return;
        if (y >= target) {
            raiseLowerEnd();
        } else {
            dropUpperEnd();
        }
    }
}

bool UpperGammaInverse::settled() const {
    return std::fabs((x0 - x1) / (x1 + x0)) < 5.0 * MACHEP ||
           std::fabs((y - target) / target) < 5.0 * MACHEP;
}

void UpperGammaInverse::raiseLowerEnd() {
    x1 = x;
    yh = y;
    if (direction < 0) {
        direction = 0;
        fraction = 0.5;
    } else if (direction > 1) {
        fraction = 0.5 * fraction + 0.5;
    } else {
        fraction = (target - yl) / (yh - yl);
    }
    ++direction;
}

void UpperGammaInverse::dropUpperEnd() {
    x0 = x;
    yl = y;
    if (direction > 0) {
        direction = 0;
        fraction = 0.5;
    } else if (direction < -1) {
        fraction = 0.5 * fraction;
    } else {
        fraction = (target - yl) / (yh - yl);
    }
    --direction;
}

}  // namespace

double gammaLower_reg(double a, double x) {
    if (!(x > 0.0) || !(a > 0.0)) return 1.0;
    if (x > 1.0 && x > a) return 1.0 - gammaUpper_reg(a, x);
    const double ax = logTerm(a, x);
    if (underflows(ax)) {
        writeErrorText("gamma(z,x) UNDERFLOW");
        return 0.0;
    }
    return lowerSeries(a, x) * std::exp(ax) / a;
}

double gammaUpper_reg(double a, double x) {
    if (!(x > 0.0) || !(a > 0.0)) return 0.0;
    if (x < 1.0 || x < a) return 1.0 - gammaLower_reg(a, x);
    const double ax = logTerm(a, x);
    if (underflows(ax)) {
        writeErrorText("InvGammaC UNDERFLOW");
        return 0.0;
    }
    return upperFraction(a, x) * std::exp(ax);
}

double gammaUpper_reg_inv(double a, double y) {
    if (!(y > 0.0) || !(a > 0.0)) {
        writeErrorText("gammaUpper_reg_inv DOMAIN");
        return 0.0;
    }
    return UpperGammaInverse(a, y).solve();
}

}  // namespace veldane
