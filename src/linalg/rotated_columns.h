#pragma once

#include "core/array.h"

namespace veldane {

/// A Givens rotation of two columns x and y: cs x + sn y and cs y - sn x take their places. The
/// products and their sum are double, the result is rounded to float.
struct ColumnRotation {
    int first;
    int second;
    double cs;
    double sn;
};

/// The columns of a matrix under a long row of rotations. They are held back and then applied, in
/// their order, to a few rows at a time, which stay in the cache meanwhile. The matrix is up to
/// date after finish.
class RotatedColumns {
  public:
    /// Works on x itself.
    explicit RotatedColumns(const FMatrix& x);

    void rotate(const ColumnRotation& rotation) {
        rotations_[held_++] = rotation;
        if (held_ == rotations_.size()) applyHeld();
    }

    /// Only for columns that are not rotated any more.
    void negate(int j) { sign_[j] = -sign_[j]; }
    void swap(int j, int k) {
        std::swap(from_[j], from_[k]);
        std::swap(sign_[j], sign_[k]);
    }

    void finish();

  private:
    void applyHeld();

    const FMatrix x_;
    const Vector<ColumnRotation> rotations_;
    int held_ = 0;
    const FVector panel_;
    const IVector from_;  // the column that belongs in each place
    const FVector sign_;
};

}  // namespace veldane
