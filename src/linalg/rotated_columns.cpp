#include "linalg/rotated_columns.h"

#include <algorithm>
#include <numeric>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Doubles;
using lanes::narrow;
using lanes::widen;

template <int width, int vectors>
VELDANE_INLINE void loadColumn(const float* from, Doubles<width> (&to)[vectors]) {
#pragma GCC unroll 8
    for (int v = 0; v < vectors; ++v) {
        lanes::Floats<width> stored;
        lanes::load<width>(from + v * width, stored);
        widen<width>(stored, to[v]);
    }
}

template <int width, int vectors>
VELDANE_INLINE void storeColumn(const Doubles<width> (&from)[vectors], float* to) {
#pragma GCC unroll 8
    for (int v = 0; v < vectors; ++v) {
        lanes::Floats<width> stored;
        narrow<width>(from[v], stored);
        lanes::store(stored, to + v * width);
    }
}

/// A panel is width * vectors rows, transposed. In most rotations the first column is the second
/// one of the rotation before: it stays in registers, as doubles that are floats.
template <int width, int vectors>
VELDANE_INLINE void rotatePanel(const ColumnRotation* rotations, int count, float* panel) {
    constexpr int height = width * vectors;
    Doubles<width> held[vectors];
    int column = rotations[0].first;
    loadColumn<width, vectors>(panel + column * height, held);
    for (const ColumnRotation* r = rotations; r != rotations + count; ++r) {
        const double cs = r->cs;
        const double sn = r->sn;
        if (r->first != column) {
            storeColumn<width, vectors>(held, panel + column * height);
            loadColumn<width, vectors>(panel + r->first * height, held);
        }
        float* first = panel + r->first * height;
        const float* second = panel + r->second * height;
        column = r->second;
#pragma GCC unroll 8
        for (int v = 0; v < vectors; ++v) {
            lanes::Floats<width> stored;
            Doubles<width> y;
            lanes::load<width>(second + v * width, stored);
            widen<width>(stored, y);
            const Doubles<width> x = held[v];
            narrow<width>(cs * x + sn * y, stored);
            lanes::store(stored, first + v * width);
            narrow<width>(cs * y - sn * x, stored);
            widen<width>(stored, held[v]);
        }
    }
    storeColumn<width, vectors>(held, panel + column * height);
}

template <int width, int vectors>
VELDANE_INLINE void rotateRows(const ColumnRotation* rotations, int rotationCount,
                               float* const* rows, int count, int cols, float* panel) {
    constexpr int height = width * vectors;
    for (; count > 0; rows += height, count -= height) {
        if constexpr (vectors > 2) {
            if (count <= height - 2 * width) {
                return rotateRows<width, vectors - 2>(rotations, rotationCount, rows, count, cols,
                                                      panel);
            }
        }
        const int present = std::min(count, height);
        for (int i = 0; i < height; ++i) {
            const float* row = rows[std::min(i, present - 1)];
            for (int j = 0; j < cols; ++j) panel[j * height + i] = row[j];
        }
        rotatePanel<width, vectors>(rotations, rotationCount, panel);
        for (int i = 0; i < present; ++i) {
            for (int j = 0; j < cols; ++j) rows[i][j] = panel[j * height + i];
        }
    }
}

// Eight vectors are enough to hide how long one rotation waits for the one before.
constexpr int panelHeight = 64;

void rotateBaseline(const ColumnRotation* rotations, int held, const FMatrix& x, float* panel) {
    rotateRows<2, 8>(rotations, held, x.table(), x.rows(), x.cols(), panel);
}
[[gnu::target("avx2")]] void rotateAvx2(const ColumnRotation* rotations, int held, const FMatrix& x,
                                        float* panel) {
    rotateRows<4, 8>(rotations, held, x.table(), x.rows(), x.cols(), panel);
}
[[gnu::target("avx512f")]] void rotateAvx512(const ColumnRotation* rotations, int held,
                                             const FMatrix& x, float* panel) {
    rotateRows<8, 8>(rotations, held, x.table(), x.rows(), x.cols(), panel);
}

// So many rotations for each column that turning the rows into panels and back counts for little.
constexpr int heldBack = 32;

}  // namespace

RotatedColumns::RotatedColumns(const FMatrix& x)
    : x_(x),
      rotations_(elementCount(x.cols(), heldBack)),
      panel_(elementCount(x.cols(), panelHeight)),
      from_(x.cols()),
      sign_(x.cols(), 1.0f) {
    std::iota(from_.begin(), from_.end(), 0);
}

void RotatedColumns::applyHeld() {
    if (held_ == 0) return;
    switch (instructionSet()) {
        case InstructionSet::avx512:
            rotateAvx512(rotations_.data(), held_, x_, panel_.data());
            break;
        case InstructionSet::avx2:
            rotateAvx2(rotations_.data(), held_, x_, panel_.data());
            break;
        case InstructionSet::baseline:
            rotateBaseline(rotations_.data(), held_, x_, panel_.data());
            break;
    }
    held_ = 0;
}

void RotatedColumns::finish() {
    applyHeld();
    const FVector row(x_.cols());
    for (int i = 0; i < x_.rows(); ++i) {
        std::copy_n(x_[i], x_.cols(), row.begin());
        for (int j = 0; j < x_.cols(); ++j) x_[i][j] = sign_[j] * row[from_[j]];
    }
}

}  // namespace veldane
