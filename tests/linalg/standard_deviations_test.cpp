#include <cmath>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

/// Welford's recurrence as it is written, for each row.
FMatrix plainRows(const FMatrix& a, bool sample, bool guarded) {
    return generate(a.rows(), 1, [&](int i, int) {
        float mean = 0.0f, squares = 0.0f, seen = 0.0f;
        for (int j = 0; j < a.cols(); ++j) {
            const float x = a[i][j], d = x - mean;
            if (std::isnan(x)) continue;
            mean = seen == 0.0f ? x : mean + d / (seen + 1);
            squares = seen == 0.0f ? 0.0f : squares + (seen * d) * d / (seen + 1);
            ++seen;
        }
        return guarded && seen <= 1 ? nan : std::sqrt(squares / (sample ? seen - 1 : seen));
    });
}

}  // namespace

TEST(StdDevTest, EveryLaneRunsTheRecurrence) {
    const auto check = [](const FMatrix& a) {
        SCOPED_TRACE(testing::Message() << a.rows() << " x " << a.cols());
        for (const bool sample : {false, true}) {
            const FMatrix columns = transposed(plainRows(transposed(a), sample, true));
            EXPECT_TRUE(sameBits(matColumnStdDev(a, sample), columns));
            EXPECT_TRUE(sameBits(matRowStdDev(a, sample), plainRows(a, sample, true)));
            EXPECT_TRUE(sameBits(RowStdDev(a, sample), plainRows(a, sample, false)));
        }
    };
    withEachInstructionSet([&] {
        for (const Mix& mix : {Mix(), Mix{0.2, 0.05, 0.1}, Mix{0.9, 0.0, 0.0}}) {
            for (const int n : {1, 2, 7, 16, 17, 33, 70})
                for (const int m : {1, 4, 9, 31, 32, 67}) check(viewOf(randomMatrix(n, m, 1, mix)));
        }
        for (const FMatrix& none : {FMatrix(), FMatrix(3, 0), FMatrix(0, 3)}) check(none);
    });
    const FMatrix few = matrixOf({{nan, 4}, {nan, nan}});
    EXPECT_TRUE(sameBits(RowStdDev(few, true), matrixOf({{nan}, {-0.0f}})));
    EXPECT_TRUE(sameBits(RowStdDev(few, false), matrixOf({{0}, {nan}})));
}

}  // namespace veldane::test
