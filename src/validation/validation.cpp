#include "validation/validation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"
#include "linalg/residual_sums.h"
#include "linalg/score_statistics.h"
#include "validation/residual_tables.h"
#include "validation/uncertainty_test.h"
#include "validation/validation_results.h"

namespace veldane {

struct CPCRValidation::Block {
    bool isX;
    const FMatrix& data;
    const FMatrix& loadings;
    const FMatrix& means;
    FMatrix& samplesCal;
    FMatrix& samplesVal;
    FMatrix& variablesCal;
    FMatrix& variablesVal;
    FMatrix& totals;
};

struct CPCRValidation::SegmentRun {
    const Rebuild& rebuild;
    HaltEvent& halt;
    ResidualDivisors divisorsX;
    ResidualDivisors divisorsY;
};

namespace {

int refuse(const char* message) {
    status().reportError(message);
    return -1;
}

/// The matrix with zeros ahead of its columns, or of its rows: the component that is none.
FMatrix withZeroColumn(const FMatrix& a) {
    return matConcat(FMatrix(a.rows(), 1, 0.0f), a);
}
FMatrix withZeroRow(const FMatrix& a) {
    FMatrix result(a.rows() + 1, a.cols(), 0.0f);
    for (int i = 0; i < a.filledRows(); ++i) std::copy_n(a[i], a.cols(), result[i + 1]);
    return result;
}

ResidualDivisors divisorsOf(const FMatrix& data, bool isX) {
    return {valueCounts(data), isX};
}

float meanOfRow(const FMatrix& a, int i) {
    float sum = 0.0f;
    for (int j = 0; j < a.cols(); ++j) sum += a[i][j];
    return sum / static_cast<float>(a.cols());
}

/// A cube of what no sample has been given.
FCube missingCube(int n1, int n2, int n3) {
    return {n1, n2, n3, missingValue()};
}

/// What predicts y with the residual that its leverage corrects: y - (y - fitted) / (1 - leverage).
FCube correctedFit(const FMatrix& y, const FCube& fitted, const FMatrix& remaining) {
    FCube result = missingCube(fitted.rows(), fitted.cols(), fitted.pages());
    for (int i = 0; i < result.rows(); ++i) {
        for (int k = 0; k < result.cols(); ++k) {
            for (int a = 0; a < result.pages(); ++a) {
                result[i][k][a] = y[i][k] - (y[i][k] - fitted[i][k][a]) / remaining[i][a];
            }
        }
    }
    return result;
}

}  // namespace

CPCRValidation::CPCRValidation(BilinearModel validated, const FMatrix& segmentMatrix)
    : hasY(validated.Y.size() > 0 ? 1 : 0),
      model(std::move(validated)),
      segments(segmentMatrix.clone()) {}

CPCRValidation::CPCRValidation(BilinearModel validated, const FMatrix& testSetX,
                               const FMatrix& testSetY)
    : hasY(validated.Y.size() > 0 ? 1 : 0),
      model(std::move(validated)),
      testX(matScaleColumns(testSetX, model.xWeights)),
      testY(hasY ? matScaleColumns(testSetY, model.yWeights) : FMatrix()),
      givenTestY(testSetY.clone()) {}

CPCRValidation::Block CPCRValidation::blockX() {
    return {true,
            model.X,
            model.Pt,
            model.xMeans,
            sampleResidualsCal,
            sampleResidualsVal,
            variableResidualsCal,
            variableResidualsVal,
            totalResiduals};
}

CPCRValidation::Block CPCRValidation::blockY() {
    return {false,
            model.Y,
            model.Q,
            model.yMeans,
            sampleResidualsCalY,
            sampleResidualsValY,
            variableResidualsCalY,
            variableResidualsValY,
            totalResidualsY};
}

int CPCRValidation::run(int runMode, const Rebuild& rebuild) {
    mode = runMode;
    if (mode < leverageCorrection || mode > testSet) return 0;
    if (!isReady(mode)) return -1;
    HaltEvent halt;
    halt.open();
    if (mode == crossValidation) return validateSegments(rebuild, halt);
    const auto validate =
        mode == testSet ? &CPCRValidation::validateTestSet : &CPCRValidation::correctByLeverage;
    for (const bool isX : {true, false}) {
        if (!isX && !hasY) break;
        const Block block = isX ? blockX() : blockY();
        if (calibrate(block, halt) != 0 || (this->*validate)(block, halt) != 0) return -1;
        computeTotals(block);
    }
    return 0;
}

bool CPCRValidation::isReady(int runMode) const {
    if (!model.isBuilt()) return refuse("There is no model to validate") == 0;
    if (runMode == testSet) {
        const bool fits =
            testX.size() > 0 && testX.cols() == model.X.cols() &&
            (!hasY || (testY.rows() == testX.rows() && testY.cols() == model.Y.cols()));
        return fits || refuse("The test set does not match the model") == 0;
    }
    return runMode == leverageCorrection || segmentsAreValid();
}

bool CPCRValidation::segmentsAreValid() const {
    bool valid = segments.size() > 0;
    const float n = static_cast<float>(model.X.rows());
    for (int s = 0; s < segments.filledRows(); ++s) {
        valid = valid && std::all_of(segments[s], segments[s] + segments.cols(), [n](float entry) {
                    return entry >= 0.0f && entry <= n && entry == std::trunc(entry);
                });
    }
    if (!valid) refuse("Segments must hold sample numbers, or 0 in unused places");
    const bool possible = !uncertaintyOn || uncertaintyPC == -1 ||
                          (uncertaintyPC >= 1 && uncertaintyPC <= model.components());
    if (!possible) refuse("The uncertainty test needs a number of components of the model");
    return valid && possible;
}

bool CPCRValidation::isCancelled(HaltEvent& halt) const {
    if (!halt.poll()) return false;
    status().report(0.0f, "Cancelling validation computation. Please wait...");
    return true;
}

int CPCRValidation::reportsCancelled() const {
    return refuse("Validation cancelled.");
}

int CPCRValidation::calibrate(const Block& block, HaltEvent& halt) {
    status().report(0.0f, block.isX ? "Computing sample and variable residuals for X"
                                    : "Computing sample and variable residuals for Y");
    if (isCancelled(halt)) return reportsCancelled();
    const ResidualSums sums =
        residualSums(block.data, withZeroColumn(model.T), withZeroRow(block.loadings), block.means);
    const int n = block.data.rows(), m = block.data.cols();
    block.samplesCal = matDivideScalar(sums.samples, static_cast<float>(m));
    block.variablesCal = matDivideScalar(sums.variables, static_cast<float>(n));

    status().report(0.0f, block.isX ? "Computing reconstructed X" : "Computing reconstructed Y");
    if (isCancelled(halt)) return reportsCancelled();
    if (block.isX) {
        validatedX = FCube(n, m, model.components(), 0.0f);
        reconstruct(model.T, block.loadings, block.means, allOf(n), validatedX);
    } else {
        fittedY = FCube(n, m, model.components() + 1, 0.0f);
        reconstruct(withZeroColumn(model.T), withZeroRow(block.loadings), block.means, allOf(n),
                    fittedY);
    }
    return 0;
}

int CPCRValidation::correctByLeverage(const Block& block, HaltEvent& halt) {
    if (isCancelled(halt)) return reportsCancelled();
    const int n = block.data.rows();
    // With no component a sample has the leverage that its share in the means gives it.
    const FMatrix leverage =
        matConcat(FMatrix(n, 1, 1.0f / static_cast<float>(n)), sampleLeverages(model.T));
    FMatrix remaining(n, leverage.cols());
    for (int i = 0; i < n; ++i) {
        for (int a = 0; a < leverage.cols(); ++a) remaining[i][a] = 1.0f - leverage[i][a];
    }
    const FMatrix e = lessMeans(block.data, block.means);
    block.samplesVal = FMatrix(n, model.components() + 1, 0.0f);
    block.variablesVal = FMatrix(model.components() + 1, block.data.cols(), 0.0f);
    addResiduals(e, model.T, block.loadings, remaining, divisorsOf(block.data, block.isX), allOf(n),
                 block.samplesVal, block.variablesVal);
    if (!block.isX) predictedY = correctedFit(model.Y, fittedY, remaining);
    return 0;
}

int CPCRValidation::validateTestSet(const Block& block, HaltEvent& halt) {
    if (isCancelled(halt)) return reportsCancelled();
    const FMatrix& data = block.isX ? testX : testY;
    const FMatrix e = lessMeans(data, block.means);
    if (block.isX) testScores = project(model, e);
    const FMatrix& t = testScores;
    const int n = data.rows(), A = model.components();
    block.samplesVal = FMatrix(n, A + 1, 0.0f);
    block.variablesVal = FMatrix(A + 1, data.cols(), 0.0f);
    addResiduals(e, t, block.loadings, {}, divisorsOf(data, block.isX), allOf(n), block.samplesVal,
                 block.variablesVal);
    if (block.isX) {
        testReconstructed = FCube(n, data.cols(), A, 0.0f);
        reconstruct(t, block.loadings, block.means, allOf(n), testReconstructed);
    } else {
        predictedY = FCube(n, data.cols(), A + 1, 0.0f);
        reconstruct(withZeroColumn(t), withZeroRow(block.loadings), block.means, allOf(n),
                    predictedY);
    }
    return 0;
}

void CPCRValidation::findSegments() {
    segmentOf = FMatrix(model.X.rows(), 1, -1.0f);
    for (int s = 0; s < segments.rows(); ++s) {
        for (int c = 0; c < segments.cols(); ++c) {
            const int sample = static_cast<int>(segments[s][c]);
            if (sample > 0) segmentOf[sample - 1][0] = static_cast<float>(s);
        }
    }
}

void CPCRValidation::prepareTables() {
    const int n = model.X.rows(), m = model.X.cols(), q = model.Y.cols();
    const int A = model.components();
    sampleResidualsVal = FMatrix(n, A + 1, 0.0f);
    variableResidualsVal = FMatrix(A + 1, m, 0.0f);
    totalResiduals = FMatrix(A + 1, 2, 0.0f);
    if (!hasY) return;
    sampleResidualsValY = FMatrix(n, A + 1, 0.0f);
    variableResidualsValY = FMatrix(A + 1, q, 0.0f);
    totalResidualsY = FMatrix(A + 1, 2, 0.0f);
    leftOutX = missingCube(n, m, A);
    predictedY = missingCube(n, q, A + 1);
}

int CPCRValidation::validateSegments(const Rebuild& rebuild, HaltEvent& halt) {
    findSegments();
    if (calibrate(blockX(), halt) != 0) return -1;
    if (hasY && calibrate(blockY(), halt) != 0) return -1;
    const bool numberGiven = uncertaintyPC != -1;
    if (uncertaintyOn) {
        if (!numberGiven) uncertaintyPC = model.components();
        prepareUncertaintyTest(*this);
    }
    prepareTables();
    const SegmentRun run = {rebuild, halt, divisorsOf(model.X, true), divisorsOf(model.Y, false)};
    for (int s = 0; s < segments.rows(); ++s) {
        if (validateSegment(s, run) == 0) continue;
        discardSegmentModels(*this);
        return -1;
    }
    // The shares of X have the divisor of all samples already. That they are divided by the number
    // of segments as well is wanted.
    variableResidualsVal =
        matDivideScalar(variableResidualsVal, static_cast<float>(segments.rows()));
    computeTotals(blockX());
    if (hasY) {
        computeTotals(blockY());
        rmseLeftOut = rootMeanSquareError(*this, Side::validation);
    }
    return uncertaintyOn ? testUncertainty(numberGiven) : 0;
}

int CPCRValidation::validateSegment(int s, const SegmentRun& run) {
    const int count = segments.rows();
    const std::string label =
        formatMessage("Performing validation: Segment %d of %d. Building model", s + 1, count);
    if (isCancelled(run.halt)) return reportsCancelled();
    const SampleSplit split(segments, s, model.X.rows());
    BilinearModel segment;
    const FMatrix y = hasY ? model.Y.selectRows(split.kept) : FMatrix();
    const int result = run.rebuild(model.X.selectRows(split.kept), y, label.c_str(), segment);
    if (result != 0 || run.halt.poll() || !segment.isBuilt()) return reportsCancelled();
    status().report(static_cast<float>(s + 1) / static_cast<float>(count),
                    formatMessage("Performing validation: Segment %d of %d", s + 1, count));
    const FMatrix e = lessMeans(model.X.selectRows(split.leftOut), segment.xMeans);
    const FMatrix t = project(segment, e);
    if (split.leftOut.size() > 0) addLeftOut(segment, split, e, t, run);
    if (uncertaintyOn) collectSegmentModel(*this, segment, split, t, s);
    return 0;
}

void CPCRValidation::addLeftOut(const BilinearModel& segment, const SampleSplit& split,
                                const FMatrix& e, const FMatrix& t, const SegmentRun& run) {
    addResiduals(e, t, segment.Pt, {}, run.divisorsX, split.leftOut, sampleResidualsVal,
                 variableResidualsVal);
    if (!hasY) return;
    reconstruct(t, segment.Pt, segment.xMeans, split.leftOut, leftOutX);
    const FMatrix y = model.Y.selectRows(split.leftOut);
    addResiduals(lessMeans(y, segment.yMeans), t, segment.Q, {}, run.divisorsY, split.leftOut,
                 sampleResidualsValY, variableResidualsValY);
    reconstruct(withZeroColumn(t), withZeroRow(segment.Q), segment.yMeans, split.leftOut,
                predictedY);
}

void CPCRValidation::computeTotals(const Block& block) {
    block.totals = FMatrix(model.components() + 1, 2);
    for (int a = 0; a <= model.components(); ++a) {
        block.totals[a][0] = meanOfRow(block.variablesCal, a);
        block.totals[a][1] = meanOfRow(block.variablesVal, a);
    }
}

int CPCRValidation::testUncertainty(bool numberGiven) {
    if (!numberGiven) {
        uncertaintyPC = suggestedPC();
        if (uncertaintyPC == 0) {
            refuse(model.hasFactors
                       ? "No Factor is suggested. Setting Factor to 1 for Uncertainty test"
                       : "No PC is suggested. Setting PC to 1 for Uncertainty test");
            uncertaintyPC = 1;
        }
    }
    status().report(0.0f, "Computing uncertainty test");
    computeUncertainties(*this);
    return 0;
}

bool CPCRValidation::isComplete() const {
    const int n = model.X.rows(), steps = model.components() + 1;
    const auto fits = [&](const FMatrix& total, const FMatrix& samples, const FMatrix& variables,
                          int cols) {
        return total.rows() == steps && samples.rows() == n && samples.cols() == steps &&
               variables.rows() == steps && variables.cols() == cols;
    };
    return model.isBuilt() &&
           fits(totalResiduals, sampleResidualsCal, variableResidualsCal, model.X.cols()) &&
           (!hasY ||
            fits(totalResidualsY, sampleResidualsCalY, variableResidualsCalY, model.Y.cols()));
}

int CPCRValidation::suggestedPC() const {
    const FMatrix& r = hasY ? totalResidualsY : totalResiduals;
    int best = 0;
    double least = 0.0;
    for (int a = 0; a < r.rows(); ++a) {
        if (isMissing(r[a][1])) continue;
        // Each component has to pay for itself with 1 % of what there is without any.
        const double value = r[a][1] + 0.01 * a * r[0][1];
        if (a > 0 && !(value < least)) continue;
        best = a;
        least = value;
    }
    return best;
}

}  // namespace veldane
