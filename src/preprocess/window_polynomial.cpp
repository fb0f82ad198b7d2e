#include "preprocess/window_polynomial.h"

#include <cmath>

#include "core/status.h"

namespace veldane {
namespace {

// Above it the sums of powers leave the range of float, and so would those of any wider window.
constexpr int highestDegree = 63;

/// Rounded to float; 0^0 is 1.
double singlePower(double k, int exponent) {
    double power = 1.0;
    for (int i = 0; i < exponent; ++i) power *= k;
    return static_cast<float>(power);
}

double largestOfRow(const double* row, int n) {
    double largest = 0.0;
    for (int j = 0; j < n; ++j) largest = std::max(largest, std::fabs(row[j]));
    return largest;
}

/// 1 over each row's largest element. False if the rule stops here.
bool findScales(const Matrix<double>& a, ZeroRule rule, const Vector<double>& scales) {
    for (int i = 0; i < a.rows(); ++i) {
        double largest = largestOfRow(a[i], a.cols());
        if (rule == ZeroRule::stop && largest < 1e-12) return false;
        if (rule == ZeroRule::report && largest == 0.0) {
            status().reportError("Division by zero detected");
            largest = std::numeric_limits<float>::epsilon();
        }
        scales[i] = 1.0 / largest;
    }
    return true;
}

double usablePivot(double pivot, ZeroRule rule) {
    if (rule == ZeroRule::stop) return std::fabs(pivot) < 1e-12 ? 1e-12 : pivot;
    return pivot == 0.0 ? std::numeric_limits<float>::min() : pivot;
}

/// In place; right follows the exchanges of rows.
void eliminate(const Matrix<double>& a, const Vector<double>& right, ZeroRule rule) {
    const int n = a.rows();
    const Vector<double> scales(n);
    if (!findScales(a, rule, scales)) return;
    for (int k = 0; k < n; ++k) {
        int pivot = k;
        for (int i = k + 1; i < n; ++i) {
            if (scales[i] * std::fabs(a[i][k]) > scales[pivot] * std::fabs(a[pivot][k])) pivot = i;
        }
        std::swap_ranges(a[k], a[k] + n, a[pivot]);
        std::swap(scales[k], scales[pivot]);
        std::swap(right[k], right[pivot]);
        a[k][k] = usablePivot(a[k][k], rule);
        for (int i = k + 1; i < n; ++i) {
            a[i][k] /= a[k][k];
            for (int j = k + 1; j < n; ++j) a[i][j] -= a[i][k] * a[k][j];
        }
    }
}

}  // namespace

Vector<double> solveByLu(Matrix<double> a, const Vector<double>& b, ZeroRule rule) {
    const int n = a.rows();
    a = a.clone();
    Vector<double> x(n);
    std::copy(b.begin(), b.end(), x.begin());
    eliminate(a, x, rule);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < i; ++j) x[i] -= a[i][j] * x[j];
    }
    for (int i = n - 1; i >= 0; --i) {
        for (int j = i + 1; j < n; ++j) x[i] -= a[i][j] * x[j];
        x[i] /= a[i][i];
    }
    return x;
}

Vector<double> PolynomialWindow::coefficients(ZeroRule rule) const {
    if (degree > highestDegree) return {1, missingValue()};
    const int n = degree + 1;
    const Vector<double> sums(2 * n - 1, 0.0), unit(n, 0.0);
    for (int64_t k = -int64_t{left}; k <= right; ++k) {
        for (int p = 0; p < sums.size(); ++p) sums[p] += singlePower(static_cast<double>(k), p);
    }
    // A, n x n: the normal equations of the window.
    Matrix<double> a(n, n);
    for (int i = 0; i < n; ++i) std::copy_n(sums.begin() + i, n, a[i]);
    unit[order] = 1.0;
    return solveByLu(a, unit, rule);
}

double windowWeight(const Vector<double>& b, int k) {
    double weight = 0.0;
    for (int i = 0; i < b.size(); ++i) weight += b[i] * singlePower(k, i);
    return weight;
}

}  // namespace veldane
