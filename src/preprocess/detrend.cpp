#include "linalg/householder_solver.h"
#include "linalg/kernels.h"
#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

/// B, cols x (degree + 1): powers of 1, 2, .. cols.
FMatrix powersOfPosition(int cols, int degree) {
    FMatrix b(cols, degree + 1);
    for (int j = 0; j < b.rows(); ++j) {
        b[j][0] = 1.0f;
        for (int p = 1; p <= degree; ++p) b[j][p] = b[j][p - 1] * static_cast<float>(j + 1);
    }
    return b;
}

void subtractRows(float* const* rows, const FMatrix& fit) {
    for (int i = 0; i < fit.rows(); ++i) {
        for (int j = 0; j < fit.cols(); ++j) rows[i][j] -= fit[i][j];
    }
}

void removePolynomial(const FMatrix& x, int degree) {
    const FMatrix b = powersOfPosition(x.cols(), degree);
    const FMatrix identity(degree + 1, degree + 1);
    matSetIdentity(identity);
    const FMatrix inverse = HouseholderSolver(matXtX(b)).solve(identity);
    // Rows x (degree + 1); empty, and so no fit, where too few columns leave B'B singular.
    const FMatrix coefficients = matMultiply(matMultiply(x, b), inverse);
    const FMatrix powers = matTranspose(b);
    constexpr int height = 16;
    for (int i = 0; i < coefficients.rows(); i += height) {
        const int last = std::min(i + height, coefficients.rows()) - 1;
        subtractRows(x.table() + i, matMultiply(coefficients.view(i, last, 0, degree), powers));
    }
}

}  // namespace

int detrend(ArrayDesc* data, int degree) {
    if (!data || degree < 1 || degree > 4) return badArgument;
    return transformTable(data, [=](const FMatrix& x) {
        if (x.size() > 0) removePolynomial(x, degree);
    });
}
