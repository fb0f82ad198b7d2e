#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <stdexcept>
#include <thread>

#include "components/pcr_model.h"
#include "core/halt_event.h"
#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

constexpr int manyIterations = 2000;
constexpr int nipals = VELDANE_PCA_NIPALS;
constexpr int missingNipals = VELDANE_PCA_MISSING_NIPALS;
const char* const cancelling = "Cancelling computation. Please wait...";
const char* const cancelled = "Computation cancelled. Results are incomplete.";
const char* const insufficient = "Insufficient data for analysis";

class Pca : public testing::Test {
  protected:
    Pca() { PCA_Init(); }
    ~Pca() override { PCA_Terminate(); }

    int build(const FMatrix& x, int components, int algorithm, bool centre = true,
              int maxIterations = manyIterations) {
        in_ = x;
        const ArrayDesc desc = {0, x.cols(), x.rows(), 1, x.size() > 0 ? x[0] : nullptr};
        return PCA_BuildModel(&desc, components, centre, maxIterations, algorithm, 0);
    }
    FMatrix scores() { return fetch(PCA_GetScores); }
    FMatrix loadings() { return fetch(PCA_GetLoadings); }

  private:
    FMatrix in_;  // the model keeps a wrapper on it
};

/// Five strong components of falling size over a little noise.
FMatrix madeTable(int rows, int cols, unsigned seed) {
    FMatrix x = randomMatrix(rows, cols, seed);
    for (float& value : x.storage()) value *= 0.01f;
    for (int a = 0; a < 5; ++a) {
        const FMatrix t = randomMatrix(rows, 1, seed + 10 + a);
        const FMatrix p = randomMatrix(1, cols, seed + 20 + a);
        x = matAdd(x, matScale(matMultiply(t, p), 8.0f / static_cast<float>(1 << a)));
    }
    return x;
}

FMatrix withoutValues(const FMatrix& x, double share) {
    const FMatrix gaps = randomMatrix(x.rows(), x.cols(), 5, {share});
    return matAdd(x, matScale(gaps, 0.0f));
}

TEST_F(Pca, CompleteDataAgreeWithAnIndependentDecomposition) {
    struct Case {
        FMatrix x;
        int components;
        bool centre;
    };
    const Case cases[] = {{irisMeasurements(), 4, true},
                          {irisMeasurements(), 2, false},
                          {gasolineSpectra(), 4, true},
                          {madeTable(12, 90, 1), 5, true},
                          {madeTable(90, 12, 2), 5, true}};
    for (const Case& c : cases) {
        const Decomposition expected = decompose(c.x, c.centre);
        const int last = c.components - 1;
        const FMatrix t = matSubMatrix(expected.scores, 0, c.x.rows() - 1, 0, last);
        const FMatrix p = matSubMatrix(expected.loadings, 0, last, 0, c.x.cols() - 1);
        for (const int algorithm : {nipals, missingNipals}) {
            SCOPED_TRACE(testing::Message()
                         << c.x.rows() << " x " << c.x.cols() << " by " << algorithm);
            PCA_Init();
            ASSERT_EQ(build(c.x, c.components, algorithm, c.centre), 0);
            EXPECT_TRUE(sameColumnsUpToSign(scores(), t, 2e-3));
            EXPECT_TRUE(sameColumnsUpToSign(matTranspose(loadings()), matTranspose(p), 2e-3));
            EXPECT_TRUE(
                isClose(matMultiplyABt(loadings(), loadings()), matMultiplyABt(p, p), 1e-4));
        }
    }
}

TEST_F(Pca, ExplainedVarianceOfTheIrisesIsThePublishedOne) {
    const double published[] = {0.92461872, 0.05306648, 0.01710261, 0.00521218};
    ASSERT_EQ(build(irisMeasurements(), 4, nipals), 0);
    const FVector squares = matColumnSumSquares(scores());
    double total = 0.0;
    for (const float square : squares) total += square;
    for (int a = 0; a < 4; ++a) EXPECT_NEAR(squares[a] / total, published[a], 2e-6) << a;
}

TEST_F(Pca, MissingValuesAreRecovered) {
    // One component is recovered as it was; of several, each one is noise to those before it.
    const FMatrix one = matMultiply(randomMatrix(40, 1, 1), randomMatrix(1, 60, 2));
    const FMatrix five = madeTable(40, 60, 3);
    for (const double share : {0.01, 0.05, 0.20}) {
        SCOPED_TRACE(share);
        ASSERT_EQ(build(withoutValues(one, share), 1, missingNipals, false), 0);
        EXPECT_TRUE(isClose(matMultiply(scores(), loadings()), one, 1e-5));
        ASSERT_EQ(build(withoutValues(five, share), 5, missingNipals, false), 0);
        const FMatrix error = matSubtract(matMultiply(scores(), loadings()), five);
        EXPECT_LT(matSumSquare(error), 0.1 * share * matSumSquare(five));
    }
}

TEST_F(Pca, MissingDataBuilderFollowsItsLeastSquaresSlopes) {
    // One iteration by hand: the start is the second column, the one with the largest sum of
    // squares.
    const FMatrix x = matrixOf({{1, nan, 2}, {2, 3, nan}, {nan, 4, 1}});
    ASSERT_EQ(build(x, 1, missingNipals, false, 1), 0);
    const double raw[] = {2.0 * 3 / 9, 25.0 / 25, 1.0 * 4 / 16};
    const double norm = std::sqrt(raw[0] * raw[0] + raw[1] * raw[1] + raw[2] * raw[2]);
    const double p[] = {raw[0] / norm, raw[1] / norm, raw[2] / norm};
    const auto expected = matrixOf({{static_cast<float>((p[0] + 2 * p[2]) / (1 - p[1] * p[1]))},
                                    {static_cast<float>((2 * p[0] + 3 * p[1]) / (1 - p[2] * p[2]))},
                                    {static_cast<float>((4 * p[1] + p[2]) / (1 - p[0] * p[0]))}});
    EXPECT_TRUE(isClose(scores(), expected, 1e-6));
}

TEST_F(Pca, NipalsEndsWhenTheFirstSampleStandsStill) {
    // The first sample's score is 0 throughout, so the second round is the last.
    FMatrix x = madeTable(6, 4, 4);
    for (int j = 0; j < 4; ++j) x[0][j] = 0.0f;
    FMatrix t = matMultiply(x, FMatrix(4, 1, 1.0f)), p;
    for (int round = 0; round < 2; ++round) {
        p = matMultiplyAtB(t, x);
        p = matDivideScalar(p, std::sqrt(matSumSquare(p)));
        t = matMultiplyABt(x, p);
    }
    Recorder recorder;
    ASSERT_EQ(build(x, 1, nipals, false), 0);
    EXPECT_TRUE(sameBits(scores(), t));
    EXPECT_TRUE(sameBits(loadings(), p));
}

TEST_F(Pca, IterationLimits) {
    const FMatrix x = madeTable(20, 10, 6);
    Recorder recorder;
    ASSERT_EQ(build(x, 2, nipals, true, 2), 0);
    EXPECT_EQ(recorder.count("Failed to converge for pc 1"), 1);
    EXPECT_EQ(recorder.count("Failed to converge for pc 2"), 1);
    EXPECT_EQ(recorder.count("Completed PCA"), 1);
    ASSERT_EQ(build(x, 2, missingNipals, true, 2), 0);
    EXPECT_EQ(recorder.count("Failed to converge for pc 1"), 1);

    // Without a round the score is the row sums and the loading the first row.
    ASSERT_EQ(build(x, 1, nipals, false, 1), 0);
    EXPECT_TRUE(sameBits(scores(), matMultiply(x, FMatrix(10, 1, 1.0f))));
    EXPECT_TRUE(sameBits(loadings(), matRow(x, 0)));
    ASSERT_EQ(build(x, 1, missingNipals, false, 0), 0);
    EXPECT_TRUE(sameBits(scores(), FMatrix(20, 1, 0.0f)));
}

TEST_F(Pca, ReportsItsWay) {
    Recorder recorder;
    ASSERT_EQ(build(irisMeasurements(), 3, nipals), 0);
    const std::vector<Recorder::Report> expected = {
        {0.0f, "Computing PCA..."},          {0.0f, ". Computing pc 1 of 3"},
        {0.5f, ". Computing pc 2 of 3"},     {1.0f, ". Computing pc 3 of 3"},
        {1.0f, "PCA computation completed"}, {1.0f, "Completed PCA"}};
    ASSERT_EQ(recorder.reports.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(recorder.reports[i].progress, expected[i].progress) << i;
        EXPECT_EQ(recorder.reports[i].message, expected[i].message) << i;
    }
    for (const int algorithm : {nipals, missingNipals}) {
        Recorder one;
        ASSERT_EQ(build(irisMeasurements(), 1, algorithm), 0);
        EXPECT_TRUE(isMissing(one.reports[1].progress));
    }
}

TEST_F(Pca, RefusalsKeepTheModel) {
    const FMatrix x = irisMeasurements();
    ASSERT_EQ(build(x, 2, nipals), 0);
    const FMatrix t = scores(), p = loadings();
    struct Case {
        const char* what;
        ArrayDesc desc;
        int algorithm, rotation, result;
        const char* message;
    };
    float* data = x[0];
    const Case cases[] = {
        {"one sample", {0, 4, 1, 1, data}, nipals, 0, -1, insufficient},
        {"one variable", {0, 1, 4, 1, data}, nipals, 0, -1, insufficient},
        {"one sample, missing", {0, 4, 1, 1, data}, missingNipals, 0, -2, insufficient},
        {"three pages", {0, 4, 5, 3, data}, nipals, 0, -1, insufficient},
        {"no data", {0, 4, 5, 1, nullptr}, missingNipals, 0, -2, insufficient},
        {"negative", {0, -4, 5, 1, data}, nipals, 0, -1, insufficient},
        {"weights", {0, 3, 5, 1, data}, nipals, 0, -1, "Weights do not match the variables"},
        {"algorithm", {0, 4, 5, 1, data}, 1, 0, -1, "PCA algorithm 1 is not available"},
        {"rotation", {0, 4, 5, 1, data}, nipals, 2, -1, "Rotation of components is not available"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Recorder recorder;
        EXPECT_EQ(PCA_BuildModel(&c.desc, 2, 1, 100, c.algorithm, c.rotation), c.result);
        EXPECT_EQ(recorder.count(c.message), 1);
        EXPECT_EQ(recorder.reports.back().progress, -1.0f);
        EXPECT_TRUE(sameBits(scores(), t));
        EXPECT_TRUE(sameBits(loadings(), p));
    }
    Recorder recorder;
    EXPECT_EQ(PCA_BuildModel(nullptr, 2, 1, 100, nipals, 0), -1);
    EXPECT_EQ(recorder.reports.size(), 0u);

    ASSERT_EQ(build(x, 0, nipals), 0);
    EXPECT_EQ(scores().rows(), 150);
    EXPECT_EQ(scores().size(), 0);
    EXPECT_EQ(build(x, 6, nipals), 0);
    EXPECT_EQ(scores().cols(), 6);

    PCA_Terminate();
    PCA_Terminate();
    HandedOut out;
    EXPECT_EQ(build(x, 2, nipals), -1);
    EXPECT_EQ(PCA_GetScores(&out), -1);
    EXPECT_EQ(PCA_GetLoadings(&out), -1);
    EXPECT_EQ(PCA_SetWeights(&out), -1);
    EXPECT_FALSE(out.written());
}

TEST_F(Pca, Weights) {
    const FMatrix x = irisMeasurements();
    const FMatrix w = matrixOf({{2.0f, 0.5f, 0.0f, 3.0f}});
    for (const int algorithm : {nipals, missingNipals}) {
        PCA_Init();
        ASSERT_EQ(build(matScaleColumns(x, w), 2, algorithm), 0);
        const FMatrix t = scores(), p = loadings();
        // The first build left weights of ones behind, which change nothing.
        ASSERT_EQ(build(matScaleColumns(x, w), 2, algorithm), 0);
        EXPECT_TRUE(sameBits(scores(), t));
        const InDesc weights(w);
        ASSERT_EQ(PCA_SetWeights(&weights), 0);
        ASSERT_EQ(build(x, 2, algorithm), 0);
        EXPECT_TRUE(sameBits(scores(), t));
        EXPECT_TRUE(sameBits(loadings(), p));
        EXPECT_EQ(p[0][2], 0.0f);
        ASSERT_EQ(PCA_SetWeights(nullptr), 0);
        ASSERT_EQ(build(x, 2, algorithm), 0);
        EXPECT_FALSE(sameBits(scores(), t));
    }
}

TEST_F(Pca, ModelFieldsOfABuild) {
    const FMatrix x = irisMeasurements();
    CPCRModel model;
    ASSERT_EQ(model.buildNipals(x, 3, true, manyIterations), 0);
    const FVector squares = matColumnSumSquares(model.T);
    for (int a = 0; a < 3; ++a) EXPECT_NEAR(model.latent[a], squares[a], 1e-4 * squares[a]);
    EXPECT_TRUE(isClose(model.xMeans, matColumnMeans(x), 1e-6));
    EXPECT_EQ(model.X.storage().owners(), x.storage().owners());
    EXPECT_EQ(model.weightedX[0], x[0]);
    EXPECT_TRUE(sameBits(model.xWeights, FMatrix(1, 4, 1.0f)));

    const FVector latent = model.latent;
    const FMatrix gaps = withoutValues(x, 0.1);
    ASSERT_EQ(model.buildMissingNipals(gaps, 3, true, manyIterations), 0);
    EXPECT_TRUE(sameBits(model.xMeans, matColumnMeans(gaps)));
    EXPECT_TRUE(sameBits(model.latent, latent));

    // The complete-data builder divides by all samples, also where values are missing.
    ASSERT_EQ(model.buildNipals(gaps, 1, true, 5), 0);
    EXPECT_TRUE(sameBits(model.xMeans, matDivideScalar(matColumnSums(gaps), 150.0f)));
}

/// What a cancel within component 2 of 4 leaves.
void expectPartial(const FMatrix& t, const FMatrix& p, const FMatrix& fullT, float fill) {
    const int n = t.rows();
    EXPECT_TRUE(sameBits(matSubMatrix(t, 0, n - 1, 0, 1), matSubMatrix(fullT, 0, n - 1, 0, 1)));
    EXPECT_TRUE(sameBits(matSubMatrix(t, 0, n - 1, 2, 3), FMatrix(n, 2, fill)));
    EXPECT_TRUE(sameBits(matSubMatrix(p, 2, 3, 0, p.cols() - 1), FMatrix(2, p.cols(), fill)));
}

void haltFromThread() {
    std::thread([] { halt_computation(0); }).join();
}

void haltFromProcess() {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) _exit(halt_computation(parent) == 0 ? 0 : 1);
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(Pca, CancelFinishesTheComponentInWork) {
    const FMatrix x = madeTable(30, 20, 8);
    for (const int algorithm : {nipals, missingNipals}) {
        ASSERT_EQ(build(x, 4, algorithm), 0);
        const FMatrix full = scores();
        const std::string second =
            algorithm == nipals ? ". Computing pc 2 of 4" : " Computing pc 2 of 4";
        const auto fromCallback = [] { halt_computation(0); };
        const std::function<void()> ways[] = {fromCallback, haltFromThread, haltFromProcess};
        for (const auto& halt : ways) {
            Recorder recorder;
            recorder.onReport = [&](const Recorder::Report& report) {
                if (report.message == second) halt();
            };
            EXPECT_EQ(build(x, 4, algorithm), algorithm == nipals ? 0 : -1);
            EXPECT_GE(recorder.count(cancelling), 1);
            EXPECT_EQ(recorder.count(cancelled), 1);
            EXPECT_EQ(recorder.count("Completed PCA"), algorithm == nipals ? 1 : 0);
            expectPartial(scores(), loadings(), full, algorithm == nipals ? 1.0f : 0.0f);
            const std::vector<Recorder::Report> reports = recorder.reports;
            const size_t at = reports.size() - (algorithm == nipals ? 3 : 1);
            EXPECT_EQ(reports[at].message, cancelled);
            EXPECT_EQ(reports[at].progress, -1.0f);
            if (algorithm == missingNipals) {
                EXPECT_EQ(reports[at - 1].message, "");
                EXPECT_EQ(reports[at - 1].progress, 1.0f);
            }
            recorder.onReport = [](const Recorder::Report&) {};
            EXPECT_EQ(build(x, 4, algorithm), 0) << "the request outlived the build";
            EXPECT_TRUE(sameBits(scores(), full));
        }
    }
}

TEST_F(Pca, AThrowingCallbackLeavesNoRequestBehind) {
    const FMatrix x = madeTable(30, 20, 8);
    for (const int algorithm : {nipals, missingNipals}) {
        Recorder recorder;
        recorder.onReport = [&](const Recorder::Report&) {
            if (recorder.reports.size() < 3) return;
            halt_computation(0);
            throw std::runtime_error("host");
        };
        EXPECT_THROW(build(x, 4, algorithm), std::runtime_error);
        HaltEvent event;
        ASSERT_TRUE(event.open());
        EXPECT_FALSE(event.poll());
    }
}

TEST_F(Pca, AllocationFailureLeavesTheLibrary) {
    const FMatrix x = irisMeasurements();
    EXPECT_THROW(build(x, 15000000, nipals), int);
    PCA_Init();
    EXPECT_EQ(build(x, 1, nipals), 0);
}

}  // namespace
}  // namespace veldane::test
