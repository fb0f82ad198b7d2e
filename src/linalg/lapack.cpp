#include "linalg/lapack.h"

#include <algorithm>
#include <cmath>

#include "core/platform/shared_library.h"
#include "core/status.h"

namespace veldane {
namespace {

/// Fortran passes everything by address and the lengths of texts after all else.
using Sgesvd = void(const char* jobU, const char* jobVT, const int* m, const int* n, float* a,
                    const int* lda, float* s, float* u, const int* ldu, float* vt, const int* ldvt,
                    float* work, const int* lwork, int* info, size_t jobULength,
                    size_t jobVTLength);
using Sgeqrf = void(const int* m, const int* n, float* a, const int* lda, float* tau, float* work,
                    const int* lwork, int* info);
using Sorgqr = void(const int* m, const int* n, const int* k, float* a, const int* lda,
                    const float* tau, float* work, const int* lwork, int* info);

LapackNames lapackNames;
SharedLibrary lapack;

template <class Routine>
Routine* findRoutine(const std::array<const char*, 2>& names) {
    Routine* routine = lapack.find<Routine>(names[0]);
    return routine ? routine : lapack.find<Routine>(names[1]);
}

FortranMatrix upperTriangle(const FortranMatrix& a, int rows) {
    FortranMatrix r(rows, a.cols());
    for (int j = 1; j <= r.cols(); ++j) {
        for (int i = 1; i <= rows; ++i) r(i, j) = i <= j ? a(i, j) : 0.0f;
    }
    return r;
}

/// The common builds of sgesvd may never return from a NaN or an infinity.
bool allFinite(const FortranMatrix& a) {
    return std::all_of(a.data(), a.data() + elementCount(a.rows(), a.cols()),
                       [](float x) { return std::isfinite(x); });
}

FortranMatrix firstColumns(const FortranMatrix& a, int cols) {
    FortranMatrix q(a.rows(), cols);
    std::copy_n(a.data(), elementCount(a.rows(), cols), q.data());
    return q;
}

}  // namespace

FortranMatrix::FortranMatrix(const FMatrix& a) : FortranMatrix(a.rows(), a.cols()) {
    for (int i = 1; i <= a.filledRows(); ++i) {
        for (int j = 1; j <= cols_; ++j) (*this)(i, j) = a[i - 1][j - 1];
    }
}

FortranMatrix FortranMatrix::clone() const {
    return firstColumns(*this, cols_);
}

FMatrix FortranMatrix::toMatrix() const {
    FMatrix a(rows_, cols_);
    for (int i = 1; i <= a.filledRows(); ++i) {
        for (int j = 1; j <= cols_; ++j) a[i - 1][j - 1] = (*this)(i, j);
    }
    return a;
}

FVector FortranVector::toVector() const {
    FVector v(size());
    std::copy_n(data(), size(), v.begin());
    return v;
}

void useLapackNames(const LapackNames& names) {
    lapackNames = names;
    lapack = SharedLibrary();
}

bool loadLapack() {
    lapack = SharedLibrary(lapackNames.library);
    return static_cast<bool>(lapack);
}

bool lapackSvd(const FortranMatrix& A, FortranMatrix* U, FortranVector* S, FortranMatrix* VT) {
    Sgesvd* const sgesvd = findRoutine<Sgesvd>(lapackNames.sgesvd);
    // LAPACK ends the process over an extent of 0.
    if (!sgesvd || A.data() == nullptr) return false;
    const int m = A.rows();
    const int n = A.cols();
    const int k = std::min(m, n);
    const FortranMatrix a = A.clone();
    *U = FortranMatrix(m, k);
    *S = FortranVector(k);
    *VT = FortranMatrix(k, n);
    if (!allFinite(a)) {
        std::fill_n(U->data(), m * k, missingValue());
        std::fill_n(S->data(), k, missingValue());
        std::fill_n(VT->data(), k * n, missingValue());
        return false;
    }
    const int lwork = std::max(3 * k + std::max(m, n), 5 * k);
    const FortranVector work(lwork);
    int info = 0;
    sgesvd("S", "S", &m, &n, a.data(), &m, S->data(), U->data(), &m, VT->data(), &k, work.data(),
           &lwork, &info, 1, 1);
    return info == 0;
}

bool lapackQr(const FortranMatrix& A, FortranMatrix* Q, FortranMatrix* R) {
    Sgeqrf* const sgeqrf = findRoutine<Sgeqrf>(lapackNames.sgeqrf);
    if (!sgeqrf) {
        // Wanted, here and below: the texts name the double-precision routines.
        status().reportError("Problem with LAPACK version: no dgeqrf");
        return false;
    }
    if (A.data() == nullptr) return false;
    const int m = A.rows();
    const int n = A.cols();
    const int k = std::min(m, n);
    const FortranMatrix a = A.clone();
    const FortranVector tau(k);
    const FortranVector work(n);
    int info = 0;
    sgeqrf(&m, &n, a.data(), &m, tau.data(), work.data(), &n, &info);
    *R = upperTriangle(a, k);

    Sorgqr* const sorgqr = findRoutine<Sorgqr>(lapackNames.sorgqr);
    if (!sorgqr) {
        status().reportError("Problem with LAPACK version: no dorgqr");
        return false;
    }
    sorgqr(&m, &k, &k, a.data(), &m, tau.data(), work.data(), &n, &info);
    if (info != 0) return false;
    *Q = firstColumns(a, k);
    return true;
}

}  // namespace veldane
