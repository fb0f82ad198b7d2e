#pragma once

#include "core/array.h"

namespace veldane {

/// Means in double of rows, columns and all elements; a NaN is not left out.
struct TableMeans {
    Vector<double> rows;
    Vector<double> cols;
    double all = 0.0;
};

/// a[i][j] = (a[i][j] - column mean j) - row mean i + mean of all, in place, in double and rounded
/// once. Returns the means that were taken off. The sum of all adds up the sums of the rows.
TableMeans doubleCentre(const FMatrix& a);

}  // namespace veldane
