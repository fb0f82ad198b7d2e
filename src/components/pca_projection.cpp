#include "components/pca_projection.h"

#include <cmath>

#include "linalg/kernels.h"
#include "linalg/score_statistics.h"

namespace veldane {

PcaProjection projectSamples(const FMatrix& x, const FMatrix& means, const FMatrix& T,
                             const FMatrix& Pt, bool centre, int components) {
    const FMatrix e = centre ? matSubtract(x, means) : x;
    PcaProjection result;
    if (components < 1) return result;
    result.scores = matMultiplyABt(e, matSubMatrix(Pt, 0, components - 1, 0, Pt.cols() - 1));
    if (Pt.cols() != x.cols() || Pt.rows() != T.cols() || components > Pt.cols()) return result;
    if (result.scores.cols() != components) return result;
    const FVector squares = crossProductDiagonal(T);
    const FVector scale(components);
    for (int a = 0; a < components; ++a) {
        scale[a] = static_cast<float>(std::sqrt((T.rows() - 1.0) / squares[a]));
    }
    // The scores do not depend on how many loadings they are formed with.
    result.hotellingT2 = accumulatedSquares(result.scores, scale, components);
    return result;
}

}  // namespace veldane
