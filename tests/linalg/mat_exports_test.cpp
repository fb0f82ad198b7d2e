#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

struct Operation {
    const char* name;
    int (*run)(const ArrayDesc*, const ArrayDesc*, ArrayDesc*);
    FMatrix (*kernel)(const FMatrix&, const FMatrix&);
};
constexpr Operation operations[] = {{"Kronecker", MAT_Kronecker, matHadamard},
                                    {"Add", MAT_Add, matAdd},
                                    {"Subtract", MAT_Subtract, matSubtract},
                                    {"Multiply", MAT_Multiply, matMultiply},
                                    {"DotDivide", MAT_DotDivide, matDotDivide}};

/// The expected code and the kernel's result under both kinds, or an error and nothing written.
void expectCall(const Operation& operation, const FMatrix& a, const FMatrix& b, int code) {
    SCOPED_TRACE(operation.name);
    const InDesc left(a), right(b);
    HandedOut handed;
    CopiedOut copied(1, 16);
    EXPECT_EQ(operation.run(&left, &right, &handed), code);
    EXPECT_EQ(operation.run(&left, &right, &copied), code);
    EXPECT_FALSE(copied.extentsWritten());
    FMatrix expected(1, 16, untouched);
    EXPECT_EQ(handed.written(), code == 0);
    if (code == 0) {
        const FMatrix result = operation.kernel(a, b);
        EXPECT_TRUE(sameBits(handed.copy(), result));
        std::copy_n(result.storage().data(), result.size(), expected[0]);
    }
    EXPECT_TRUE(sameBits(copied.elements, expected));
}

}  // namespace

TEST(MatExportsTest, CheckShapesEachInItsWay) {
    const struct {
        int a[2], b[2], codes[5];
    } cases[] = {{{2, 3}, {2, 3}, {0, 0, 0, -1, 0}},    {{2, 3}, {1, 3}, {0, 0, 0, -1, 0}},
                 {{2, 3}, {2, 1}, {0, 0, 0, -1, 0}},    {{2, 3}, {1, 2}, {-1, -1, -1, -1, -1}},
                 {{2, 3}, {3, 1}, {-1, -1, -1, 0, -1}}, {{2, 3}, {2, 4}, {-1, -1, -1, -1, 0}},
                 {{2, 3}, {4, 3}, {-1, -1, -1, -1, 0}}, {{2, 3}, {4, 5}, {-1, -1, -1, -1, -1}},
                 {{2, 3}, {3, 2}, {-1, -1, -1, 0, -1}}, {{2, 3}, {1, 1}, {-1, -1, -1, -1, -1}},
                 {{2, 1}, {1, 1}, {0, -1, -1, 0, 0}},   {{1, 3}, {1, 1}, {0, -1, -1, -1, 0}},
                 {{2, 3}, {0, 0}, {-1, 0, 0, -1, -1}},  {{0, 0}, {0, 0}, {-1, 0, 0, 0, 0}},
                 {{2, 0}, {0, 3}, {-1, -1, -1, 0, -1}}, {{1, 3}, {2, 3}, {-1, -1, -1, -1, 0}}};
    for (const auto& c : cases) {
        const FMatrix a = randomMatrix(c.a[0], c.a[1], 1), b = randomMatrix(c.b[0], c.b[1], 2);
        SCOPED_TRACE("case " + std::to_string(&c - cases));
        for (int i = 0; i < 5; ++i) expectCall(operations[i], a, b, c.codes[i]);
    }
}

TEST(MatExportsTest, OutputMayBeAnInput) {
    const FMatrix a = randomMatrix(3, 3, 8), b = randomMatrix(3, 3, 9);
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        InDesc left(a), right(b), both(a);
        const InDesc first(a), second(b);
        EXPECT_EQ(operation.run(&left, &second, &left), 0);
        EXPECT_EQ(operation.run(&first, &right, &right), 0);
        EXPECT_EQ(operation.run(&both, &both, &both), 0);
        EXPECT_TRUE(sameBits(left.elements, operation.kernel(a, b)));
        EXPECT_TRUE(sameBits(right.elements, operation.kernel(a, b)));
        EXPECT_TRUE(sameBits(both.elements, operation.kernel(a, a)));
    }
    InDesc x(a), y(a);
    EXPECT_EQ(MAT_Inverse(&x, &x), 0);
    EXPECT_EQ(MAT_XtX(&y, &y), 0);
    EXPECT_TRUE(sameBits(x.elements, matInverse(a)));
    EXPECT_TRUE(sameBits(y.elements, matXtX(a)));
}

TEST(MatExportsTest, InverseIsEmptyWhereThereIsNone) {
    for (const FMatrix& x : {matrixOf({{1, 0}, {2, 0}}), FMatrix(2, 3, 1.0f), FMatrix()}) {
        const InDesc in(x);
        HandedOut handed;
        CopiedOut copied(2, 3);
        EXPECT_EQ(MAT_Inverse(&in, &handed) | MAT_Inverse(&in, &copied), 0);
        EXPECT_TRUE(handed.rows == 0 && handed.cols == 0 && handed.data == nullptr);
        EXPECT_TRUE(sameBits(copied.elements, FMatrix(2, 3, untouched)));
    }
}

TEST(MatExportsTest, QrGivesBothFactorsOrAnError) {
    const InDesc tall(randomMatrix(5, 3, 6)), wide(randomMatrix(2, 3, 7));
    HandedOut q, r, none;
    EXPECT_EQ(MAT_QR(&tall, &q, &r), 0);
    EXPECT_TRUE(isClose(matMultiply(q.copy(), r.copy()), tall.elements, 2e-6));
    EXPECT_EQ(MAT_QR(&tall, nullptr, nullptr), 0);
    EXPECT_EQ(MAT_QR(&wide, &none, &none), -1);
    EXPECT_FALSE(none.written());
}

TEST(MatExportsTest, BadDescriptorsAreEmptyArrays) {
    float data[4] = {};
    const ArrayDesc bad[] = {{0, 2, 2, 2, data}, {0, -2, -2, 1, data}, {0, 2, 2, 1, nullptr}};
    const ArrayDesc* const ins[] = {&bad[0], &bad[1], &bad[2], nullptr};
    for (const ArrayDesc* in : ins) {
        HandedOut out;
        EXPECT_EQ(MAT_Kronecker(in, in, &out), -1);
        EXPECT_FALSE(out.written());
        EXPECT_EQ(MAT_Multiply(in, in, &out) | MAT_Add(in, in, &out) | MAT_QR(in, &out, &out), 0);
        EXPECT_EQ(MAT_XtX(in, nullptr), 0);
        EXPECT_EQ(out.rows, 0);
    }
}

TEST(MatExportsTest, ResultThatCannotBeHadIsThrown) {
    const InDesc row(FMatrix(1, 70000, 1.0f));
    HandedOut out;
    EXPECT_THROW(MAT_XtX(&row, &out), int);
    EXPECT_FALSE(out.written());
}

}  // namespace veldane::test
