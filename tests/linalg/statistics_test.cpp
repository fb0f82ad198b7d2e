#include <cmath>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

const FMatrix table = matrixOf({{1, nan, -2, 3}, {2, nan, nan, 5}, {4, nan, 6, -1}});
const FMatrix gaps = matAddScalar(randomMatrix(200, 4, 4, {0.2, 0.0, 0.0}), 3.0f);

/// Covariance of columns p and q over the rows where both are there, by two passes in double.
double covariance(const FMatrix& a, int p, int q, bool sample) {
    double meanX = 0.0, meanY = 0.0, sum = 0.0, count = 0.0;
    const auto eachPair = [&](auto action) {
        for (int i = 0; i < a.rows(); ++i) {
            if (!isMissing(a[i][p] + a[i][q])) action(a[i][p], a[i][q]);
        }
    };
    eachPair([&](double, double) { ++count; });
    eachPair([&](double x, double y) { meanX += x / count, meanY += y / count; });
    eachPair([&](double x, double y) { sum += (x - meanX) * (y - meanY); });
    return sum / (count - (sample ? 1.0 : 0.0));
}

}  // namespace

TEST(SumsTest, SkipOrSpreadNaNAsStated) {
    const FMatrix cases[][2] = {
        {matColumnSums(table), matrixOf({{7, 0, 4, 7}})},
        {matColumnMeans(table), matrixOf({{7.0f / 3, nan, 2, 7.0f / 3}})},
        {matRowMeans(table), FMatrix(3, 1, nan)},
        {matRowMeans(matrixOf({{1, 2}, {-3, 0}})), matrixOf({{1.5f}, {-1.5f}})},
        {matColumnSums(FMatrix(0, 2)), matrixOf({{0, 0}})}};
    for (const auto& [actual, expected] : cases) EXPECT_TRUE(sameBits(actual, expected));
    EXPECT_TRUE(sameBits(matColumnMeansVector(table), matColumnMeans(table).storage()));
    EXPECT_TRUE(sameBits(matRowMeansVector(table), matrixOf({{2.0f / 3, 3.5f, 3}}).storage()));
    EXPECT_TRUE(sameBits(matRowMeansVector(FMatrix(2, 3, nan)), FVector(2, nan)));
    EXPECT_TRUE(sameBits(matColumnSumSquares(table), matrixOf({{21, 0, 40, 35}}).storage()));
    EXPECT_EQ(matColumnSumSquare(table, 2), 40.0f);
    EXPECT_EQ(matRowSum(table, 1), 7.0f);
    EXPECT_TRUE(isMissing(matRowSumSquare(table, 0)) && isMissing(matSumSquare(table)));
    EXPECT_TRUE(matTrace(matrixOf({{1, 9}, {9, nan}})) == 1.0f && matTrace(table) == 0.0f);
    EXPECT_TRUE(matMin(table) == -2.0f && matMax(table) == 6.0f);
    EXPECT_TRUE(matMin(FMatrix(2, 2, nan)) == 3.4028235e38f && matMax(FMatrix()) == -3.4028235e38f);
}

TEST(SumsTest, RoundAfterEachTermInIndexOrder) {
    // In another order, or in double, the ones would count.
    const FMatrix row = matrixOf({{1e8f, 1, 1, 1, -1e8f, 3}}), column = transposed(row);
    for (const float sum :
         {matColumnSums(column)[0][0], matRowSum(row, 0), 6 * matColumnMeans(column)[0][0],
          6 * matRowMeans(row)[0][0], 6 * matRowMeansVector(row)[0]}) {
        EXPECT_EQ(sum, 3.0f);
    }
    const FMatrix squares = matrixOf({{4096, 1, 1, 1}}), down = transposed(squares);
    for (const float sum : {matRowSumSquare(squares, 0), matSumSquare(squares),
                            matColumnSumSquare(down, 0), matColumnSumSquares(down)[0]}) {
        EXPECT_EQ(sum, 16777216.0f);
    }
}

TEST(StdDevTest, AgreesWithTwoPassesInDouble) {
    for (const bool sample : {false, true}) {
        const FMatrix expected = generate(1, gaps.cols(), [&](int, int j) {
            return static_cast<float>(std::sqrt(covariance(gaps, j, j, sample)));
        });
        EXPECT_TRUE(isClose(matColumnStdDev(gaps, sample), expected, 3e-6));
        EXPECT_TRUE(sameBits(transposed(matRowStdDev(transposed(gaps), sample)),
                             matColumnStdDev(gaps, sample)));
        const FMatrix few = matrixOf({{nan, nan, 1}, {nan, 5, nan}, {nan, nan, 3}});
        EXPECT_TRUE(sameBits(matColumnStdDev(few, sample),
                             matrixOf({{nan, nan, sample ? std::sqrt(2.0f) : 1.0f}})));
    }
    EXPECT_TRUE(sameBits(matColumnVariance(gaps), matSquare(matColumnStdDev(gaps, true))));
}

TEST(CorrelationTest, UsesTheRowsWhereBothAreThere) {
    // y lacks what x lacks and more, so 0 y takes the rest from x.
    const FMatrix x = matColumn(gaps, 0), y = matAdd(x, matColumn(gaps, 1));
    const FMatrix both = matConcat(matAdd(x, matScale(y, 0)), y);
    const auto c = [&](int p, int q) { return covariance(both, p, q, false); };
    EXPECT_NEAR(matCorrelation(x, y), c(0, 1) / std::sqrt(c(0, 0) * c(1, 1)), 1e-4);
    const FMatrix line = matrixOf({{1, 9}, {2, 9}, {3, 9}});
    EXPECT_EQ(matCorrelation(line, matScale(line, -2)), -1.0f);
    EXPECT_TRUE(isMissing(matCorrelation(line, FMatrix(3, 1, 4.0f))));
    EXPECT_TRUE(std::signbit(matCorrelation(line, gaps)) && matCorrelation(line, gaps) == 0.0f);
}

TEST(CentreTest, TakesTheMeansOfWhatIsThere) {
    FMatrix means;
    const float m = 7.0f / 3;
    EXPECT_TRUE(sameBits(
        matCentre(table, means),
        matrixOf({{1 - m, nan, -4, 3 - m}, {2 - m, nan, nan, 5 - m}, {4 - m, nan, 4, -1 - m}})));
    EXPECT_TRUE(sameBits(means, matrixOf({{m, nan, 2, m}})));
    EXPECT_TRUE(sameBits(matCentre(table), matSubtract(table, means)));
    EXPECT_TRUE(sameBits(matCentre(FMatrix(0, 2), means), FMatrix(0, 2)));
}

TEST(NormalizeColumnsTest, SignFollowsTheLargestElement) {
    const FMatrix a = matrixOf({{-1, 3, 0, 3e38f}, {-2, -4, 0, -3e38f}});
    matNormalizeColumns(a);
    const float half = std::sqrt(0.5f), fifth = std::sqrt(0.2f);
    EXPECT_TRUE(
        isClose(a, matrixOf({{fifth, 0.6f, nan, half}, {2 * fifth, -0.8f, nan, -half}}), 1e-7));
    const FMatrix before = randomMatrix(30, 4, 8), view = viewOf(before);
    matNormalizeColumns(view);
    const FMatrix lengths = matSqrt(matDiagonal(matXtX(before)));
    EXPECT_TRUE(isClose(matHadamard(view, transposed(lengths)), before, 1e-6));
    matNormalizeColumns(FMatrix(0, 3));
    matNormalizeColumns(FMatrix(3, 0));
}

}  // namespace veldane::test
