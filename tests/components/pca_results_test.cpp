#include <gtest/gtest.h>

#include <cmath>

#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "linalg/residual_sums.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

/// The tables by plain loops.
ResidualSums plainSums(const FMatrix& x, const FMatrix& t, const FMatrix& p, const FMatrix& means) {
    const int n = x.rows(), m = x.cols(), A = t.cols();
    ResidualSums sums = {{n, m, 0.0f}, {n, A, 0.0f}, {A, m, 0.0f}, {1, A, 0.0f}};
    for (int a = 0; a < A; ++a) {
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < m; ++j) {
                float fit = 0.0f;
                for (int b = 0; b <= a; ++b) fit += t[i][b] * p[b][j];
                if (means.size() > 0) fit += means[0][j];
                const float e = x[i][j] - fit;
                sums.fitted[i][j] = fit;
                sums.total[0][a] += e * e;
                if (std::isnan(e)) continue;
                sums.samples[i][a] += e * e;
                sums.variables[a][j] += e * e;
            }
        }
    }
    return sums;
}

TEST(ResidualSums, HaveTheBitsOfThePlainLoops) {
    const int shapes[][3] = {{1, 1, 1}, {3, 15, 2}, {5, 16, 16}, {7, 33, 17}, {4, 50, 35}};
    for (const Mix mix : {Mix{}, Mix{0.1, 0.02}}) {
        for (const auto& [n, m, A] : shapes) {
            const FMatrix x = randomMatrix(n, m, 1, mix), t = randomMatrix(n, A, 2);
            const FMatrix p = randomMatrix(A, m, 3), means = randomMatrix(1, m, 4);
            for (const FMatrix& offset : {means, FMatrix()}) {
                const ResidualSums expected = plainSums(x, t, p, offset);
                withEachInstructionSet([&] {
                    const ResidualSums sums = residualSums(x, t, p, offset);
                    EXPECT_TRUE(sameBits(sums.fitted, expected.fitted));
                    EXPECT_TRUE(sameBits(sums.samples, expected.samples));
                    EXPECT_TRUE(sameBits(sums.variables, expected.variables));
                    EXPECT_TRUE(sameBits(sums.total, expected.total));
                });
            }
        }
    }
}

TEST(PcaResults, IdentitiesOverAllAlgorithms) {
    const FMatrix x = gasolineSpectra();
    const int n = x.rows(), m = x.cols(), A = 4;
    const InDesc in(x);
    for (const int algorithm : {0, 1, 2, 3}) {
        SCOPED_TRACE(algorithm);
        PCA_Init();
        ASSERT_EQ(PCA_BuildModel(&in, A, 1, 2000, algorithm, 0), 0);
        const FMatrix t = fetch(PCA_GetScores), p = fetch(PCA_GetLoadings);
        const FMatrix means = fetch(PCA_GetMean), t2 = fetch(PCA_GetHotellingTSquare);
        const FMatrix latent = fetch(PCA_GetLatent), sums = fetch(PCA_GetSquSum);
        HandedOut samples, variables, leverages, newScores, newT2;
        ASSERT_EQ(PCA_GetResiduals(&samples, &variables), 0);
        const ResidualSums plain = plainSums(x, t, p, means);
        EXPECT_TRUE(sameBits(samples.copy(), matDivideScalar(plain.samples, float(m))));
        EXPECT_TRUE(sameBits(variables.copy(), matDivideScalar(plain.variables, float(n))));
        EXPECT_TRUE(sameBits(fetch(PCA_GetReconstructedX), plain.fitted));

        // T² / (n - 1) is the leverage without 1 / n, both being sums of t² / t't.
        ASSERT_EQ(PCA_GetLeverages(&leverages, nullptr), 0);
        const FMatrix tied = matAddScalar(matDivideScalar(t2, float(n - 1)), 1.0f / float(n));
        EXPECT_TRUE(isClose(leverages.copy(), tied, 1e-4));
        EXPECT_TRUE(isClose(matScale(latent, float(n - 1)), matColumnSums(matSquare(t)), 1e-4));

        // The calibration samples are projected to where they are.
        const InDesc center(means), scores(t), loadings(p);
        for (const int a : {A, 2}) {
            ASSERT_EQ(PCA_Project(&in, &center, &scores, &loadings, &newScores, &newT2, 1, a), 0);
            EXPECT_TRUE(isClose(newScores.copy(), t.view(0, n - 1, 0, a - 1), 1e-4));
            EXPECT_TRUE(isClose(newT2.copy(), t2.view(0, n - 1, 0, a - 1), 1e-3));
        }
        const FMatrix r = fetch(PCA_GetCorrelationLoadings), ta = matColumn(t, 3);
        const float square = matRowSumSquare(p, 3);
        EXPECT_EQ(r[3][200], matCorrelation(ta, matColumn(x, 200)));
        EXPECT_TRUE(sameBits(
            matTranspose(matColumn(sums, 3)),
            matrixOf({{matColumnSumSquare(t, 3), square, square, nan, matMin(ta), matMax(ta)}})));
    }
    PCA_Terminate();
}

TEST(PcaResults, PublishedVariancesAndTheQLimit) {
    const FMatrix x = irisMeasurements();
    CPCRModel model;
    ASSERT_EQ(model.buildSvd(x, 4, true, false), 0);
    const FMatrix variances = model.explainedVariance();
    const double published[] = {0.92461872, 0.05306648, 0.01710261, 0.00521218};
    for (int a = 0; a < 4; ++a) {
        EXPECT_NEAR(variances[0][a] / matRowSum(variances, 0), published[a], 1e-6);
    }
    // By tests/data/q_limits.py.
    const double limits[] = {0.19327949, 0.04166570, 0.02496913, 0.00122530, 0.00584451};
    CPCRModel spectra;
    ASSERT_EQ(spectra.buildSvd(gasolineSpectra(), 4, true, false), 0);
    for (int c = 0; c <= 4; ++c) {
        EXPECT_NEAR(spectra.qResidualLimits()[0][c], limits[c], 2e-4 * limits[c]) << c;
    }
    // NIPALS knows no eigenvalue behind its last component.
    ASSERT_EQ(model.buildNipals(x, 2, true, 2000), 0);
    EXPECT_EQ(model.qResidualLimits()[0][2], 0.0f);
}

TEST(PcaResults, LeveragesAndT2OfOddScores) {
    // One sample has all of the second component, and the third has none at all.
    CPCRModel model;
    model.T = matrixOf({{1, 0, 0}, {-1, 0, 0}, {0, 5, 0}, {0, nan, 0}});
    model.Pt = matrixOf({{2, 0}, {0, 1}, {1, 1}});
    model.weightedX = FMatrix(4, 2, 0.0f);
    model.latent = FVector(3, 0.0f);
    model.latent[0] = 2.0f;
    model.latent[1] = nan;
    model.computeLeverages();
    const float h = 0.75f, l = 0.25f, cap = 0.99f;
    EXPECT_TRUE(
        sameBits(model.sampleLeverage, matrixOf({{h, h, h}, {h, h, h}, {l, cap, cap}, {l, l, l}})));
    // The first loading's length divides the others too.
    EXPECT_TRUE(sameBits(model.variableLeverage, matrixOf({{1, 0}, {1, l}, {1.25f, 0.5f}})));
    model.computeHotellingT2();
    EXPECT_TRUE(model.invScale[1][1] == 8388608.0f && model.invScale[2][2] == 8388608.0f);
    EXPECT_FLOAT_EQ(model.hotellingT2[0][2], 1.5f);
    EXPECT_EQ(model.hotellingT2[3][2], 0.0f);
    // An X without rows, as a refused build may leave it.
    model.X = FMatrix(0, 6);
    model.computeCorrelationLoadings();
    EXPECT_TRUE(sameBits(model.correlationX, FMatrix(model.T.cols(), 6, -0.0f)));
}

TEST(PcaResults, ProjectionIsEmptyWhereShapesDoNotFit) {
    const InDesc x(randomMatrix(5, 3, 1)), means(FMatrix(1, 3, 0.0f)), t(randomMatrix(9, 2, 2)),
        p(randomMatrix(2, 3, 3)), wide(randomMatrix(2, 4, 3));
    const struct {
        const ArrayDesc *means, *t, *p;
        int components, scoreCols, t2Cols;
    } cases[] = {{&means, &t, &p, 2, 2, 2}, {&means, &t, &p, 3, 0, 0},
                 {&means, &t, &p, 0, 0, 0}, {&means, &t, &wide, 2, 0, 0},
                 {&wide, &t, &p, 2, 0, 0},  {&means, &means, &p, 2, 2, 0}};
    PCA_Init();
    for (const auto& c : cases) {
        HandedOut scores, t2;
        EXPECT_EQ(PCA_Project(&x, c.means, c.t, c.p, &scores, &t2, 1, c.components), 0);
        EXPECT_TRUE(scores.cols == c.scoreCols && t2.cols == c.t2Cols) << &c - cases;
    }
    EXPECT_EQ(PCA_Project(&x, &means, nullptr, &p, nullptr, nullptr, 1, 2), -1);
    PCA_Terminate();
}

TEST(PcaResults, GettersWithoutABuildAndWithoutAModel) {
    const auto residuals = [](ArrayDesc* o) { return PCA_GetResiduals(o, o); };
    const auto leverages = [](ArrayDesc* o) { return PCA_GetLeverages(o, o); };
    const auto t2 = PCA_GetHotellingTSquare, correlations = PCA_GetCorrelationLoadings;
    using Getter = int (*)(ArrayDesc*);
    const Getter means = PCA_GetMean, rotation = PCA_GetRotationMatrix, limits = PCA_GetQResLim;
    const Getter fit = PCA_GetReconstructedX, latent = PCA_GetLatent, sums = PCA_GetSquSum;
    const Getter getters[] = {residuals, leverages, t2,  correlations, means,
                              rotation,  limits,    fit, latent,       sums};
    const char* const messages[] = {
        "Computing residuals", "Computing sample and variable leverages",
        "Computing Hotelling T squares", "Computing correlation loadings"};
    const Recorder recorder;
    for (const auto getter : getters) {
        HandedOut out, none;
        PCA_Init();
        EXPECT_EQ(getter(&out), 0);
        EXPECT_LE(out.rows * out.cols, 1);
        PCA_Terminate();
        EXPECT_EQ(getter(&none), -1);
    }
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(recorder.reports.at(i).message, messages[i]);
}

}  // namespace
}  // namespace veldane::test
