#include <cmath>

#include "statistics/constants.h"
#include "statistics/error_text.h"
#include "statistics/gamma.h"
#include "statistics/incomplete_beta.h"
#include "statistics/normal.h"

namespace veldane {

namespace {

/// A function that rounding has made uneven could send the search to and fro between the ends.
constexpr int maxReversals = 4;

/// Solves I_x(a, b) = target, by a bisection that moves its point within the bracket and by
/// Newton's method, once. Looks from the upper end (1 - x, shapes exchanged) where the solution is
/// near it.
class BetaInverse {
  public:
    BetaInverse(double aa, double bb, double target) : lower{aa, bb, target}, problem(lower) {}
    double solve();

  private:
    struct Problem {
        double a, b, target;
    };
    enum class Step { halving, newton, finished };

    Step start();
    Step startByNormalDeviate();
    void reverse();
    Step halve();
    bool settled() const;
    void raiseLowerEnd();
    void dropUpperEnd();
    Step newton();
    void bracketPoint();
    Step underflow();

    const Problem lower;
    Problem problem;  ///< as seen from the end in use
    bool reversed = false;
    int reversals = 0;
    double x = 0.0, y = 0.0;    ///< the last point and the function there
    double x0 = 0.0, yl = 0.0;  ///< lower end of the bracket
    double x1 = 1.0, yh = 1.0;  ///< upper end
    double tolerance = 1e-6;    ///< relative, of the bisection
    int direction = 0;          ///< moves to the right in a row; negative: to the left
    double fraction = 0.5;      ///< where in the bracket the next point lies
};

double BetaInverse::solve() {
    Step step = start();
    bool refined = false;
    while (step != Step::finished) {
        if (step == Step::halving) {
            step = halve();
        } else if (refined) {
            break;
        } else {
            refined = true;
            step = newton();
        }
    }
    if (!reversed) return x;
    return x <= MACHEP ? 1.0 - MACHEP : 1.0 - x;
}

BetaInverse::Step BetaInverse::start() {
    const auto& [a, b, target] = problem;
    if (a > 1.0 && b > 1.0) return startByNormalDeviate();
    x = a / (a + b);
    y = betaLower_reg(a, b, x);
    return Step::halving;
}

/// M. Abramowitz and I. A. Stegun, Handbook of Mathematical Functions (1964), 26.5.22.
BetaInverse::Step BetaInverse::startByNormalDeviate() {
    tolerance = 1e-4;
    double yp = -normalCDF_inv(lower.target);
    if (lower.target > 0.5) {
        reverse();
        yp = -yp;
    }
    const auto& [a, b, target] = problem;
    const double forA = 1.0 / (2.0 * a - 1.0), forB = 1.0 / (2.0 * b - 1.0);
    const double lgm = (yp * yp - 3.0) / 6.0;
    x = 2.0 / (forA + forB);
    const double d =
        2.0 * (yp * std::sqrt(x + lgm) / x - (forB - forA) * (lgm + 5.0 / 6.0 - 2.0 / (3.0 * x)));
    if (d < -MAXLOG) return underflow();
    x = a / (a + b * std::exp(d));
    if (std::isnan(x)) x = 0.5;  // of shapes whose sum is no double
    y = betaLower_reg(a, b, x);
    return std::fabs((y - target) / target) < 0.2 ? Step::newton : Step::halving;
}

void BetaInverse::reverse() {
    reversed = !reversed;
    problem = reversed ? Problem{lower.b, lower.a, 1.0 - lower.target} : lower;
}

BetaInverse::Step BetaInverse::halve() {
    direction = 0;
    fraction = 0.5;
    for (int round = 0; round < 100; ++round) {
        if (round > 0) {
            x = x0 + fraction * (x1 - x0);
            if (x == 1.0) x = 1.0 - MACHEP;
            if (x == 0.0) {
                fraction = 0.5;
                x = x0 + fraction * (x1 - x0);
                if (x == 0.0) return underflow();
            }
            y = betaLower_reg(problem.a, problem.b, x);
            if (settled()) return Step::newton;
        }
        if (y < problem.target) {
            raiseLowerEnd();
            if (x0 > 0.75 && reversals < maxReversals) {
                ++reversals;
                reverse();
                x = 1.0 - x;
                y = betaLower_reg(problem.a, problem.b, x);
                x0 = yl = 0.0;
                x1 = yh = 1.0;
                return Step::halving;
            }
        } else {
            dropUpperEnd();
            if (reversed && x1 < MACHEP) {
                x = 0.0;
                return Step::finished;
            }
        }
    }
    writeErrorText("betaLower_reg_inv: PLOSS");
    if (x0 >= 1.0) {
        x = 1.0 - MACHEP;
        return Step::finished;
    }
    return x <= 0.0 ? underflow() : Step::newton;
}

bool BetaInverse::settled() const {
    return std::fabs((x1 - x0) / (x1 + x0)) < tolerance ||
           std::fabs((y - problem.target) / problem.target) < tolerance;
}

void BetaInverse::raiseLowerEnd() {
    x0 = x;
    yl = y;
    if (direction < 0) {
        direction = 0;
        fraction = 0.5;
    } else if (direction > 3) {
        fraction = 1.0 - (1.0 - fraction) * (1.0 - fraction);
    } else if (direction > 1) {
        fraction = 0.5 * fraction + 0.5;
    } else {
        fraction = (problem.target - y) / (yh - yl);
    }
    ++direction;
}

void BetaInverse::dropUpperEnd() {
    x1 = x;
    yh = y;
    if (direction > 0) {
        direction = 0;
        fraction = 0.5;
    } else if (direction < -3) {
        fraction = fraction * fraction;
    } else if (direction < -1) {
        fraction = 0.5 * fraction;
    } else {
        fraction = (y - problem.target) / (yh - yl);
    }
    --direction;
}

BetaInverse::Step BetaInverse::newton() {
    const auto& [a, b, target] = problem;
    const double lgm = gamma_log(a + b) - gamma_log(a) - gamma_log(b);
    for (int round = 0; round < 8; ++round) {
        if (round > 0) y = betaLower_reg(a, b, x);
        bracketPoint();
        if (x == 1.0 || x == 0.0) break;
        double d = (a - 1.0) * std::log(x) + (b - 1.0) * std::log(1.0 - x) + lgm;
        if (d < -MAXLOG) return Step::finished;
        if (d > MAXLOG) break;
        d = (y - target) / std::exp(d);
        double xt = x - d;
        if (xt <= x0) {
            const double share = (x - x0) / (x1 - x0);
            xt = x0 + 0.5 * share * (x - x0);
            if (xt <= 0.0) break;
        }
        if (xt >= x1) {
            const double share = (x1 - x) / (x1 - x0);
            xt = x1 - 0.5 * share * (x1 - x);
            if (xt >= 1.0) break;
        }
        x = xt;
        if (std::fabs(d / x) < 128.0 * MACHEP) return Step::finished;
    }
    tolerance = 256.0 * MACHEP;
    return Step::halving;
}

/// Takes the point into the bracket, or the bracket's end where the point has left it.
void BetaInverse::bracketPoint() {
    if (y < yl) {
        x = x0;
        y = yl;
    } else if (y > yh) {
        x = x1;
        y = yh;
    } else if (y < problem.target) {
        x0 = x;
        yl = y;
    } else {
        x1 = x;
        yh = y;
    }
}

BetaInverse::Step BetaInverse::underflow() {
    writeErrorText("ibetaLower_reg_inv: UNDERFLOW");
    x = 0.0;
    return Step::finished;
}

}  // namespace

double betaLower_reg_inv(double aa, double bb, double y) {
    if (!(y > 0.0)) return 0.0;
    if (y >= 1.0) return 1.0;
    if (!requireShapes(aa, bb)) return -1.0;
    return BetaInverse(aa, bb, y).solve();
}

}  // namespace veldane
