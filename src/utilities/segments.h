#pragma once

#include "core/array.h"

namespace veldane {

/// Validation segments, one a row: object numbers from 1 on as floats, 0 in the places of the last
/// row that are left.
///
/// method 1 lists every object in one row. 2, 3 and 4 lay them out in segments of `segmentSize`:
/// at random, consecutive, interleaved; empty if a segment or `segmentCount` of them ask for more
/// objects than there are, and for a size below 1. Any other method: empty.
FMatrix validationSegments(int method, int segmentSize, int segmentCount, int objectCount);

}  // namespace veldane
