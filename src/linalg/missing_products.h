#pragma once

#include "core/array.h"

/// The two products of a NIPALS step on a table with missing values: a least-squares slope on the
/// values that are there. Sums are double and run in index order.
namespace veldane {

/// p[j] = sum of t[i] E[i][j] / (tt - sum of t[i]²), the first sum over the rows where E[i][j] is
/// there, the second over those where it is NaN. t has rows(E) elements, p cols(E).
void projectColumns(const FMatrix& e, const float* t, double tt, float* p);

/// t[i] = sum of p[j] E[i][j] / (pp - sum of p[j]²), in the same way along the rows.
void projectRows(const FMatrix& e, const float* p, double pp, float* t);

}  // namespace veldane
