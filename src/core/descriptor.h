#pragma once

#include "core/array.h"
#include "veldane.h"

/// The road between ArrayDesc and the library's arrays.
///
/// In: the arrays wrap the caller's buffer. A null descriptor, a negative extent, and a null data
/// with elements to hold give an empty array.
///
/// Out: with kind VELDANE_KIND_LIBRARY the caller gets a pointer to the array's own block and the
/// extents; otherwise the elements are copied to the caller's buffer and no extent is written. A
/// null descriptor is skipped. An lvalue is what a model keeps. A temporary or a moved local was
/// computed for this call: its block is kept alive for the caller, the last eight of each thread.
namespace veldane {

FMatrix descToMatrix(const ArrayDesc* desc);
FVector descToVector(const ArrayDesc* desc);
FCube descToCube(const ArrayDesc* desc);

void matrixToDesc(const FMatrix& kept, ArrayDesc* desc);
void matrixToDesc(FMatrix&& computed, ArrayDesc* desc);
void vectorToDesc(const FVector& kept, ArrayDesc* desc);
void vectorToDesc(FVector&& computed, ArrayDesc* desc);
void cubeToDesc(const FCube& kept, ArrayDesc* desc);
void cubeToDesc(FCube&& computed, ArrayDesc* desc);

/// Writes each integer as a float to data, whatever kind says, and no extent.
void intVectorToDesc(const IVector& vector, ArrayDesc* desc);

}  // namespace veldane
