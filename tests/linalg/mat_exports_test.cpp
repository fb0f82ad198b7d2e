#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

FMatrix rightDivide(const FMatrix& a, const FMatrix& b) {
    return matMultiply(a, matPseudoInverse(b));
}

constexpr struct {
    int (*run)(const ArrayDesc*, const ArrayDesc*, ArrayDesc*);
    FMatrix (*kernel)(const FMatrix&, const FMatrix&);
} operations[] = {{MAT_Kronecker, matHadamard},  {MAT_Add, matAdd},
                  {MAT_Subtract, matSubtract},   {MAT_Multiply, matMultiply},
                  {MAT_DotDivide, matDotDivide}, {MAT_Divide, rightDivide}};

}  // namespace

TEST(MatExportsTest, CheckShapesEachInItsWay) {
    const struct {
        int a[2], b[2];
        const char* codes;  // 0, or - for -1
    } cases[] = {
        {{2, 3}, {2, 3}, "000-00"}, {{2, 3}, {1, 3}, "000-00"}, {{2, 3}, {2, 1}, "000-0-"},
        {{2, 3}, {1, 2}, "------"}, {{2, 3}, {3, 1}, "---0--"}, {{2, 3}, {2, 4}, "----0-"},
        {{2, 3}, {4, 3}, "----00"}, {{2, 3}, {3, 2}, "---0--"}, {{2, 1}, {1, 1}, "0--000"},
        {{1, 3}, {1, 1}, "0---0-"}, {{2, 3}, {0, 0}, "-00---"}, {{2, 0}, {0, 3}, "---0--"}};
    for (const auto& c : cases) {
        const InDesc a(randomMatrix(c.a[0], c.a[1], 1)), b(randomMatrix(c.b[0], c.b[1], 2));
        for (int i = 0; i < 6; ++i) {
            SCOPED_TRACE(testing::Message() << "operation " << i << ", case " << &c - cases);
            HandedOut out;
            EXPECT_EQ(operations[i].run(&a, &b, &out), c.codes[i] == '0' ? 0 : -1);
            const FMatrix expected = operations[i].kernel(a.elements, b.elements);
            EXPECT_TRUE(out.written() ? sameBits(out.copy(), expected)
                                      : testing::AssertionResult(c.codes[i] == '-'));
        }
    }
}

TEST(MatExportsTest, OutputMayBeAnInput) {
    const InDesc a(randomMatrix(3, 3, 8)), b(randomMatrix(3, 3, 9));
    for (const auto& [run, kernel] : operations) {
        InDesc left(a.elements), right(b.elements);
        EXPECT_EQ(run(&left, &b, &left) | run(&a, &right, &right), 0);
        EXPECT_TRUE(sameBits(left.elements, kernel(a.elements, b.elements)));
        EXPECT_TRUE(sameBits(right.elements, kernel(a.elements, b.elements)));
    }
}

TEST(MatExportsTest, FactorsAndInverseAreEmptyOrUntouchedWhereThereAreNone) {
    const InDesc square(randomMatrix(3, 3, 6)), wide(randomMatrix(2, 3, 7));
    const InDesc singular(matrixOf({{1, 0}, {2, 0}}));
    HandedOut q, r, none, empty;
    CopiedOut copied(2, 2);
    EXPECT_EQ(MAT_QR(&wide, &none, &none), -1);
    EXPECT_FALSE(none.written());
    EXPECT_EQ(MAT_QR(&square, &q, &r), 0);
    EXPECT_TRUE(isClose(matMultiply(q.copy(), r.copy()), square.elements, 2e-6));
    EXPECT_EQ(MAT_Inverse(&singular, &empty) | MAT_Inverse(&singular, &copied), 0);
    EXPECT_TRUE(empty.rows == 0 && empty.cols == 0 && empty.data == nullptr);
    EXPECT_TRUE(sameBits(copied.elements, FMatrix(2, 2, untouched)));
    EXPECT_EQ(MAT_Add(nullptr, nullptr, &q) | MAT_QR(nullptr, &q, &r) | MAT_XtX(nullptr, &r), 0);
    EXPECT_EQ(q.rows + r.rows, 0);
}

TEST(MatExportsTest, InverseOfWhatIsNotSquareIsThatOfMooreAndPenrose) {
    const InDesc a(randomMatrix(3, 2, 1));
    const FMatrix inverse = fetch([&](ArrayDesc* out) { return MAT_Inverse(&a, out); });
    const FMatrix right = matMultiply(a.elements, inverse);
    EXPECT_TRUE(isClose(matMultiply(inverse, a.elements), identity(2), 1e-5));
    EXPECT_TRUE(isClose(right, transposed(right), 1e-5));
}

TEST(MatExportsTest, SvdGivesTheMatrixAndWritesNothingOnceCancelled) {
    for (const auto& [rows, cols] : {std::pair{5, 3}, {3, 5}}) {
        const InDesc x(randomMatrix(rows, cols, 4));
        HandedOut u, s, v, none;
        ASSERT_EQ(MAT_SVD(&x, &u, &s, &v), 0);
        ASSERT_TRUE(u.cols == 3 && v.cols == 3 && s.rows * s.cols == 3);
        EXPECT_TRUE(s.data[0] >= s.data[1] && s.data[1] >= s.data[2]);
        const FMatrix us = matScaleColumns(u.copy(), FMatrix(1, 3, s.data));
        EXPECT_TRUE(isClose(matMultiplyABt(us, v.copy()), x.elements, 1e-5));
        halt_computation(0);
        EXPECT_EQ(MAT_SVD(&x, &none, &none, &none), -1);
        EXPECT_FALSE(none.written());
    }
}

}  // namespace veldane::test
