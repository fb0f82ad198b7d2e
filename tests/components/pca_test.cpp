#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "components/pcr_model.h"
#include "core/halt_event.h"
#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

constexpr int nipals = VELDANE_PCA_NIPALS;
constexpr int missingNipals = VELDANE_PCA_MISSING_NIPALS;

class Pca : public testing::Test {
  protected:
    Pca() { PCA_Init(); }
    ~Pca() override { PCA_Terminate(); }

    int build(const FMatrix& x, int components, int algorithm, bool centre = true,
              int maxIterations = 2000) {
        in_ = x;
        const ArrayDesc desc = {0, x.cols(), x.rows(), 1, x[0]};
        return PCA_BuildModel(&desc, components, centre, maxIterations, algorithm, 0);
    }
    FMatrix scores() { return fetch(PCA_GetScores); }
    FMatrix loadings() { return fetch(PCA_GetLoadings); }
    FMatrix both() { return matConcat(scores(), transposed(loadings())); }

    FMatrix in_;  // the model keeps a wrapper on it
};

/// A line for each report from the last one with that message on.
std::string reportsFrom(const std::string& message, const Recorder& recorder) {
    std::string lines;
    for (const auto& report : recorder.reports) {
        if (report.message == message) lines.clear();
        lines += testing::PrintToString(report.progress) + " " + report.message + "\n";
    }
    return lines;
}

TEST_F(Pca, CompleteDataAgreeWithAnIndependentDecomposition) {
    const std::tuple<FMatrix, int, bool> cases[] = {{irisMeasurements(), 4, true},
                                                    {irisMeasurements(), 2, false},
                                                    {gasolineSpectra(), 4, true}};
    for (const auto& [x, components, centre] : cases) {
        const Decomposition expected = decompose(x, centre);
        const FMatrix t = expected.scores.view(0, x.rows() - 1, 0, components - 1);
        const FMatrix p = expected.loadings.view(0, components - 1, 0, x.cols() - 1);
        for (const int algorithm : {0, 1, 2, 3}) {
            PCA_Init();
            ASSERT_EQ(build(x, components, algorithm, centre), 0);
            EXPECT_TRUE(sameColumnsUpToSign(scores(), t, 2e-3));
            EXPECT_TRUE(sameColumnsUpToSign(transposed(loadings()), transposed(p), 2e-3));
            EXPECT_TRUE(isClose(matXXt(loadings()), identity(components), 1e-4));
        }
    }
}

TEST_F(Pca, MissingValuesAreRecovered) {
    // One component is recovered as it was; of several, each one is noise to those before it.
    const FMatrix one = matMultiply(randomMatrix(40, 1, 1), randomMatrix(1, 60, 2));
    const FMatrix five = gasolineSpectra();
    for (const double share : {0.01, 0.05, 0.20}) {
        PCA_Init();
        ASSERT_EQ(build(withoutValues(one, share), 1, missingNipals, false), 0);
        EXPECT_TRUE(isClose(matMultiply(scores(), loadings()), one, 1e-5)) << share;
        PCA_Init();
        ASSERT_EQ(build(withoutValues(five, share), 5, missingNipals, false), 0);
        const FMatrix error = matSubtract(matMultiply(scores(), loadings()), five);
        EXPECT_LT(matSumSquare(error), 1.2e-4 * matSumSquare(five)) << share;
    }
}

TEST_F(Pca, MissingNipalsFollowsItsLeastSquaresSlopes) {
    // One iteration by hand from the second column, the one with the largest sum of squares.
    const FMatrix x = matrixOf({{1, nan, 2}, {2, 3, nan}, {nan, 4, 1}});
    ASSERT_EQ(build(x, 1, missingNipals, false, 1), 0);
    const float norm = std::sqrt(4.0f / 9 + 1 + 1.0f / 16);
    const float p = 2 / (3 * norm), q = 1 / norm, r = 1 / (4 * norm);
    const FMatrix expected = matrixOf({{(p + 2 * r) / (1 - q * q)},
                                       {(2 * p + 3 * q) / (1 - r * r)},
                                       {(4 * q + r) / (1 - p * p)}});
    EXPECT_TRUE(isClose(scores(), expected, 1e-6));
}

TEST_F(Pca, NipalsEndsWhenTheFirstSampleStandsStill) {
    // The first sample's score is 0 throughout, so the second round is the last.
    const FMatrix x = irisMeasurements();
    matSetRow(x, FVector(4, 0.0f), 0);
    FMatrix t = matMultiply(x, FMatrix(4, 1, 1.0f)), p;
    for (int round = 0; round < 2; ++round) {
        p = matMultiplyAtB(t, x);
        p = matDivideScalar(p, std::sqrt(matSumSquare(p)));
        t = matMultiplyABt(x, p);
    }
    ASSERT_EQ(build(x, 1, nipals, false), 0);
    EXPECT_TRUE(sameBits(both(), matConcat(t, transposed(p))));
}

TEST_F(Pca, ReportsItsWayAndEndsAtTheLimit) {
    const FMatrix x = irisMeasurements();
    Recorder recorder;
    ASSERT_EQ(build(x, 3, nipals), 0);
    EXPECT_EQ(reportsFrom("Computing PCA...", recorder),
              "0 Computing PCA...\n0 . Computing pc 1 of 3\n0.5 . Computing pc 2 of 3\n"
              "1 . Computing pc 3 of 3\n1 PCA computation completed\n1 Completed PCA\n");
    ASSERT_EQ(build(x, 2, nipals, true, 2), 0);
    EXPECT_EQ(reportsFrom(". Computing pc 2 of 2", recorder),
              "1 . Computing pc 2 of 2\n-1 Failed to converge for pc 2\n"
              "1 PCA computation completed\n1 Completed PCA\n");
    recorder.reports.clear();
    // Without a round the score is the row sums and the loading the first row.
    ASSERT_EQ(build(x, 1, nipals, false, 1), 0);
    EXPECT_TRUE(sameBits(scores(), matMultiply(x, FMatrix(4, 1, 1.0f))));
    EXPECT_TRUE(sameBits(loadings(), matRow(x, 0)));
    EXPECT_TRUE(isMissing(recorder.reports[1].progress));
    ASSERT_EQ(build(x, 2, missingNipals, true, 2), 0);
    EXPECT_EQ(recorder.count("Failed to converge for pc 1"), 0);
    ASSERT_EQ(build(x, 1, missingNipals, false, 0), 0);
    EXPECT_TRUE(sameBits(scores(), FMatrix(150, 1, 0.0f)));
}

TEST_F(Pca, RefusalsKeepTheModel) {
    const FMatrix x = irisMeasurements();
    ASSERT_EQ(build(x, 2, nipals), 0);
    const FMatrix before = both();
    const std::string few = "Insufficient data for analysis";
    const std::string misfit = "Weights do not match the variables";
    const std::tuple<ArrayDesc, int, int, std::string> cases[] = {
        {{0, 4, 1, 1, x[0]}, nipals, -1, few},
        {{0, 1, 4, 1, x[0]}, nipals, -1, few},
        {{0, 4, 1, 1, x[0]}, missingNipals, -2, few},
        {{0, 4, 5, 1, nullptr}, nipals, -1, few},
        {{0, 3, 5, 1, x[0]}, nipals, -1, misfit},
        {{0, 3, 5, 1, x[0]}, missingNipals, -1, misfit}};
    for (const auto& [desc, algorithm, result, message] : cases) {
        Recorder recorder;
        EXPECT_EQ(PCA_BuildModel(&desc, 2, 1, 100, algorithm, 0), result) << message;
        EXPECT_EQ(reportsFrom(message, recorder), "-1 " + message + "\n");
        EXPECT_TRUE(sameBits(both(), before));
    }
    const Recorder recorder;
    EXPECT_EQ(PCA_BuildModel(nullptr, 2, 1, 100, nipals, 0), -1);
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_EQ(build(x, -1, nipals), 0);
    EXPECT_TRUE(sameBits(scores(), FMatrix(150, 0)));
    EXPECT_EQ(build(x, 6, nipals), 0);
    PCA_Init();
    EXPECT_TRUE(sameBits(scores(), FMatrix()));
    PCA_Terminate();
    PCA_Terminate();
    HandedOut out;
    EXPECT_TRUE(PCA_GetScores(&out) == -1 && PCA_GetLoadings(&out) == -1);
    EXPECT_TRUE(build(x, 2, nipals) == -1 && PCA_SetWeights(&out) == -1);
    EXPECT_FALSE(out.written());
}

TEST_F(Pca, WeightsScaleTheVariables) {
    const FMatrix x = irisMeasurements(), w = matrixOf({{2.0f, 0.5f, 0.0f, 3.0f}});
    const InDesc weights(w);
    for (const int algorithm : {nipals, missingNipals}) {
        ASSERT_EQ(build(matScaleColumns(x, w), 2, algorithm), 0);
        const FMatrix expected = both();
        ASSERT_EQ(PCA_SetWeights(&weights) + build(x, 2, algorithm), 0);
        EXPECT_TRUE(sameBits(both(), expected));
        ASSERT_EQ(PCA_SetWeights(nullptr) + build(x, 2, algorithm), 0);
        EXPECT_FALSE(sameBits(both(), expected));
    }
}

TEST_F(Pca, MeansAndLatentValues) {
    const FMatrix x = irisMeasurements(), gaps = withoutValues(x, 0.1);
    CPCRModel model;
    // The complete-data builder divides by all samples, also where values are missing.
    ASSERT_EQ(model.buildNipals(gaps, 1, true, 5), 0);
    EXPECT_TRUE(sameBits(model.xMeans, matDivideScalar(matColumnSums(gaps), 150.0f)));
    ASSERT_EQ(model.buildNipals(x, 3, true, 2000), 0);
    const FMatrix squares = matDiagonal(matXtX(model.T));
    for (const bool centre : {false, true}) {
        ASSERT_EQ(model.buildMissingNipals(gaps, {}, 3, centre, 2000), 0);
        EXPECT_TRUE(sameBits(model.xMeans, matColumnMeans(gaps)));
    }
    EXPECT_TRUE(isClose({3, 1, model.latent.data()}, squares, 1e-4));
}

TEST_F(Pca, CancelFinishesTheComponentInWork) {
    const FMatrix x = irisMeasurements();
    const std::string cancelling = "Cancelling computation. Please wait...";
    const std::string cancelled = "-1 Computation cancelled. Results are incomplete.\n";
    const std::tuple<int, int, float, std::string> cases[] = {
        {nipals, 0, 1.0f, cancelled + "1 PCA computation completed\n1 Completed PCA\n"},
        {missingNipals, -1, 0.0f, "1 \n" + cancelled}};
    for (const auto& [algorithm, result, fill, end] : cases) {
        ASSERT_EQ(build(x, 4, algorithm), 0);
        const FMatrix full = scores();
        {
            Recorder recorder;
            recorder.onReport = [](const Recorder::Report& report) {
                if (report.message.find(" pc 2 of 4") != std::string::npos) halt_computation(0);
            };
            EXPECT_EQ(build(x, 4, algorithm), result);
            EXPECT_EQ(reportsFrom(cancelling, recorder), "0 " + cancelling + "\n" + end);
        }
        EXPECT_TRUE(sameBits(scores().view(0, 149, 0, 1), full.view(0, 149, 0, 1)));
        EXPECT_TRUE(sameBits(scores().view(0, 149, 2, 3), FMatrix(150, 2, fill)));
        EXPECT_TRUE(sameBits(loadings().view(2, 3, 0, 3), FMatrix(2, 4, fill)));
    }
    EXPECT_EQ(build(x, 4, missingNipals), 0) << "the request outlived the build";
}

TEST_F(Pca, ExceptionsLeaveNoRequestBehind) {
    for (const int algorithm : {nipals, missingNipals}) {
        Recorder recorder;
        recorder.onReport = [&](const Recorder::Report& report) {
            halt_computation(0);
            if (report.message != "Computing PCA...") throw std::runtime_error("host");
        };
        EXPECT_THROW(build(irisMeasurements(), 4, algorithm), std::runtime_error);
        HaltEvent event;
        EXPECT_TRUE(event.open() && !event.poll());
    }
    EXPECT_THROW(build(irisMeasurements(), 15000000, nipals), int);
    PCA_Init();
    EXPECT_EQ(build(irisMeasurements(), 1, nipals), 0);
}

}  // namespace
}  // namespace veldane::test
