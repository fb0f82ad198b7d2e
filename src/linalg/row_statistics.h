#pragma once

#include "core/array.h"

/// Statistics of the rows of a table, several rows side by side, since one row's sum is a chain of
/// dependent additions. Along a row the terms are taken in index order; NaN is skipped.
namespace veldane {

/// Sums rounded to float after each term, and how many values there are; rows(a) of each.
void rowSums(const FMatrix& a, float* sums, int* present);

/// Sums of squares in double, rows(a).
void rowSumSquares(const FMatrix& a, double* sums);

struct Extremes {
    float least;
    float most;
};

/// Of one row and the start; a start of NaN stays. Of equal zeros any.
Extremes rowExtremes(const float* row, int cols, Extremes start);

}  // namespace veldane
