#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "statistics/chi_square.h"
#include "statistics/f_distribution.h"
#include "statistics/gamma.h"
#include "statistics/incomplete_beta.h"
#include "statistics/incomplete_gamma.h"
#include "statistics/normal.h"
#include "statistics/student_t.h"
#include "veldane.h"

namespace veldane::test {
namespace {

TEST(Distributions, AgreeWithTheTable) {
    const struct {
        const char* call;
        double actual, expected;
    } cases[] = {
#define CASE(call, expected) {#call, call, expected},
#include "data/distributions.inc"
#undef CASE
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(c.actual, c.expected, 1e-10 * std::fabs(c.expected)) << c.call;
    }
}

// E. S. Pearson and H. O. Hartley, Biometrika Tables for Statisticians, vol. 1 (1954).
TEST(Distributions, AgreeWithPublishedTables) {
    EXPECT_NEAR(STAT_FDist(5, 10, 0.05), 3.33, 0.005);
    EXPECT_NEAR(STAT_TDist(10, 0.975), 2.228, 0.0005);
    EXPECT_EQ(STAT_TDist(10, 0.975), STAT_TDist(10, 1.0 - 0.975));
    EXPECT_NEAR(STAT_Chisquare(10, 0.05f), 18.3070, 0.00005);
    EXPECT_NEAR(STAT_NormCDF(1.0), 0.8413447, 0.00000005);
    EXPECT_NEAR(STAT_NormPDF(8.0, 5.0, 9.0), 0.2419707 / 3.0, 0.00000002);
    EXPECT_EQ(STAT_NormPDF(0.0, 0.0, 0.0), 0.0);
}

TEST(Distributions, ChisquareTakesTheFloatAsItIs) {
    EXPECT_EQ(STAT_Chisquare(1, 0.05f), chiCDF_upper_inv(1, 0.05000000074505806));
    EXPECT_NE(STAT_Chisquare(1, 0.05f), chiCDF_upper_inv(1, 0.05));
}

TEST(Distributions, TheInverseOfStudentsTIsCoarse) {
    for (const int df : {1, 4, 30, 10000}) {
        for (const double p : {0.0, 0.001, 0.2, 0.5, 0.8, 0.975, 1.0}) {
            SCOPED_TRACE(testing::Message() << "df " << df << ", p " << p);
            const double t = tCDF_inv(p, df);
            EXPECT_EQ(t < 0.0, p < 0.5);
            // The last of 23 halvings leaves an odd multiple of 2^-23.
            const double x = t * t / (df + t * t) * 8388608.0;
            EXPECT_NEAR(std::fmod(x, 2.0), 1.0, 1e-6);
            const double lower = std::max(0.0, (x - 1.001) / 8388608.0);
            const double upper = std::min(1.0, (x + 1.001) / 8388608.0);
            EXPECT_LE(betaLower_reg(0.5, 0.5 * df, lower), std::fabs(1.0 - 2.0 * p));
            EXPECT_GE(betaLower_reg(0.5, 0.5 * df, upper), std::fabs(1.0 - 2.0 * p));
        }
    }
}

TEST(IncompleteBeta, TheComplementKeepsASmallUpperTail) {
    for (const double x : {0.0, 1e-12, 0.2, 0.6, 0.999, 1.0}) {
        const double upper = incompleteBeta(3.0, 7.0, x, true);
        EXPECT_NEAR(incompleteBeta(3.0, 7.0, x, false) + upper, 1.0, 3e-16);
        EXPECT_NEAR(upper, incompleteBeta(7.0, 3.0, 1.0 - x, false), 1e-13 * upper);
    }
}

// Wanted: 0 comes out of a fraction that has not converged.
TEST(IncompleteBeta, AFractionOutOfRoundsCountsAsZero) {
    EXPECT_EQ(betaLower_reg(5e5, 5e5, 0.5), 0.0);
    EXPECT_EQ(betaLower_reg(5e5, 5e5, 0.50000001), 0.9999999999999999);
}

TEST(Gamma, TellsTheSign) {
    const struct {
        double x;
        int gammaSign, logSign;
    } cases[] = {{5.5, 1, 1}, {-0.5, 1, -1}, {-33.5, 1, 1}, {-34.5, -1, -1}, {-35.5, 1, 1}};
    for (const auto& [x, gammaSign, logSign] : cases) {
        int sign = 0;
        const double value = gamma(x, &sign);
        EXPECT_EQ(sign, gammaSign) << x;
        EXPECT_EQ(std::signbit(value), logSign < 0) << x;
        gamma_log(x, &sign);
        EXPECT_EQ(sign, logSign) << x;
    }
}

}  // namespace
}  // namespace veldane::test
