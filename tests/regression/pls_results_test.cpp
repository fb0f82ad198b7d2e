#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

constexpr int n = 15, p = 7, A = 4;

class PlsResults : public testing::Test {
  protected:
    PlsResults() {
        PLS_Init();
        const ArrayDesc xw = {0, p, 1, 1, xWeights_[0]}, yw = {0, 2, 1, 1, yWeights_[0]};
        EXPECT_EQ(PLS_SetXWeights(&xw) + PLS_SetYWeights(&yw) + build(A), 0);
    }
    ~PlsResults() override { PLS_Terminate(); }

    int build(int factors) {
        const ArrayDesc x = {0, p, n, 1, X[0]}, y = {0, 2, n, 1, Y[0]};
        return PLS_BuildModel(&x, &y, 1, factors, VELDANE_PLS_COVARIANCE_KERNEL);
    }

    FMatrix X = randomMatrix(n, p, 31), Y = randomMatrix(n, 2, 32);
    FMatrix xWeights_ = matrixOf({{1, 2, 0.5f, 1, 1, 3, 1}}), yWeights_ = matrixOf({{2, 0.25f}});
};

TEST_F(PlsResults, FitLeveragesAndSumsFollowFromTheStoredArrays) {
    const FMatrix T = fetch(PLS_GetXScores), Q = fetch(PLS_GetYLoadings);
    HandedOut fit, samples, variables;
    ASSERT_EQ(PLS_GetPrediction(&fit), 0);
    EXPECT_TRUE(isClose(cubePage(FCube(n, 2, A, fit.data), A - 1),
                        matAdd(matMultiply(T, Q), fetch(PLS_GetYMeans)), 1e-5));

    EXPECT_EQ(PLS_GetLeverages(nullptr, &variables), -1);
    EXPECT_EQ(PLS_GetLeverages(&samples, nullptr), 0);
    ASSERT_EQ(PLS_GetLeverages(&samples, &variables), 0);
    const FMatrix hat = matMultiply(matMultiply(T, matInverse(matXtX(T))), matTranspose(T));
    const FMatrix leverage = samples.copy(), t2 = fetch(PLS_GetHotellingTSquare);
    for (int i = 0; i < n; ++i) {
        EXPECT_NEAR(leverage[i][A - 1], 1.0f / n + hat[i][i], 1e-5);
        EXPECT_NEAR(t2[i][A - 1], (n - 1) * hat[i][i], 1e-4);
    }
    EXPECT_NEAR(matRowSum(variables.copy(), A - 1), A, 1e-5) << "weights of unit length";

    const FMatrix sums = fetch(PLS_GetSquSum);
    const FMatrix t = matColumn(T, 1);
    const FMatrix expected = matrixOf({{matSumSquare(t)},
                                       {matRowSumSquare(fetch(PLS_GetXLoadings), 1)},
                                       {1},
                                       {matRowSumSquare(Q, 1)},
                                       {matMin(t)},
                                       {matMax(t)}});
    EXPECT_TRUE(isClose(matColumn(sums, 1), expected, 1e-6));

    HandedOut onX, onY;
    ASSERT_EQ(PLS_GetCorrelationLoadings(&onX, &onY), 0);
    EXPECT_NEAR(onX.copy()[1][3], matCorrelation(t, matColumn(X, 3)), 1e-6);
    EXPECT_NEAR(onY.copy()[1][1], matCorrelation(t, matColumn(Y, 1)), 1e-6);
}

TEST_F(PlsResults, ProjectionGivesTheScoresBackAndHasItsOwnVariances) {
    const InDesc x(matScaleColumns(X, xWeights_));
    HandedOut means, rotation, scores, t2;
    ASSERT_EQ(PLS_GetXMeans(&means) + PLS_GetRotationMatrix(&rotation), 0);
    const auto project = [&](const ArrayDesc* in, int factors) {
        return PLS_Project(in, &means, nullptr, nullptr, &rotation, &scores, &t2, 1, factors);
    };
    ASSERT_EQ(project(&x, 3), 0);
    const auto firstThree = [](const FMatrix& a) { return matSubMatrix(a, 0, n - 1, 0, 2); };
    EXPECT_TRUE(isClose(scores.copy(), firstThree(fetch(PLS_GetXScores)), 1e-5));
    EXPECT_TRUE(isClose(t2.copy(), firstThree(fetch(PLS_GetHotellingTSquare)), 1e-4));
    const InDesc half(matSubMatrix(x.elements, 0, 6, 0, p - 1));
    ASSERT_EQ(project(&half, 1), 0);
    const FMatrix t = scores.copy();
    EXPECT_NEAR(t2.copy()[0][0], t[0][0] * t[0][0] * 6 / matSumSquare(t), 1e-4);
    for (const int factors : {0, A + 1, -1}) EXPECT_EQ(project(&x, factors), -1);
    EXPECT_EQ(project(nullptr, 1), -1);
}

TEST_F(PlsResults, LimitsOfQUseTheFactorsThatAreLeft) {
    const FMatrix T = fetch(PLS_GetXScores), limits = fetch(PLS_GetQResLim);
    ASSERT_EQ(limits.cols(), A);
    // For a single eigenvalue l the exponent h0 is 1/3, and the base has no l in it.
    const double l = matColumnSumSquare(T, A - 1) / (n - 1);
    const double c = 1.65 * std::sqrt(2.0 / 9) + 1 - 2.0 / 9;
    EXPECT_NEAR(limits[0][A - 1], l * c * c * c, 1e-4 * l);
    EXPECT_GT(limits[0][0], limits[0][1]);

    for (int j = 0; j < p; ++j) X[0][j] *= 1e6f;
    HandedOut out, other;
    ASSERT_EQ(build(1) + PLS_GetLeverages(&out, &other), 0);
    EXPECT_EQ(out.copy()[0][0], 0.99f) << "leverage is capped";
    PLS_Init();
    EXPECT_EQ(fetch(PLS_GetQResLim).size(), 0);
    EXPECT_EQ(PLS_GetLeverages(&out, &other) + PLS_GetCorrelationLoadings(&out, &other), 0);
    EXPECT_EQ(PLS_GetSquSum(nullptr), -1);
    PLS_Terminate();
    EXPECT_EQ(PLS_GetPrediction(&out), -1);
}

}  // namespace
}  // namespace veldane::test
