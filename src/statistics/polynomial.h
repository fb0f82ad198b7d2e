#pragma once

/// Horner's rule, highest power first.
namespace veldane {

/// Degree N, N + 1 coefficients.
inline double polevl(double x, const double* coefficients, int N) {
    double result = coefficients[0];
    for (int i = 1; i <= N; ++i) result = result * x + coefficients[i];
    return result;
}

/// Degree N, N coefficients behind a leading 1 that is not stored.
inline double p1evl(double x, const double* coefficients, int N) {
    double result = x + coefficients[0];
    for (int i = 1; i < N; ++i) result = result * x + coefficients[i];
    return result;
}

}  // namespace veldane
