#include "linalg/kernels.h"
#include "regression/pls_model.h"

namespace veldane {

BilinearModel bilinear(const CPLSModel& model) {
    // A build that was refused may have replaced the settings, but nothing that was built.
    if (model.numFactors != model.T.cols()) return {};
    BilinearModel result = sharedArrays(model);
    result.Wt = model.Wt;
    result.scoreWeights = matTranspose(model.R);
    result.hasFactors = true;
    return result;
}

int rebuild(const CPLSModel& settings, const FMatrix& x, const FMatrix& y, const char* label,
            BilinearModel& built) {
    CPLSModel model;
    model.setLabel(label);
    const int result = model.build(x, y, settings.numFactors, settings.centred, settings.algorithm);
    built = bilinear(model);
    return result;
}

}  // namespace veldane
