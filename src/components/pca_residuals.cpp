#include "components/pcr_model.h"
#include "linalg/kernels.h"
#include "linalg/residual_sums.h"

namespace veldane {

void CPCRModel::reconstruct() {
    reconstructedX = matMultiply(T, Pt);
    if (centred) reconstructedX = matAdd(reconstructedX, xMeans);
}

void CPCRModel::computeResiduals() {
    const bool fits =
        T.rows() == weightedX.rows() && T.cols() == Pt.rows() && Pt.cols() == weightedX.cols();
    const FMatrix none;
    const ResidualSums sums = fits ? residualSums(weightedX, T, Pt, centred ? xMeans : none)
                                   : residualSums(none, none, none, none);
    const float n = static_cast<float>(weightedX.rows());
    const float m = static_cast<float>(weightedX.cols());
    reconstructedX = sums.fitted;
    // Plain counts, also with missing values, and no correction for degrees of freedom.
    variableResiduals = matDivideScalar(sums.variables, n);
    sampleResiduals = matDivideScalar(sums.samples, m);
    totalResiduals = matDivideScalar(sums.total, n * m);
}

}  // namespace veldane
