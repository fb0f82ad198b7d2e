#include "linalg/kernels.h"
#include "linalg/sliding_windows.h"
#include "support/compare.h"

namespace veldane::test {

TEST(RowStatisticsTest, SumsAreThoseOfPlainLoopsUnderEachInstructionSet) {
    for (const int rows : {1, 3, 16, 33}) {
        for (const int cols : {1, 15, 16, 67, 130}) {
            const FMatrix x = viewOf(randomMatrix(rows, cols, 11, {0.1, 0.01, 0.1}));
            const FVector expected(rows);
            for (int i = 0; i < rows; ++i) {
                const auto missing = std::count_if(x[i], x[i] + cols, isMissing<float>);
                expected[i] = matRowSum(x, i) / static_cast<float>(cols - missing);
            }
            withEachInstructionSet(
                [&] { EXPECT_TRUE(sameBits(matRowMeansVector(x), expected)) << cols; });
        }
    }
}

TEST(SlidingWindowsTest, KeepTheOrderOfTheirTermsUnderEachInstructionSet) {
    const FMatrix x = randomMatrix(1, 700, 13, {0.001, 0.001, 0.1});
    for (const int outputs : {0, 1, 3, 7, 31, 64, 95, 97, 500}) {
        for (const int width : {1, 13, 49, 81, 101}) {
            const Vector<Tap<float>> taps(width);
            const FVector sums(outputs, 0.0f), windows(outputs, 0.0f), actual(outputs);
            for (int m = 0; m < width; ++m) {
                taps[m] = {0.1f * static_cast<float>(m % 7), m % 2 == 0 ? m : -m};
                for (int j = 0; j < outputs; ++j) {
                    sums[j] += taps[m].weight * x[0][99 + j + taps[m].offset];
                    windows[j] += x[0][j + m];
                }
            }
            withEachInstructionSet([&] {
                slidingSums(x[0] + 99, taps.data(), width, actual.data(), outputs);
                EXPECT_TRUE(sameBits(actual, sums)) << outputs << " by " << width;
                windowSums(x[0], width, actual.data(), outputs);
                EXPECT_TRUE(sameBits(actual, windows)) << outputs << " of " << width;
            });
        }
    }
}

}  // namespace veldane::test
