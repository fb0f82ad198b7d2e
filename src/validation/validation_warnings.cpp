#include <cmath>

#include "linalg/kernels.h"
#include "linalg/score_statistics.h"
#include "utilities/explained_variance.h"
#include "validation/validation.h"
#include "validation/warning_list.h"

namespace veldane {
namespace {

/// Rows of the thresholds.
enum Limit {
    sampleLeverageLimit = 0,
    residualRise = 1,
    calibrationShare = 4,
    explainedPercentage = 5,
    sampleResidual = 7,
    variableResidualCal = 9,
    variableResidualVal = 10,
    validationShare = 11,
    elementResidual = 12,
    limits = 14
};

/// The number of components at which explained variance is judged, a number of the design.
constexpr int judgedComponents = 3;

constexpr float none = -1.0f;

/// One search at one number of components.
struct Search {
    WarningList& found;
    const FMatrix& thresholds;
    int components;

    bool isAbove(float value, Limit limit) const { return value > thresholds[limit][0]; }

    void add(int code, const WarningKey& key, float number, float second, Limit limit,
             float value) const {
        found.add(key, {static_cast<float>(code), static_cast<float>(components), number, second,
                        thresholds[limit][0], value});
    }
    bool sample(int code, int s, float value, Limit limit) const {
        if (!isAbove(value, limit)) return false;
        const float number = static_cast<float>(s + 1);
        add(code, {code, s + 1, -1, -1}, number, missingValue(), limit, value);
        return true;
    }
    /// High leverage and high residual at once.
    void influential(int s) const {
        found.add({102, s + 1, -1, -1}, {102.0f, static_cast<float>(components),
                                         static_cast<float>(s + 1), none, none, none});
    }
    void element(int code, const WarningKey& key, int second, float value) const {
        if (!isAbove(value, elementResidual)) return;
        add(code, key, static_cast<float>(key[1]), static_cast<float>(second), elementResidual,
            value);
    }
    void variable(int code, int j, float value, Limit limit) const {
        if (!isAbove(value, limit)) return;
        add(code, {code, -1, j + 1, -1}, static_cast<float>(j + 1), missingValue(), limit, value);
    }
    void modelAbove(int code, float value, Limit limit) const {
        if (isAbove(value, limit)) addOfModel(code, value, limit);
    }
    void modelBelow(int code, float value, Limit limit) const {
        if (value < thresholds[limit][0]) addOfModel(code, value, limit);
    }
    void addOfModel(int code, float value, Limit limit) const {
        add(code, {code, -1, -1, -1}, none, missingValue(), limit, value);
    }
};

/// X or Y: its tables, the residuals that are left as components are taken off, and its codes.
struct CheckedBlock {
    bool isX;
    const FMatrix& samplesCal;
    const FMatrix& samplesVal;
    const FMatrix& variablesCal;
    const FMatrix& variablesVal;
    const FMatrix& totals;
    const FMatrix& loadings;
    FMatrix e;      ///< residuals of the model's samples
    FMatrix eTest;  ///< those of the test set

    /// The code of X, or the one of Y that corresponds to it.
    int code(int ofX, int ofY) const { return isX ? ofX : ofY; }
};

void deflate(const FMatrix& e, const FMatrix& t, const FMatrix& p, int a) {
    for (int i = 0; i < e.filledRows(); ++i) {
        for (int j = 0; j < e.cols(); ++j) e[i][j] -= t[i][a] * p[a][j];
    }
}

void checkElements(const Search& search, int code, bool ofX, int s, const float* e,
                   const float* variables, int count) {
    for (int j = 0; j < count; ++j) {
        const WarningKey key =
            ofX ? WarningKey{code, s + 1, j + 1, -1} : WarningKey{code, s + 1, -1, j + 1};
        search.element(code, key, j + 1, std::fabs(e[j]) / std::sqrt(variables[j]));
    }
}

void checkSamples(const Search& search, const CheckedBlock& block, const FVector& leverages) {
    const int a = search.components;
    for (int s = 0; s < block.e.rows(); ++s) {
        const float relative = std::sqrt(block.samplesCal[s][a] / block.totals[a][0]);
        const bool residual = search.sample(block.code(121, 123), s, relative, sampleResidual);
        const bool leverage = a >= 1 && search.sample(100, s, leverages[s], sampleLeverageLimit);
        if (leverage && residual) search.influential(s);
        checkElements(search, block.code(130, 140), block.isX, s, block.e[s], block.variablesCal[a],
                      block.e.cols());
    }
    for (int s = 0; s < block.eTest.filledRows(); ++s) {
        const float relative = std::sqrt(block.samplesVal[s][a] / block.totals[a][1]);
        search.sample(block.code(122, 124), s, relative, sampleResidual);
        checkElements(search, block.code(131, 141), block.isX, s, block.eTest[s],
                      block.variablesVal[a], block.eTest.cols());
    }
}

void checkVariables(const Search& search, const CheckedBlock& block) {
    const int a = search.components;
    for (int j = 0; j < block.variablesCal.cols(); ++j) {
        search.variable(block.code(150, 160), j,
                        std::sqrt(block.variablesCal[a][j] / block.totals[a][0]),
                        variableResidualCal);
        search.variable(block.code(151, 161), j,
                        std::sqrt(block.variablesVal[a][j] / block.totals[a][1]),
                        variableResidualVal);
    }
}

void checkModel(const Search& search, const CheckedBlock& block, bool testSet) {
    const int a = search.components;
    const float* total = block.totals[a];
    if (a == judgedComponents && !testSet) {
        const FMatrix explained = explainedByVariable(block.totals);
        search.modelBelow(block.code(152, 162), explained[a][0], explainedPercentage);
        search.modelBelow(block.code(153, 163), explained[a][1], explainedPercentage);
    }
    search.modelBelow(block.code(170, 171), total[0] / total[1], calibrationShare);
    if (!testSet) search.modelAbove(block.code(172, 173), total[1] / total[0], validationShare);
    if (a <= judgedComponents) {
        const float rise = (total[1] / block.totals[a - 1][1] - 1.0f) * 100.0f;
        search.modelAbove(block.code(180, 181), rise, residualRise);
    }
}

/// Of each sample relative to the mean, with a components.
FVector relativeLeverages(const FMatrix& leverage, const FMatrix& means, int a) {
    FVector result(leverage.rows(), missingValue());
    if (a < 1) return result;
    for (int s = 0; s < result.size(); ++s) result[s] = leverage[s][a - 1] / means[0][a - 1];
    return result;
}

}  // namespace

bool CPCRValidation::computeWarnings(const FMatrix& thresholds) {
    if (thresholds.rows() < limits || thresholds.cols() < 1 || !isComplete()) return false;
    const bool tested = mode == testSet;
    const FMatrix tTest = tested ? project(model, lessMeans(testX, model.xMeans)) : FMatrix();
    CheckedBlock blocks[] = {
        {true, sampleResidualsCal, sampleResidualsVal, variableResidualsCal, variableResidualsVal,
         totalResiduals, model.Pt, lessMeans(model.X, model.xMeans),
         tested ? lessMeans(testX, model.xMeans) : FMatrix()},
        {false, sampleResidualsCalY, sampleResidualsValY, variableResidualsCalY,
         variableResidualsValY, totalResidualsY, model.Q,
         hasY ? lessMeans(model.Y, model.yMeans) : FMatrix(),
         tested && hasY ? lessMeans(testY, model.yMeans) : FMatrix()}};
    const FMatrix leverage = sampleLeverages(model.T);
    const FMatrix means = matColumnMeans(leverage);
    WarningList found;
    for (int a = 0; a <= model.components(); ++a) {
        const Search search = {found, thresholds, a};
        const FVector leverages = relativeLeverages(leverage, means, a);
        for (CheckedBlock& block : blocks) {
            if (!block.isX && !hasY) break;
            if (a > 0) deflate(block.e, model.T, block.loadings, a - 1);
            if (a > 0 && tested) deflate(block.eTest, tTest, block.loadings, a - 1);
            checkSamples(search, block, leverages);
            checkVariables(search, block);
            if (a > 0) checkModel(search, block, tested);
        }
    }
    warnings = found.toMatrix();
    return true;
}

}  // namespace veldane
