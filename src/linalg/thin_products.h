#pragma once

#include "core/array.h"

/// Products of a table with one vector, which are most of an iterative builder. No allocation; the
/// sums have the order and the bits of the plain loops. x and y must not overlap the table.
namespace veldane {

/// y = A x: y has rows(A), x cols(A) elements.
void multiplyByVector(const FMatrix& a, const float* x, float* y);

/// y = A' x: y has cols(A), x rows(A) elements.
void multiplyTransposedByVector(const FMatrix& a, const float* x, float* y);

/// y = A x and z = A' y in one pass over the memory of A.
void multiplyBothWays(const FMatrix& a, const float* x, float* y, float* z);

/// A -= y p', and z = A' x with what is left, in one pass. x and y have rows(A) elements, p and z
/// cols(A).
void deflateAndMultiply(const FMatrix& a, const float* y, const float* p, const float* x, float* z);

}  // namespace veldane
