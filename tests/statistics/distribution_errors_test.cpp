#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "statistics/chi_square.h"
#include "statistics/constants.h"
#include "statistics/f_distribution.h"
#include "statistics/gamma.h"
#include "statistics/incomplete_beta.h"
#include "statistics/incomplete_gamma.h"
#include "statistics/normal.h"
#include "statistics/student_t.h"
#include "veldane.h"

namespace veldane::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// What a call returns and what it writes to the standard output.
struct Outcome {
    double value;
    std::string text;
};

template <class Call>
Outcome outcomeOf(Call call) {
    testing::internal::CaptureStdout();
    const double value = call();
    return {value, testing::internal::GetCapturedStdout()};
}

const std::string fText = "fCDF_upper: (m < 1) or (n < 1) or (x < 0)\n";
const std::string fInverseText = "fCDF_upper_inv: (m < 1) or (n < 1) or (y <= 0) or (y > 1)\n";
const std::string chiText = "chiCDF_upper_inv: (y < 0) or (y > 1) or (df < 1)\n";
const std::string aText = "betaLower_reg: aa <= 0\n", bText = "betaLower_reg: bb <= 0\n";

TEST(DistributionErrors, AreWrittenToTheStandardOutput) {
    const struct {
        const char* call;
        Outcome actual;
        double value;
        std::string text;
    } cases[] = {
#define CASE(call, value, text) {#call, outcomeOf([] { return call; }), value, text}
        CASE(fCDF_upper(0, 2, 1.0), -1.0, fText),
        CASE(fCDF_upper(2, 2, nan), -1.0, fText),
        CASE(fCDF_upper(2, 2, infinity), 0.0, ""),
        CASE(fCDF_upper_inv(3, 4, 1.0), 0.0, ""),
        CASE(fCDF_upper_inv(3, 4, 0.0), -1.0, fInverseText),
        CASE(fCDF_upper_inv(3, 4, nan), -1.0, fInverseText),
        CASE(STAT_FDist(0, 4, 0.5), -1.0, fInverseText),
        CASE(betaLower_reg(-1.0, 2.0, 0.0), 0.0, ""),
        CASE(betaLower_reg(-1.0, -1.0, 0.5), -1.0, aText + bText),
        CASE(betaLower_reg(nan, infinity, nan), -1.0, aText + bText + "betaLower_reg: xx < 0\n"),
        CASE(betaLower_reg(1.0, 1.0, 1.5), -1.0, "betaLower_reg: xx > 1\n"),
        CASE(incompleteBeta(-1.0, 1.0, 0.5, true), -1.0, ""),
        CASE(betaLower_reg_inv(-1.0, 2.0, 0.5), -1.0, aText),
        CASE(betaLower_reg_inv(2.0, 2.0, nan), 0.0, ""),
        CASE(betaLower_reg_inv(2.0, 2.0, 2.0), 1.0, ""),
        CASE(betaLower_reg_inv(0.001, 1.0, 0.001), 0.0, "ibetaLower_reg_inv: UNDERFLOW\n"),
        CASE(gamma(-5.0), MAXNUM, "gamma(): singularity\n"),
        CASE(gamma(-40.0), MAXNUM, "gamma(): overflow\n"),
        CASE(gamma(-infinity), MAXNUM, "gamma(): overflow\n"),
        CASE(gamma(1000.0), infinity, ""),
        CASE(gamma_log(0.0), MAXNUM, "gamma_log(): overflow \n"),
        CASE(gamma_log(-40.0), MAXNUM, "gamma_log(): overflow \n"),
        CASE(gamma_log(1e306), MAXNUM, "gamma_log(): overflow \n"),
        CASE(normalCDF(nan), 2.0, ""),
        CASE(normalCDF(-infinity), 0.0, ""),
        CASE(normalCDF(infinity), 1.0, ""),
        CASE(normalCDF_inv(0.0), -1.7976931348623157e308, "normalCDF_inv DOMAIN\n"),
        CASE(normalCDF_inv(1.0), 1.7976931348623157e308, "normalCDF_inv DOMAIN\n"),
        CASE(chiCDF_upper_inv(0.5, 0.5), -1.0, chiText),
        CASE(chiCDF_upper_inv(1.0, nan), -1.0, chiText),
        CASE(STAT_Chisquare(1, 0.0f), 0.0, "gammaUpper_reg_inv DOMAIN\n"),
        CASE(STAT_Chisquare(-1, 0.5f), 0.0, ""),
        CASE(gammaLower_reg(1.0, 0.0), 1.0, ""),  // wanted: the textbooks' edges exchanged
        CASE(gammaUpper_reg(1.0, 0.0), 0.0, ""),
        CASE(gammaLower_reg(2000.0, 1e-3), 0.0, "gamma(z,x) UNDERFLOW\n"),
        CASE(gammaUpper_reg(1.0, 1000.0), 0.0, "InvGammaC UNDERFLOW\n"),
        CASE(gammaUpper_reg_inv(0.0, 0.5), 0.0, "gammaUpper_reg_inv DOMAIN\n"),
        CASE(tCDF(1.0, 0), -1.0, ""),
        CASE(tCDF(0.0, 3), 0.5, ""),
        CASE(tCDF(infinity, 2), 1.0, ""),
        CASE(tCDF(-infinity, 3), 0.0, ""),
        CASE(STAT_TDist(-1, 0.9), 0.0, ""),
#undef CASE
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.actual.value, c.value) << c.call;
        EXPECT_EQ(c.actual.text, c.text) << c.call;
    }
}

TEST(DistributionErrors, ATDistWithoutDegreesOfFreedomTellsSoEachRound) {
    const Outcome outcome = outcomeOf([] { return STAT_TDist(0, 0.9); });
    EXPECT_EQ(outcome.value, 0.0);
    std::string expected;
    for (int round = 0; round < 23; ++round) expected += bText;
    EXPECT_EQ(outcome.text, expected);
}

TEST(DistributionErrors, NoArgumentKeepsAFunctionBusyForEver) {
    std::mt19937_64 generator(1);
    const auto anyDouble = [&] {
        const double corners[] = {nan, infinity, MAXNUM, 5e-324, 1.0, 0.5, 1e200, 1e-200};
        if (generator() % 2) return corners[generator() % 8];
        const uint64_t bits = generator() >> 1;  // no sign
        double result;
        std::memcpy(&result, &bits, sizeof result);
        return result;
    };
    const Outcome outcome = outcomeOf([&] {
        // Here the inverse would look from one end and from the other in turns.
        double sum = betaLower_reg_inv(6.8182902746769059e-98, 8.2416703075185544e-297, 0.67);
        for (int i = 0; i < 5000; ++i) {
            const double a = anyDouble(), b = anyDouble(), y = std::fmod(anyDouble(), 1.0);
            sum += betaLower_reg(a, b, y) + betaLower_reg_inv(a, b, y) + tCDF_inv(y, a);
            sum += gamma(-a) + gamma_log(-a) + gammaLower_reg(a, b) + tCDF(a, 100 + i);
        }
        return sum + gammaUpper_reg_inv(1e19, 0.3) + gammaUpper_reg_inv(5e-324, 0.3);
    });
    EXPECT_NE(outcome.text.find("gamma_log(): overflow \n"), std::string::npos);
}

}  // namespace
}  // namespace veldane::test
