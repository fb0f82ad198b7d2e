#include "linalg/householder_solver.h"

#include <algorithm>
#include <cmath>

#include "linalg/hypot.h"
#include "linalg/kernels.h"

namespace veldane {
namespace {

/// Applies the reflector in column k of v to columns j0..j1 - 1 of x: each column gets
/// s v with s = -(v'x) / v[k]. Row by row; each column's sum runs down the rows.
void reflect(const FMatrix& v, int k, const FMatrix& x, int j0, int j1, float* s) {
    const int m = v.rows();
    std::fill(s + j0, s + j1, 0.0f);
    for (int i = k; i < m; ++i) {
        const float vi = v[i][k];
        for (int j = j0; j < j1; ++j) s[j] += vi * x[i][j];
    }
    for (int j = j0; j < j1; ++j) s[j] = -s[j] / v[k][k];
    for (int i = k; i < m; ++i) {
        const float vi = v[i][k];
        for (int j = j0; j < j1; ++j) x[i][j] += s[j] * vi;
    }
}

}  // namespace

HouseholderSolver::HouseholderSolver(const FMatrix& a)
    : m_(std::max(a.rows(), a.cols())),
      n_(std::min(a.rows(), a.cols())),
      qr_(a.rows() >= a.cols() ? matClone(a) : matTranspose(a)),
      rDiag_(n_),
      sums_(n_) {
    factorise();
}

void HouseholderSolver::factorise() {
    for (int k = 0; k < n_; ++k) {
        double norm = 0.0;
        for (int i = k; i < m_; ++i) norm = scaledHypot(norm, qr_[i][k]);
        if (norm != 0.0) {
            if (qr_[k][k] < 0.0f) norm = -norm;
            for (int i = k; i < m_; ++i) qr_[i][k] = static_cast<float>(qr_[i][k] / norm);
            qr_[k][k] += 1.0f;
            reflect(qr_, k, qr_, k + 1, n_, sums_.data());
        }
        rDiag_[k] = static_cast<float>(-norm);
    }
}

bool HouseholderSolver::fullRank() const {
    return std::find(rDiag_.begin(), rDiag_.end(), 0.0f) == rDiag_.end();
}

FMatrix HouseholderSolver::solve(const FMatrix& b) const {
    if (b.rows() != m_ || !fullRank()) return {};
    const int columns = b.cols();
    const FMatrix x = matClone(b);
    const FVector sums(columns);
    for (int k = 0; k < n_; ++k) reflect(qr_, k, x, 0, columns, sums.data());
    for (int k = n_ - 1; k >= 0; --k) {
        for (int j = 0; j < columns; ++j) x[k][j] /= rDiag_[k];
        for (int i = 0; i < k; ++i) {
            const float rik = qr_[i][k];
            for (int j = 0; j < columns; ++j) x[i][j] -= x[k][j] * rik;
        }
    }
    return matClone(matSubMatrix(x, 0, n_ - 1, 0, columns - 1));
}

FMatrix HouseholderSolver::q() const {
    FMatrix q(m_, n_, 0.0f);
    for (int k = n_ - 1; k >= 0; --k) {
        q[k][k] = 1.0f;
        if (qr_[k][k] != 0.0f) reflect(qr_, k, q, k, n_, sums_.data());
    }
    return q;
}

FMatrix HouseholderSolver::r() const {
    FMatrix r(n_, n_, 0.0f);
    for (int i = 0; i < n_; ++i) {
        r[i][i] = rDiag_[i];
        std::copy(qr_[i] + i + 1, qr_[i] + n_, r[i] + i + 1);
    }
    return r;
}

FMatrix matInverse(const FMatrix& a) {
    if (a.rows() != a.cols()) return matPseudoInverse(a);
    const FMatrix identity(a.rows(), a.rows());
    matSetIdentity(identity);
    return HouseholderSolver(a).solve(identity);
}

}  // namespace veldane
