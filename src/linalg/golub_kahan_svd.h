#pragma once

#include "core/array.h"

namespace veldane {

/// Singular value decomposition A = U diag(s) V' by Golub-Kahan bidiagonalisation and
/// implicit-shift QR. Golub and Reinsch, Numer. Math. 14 (1970) 403-420; Golub and Van Loan, Matrix
/// Computations, 8.6.
///
/// Elements of matrices and vectors are float. The sums and updates of the reflectors are float,
/// rounded after each product and each sum. Norms go term by term through hypot in double, stored
/// to float after each term. Givens and shift quantities are double, and so is what they are
/// multiplied with: an element is widened, both products and their sum are double, and the one
/// rounding to float is that of the store.
///
/// The members describe the matrix that was factored: A, or A' where A has fewer rows than columns.
class CSVD {
  public:
    CSVD() = default;
    explicit CSVD(const FMatrix& a) { compute(a, false); }

    /// Returns 0, also if the iteration does not converge; s may then be unordered and in part
    /// negative. A NaN or infinity in A ends there.
    ///
    /// With report, "Computing SVD" is reported and the cancel event is polled; -1 after a cancel,
    /// and the members hold nothing of use. The event is cleared at the end in either case.
    int compute(const FMatrix& a, bool report);

    /// The left singular vectors of A as columns, rows(A) x k, and the right ones, cols(A) x k,
    /// with k = min(rows, cols). They share the block of the member.
    void getU(FMatrix& out) const { out = transposed ? V : U; }
    void getV(FMatrix& out) const { out = transposed ? U : V; }

    /// The singular values on the diagonal of an n x n matrix.
    void getS(FMatrix& out) const;

    FMatrix U;  // m x n
    FMatrix V;  // n x n
    FVector s;  // n, descending
    int m = 0;  // m >= n
    int n = 0;
    bool transposed = false;
};

}  // namespace veldane
