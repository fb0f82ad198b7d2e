#include "validation/uncertainty_test.h"

#include <gtest/gtest.h>

#include <cmath>

#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "regression/pls_model.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

constexpr int n = 30, p = 6;

FMatrix tenSegments() {
    return generate(10, 3, [](int s, int c) { return static_cast<float>(s + 10 * c + 1); });
}

/// The first two variables decide about y, the last one is noise of the same size.
CPLSModel calibrated(int factors) {
    const FMatrix x = randomMatrix(n, p, 11);
    const FMatrix noise = randomMatrix(n, 1, 12);
    const FMatrix y = generate(n, 1, [&](int i, int) {
        return 2 * x[i][0] - 1.5f * x[i][1] + 0.3f * x[i][2] + 0.3f * noise[i][0];
    });
    CPLSModel model;
    EXPECT_EQ(model.build(x.clone(), y.clone(), factors, true, 0), 0);
    return model;
}

CPCRValidation validate(const CPLSModel& model, int components) {
    CPCRValidation validation(bilinear(model), tenSegments());
    validation.uncertaintyOn = 1;
    validation.uncertaintyPC = components;
    EXPECT_EQ(
        validation.run(CPCRValidation::crossValidation,
                       [&](const FMatrix& x, const FMatrix& y, const char* label,
                           BilinearModel& built) { return rebuild(model, x, y, label, built); }),
        0);
    return validation;
}

TEST(Uncertainty, TellsInformativeVariablesFromNoise) {
    const CPLSModel model = calibrated(3);
    const CPCRValidation v = validate(model, 2);
    EXPECT_LT(v.jackSigniB[1][0], 0.01f);
    EXPECT_LT(v.jackSigniB[2][0], 0.01f);
    EXPECT_GT(v.jackSigniB[6][0], 0.05f);
    EXPECT_LT(v.jkSigniLoadingWts[0][0], 0.01f);
    EXPECT_LT(v.jkSigniYLoadings[0][0], 0.01f);

    // Of the coefficients the jack-knife is plain: no rotation is in it.
    double sum = 0.0;
    for (int s = 0; s < 10; ++s) {
        const double distance = double{model.betaWeighted[3][0][1]} - v.jkBeta[3][0][s];
        sum += distance * distance;
    }
    EXPECT_NEAR(v.jkVarB[3][0], sum * (n - 1) / n, 1e-6 * sum);
    EXPECT_EQ(v.jkVarScores.rows(), n);
    EXPECT_EQ(v.jkVarScores.cols(), 2);
    EXPECT_EQ(validate(model, -1).uncertaintyPC, v.suggestedPC());
}

/// Segment models that are the full one, with its components reversed and swapped, have no
/// variance.
TEST(Uncertainty, ReversedAndSwappedComponentsAreTheSame) {
    const CPLSModel model = calibrated(3);
    CPCRValidation v(bilinear(model), tenSegments());
    v.uncertaintyOn = 1;
    v.uncertaintyPC = 3;
    v.model.Wt = matScale(model.Wt, -1.0f);  // a builder may leave loading weights reversed
    int segment = 0;
    const auto disguised = [&](const FMatrix&, const FMatrix&, const char*, BilinearModel& built) {
        const SampleSplit split(v.segments, segment++, n);
        built = bilinear(model);
        const FMatrix axes = matrixOf({{0, -1, 0}, {1, 0, 0}, {0, 0, segment % 2 ? -1.0f : 1.0f}});
        for (FMatrix* rows : {&built.Pt, &built.Wt, &built.Q, &built.scoreWeights}) {
            *rows = matMultiply(axes, *rows);
        }
        if (segment % 3 == 0) built.Wt = matScale(built.Wt, -1.0f);
        built.T = matMultiplyABt(built.T.selectRows(split.kept), axes);
        built.X = built.X.selectRows(split.kept);
        built.Y = built.Y.selectRows(split.kept);
        return 0;
    };
    ASSERT_EQ(v.run(CPCRValidation::crossValidation, disguised), 0);
    const auto isTiny = [](const FMatrix& variance, const FMatrix& values) {
        return matMax(variance) < 1e-9f * matSumSquare(values);
    };
    EXPECT_TRUE(isTiny(v.jkVarScores, v.fullT));
    EXPECT_TRUE(isTiny(v.jkVarLoadings, v.fullPt));
    EXPECT_TRUE(isTiny(v.jkVarLoadingWts, v.fullWt));
    EXPECT_TRUE(isTiny(v.jkVarYLoadings, v.fullQ));
    EXPECT_LE(matMax(v.jkSigniLoadings), 1.0f);
}

TEST(Uncertainty, IsEmptyUnlessAskedForAndFallsBackOnOneComponent) {
    const CPLSModel model = calibrated(2);
    CPCRValidation v(bilinear(model), tenSegments());
    v.jkVarB = FMatrix();
    EXPECT_EQ(v.run(CPCRValidation::leverageCorrection, {}), 0);
    EXPECT_EQ(v.jkScores.size() + v.jkVarLoadings.size() + v.jackSigniB.size(), 0);

    // A response of noise suggests no factor.
    CPLSModel noise;
    ASSERT_EQ(noise.build(randomMatrix(n, p, 1), randomMatrix(n, 1, 2), 2, true, 0), 0);
    const CPCRValidation fallback = validate(noise, -1);
    EXPECT_EQ(fallback.suggestedPC(), 0);
    EXPECT_EQ(fallback.uncertaintyPC, 1);
    EXPECT_EQ(fallback.jkVarLoadings.rows(), 1);
}

}  // namespace
}  // namespace veldane::test
