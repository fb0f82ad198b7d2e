#include "utilities/variable_weights.h"

#include <algorithm>
#include <cmath>

#include "linalg/kernels.h"

namespace veldane {
namespace {

enum Kind { constantWeight = 0, inverseDeviation = 1, passive = 2 };

/// The columns that are not passive, in their order.
FMatrix activeColumns(const FMatrix& data, const int* kinds) {
    IVector active(data.cols());
    int count = 0;
    for (int j = 0; j < data.cols(); ++j) {
        if (kinds[j] != passive) active[count++] = j;
    }
    FMatrix result(data.rows(), count);
    for (int i = 0; i < result.filledRows(); ++i) {
        for (int c = 0; c < count; ++c) result[i][c] = data[i][active[c]];
    }
    return result;
}

/// Small beside the smallest deviation and beside the reciprocal of the largest.
float passiveWeight(const FMatrix& active) {
    constexpr float share = 1e-10f;
    const FMatrix variances = matColumnVariance(active);
    const float bySmallest = std::sqrt(matMin(variances)) * share;
    const float byLargest = share / std::sqrt(matMax(variances));
    // In this order: the second is NaN without a variance, and the first is then wanted, even as
    // the large number that the start of the minimum makes of it.
    return std::min(bySmallest, byLargest);
}

}  // namespace

FMatrix variableWeights(const FMatrix& data, const FMatrix& parameters, const int* kinds) {
    const int variables = data.cols();
    if (parameters.rows() < variables || parameters.cols() < 2) return {};
    FMatrix weights = matColumnStdDev(data, true);
    const bool anyPassive = std::find(kinds, kinds + variables, passive) != kinds + variables;
    const float small = anyPassive ? passiveWeight(activeColumns(data, kinds)) : 0.0f;
    for (int j = 0; j < variables; ++j) {
        float& weight = weights[0][j];
        if (kinds[j] == constantWeight) {
            weight = parameters[j][0];
        } else if (kinds[j] == inverseDeviation) {
            const float scale = weight + parameters[j][1];
            weight = scale == 0.0f ? 1.0f : parameters[j][0] / scale;
        } else if (kinds[j] == passive) {
            weight = small;
        }
    }
    return weights;
}

}  // namespace veldane
