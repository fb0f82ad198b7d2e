#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cmath>
#include <future>
#include <thread>

#include "linalg/kernels.h"
#include "regression/pls_model.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

enum { covariance, sample, nipals, missingNipals };
constexpr int algorithms[] = {VELDANE_PLS_COVARIANCE_KERNEL, VELDANE_PLS_SAMPLE_KERNEL,
                              VELDANE_PLS_NIPALS, VELDANE_PLS_MISSING_NIPALS};

FMatrix octane() {
    return matColumn(readTable("examples/data/gasoline.csv"), 0);
}

CPLSModel built(const FMatrix& x, const FMatrix& y, int factors, int algorithm,
                bool centre = true) {
    CPLSModel model;
    EXPECT_EQ(model.build(x, y, factors, centre, algorithm), 0);
    return model;
}

/// Intercepts and slopes with all factors, (p + 1) x m.
FMatrix coefficients(const CPLSModel& model) {
    return cubePage(model.betaWeighted, model.numFactors - 1);
}

FMatrix predictions(const CPLSModel& model, const FMatrix& x) {
    const FMatrix b = coefficients(model);
    return matAdd(matMultiply(x, b.view(1, x.cols(), 0, b.cols() - 1)), matRow(b, 0));
}

/// Three factors of different size, 25 x 12, and what they make of m responses without noise.
struct Structured {
    explicit Structured(int m)
        : scores(matScaleColumns(randomMatrix(25, 3, 1), matrixOf({{3, 2, 1}}))),
          x(matAddScalar(matMultiply(scores, randomMatrix(3, 12, 2)), 1.0f)),
          y(matAddScalar(matMultiply(scores, randomMatrix(3, m, 3)), 2.0f)) {}
    FMatrix scores, x, y;
};

std::string lines(const Recorder& recorder) {
    std::string all;
    for (const auto& report : recorder.reports) {
        all += testing::PrintToString(report.progress) + " " + report.message + "\n";
    }
    return all;
}

TEST(Pls, GasolineCoefficientsAreThoseOfAnotherPackage) {
    const FMatrix reference = readTable("tests/data/pls_reference.csv");
    for (const int algorithm : algorithms) {
        const CPLSModel model = built(gasolineSpectra(), octane(), 5, algorithm);
        const FMatrix actual = generate(10, 5, [&](int i, int a) {
            return model.betaWeighted[i == 0 ? 0 : 50 * i - 49][0][a];
        });
        EXPECT_TRUE(isClose(matRow(actual, 0), matRow(reference, 0), 1e-5)) << algorithm;
        EXPECT_TRUE(isClose(actual.view(1, 9, 0, 4), reference.view(1, 9, 0, 4), 1e-4));
    }
}

TEST(Pls, RecoversAKnownStructureAndKeepsItsIdentities) {
    for (const int m : {1, 2, 14}) {
        const Structured data(m);
        const FMatrix first = coefficients(built(data.x, data.y, 3, covariance));
        for (const int algorithm : algorithms) {
            SCOPED_TRACE(testing::Message() << m << " responses, algorithm " << algorithm);
            const CPLSModel model = built(data.x, data.y, 3, algorithm);
            const FMatrix x = matSubtract(data.x, model.xMeans);
            const FMatrix y = matSubtract(data.y, model.yMeans);
            EXPECT_TRUE(isClose(coefficients(model), first, 2e-4));
            EXPECT_TRUE(isClose(predictions(model, data.x), data.y, 1e-5));
            const FMatrix t0 = matColumn(model.T, 0), tt = matXtX(model.T);
            EXPECT_TRUE(isClose(tt, matHadamard(tt, identity(3)), 1e-5));
            EXPECT_TRUE(isClose(matXXt(model.Wt), identity(3), 1e-4));
            EXPECT_TRUE(isClose(matMultiply(x, model.R), model.T, 1e-4));
            EXPECT_TRUE(isClose(matMultiply(model.T, model.Pt), x, 1e-4));
            const FMatrix q = transposed(matRow(model.Q, 0)), fit = matMultiplyABt(t0, q);
            const FMatrix u = m == 1 ? y : matMultiply(y, dividedBySquare(q));
            EXPECT_TRUE(isClose(matColumn(model.U, 0), u, 2e-3));
            const FMatrix u1 = matColumn(model.U, 1);
            EXPECT_TRUE(m > 1 || isClose(u1, matSubtract(y, fit), 1e-4));
            EXPECT_TRUE(algorithm != covariance || std::fabs(matMultiplyAtB(t0, u1)[0][0]) < 1e-3);
            if (algorithm == missingNipals) continue;
            // Of the residuals each builder has its own form.
            const FMatrix left = algorithm == sample && m == 1 ? FMatrix(25, 1, 0.0f) : y;
            const FMatrix means = matScale(model.yMeans, algorithm == covariance ? 1.0f : 0.0f);
            const FMatrix residuals = matSubtract(matSubtract(left, fit), means);
            EXPECT_TRUE(isClose(cubePage(model.yFitted, 0), matAdd(fit, model.yMeans), 1e-5));
            EXPECT_TRUE(isClose(cubePage(model.yResiduals, 0), residuals, 1e-4));
        }
    }
}

TEST(Pls, SeveralResponsesAgree) {
    const FMatrix x = randomMatrix(40, 15, 1);
    const FMatrix y =
        matAdd(matMultiply(x, matScale(randomMatrix(15, 3, 2), 2.0f)), randomMatrix(40, 3, 3));
    for (const bool centre : {false, true}) {
        const CPLSModel expected = built(x, y, 4, covariance, centre);
        for (const int algorithm : {sample, nipals, missingNipals}) {
            const CPLSModel model = built(x, y, 4, algorithm, centre);
            EXPECT_TRUE(sameColumnsUpToSign(model.T, expected.T, 2e-3)) << algorithm;
            EXPECT_TRUE(isClose(coefficients(model), coefficients(expected), 1e-3));
            EXPECT_EQ(model.betaWeighted[0][1][3] == 0.0f, !centre);
        }
    }
}

TEST(Pls, MissingValuesLeaveTheCoefficientsClose) {
    const Structured data(2);
    const FMatrix complete = coefficients(built(data.x, data.y, 3, missingNipals));
    const FMatrix spectra = gasolineSpectra();
    const FMatrix fit = predictions(built(spectra, octane(), 3, missingNipals), spectra);
    for (const double share : {0.01, 0.05, 0.20}) {
        const FMatrix x = withoutValues(data.x, share), y = withoutValues(data.y, share / 2);
        EXPECT_TRUE(isClose(coefficients(built(x, y, 3, missingNipals)), complete, 1.5 * share));
        const CPLSModel model = built(withoutValues(spectra, share), octane(), 3, missingNipals);
        EXPECT_TRUE(isClose(predictions(model, spectra), fit, 0.001 + 0.01 * share));
    }
}

TEST(Pls, MissingNipalsFollowsItsLeastSquaresSlopes) {
    // One response with a gap, which starts as 0: u = (1, 0, 2), w = (1 / (5 - 4), 8 / (5 - 1)).
    const FMatrix x = matrixOf({{1, nan}, {2, 3}, {nan, 4}}), y = matrixOf({{1}, {nan}, {2}});
    const CPLSModel model = built(x, y, 1, missingNipals, false);
    const float root = std::sqrt(5.0f), t0 = root, t1 = 8 / root, t2 = 2 * root;
    EXPECT_TRUE(isClose(model.Wt, matrixOf({{1 / root, 2 / root}}), 1e-6));
    EXPECT_TRUE(isClose(model.T, matrixOf({{t0}, {t1}, {t2}}), 1e-6));
    EXPECT_NEAR(model.Q[0][0], (t0 + 2 * t2) / (t0 * t0 + t2 * t2), 1e-6);
    EXPECT_NEAR(model.Pt[0][1], (3 * t1 + 4 * t2) / (t1 * t1 + t2 * t2), 1e-6);
    EXPECT_TRUE(sameBits(model.U, matrixOf({{1}, {0}, {2}})));
    EXPECT_TRUE(sameBits(model.xMeans, matrixOf({{1.5f, 3.5f}})));
    EXPECT_EQ(built(x, y, 1, nipals, false).xMeans[0][0], 1.0f);
}

TEST(Pls, ReportsEachFactorAndWhatDidNotConverge) {
    const FMatrix x = randomMatrix(9, 6, 1), y = randomMatrix(9, 3, 2);
    for (const int algorithm : {covariance, missingNipals}) {
        CPLSModel model;
        model.setLabel("cal");
        const Recorder recorder;
        EXPECT_EQ(model.build(x, y, 2, true, algorithm), 0);
        EXPECT_EQ(lines(recorder), "0.5 cal Computing factor 1\n1 cal Computing factor 2\n");
    }
    const Recorder recorder;
    built(gasolineSpectra(), octane(), 5, sample);
    EXPECT_EQ(recorder.count("Convergence failure - factor 5 "), 1);
    EXPECT_EQ(recorder.reports.back().message, "PLS computation completed");
    CPLSModel model;
    EXPECT_EQ(model.buildNipals(x, y, 1, true, 1), 0);
    EXPECT_TRUE(isMissing((recorder.reports.end() - 2)->progress));
    EXPECT_EQ(recorder.reports.back().message, "Convergence failure while computing factor 1");
}

TEST(Pls, CancelAtTheHeadOfAFactorKeepsTheFactorsBefore) {
    const FMatrix x = randomMatrix(20, 8, 1), y = randomMatrix(20, 2, 2);
    const std::string wait = "1 Cancelling computation. Please wait.\n";
    const std::string error = "-1 Computation cancelled. Results are incomplete.\n";
    const std::string ends[] = {error, error + "1 PLS computation terminated\n", "", error};
    for (const int algorithm : algorithms) {
        const CPLSModel full = built(x, y, 3, algorithm);
        for (int reached = 0; reached < 3; ++reached) {
            SCOPED_TRACE(testing::Message() << algorithm << ", factors " << reached);
            CPLSModel model;
            Recorder recorder;
            recorder.onReport = [&](const Recorder::Report& report) {
                const std::string head = "factor " + std::to_string(reached + 1);
                if (report.message.find(head) != std::string::npos) halt_computation(0);
            };
            EXPECT_EQ(model.build(x, y, 3, true, algorithm), -1);
            const std::string all = lines(recorder);
            EXPECT_EQ(all.substr(all.find(wait)), wait + ends[algorithm] + "0 \n");
            EXPECT_EQ(model.numFactors, 3);
            // The factors that were reached, and zeros.
            const FMatrix some(1, 3, 0.0f);
            std::fill_n(some[0], reached, 1.0f);
            EXPECT_TRUE(isClose(model.T, matScaleColumns(full.T, some), 0));
            EXPECT_TRUE(isClose(model.U, matScaleColumns(full.U, some), 0));
            EXPECT_TRUE(isClose(model.Wt, matHadamard(full.Wt, transposed(some)), 0));
            EXPECT_TRUE(isClose(model.Pt, matHadamard(full.Pt, transposed(some)), 0));
            EXPECT_TRUE(isClose(model.R, matScaleColumns(full.R, some), 1e-4));
            for (int a = 0; a < 3; ++a) {
                FMatrix expected(9, 2, 0.0f);
                matSetRow(expected, model.yMeans.storage(), 0);
                if (a < reached) expected = cubePage(full.betaWeighted, a);
                EXPECT_TRUE(isClose(cubePage(model.betaWeighted, a), expected, 1e-4));
            }
        }
    }
}

TEST(Pls, CancelWithinAFactorFinishesIt) {
    // The second score fades by a hundred-thousandth a round: millions of rounds if not cancelled.
    const FMatrix x = matrixOf({{1, 0}, {0, 1 - 5e-6f}}), y = matrixOf({{1, 1}, {-1, 1}});
    CPLSModel model;
    Recorder recorder;
    std::future<void> other;
    recorder.onReport = [&](const Recorder::Report& report) {
        if (report.message != "Computing factor 1") return;
        other = std::async(std::launch::async, [] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            halt_computation(0);
        });
    };
    EXPECT_EQ(model.buildNipals(x, y, 2, false, INT_MAX), -1);
    EXPECT_EQ(lines(recorder),
              "0 Computing factor 1\n-1 Computation cancelled. Results are incomplete.\n"
              "1 Computing factor 2\n1 Cancelling computation. Please wait.\n0 \n");
    EXPECT_NEAR(matRowSumSquare(model.Wt, 0), 1, 1e-6);
    EXPECT_EQ(matRowSumSquare(model.Wt, 1), 0);
}

TEST(Pls, DegenerateDataLeaveWhatTheyCan) {
    // X'Y = 0 with one response: NaN. A t of 0: zeros, as the inverse of t't is empty.
    const FMatrix x = matrixOf({{1, 2}, {1, -1}, {1, -1}}), flat(3, 1, 4.0f);
    const FMatrix zero(3, 2, 0.0f), gap = matrixOf({{1, nan}, {2, 1}, {3, 5}}),
                                    gone = matrixOf({{1, nan}, {2, nan}, {3, nan}});
    for (const int algorithm : algorithms) {
        EXPECT_TRUE(isMissing(built(x, flat, 2, algorithm).T[0][0])) << algorithm;
        for (const FMatrix& y : {x, flat}) built(zero, y, 2, algorithm);
        // No solver may go on for ever.
        EXPECT_EQ(isMissing(built(gap, x, 2, algorithm).T[1][0]), algorithm != missingNipals);
        EXPECT_TRUE(isMissing(built(gone, flat, 2, algorithm, false).Wt[0][1])) << algorithm;
    }
    const CPLSModel model = built(zero, x, 2, covariance);
    EXPECT_TRUE(sameBits(model.T, zero) && sameBits(model.U, zero));
    EXPECT_TRUE(sameBits(model.Pt, FMatrix(2, 2, 0.0f)) && sameBits(model.Q, model.Pt));
    EXPECT_EQ(matRowSumSquare(model.Wt, 0), 1.0f);
    for (const int algorithm : {covariance, sample, nipals}) {
        const CPLSModel single = built(x, matColumn(x, 1), 1, algorithm);
        EXPECT_TRUE(sameBits(transposed(single.R), single.Wt));
    }
}

FCube fetchCube(int (*getter)(ArrayDesc*)) {
    HandedOut out;
    EXPECT_EQ(getter(&out), 0);
    return {out.rows, out.cols, out.pages, out.data};
}

TEST(PlsExports, HandOutTheModelInRawUnits) {
    const FMatrix xw = matrixOf({{2, 0.5f, 1, 3, 1, 1}}), yw = matrixOf({{4, 0.25f}});
    const InDesc x(randomMatrix(9, 6, 1)), y(randomMatrix(9, 2, 2)), xWeights(xw), yWeights(yw);
    const CPLSModel scaled =
        built(matScaleColumns(x.elements, xw), matScaleColumns(y.elements, yw), 2, covariance);
    PLS_Init();
    ASSERT_EQ(PLS_SetXWeights(&xWeights) + PLS_SetYWeights(&yWeights), 0);
    ASSERT_EQ(PLS_BuildModel(&x, &y, 1, 2, covariance), 0);
    const std::pair<int (*)(ArrayDesc*), FMatrix> arrays[] = {
        {PLS_GetXScores, scaled.T},         {PLS_GetYScores, scaled.U},
        {PLS_GetXLoadings, scaled.Pt},      {PLS_GetYLoadings, scaled.Q},
        {PLS_GetLoadingWeights, scaled.Wt}, {PLS_GetXMeans, scaled.xMeans},
        {PLS_GetYMeans, scaled.yMeans},     {PLS_GetRotationMatrix, transposed(scaled.R)}};
    for (const auto& [getter, expected] : arrays) {
        EXPECT_TRUE(sameBits(fetch(getter), expected) && getter(nullptr) == -1);
    }
    const FCube weighted = fetchCube(PLS_GetWBeta), raw = fetchCube(PLS_GetBeta);
    EXPECT_TRUE(sameBits(cubePage(weighted, 1), cubePage(scaled.betaWeighted, 1)));
    EXPECT_EQ(raw[0][1][1], weighted[0][1][1] / 0.25f);
    EXPECT_EQ(raw[4][1][0], weighted[4][1][0] * 3 / 0.25f);
    // Weights stay for the next build; the intercepts go with the centring.
    ASSERT_EQ(PLS_BuildModel(&x, &y, -1, 2, covariance), 0);
    EXPECT_EQ(fetchCube(PLS_GetBeta)[0][1][1], 0.0f);
    EXPECT_EQ(PLS_SetXWeights(nullptr) + fetchCube(PLS_GetBeta).size(), 0);
}

TEST(PlsExports, RefusalsLeaveTheModel) {
    const InDesc x(randomMatrix(5, 4, 1)), y(randomMatrix(5, 2, 2)), few(randomMatrix(1, 4, 1)),
        thin(randomMatrix(5, 1, 1)), none(FMatrix(0, 0)), otherRows(randomMatrix(4, 2, 2));
    PLS_Init();
    ASSERT_EQ(PLS_BuildModel(&x, &y, 1, 2, nipals), 0);
    const FMatrix scores = fetch(PLS_GetXScores);
    const std::string range = "The number of factors must be between 1 and the smaller extent of X";
    const std::tuple<const ArrayDesc*, const ArrayDesc*, int, std::vector<int>, std::string>
        cases[] = {{&x, &y, 2, {-1, 4}, ""},
                   {nullptr, &y, 2, {0, 3}, ""},
                   {&x, nullptr, 2, {0, 3}, ""},
                   {&x, &none, 2, {0, 1, 2, 3}, "X or Y is empty"},
                   {&none, &y, 0, {0, 1, 2}, "X or Y is empty"},
                   {&few, &y, 0, {3}, "Insufficient data for analysis"},
                   {&thin, &y, 1, {3}, "Insufficient data for analysis"},
                   {&x, &otherRows, 2, {0, 3}, "X and Y have different numbers of samples"},
                   {&x, &y, 0, {0, 1, 2, 3}, range},
                   {&x, &y, 5, {0, 1, 2, 3}, range},
                   {&x, &x, 2, {0, 1, 2, 3}, "Weights do not match the variables"}};
    for (const auto& [xIn, yIn, factors, numbers, message] : cases) {
        for (const int algorithm : numbers) {
            const Recorder recorder;
            EXPECT_EQ(PLS_BuildModel(xIn, yIn, 1, factors, algorithm), -1) << message;
            EXPECT_EQ(lines(recorder), message.empty() ? "" : "-1 " + message + "\n");
            EXPECT_TRUE(sameBits(fetch(PLS_GetXScores), scores));
        }
    }
    PLS_Init();
    EXPECT_EQ(fetch(PLS_GetXScores).size() + fetchCube(PLS_GetBeta).size(), 0);
    PLS_Terminate();
    HandedOut out;
    EXPECT_TRUE(PLS_GetBeta(&out) == -1 && PLS_GetWBeta(&out) == -1 && PLS_SetXWeights(&x) == -1);
    EXPECT_TRUE(PLS_GetRotationMatrix(&out) == -1 && PLS_BuildModel(&x, &y, 1, 2, 0) == -1);
}

}  // namespace
}  // namespace veldane::test
