#include "linalg/lapack.h"

#include "linalg/golub_kahan_svd.h"
#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane {
namespace {

using namespace test;

/// Puts the names back after a test that changes them.
struct Lapack : testing::Test {
    void SetUp() override { ASSERT_TRUE(loadLapack()); }
    void TearDown() override { useLapackNames({}); }

    static bool loadWith(const LapackNames& names) {
        useLapackNames(names);
        return loadLapack();
    }

    Recorder recorder;
    FortranMatrix U, VT, Q, R;
    FortranVector S;
};

TEST_F(Lapack, MatricesAreColumnMajorAndCountedFromOne) {
    const FMatrix a = randomMatrix(3, 2, 1);
    const FortranMatrix fortran(a);
    EXPECT_EQ(fortran(3, 2), a[2][1]);
    EXPECT_EQ(fortran.data()[1], a[1][0]);
    EXPECT_TRUE(sameBits(fortran.toMatrix(), a));
}

TEST_F(Lapack, AgreesWithTheOwnDecompositions) {
    for (const auto& [rows, cols] : {std::pair{1, 1}, {6, 6}, {30, 4}, {4, 30}}) {
        const FMatrix a = randomMatrix(rows, cols, 5);
        const int k = std::min(rows, cols);
        ASSERT_TRUE(lapackSvd(FortranMatrix(a), &U, &S, &VT));
        const CSVD own(a);
        FMatrix ownU, ownV;
        own.getU(ownU);
        own.getV(ownV);
        EXPECT_TRUE(isClose(FMatrix(k, 1, S.data()), FMatrix(k, 1, own.s.data()), 1e-5));
        EXPECT_TRUE(sameColumnsUpToSign(U.toMatrix(), ownU, 1e-4));
        EXPECT_TRUE(sameColumnsUpToSign(transposed(VT.toMatrix()), ownV, 1e-4));

        ASSERT_TRUE(lapackQr(FortranMatrix(a), &Q, &R));
        EXPECT_TRUE(isClose(matMultiply(Q.toMatrix(), R.toMatrix()), a, 1e-5));
        EXPECT_TRUE(isClose(matXtX(Q.toMatrix()), identity(k), 1e-5));
        for (int i = 1; i <= k; ++i) {
            for (int j = 1; j < i; ++j) EXPECT_EQ(R(i, j), 0.0f);
        }
    }
    EXPECT_TRUE(recorder.reports.empty());
}

TEST_F(Lapack, RefusesWhatLapackItselfDoesNotSurvive) {
    EXPECT_FALSE(lapackQr(FortranMatrix(FMatrix(0, 3)), &Q, &R));
    EXPECT_FALSE(lapackSvd(FortranMatrix(FMatrix(3, 0)), &U, &S, &VT));
    EXPECT_EQ(U.rows(), 0);
    for (const float x : {nan, infinity}) {
        EXPECT_FALSE(lapackSvd(FortranMatrix(matrixOf({{1, 2, x}, {3, 4, 5}})), &U, &S, &VT));
        EXPECT_TRUE(sameBits(U.toMatrix(), FMatrix(2, 2, nan)));
        EXPECT_TRUE(sameBits(S.toVector(), FVector(2, nan)));
        EXPECT_TRUE(sameBits(VT.toMatrix(), FMatrix(2, 3, nan)));
    }
}

TEST_F(Lapack, TakesTheSecondNameOfARoutineAndTellsWhatIsMissing) {
    const FortranMatrix a(randomMatrix(4, 3, 2));
    LapackNames names;
    for (auto* routine : {&names.sgesvd, &names.sgeqrf, &names.sorgqr}) {
        *routine = {"absent", (*routine)[0]};
    }
    ASSERT_TRUE(loadWith(names));
    EXPECT_TRUE(lapackQr(a, &Q, &R));
    EXPECT_TRUE(lapackSvd(a, &U, &S, &VT));

    U = VT = Q = FortranMatrix();
    S = FortranVector();
    names.sgesvd = names.sorgqr = {"absent", "absent"};
    ASSERT_TRUE(loadWith(names));
    EXPECT_FALSE(lapackSvd(a, &U, &S, &VT));
    EXPECT_EQ(U.rows() + S.size() + VT.rows(), 0);
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_FALSE(lapackQr(a, &Q, &R));
    EXPECT_EQ(Q.rows(), 0);
    EXPECT_EQ(recorder.count("Problem with LAPACK version: no dorgqr"), 1);

    EXPECT_FALSE(loadWith({"libabsent.so"}));
    EXPECT_FALSE(lapackSvd(a, &U, &S, &VT));
    EXPECT_FALSE(lapackQr(a, &Q, &R));
    ASSERT_EQ(recorder.reports.size(), 2u);
    EXPECT_EQ(recorder.reports[1].progress, -1.0f);
    EXPECT_EQ(recorder.reports[1].message, "Problem with LAPACK version: no dgeqrf");
}

}  // namespace
}  // namespace veldane
