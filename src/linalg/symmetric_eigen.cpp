#include "linalg/symmetric_eigen.h"

#include <Eigen/Eigenvalues>
#include <cmath>

namespace veldane {

FMatrix symmetricEigenvectors(const FMatrix& a) {
    const int n = a.rows();
    if (a.size() == 0 || a.cols() != n) return {};
    Eigen::MatrixXf matrix(n, n);
    bool finite = true;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            matrix(i, j) = a[i][j];
            finite = finite && std::isfinite(a[i][j]);
        }
    }
    // The solver would go through all its sweeps on a NaN.
    if (!finite) return {n, n, missingValue()};
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXf> solver(matrix);
    FMatrix vectors(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) vectors[i][j] = solver.eigenvectors()(i, j);
    }
    return vectors;
}

}  // namespace veldane
