#pragma once

#include <algorithm>
#include <array>

#include "core/array.h"

/// Single-precision LAPACK, looked up when it is asked for. Without it the library works; what
/// wants it fails.
namespace veldane {

/// A matrix as LAPACK lays it out: column-major. Element (i, j), counted from 1, is matrix(i, j).
/// Copies share the elements.
class FortranMatrix {
  public:
    FortranMatrix() = default;
    FortranMatrix(int rows, int cols)
        : block_(elementCount(rows, cols)), rows_(std::max(rows, 0)), cols_(std::max(cols, 0)) {}
    explicit FortranMatrix(const FMatrix& a);

    int rows() const { return rows_; }
    int cols() const { return cols_; }
    float* data() const { return block_.data(); }
    float& operator()(int i, int j) const { return block_.data()[int64_t{j - 1} * rows_ + i - 1]; }

    FortranMatrix clone() const;
    FMatrix toMatrix() const;

  private:
    FVector block_;
    int rows_ = 0;
    int cols_ = 0;
};

/// A vector whose elements are counted from 1.
class FortranVector {
  public:
    FortranVector() = default;
    explicit FortranVector(int size) : block_(size) {}

    int size() const { return block_.size(); }
    float* data() const { return block_.data(); }
    float& operator()(int i) const { return block_.data()[i - 1]; }

    FVector toVector() const;

  private:
    FVector block_;
};

/// Where LAPACK is looked for. Of a routine's two names the first that is there counts.
struct LapackNames {
    const char* library = "liblapack.so.3";
    std::array<const char*, 2> sgesvd = {"sgesvd_", "sgesvd"};
    std::array<const char*, 2> sgeqrf = {"sgeqrf_", "sgeqrf"};
    std::array<const char*, 2> sorgqr = {"sorgqr_", "sorgqr"};
};

/// Looks elsewhere from now on, for tests. A library that was loaded before is let go of.
void useLapackNames(const LapackNames& names);

/// Loads the library for the functions below. False if there is none.
bool loadLapack();

/// A = U diag(S) V' by sgesvd, k = min(rows, cols): U rows x k, S descending, VT k x cols. False
/// with the outputs untouched without the routine and for an empty A; false with whatever the
/// routine left in them if it does not converge; false with NaN in all of them if A has a NaN or an
/// infinity.
bool lapackSvd(const FortranMatrix& A, FortranMatrix* U, FortranVector* S, FortranMatrix* VT);

/// A = Q R by sgeqrf and sorgqr, k = min(rows, cols): Q rows x k, R k x cols upper triangular.
/// False for an empty A, and after an error message if a routine is missing; R may then be there
/// without Q.
bool lapackQr(const FortranMatrix& A, FortranMatrix* Q, FortranMatrix* R);

}  // namespace veldane
