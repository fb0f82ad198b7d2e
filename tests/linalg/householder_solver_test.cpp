#include "linalg/householder_solver.h"

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

FMatrix withZeroColumn(int rows, int cols, int zero) {
    const FMatrix a = randomMatrix(rows, cols, 21);
    matSetColumn(a, FMatrix(rows, 1, 0.0f), zero);
    return a;
}

}  // namespace

TEST(HouseholderSolverTest, FactorsAreOrthonormalTriangularAndReproduceTheMatrix) {
    for (const FMatrix& a : {randomMatrix(1, 1, 1), randomMatrix(3, 3, 2), randomMatrix(7, 3, 3),
                             randomMatrix(40, 17, 4), viewOf(randomMatrix(33, 32, 5)),
                             matScale(randomMatrix(6, 4, 6), 1e30f), withZeroColumn(5, 4, 1),
                             matrixOf({{0, 1}, {2, 3}}), randomMatrix(3, 6, 7)}) {
        SCOPED_TRACE(testing::Message() << a.rows() << " x " << a.cols());
        const HouseholderSolver solver(a);
        const FMatrix Q = solver.q(), R = solver.r();
        const FMatrix upper =
            generate(R.rows(), R.cols(), [&](int i, int j) { return i > j ? 0.0f : R[i][j]; });
        EXPECT_TRUE(isClose(matXtX(Q), identity(R.cols()), 2e-6));
        // A wide matrix is factorised transposed.
        EXPECT_TRUE(isClose(matMultiply(Q, R), a.rows() < a.cols() ? transposed(a) : a, 5e-6));
        EXPECT_TRUE(sameBits(R, upper));
        EXPECT_LE(R[0][0] * a[0][0], 0.0f);
    }
    EXPECT_TRUE(sameBits(HouseholderSolver(matrixOf({{-3}, {4}})).r(), matrixOf({{5}})));
}

TEST(HouseholderSolverTest, SolvesExactlyOrInLeastSquares) {
    const FMatrix A = randomMatrix(20, 6, 9), X = randomMatrix(6, 3, 10),
                  B = randomMatrix(20, 3, 11);
    const HouseholderSolver solver(A);
    EXPECT_TRUE(solver.fullRank());
    EXPECT_TRUE(isClose(solver.solve(matMultiply(A, X)), X, 1e-5));
    const FMatrix residuals = matSubtract(B, matMultiply(A, solver.solve(B)));
    EXPECT_TRUE(
        isClose(matAddScalar(matMultiplyAtB(A, residuals), 1.0f), FMatrix(6, 3, 1.0f), 1e-5));
    EXPECT_TRUE(sameBits(solver.solve(FMatrix(6, 1, 1.0f)), FMatrix()));
    EXPECT_EQ(HouseholderSolver(transposed(A)).solve(B).rows(), 6);
}

TEST(HouseholderSolverTest, ExactZeroOnTheDiagonalIsRankDeficient) {
    for (const int zero : {0, 2, 3}) {
        const HouseholderSolver solver(withZeroColumn(5, 4, zero));
        EXPECT_FALSE(solver.fullRank());
        EXPECT_TRUE(sameBits(solver.solve(FMatrix(5, 1, 1.0f)), FMatrix()));
    }
    for (const FMatrix& a : {withZeroColumn(4, 4, 0), withZeroColumn(4, 4, 3), FMatrix(2, 2, 0.0f),
                             randomMatrix(3, 2, 14), randomMatrix(2, 3, 15), FMatrix()}) {
        EXPECT_TRUE(sameBits(matInverse(a), FMatrix()));
    }
}

TEST(InverseTest, TimesTheMatrixIsTheIdentity) {
    for (const int n : {1, 2, 5, 16, 33}) {
        const FMatrix A = matAdd(randomMatrix(n, n, 13), matScale(identity(n), 4.0f));
        EXPECT_TRUE(isClose(matMultiply(A, matInverse(viewOf(A))), identity(n), 2e-5)) << n;
    }
    // The Hilbert matrix of order 4 has the condition number 15514 and an inverse of integers.
    const FMatrix hilbert =
        generate(4, 4, [](int i, int j) { return 1.0f / static_cast<float>(i + j + 1); });
    const FMatrix inverse = matrixOf({{16, -120, 240, -140},
                                      {-120, 1200, -2700, 1680},
                                      {240, -2700, 6480, -4200},
                                      {-140, 1680, -4200, 2800}});
    EXPECT_TRUE(isClose(matInverse(hilbert), inverse, 2e-3));
}

}  // namespace veldane::test
