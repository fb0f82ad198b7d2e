#include "core/descriptor.h"

#include <algorithm>
#include <array>
namespace veldane {
namespace {

bool wraps(const ArrayDesc* desc) {
    if (!desc || desc->rows < 0 || desc->cols < 0 || desc->pages < 0) return false;
    return desc->data || desc->rows == 0 || desc->cols == 0 || desc->pages == 0;
}

/// Eight cover every output of one call, so a handed-out result lives until the next one.
void keepAlive(const FVector& block) {
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

bool handsOut(const ArrayDesc* desc) {
    return desc->kind == VELDANE_KIND_LIBRARY;
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

void matrixToDesc(FMatrix matrix, ArrayDesc* desc) {
    if (!desc) return;
    if (handsOut(desc)) {
        // The caller reads rows x cols elements in a row, which most views do not have.
        if (!matrix.contiguous()) matrix = matrix.clone();
        const FVector& block = matrix.storage();
        // Who else owns a view's block may be the local matrix that it was cut from.
        const bool isView = matrix.size() != block.size();
        if (block.owners() == 1 || (isView && block.owners() > 0)) keepAlive(block);
        handOut(block, matrix.rows(), matrix.cols(), 1, desc);
        if (matrix.size() > 0) desc->data = matrix[0];
        return;
    }
    if (!desc->data || matrix.size() == 0) return;
    float* to = desc->data;
    for (int i = 0; i < matrix.rows(); ++i) to = std::copy_n(matrix[i], matrix.cols(), to);
}

void vectorToDesc(FVector vector, ArrayDesc* desc) {
    if (!desc) return;
    if (!handsOut(desc)) return copyOut(vector, desc);
    if (vector.owners() == 1) keepAlive(vector);
    handOut(vector, vector.size(), 1, 1, desc);
}

void cubeToDesc(FCube cube, ArrayDesc* desc) {
    if (!desc) return;
    const FVector& block = cube.storage();
    if (!handsOut(desc)) return copyOut(block, desc);
    if (block.owners() == 1) keepAlive(block);
    handOut(block, cube.rows(), cube.cols(), cube.pages(), desc);
}

void intVectorToDesc(const IVector& vector, ArrayDesc* desc) {
    if (!desc || !desc->data) return;
    for (int i = 0; i < vector.size(); ++i) desc->data[i] = static_cast<float>(vector[i]);
}

}  // namespace veldane
