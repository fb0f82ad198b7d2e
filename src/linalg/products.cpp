#include <algorithm>
#include <cmath>
#include <vector>

#include "linalg/kernels.h"
#include "linalg/packed_product.h"
#include "linalg/thin_products.h"

namespace veldane {
namespace {

/// Column 0, in a row of memory.
FVector firstColumn(const FMatrix& a) {
    if (a.contiguous() && a.cols() == 1) return {a.rows(), a[0]};
    FVector copy(a.rows());
    for (int i = 0; i < copy.size(); ++i) copy[i] = a[i][0];
    return copy;
}

/// y = table times the one line of the other factor.
void thinProduct(const FMatrix& table, bool transposed, const FMatrix& line, bool lineIsRow,
                 float* y) {
    const FVector x = lineIsRow ? FVector(line.cols(), line[0]) : firstColumn(line);
    if (transposed) {
        multiplyTransposedByVector(table, x.data(), y);
    } else {
        multiplyByVector(table, x.data(), y);
    }
}

void mirrorLowerTriangle(const FMatrix& c) {
    constexpr int tile = 16;
    for (int i0 = 0; i0 < c.rows(); i0 += tile) {
        for (int j0 = 0; j0 <= i0; j0 += tile) {
            for (int i = i0; i < std::min(i0 + tile, c.rows()); ++i) {
                for (int j = j0; j < std::min(j0 + tile, i); ++j) c[j][i] = c[i][j];
            }
        }
    }
}

/// A B by the path that its shape asks for; all give the same bits.
FMatrix product(const Factor& a, const Factor& b, Region region = Region::whole) {
    const int terms = a.cols();
    if (terms == 0) return {a.rows(), b.cols(), 0.0f};
    FMatrix c(a.rows(), b.cols());
    if (c.size() == 0) return c;
    if (c.cols() == 1) {
        thinProduct(a.matrix, a.transposed, b.matrix, b.transposed, c[0]);
    } else if (c.rows() == 1) {
        thinProduct(b.matrix, !b.transposed, a.matrix, !a.transposed, c[0]);
    } else {
        packedProduct(a, b, c, region);
        if (region == Region::lowerTriangle) mirrorLowerTriangle(c);
    }
    return c;
}

/// What zeros in the place of missing values do not tell of a row.
struct RowFacts {
    int missing = 0;
    int infinite = 0;
};

std::vector<RowFacts> rowFacts(const FMatrix& a) {
    std::vector<RowFacts> facts(static_cast<size_t>(a.rows()));
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* row = a[i];
        int missing = 0;
        int infinite = 0;
        for (int k = 0; k < a.cols(); ++k) {
            missing += isMissing(row[k]) ? 1 : 0;
            infinite += std::fabs(row[k]) == HUGE_VALF ? 1 : 0;
        }
        facts[static_cast<size_t>(i)] = {missing, infinite};
    }
    return facts;
}

bool anyMissing(const FMatrix& a) {
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* row = a[i];
        int missing = 0;
        for (int k = 0; k < a.cols(); ++k) missing |= isMissing(row[k]) ? 1 : 0;
        if (missing != 0) return true;
    }
    return false;
}

float dotPresent(const float* a, const float* b, int terms) {
    float sum = 0.0f;
    int pairs = 0;
    for (int k = 0; k < terms; ++k) {
        if (isMissing(a[k]) || isMissing(b[k])) continue;
        sum += a[k] * b[k];
        ++pairs;
    }
    return pairs > 0 ? sum : missingValue();
}

/// A zero for a missing value leaves a sum's bits alone, but not where it meets an infinity, and it
/// does not show that no pair was left.
bool zerosServe(RowFacts a, RowFacts b, int terms) {
    if (a.missing > 0 && b.infinite > 0) return false;
    if (a.infinite > 0 && b.missing > 0) return false;
    return int64_t{a.missing} + b.missing < terms;
}

}  // namespace

FMatrix matMultiply(const FMatrix& a, const FMatrix& b) {
    if (a.cols() != b.rows()) return {};
    return product({a}, {b});
}

FMatrix matMultiplyAtB(const FMatrix& a, const FMatrix& b) {
    if (a.rows() != b.rows()) return {};
    return product({a, true}, {b});
}

FMatrix matMultiplyABt(const FMatrix& a, const FMatrix& b) {
    if (a.cols() != b.cols()) return {};
    const int terms = a.cols();
    if (terms == 0) return {a.rows(), b.rows(), missingValue()};
    if (!anyMissing(a) && !anyMissing(b)) return product({a}, {b, true});

    const std::vector<RowFacts> factsA = rowFacts(a);
    const std::vector<RowFacts> factsB = rowFacts(b);
    FMatrix c(a.rows(), b.rows());
    const bool packed = c.rows() > 1 && c.cols() > 1;
    if (packed) packedProduct({a, false, true}, {b, true, true}, c, Region::whole);
    for (int i = 0; i < c.filledRows(); ++i) {
        for (int j = 0; j < c.cols(); ++j) {
            const RowFacts left = factsA[static_cast<size_t>(i)];
            const RowFacts right = factsB[static_cast<size_t>(j)];
            if (packed && zerosServe(left, right, terms)) continue;
            c[i][j] = dotPresent(a[i], b[j], terms);
        }
    }
    return c;
}

FMatrix matXtX(const FMatrix& x) {
    return product({x, true}, {x}, Region::lowerTriangle);
}

FMatrix matXXt(const FMatrix& x) {
    return product({x}, {x, true}, Region::lowerTriangle);
}

}  // namespace veldane
