#include <cmath>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

const FMatrix a = matrixOf({{1, -2, 4}, {nan, 8, 0}});
const FMatrix same = matrixOf({{2, 0, -1}, {1, nan, 0}});
const FMatrix row = matrixOf({{10, 20, -30}});
const FMatrix column = matrixOf({{2}, {-3}});

struct Case {
    const char* name;
    FMatrix actual, expected;
};

}  // namespace

TEST(ElementwiseTest, GivesWhatTheNameSays) {
    const FMatrix square = matrixOf({{1, 2}, {3, 4}}), across = matrixOf({{10, 20}});
    const FMatrix part = matSubMatrix(a, 0, 1, 1, 2), one = matrixOf({{5}});
    const Case cases[] = {
        {"scale", matScale(a, -2), matrixOf({{-2, 4, -8}, {nan, -16, -0.0f}})},
        {"add scalar", matAddScalar(a, 0.5f), matrixOf({{1.5f, -1.5f, 4.5f}, {nan, 8.5f, 0.5f}})},
        {"subtract scalar", matSubtractScalar(a, 1), matrixOf({{0, -3, 3}, {nan, 7, -1}})},
        {"divide scalar", matDivideScalar(a, 4), matrixOf({{0.25f, -0.5f, 1}, {nan, 2, 0}})},
        {"divide by 0", matDivideScalar(a, -0.0f), FMatrix(2, 3, nan)},
        {"divide by NaN", matDivideScalar(a, nan), FMatrix(2, 3, nan)},
        {"add same", matAddSame(a, same), matrixOf({{3, -2, 3}, {nan, nan, 0}})},
        {"subtract same", matSubtractSame(a, same), matrixOf({{-1, -2, 5}, {nan, nan, 0}})},
        {"product same", matHadamardSame(a, same), matrixOf({{2, -0.0f, -4}, {nan, nan, 0}})},
        {"quotient", matDotDivide(a, same), matrixOf({{0.5f, -infinity, -4}, {nan, nan, nan}})},
        {"add", matAdd(a, same), matAddSame(a, same)},
        {"add row", matAdd(viewOf(a), viewOf(row)), matrixOf({{11, 18, -26}, {nan, 28, -30}})},
        {"add column", matAdd(a, column), matrixOf({{3, 0, 6}, {nan, 5, -3}})},
        {"subtract", matSubtract(a, same), matSubtractSame(a, same)},
        {"subtract row", matSubtract(a, row), matrixOf({{-9, -22, 34}, {nan, -12, 30}})},
        {"subtract column", matSubtract(a, column), matrixOf({{-1, -4, 2}, {nan, 11, 3}})},
        {"product", matHadamard(a, same), matHadamardSame(a, same)},
        {"product row", matHadamard(a, row), matrixOf({{10, -40, -120}, {nan, 160, -0.0f}})},
        {"product column", matHadamard(viewOf(a), viewOf(column)),
         matrixOf({{2, -4, 8}, {nan, -24, -0.0f}})},
        {"weights", matScaleColumns(a, row), matHadamard(a, row)},
        {"square", matSquare(a), matrixOf({{1, 4, 16}, {0, 64, 0}})},
        {"root", matSqrt(a), matrixOf({{1, 0, 2}, {0, std::sqrt(8.0f), 0}})},
        {"row on square", matAdd(square, across), matrixOf({{11, 22}, {13, 24}})},
        {"column on square", matAdd(square, transposed(across)), matrixOf({{11, 12}, {23, 24}})},
        {"times row", matHadamard(square, across), matrixOf({{10, 40}, {30, 80}})},
        {"times column", matHadamard(square, transposed(across)), matrixOf({{10, 20}, {60, 80}})},
        {"one on column", matSubtract(column, one), matrixOf({{-3}, {-8}})},
        {"one on row", matSubtract(across, one), matrixOf({{5, 15}})},
        {"no columns", matAdd(FMatrix(3, 0), FMatrix(3, 1, 1.0f)), FMatrix(3, 0)},
        {"column of a view", matColumn(part, 0), matrixOf({{-2}, {8}})},
        {"row of a view", matRow(part, 1), matrixOf({{8, 0}})},
        {"diagonal", matDiagonal(a), matrixOf({{1}, {8}})},
        {"clone", matClone(part), matrixOf({{-2, 4}, {8, 0}})},
        {"concat", matConcat(square, one), matrixOf({{1, 2, 5}, {3, 4, 0}})},
        {"concat below", matConcat(one, part), matrixOf({{5, -2, 4}, {0, 8, 0}})},
        {"page without elements", cubePage(FCube(3, 0, 2, 1.0f), 0), FMatrix(3, 0)},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(sameBits(c.actual, c.expected)) << c.name;
        EXPECT_LE(c.actual.storage().owners(), 1) << c.name;
    }
}

TEST(ElementwiseTest, ShapesThatDoNotFitGiveTheEmptyMatrix) {
    for (const auto kernel : {matAddSame, matSubtractSame, matHadamardSame, matDotDivide, matAdd,
                              matSubtract, matHadamard, matScaleColumns}) {
        for (const FMatrix& b : {FMatrix(1, 1, 1.0f), FMatrix(3, 2, 1.0f), FMatrix(1, 2, 1.0f),
                                 FMatrix(3, 1, 1.0f), FMatrix(2, 2, 1.0f), FMatrix()}) {
            EXPECT_TRUE(sameBits(kernel(a, b), FMatrix()));
        }
    }
    for (const auto kernel :
         {matAddSame, matSubtractSame, matHadamardSame, matDotDivide, matScaleColumns}) {
        EXPECT_TRUE(sameBits(kernel(a, column), FMatrix()));
    }
}

TEST(ElementwiseTest, ConvergedIsRelativeAndSignedAgainstZero) {
    const float next = std::nextafter(1.0f, 2.0f);
    const struct {
        float a, b;
        double tol;
        bool expected;
    } cases[] = {{0, -1, 0.0, true},       {0, 1e-3f, 1e-4, false}, {0, 0.5f, 0.5, true},
                 {1, next, 1.1e-7, false}, {1, next, 1.2e-7, true}, {-2, -1, 0.5, true},
                 {-2, -1, 0.49, false},    {nan, 1, 0.0, true},     {-0.0f, -5, 0.0, true}};
    for (const auto& c : cases) {
        EXPECT_EQ(matConverged(matrixOf({{3, c.a}}), matrixOf({{3, c.b}}), c.tol), c.expected)
            << c.a << " and " << c.b << " with " << c.tol;
    }
    EXPECT_FALSE(matConverged(a, row, 1e9));
}

TEST(ShapesTest, RearrangeAndShareAsStated) {
    const FMatrix x(2, 3, 0.0f), view = matSubMatrix(x, 0, 1, 1, 2);
    view[0][0] = -2.0f;
    EXPECT_EQ(x[0][1], -2.0f);
    EXPECT_EQ(x.storage().owners(), 2);
    EXPECT_TRUE(sameBits(matSubMatrix(x, 1, 0, 0, 2), FMatrix()));
    for (const int rows : {0, 1, 15, 16, 33}) {
        const FMatrix tall = randomMatrix(rows, 17, 1);
        EXPECT_TRUE(sameBits(matTranspose(viewOf(tall)), transposed(tall)));
    }
    const FCube cube(3, 2, 2, 0.0f);
    for (int i = 0; i < 12; ++i) cube.storage()[i] = static_cast<float>(i);
    EXPECT_TRUE(sameBits(cubePage(cube, 1), matrixOf({{1, 3}, {5, 7}, {9, 11}})));
}

TEST(ShapesTest, SettersWriteInPlaceOrNotAtAll) {
    const FMatrix x = viewOf(FMatrix(2, 3, 0.0f));
    matSetColumn(x, column, 2);
    matSetRow(x, matrixOf({{7, 8, 9}}).storage(), 0);
    matSetColumn(x, row, 0);
    matSetColumn(x, FMatrix(2, 2, 5.0f), 0);
    matSetRow(x, FVector(2, 5.0f), 0);
    matSetRow(FMatrix(2, 0), FVector(), 0);
    EXPECT_TRUE(sameBits(x, matrixOf({{7, 8, 9}, {0, 0, -3}})));
    matSetIdentity(x);
    EXPECT_TRUE(sameBits(x, matrixOf({{1, 0, 0}, {0, 1, 0}})));
    const FMatrix tall(3, 2, nan);
    matSetIdentity(tall);
    EXPECT_TRUE(sameBits(tall, matrixOf({{1, 0}, {0, 1}, {0, 0}})));
}

}  // namespace veldane::test
