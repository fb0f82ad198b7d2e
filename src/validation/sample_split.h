#pragma once

#include "core/array.h"

namespace veldane {

/// The samples that a segment leaves out, as it names them, and those that it keeps, in order.
struct SampleSplit {
    /// Segment s of the matrix of 1-based numbers, 0 in unused places, of n samples.
    SampleSplit(const FMatrix& segments, int s, int n);

    IVector leftOut;
    IVector kept;
};

}  // namespace veldane
