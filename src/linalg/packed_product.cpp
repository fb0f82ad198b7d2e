#include "linalg/packed_product.h"

#include <algorithm>

#include "linalg/lanes.h"
#include "linalg/product_tile.h"

namespace veldane {
namespace {

// Terms in a block: a strip of A and a strip of B of this depth lie in the first-level cache.
constexpr int blockDepth = 256;
// Rows of A in a block, a multiple of every tile's rows: the block lies in the second-level cache.
constexpr int blockRows = 240;
// Columns of B in a block, a multiple of every tile's columns.
constexpr int blockCols = 2016;

/// Room for packed panels, kept by each thread: memory that is given back and fetched again for
/// each product would cost more than a product of a few hundred rows.
float* panel(FVector& kept, int size) {
    if (kept.size() < size) kept = FVector(size);
    return kept.data();
}

int roundUp(int n, int multiple) {
    return (n + multiple - 1) / multiple * multiple;
}

/// `present` lines of a panel, each a row of the matrix: transposed four by four on the way.
void packRows(const float* const* rows, int present, int k0, int depth, int width, float* to) {
    int r = 0;
    for (; r + 4 <= present; r += 4) {
        int k = 0;
        for (; k + 4 <= depth; k += 4) {
            lanes::Floats4 column[4];
            lanes::loadColumns<4>(rows + r, k0 + k, column);
            for (int l = 0; l < 4; ++l) lanes::store(column[l], to + (k + l) * width + r);
        }
        for (; k < depth; ++k) {
            for (int l = 0; l < 4; ++l) to[k * width + r + l] = rows[r + l][k0 + k];
        }
    }
    for (; r < present; ++r) {
        for (int k = 0; k < depth; ++k) to[k * width + r] = rows[r][k0 + k];
    }
    for (; r < width; ++r) {
        for (int k = 0; k < depth; ++k) to[k * width + r] = 0.0f;
    }
}

/// `present` lines of a panel, each a column of the matrix: copied as they lie.
void packColumns(const float* const* rows, int c0, int present, int k0, int depth, int width,
                 float* to) {
    for (int k = 0; k < depth; ++k, to += width) {
        const float* from = rows[k0 + k] + c0;
        int l = 0;
        for (; l + 4 <= present; l += 4) {
            lanes::Floats4 four;
            lanes::load<4>(from + l, four);
            lanes::store(four, to + l);
        }
        for (; l < present; ++l) to[l] = from[l];
        for (; l < width; ++l) to[l] = 0.0f;
    }
}

/// Strips of `width` lines from line `first` on, `count` lines in all, the last strip filled up
/// with zeros. A line is a row of the matrix if linesAreRows, otherwise a column.
void pack(const Factor& factor, bool linesAreRows, int first, int count, int k0, int depth,
          int width, float* to) {
    const float* const* rows = factor.matrix.table();
    for (int l = 0; l < count; l += width, to += width * depth) {
        const int present = std::min(width, count - l);
        if (linesAreRows) {
            packRows(rows + first + l, present, k0, depth, width, to);
        } else {
            packColumns(rows, first + l, present, k0, depth, width, to);
        }
        if (!factor.missingAsZero) continue;
        for (int i = 0; i < width * depth; ++i) to[i] = isMissing(to[i]) ? 0.0f : to[i];
    }
}

/// One tile of C at (i, j). A tile that sticks out of C works on a copy.
void computeTile(const ProductTile& tile, const float* a, const float* b, int depth,
                 const FMatrix& c, int i, int j, bool resume) {
    float* rows[largestTileRows];
    const int height = std::min(tile.rows, c.rows() - i);
    const int width = std::min(tile.cols, c.cols() - j);
    if (height == tile.rows && width == tile.cols) {
        for (int r = 0; r < height; ++r) rows[r] = c[i + r] + j;
        tile.run(a, b, depth, rows, resume);
        return;
    }
    alignas(64) float copy[largestTileRows * largestTileCols] = {};
    for (int r = 0; r < tile.rows; ++r) rows[r] = copy + r * tile.cols;
    for (int r = 0; r < height && resume; ++r) std::copy_n(c[i + r] + j, width, rows[r]);
    tile.run(a, b, depth, rows, resume);
    for (int r = 0; r < height; ++r) std::copy_n(rows[r], width, c[i + r] + j);
}

void multiplyBlocks(const Factor& a, const Factor& b, const FMatrix& c, Region region) {
    const ProductTile& tile = productTile();
    const int m = c.rows();
    const int n = c.cols();
    const int terms = a.cols();
    const int depthMost = std::min(terms, blockDepth);
    thread_local FVector panelA, panelB;
    float* packedA = panel(panelA, roundUp(std::min(m, blockRows), tile.rows) * depthMost);
    float* packedB = panel(panelB, roundUp(std::min(n, blockCols), tile.cols) * depthMost);

    for (int j0 = 0; j0 < n; j0 += blockCols) {
        const int j1 = std::min(j0 + blockCols, n);
        for (int k0 = 0; k0 < terms; k0 += blockDepth) {
            const int depth = std::min(blockDepth, terms - k0);
            pack(b, b.transposed, j0, j1 - j0, k0, depth, tile.cols, packedB);
            for (int i0 = 0; i0 < m; i0 += blockRows) {
                const int i1 = std::min(i0 + blockRows, m);
                if (region == Region::lowerTriangle && j0 >= i1) continue;
                pack(a, !a.transposed, i0, i1 - i0, k0, depth, tile.rows, packedA);
                for (int j = j0; j < j1; j += tile.cols) {
                    const float* stripB = packedB + (j - j0) * depth;
                    for (int i = i0; i < i1; i += tile.rows) {
                        if (region == Region::lowerTriangle && j >= i + tile.rows) continue;
                        const float* stripA = packedA + (i - i0) * depth;
                        computeTile(tile, stripA, stripB, depth, c, i, j, k0 > 0);
                    }
                }
            }
        }
    }
}

Factor transposeOf(const Factor& factor) {
    return {factor.matrix, !factor.transposed, factor.missingAsZero};
}

/// Whether tiles that stick out waste more than a quarter of what the transposed product takes.
bool isCheaperTransposed(int m, int n) {
    const ProductTile& tile = productTile();
    const auto elements = [&tile](int rows, int cols) {
        return int64_t{roundUp(rows, tile.rows)} * roundUp(cols, tile.cols);
    };
    return elements(m, n) > elements(n, m) + elements(n, m) / 4;
}

}  // namespace

void packedProduct(const Factor& a, const Factor& b, const FMatrix& c, Region region) {
    // A tile is wider than high, so a few columns are computed as rows: A B = (B'A')'.
    if (!isCheaperTransposed(c.rows(), c.cols())) return multiplyBlocks(a, b, c, region);
    const FMatrix transposed(c.cols(), c.rows());
    multiplyBlocks(transposeOf(b), transposeOf(a), transposed, region);
    for (int j = 0; j < c.cols(); ++j) {
        for (int i = 0; i < c.rows(); ++i) c[i][j] = transposed[j][i];
    }
}

}  // namespace veldane
