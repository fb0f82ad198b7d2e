#pragma once

#include "core/array.h"

/// Least squares polynomials on a window, whose values and derivatives are weighted sums of the
/// data. A. Savitzky and M. J. E. Golay, Anal. Chem. 36 (1964) 1627-1639.
namespace veldane {

/// What an elimination does about zeros. The two Savitzky-Golay filters differ in it.
enum class ZeroRule {
    report,  ///< a row of exact zeros is reported and its scale is 2^-23; a zero pivot is 2^-126
    stop     ///< a row below 1e-12 ends the elimination; a pivot below 1e-12 is 1e-12
};

/// LU with row scaling and partial pivoting: x from A x = b, n x n and n x 1, in double. After a
/// stop the matrix is taken as if it were eliminated.
Vector<double> solveByLu(Matrix<double> a, const Vector<double>& b, ZeroRule rule);

/// Offsets -left .. right, 0 <= order <= degree.
struct PolynomialWindow {
    int order;
    int left;
    int right;
    int degree;

    /// Below 1 if there is no offset from -left to right.
    int64_t size() const { return int64_t{left} + right + 1; }

    /// The b of weight c_k = sum of b[i] k^i, with which sum of c_k x[j + k] is the coefficient
    /// `order` of the polynomial around j.
    Vector<double> coefficients(ZeroRule rule) const;
};

/// c_k.
double windowWeight(const Vector<double>& b, int k);

}  // namespace veldane
