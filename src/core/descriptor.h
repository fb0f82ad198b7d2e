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
/// null descriptor is skipped. The arrays are taken by value: pass a temporary or a moved local for
/// what was just computed, since a block that nobody else owns is kept alive for the caller (the
/// last eight of each thread), and pass a field as it is for what a model keeps.
namespace veldane {

FMatrix descToMatrix(const ArrayDesc* desc);
FVector descToVector(const ArrayDesc* desc);
FCube descToCube(const ArrayDesc* desc);

void matrixToDesc(FMatrix matrix, ArrayDesc* desc);
void vectorToDesc(FVector vector, ArrayDesc* desc);
void cubeToDesc(FCube cube, ArrayDesc* desc);

/// Writes each integer as a float to data, whatever kind says, and no extent.
void intVectorToDesc(const IVector& vector, ArrayDesc* desc);

}  // namespace veldane
