#include <algorithm>

#include "linalg/kernels.h"

namespace veldane {

FMatrix matTranspose(const FMatrix& a) {
    FMatrix result(a.cols(), a.rows());
    if (result.size() == 0) return result;
    // Square tiles, so that neither the reads nor the writes walk down a long column.
    constexpr int tile = 16;
    for (int i0 = 0; i0 < a.rows(); i0 += tile) {
        const int i1 = std::min(i0 + tile, a.rows());
        for (int j0 = 0; j0 < a.cols(); j0 += tile) {
            const int j1 = std::min(j0 + tile, a.cols());
            for (int j = j0; j < j1; ++j) {
                for (int i = i0; i < i1; ++i) result[j][i] = a[i][j];
            }
        }
    }
    return result;
}

FMatrix matClone(const FMatrix& a) {
    return a.clone();
}

FMatrix matSubMatrix(const FMatrix& a, int r0, int r1, int c0, int c1) {
    return a.view(r0, r1, c0, c1);
}

FMatrix matColumn(const FMatrix& a, int j) {
    FMatrix result(a.rows(), 1);
    for (int i = 0; i < a.rows(); ++i) result[i][0] = a[i][j];
    return result;
}

FMatrix matRow(const FMatrix& a, int i) {
    return a.view(i, i, 0, a.cols() - 1).clone();
}

void matSetColumn(const FMatrix& a, const FMatrix& col, int j) {
    if (col.rows() != a.rows() || col.cols() != 1) return;
    for (int i = 0; i < a.rows(); ++i) a[i][j] = col[i][0];
}

void matSetRow(const FMatrix& a, const FVector& v, int i) {
    if (v.size() != a.cols() || v.size() == 0) return;
    std::copy(v.begin(), v.end(), a[i]);
}

FMatrix matDiagonal(const FMatrix& a) {
    FMatrix result(std::min(a.rows(), a.cols()), 1);
    for (int i = 0; i < result.rows(); ++i) result[i][0] = a[i][i];
    return result;
}

FMatrix matConcat(const FMatrix& a, const FMatrix& b) {
    FMatrix result(std::max(a.rows(), b.rows()), a.cols() + b.cols(), 0.0f);
    for (int i = 0; i < a.filledRows(); ++i) std::copy_n(a[i], a.cols(), result[i]);
    for (int i = 0; i < b.filledRows(); ++i) {
        std::copy_n(b[i], b.cols(), result[i] + a.cols());
    }
    return result;
}

void matSetIdentity(const FMatrix& a) {
    if (a.size() == 0) return;
    for (int i = 0; i < a.rows(); ++i) {
        std::fill_n(a[i], a.cols(), 0.0f);
        if (i < a.cols()) a[i][i] = 1.0f;
    }
}

FMatrix cubePage(const FCube& c, int k) {
    FMatrix result(c.rows(), c.cols());
    if (c.size() == 0) return result;
    for (int i = 0; i < c.rows(); ++i) {
        for (int j = 0; j < c.cols(); ++j) result[i][j] = c[i][j][k];
    }
    return result;
}

}  // namespace veldane
