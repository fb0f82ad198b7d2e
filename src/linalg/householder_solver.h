#pragma once

#include "core/array.h"

namespace veldane {

/// Householder QR of A, or of A' where A has fewer rows than columns, so that m >= n always.
/// Golub and Van Loan, Matrix Computations, 5.2.
class HouseholderSolver {
  public:
    explicit HouseholderSolver(const FMatrix& a);

    /// No zero on the diagonal of R, compared exactly.
    bool fullRank() const;

    /// The least squares solution X of A X = B, n x cols(B) from B m x k; empty unless B has m rows
    /// and the matrix is of full rank.
    FMatrix solve(const FMatrix& b) const;

    /// Q, m x n.
    FMatrix q() const;

    /// R, n x n.
    FMatrix r() const;

  private:
    void factorise();

    int m_;
    int n_;
    FMatrix qr_;  // reflectors on and below the diagonal, R above it
    FVector rDiag_;
    FVector sums_;  // one for each column that a reflector is applied to
};

}  // namespace veldane
