#include "components/pcr_model.h"

namespace veldane {

BilinearModel bilinear(const CPCRModel& model) {
    // A build that was refused has replaced X and the settings, but nothing that was built.
    const bool describesBuild = model.numPC == model.T.cols() &&
                                model.X.rows() == model.weightedX.rows() &&
                                model.X.cols() == model.weightedX.cols();
    if (!describesBuild) return {};
    BilinearModel result = sharedArrays(model);
    result.Wt = result.scoreWeights = model.Pt;
    return result;
}

int rebuild(const CPCRModel& settings, const FMatrix& x, const FMatrix& y, const char* label,
            BilinearModel& built) {
    CPCRModel model;
    model.setLabel(label);
    const int result = model.build(x, y, settings.numPC, settings.centred, settings.maxIterations,
                                   settings.algorithm);
    built = bilinear(model);
    return model.cancelled ? -1 : result;
}

}  // namespace veldane
