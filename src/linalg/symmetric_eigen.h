#pragma once

#include "core/array.h"

namespace veldane {

/// Eigenvectors of a symmetric matrix, as columns of unit length in ascending order of eigenvalue;
/// signs are as they come. Reads the lower triangle. All missing where an element is not finite.
FMatrix symmetricEigenvectors(const FMatrix& a);

}  // namespace veldane
