#include <cmath>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

const FMatrix table = matrixOf({{1, nan, -2, 3}, {2, nan, nan, 5}, {4, nan, 6, -1}});
const FMatrix gaps = matAddScalar(randomMatrix(200, 4, 4, {0.2, 0.0, 0.0}), 3.0f);

/// Covariance of the first columns over the rows where both are there, by two passes in double.
double covariance(const FMatrix& a, const FMatrix& b, int lost) {
    double sums[3] = {}, products = 0.0;
    const auto eachPair = [&](auto action) {
        for (int i = 0; i < a.rows(); ++i)
            if (!isMissing(a[i][0] + b[i][0])) action(a[i][0], b[i][0]);
    };
    eachPair([&](double x, double y) { sums[0] += x, sums[1] += y, ++sums[2]; });
    const auto [sumX, sumY, count] = sums;
    eachPair([&, mx = sumX / count, my = sumY / count](double x, double y) {
        products += (x - mx) * (y - my);
    });
    return products / (count - lost);
}

}  // namespace

TEST(SumsTest, SkipOrSpreadNaNAsStated) {
    const FMatrix means = matrixOf({{7.0f / 3, nan, 2, 7.0f / 3}});
    EXPECT_TRUE(sameBits(matColumnSums(table), matrixOf({{7, 0, 4, 7}})));
    EXPECT_TRUE(sameBits(matColumnMeans(table), means));
    EXPECT_TRUE(sameBits(matColumnMeansVector(table), means.storage()));
    EXPECT_TRUE(sameBits(matRowMeans(table), FMatrix(3, 1, nan)));
    EXPECT_TRUE(sameBits(matRowMeansVector(table), matrixOf({{2.0f / 3, 3.5f, 3}}).storage()));
    EXPECT_TRUE(sameBits(matColumnSumSquares(table), matrixOf({{21, 0, 40, 35}}).storage()));
    EXPECT_TRUE(matColumnSumSquare(table, 2) == 40.0f && matRowSum(table, 1) == 7.0f);
    EXPECT_TRUE(isMissing(matRowSumSquare(table, 0)) && isMissing(matSumSquare(table)));
    EXPECT_TRUE(matTrace(matrixOf({{1, 9}, {9, nan}})) == 1.0f && matTrace(table) == 0.0f);
    EXPECT_TRUE(matMin(table) == -2.0f && matMax(table) == 6.0f);
    EXPECT_TRUE(matMin(FMatrix(2, 2, nan)) == 3.4028235e38f && matMax(FMatrix()) == -3.4028235e38f);
    FMatrix given;
    EXPECT_TRUE(sameBits(matCentre(table, given), matSubtract(table, means)));
    EXPECT_TRUE(sameBits(given, means));
}

TEST(SumsTest, RoundAfterEachTermInIndexOrder) {
    // In another order, or in double, the ones would count.
    const FMatrix row = matrixOf({{1e8f, 1, 1, 1, -1e8f, 3}}), column = transposed(row);
    const FMatrix squares = matrixOf({{4096, 1, 1, 1}}), down = transposed(squares);
    const float sums[] = {matColumnSums(column)[0][0], matRowSum(row, 0),
                          6 * matColumnMeans(column)[0][0], 6 * matRowMeans(row)[0][0],
                          6 * matRowMeansVector(row)[0]};
    const float totals[] = {matRowSumSquare(squares, 0), matSumSquare(squares),
                            matColumnSumSquare(down, 0), matColumnSumSquares(down)[0]};
    for (const float sum : sums) EXPECT_EQ(sum, 3.0f);
    for (const float total : totals) EXPECT_EQ(total, 16777216.0f);
}

TEST(StdDevTest, AgreesWithTwoPassesInDouble) {
    for (const int lost : {0, 1}) {
        const FMatrix actual = matColumnStdDev(gaps, lost == 1), x = matColumn(gaps, 3);
        EXPECT_NEAR(actual[0][3], std::sqrt(covariance(x, x, lost)), 2e-6);
    }
    EXPECT_TRUE(sameBits(matColumnVariance(gaps), matSquare(matColumnStdDev(gaps, true))));
}

TEST(CorrelationTest, UsesTheRowsWhereBothAreThere) {
    const FMatrix x = matColumn(gaps, 0), y = matAdd(x, matColumn(gaps, 1));
    // y lacks what x lacks and more, so 0 y takes the rest from x.
    const FMatrix both = matAdd(x, matScale(y, 0));
    const double variances = covariance(both, both, 0) * covariance(y, y, 0);
    EXPECT_NEAR(matCorrelation(x, y), covariance(both, y, 0) / std::sqrt(variances), 1e-4);
    EXPECT_TRUE(isMissing(matCorrelation(x, FMatrix(200, 1, 4.0f))));
    EXPECT_TRUE(std::signbit(matCorrelation(x, table)) && matCorrelation(x, table) == 0.0f);
}

TEST(NormalizeColumnsTest, SignFollowsTheLargestElement) {
    const FMatrix a = viewOf(matrixOf({{-1, 3, 0, 3e38f}, {-2, -4, 0, -3e38f}}));
    for (const FMatrix& each : {a, FMatrix(0, 3), FMatrix(3, 0)}) matNormalizeColumns(each);
    const float half = std::sqrt(0.5f), fifth = std::sqrt(0.2f);
    const FMatrix expected = matrixOf({{fifth, 0.6f, nan, half}, {2 * fifth, -0.8f, nan, -half}});
    EXPECT_TRUE(isClose(a, expected, 1e-7));
}

}  // namespace veldane::test
