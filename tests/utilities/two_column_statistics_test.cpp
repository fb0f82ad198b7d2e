#include "utilities/two_column_statistics.h"

#include <cmath>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {

TEST(TwoColumnStatisticsTest, FollowTheFormulas) {
    // Sums 12 and 16, squares 50 and 74, products 59. The line of a on b is 1.1 b - 1.4 and leaves
    // 0.2, 0.1, -1.1 and 0.8; that of b on a is 11/14 a + 23/14 and leaves -6, -3, 14 and -5, each
    // a 14th. Wanted: in each the absolute value of the bias is taken off, so that one spread is
    // around the mean and the other is not.
    const FMatrix a = matrixOf({{1}, {2}, {3}, {6}}), b = matrixOf({{2}, {3}, {5}, {6}});
    const float forth = 11 / 14.0f, off = 23 / 14.0f, correlation = 44 / std::sqrt(40 * 56.0f);
    const float near = std::sqrt(2 / 3.0f), far = std::sqrt(6.0f), rms = std::sqrt(1.5f);
    const float left = std::sqrt(1.9f), back = std::sqrt(266.0f) / 14, r3 = std::sqrt(3.0f);
    const FMatrix rows = matrixOf({{left / 2, back / 2},
                                   {far, near},
                                   {1, -1},
                                   {forth, 1.1f},
                                   {off, -1.4f},
                                   {correlation, correlation},
                                   {left / r3, back / r3},
                                   {1.1f, forth},
                                   {-1.4f, off}});
    EXPECT_TRUE(isClose(predictionStatistics(matConcat(b, a), matConcat(a, b)), rows, 1e-6));
    const float pairs[][6] = {{forth, off, correlation, rms, near, 1},
                              {1.1f, -1.4f, correlation, rms, far, 1}};
    const FVector ab = pairStatistics(matConcat(a, b)), ba = pairStatistics(matConcat(b, a));
    for (int i = 0; i < 6; ++i) EXPECT_FLOAT_EQ(ab[i], pairs[0][i]) << i;
    for (int i = 0; i < 6; ++i) EXPECT_FLOAT_EQ(ba[i], pairs[1][i]) << i;

    FCube pages(4, 1, 2, 1.0f);
    for (int i = 0; i < 4; ++i) pages[i][0][1] = b[i][0];
    const FCube result = predictionStatistics(pages, a, 2);
    EXPECT_TRUE(sameBits(cubePage(result, 1), predictionStatistics(b, a)));
    EXPECT_TRUE(result[3][0][0] == 0.0f && isMissing(result[7][0][0]));
    EXPECT_EQ(predictionStatistics(pages, a, 3).rows(), 0);
    EXPECT_EQ(predictionStatistics(pages, FMatrix(3, 1, 1.0f), 2).rows(), 0);
    EXPECT_TRUE(sameBits(predictionStatistics(b, FMatrix(4, 2, 1.0f)), FMatrix()));
}

TEST(TwoColumnStatisticsTest, MissingValuesCountAsObjects) {
    const FMatrix r = matrixOf({{1}, {2}, {nan}, {4}}), p = matrixOf({{2}, {nan}, {5}, {6}});
    // Sums 7 and 13, squares 21 and 65, products 26, n = 4; p - r is 1 and 2.
    const float slope = (4 * 26 - 7 * 13) / (4 * 21 - 49.0f), shift = 0.75f;
    const float around = std::sqrt((0.25f * 0.25f + 1.25f * 1.25f) / 3);
    const float expected[] = {slope, (13 - slope * 7) / 4, 1, std::sqrt(1.25f), around, shift};
    const FVector pairs = pairStatistics(matConcat(r, p)), none = pairStatistics({});
    for (int i = 0; i < 6; ++i) EXPECT_FLOAT_EQ(pairs[i], expected[i]) << i;
    EXPECT_TRUE(isMissing(none[0]) && isMissing(none[5]));
    const FMatrix rows = predictionStatistics(p, r);
    EXPECT_FLOAT_EQ(rows[standardError][0], std::sqrt((1.75f * 1.75f + 2.75f * 2.75f) / 3));
    EXPECT_FLOAT_EQ(rows[predictionCorrelation][0], 13 / std::sqrt(91.0f * 35));
}

}  // namespace veldane::test
