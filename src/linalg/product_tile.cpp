#include "linalg/product_tile.h"

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Floats;

/// rows x (vectors * count) sums. A row of the tile is one element of a times the vectors of b.
template <int count, int rows, int vectors>
VELDANE_INLINE void runTile(const float* a, const float* b, int depth, float* const* c,
                            bool resume) {
    Floats<count> sum[rows][vectors];
#pragma GCC unroll 16
    for (int i = 0; i < rows; ++i) {
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v) {
            sum[i][v] = Floats<count>{};
            if (resume) lanes::load<count>(c[i] + v * count, sum[i][v]);
        }
    }
    for (int k = 0; k < depth; ++k) {
        Floats<count> right[vectors];
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v) lanes::load<count>(b + v * count, right[v]);
#pragma GCC unroll 16
        for (int i = 0; i < rows; ++i) {
#pragma GCC unroll 4
            for (int v = 0; v < vectors; ++v) sum[i][v] = sum[i][v] + a[i] * right[v];
        }
        a += rows;
        b += vectors * count;
    }
#pragma GCC unroll 16
    for (int i = 0; i < rows; ++i) {
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v) lanes::store(sum[i][v], c[i] + v * count);
    }
}

// Tiles that fill the registers of each set: sums, one row of b, one product.
void tileBaseline(const float* a, const float* b, int depth, float* const* c, bool resume) {
    runTile<4, 4, 2>(a, b, depth, c, resume);
}
[[gnu::target("avx2")]] void tileAvx2(const float* a, const float* b, int depth, float* const* c,
                                      bool resume) {
    runTile<8, 4, 3>(a, b, depth, c, resume);
}
[[gnu::target("avx512f")]] void tileAvx512(const float* a, const float* b, int depth,
                                           float* const* c, bool resume) {
    runTile<16, 12, 2>(a, b, depth, c, resume);
}

constexpr ProductTile baseline = {4, 8, tileBaseline};
constexpr ProductTile avx2 = {4, 24, tileAvx2};
constexpr ProductTile avx512 = {12, 32, tileAvx512};

}  // namespace

const ProductTile& productTile() {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return avx512;
        case InstructionSet::avx2:
            return avx2;
        case InstructionSet::baseline:
            break;
    }
    return baseline;
}

}  // namespace veldane
