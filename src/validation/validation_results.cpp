#include "validation/validation_results.h"

#include <cmath>

#include "linalg/kernels.h"
#include "linalg/score_statistics.h"
#include "utilities/two_column_statistics.h"

namespace veldane {
namespace {

const FMatrix& givenY(const CPCRValidation& v, Side side) {
    const bool tested = side == Side::validation && v.mode == CPCRValidation::testSet;
    return tested ? v.givenTestY : v.model.givenY;
}

/// Predictions with 0 to A components, samples x q x (A + 1).
FCube allPredictions(const CPCRValidation& v, Side side) {
    const FCube& weighted = side == Side::calibration ? v.fittedY : v.predictedY;
    // Weights that were set since the build need not fit it.
    if (v.model.yWeights.rows() != 1 || v.model.yWeights.cols() != weighted.cols()) return {};
    FCube result(weighted.rows(), weighted.cols(), weighted.pages(), 0.0f);
    for (int i = 0; i < result.rows(); ++i) {
        for (int k = 0; k < result.cols(); ++k) {
            for (int a = 0; a < result.pages(); ++a) {
                result[i][k][a] = weighted[i][k][a] / v.model.yWeights[0][k];
            }
        }
    }
    return result;
}

/// A figure of predictions and Y, from column `a` of the predictions and that of one response.
/// Row a of the result has a components.
template <class Figure>
FMatrix eachResponse(const CPCRValidation& v, Side side, Figure figure) {
    const FCube predicted = allPredictions(v, side);
    FMatrix result(predicted.pages(), predicted.cols());
    for (int a = 0; a < result.filledRows(); ++a) {
        const FMatrix page = cubePage(predicted, a);
        for (int k = 0; k < result.cols(); ++k) {
            result[a][k] = figure(matColumn(page, k), matColumn(givenY(v, side), k), a);
        }
    }
    return result;
}

int valuesIn(const FMatrix& column) {
    int count = 0;
    for (int i = 0; i < column.rows(); ++i) count += isMissing(column[i][0]) ? 0 : 1;
    return count;
}

/// Degrees of freedom that are left to the residuals of a response with a components.
float residualDegrees(const BilinearModel& model, int values, int a) {
    return static_cast<float>(values - a - (model.yMeans.size() > 0 ? 1 : 0));
}

}  // namespace

FCube predictedY(const CPCRValidation& v, Side side) {
    const FCube all = allPredictions(v, side);
    FCube result(all.rows(), all.cols(), all.pages() - 1, 0.0f);
    for (int i = 0; i < result.rows(); ++i) {
        for (int k = 0; k < result.cols(); ++k) {
            for (int a = 0; a < result.pages(); ++a) result[i][k][a] = all[i][k][a + 1];
        }
    }
    return result;
}

FMatrix rootMeanSquareError(const CPCRValidation& v, Side side) {
    return eachResponse(v, side, [](const FMatrix& predicted, const FMatrix& y, int) {
        const FMatrix error = matSubtractSame(predicted, y);
        return std::sqrt(matColumnSumSquare(error, 0) / static_cast<float>(valuesIn(error)));
    });
}

FMatrix multipleCorrelation(const CPCRValidation& v, Side side) {
    return eachResponse(v, side, [](const FMatrix& predicted, const FMatrix& y, int a) {
        return a == 0 ? missingValue() : matCorrelation(predicted, y);
    });
}

FMatrix standardErrorOfPrediction(const CPCRValidation& v) {
    return eachResponse(v, Side::validation, [](const FMatrix& predicted, const FMatrix& y, int) {
        return matColumnStdDev(matSubtractSame(predicted, y), true)[0][0];
    });
}

FCube studentizedResiduals(const CPCRValidation& v) {
    const FCube predicted = predictedY(v, Side::calibration);
    const FMatrix leverage = sampleLeverages(v.model.T);
    FCube result(predicted.rows(), predicted.cols(), predicted.pages(), 0.0f);
    for (int a = 0; a < result.pages(); ++a) {
        const FMatrix residuals = matSubtractSame(v.model.givenY, cubePage(predicted, a));
        for (int k = 0; k < result.cols(); ++k) {
            const float degrees =
                residualDegrees(v.model, valuesIn(matColumn(residuals, k)), a + 1);
            const float s = degrees > 0.0f ? std::sqrt(matColumnSumSquare(residuals, k) / degrees)
                                           : missingValue();
            for (int i = 0; i < result.rows(); ++i) {
                result[i][k][a] = residuals[i][k] / (s * std::sqrt(1.0f - leverage[i][a]));
            }
        }
    }
    return result;
}

FCube extraValidation(const CPCRValidation& v, Side side) {
    const FCube predicted = predictedY(v, side);
    return predictionStatistics(predicted, givenY(v, side), predicted.pages());
}

FMatrix qResiduals(const CPCRValidation& v) {
    const FCube& x = v.validatedX;
    FMatrix result(x.rows(), x.pages(), 0.0f);
    for (int i = 0; i < result.filledRows(); ++i) {
        for (int j = 0; j < x.cols(); ++j) {
            for (int a = 0; a < x.pages(); ++a) {
                const float value = x[i][j][a];
                if (!isMissing(value)) result[i][a] += value * value;
            }
        }
    }
    return result;
}

FMatrix totalResidualsXY(const CPCRValidation& v, Side side) {
    const int column = side == Side::calibration ? 0 : 1;
    return matConcat(matColumn(v.totalResiduals, column), matColumn(v.totalResidualsY, column));
}

FCube reconstructedX(const CPCRValidation& v, Side side) {
    if (side == Side::calibration) return v.validatedX;
    if (v.mode == CPCRValidation::testSet) return v.testReconstructed;
    if (v.mode == CPCRValidation::crossValidation) return v.leftOutX;
    const FMatrix leverage = sampleLeverages(v.model.T);
    FCube result(v.validatedX.rows(), v.validatedX.cols(), v.validatedX.pages(), 0.0f);
    for (int i = 0; i < result.rows(); ++i) {
        for (int j = 0; j < result.cols(); ++j) {
            const float x = v.model.X[i][j];
            for (int a = 0; a < result.pages(); ++a) {
                result[i][j][a] = x - (x - v.validatedX[i][j][a]) / (1.0f - leverage[i][a]);
            }
        }
    }
    return result;
}

}  // namespace veldane
