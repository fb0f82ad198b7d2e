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
    for (const Mix mix : {Mix{}, Mix{0.1}, Mix{0.05, 0.02}}) {
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

FMatrix cut(const FMatrix& a, int rows, int cols) {
    return matSubMatrix(a, 0, rows - 1, 0, cols - 1).clone();
}

TEST(PcaResults, IdentitiesOverAllAlgorithms) {
    const FMatrix x = gasolineSpectra();
    const int n = x.rows(), m = x.cols(), A = 4;
    for (const int algorithm : {0, 1, 2, 3}) {
        SCOPED_TRACE(algorithm);
        const InDesc in(x);
        PCA_Init();
        ASSERT_EQ(PCA_BuildModel(&in, A, 1, 2000, algorithm, 0), 0);
        const FMatrix t = fetch(PCA_GetScores), p = fetch(PCA_GetLoadings);
        const FMatrix means = fetch(PCA_GetMean);
        HandedOut samples, variables;
        ASSERT_EQ(PCA_GetResiduals(&samples, &variables), 0);
        const ResidualSums plain = plainSums(x, t, p, means);
        EXPECT_TRUE(sameBits(samples.copy(), matDivideScalar(plain.samples, float(m))));
        EXPECT_TRUE(sameBits(variables.copy(), matDivideScalar(plain.variables, float(n))));
        EXPECT_TRUE(sameBits(fetch(PCA_GetReconstructedX), plain.fitted));
        for (int a = 1; a < A; ++a) EXPECT_LT(plain.total[0][a], plain.total[0][a - 1]);

        // T² / (n - 1) is the leverage without 1 / n, both being sums of t² / t't.
        HandedOut leverages;
        ASSERT_EQ(PCA_GetLeverages(&leverages, nullptr), 0);
        const FMatrix t2 = fetch(PCA_GetHotellingTSquare);
        const FMatrix tied = matAddScalar(matDivideScalar(t2, float(n - 1)), 1.0f / float(n));
        EXPECT_TRUE(isClose(leverages.copy(), tied, 1e-4));

        const FMatrix latent = fetch(PCA_GetLatent);
        EXPECT_TRUE(isClose(matScale(latent, float(n - 1)), matColumnSums(matSquare(t)), 1e-4));

        // The calibration samples are projected to where they are.
        const InDesc center(means), scores(t), loadings(p);
        HandedOut newScores, newT2;
        ASSERT_EQ(PCA_Project(&in, &center, &scores, &loadings, &newScores, &newT2, 1, A), 0);
        EXPECT_TRUE(isClose(newScores.copy(), t, 1e-4));
        EXPECT_TRUE(isClose(newT2.copy(), t2, 1e-3));
        ASSERT_EQ(PCA_Project(&in, &center, &scores, &loadings, &newScores, &newT2, 1, 2), 0);
        EXPECT_TRUE(isClose(newT2.copy(), cut(t2, n, 2), 1e-3));

        const FMatrix sums = fetch(PCA_GetSquSum);
        for (int a = 0; a < A; ++a) {
            const float expected[] = {matColumnSumSquare(t, a), matRowSumSquare(p, a),
                                      matRowSumSquare(p, a),    nan,
                                      matMin(matColumn(t, a)),  matMax(matColumn(t, a))};
            EXPECT_TRUE(sameBits(matColumn(sums, a), FMatrix(6, 1, const_cast<float*>(expected))));
            const FMatrix r = fetch(PCA_GetCorrelationLoadings);
            EXPECT_EQ(r[a][200], matCorrelation(matColumn(t, a), matColumn(x, 200)));
        }
    }
    PCA_Terminate();
}

TEST(PcaResults, PublishedVariancesAndTheQLimit) {
    const FMatrix x = irisMeasurements();
    CPCRModel model;
    ASSERT_EQ(model.buildSvd(x, 2, true, false), 0);
    const double ratios[] = {0.92461872, 0.05306648};
    const FMatrix limits = model.qResidualLimits();
    double total = 0.0;
    for (const float l : model.latent) total += l / 149.0;
    for (int a = 0; a < 2; ++a) {
        EXPECT_NEAR(model.explainedVariance()[0][a] / total, ratios[a], 1e-6);
    }
    // Jackson and Mudholkar on what two components leave.
    ASSERT_EQ(limits.cols(), 3);
    const double l3 = model.latent[2] / 149.0, l4 = model.latent[3] / 149.0;
    const double th1 = l3 + l4, th2 = l3 * l3 + l4 * l4, th3 = std::pow(l3, 3) + std::pow(l4, 3);
    const double h0 = 1.0 - 2.0 * th1 * th3 / (3.0 * th2 * th2);
    const double base =
        1.65 * std::sqrt(2.0 * th2 * h0 * h0) / th1 + 1.0 + th2 * h0 * (h0 - 1.0) / (th1 * th1);
    EXPECT_NEAR(limits[0][2], th1 * std::pow(base, 1.0 / h0), 1e-5 * limits[0][2]);
    EXPECT_GT(limits[0][0], limits[0][1]);

    // NIPALS knows no eigenvalue behind its last component.
    ASSERT_EQ(model.buildNipals(x, 2, true, 2000), 0);
    EXPECT_EQ(model.qResidualLimits().cols(), 3);
    EXPECT_EQ(model.qResidualLimits()[0][2], 0.0f);
}

TEST(PcaResults, OddCorners) {
    // One sample has all of the second component, and the third has none at all.
    CPCRModel model;
    model.T = matrixOf({{1, 0, 0}, {-1, 0, 0}, {0, 5, 0}, {0, nan, 0}});
    model.Pt = matrixOf({{2, 0}, {0, 1}, {1, 1}});
    model.weightedX = FMatrix(4, 2, 0.0f);
    model.latent = FVector(3, 0.0f);
    model.latent[0] = 2.0f;
    model.latent[1] = nan;
    model.computeLeverages();
    EXPECT_TRUE(sameBits(model.sampleLeverage, matrixOf({{0.75f, 0.75f, 0.75f},
                                                         {0.75f, 0.75f, 0.75f},
                                                         {0.25f, 0.99f, 0.99f},
                                                         {0.25f, 0.25f, 0.25f}})));
    // The first loading's length divides the others too.
    EXPECT_TRUE(sameBits(model.variableLeverage, matrixOf({{1, 0}, {1, 0.25f}, {1.25f, 0.5f}})));
    model.computeHotellingT2();
    EXPECT_EQ(model.invScale[1][1], 8388608.0f);
    EXPECT_EQ(model.invScale[2][2], 8388608.0f);
    EXPECT_FLOAT_EQ(model.hotellingT2[0][2], 1.5f);
    EXPECT_EQ(model.hotellingT2[3][2], 0.0f);

    using Getter = int (*)(ArrayDesc*);
    const Getter getters[] = {PCA_GetScores,
                              PCA_GetMean,
                              PCA_GetRotationMatrix,
                              PCA_GetReconstructedX,
                              PCA_GetHotellingTSquare,
                              PCA_GetCorrelationLoadings,
                              PCA_GetLatent,
                              PCA_GetQResLim,
                              PCA_GetSquSum,
                              [](ArrayDesc* o) { return PCA_GetResiduals(o, o); },
                              [](ArrayDesc* o) { return PCA_GetLeverages(o, o); }};
    PCA_Init();
    for (const Getter getter : getters) {
        HandedOut out;
        EXPECT_EQ(getter(&out), 0);
        EXPECT_LE(out.rows * out.cols, 1);
    }
    EXPECT_EQ(PCA_GetSquSum(nullptr), -1);

    const InDesc x(randomMatrix(5, 3, 1)), means(FMatrix(1, 3, 0.0f)), t(randomMatrix(9, 2, 2)),
        p(randomMatrix(2, 3, 3)), wide(randomMatrix(2, 4, 3));
    struct Case {
        const ArrayDesc *means, *t, *p;
        int components, scoreCols, t2Cols;
    };
    const Case cases[] = {{&means, &t, &p, 2, 2, 2}, {&means, &t, &p, 3, 0, 0},
                          {&means, &t, &p, 0, 0, 0}, {&means, &t, &wide, 2, 0, 0},
                          {&wide, &t, &p, 2, 0, 0},  {&means, &means, &p, 2, 2, 0}};
    for (const Case& c : cases) {
        HandedOut scores, t2;
        EXPECT_EQ(PCA_Project(&x, c.means, c.t, c.p, &scores, &t2, 1, c.components), 0);
        EXPECT_EQ(scores.cols, c.scoreCols);
        EXPECT_EQ(t2.cols, c.t2Cols);
    }
    EXPECT_EQ(PCA_Project(&x, &means, nullptr, &p, nullptr, nullptr, 1, 2), -1);
    EXPECT_EQ(PCA_Project(&x, &means, &t, &p, nullptr, nullptr, 1, 2), 0);
    PCA_Terminate();
    for (const Getter getter : getters) {
        HandedOut out;
        EXPECT_EQ(getter(&out), -1);
    }
}

TEST(PcaResults, Messages) {
    PCA_Init();
    Recorder recorder;
    PCA_GetResiduals(nullptr, nullptr);
    PCA_GetLeverages(nullptr, nullptr);
    PCA_GetHotellingTSquare(nullptr);
    PCA_GetCorrelationLoadings(nullptr);
    const char* const expected[] = {
        "Computing residuals", "Computing sample and variable leverages",
        "Computing Hotelling T squares", "Computing correlation loadings"};
    ASSERT_EQ(recorder.reports.size(), 4u);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(recorder.reports[i].message, expected[i]);
    PCA_Terminate();
}

}  // namespace
}  // namespace veldane::test
