#pragma once

#include "core/array.h"

/// Value-style matrix functions: operands by const reference, a fresh array back. Nothing is thrown
/// but a failed allocation and nothing is reported: where shapes do not fit, the result is the 0 x
/// 0 matrix.
///
/// Order is the contract: an element of a result sums its terms in ascending index order, each
/// product and each sum rounded to float. "Skips NaN" means that a NaN is left out of sum and
/// count; elsewhere it spreads by arithmetic.
namespace veldane {

// Products ---------------------------------------------------------------------------------------

/// A B. Empty unless cols(A) = rows(B).
FMatrix matMultiply(const FMatrix& a, const FMatrix& b);

/// A' B, cols(A) x cols(B). Empty unless rows(A) = rows(B).
FMatrix matMultiplyAtB(const FMatrix& a, const FMatrix& b);

/// A B', rows(A) x rows(B). Empty unless cols(A) = cols(B). Skips NaN: a pair counts if neither
/// value is NaN, and an element without any pair is NaN.
FMatrix matMultiplyABt(const FMatrix& a, const FMatrix& b);

/// X' X and X X': the lower triangle, mirrored.
FMatrix matXtX(const FMatrix& x);
FMatrix matXXt(const FMatrix& x);

// Shape ------------------------------------------------------------------------------------------

FMatrix matTranspose(const FMatrix& a);
FMatrix matClone(const FMatrix& a);

/// A view of rows r0..r1 and columns c0..c1, ends included: writing to it writes to a. Empty if an
/// end lies before its start or outside of a.
FMatrix matSubMatrix(const FMatrix& a, int r0, int r1, int c0, int c1);

/// Copies of column j, rows x 1, and of row i, 1 x cols.
FMatrix matColumn(const FMatrix& a, int j);
FMatrix matRow(const FMatrix& a, int i);

/// a[.][j] = col[.][0]; nothing unless rows are equal and col is one column.
void matSetColumn(const FMatrix& a, const FMatrix& col, int j);

/// a[i][.] = v; nothing unless v has cols(a) elements.
void matSetRow(const FMatrix& a, const FVector& v, int i);

/// The diagonal, min(rows, cols) x 1.
FMatrix matDiagonal(const FMatrix& a);

/// [A B]; the rows that the shorter one lacks are 0.
FMatrix matConcat(const FMatrix& a, const FMatrix& b);

/// 1 on the diagonal and 0 elsewhere, in place, for any shape.
void matSetIdentity(const FMatrix& a);

/// Element k of the third axis: rows x cols.
FMatrix cubePage(const FCube& c, int k);

// Element by element -----------------------------------------------------------------------------

FMatrix matScale(const FMatrix& a, float s);
FMatrix matAddScalar(const FMatrix& a, float s);
FMatrix matSubtractScalar(const FMatrix& a, float s);

/// A / s; all missing if s is 0 or NaN.
FMatrix matDivideScalar(const FMatrix& a, float s);

/// Of two matrices of one shape; empty otherwise. The division has no test for zero.
FMatrix matAddSame(const FMatrix& a, const FMatrix& b);
FMatrix matSubtractSame(const FMatrix& a, const FMatrix& b);
FMatrix matHadamardSame(const FMatrix& a, const FMatrix& b);
FMatrix matDotDivide(const FMatrix& a, const FMatrix& b);

/// With broadcast of b: the same shape, or a row for each row of a, or a column for each column,
/// tried in this order; matHadamard tries the column before the row. Empty for any other shape.
FMatrix matAdd(const FMatrix& a, const FMatrix& b);
FMatrix matSubtract(const FMatrix& a, const FMatrix& b);
FMatrix matHadamard(const FMatrix& a, const FMatrix& b);

/// a[i][j] w[0][j]. Empty unless w is 1 x cols.
FMatrix matScaleColumns(const FMatrix& a, const FMatrix& w);

/// The same in place; w may lie within a. False, and nothing is done, unless w is 1 x cols.
bool matScaleColumnsInPlace(const FMatrix& a, const FMatrix& w);

/// Squares; 0 for a NaN.
FMatrix matSquare(const FMatrix& a);

/// Square roots; 0 for what is not greater than 0.
FMatrix matSqrt(const FMatrix& a);

/// Every |(a - b) / a| at most tol, in double; where a is 0 the test is b <= tol, signed. False for
/// different shapes.
bool matConverged(const FMatrix& a, const FMatrix& b, double tol);

// Sums and statistics ----------------------------------------------------------------------------

/// 1 x cols, skip NaN. A column without any value has the sum 0 and the mean 0/0.
FMatrix matColumnSums(const FMatrix& a);
FMatrix matColumnMeans(const FMatrix& a);
FVector matColumnMeansVector(const FMatrix& a);

/// Skip NaN.
FVector matColumnSumSquares(const FMatrix& a);
float matColumnSumSquare(const FMatrix& a, int j);

/// Skips NaN.
float matRowSum(const FMatrix& a, int i);

/// No NaN test.
float matRowSumSquare(const FMatrix& a, int i);

/// rows x 1, no NaN test, divided by cols.
FMatrix matRowMeans(const FMatrix& a);

/// Skips NaN, divided by the count of values.
FVector matRowMeansVector(const FMatrix& a);

/// Over all elements, no NaN test.
float matSumSquare(const FMatrix& a);

/// Skips NaN; 0 for a matrix that is not square.
float matTrace(const FMatrix& a);

/// Skip NaN; 3.4028235e38 and -3.4028235e38 without any value.
float matMin(const FMatrix& a);
float matMax(const FMatrix& a);

/// Standard deviations of columns, 1 x cols, and of rows, rows x 1, by Welford's recurrence
/// (Technometrics 4 (1962) 419-420); skip NaN. The divisor is the count of values, less 1 for a
/// sample. NaN for fewer than two values.
FMatrix matColumnStdDev(const FMatrix& a, bool sample);
FMatrix matRowStdDev(const FMatrix& a, bool sample);

/// As matRowStdDev without its guard: fewer than two values give what the division gives.
FMatrix RowStdDev(const FMatrix& a, bool unbiased);

/// Squares of matColumnStdDev(a, true).
FMatrix matColumnVariance(const FMatrix& a);

/// Pearson correlation of the first columns, over the rows where neither is NaN. -0 for different
/// row counts.
float matCorrelation(const FMatrix& a, const FMatrix& b);

/// A less its column means (NaN skipped); a NaN stays. The second form gives the means back, 1 x
/// cols.
FMatrix matCentre(const FMatrix& a);
FMatrix matCentre(const FMatrix& a, FMatrix& means);

/// Columns of unit length, in place. Each is divided by its largest element, by signed comparison,
/// before its length is taken, so squares cannot overflow, and a column of negative elements only
/// changes its sign. A column of zeros becomes NaN.
void matNormalizeColumns(const FMatrix& a);

// Inverse ----------------------------------------------------------------------------------------

/// The inverse of a square matrix, empty if it is singular by an exact zero. Of any other matrix
/// the pseudo-inverse.
FMatrix matInverse(const FMatrix& a);

/// Stands for the reciprocal of a zero singular value or scale, which is not dropped: 2^23.
constexpr float reciprocalOfZero = 8388608.0f;

/// Moore-Penrose inverse by SVD, cols x rows; reciprocalOfZero for a zero singular value. Skips NaN
/// in the last product.
FMatrix matPseudoInverse(const FMatrix& a);

}  // namespace veldane
