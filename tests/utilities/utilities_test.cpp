#include <cmath>

#include "core/descriptor.h"
#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"
#include "utilities/designs.h"
#include "utilities/explained_variance.h"
#include "utilities/hotelling_limit.h"
#include "utilities/variable_weights.h"

namespace veldane::test {

static const FMatrix table = matrixOf({{4, 2, 0}, {8, 1, 3}});

TEST(UtilitiesTest, ReplaceInTheBufferOrByMemoryOfTheLibrary) {
    InDesc weights(matrixOf({{2, 3, nan}})), narrow(matrixOf({{1, 2}}));
    const auto applied = [&](auto call, const FMatrix& inBuffer, const FMatrix& fromLibrary) {
        InDesc copied(table), handedOut(table);
        handedOut.kind = VELDANE_KIND_LIBRARY;
        call(&copied);
        call(&handedOut);
        EXPECT_TRUE(sameBits(copied.elements, inBuffer));
        EXPECT_TRUE(sameBits(handedOut.elements, table));
        EXPECT_TRUE(sameBits(descToMatrix(&handedOut), fromLibrary));
    };
    const FMatrix samples = explainedBySample(table), variables = explainedByVariable(table);
    const FMatrix centred = matrixOf({{-1, 1.5f, -0.5f}, {1, -1.5f, 0.5f}});
    const FMatrix weighted = matrixOf({{8, 6, nan}, {16, 3, nan}});
    applied(restoexplsam, samples, samples);
    applied(restoexplvar, variables, variables);
    applied(doublecenter, centred, centred);
    applied([&](ArrayDesc* d) { computeweighted(d, &weights); }, weighted, weighted);
    applied([&](ArrayDesc* d) { computeweighted(d, &narrow); }, table, FMatrix());
    // The weights may be a row of the data.
    InDesc own(table);
    const ArrayDesc first = {0, 3, 1, 1, own.data};
    computeweighted(&own, &first);
    EXPECT_TRUE(sameBits(own.elements, matrixOf({{16, 4, 0}, {32, 2, 0}})));
}

TEST(UtilitiesTest, RefuseNullAndWriteNothing) {
    const InDesc in(table);
    HandedOut out;
    for (const auto each : {restoexplsam, restoexplvar}) each(nullptr);
    calculateHotellingT2Limits(5, 1, nullptr);
    computeweight(&in, &in, nullptr, &out);
    computeweighted(nullptr, &in);
    EXPECT_TRUE(stddev(&in, 0, nullptr) == 0 && fullfrac(0, nullptr, 1, nullptr) == 0);
    EXPECT_TRUE(doublecenter(nullptr) == -1 && stddev(nullptr, 0, &out) == -1);
    EXPECT_TRUE(statistics(&in, &out) == -1 && StandardSelect(nullptr, 5, &out) == -1);
    EXPECT_EQ(computeexvalidation(&in, &in, nullptr, &out, 1), -1);
    EXPECT_EQ(computeexvalidation(&in, &in, &in, &out, 0), -1);
    EXPECT_EQ(compute_r2(&in, &in, &in, &in, &out, -1), -1);
    EXPECT_EQ(compute_r2(&in, &in, &in, nullptr, &out, 1), -1);
    EXPECT_EQ(compute_r2(&in, &in, nullptr, &in, &out, 0), -1);
    EXPECT_FALSE(out.written());
}

TEST(UtilitiesTest, HandOutTheirResults) {
    const InDesc in(table), pairs(matrixOf({{1, 2}, {2, 4}, {3, 9}}));
    const int kinds[] = {0, 0, 0}, levels[] = {2, 1};
    const auto expectOut = [](auto call, const FMatrix& expected) {
        HandedOut out;
        call(&out);
        EXPECT_TRUE(sameBits(descToMatrix(&out), expected));
    };
    expectOut([&](auto* out) { stddev(&in, 0, out); }, matColumnStdDev(table, true));
    expectOut([&](auto* out) { stddev(&in, 1, out); }, RowStdDev(table, true));
    expectOut([&](auto* out) { stddev(&in, 2, out); }, FMatrix());
    expectOut([&](auto* out) { computeweight(&in, &pairs, kinds, out); }, matrixOf({{1, 2, 3}}));
    expectOut([&](auto* out) { fullfrac(2, levels, 1, out); }, matrixOf({{1, 1}, {2, 1}}));
    expectOut([&](auto* out) { compute_r2(&in, &in, &in, nullptr, out, 0); },
              explainedByFits(table, table, table));
    HandedOut vector, cube;
    EXPECT_TRUE(statistics(&pairs, &vector) == 0 && vector.rows == 6 && vector.data[0] == 3.5f);
    EXPECT_EQ(computeexvalidation(&in, &in, &in, &cube, 1), 0);
    EXPECT_TRUE(cube.rows == 9 && cube.cols == 3 && cube.pages == 1 && cube.data[6] == 0.0f);
}

TEST(ExplainedVarianceTest, TurnsResidualsIntoPercentages) {
    // What is left of 0 is wanted to be missing, and only a negative share becomes 0.
    const FMatrix residuals =
        matrixOf({{4, 2, 0, 5}, {-4, 2, nan, -1}, {0, 2, 0, nan}, {nan, 1, 0, 2}});
    const FMatrix percents =
        matrixOf({{0, 50, nan, -25}, {0, 0, nan, 75}, {nan, nan, nan, nan}, {nan, nan, nan, nan}});
    EXPECT_TRUE(sameBits(explainedBySample(viewOf(residuals)), percents));
    EXPECT_TRUE(sameBits(explainedByVariable(transposed(residuals)), transposed(percents)));
    EXPECT_EQ(explainedBySample(FMatrix(2, 0)).size() + explainedByVariable({}).size(), 0);
}

TEST(ExplainedVarianceTest, ComparesFitsWithTheData) {
    // Squares around the means: 8, 2 and 0.
    const FMatrix x = matrixOf({{1, nan, 2}, {3, 4, 2}, {5, 6, 2}});
    const FMatrix fit = matrixOf({{3, 5, 2}, {3, 4, 1}, {3, nan, 2}});
    FCube fits(3, 3, 2, 2.0f);
    for (int i = 0; i < 9; ++i) fits.storage()[2 * i] = fit[0][i];
    const FMatrix first = matrixOf({{0}, {1}, {-infinity}});
    // What has no fit, or one of another shape, stays at -1.
    const FMatrix third = matConcat(first, matrixOf({{-0.375f, -1}, {-9, -1}, {nan, -1}}));
    EXPECT_TRUE(sameBits(explainedByFits(x, fits, 3), third));
    const FMatrix second = matConcat(first, FMatrix(3, 1, -1.0f));
    EXPECT_TRUE(sameBits(explainedByFits(x, fit, FMatrix(1, 3, 2.0f)), second));
}

TEST(HotellingLimitTest, FollowsPublishedQuantiles) {
    // Upper points of F(1, 10) and F(3, 20), E. S. Pearson and H. O. Hartley, Biometrika Tables for
    // Statisticians 1 (1966), table 18. Degrees of freedom are cut off, what stands around F is
    // not.
    const float cases[][4] = {{11, 1, 0.05f, 4.96f},
                              {11, 1, 0.01f, 10.04f},
                              {23.6f, 3.5f, 0.05f, 3.10f},
                              {23, 3, 0.01f, 4.94f}};
    for (const auto& [n, a, alpha, F] : cases) {
        EXPECT_NEAR(HotellingT2Limit(n, a, alpha, 1) * (n - a) / ((n - 1) * a), F, 0.005);
        EXPECT_NEAR(HotellingT2Limit(n, a, alpha, 2) * (n - a) * n / ((n * n - 1) * a), F, 0.005);
        EXPECT_EQ(HotellingT2Limit(n, a, alpha, 0), -1.0f);
    }
}

TEST(HotellingLimitTest, TableHoldsLevelsDownAndComponentsAcross) {
    const float levels[] = {0.001f, 0.005f, 0.01f, 0.05f, 0.1f, 0.25f};
    EXPECT_TRUE(sameBits(hotellingT2Limits(20, 4), generate(6, 4, [&](int i, int j) {
                             return HotellingT2Limit(20, static_cast<float>(j + 1), levels[i], 2);
                         })));
    EXPECT_TRUE(sameBits(hotellingT2Limits(20, -3), FMatrix(6, 0)));
    testing::internal::CaptureStdout();
    EXPECT_EQ(hotellingT2Limits(2, 2)[0][1], -infinity);
    for (const int n : {2147483647, -2147483647 - 1}) hotellingT2Limits(n, 1);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}

TEST(VariableWeightsTest, FollowTheKinds) {
    // Standard deviations 1, 5, 0, 1 and none.
    const FMatrix data = matrixOf({{1, 0, 2, 1, nan}, {2, 5, 2, 2, 7}, {3, 10, 2, 3, nan}});
    const FMatrix parameters =
        matrixOf({{3, 1, 9}, {4, 5, 9}, {6, 0, 9}, {8, -1, 9}, {2, 1, 9}, {0, 0, 9}});
    const auto weights = [&](std::initializer_list<int> kinds) {
        return variableWeights(data, parameters, kinds.begin());
    };
    EXPECT_TRUE(sameBits(weights({0, 0, 0, 0, 0}), matrixOf({{3, 4, 6, 8, 2}})));
    EXPECT_TRUE(sameBits(weights({1, 1, 1, 1, 1}), matrixOf({{1.5f, 0.4f, 1, 1, nan}})));
    EXPECT_TRUE(sameBits(weights({3, -1, 7, 9, 4}), matrixOf({{1, 5, 0, 1, nan}})));
    constexpr float share = 1e-10f;
    // The two candidates for the weight of the passive ones, and what has no variance beside them.
    EXPECT_TRUE(
        sameBits(weights({0, 3, 2, 2, 2}), matrixOf({{3, 5, share / 5, share / 5, share / 5}})));
    EXPECT_TRUE(sameBits(weights({2, 2, 3, 3, 2}), matrixOf({{0, 0, 0, 1, 0}})));
    const float large = std::sqrt(3.4028235e38f) * share;
    EXPECT_TRUE(sameBits(weights({2, 2, 2, 2, 0}), matrixOf({{large, large, large, large, 2}})));

    const int passive[5] = {2, 2, 2, 2, 2};
    for (const FMatrix& few : {FMatrix(4, 2, 1.0f), FMatrix(5, 1, 1.0f)})
        EXPECT_TRUE(sameBits(variableWeights(data, few, passive), FMatrix()));
}

TEST(FullFactorialTest, CrossesTheFactorsWithTheFirstFastest) {
    const int levels[] = {2, 3, 0, 1}, tooMany[] = {46341, 46341}, none[] = {0, 2}, bad[] = {2, -1};
    const FMatrix once = matrixOf({{1, 1}, {2, 1}, {1, 2}, {2, 2}, {1, 3}, {2, 3}});
    for (const int times : {-4, 0, 1}) EXPECT_TRUE(sameBits(fullFactorial(2, levels, times), once));
    // A count of 0 stands for the one before; three copies follow each other.
    EXPECT_TRUE(sameBits(fullFactorial(4, levels, 3), generate(54, 4, [](int i, int j) {
                             const int divisor[] = {1, 2, 6, 18}, count[] = {2, 3, 3, 1};
                             return static_cast<float>(i % 18 / divisor[j] % count[j] + 1);
                         })));
    EXPECT_TRUE(sameBits(fullFactorial(-1, levels, 1), FMatrix()));
    EXPECT_TRUE(sameBits(fullFactorial(2, nullptr, 1), FMatrix()));
    for (const int* each : {none, bad}) EXPECT_TRUE(sameBits(fullFactorial(2, each, 1), FMatrix()));
    EXPECT_THROW(fullFactorial(2, tooMany, 1), int);
    EXPECT_THROW(fullFactorial(2, levels, 2147483647), int);
    EXPECT_THROW(fullFactorial(2, levels, 200000000), int);
}

TEST(StandardSelectionTest, IsCutToItsLength) {
    EXPECT_TRUE(sameBits(standardSelection(7), matrixOf({{4, 8, 11, 14, 2, 0, 0}})));
    EXPECT_TRUE(sameBits(standardSelection(3), matrixOf({{4, 8, 11}})));
    EXPECT_EQ(standardSelection(-1).size(), 0);
}

}  // namespace veldane::test
