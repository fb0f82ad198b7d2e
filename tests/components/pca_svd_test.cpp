#include <gtest/gtest.h>

#include <cmath>

#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "linalg/lapack.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

TEST(PcaSvd, ReconstructsAtFullRankAndRunsWhereNipalsDoesNot) {
    const FMatrix x = randomMatrix(12, 7, 2);
    for (const FMatrix& table : {x, matTranspose(x)}) {
        CPCRModel model;
        ASSERT_EQ(model.buildSvd(table, 7, true, false), 0);
        EXPECT_TRUE(isClose(matAdd(matMultiply(model.T, model.Pt), model.xMeans), table, 1e-5));
    }
    // All eigenvalues are kept, also those behind the last component.
    for (const bool useLapack : {false, true}) {
        CPCRModel model;
        ASSERT_EQ(model.buildSvd(x, 2, true, useLapack), 0);
        EXPECT_EQ(model.algorithm, useLapack ? 2 : 1);
        ASSERT_EQ(model.latent.size(), 7);
        const std::vector<double> expected = decompose(x, true).eigenvalues;
        for (int a = 0; a < 7; ++a) EXPECT_NEAR(model.latent[a], expected[a], 1e-4) << a;
    }
    // A row that is its own mean leaves nothing, and the divisor of its loading is not 0.
    CPCRModel model;
    ASSERT_EQ(model.buildSvd(matRow(x, 0), 1, true, false), 0);
    EXPECT_TRUE(sameBits(model.Pt, FMatrix(1, 7, 0.0f)));
}

TEST(PcaSvd, RefusalsAndCancelKeepTheModel) {
    const InDesc x(irisMeasurements());
    const auto build = [&](int components, int algorithm) {
        return PCA_BuildModel(&x, components, 1, 100, algorithm, 0);
    };
    PCA_Init();
    ASSERT_EQ(build(2, VELDANE_PCA_SVD), 0);
    const FMatrix t = fetch(PCA_GetScores);
    // Every other number is the own SVD.
    for (const int number : {7, -1}) {
        ASSERT_EQ(build(2, number), 0);
        EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
    }
    LapackNames noLibrary, noRoutine;
    noLibrary.library = "no such library";
    noRoutine.sgesvd = {"no", "none"};
    const std::tuple<LapackNames, int, const char*> cases[] = {
        {noLibrary, 2, "Missing LAPACK library. Check installation."},
        {noRoutine, 2, "Failed in call to LAPACK library. Check version."},
        {LapackNames(), 5, "More components than samples or variables"}};
    Recorder recorder;
    for (const auto& [names, components, message] : cases) {
        useLapackNames(names);
        EXPECT_EQ(build(components, VELDANE_PCA_LAPACK_SVD), -1);
        EXPECT_EQ(recorder.reports.back().message, message);
        EXPECT_EQ(recorder.reports.back().progress, -1.0f);
        EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
    }
    recorder.onReport = [](const Recorder::Report& report) {
        if (report.message == "Computing SVD") halt_computation(0);
    };
    EXPECT_EQ(build(3, VELDANE_PCA_SVD), -1);
    EXPECT_EQ(recorder.count("Computation was cancelled"), 1);
    EXPECT_TRUE(recorder.reports.back().message.empty());
    EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
    PCA_Terminate();
}

/// The sum that an orthomax rotation makes as large as it can, over variables of unit length.
double orthomax(const FMatrix& Pt, double gamma) {
    const FVector lengths = matColumnSumSquares(Pt);
    const FMatrix shares = generate(Pt.rows(), Pt.cols(),
                                    [&](int a, int j) { return Pt[a][j] * Pt[a][j] / lengths[j]; });
    return matSumSquare(shares) -
           gamma / Pt.cols() * matSumSquare(matColumnSums(matTranspose(shares)));
}

TEST(Rotation, IsOrthogonalKeepsTheFitAndFindsTheBestPlane) {
    const FMatrix x = gasolineSpectra().view(0, 59, 0, 9).clone();
    for (const int A : {1, 2, 5}) {
        CPCRModel plain;
        ASSERT_EQ(plain.buildSvd(x, A, true, false), 0);
        const double gammas[] = {1.0, 0.0, A / 2.0, 10.0 * (A - 1) / (10 + A - 2)};
        for (int number = 1; number <= 4; ++number) {
            CPCRModel model = plain;
            ASSERT_EQ(model.rotate(x, A, number, true, 0), 0);
            EXPECT_TRUE(isClose(matXXt(model.Pt), identity(A), 1e-5));
            EXPECT_TRUE(isClose(matMultiplyAtB(model.rotation, plain.Pt), model.Pt, 1e-5));
            EXPECT_TRUE(isClose(matMultiply(plain.T, model.rotation), model.T, 1e-5));
            EXPECT_NEAR(model.latent[A - 1], matColumnSumSquare(model.T, A - 1), 1e-5);
            const double gamma = gammas[number - 1], reached = orthomax(model.Pt, gamma);
            EXPECT_GE(reached, orthomax(plain.Pt, gamma) - 1e-4);
            for (float angle = 0.0f; angle < 1.57f && A == 2; angle += 0.02f) {
                const float c = std::cos(angle), s = std::sin(angle);
                const FMatrix turned = matMultiply(matrixOf({{c, s}, {-s, c}}), plain.Pt);
                EXPECT_LE(orthomax(turned, gamma), reached + 1e-4);
            }
        }
    }
}

TEST(Rotation, OddCorners) {
    const FMatrix x = irisMeasurements();
    CPCRModel plain;
    ASSERT_EQ(plain.buildSvd(x, 2, true, false), 0);
    CPCRModel other = plain;
    ASSERT_EQ(other.rotate(x, 2, 5, true, 0), 0);
    EXPECT_TRUE(sameBits(other.T, plain.T) && sameBits(other.Pt, plain.Pt));
    EXPECT_TRUE(sameBits(other.rotation, FMatrix(2, 2, 0.0f)));
    EXPECT_NEAR(other.latent[1], 1.0f, 1e-5f);

    // A variable without loadings has no length to be divided by.
    for (int a = 0; a < 2; ++a) plain.Pt[a][3] = 0.0f;
    ASSERT_EQ(plain.rotate(x, 2, 1, true, 0), 0);
    EXPECT_TRUE(isMissing(plain.Pt[0][3]));

    // The build is done by then, so a rotation that fails does not take its end message away.
    const InDesc one(matRow(x, 0));
    Recorder recorder;
    PCA_Init();
    EXPECT_EQ(PCA_BuildModel(&one, 1, 1, 100, VELDANE_PCA_SVD, 1), -1);
    EXPECT_EQ(recorder.count("Insufficient data for analysis"), 1);
    EXPECT_EQ(recorder.reports.back().message, "Completed PCA");
    PCA_Terminate();
}

}  // namespace
}  // namespace veldane::test
