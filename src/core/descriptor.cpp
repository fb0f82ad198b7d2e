#include "core/descriptor.h"

#include <algorithm>
#include <array>

namespace veldane {
namespace {

bool wraps(const ArrayDesc* desc) {
    if (!desc || desc->rows < 0 || desc->cols < 0 || desc->pages < 0) return false;
    return desc->data || desc->rows == 0 || desc->cols == 0 || desc->pages == 0;
}

bool handsOut(const ArrayDesc* desc) {
    return desc->kind == VELDANE_KIND_LIBRARY;
}

/// Eight cover every output of one call, so a handed-out result lives until the next one.
void keepAlive(const FVector& block, const ArrayDesc* desc) {
    if (!desc || !handsOut(desc) || block.owners() == 0) return;
    thread_local std::array<FVector, 8> kept;
    thread_local size_t next = 0;
    kept[next] = block;
    next = (next + 1) % kept.size();
}

void handOut(const FVector& block, int rows, int cols, int pages, ArrayDesc* desc) {
    desc->cols = cols;
    desc->rows = rows;
    desc->pages = pages;
    desc->data = block.data();
}

void copyOut(const FVector& block, ArrayDesc* desc) {
    if (desc->data) std::copy(block.begin(), block.end(), desc->data);
}

}  // namespace

FMatrix descToMatrix(const ArrayDesc* desc) {
    if (!wraps(desc) || desc->pages != 1) return {};
    return {desc->rows, desc->cols, desc->data};
}

FVector descToVector(const ArrayDesc* desc) {
    if (!wraps(desc) || desc->pages != 1) return {};
    return {elementCount(desc->rows, desc->cols), desc->data};
}

FCube descToCube(const ArrayDesc* desc) {
    if (!wraps(desc)) return {};
    return {desc->rows, desc->cols, desc->pages, desc->data};
}

void matrixToDesc(const FMatrix& kept, ArrayDesc* desc) {
    if (!desc) return;
    if (handsOut(desc)) {
        // The caller reads rows x cols elements in a row, which most views do not have.
        if (!kept.contiguous()) return matrixToDesc(kept.clone(), desc);
        handOut(kept.storage(), kept.rows(), kept.cols(), 1, desc);
        if (kept.size() > 0) desc->data = kept[0];
        return;
    }
    if (!desc->data || kept.size() == 0) return;
    float* to = desc->data;
    for (int i = 0; i < kept.rows(); ++i, to += kept.cols()) {
        // What was worked on in place is where it belongs.
        if (kept[i] != to) std::copy_n(kept[i], kept.cols(), to);
    }
}

void vectorToDesc(const FVector& kept, ArrayDesc* desc) {
    if (!desc) return;
    if (!handsOut(desc)) return copyOut(kept, desc);
    handOut(kept, kept.size(), 1, 1, desc);
}

void cubeToDesc(const FCube& kept, ArrayDesc* desc) {
    if (!desc) return;
    if (!handsOut(desc)) return copyOut(kept.storage(), desc);
    handOut(kept.storage(), kept.rows(), kept.cols(), kept.pages(), desc);
}

void matrixToDesc(FMatrix&& computed, ArrayDesc* desc) {
    if (!computed.contiguous()) computed = computed.clone();
    keepAlive(computed.storage(), desc);
    matrixToDesc(computed, desc);
}

void vectorToDesc(FVector&& computed, ArrayDesc* desc) {
    keepAlive(computed, desc);
    vectorToDesc(computed, desc);
}

void cubeToDesc(FCube&& computed, ArrayDesc* desc) {
    keepAlive(computed.storage(), desc);
    cubeToDesc(computed, desc);
}

void intVectorToDesc(const IVector& vector, ArrayDesc* desc) {
    if (!desc || !desc->data) return;
    for (int i = 0; i < vector.size(); ++i) desc->data[i] = static_cast<float>(vector[i]);
}

}  // namespace veldane
