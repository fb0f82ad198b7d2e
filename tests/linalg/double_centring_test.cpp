#include "linalg/double_centring.h"

#include <numeric>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {

TEST(DoubleCentringTest, AgreesWithPlainLoopsBitForBit) {
    const auto check = [](const FMatrix& a) {
        std::vector<double> rows(a.rows(), 0.0), cols(a.cols(), 0.0);
        for (int i = 0; i < a.size(); ++i) {
            rows[i / a.cols()] += a[0][i];
            cols[i % a.cols()] += a[0][i];
        }
        const double all = std::accumulate(rows.begin(), rows.end(), 0.0) / a.size();
        const FMatrix view = viewOf(a);
        EXPECT_EQ(doubleCentre(view).all, all);
        EXPECT_TRUE(sameBits(view, generate(a.rows(), a.cols(),
                                            [&](int i, int j) {
                                                const double x = a[i][j] - cols[j] / a.rows();
                                                return static_cast<float>(x - rows[i] / a.cols() +
                                                                          all);
                                            })))
            << a.rows() << " x " << a.cols();
    };
    withEachInstructionSet([&] {
        for (const int n : {1, 3, 8, 16, 21, 50})
            for (const int m : {1, 4, 15, 32, 33, 100})
                check(matAddScalar(randomMatrix(n, m, 3), 100.0f));
    });
    // Nothing is skipped: one NaN reaches every element by the mean of all.
    const FMatrix gap = matrixOf({{1, nan}, {3, 4}});
    EXPECT_TRUE(isMissing(doubleCentre(gap).all) && sameBits(gap, FMatrix(2, 2, nan)));
    EXPECT_EQ(doubleCentre(FMatrix(0, 3)).cols[2], 0.0);
}

}  // namespace veldane::test
