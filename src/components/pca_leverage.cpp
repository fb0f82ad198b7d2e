#include <cmath>

#include "components/pcr_model.h"
#include "linalg/kernels.h"

namespace veldane {
namespace {

constexpr float largestLeverage = 0.99f;

float quotient(float x, float divisor) {
    return divisor == 0.0f ? 0.0f : x / divisor;
}

}  // namespace

FMatrix accumulatedSquares(const FMatrix& scores, const FVector& scale, int components) {
    FMatrix result(scores.rows(), components);
    for (int i = 0; i < result.filledRows(); ++i) {
        float sum = 0.0f;
        for (int a = 0; a < components; ++a) {
            const float scaled = scale[a] * scores[i][a];
            if (!isMissing(scaled)) sum += scaled * scaled;
            result[i][a] = sum;
        }
    }
    return result;
}

void CPCRModel::computeLeverages() {
    const int n = T.rows();
    const FVector lengths = matColumnSumSquares(T);
    const FMatrix squares = matSquare(T);
    sampleLeverage = FMatrix(n, T.cols());
    for (int i = 0; i < squares.filledRows(); ++i) {
        float sum = 0.0f;
        for (int a = 0; a < T.cols(); ++a) {
            const float part = quotient(squares[i][a], lengths[a]);
            if (!isMissing(part)) sum += part;
            const float leverage = 1.0f / static_cast<float>(n) + sum;
            sampleLeverage[i][a] = leverage > largestLeverage ? largestLeverage : leverage;
        }
    }

    // Wanted as it is: the length of the first loading divides those of all the others.
    const float length = Pt.size() > 0 ? matRowSumSquare(Pt, 0) : 0.0f;
    variableLeverage = matSquare(Pt);
    for (int a = 0; a < Pt.filledRows(); ++a) {
        for (int j = 0; j < Pt.cols(); ++j) {
            const float part = quotient(variableLeverage[a][j], length);
            variableLeverage[a][j] = a == 0 ? part : variableLeverage[a - 1][j] + part;
        }
    }
}

void CPCRModel::refreshLatent() {
    if (algorithm == missingNipals) latent = crossProductDiagonal(T);
}

void CPCRModel::computeHotellingT2() {
    refreshLatent();
    const int A = T.cols();
    const double degrees = weightedX.rows() - 1.0;
    const FVector inverse(A);
    invScale = FMatrix(A, A, 0.0f);
    for (int a = 0; a < A; ++a) {
        const float scale =
            a < latent.size() ? static_cast<float>(std::sqrt(latent[a] / degrees)) : 0.0f;
        inverse[a] = scale == 0.0f || isMissing(scale) ? reciprocalOfZero : 1.0f / scale;
        invScale[a][a] = inverse[a];
    }
    hotellingT2 = accumulatedSquares(T, inverse, A);
}

}  // namespace veldane
