#include "validation/validation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "core/halt_event.h"
#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"
#include "veldane.h"

namespace veldane::test {
namespace {

/// Both sides of a pair of outputs, or one page of two cubes.
struct Pair {
    explicit Pair(int (*getter)(ArrayDesc*, ArrayDesc*)) : result(getter(&first, &second)) {}

    FMatrix calibration(int page = 0) const { return pageOf(first, page); }
    FMatrix validation(int page = 0) const { return pageOf(second, page); }

    HandedOut first, second;
    int result;

  private:
    static FMatrix pageOf(const HandedOut& out, int page) {
        return out.written() ? cubePage(FCube(out.rows, out.cols, out.pages, out.data), page)
                             : FMatrix();
    }
};

FMatrix eachAlone(int n) {
    return generate(n, 1, [](int i, int) { return static_cast<float>(i + 1); });
}

/// Three samples in each of four segments, in no order.
const FMatrix fourSegments = matrixOf({{1, 5, 9, 0}, {10, 2, 6, 0}, {3, 12, 7, 0}, {4, 8, 11, 0}});

constexpr int n = 12, p = 5;

/// Twelve samples of five variables; each response is explained by the first two.
struct Table {
    explicit Table(int responses, double missing = 0.0)
        : X(randomMatrix(n, p, 3, {missing})), Y(randomMatrix(n, responses, 4)) {
        const FMatrix complete = randomMatrix(n, p, 3);
        for (int i = 0; i < n; ++i) {
            for (int k = 0; k < responses; ++k) {
                Y[i][k] = 3 * complete[i][0] - 2 * complete[i][k + 1] + 0.3f * Y[i][k] + 7;
            }
        }
    }
    FMatrix X, Y;
};

class Validation : public testing::Test {
  protected:
    Validation() {
        PCA_Init();
        PLS_Init();
    }
    ~Validation() override {
        PCA_Terminate();
        PLS_Terminate();
    }

    int buildPls(const FMatrix& x, const FMatrix& y, int factors, int algorithm, int centre = 1) {
        x_ = x.clone();
        y_ = y.clone();
        const ArrayDesc dx = {0, x.cols(), x.rows(), 1, x_[0]};
        const ArrayDesc dy = {0, y.cols(), y.rows(), 1, y_[0]};
        return PLS_BuildModel(&dx, &dy, centre, factors, algorithm);
    }
    int buildPca(const FMatrix& x, int components, int algorithm) {
        x_ = x.clone();
        const ArrayDesc dx = {0, x.cols(), x.rows(), 1, x_[0]};
        return PCA_BuildModel(&dx, components, 1, 2000, algorithm, 0);
    }
    static int validatePls(const FMatrix& segments, int uncertainty = 0, int factors = -1) {
        const InDesc in(segments);
        return PLS_DoValidation(1, &in, uncertainty, factors);
    }
    static int validatePca(const FMatrix& segments, int uncertainty = 0) {
        const InDesc in(segments);
        return PCA_DoValidation(1, &in, uncertainty, -1);
    }

    FMatrix x_, y_;  // the models keep wrappers on them
};

/// The rows of a whose numbers stand in row s of the segments, or all the others.
FMatrix rowsOf(const FMatrix& a, const FMatrix& segments, int s, bool inSegment) {
    std::set<float> named(segments[s], segments[s] + segments.cols());
    std::vector<int> rows;
    for (int i = 0; i < a.rows(); ++i) {
        if ((named.count(static_cast<float>(i + 1)) > 0) == inSegment) rows.push_back(i);
    }
    return a.selectRows(IVector(static_cast<int>(rows.size()), rows.data())).clone();
}

TEST_F(Validation, CrossValidationIsALoopOfBuildsAndProjections) {
    const Table table(2);
    for (const int algorithm : {0, 1, 2}) {
        for (const int centre : {1, 0}) {
            FMatrix expected[4];
            for (int s = 0; s < 4; ++s) {
                ASSERT_EQ(buildPls(rowsOf(table.X, fourSegments, s, false),
                                   rowsOf(table.Y, fourSegments, s, false), 3, algorithm, centre),
                          0);
                const InDesc left(rowsOf(table.X, fourSegments, s, true));
                HandedOut means, rotation, scores, t2;
                ASSERT_EQ(PLS_GetXMeans(&means) + PLS_GetRotationMatrix(&rotation), 0);
                ASSERT_EQ(PLS_Project(&left, &means, nullptr, nullptr, &rotation, &scores, &t2,
                                      centre, 3),
                          0);
                expected[s] = matMultiply(scores.copy(), fetch(PLS_GetYLoadings));
                if (centre) expected[s] = matAdd(expected[s], fetch(PLS_GetYMeans));
            }
            ASSERT_EQ(buildPls(table.X, table.Y, 3, algorithm, centre), 0);
            ASSERT_EQ(validatePls(fourSegments), 0);
            const FMatrix predicted = Pair(PLS_GetYPredicted).validation(2);
            for (int s = 0; s < 4; ++s) {
                EXPECT_TRUE(sameBits(rowsOf(predicted, fourSegments, s, true), expected[s]));
            }
        }
    }
}

TEST_F(Validation, LeaveOneOutOfGasolineIsThatOfAnotherPackage) {
    // pls_reference.R printed these.
    const FMatrix cv = matrixOf({{1.5429900f},
                                 {1.3281674f},
                                 {0.3813088f},
                                 {0.2578943f},
                                 {0.2411522f},
                                 {0.2411555f},
                                 {0.2294477f}});
    const FMatrix octane = matColumn(readTable("examples/data/gasoline.csv"), 0);
    for (const int algorithm : {0, 1, 2, 3}) {
        ASSERT_EQ(buildPls(gasolineSpectra(), octane, 6, algorithm), 0);
        ASSERT_EQ(validatePls(eachAlone(60)), 0);
        EXPECT_TRUE(isClose(Pair(PLS_GetRMSE).validation(), cv, 1e-4)) << algorithm;
        EXPECT_EQ(PLS_GetSuggestedPC(), 3);
    }
}

TEST_F(Validation, LeverageCorrectionOfALeastSquaresFitIsLeaveOneOut) {
    const Table table(1);
    ASSERT_EQ(buildPls(table.X, table.Y, p, 0), 0);  // all factors: least squares
    ASSERT_EQ(PLS_DoValidation(VELDANE_LEVERAGE_CORRECTION, nullptr, 0, -1), 0);
    const FMatrix corrected = Pair(PLS_GetRMSE).validation();
    const FMatrix residuals = Pair(PLS_GetYVariableResiduals).validation();
    ASSERT_EQ(validatePls(eachAlone(n)), 0);
    const FMatrix leftOut = Pair(PLS_GetRMSE).validation();
    for (const int a : {0, p}) {
        EXPECT_NEAR(corrected[a][0], leftOut[a][0], 1e-4 * leftOut[a][0]);
        EXPECT_NEAR(std::sqrt(residuals[a][0]), leftOut[a][0], 1e-4 * leftOut[a][0]);
    }
}

/// Tables of what the segment models of a PCA leave, in double and after the definitions.
TEST_F(Validation, ResidualsOfXHaveTheirDegreesOfFreedom) {
    constexpr int A = 2;
    const Table table(1, 0.1);
    std::vector<double> samples(n * (A + 1)), variables((A + 1) * p), count(p);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < p; ++j) count[j] += std::isnan(table.X[i][j]) ? 0 : 1;
    }
    for (int s = 0; s < 4; ++s) {
        ASSERT_EQ(buildPca(rowsOf(table.X, fourSegments, s, false), A, 3), 0);
        const FMatrix mean = fetch(PCA_GetMean), P = fetch(PCA_GetLoadings);
        for (int c = 0; c < 3; ++c) {
            const int i = static_cast<int>(fourSegments[s][c]) - 1;
            std::vector<double> e(p);
            double present = 0;
            for (int j = 0; j < p; ++j) e[j] = table.X[i][j] - mean[0][j];
            for (int j = 0; j < p; ++j) present += std::isnan(e[j]) ? 0 : 1;
            for (int a = 0; a <= A; ++a) {
                double t = 0, squares = 0;
                for (int j = 0; a > 0 && j < p; ++j) {
                    if (std::isnan(e[j])) continue;
                    t += e[j] * P[a - 1][j];
                    squares += P[a - 1][j] * P[a - 1][j];
                }
                for (int j = 0; j < p; ++j) {
                    if (a > 0) e[j] -= t / squares * P[a - 1][j];
                    if (std::isnan(e[j])) continue;
                    samples[i * (A + 1) + a] += present > a ? e[j] * e[j] / (present - a) : nan;
                    variables[a * p + j] += e[j] * e[j] / ((p - a) * count[j] / p) / 4;
                }
            }
        }
    }
    ASSERT_EQ(buildPca(table.X, A, 3), 0);
    ASSERT_EQ(validatePca(fourSegments), 0);
    const auto expected = [](int rows, int cols, const std::vector<double>& values) {
        return generate(rows, cols, [&](int i, int j) {
            return static_cast<float>(values[static_cast<size_t>(i * cols + j)]);
        });
    };
    EXPECT_TRUE(
        isClose(Pair(PCA_GetSampleResiduals).validation(), expected(n, A + 1, samples), 1e-4));
    EXPECT_TRUE(
        isClose(Pair(PCA_GetVariableResiduals).validation(), expected(A + 1, p, variables), 1e-4));
    const FMatrix total = fetch(PCA_GetTotalResiduals);
    for (int a = 0; a <= A; ++a) {
        double sum = 0;
        for (int j = 0; j < p; ++j) sum += variables[static_cast<size_t>(a * p + j)] / p;
        EXPECT_NEAR(total[a][1], sum, 1e-4 * sum);
    }
}

TEST_F(Validation, CalibrationSidesAreThoseOfTheModel) {
    const Table table(2);
    ASSERT_EQ(buildPca(table.X, 3, 0), 0);
    ASSERT_EQ(validatePca(fourSegments), 0);
    HandedOut samples, variables, reconstructed;
    ASSERT_EQ(PCA_GetResiduals(&samples, &variables), 0);
    const FMatrix withNone = Pair(PCA_GetSampleResiduals).calibration();
    HandedOut alone;
    EXPECT_EQ(PCA_GetVariableResiduals(nullptr, &alone) + PCA_GetTotalResiduals(nullptr), 0);
    EXPECT_TRUE(alone.written());
    EXPECT_TRUE(isClose(matSubMatrix(withNone, 0, n - 1, 1, 3), samples.copy(), 1e-5));
    ASSERT_EQ(PCA_GetReconstructed(&reconstructed), 0);
    const FCube cube(n, p, 3, reconstructed.data);
    EXPECT_TRUE(isClose(cubePage(cube, 2), fetch(PCA_GetReconstructedX), 1e-6));
    EXPECT_TRUE(isClose(fetch(PCA_GetQResiduals),
                        generate(n, 3,
                                 [&](int i, int a) {
                                     float sum = 0;
                                     for (int j = 0; j < p; ++j)
                                         sum += cube[i][j][a] * cube[i][j][a];
                                     return sum;
                                 }),
                        1e-6));

    // Figures of the calibration against their definitions, with weights.
    const InDesc xw(matrixOf({{2, 1, 1, 0.5f, 1}})), yw(matrixOf({{4, 0.5f}}));
    ASSERT_EQ(PLS_SetXWeights(&xw) + PLS_SetYWeights(&yw), 0);
    ASSERT_EQ(buildPls(table.X, table.Y, 3, 0), 0);
    ASSERT_EQ(PLS_DoValidation(VELDANE_LEVERAGE_CORRECTION, nullptr, 0, -1), 0);
    const FMatrix fit = Pair(PLS_GetYPredicted).calibration(2);
    HandedOut beta, studentized, extra;
    ASSERT_EQ(PLS_GetBeta(&beta) + PLS_GetStudentizedResiduals(&studentized) +
                  PLS_GetExtraValidationCal(&extra),
              0);
    const FMatrix b = cubePage(FCube(p + 1, 2, 3, beta.data), 2);
    const FMatrix byBeta = matAdd(matMultiply(table.X, matSubMatrix(b, 1, p, 0, 1)), matRow(b, 0));
    EXPECT_TRUE(isClose(fit, byBeta, 1e-5));
    const FMatrix e = matSubtract(table.Y, fit);
    const FMatrix rmse = Pair(PLS_GetRMSE).calibration();
    const FMatrix r = Pair(PLS_GetMultipleCorrelation).calibration();
    const FMatrix t = cubePage(FCube(n, 2, 3, studentized.data), 2);
    HandedOut leverage;
    ASSERT_EQ(PLS_GetLeverages(&leverage, nullptr), 0);
    for (int k = 0; k < 2; ++k) {
        const double squares = matColumnSumSquare(e, k);
        EXPECT_NEAR(rmse[3][k], std::sqrt(squares / n), 1e-5);
        EXPECT_NEAR(r[3][k], matCorrelation(matColumn(fit, k), matColumn(table.Y, k)), 1e-6);
        EXPECT_TRUE(std::isnan(r[0][k]));
        EXPECT_NEAR(extra.data[(5 * 2 + k) * 3 + 2], r[3][k], 1e-4);
        const double h = leverage.copy()[4][2];
        EXPECT_NEAR(t[4][k], e[4][k] / std::sqrt(squares / (n - 4) * (1 - h)), 1e-3);
    }
}

TEST_F(Validation, ATestSetIsPredictedByTheModel) {
    const Table table(2);
    const Table fresh(2);
    const FMatrix x = matSubMatrix(fresh.X, 0, 6, 0, p - 1), y = matSubMatrix(fresh.Y, 0, 6, 0, 1);
    ASSERT_EQ(buildPls(table.X, table.Y, 3, 2), 0);
    const FMatrix fit = Pair(PLS_GetYPredicted).calibration();
    EXPECT_EQ(fit.size(), 0);
    ASSERT_EQ(PLS_DoTestValidation(&static_cast<const ArrayDesc&>(InDesc(x)),
                                   &static_cast<const ArrayDesc&>(InDesc(y))),
              0);
    // The test samples are samples of the model, so its fit is their prediction.
    const Pair predicted(PLS_GetYPredicted);
    EXPECT_TRUE(
        isClose(predicted.validation(2), matSubMatrix(predicted.calibration(2), 0, 6, 0, 1), 1e-5));
    const Pair reconstructed(PLS_GetTestReconstructed);
    EXPECT_TRUE(isClose(reconstructed.validation(2),
                        matSubMatrix(reconstructed.calibration(2), 0, 6, 0, p - 1), 1e-5));
    const FMatrix sep = fetch(PLS_GetYPredictedStandardError);
    const FMatrix error = matSubtract(predicted.validation(2), y);
    EXPECT_TRUE(isClose(matRow(sep, 3), matColumnStdDev(error, true), 1e-4));
    EXPECT_EQ(Pair(PLS_GetSampleResiduals).validation().rows(), 7);

    const InDesc narrow(matSubMatrix(x, 0, 6, 0, 1));
    EXPECT_EQ(PLS_DoTestValidation(&narrow, &static_cast<const ArrayDesc&>(InDesc(y))), -1);
    EXPECT_EQ(PCA_DoTestValidation(&narrow), -1) << "no model was built";
}

TEST_F(Validation, TheSuggestionHasToPayForEachComponent) {
    CPCRValidation v(BilinearModel{}, FMatrix{});
    v.hasY = 1;
    const std::pair<FMatrix, int> cases[] = {
        {matrixOf({{0, 100}, {0, 50}, {0, 49.5f}, {0, 30}}), 3},
        {matrixOf({{0, 100}, {0, 50}, {0, 49}, {0, 48.5f}}), 1},
        {matrixOf({{0, 100}, {0, nan}, {0, 20}}), 2},
        {matrixOf({{0, nan}, {0, 1}, {0, 2}}), 0},
        {matrixOf({{0, 1}, {0, nan}, {0, nan}}), 0}};
    for (const auto& [residuals, expected] : cases) {
        v.totalResidualsY = residuals;
        EXPECT_EQ(v.suggestedPC(), expected);
    }
}

TEST_F(Validation, RefusesWhatItCannotValidate) {
    const Table table(1);
    HandedOut out, other;
    EXPECT_EQ(PCA_DoValidation(0, nullptr, 0, -1), -1) << "nothing was built";
    ASSERT_EQ(buildPls(table.X, table.Y, 3, 0), 0);
    EXPECT_EQ(PLS_GetRMSE(&out, &other), -1);
    EXPECT_EQ(PLS_GetJKScores(&out), -1);
    EXPECT_EQ(PLS_GetSuggestedPC(), -1);
    EXPECT_FALSE(out.written() || other.written());

    Recorder recorder;
    const FMatrix bad[] = {FMatrix(), matrixOf({{1, 13}}), matrixOf({{-1}}), matrixOf({{1.5f}}),
                           matrixOf({{nan}})};
    for (const FMatrix& segments : bad) EXPECT_EQ(validatePls(segments), -1);
    EXPECT_EQ(recorder.count("Segments must hold sample numbers, or 0 in unused places"), 5);
    EXPECT_EQ(validatePls(fourSegments, 1, 4), -1) << "more factors than the model has";
    EXPECT_EQ(PLS_DoValidation(7, nullptr, 0, 0), 0);
    // A segment that leaves too little ends the run; legal ones of an odd kind do not.
    EXPECT_EQ(validatePls(matrixOf({{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}})), -1);
    EXPECT_EQ(recorder.count("Validation cancelled."), 1);
    EXPECT_EQ(validatePls(matrixOf({{0, 0, 0}, {1, 1, 2}, {2, 3, 0}})), 0);
    PLS_Init();
    EXPECT_EQ(PLS_GetRMSE(&out, &other), -1) << "the model of the validation is gone";
    PCA_Terminate();
    EXPECT_EQ(PCA_DoValidation(0, nullptr, 0, -1), -2);
    EXPECT_EQ(PCA_NumWarnings(), -1);
}

/// What was set or refused since the build is not the model's, and must not be taken for it.
TEST_F(Validation, LeavesAloneWhatDoesNotBelongToTheBuild) {
    const Table table(2);
    const FMatrix noWeights, one = matrixOf({{3}}), single = matrixOf({{1, 2, 3}});
    HandedOut cal, val;
    for (const FMatrix& weights : {noWeights, one}) {
        const InDesc in(weights), x(table.X), y(matColumn(table.Y, 0));
        ASSERT_EQ(PLS_Init() + buildPls(table.X, table.Y, 2, 3), 0);
        ASSERT_EQ(validatePls(fourSegments) + PLS_SetYWeights(&in), 0);
        EXPECT_EQ(PLS_GetYPredicted(&cal, &val), 0);
        EXPECT_EQ(cal.rows * cal.cols + val.rows * val.cols, 0);
        const Pair rmse(PLS_GetRMSE);
        EXPECT_EQ(rmse.calibration().size(), 0);
        EXPECT_EQ(rmse.validation().size(), 6) << "the run's own";
        EXPECT_EQ(PLS_DoTestValidation(&x, &y), -1) << "one response for two";
    }
    PLS_Init();
    ASSERT_EQ(buildPls(table.X, table.Y, 2, 3), 0);
    const InDesc x(single), y(matrixOf({{1, 2}}));
    EXPECT_EQ(PLS_BuildModel(&x, &y, 1, 3, 3), -1);
    EXPECT_EQ(validatePls(fourSegments), -1) << "three factors of two";
    ASSERT_EQ(buildPca(table.X, 2, 3), 0);
    EXPECT_EQ(PCA_BuildModel(&x, 4, 1, 10, 0, 0), -1);
    EXPECT_EQ(validatePca(fourSegments), -1);
    ASSERT_EQ(buildPca(table.X, 0, 0), 0);
    const InDesc in(fourSegments);
    EXPECT_EQ(PCA_DoValidation(1, &in, 1, -1), -1) << "no component";
}

TEST_F(Validation, ACancelEndsItInAnySegment) {
    const Table table(1);
    for (const int algorithm : {0, 3}) {
        for (const char* moment : {"Computing reconstructed X", "Segment 3 of 4. Building model",
                                   "Performing validation: Segment 3 of 4"}) {
            Recorder recorder;
            ASSERT_EQ(buildPca(table.X, 2, algorithm), 0);
            recorder.onReport = [&](const Recorder::Report& report) {
                if (report.message.find(moment) != std::string::npos) halt_computation(0);
            };
            EXPECT_EQ(validatePca(fourSegments, 1), -1) << algorithm << " " << moment;
            EXPECT_EQ(recorder.reports.back().message, "Validation cancelled.");
            EXPECT_EQ(recorder.reports.back().progress, -1.0f);
            const FMatrix samples = Pair(PCA_GetSampleResiduals).validation();
            if (samples.rows() == n) {
                EXPECT_GT(samples[0][0], 0) << "in the first segment";
                EXPECT_EQ(samples[3][0], 0) << "in the last one";
            }
            EXPECT_EQ(fetch(PCA_GetJKScores).size() + fetch(PCA_GetJKLoadings).size(), 0);
            HaltEvent halt;
            halt.open();
            EXPECT_FALSE(halt.poll()) << "the request is used up";
        }
    }
}

}  // namespace
}  // namespace veldane::test
