#pragma once

#include <string>
#include <vector>

#include "core/array.h"

/// Real tables, and an independent decomposition of tables.
namespace veldane::test {

/// A CSV of numbers below one header line, `file` relative to the project.
FMatrix readTable(const std::string& file);

/// 60 near-infrared spectra of gasoline, 401 wavelengths.
FMatrix gasolineSpectra();

/// 4 measurements of 150 irises.
FMatrix irisMeasurements();

/// Principal components in double by Jacobi rotations of the rows; as many as the smaller extent,
/// in falling order of eigenvalue.
struct Decomposition {
    FMatrix scores;                   ///< rows x k
    FMatrix loadings;                 ///< k x cols
    std::vector<double> eigenvalues;  ///< of the cross product
};
Decomposition decompose(const FMatrix& x, bool centre);

}  // namespace veldane::test
