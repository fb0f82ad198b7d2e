#pragma once

#include "core/array.h"

namespace veldane {

/// Weights of the variables of `data`, 1 x variables, by kind: 0 A; 1 A / (s + B) with the sample
/// standard deviation s, and 1 where s + B is 0; 2 one weight for all of kind 2, so small that they
/// do not count beside the others; any other s itself.
///
/// Columns 0 and 1 of `parameters` are A and B, a row for each variable; empty if it has fewer.
FMatrix variableWeights(const FMatrix& data, const FMatrix& parameters, const int* kinds);

}  // namespace veldane
