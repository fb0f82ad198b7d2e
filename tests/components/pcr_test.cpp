#include <gtest/gtest.h>

#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "regression/pls_model.h"
#include "support/compare.h"
#include "validation/validation.h"

namespace veldane::test {
namespace {

constexpr int n = 20, p = 5;

FMatrix fitOf(const CPCRModel& model, const FMatrix& x, int a) {
    const FMatrix b = cubePage(model.betaWeighted, a);
    return matAdd(matMultiply(x, matSubMatrix(b, 1, p, 0, b.cols() - 1)), matRow(b, 0));
}

TEST(Pcr, RegressesOnTheScoresInEveryRoute) {
    const FMatrix x = randomMatrix(n, p, 41), y = matAddScalar(randomMatrix(n, 2, 42), 3);
    CPLSModel leastSquares;
    ASSERT_EQ(leastSquares.build(x, y, p, true, CPLSModel::nipals), 0);
    for (const int route : {0, 1, 2, 3}) {
        CPCRModel model;
        ASSERT_EQ(model.build(x, y, p, true, 2000, route), 0);
        // With all components both methods are least squares.
        EXPECT_TRUE(isClose(cubePage(model.betaWeighted, p - 1),
                            cubePage(leastSquares.betaWeighted, p - 1), 1e-4))
            << route;
        const FMatrix t = matSubMatrix(model.T, 0, n - 1, 0, 1);
        const FMatrix fit = matAdd(matMultiply(t, matSubMatrix(model.Q, 0, 1, 0, 1)), model.yMeans);
        EXPECT_TRUE(isClose(fitOf(model, x, 1), fit, 1e-4)) << route;
        ASSERT_EQ(model.build(x, y, 2, false, 2000, route), 0);
        EXPECT_EQ(model.betaWeighted[0][0][1], 0) << "no intercept";
    }
}

TEST(Pcr, IsValidatedLikePls) {
    const FMatrix x = randomMatrix(n, p, 43), y = matMultiply(x, randomMatrix(p, 1, 44));
    CPCRModel model;
    ASSERT_EQ(model.build(x, y, p, true, 2000, CPCRModel::svdRoute), 0);
    CPCRValidation v(bilinear(model), generate(n, 1, [](int i, int) { return i + 1.0f; }));
    ASSERT_EQ(
        v.run(CPCRValidation::crossValidation,
              [&](const FMatrix& kept, const FMatrix& keptY, const char* label,
                  BilinearModel& built) { return rebuild(model, kept, keptY, label, built); }),
        0);
    EXPECT_EQ(v.suggestedPC(), p) << "only all components explain y";
    EXPECT_LT(v.totalResidualsY[p][1], 1e-8f);
    const FMatrix scores = model.T;
    EXPECT_EQ(model.build(randomMatrix(n, p, 45), FMatrix(3, 1, 0.0f), 2, true, 100, 0), -1);
    EXPECT_TRUE(sameBits(model.T, scores)) << "a refused build leaves what was built";
}

}  // namespace
}  // namespace veldane::test
