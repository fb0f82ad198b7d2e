#include <cmath>

#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "linalg/score_statistics.h"

namespace veldane {

void CPCRModel::computeLeverages() {
    sampleLeverage = sampleLeverages(T);
    variableLeverage = variableLeverages(Pt);
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
