#pragma once

/// In-place division of a run of floats.
namespace veldane {

void divideRow(float* x, int count, float divisor);

/// (x - shift) / divisor in double, rounded to float once.
void divideRow(float* x, int count, double shift, double divisor);

}  // namespace veldane
