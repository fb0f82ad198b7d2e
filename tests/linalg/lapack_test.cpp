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

    Recorder recorder;
    FortranMatrix U, VT, Q, R;
    FortranVector S;
};

TEST_F(Lapack, AgreesWithTheOwnDecompositions) {
    for (const auto& [rows, cols] : {std::pair{1, 1}, {6, 6}, {30, 4}, {4, 30}}) {
        const FMatrix a = randomMatrix(rows, cols, 5);
        const FortranMatrix fortran(a);
        EXPECT_EQ(fortran(rows, 1), fortran.data()[rows - 1]);
        const CSVD own(a);
        const FMatrix& ownU = own.transposed ? own.V : own.U;
        ASSERT_TRUE(lapackSvd(fortran, &U, &S, &VT));
        EXPECT_TRUE(isClose({own.n, 1, S.data()}, {own.n, 1, own.s.data()}, 1e-5));
        EXPECT_TRUE(sameColumnsUpToSign(U.toMatrix(), ownU, 1e-4));
        const FMatrix scaled = matScaleColumns(U.toMatrix(), FMatrix(1, own.n, S.data()));
        EXPECT_TRUE(isClose(matMultiply(scaled, VT.toMatrix()), a, 1e-5));
        ASSERT_TRUE(lapackQr(fortran, &Q, &R));
        EXPECT_TRUE(isClose(matMultiply(Q.toMatrix(), R.toMatrix()), a, 1e-5));
        EXPECT_TRUE(isClose(matXtX(Q.toMatrix()), identity(own.n), 1e-5));
        EXPECT_TRUE(own.n == 1 || R(own.n, 1) == 0.0f);
    }
    EXPECT_TRUE(recorder.reports.empty());
}

TEST_F(Lapack, RefusesWhatLapackItselfDoesNotSurvive) {
    EXPECT_FALSE(lapackQr(FortranMatrix(FMatrix(0, 3)), &Q, &R));
    EXPECT_FALSE(lapackSvd(FortranMatrix(FMatrix(3, 0)), &U, &S, &VT));
    for (const float x : {nan, infinity}) {
        EXPECT_FALSE(lapackSvd(FortranMatrix(matrixOf({{1, 2, x}, {3, 4, 5}})), &U, &S, &VT));
        EXPECT_TRUE(sameBits(S.toVector(), FVector(2, nan)));
        EXPECT_TRUE(sameBits(matMultiply(U.toMatrix(), VT.toMatrix()), FMatrix(2, 3, nan)));
    }
}

TEST_F(Lapack, TakesTheSecondNameOfARoutineAndTellsWhatIsMissing) {
    const FortranMatrix a(randomMatrix(4, 3, 2));
    LapackNames names;
    for (auto* routine : {&names.sgesvd, &names.sgeqrf, &names.sorgqr})
        *routine = {"absent", (*routine)[0]};
    useLapackNames(names);
    ASSERT_TRUE(loadLapack());
    EXPECT_TRUE(lapackQr(a, &Q, &R) && lapackSvd(a, &U, &S, &VT));
    names.sgesvd = names.sorgqr = {"absent", "absent"};
    useLapackNames(names);
    ASSERT_TRUE(loadLapack());
    EXPECT_FALSE(lapackSvd(a, &U, &S, &VT));
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_FALSE(lapackQr(a, &Q, &R));
    useLapackNames({"libabsent.so"});
    EXPECT_FALSE(loadLapack());
    EXPECT_FALSE(lapackSvd(a, &U, &S, &VT) || lapackQr(a, &Q, &R));
    ASSERT_EQ(recorder.reports.size(), 2u);
    EXPECT_EQ(recorder.reports[0].message, "Problem with LAPACK version: no dorgqr");
    EXPECT_EQ(recorder.reports[1].message, "Problem with LAPACK version: no dgeqrf");
    EXPECT_EQ(recorder.reports[1].progress, -1.0f);
}

}  // namespace
}  // namespace veldane
