#include <random>

#include "linalg/kernels.h"
#include "linalg/missing_products.h"
#include "linalg/thin_products.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

Mix mixOf(unsigned seed) {
    constexpr Mix mixes[] = {{}, {0.05, 0.02, 0.1}, {0.6, 0.1, 0.2}, {0.0, 0.02, 0.4}};
    return mixes[seed % std::size(mixes)];
}

/// A B, k ascending, product and sum rounded to float.
FMatrix plainProduct(const FMatrix& a, const FMatrix& b) {
    return generate(a.rows(), b.cols(), [&](int i, int j) {
        float sum = 0.0f;
        for (int k = 0; k < a.cols(); ++k) sum += a[i][k] * b[k][j];
        return sum;
    });
}

/// A B of the pairs without NaN; NaN where there is none.
FMatrix plainPresentProduct(const FMatrix& a, const FMatrix& b) {
    return generate(a.rows(), b.cols(), [&](int i, int j) {
        float sum = 0.0f;
        int pairs = 0;
        for (int k = 0; k < a.cols(); ++k) {
            if (isMissing(a[i][k]) || isMissing(b[k][j])) continue;
            sum += a[i][k] * b[k][j];
            ++pairs;
        }
        return pairs > 0 ? sum : nan;
    });
}

/// Every product of A, m x k, with B, k x n, or with B's first column, on owners and on views.
void compareProducts(const FMatrix& A, const FMatrix& B) {
    const FMatrix At = transposed(A), Bt = transposed(B), AB = plainProduct(A, B);
    const FMatrix AAt = plainProduct(A, At), present = plainPresentProduct(A, B);
    const FMatrix x = generate(A.cols(), 1, [&](int k, int) { return B.cols() > 0 ? B[k][0] : 1; });
    const FMatrix y = plainProduct(A, x), z = plainProduct(At, y);
    FMatrix y1(A.rows(), 1, 5.0f), y2(A.rows(), 1, 5.0f), y3(A.rows(), 1, 5.0f), z3(A.cols(), 1);
    withEachInstructionSet([&] {
        for (const auto& use : {+[](const FMatrix& m) { return m; }, +viewOf}) {
            EXPECT_TRUE(sameBits(matMultiply(use(A), use(B)), AB));
            EXPECT_TRUE(sameBits(matMultiplyAtB(use(At), use(B)), AB));
            EXPECT_TRUE(sameBits(matMultiplyABt(use(A), use(Bt)), present));
            EXPECT_TRUE(sameBits(matXXt(use(A)), AAt));
            EXPECT_TRUE(sameBits(matXtX(use(At)), AAt));
            multiplyByVector(use(A), x.storage().data(), y1.storage().data());
            multiplyTransposedByVector(use(At), x.storage().data(), y2.storage().data());
            multiplyBothWays(use(A), x.storage().data(), y3.storage().data(), z3.storage().data());
            for (const FMatrix& actual : {y1, y2, y3}) EXPECT_TRUE(sameBits(actual, y));
            EXPECT_TRUE(sameBits(z3, z));
        }
    });
}

void compareProducts(int m, int n, int k, unsigned seed) {
    SCOPED_TRACE(testing::Message()
                 << m << " x " << k << " times " << k << " x " << n << ", " << seed);
    compareProducts(randomMatrix(m, k, seed, mixOf(seed)), randomMatrix(k, n, ~seed, mixOf(seed)));
}

}  // namespace

TEST(ProductsTest, EqualThePlainLoopBitForBit) {
    std::mt19937 generator(7);
    const auto size = [&] { return static_cast<int>(generator() % 41); };
    for (unsigned seed = 0; seed < 240; ++seed) compareProducts(size(), size(), size(), seed);
    // Around the 256 terms, 240 rows and 2016 columns of a block.
    const int sizes[][3] = {{3, 5, 255},  {13, 33, 256},  {12, 32, 257}, {7, 25, 513},
                            {239, 9, 3},  {241, 24, 2},   {252, 2, 258}, {481, 3, 2},
                            {3, 2017, 2}, {5, 2050, 259}, {1, 70, 600},  {70, 1, 600},
                            {16, 8, 300}, {17, 9, 301}};
    for (const auto& [m, n, k] : sizes) {
        for (unsigned seed = 0; seed < 2; ++seed) compareProducts(m, n, k, seed);
    }
    compareProducts(2021, 2, 3, 1);
}

TEST(ProductsTest, EmptyUnlessTheInnerExtentsAgree) {
    const FMatrix a(2, 3, 1.0f);
    for (const FMatrix& b : {FMatrix(5, 4, 1.0f), FMatrix(1, 1, 1.0f), FMatrix()}) {
        for (const auto product : {matMultiply, matMultiplyAtB, matMultiplyABt}) {
            EXPECT_TRUE(sameBits(product(a, b), FMatrix()));
        }
    }
}

TEST(ProductsTest, OnlyABtLeavesOutPairsWithNaN) {
    const FMatrix a = matrixOf({{1, nan, 3}, {nan, nan, nan}, {nan, infinity, 2}});
    const FMatrix b = matrixOf({{nan, 5, 1}, {infinity, nan, 0}, {2, 0, nan}});
    const FMatrix expected = matrixOf({{3, infinity, 2}, {nan, nan, nan}, {infinity, 0, nan}});
    EXPECT_TRUE(sameBits(matMultiplyABt(a, b), expected));
    EXPECT_TRUE(sameBits(matMultiply(a, b), FMatrix(3, 3, nan)));
}

TEST(MissingProductsTest, EqualThePlainLoopBitForBit) {
    const int extents[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 37, 1023, 1030, 2060};
    unsigned seed = 0;
    for (const int rows : extents) {
        for (const int cols : extents) {
            if (rows * cols > 40000) continue;
            const FMatrix e = randomMatrix(rows, cols, seed, mixOf(seed));
            const FMatrix p = randomMatrix(cols, 1, ~seed++);
            const FMatrix expected = generate(rows, 1, [&](int i, int) {
                double product = 0.0, square = 1.75;
                for (int j = 0; j < cols; ++j) {
                    const double factor = p[j][0];
                    (isMissing(e[i][j]) ? square : product) +=
                        factor * (isMissing(e[i][j]) ? -factor : e[i][j]);
                }
                return static_cast<float>(product / square);
            });
            FMatrix byRows(rows, 1), byColumns(rows, 1);
            SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", " << seed);
            withEachInstructionSet([&] {
                projectRows(viewOf(e), p.storage().data(), 1.75f, byRows.storage().data());
                projectColumns(viewOf(transposed(e)), p.storage().data(), 1.75f,
                               byColumns.storage().data());
                EXPECT_TRUE(sameBits(byRows, expected));
                EXPECT_TRUE(sameBits(byColumns, expected));
            });
        }
    }
}

}  // namespace veldane::test
