#pragma once

#include "core/array.h"

namespace veldane {

/// What a bilinear fit of X, n x m, by the first a + 1 of A components leaves, for each a.
/// With E = X - (T P + means):
struct ResidualSums {
    FMatrix fitted;     ///< T P + means with all components, n x m
    FMatrix samples;    ///< sums of squares of the rows of E, n x A; skip NaN
    FMatrix variables;  ///< sums of squares of the columns of E, A x m; skip NaN
    FMatrix total;      ///< sums of squares over all of E row by row, 1 x A; no NaN test
};

/// T is n x A, P is A x m, means 1 x m or empty for none; the caller sees to it. Reads X once for
/// every 16 components. An element of T P sums the components in ascending order; each sum of
/// squares runs in index order; all round to float after each term.
ResidualSums residualSums(const FMatrix& x, const FMatrix& t, const FMatrix& p,
                          const FMatrix& means);

}  // namespace veldane
