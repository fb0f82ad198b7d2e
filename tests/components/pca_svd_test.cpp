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

TEST(PcaSvd, AgreesWithAnIndependentDecomposition) {
    for (const FMatrix& x : {irisMeasurements(), gasolineSpectra(), randomMatrix(9, 9, 1)}) {
        const int A = 4;
        const Decomposition expected = decompose(x, true);
        const FMatrix p = matSubMatrix(expected.loadings, 0, A - 1, 0, x.cols() - 1);
        for (const bool useLapack : {false, true}) {
            SCOPED_TRACE(testing::Message() << x.rows() << " x " << x.cols() << " " << useLapack);
            CPCRModel model;
            ASSERT_EQ(model.buildSvd(x, A, true, useLapack), 0);
            EXPECT_EQ(model.algorithm, useLapack ? 2 : 1);
            EXPECT_TRUE(sameColumnsUpToSign(matTranspose(model.Pt), matTranspose(p), 1e-3));
            EXPECT_TRUE(isClose(matMultiplyABt(model.Pt, model.Pt), identity(A), 1e-5));
            ASSERT_EQ(model.latent.size(), std::min(x.rows(), x.cols()));
            for (int a = 0; a < A; ++a) {
                EXPECT_NEAR(model.latent[a], expected.eigenvalues[a], 1e-5 * model.latent[0]);
                EXPECT_NEAR(matColumnSumSquare(model.T, a), model.latent[a],
                            1e-5 * model.latent[0]);
            }
        }
    }
}

TEST(PcaSvd, ReconstructsAtFullRankAndRunsWhereNipalsDoesNot) {
    const FMatrix x = randomMatrix(12, 7, 2);
    for (const FMatrix& table : {x, matTranspose(x)}) {
        CPCRModel model;
        ASSERT_EQ(model.buildSvd(table, 7, true, false), 0);
        EXPECT_TRUE(isClose(matAdd(matMultiply(model.T, model.Pt), model.xMeans), table, 1e-5));
    }
    CPCRModel one;
    ASSERT_EQ(one.buildSvd(matRow(x, 0), 1, false, false), 0);
    EXPECT_TRUE(isClose(matMultiply(one.T, one.Pt), matRow(x, 0), 1e-6));
    // A row that is its own mean leaves nothing, and the divisor of its loading is not 0.
    ASSERT_EQ(one.buildSvd(matRow(x, 0), 1, true, false), 0);
    EXPECT_TRUE(sameBits(one.Pt, FMatrix(1, 7, 0.0f)));
}

/// One model through the exports, on a table that stays.
class PcaSvdExports : public testing::Test {
  protected:
    PcaSvdExports() { PCA_Init(); }
    ~PcaSvdExports() override {
        PCA_Terminate();
        useLapackNames({});
    }
    int build(int components, int algorithm, int rotation = 0) {
        return PCA_BuildModel(&x_, components, 1, 100, algorithm, rotation);
    }
    const InDesc x_{irisMeasurements()};
};

TEST_F(PcaSvdExports, EveryOtherNumberIsTheOwnSvd) {
    ASSERT_EQ(build(3, VELDANE_PCA_SVD), 0);
    const FMatrix t = fetch(PCA_GetScores);
    ASSERT_EQ(build(3, 7), 0);
    EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
    ASSERT_EQ(build(3, -1), 0);
    EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
}

TEST_F(PcaSvdExports, RefusalsAndCancelKeepTheModel) {
    ASSERT_EQ(build(2, VELDANE_PCA_SVD), 0);
    const FMatrix t = fetch(PCA_GetScores);
    LapackNames noLibrary, noRoutine;
    noLibrary.library = "no such library";
    noRoutine.sgesvd = {"no", "none"};
    struct Case {
        LapackNames names;
        int components;
        const char* message;
    };
    const Case cases[] = {
        {noLibrary, 2, "Missing LAPACK library. Check installation."},
        {noRoutine, 2, "Failed in call to LAPACK library. Check version."},
        {LapackNames(), 5, "More components than samples or variables"},
    };
    for (const Case& c : cases) {
        useLapackNames(c.names);
        Recorder recorder;
        EXPECT_EQ(build(c.components, VELDANE_PCA_LAPACK_SVD), -1);
        EXPECT_EQ(recorder.reports.back().message, c.message);
        EXPECT_EQ(recorder.reports.back().progress, -1.0f);
        EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
    }

    Recorder recorder;
    recorder.onReport = [](const Recorder::Report& report) {
        if (report.message == "Computing SVD") halt_computation(0);
    };
    EXPECT_EQ(build(3, VELDANE_PCA_SVD), -1);
    EXPECT_EQ(recorder.count("Computation was cancelled"), 1);
    EXPECT_EQ(recorder.reports.back().message, "");
    EXPECT_EQ(recorder.reports.back().progress, 0.0f);
    EXPECT_TRUE(sameBits(fetch(PCA_GetScores), t));
    recorder.onReport = [](const Recorder::Report&) {};
    EXPECT_EQ(build(3, VELDANE_PCA_SVD), 0);
}

/// The sum that an orthomax rotation makes as large as it can, over rows of unit length.
double orthomax(const FMatrix& Pt, double gamma) {
    double value = 0.0;
    std::vector<double> lengths(size_t(Pt.cols()), 0.0);
    for (int j = 0; j < Pt.cols(); ++j) {
        for (int a = 0; a < Pt.rows(); ++a) lengths[j] += double{Pt[a][j]} * Pt[a][j];
    }
    for (int a = 0; a < Pt.rows(); ++a) {
        double squares = 0.0;
        for (int j = 0; j < Pt.cols(); ++j) {
            const double share = double{Pt[a][j]} * Pt[a][j] / lengths[j];
            value += share * share;
            squares += share;
        }
        value -= gamma / Pt.cols() * squares * squares;
    }
    return value;
}

/// Loadings of two components turned by an angle.
FMatrix turned(const FMatrix& Pt, double angle) {
    const float c = float(std::cos(angle)), s = float(std::sin(angle));
    return matMultiply(matrixOf({{c, s}, {-s, c}}), Pt);
}

TEST(Rotation, IsOrthogonalKeepsTheFitAndFindsTheBestPlane) {
    const FMatrix x = gasolineSpectra();
    const double m = x.cols();
    for (const int A : {1, 2, 3, 5}) {
        CPCRModel plain;
        ASSERT_EQ(plain.buildSvd(x, A, true, false), 0);
        const double gammas[] = {1.0, 0.0, A / 2.0, m * (A - 1) / (m + A - 2)};
        for (int number = 1; number <= 4; ++number) {
            SCOPED_TRACE(testing::Message() << A << " components, rotation " << number);
            CPCRModel model = plain;
            ASSERT_EQ(model.rotate(x, A, number, true, 0), 0);
            EXPECT_TRUE(isClose(matXtX(model.rotation), identity(A), 1e-5));
            EXPECT_TRUE(isClose(matXXt(model.Pt), identity(A), 1e-5));
            EXPECT_TRUE(isClose(matMultiplyAtB(model.rotation, plain.Pt), model.Pt, 1e-5));
            EXPECT_TRUE(
                isClose(matMultiply(model.T, model.Pt), matMultiply(plain.T, plain.Pt), 1e-5));
            for (int a = 0; a < A; ++a) {
                EXPECT_NEAR(model.latent[a], matColumnSumSquare(model.T, a), 1e-5);
            }
            const double gamma = gammas[number - 1];
            const double reached = orthomax(model.Pt, gamma);
            EXPECT_GE(reached, orthomax(plain.Pt, gamma) - 1e-4);
            for (int step = 0; step < 90 && A == 2; ++step) {
                EXPECT_LE(orthomax(turned(plain.Pt, step * M_PI / 180.0), gamma), reached + 1e-3);
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
    EXPECT_TRUE(sameBits(other.T, plain.T));
    EXPECT_TRUE(sameBits(other.Pt, plain.Pt));
    EXPECT_TRUE(sameBits(other.rotation, FMatrix(2, 2, 0.0f)));
    EXPECT_NEAR(other.latent[1], 1.0f, 1e-5f);

    // A variable without loadings has no length to be divided by.
    for (int a = 0; a < 2; ++a) plain.Pt[a][3] = 0.0f;
    ASSERT_EQ(plain.rotate(x, 2, 1, true, 0), 0);
    EXPECT_TRUE(isMissing(plain.Pt[0][3]));

    // The build is done by then, so a rotation that fails does not take its end message away.
    const InDesc one(matSubMatrix(x, 0, 0, 0, 3).clone());
    Recorder recorder;
    PCA_Init();
    EXPECT_EQ(PCA_BuildModel(&one, 1, 1, 100, VELDANE_PCA_SVD, 1), -1);
    EXPECT_EQ(recorder.count("Insufficient data for analysis"), 1);
    EXPECT_EQ(recorder.reports.back().message, "Completed PCA");
    PCA_Terminate();
}

}  // namespace
}  // namespace veldane::test
