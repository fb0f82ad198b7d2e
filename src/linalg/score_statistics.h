#pragma once

#include "core/array.h"

/// What models of components with scores T, n x A, and loadings in the rows of an A x m matrix have
/// in common, whatever found them.
namespace veldane {

/// The diagonal of A'A.
FVector crossProductDiagonal(const FMatrix& a);

/// Of scores, n x A or more: sums of (scale[b] scores[i][b])² over b = 0..a in column a, n x
/// components; skips NaN.
FMatrix accumulatedSquares(const FMatrix& scores, const FVector& scale, int components);

/// 1/n + sum of t² / t't over the first a + 1 components, at most 0.99, n x A; skips NaN and
/// components without any score.
FMatrix sampleLeverages(const FMatrix& T);

/// Sums of p² / p'p, A x m, with the length of the first row for all, as is wanted; skips NaN.
FMatrix variableLeverages(const FMatrix& rows);

/// Correlation of column a of the scores with column j of the variables, A x m; leaves out rows
/// with a missing value. -0 for different row counts.
FMatrix correlationLoadings(const FMatrix& scores, const FMatrix& variables);

/// The limit at 5 % (deviate 1.65) of the sum of squares that components with eigenvalues of the
/// given sums of first, second and third powers leave. J. E. Jackson and G. S. Mudholkar,
/// Technometrics 21 (1979) 341-349.
double jacksonMudholkarLimit(double th1, double th2, double th3);

}  // namespace veldane
