#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

constexpr struct {
    int (*run)(const ArrayDesc*, const ArrayDesc*, ArrayDesc*);
    FMatrix (*kernel)(const FMatrix&, const FMatrix&);
} operations[] = {{MAT_Kronecker, matHadamard},
                  {MAT_Add, matAdd},
                  {MAT_Subtract, matSubtract},
                  {MAT_Multiply, matMultiply},
                  {MAT_DotDivide, matDotDivide}};

}  // namespace

TEST(MatExportsTest, CheckShapesEachInItsWay) {
    const struct {
        int a[2], b[2], codes[5];
    } cases[] = {{{2, 3}, {2, 3}, {0, 0, 0, -1, 0}},    {{2, 3}, {1, 3}, {0, 0, 0, -1, 0}},
                 {{2, 3}, {2, 1}, {0, 0, 0, -1, 0}},    {{2, 3}, {1, 2}, {-1, -1, -1, -1, -1}},
                 {{2, 3}, {3, 1}, {-1, -1, -1, 0, -1}}, {{2, 3}, {2, 4}, {-1, -1, -1, -1, 0}},
                 {{2, 3}, {4, 3}, {-1, -1, -1, -1, 0}}, {{2, 3}, {3, 2}, {-1, -1, -1, 0, -1}},
                 {{2, 1}, {1, 1}, {0, -1, -1, 0, 0}},   {{1, 3}, {1, 1}, {0, -1, -1, -1, 0}},
                 {{2, 3}, {0, 0}, {-1, 0, 0, -1, -1}},  {{2, 0}, {0, 3}, {-1, -1, -1, 0, -1}}};
    for (const auto& c : cases) {
        const InDesc a(randomMatrix(c.a[0], c.a[1], 1)), b(randomMatrix(c.b[0], c.b[1], 2));
        for (int i = 0; i < 5; ++i) {
            SCOPED_TRACE(testing::Message() << "operation " << i << ", case " << &c - cases);
            HandedOut out;
            EXPECT_EQ(operations[i].run(&a, &b, &out), c.codes[i]);
            const FMatrix expected = operations[i].kernel(a.elements, b.elements);
            EXPECT_TRUE(out.written() ? sameBits(out.copy(), expected)
                                      : testing::AssertionResult(c.codes[i] == -1));
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

}  // namespace veldane::test
