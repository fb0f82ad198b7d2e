#pragma once

#include "core/array.h"

namespace veldane {

/// One factor of a product: the matrix or its transpose, and whether a NaN counts as 0.
struct Factor {
    const FMatrix& matrix;
    bool transposed = false;
    bool missingAsZero = false;

    int rows() const { return transposed ? matrix.cols() : matrix.rows(); }
    int cols() const { return transposed ? matrix.rows() : matrix.cols(); }
};

enum class Region { whole, lowerTriangle };

/// C = A B over packed panels and register tiles, cols(A) = rows(B) > 0. Each element accumulates
/// its terms in ascending order, as the plain loop does. With lowerTriangle (C square) the elements
/// above the diagonal are left undefined.
void packedProduct(const Factor& a, const Factor& b, const FMatrix& c, Region region);

}  // namespace veldane
