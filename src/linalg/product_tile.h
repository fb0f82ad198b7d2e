#pragma once

namespace veldane {

/// The register tile of the packed product: rows x cols elements of C, whose sums stay in registers
/// over `depth` terms.
///
/// a is packed `rows` elements a term, b `cols` elements a term. c points to the tile's elements in
/// each row of C. With resume the sums go on from what c holds, otherwise from 0.
struct ProductTile {
    int rows;
    int cols;
    void (*run)(const float* a, const float* b, int depth, float* const* c, bool resume);
};

/// The tile for the instruction set in use.
const ProductTile& productTile();

constexpr int largestTileRows = 12;
constexpr int largestTileCols = 32;

}  // namespace veldane
