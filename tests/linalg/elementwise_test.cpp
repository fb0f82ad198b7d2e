#include <cmath>

#include "linalg/kernels.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

const FMatrix a = matrixOf({{1, -2, 4}, {nan, 8, 0}});
const FMatrix same = matrixOf({{2, 0, -1}, {1, nan, 0}});
const FMatrix row = matrixOf({{10, 20, -30}});
const FMatrix column = matrixOf({{2}, {-3}});

}  // namespace

TEST(ElementwiseTest, GivesWhatTheNameSays) {
    const FMatrix square = matrixOf({{1, 2}, {3, 4}}), across = matrixOf({{10, 20}});
    const FMatrix part = a.view(0, 1, 1, 2), one(1, 1, 5.0f), tall = randomMatrix(33, 17, 1);
    const FCube cube(3, 2, 2, 0.0f);
    for (int i = 0; i < 12; ++i) cube.storage()[i] = static_cast<float>(i);
    const FMatrix cases[][2] = {
        {matScale(a, -2), matrixOf({{-2, 4, -8}, {nan, -16, -0.0f}})},
        {matSubtractScalar(a, 1), matAddScalar(a, -1)},
        {matDivideScalar(a, -0.0f), FMatrix(2, 3, nan)},
        {matAddSame(a, same), matrixOf({{3, -2, 3}, {nan, nan, 0}})},
        {matSubtractSame(a, same), matrixOf({{-1, -2, 5}, {nan, nan, 0}})},
        {matHadamardSame(a, same), matrixOf({{2, -0.0f, -4}, {nan, nan, 0}})},
        {matDotDivide(a, same), matrixOf({{0.5f, -infinity, -4}, {nan, nan, nan}})},
        {matAdd(viewOf(a), viewOf(row)), matrixOf({{11, 18, -26}, {nan, 28, -30}})},
        {matAdd(square, transposed(across)), matrixOf({{11, 12}, {23, 24}})},
        {matSubtract(a, row), matAdd(a, matScale(row, -1))},
        {matSubtract(across, one), matrixOf({{5, 15}})},
        {matHadamard(square, across), matrixOf({{10, 40}, {30, 80}})},
        {matHadamard(viewOf(a), viewOf(column)), matrixOf({{2, -4, 8}, {nan, -24, -0.0f}})},
        {matScaleColumns(a, row), matHadamard(a, row)},
        {matSquare(a), matrixOf({{1, 4, 16}, {0, 64, 0}})},
        {matSqrt(a), matrixOf({{1, 0, 2}, {0, std::sqrt(8.0f), 0}})},
        {matRow(part, 1), matrixOf({{8, 0}})},
        {matDiagonal(transposed(a)), matrixOf({{1}, {8}})},
        {matConcat(one, part), matrixOf({{5, -2, 4}, {0, 8, 0}})},
        {cubePage(cube, 1), matrixOf({{1, 3}, {5, 7}, {9, 11}})},
        {matTranspose(viewOf(tall)), transposed(tall)},
        {matAdd(FMatrix(3, 0), FMatrix(3, 1, 1.0f)), FMatrix(3, 0)},
    };
    for (const auto& [actual, expected] : cases)
        EXPECT_TRUE(sameBits(actual, expected)) << "case " << (&actual - cases[0]) / 2;
    for (const auto kernel : {matAddSame, matScaleColumns, matAdd, matHadamard})
        for (const FMatrix& b : {FMatrix(1, 2, 1.0f), FMatrix(3, 1, 1.0f), FMatrix(3, 2, 1.0f)})
            EXPECT_TRUE(sameBits(kernel(a, b), FMatrix()));
}

TEST(ElementwiseTest, ConvergedIsRelativeAndSignedAgainstZero) {
    const float next = std::nextafter(1.0f, 2.0f);
    const std::tuple<float, float, double, bool> cases[] = {
        {0, -1, 0.0, true},       {0, 1e-3f, 1e-4, false}, {0, 0.5f, 0.5, true},
        {1, next, 1.1e-7, false}, {1, next, 1.2e-7, true}, {-2, -1, 0.5, true},
        {-2, -1, 0.49, false},    {nan, 1, 0.0, true},     {-0.0f, -5, 0.0, true}};
    for (const auto& [x, y, tol, expected] : cases)
        EXPECT_EQ(matConverged(matrixOf({{3, x}}), matrixOf({{3, y}}), tol), expected) << x << y;
    EXPECT_FALSE(matConverged(column, same, 1e9));
}

TEST(ElementwiseTest, SettersWriteInPlaceOrNotAtAll) {
    const FMatrix x = viewOf(FMatrix(3, 2, nan));
    matSetIdentity(x);
    matSetColumn(x, matrixOf({{4}, {5}, {6}}), 1);
    matSetRow(x, row.storage(), 0);
    matSetColumn(x, column, 0);
    matSetRow(FMatrix(2, 0), FVector(), 0);
    EXPECT_TRUE(sameBits(x, matrixOf({{1, 4}, {0, 5}, {0, 6}})));
    matSetRow(x, matrixOf({{7, 8}}).storage(), 2);
    EXPECT_TRUE(sameBits(x, matrixOf({{1, 4}, {0, 5}, {7, 8}})));
}

}  // namespace veldane::test
