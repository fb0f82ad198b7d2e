#include "core/descriptor.h"
#include "linalg/double_centring.h"
#include "linalg/kernels.h"
#include "utilities/designs.h"
#include "utilities/explained_variance.h"
#include "utilities/hotelling_limit.h"
#include "utilities/segments.h"
#include "utilities/two_column_statistics.h"
#include "utilities/variable_weights.h"

using namespace veldane;

namespace {

constexpr int badArgument = -1;

/// An array that comes out where it went in is worked on in the caller's buffer, unless the caller
/// asks for the library's memory.
bool changesBuffer(const ArrayDesc* inout) {
    return inout->kind != VELDANE_KIND_LIBRARY;
}

}  // namespace

void createsegment(int method, int segmentSize, int segmentCount, int objectCount, ArrayDesc* out) {
    if (!out) return;
    matrixToDesc(validationSegments(method, segmentSize, segmentCount, objectCount), out);
}

void restoexplsam(ArrayDesc* inout) {
    if (!inout) return;
    matrixToDesc(explainedBySample(descToMatrix(inout)), inout);
}

void restoexplvar(ArrayDesc* inout) {
    if (!inout) return;
    matrixToDesc(explainedByVariable(descToMatrix(inout)), inout);
}

void calculateHotellingT2Limits(int objectCount, int componentCount, ArrayDesc* out) {
    if (!out) return;
    matrixToDesc(hotellingT2Limits(objectCount, componentCount), out);
}

void computeweight(const ArrayDesc* data, const ArrayDesc* parameters, const int* types,
                   ArrayDesc* out) {
    if (!data || !parameters || !types || !out) return;
    matrixToDesc(variableWeights(descToMatrix(data), descToMatrix(parameters), types), out);
}

void computeweighted(ArrayDesc* inout, const ArrayDesc* weights) {
    if (!inout || !weights) return;
    const FMatrix data = descToMatrix(inout);
    const FMatrix w = descToMatrix(weights);
    if (changesBuffer(inout)) {
        matScaleColumnsInPlace(data, w);
    } else {
        matrixToDesc(matScaleColumns(data, w), inout);
    }
}

int stddev(const ArrayDesc* data, int axis, ArrayDesc* out) {
    if (!data) return badArgument;
    const FMatrix x = descToMatrix(data);
    matrixToDesc(axis == 0   ? matColumnStdDev(x, true)
                 : axis == 1 ? RowStdDev(x, true)
                             : FMatrix(),
                 out);
    return 0;
}

int statistics(const ArrayDesc* pairs, ArrayDesc* out) {
    if (!pairs || !out || pairs->cols != 2) return badArgument;
    vectorToDesc(pairStatistics(descToMatrix(pairs)), out);
    return 0;
}

int computeexvalidation(const ArrayDesc* predicted, const ArrayDesc* reference,
                        const ArrayDesc* unused, ArrayDesc* out, int componentCount) {
    if (!predicted || !reference || !unused || !out || componentCount < 1) return badArgument;
    cubeToDesc(predictionStatistics(descToCube(predicted), descToMatrix(reference), componentCount),
               out);
    return 0;
}

int compute_r2(const ArrayDesc* data, const ArrayDesc* fitted1, const ArrayDesc* fitted2,
               const ArrayDesc* fittedCube, ArrayDesc* out, int componentCount) {
    if (!data || !out || componentCount < 0) return badArgument;
    const FMatrix x = descToMatrix(data);
    if (componentCount > 0) {
        if (!fittedCube) return badArgument;
        matrixToDesc(explainedByFits(x, descToCube(fittedCube), componentCount), out);
    } else {
        if (!fitted1 || !fitted2) return badArgument;
        matrixToDesc(explainedByFits(x, descToMatrix(fitted1), descToMatrix(fitted2)), out);
    }
    return 0;
}

int doublecenter(ArrayDesc* inout) {
    if (!inout) return badArgument;
    const FMatrix data = descToMatrix(inout);
    FMatrix centred = changesBuffer(inout) ? data : matClone(data);
    doubleCentre(centred);
    if (!changesBuffer(inout)) matrixToDesc(std::move(centred), inout);
    return 0;
}

int StandardSelect(const ArrayDesc* data, int length, ArrayDesc* out) {
    if (!data || !out) return badArgument;
    matrixToDesc(standardSelection(length), out);
    return 0;
}

int fullfrac(int factorCount, const int* levels, int replicates, ArrayDesc* out) {
    matrixToDesc(fullFactorial(factorCount, levels, replicates), out);
    return 0;
}
