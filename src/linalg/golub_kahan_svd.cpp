#include "linalg/golub_kahan_svd.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/hypot.h"
#include "linalg/instruction_set.h"
#include "linalg/kernels.h"
#include "linalg/lanes.h"
#include "linalg/rotated_columns.h"
#include "linalg/thin_products.h"

namespace veldane {
namespace {

constexpr int cancelled = -1;
constexpr int iterationLimit = 1000;

/// What counts as zero beside its neighbours: the epsilon of double, though the elements are float.
constexpr double negligible = std::numeric_limits<double>::epsilon();

/// A zero divisor is replaced by the epsilon of float.
template <class T>
T divisor(T x) {
    return x == 0 ? T{std::numeric_limits<float>::epsilon()} : x;
}

struct Givens {
    double r;
    double cs;
    double sn;
};

/// The rotation that turns (f, g) to (r, 0).
Givens givens(double f, double g) {
    const double r = divisor(scaledHypot(f, g));
    return {r, f / r, g / r};
}

/// x[i][j] += v[i] t[j]
VELDANE_INLINE void addOuterProduct(const FMatrix& x, const float* v, const float* t) {
    const int cols = x.cols();
    for (int i = 0; i < x.rows(); ++i) {
        float* row = x[i];
        const float vi = v[i];
        for (int j = 0; j < cols; ++j) row[j] += t[j] * vi;
    }
}

void outerBaseline(const FMatrix& x, const float* v, const float* t) {
    addOuterProduct(x, v, t);
}
[[gnu::target("avx2")]] void outerAvx2(const FMatrix& x, const float* v, const float* t) {
    addOuterProduct(x, v, t);
}
[[gnu::target("avx512f")]] void outerAvx512(const FMatrix& x, const float* v, const float* t) {
    addOuterProduct(x, v, t);
}

void addOuter(const FMatrix& x, const float* v, const float* t) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return outerAvx512(x, v, t);
        case InstructionSet::avx2:
            return outerAvx2(x, v, t);
        case InstructionSet::baseline:
            return outerBaseline(x, v, t);
    }
}

/// One decomposition on its way, with m >= n. A step is false after a cancel.
class Decomposition {
  public:
    Decomposition(CSVD& svd, HaltEvent& halt, bool report)
        : halt_(halt),
          report_(report),
          m_(svd.m),
          n_(svd.n),
          U_(svd.U),
          V_(svd.V),
          s_(svd.s),
          e_(n_, 0.0f),
          rows_(m_),
          cols_(n_),
          columnsOfU_(U_),
          columnsOfV_(V_) {}

    bool run() { return reduce() && generateU() && generateV() && iterate(); }

  private:
    bool reduce();
    void makeColumnReflector(int k);
    void makeRowReflector(int k);
    bool generateU();
    bool generateV();
    void reflectColumns(const FMatrix& x, int top, int k);
    bool iterate();
    int findNegligibleE(int p);
    int findNegligibleS(int k, int p);
    bool deflateLast(int k, int p);
    bool split(int k, int p);
    void stepQr(int k, int p);
    void converge(int k);
    bool isCancelled(const char* message = "Computation was cancelled");

    /// Reflectors that there are: one for each column that has elements below the diagonal, one for
    /// each row that has elements right of the superdiagonal.
    int columnReflectors() const { return std::min(m_ - 1, n_); }
    int rowReflectors() const { return std::max(0, n_ - 2); }

    HaltEvent& halt_;
    const bool report_;
    const int m_;
    const int n_;
    const FMatrix U_;  // first A, which keeps the column reflectors
    const FMatrix V_;  // first the row reflectors, as columns
    const FVector s_;
    const FVector e_;     // the superdiagonal
    const FVector rows_;  // work, one for each row
    const FVector cols_;  // work, one for each column
    RotatedColumns columnsOfU_;
    RotatedColumns columnsOfV_;
};

bool Decomposition::isCancelled(const char* message) {
    if (!report_ || !halt_.poll()) return false;
    status().reportError(message);
    status().report(0.0f, "Computation cancelled, please wait");
    return true;
}

bool Decomposition::reduce() {
    const int steps = columnReflectors();
    for (int k = 0; k < steps; ++k) {
        if (isCancelled("Computation cancelled.")) return false;
        // Wanted: the integer division makes it 0 at every step.
        const int progress = k / steps;
        if (report_) status().report(static_cast<float>(progress), "Computing SVD");
        makeColumnReflector(k);
        if (isCancelled()) return false;
        if (s_[k] != 0.0f) reflectColumns(U_, k, k);
        std::copy(U_[k] + k + 1, U_[k] + n_, e_.begin() + k + 1);
        if (isCancelled()) return false;
        if (k < rowReflectors()) makeRowReflector(k);
    }
    if (steps < n_) s_[steps] = U_[steps][steps];
    if (n_ > 1) e_[n_ - 2] = U_[n_ - 2][n_ - 1];
    e_[n_ - 1] = 0.0f;
    return true;
}

void Decomposition::makeColumnReflector(int k) {
    float norm = 0.0f;
    for (int i = k; i < m_; ++i) norm = static_cast<float>(scaledHypot(norm, U_[i][k]));
    if (norm != 0.0f) {
        if (U_[k][k] < 0.0f) norm = -norm;
        for (int i = k; i < m_; ++i) U_[i][k] /= divisor(norm);
        U_[k][k] += 1.0f;
    }
    s_[k] = -norm;
}

void Decomposition::makeRowReflector(int k) {
    float norm = 0.0f;
    for (int j = k + 1; j < n_; ++j) norm = static_cast<float>(scaledHypot(norm, e_[j]));
    if (norm != 0.0f) {
        if (e_[k + 1] < 0.0f) norm = -norm;
        for (int j = k + 1; j < n_; ++j) e_[j] /= divisor(norm);
        e_[k + 1] += 1.0f;
    }
    e_[k] = -norm;
    for (int j = k + 1; j < n_; ++j) V_[j][k] = e_[j];
    if (norm == 0.0f) return;
    const FMatrix rest = U_.view(k + 1, m_ - 1, k + 1, n_ - 1);
    multiplyByVector(rest, e_.begin() + k + 1, rows_.data());
    for (int j = k + 1; j < n_; ++j) cols_[j] = -e_[j] / divisor(e_[k + 1]);
    addOuter(rest, rows_.data(), cols_.begin() + k + 1);
}

/// Applies the reflector in column k of x, from row `top` down, to the columns after it.
void Decomposition::reflectColumns(const FMatrix& x, int top, int k) {
    if (k + 1 == n_) return;
    const FMatrix rest = x.view(top, x.rows() - 1, k + 1, n_ - 1);
    for (int i = 0; i < rest.rows(); ++i) rows_[i] = x[top + i][k];
    multiplyTransposedByVector(rest, rows_.data(), cols_.data());
    for (int j = 0; j < rest.cols(); ++j) cols_[j] = -cols_[j] / divisor(rows_[0]);
    addOuter(rest, rows_.data(), cols_.data());
}

bool Decomposition::generateU() {
    for (int i = 0; i < n_; ++i) std::fill(U_[i] + i + 1, U_[i] + n_, 0.0f);
    if (m_ == n_) U_[n_ - 1][n_ - 1] = 1.0f;
    for (int k = columnReflectors() - 1; k >= 0; --k) {
        if (isCancelled()) return false;
        if (s_[k] != 0.0f) {
            reflectColumns(U_, k, k);
            for (int i = k; i < m_; ++i) U_[i][k] = -U_[i][k];
            U_[k][k] += 1.0f;
        } else {
            for (int i = k; i < m_; ++i) U_[i][k] = 0.0f;
            U_[k][k] = 1.0f;
        }
    }
    return true;
}

bool Decomposition::generateV() {
    for (int k = n_ - 1; k >= 0; --k) {
        if (isCancelled()) return false;
        if (k < rowReflectors() && e_[k] != 0.0f) reflectColumns(V_, k + 1, k);
        for (int i = k + 1; i < n_; ++i) V_[i][k] = 0.0f;
        V_[k][k] = 1.0f;
    }
    return true;
}

/// Diagonalises what is left of the bidiagonal matrix, its first p rows and columns.
bool Decomposition::iterate() {
    int iterations = 0;
    for (int p = n_; p > 0;) {
        if (isCancelled()) return false;
        if (iterations > iterationLimit) {
            if (report_) status().reportError("Failed to converge in SVD");
            break;
        }
        const int k = findNegligibleE(p);
        if (k == p - 2) {
            converge(k + 1);
            iterations = 0;
            --p;
            continue;
        }
        const int ks = findNegligibleS(k, p);
        bool deflated = false;
        if (ks == k) {
            stepQr(k + 1, p);
        } else if (ks == p - 1) {
            deflated = deflateLast(k + 1, p);
        } else {
            deflated = split(ks + 1, p);
        }
        if (!deflated) ++iterations;
    }
    columnsOfU_.finish();
    columnsOfV_.finish();
    return true;
}

/// The last k below p - 1 where e[k] is negligible, which it then sets to 0; -1 if there is none.
int Decomposition::findNegligibleE(int p) {
    for (int k = p - 2; k >= 0; --k) {
        const double size = std::fabs(double{s_[k]}) + std::fabs(double{s_[k + 1]});
        if (std::fabs(e_[k]) <= negligible * size) {
            e_[k] = 0.0f;
            return k;
        }
    }
    return -1;
}

/// The last k above `end` and below p where s[k] is negligible, which it then sets to 0; `end` if
/// there is none.
int Decomposition::findNegligibleS(int end, int p) {
    for (int k = p - 1; k > end; --k) {
        const double before = k == end + 1 ? 0.0 : std::fabs(double{e_[k - 1]});
        const double size = std::fabs(double{e_[k]}) + before;
        if (std::fabs(s_[k]) <= negligible * size) {
            s_[k] = 0.0f;
            return k;
        }
    }
    return end;
}

/// Chases e[p - 2] out through column p - 1, where s[p - 1] is 0. False if e[p - 2] was 0 already:
/// that happens only beside a NaN, again and again, so such a step counts towards the limit.
bool Decomposition::deflateLast(int k, int p) {
    double f = e_[p - 2];
    const bool progress = f != 0.0;
    e_[p - 2] = 0.0f;
    for (int j = p - 2; j >= k; --j) {
        const Givens g = givens(s_[j], f);
        s_[j] = static_cast<float>(g.r);
        if (j != k) {
            f = -g.sn * e_[j - 1];
            e_[j - 1] = static_cast<float>(g.cs * e_[j - 1]);
        }
        columnsOfV_.rotate({j, p - 1, g.cs, g.sn});
    }
    return progress;
}

/// Chases e[k - 1] out through row k - 1, where s[k - 1] is 0. False as in deflateLast.
bool Decomposition::split(int k, int p) {
    double f = e_[k - 1];
    const bool progress = f != 0.0;
    e_[k - 1] = 0.0f;
    for (int j = k; j < p; ++j) {
        const Givens g = givens(s_[j], f);
        s_[j] = static_cast<float>(g.r);
        f = -g.sn * e_[j];
        e_[j] = static_cast<float>(g.cs * e_[j]);
        columnsOfU_.rotate({j, k - 1, g.cs, g.sn});
    }
    return progress;
}

void Decomposition::stepQr(int k, int p) {
    const double scale =
        divisor<double>(std::max({std::fabs(s_[p - 1]), std::fabs(s_[p - 2]), std::fabs(e_[p - 2]),
                                  std::fabs(s_[k]), std::fabs(e_[k])}));
    const double sp = s_[p - 1] / scale;
    const double spm1 = s_[p - 2] / scale;
    const double epm1 = e_[p - 2] / scale;
    const double sk = s_[k] / scale;
    const double ek = e_[k] / scale;
    const double b = ((spm1 + sp) * (spm1 - sp) + epm1 * epm1) / 2.0;
    const double c = (sp * epm1) * (sp * epm1);
    double shift = 0.0;
    if (b != 0.0 || c != 0.0) {
        shift = std::sqrt(b * b + c);
        if (b < 0.0) shift = -shift;
        shift = c / (b + shift);
    }
    double f = (sk + sp) * (sk - sp) + shift;
    double g = sk * ek;
    for (int j = k; j < p - 1; ++j) {
        const Givens right = givens(f, g);
        if (j != k) e_[j - 1] = static_cast<float>(right.r);
        f = right.cs * s_[j] + right.sn * e_[j];
        e_[j] = static_cast<float>(right.cs * e_[j] - right.sn * s_[j]);
        g = right.sn * s_[j + 1];
        s_[j + 1] = static_cast<float>(right.cs * s_[j + 1]);
        columnsOfV_.rotate({j, j + 1, right.cs, right.sn});
        const Givens left = givens(f, g);
        s_[j] = static_cast<float>(left.r);
        f = left.cs * e_[j] + left.sn * s_[j + 1];
        s_[j + 1] = static_cast<float>(-left.sn * e_[j] + left.cs * s_[j + 1]);
        g = left.sn * e_[j + 1];
        e_[j + 1] = static_cast<float>(left.cs * e_[j + 1]);
        columnsOfU_.rotate({j, j + 1, left.cs, left.sn});
    }
    e_[p - 2] = static_cast<float>(f);
}

/// Singular value k is found: it becomes positive and takes its place among those found before.
void Decomposition::converge(int k) {
    if (s_[k] <= 0.0f) {
        s_[k] = s_[k] < 0.0f ? -s_[k] : 0.0f;
        columnsOfV_.negate(k);
    }
    for (; k < n_ - 1 && s_[k] < s_[k + 1]; ++k) {
        std::swap(s_[k], s_[k + 1]);
        columnsOfU_.swap(k, k + 1);
        columnsOfV_.swap(k, k + 1);
    }
}

}  // namespace

int CSVD::compute(const FMatrix& a, bool report) {
    HaltEvent halt;
    halt.open();
    transposed = a.rows() < a.cols();
    U = transposed ? matTranspose(a) : matClone(a);
    m = U.rows();
    n = U.cols();
    V = FMatrix(n, n, 0.0f);
    s = FVector(n, 0.0f);
    if (n == 0) return 0;
    return Decomposition(*this, halt, report).run() ? 0 : cancelled;
}

void CSVD::getS(FMatrix& out) const {
    out = FMatrix(n, n, 0.0f);
    for (int k = 0; k < n; ++k) out[k][k] = s[k];
}

}  // namespace veldane
