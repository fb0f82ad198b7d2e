#pragma once

#include "core/array.h"

namespace veldane {

/// Full factorial design: one column a factor, level numbers from 1 on, the first factor fastest;
/// the whole repeated `replicates` times, below 1 as 1. A level count of 0 stands for that of the
/// factor before. Empty without factors or levels, with a negative count, and if the first is 0.
FMatrix fullFactorial(int factors, const int* levels, int replicates);

/// 1 x length: 4, 8, 11, 14, 2 and zeros, or what fits of it.
FMatrix standardSelection(int length);

}  // namespace veldane
