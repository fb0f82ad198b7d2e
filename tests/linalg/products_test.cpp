#include <random>

#include "linalg/kernels.h"
#include "linalg/missing_products.h"
#include "linalg/thin_products.h"
#include "support/compare.h"

namespace veldane::test {
namespace {

constexpr Mix mixes[] = {{}, {0.05, 0.02, 0.1}, {0.6, 0.1, 0.2}, {0.0, 0.02, 0.4}};

/// A B, k ascending, product and sum rounded to float. Of the pairs without NaN only, if these are
/// to be skipped; NaN where there is none.
FMatrix plainProduct(const FMatrix& a, const FMatrix& b, bool skip = false) {
    return generate(a.rows(), b.cols(), [&](int i, int j) {
        float sum = 0.0f;
        int pairs = skip ? 0 : 1;
        for (int k = 0; k < a.cols(); ++k) {
            if (skip && (isMissing(a[i][k]) || isMissing(b[k][j]))) continue;
            sum += a[i][k] * b[k][j];
            ++pairs;
        }
        return pairs > 0 ? sum : nan;
    });
}

/// Every product of A, m x k, with B, k x n, or with B's first column, on owners and on views.
void compareProducts(const FMatrix& A, const FMatrix& B) {
    const FMatrix At = transposed(A), Bt = transposed(B), AB = plainProduct(A, B);
    const FMatrix AAt = plainProduct(A, At), present = plainProduct(A, B, true);
    const FMatrix x = generate(A.cols(), 1, [&](int k, int) { return B.cols() > 0 ? B[k][0] : 1; });
    const FMatrix y = plainProduct(A, x), z = plainProduct(At, y);
    const FMatrix left =
        generate(A.rows(), A.cols(), [&](int i, int k) { return A[i][k] - y[i][0] * x[k][0]; });
    const FMatrix leftY = plainProduct(transposed(left), y);
    const FMatrix y1(A.rows(), 1, 5.0f), y2 = y1.clone(), y3 = y1.clone(), z3(A.cols(), 1);
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
            const FMatrix deflated = use(A.clone());
            deflateAndMultiply(deflated, y.storage().data(), x.storage().data(), y.storage().data(),
                               z3.storage().data());
            EXPECT_TRUE(sameBits(deflated, left) && sameBits(z3, leftY));
        }
    });
}

}  // namespace

TEST(ProductsTest, EqualThePlainLoopBitForBit) {
    // Around the 256 terms, 240 rows and 2016 columns of a block; then what is small.
    const int sizes[][3] = {{3, 5, 255},  {13, 33, 256},  {12, 32, 257}, {7, 25, 513},
                            {239, 9, 3},  {241, 24, 2},   {252, 2, 258}, {481, 3, 2},
                            {3, 2017, 2}, {5, 2050, 259}, {1, 70, 600},  {70, 1, 600},
                            {16, 8, 300}, {17, 9, 301},   {2021, 2, 3}};
    std::mt19937 generator(7);
    for (unsigned seed = 0; seed < 270; ++seed) {
        const auto extent = [&](int i) {
            return static_cast<int>(seed < 30 ? sizes[seed / 2][i] : generator() % 41);
        };
        const int m = extent(0), n = extent(1), k = extent(2);
        SCOPED_TRACE(testing::Message() << m << " x " << k << " x " << n << ", " << seed);
        compareProducts(randomMatrix(m, k, seed, mixes[seed % 4]),
                        randomMatrix(k, n, ~seed, mixes[seed % 4]));
    }
    for (const auto product : {matMultiply, matMultiplyAtB, matMultiplyABt})
        EXPECT_TRUE(sameBits(product(FMatrix(2, 3, 1.0f), FMatrix(5, 4, 1.0f)), FMatrix()));
}

TEST(MissingProductsTest, EqualThePlainLoopBitForBit) {
    const int extents[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 37, 1023, 1030, 2060};
    unsigned seed = 0;
    for (const int rows : extents) {
        for (const int cols : extents) {
            if (rows * cols > 40000) continue;
            const FMatrix e = randomMatrix(rows, cols, seed, mixes[seed % 4]);
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
            const FMatrix byRows(rows, 1), byColumns(rows, 1);
            SCOPED_TRACE(testing::Message() << rows << " x " << cols << ", " << seed);
            withEachInstructionSet([&] {
                projectRows(viewOf(e), p[0], 1.75f, byRows[0]);
                projectColumns(viewOf(transposed(e)), p[0], 1.75f, byColumns[0]);
                EXPECT_TRUE(sameBits(byRows, expected));
                EXPECT_TRUE(sameBits(byColumns, expected));
            });
        }
    }
}

}  // namespace veldane::test
