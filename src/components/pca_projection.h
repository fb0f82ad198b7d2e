#pragma once

#include "core/array.h"

namespace veldane {

/// New samples in the space of a model that is given by its arrays.
struct PcaProjection {
    FMatrix scores;       ///< rows(x) x components
    FMatrix hotellingT2;  ///< rows(x) x components, on the scale of the calibration scores
};

/// x is k x m; means 1 x m, taken off if centre is set; T n x A and Pt A x m are those of the
/// model. What does not fit gives empty arrays: hotellingT2 alone for a T that does not belong to
/// Pt and for more than m components, both for more components than Pt has.
PcaProjection projectSamples(const FMatrix& x, const FMatrix& means, const FMatrix& T,
                             const FMatrix& Pt, bool centre, int components);

}  // namespace veldane
