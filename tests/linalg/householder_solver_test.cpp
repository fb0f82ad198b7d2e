#include "linalg/householder_solver.h"

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
TEST(HouseholderSolverTest, FactorsAreOrthonormalTriangularAndReproduceTheMatrix) {
    for (const FMatrix& a : {randomMatrix(3, 3, 2), viewOf(randomMatrix(40, 17, 4)),
                             matScale(randomMatrix(6, 4, 6), 1e30f),
                             matHadamard(randomMatrix(5, 4, 21), matrixOf({{1, 0, 1, 1}})),
                             matrixOf({{0, 1}, {2, 3}}), randomMatrix(3, 6, 7)}) {
        SCOPED_TRACE(testing::Message() << a.rows() << " x " << a.cols());
        const HouseholderSolver solver(a);
        const FMatrix Q = solver.q(), R = solver.r();
        // A wide matrix is factorised transposed.
        EXPECT_TRUE(isClose(matMultiply(Q, R), a.rows() < a.cols() ? transposed(a) : a, 5e-6));
        EXPECT_TRUE(isClose(matXtX(Q), identity(R.cols()), 2e-6));
        for (int i = 1; i < R.rows(); ++i) EXPECT_EQ(matSumSquare(R.view(i, i, 0, i - 1)), 0.0f);
        EXPECT_LE(R[0][0] * a[0][0], 0.0f);
    }
}

TEST(HouseholderSolverTest, SolvesInLeastSquaresUnlessARankIsMissing) {
    const FMatrix A = randomMatrix(20, 6, 9), B = randomMatrix(20, 3, 11);
    const HouseholderSolver solver(A);
    EXPECT_TRUE(solver.fullRank());
    const FMatrix normal = matMultiplyAtB(A, matMultiply(A, solver.solve(B)));
    EXPECT_TRUE(isClose(normal, matMultiplyAtB(A, B), 1e-5));
    EXPECT_TRUE(sameBits(solver.solve(FMatrix(6, 1, 1.0f)), FMatrix()));
    for (const FMatrix& w : {matrixOf({{0, 1, 1}}), matrixOf({{1, 1, 0}})}) {
        const HouseholderSolver deficient(matHadamard(randomMatrix(5, 3, 21), w));
        EXPECT_FALSE(deficient.fullRank());
        EXPECT_TRUE(sameBits(deficient.solve(FMatrix(5, 1, 1.0f)), FMatrix()));
    }
}

TEST(InverseTest, OfTheHilbertMatrixIsTheKnownOne) {
    // The Hilbert matrix of order 4 has the condition number 15514 and an inverse of integers.
    const FMatrix hilbert = generate(4, 4, [](int i, int j) { return 1.0f / float(i + j + 1); });
    const FMatrix inverse = matrixOf({{16, -120, 240, -140},
                                      {-120, 1200, -2700, 1680},
                                      {240, -2700, 6480, -4200},
                                      {-140, 1680, -4200, 2800}});
    EXPECT_TRUE(isClose(matInverse(viewOf(hilbert)), inverse, 2e-3));
    EXPECT_TRUE(sameBits(matInverse(FMatrix()), FMatrix()));
}

}  // namespace veldane::test
