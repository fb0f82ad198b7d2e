#include "linalg/residual_sums.h"

#include <algorithm>
#include <cstring>

#include "linalg/instruction_set.h"
#include "linalg/kernels.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Floats;

// Columns of a block, and components that are worked on together.
constexpr int width = 16;

using Block = float[width];

/// A block of columns of one component, beside each other since they are used together.
struct Strand {
    Block loading;
    Block sums;
};

/// Up to `width` components from `first` on; strands and means are padded to whole blocks.
struct Group {
    const FMatrix& x;
    const FMatrix& t;
    int first;
    int count;
    Strand* strands;  // block by block, `count` for each
    const float* means;
    const FMatrix& fitted;  // T P of the components before the group and then with it
    const FMatrix& samples;
    float* total;

    bool last() const { return first + count == t.cols(); }
};

/// Lanes are columns. Takes the squares of E into the column sums and leaves them in `squares`.
template <int lanesOf, bool skips>
VELDANE_INLINE void squareBlock(const float* x, const float* scores, int count, const float* means,
                                bool last, float* fitted, Strand* strands, Block* squares) {
    constexpr int parts = width / lanesOf;
    Floats<lanesOf> value[parts], mean[parts], fit[parts];
    for (int v = 0; v < parts; ++v) {
        lanes::load<lanesOf>(x + v * lanesOf, value[v]);
        lanes::load<lanesOf>(means + v * lanesOf, mean[v]);
        lanes::load<lanesOf>(fitted + v * lanesOf, fit[v]);
    }
    for (int a = 0; a < count; ++a) {
        for (int v = 0; v < parts; ++v) {
            Floats<lanesOf> loading, sum;
            lanes::load<lanesOf>(strands[a].loading + v * lanesOf, loading);
            lanes::load<lanesOf>(strands[a].sums + v * lanesOf, sum);
            fit[v] = fit[v] + loading * scores[a];
            const Floats<lanesOf> e = value[v] - (fit[v] + mean[v]);
            const Floats<lanesOf> square = e * e;
            const Floats<lanesOf> more = sum + square;
            if constexpr (skips) {
                sum = square == square ? more : sum;
            } else {
                sum = more;
            }
            lanes::store(sum, strands[a].sums + v * lanesOf);
            lanes::store(square, squares[a] + v * lanesOf);
        }
    }
    for (int v = 0; v < parts; ++v) {
        if (last) fit[v] = fit[v] + mean[v];
        lanes::store(fit[v], fitted + v * lanesOf);
    }
}

/// The running sums of one row and of all rows, lanes are components: chains of dependent additions
/// side by side.
template <int lanesOf, bool skips>
struct Chains {
    static constexpr int parts = width / lanesOf;
    Floats<lanesOf> row[parts];
    Floats<lanesOf> total[parts];

    /// The squares of one block, a component a row, are taken in column by column.
    VELDANE_INLINE void add(const Block* squares, int count) {
        for (int v = 0; v < parts && v * lanesOf < count; ++v) {
            const float* rows[lanesOf];
            for (int r = 0; r < lanesOf; ++r) rows[r] = squares[v * lanesOf + r];
            if constexpr (lanesOf == 16) {
                Floats<16> column[4][4];
                lanes::loadSquare(rows, 0, column);
                for (int l = 0; l < width; ++l) addColumn(column[l / 4][l % 4], v);
            } else {
                for (int j = 0; j < width; j += 4) {
                    Floats<lanesOf> column[4];
                    lanes::loadColumns<lanesOf>(rows, j, column);
                    for (int l = 0; l < 4; ++l) addColumn(column[l], v);
                }
            }
        }
    }

    VELDANE_INLINE void addColumn(const Floats<lanesOf>& column, int v) {
        total[v] = total[v] + column;
        if constexpr (skips) {
            const Floats<lanesOf> zero = {};
            row[v] = row[v] + (column == column ? column : zero);
        } else {
            row[v] = row[v] + column;
        }
    }
};

template <int lanesOf, bool skips>
VELDANE_INLINE void addGroup(const Group& g) {
    Block squares[width] = {};
    Chains<lanesOf, skips> chains = {};
    const int cols = g.x.cols();
    for (int i = 0; i < g.x.rows(); ++i) {
        const float* scores = g.t[i] + g.first;
        for (Floats<lanesOf>& sum : chains.row) sum = Floats<lanesOf>{};
        Strand* strands = g.strands;
        for (int j = 0; j < cols; j += width, strands += g.count) {
            const int present = std::min(width, cols - j);
            if (present == width) {
                squareBlock<lanesOf, skips>(g.x[i] + j, scores, g.count, g.means + j, g.last(),
                                            g.fitted[i] + j, strands, squares);
            } else {
                Block x = {}, fitted = {};
                std::copy_n(g.x[i] + j, present, x);
                std::copy_n(g.fitted[i] + j, present, fitted);
                squareBlock<lanesOf, skips>(x, scores, g.count, g.means + j, g.last(), fitted,
                                            strands, squares);
                std::copy_n(fitted, present, g.fitted[i] + j);
                // An infinite score makes a NaN of the padding.
                for (Block& square : squares) std::fill(square + present, square + width, 0.0f);
            }
            chains.add(squares, g.count);
        }
        Block sums;
        std::memcpy(sums, chains.row, sizeof sums);
        std::copy_n(sums, g.count, g.samples[i] + g.first);
    }
    Block sums;
    std::memcpy(sums, chains.total, sizeof sums);
    std::copy_n(sums, g.count, g.total + g.first);
}

template <bool skips>
[[gnu::target("avx512f")]] void addGroupAvx512(const Group& g) {
    addGroup<16, skips>(g);
}
template <bool skips>
[[gnu::target("avx2")]] void addGroupAvx2(const Group& g) {
    addGroup<8, skips>(g);
}

template <bool skips>
void addGroupByInstructionSet(const Group& g) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return addGroupAvx512<skips>(g);
        case InstructionSet::avx2:
            return addGroupAvx2<skips>(g);
        case InstructionSet::baseline:
            return addGroup<4, skips>(g);
    }
}

/// Copies between rows of a matrix and the strands of their components, block by block.
template <class Copy>
void eachStrand(Vector<Strand>& strands, int count, int cols, Copy copy) {
    Strand* strand = strands.data();
    for (int j = 0; j < cols; j += width) {
        for (int a = 0; a < count; ++a) copy(*strand++, a, j, std::min(width, cols - j));
    }
}

template <bool skips>
ResidualSums computeSums(const FMatrix& x, const FMatrix& t, const FMatrix& p,
                         const FMatrix& means) {
    const int n = x.rows(), m = x.cols(), components = t.cols();
    ResidualSums result = {{n, m, 0.0f}, {n, components}, {components, m}, {1, components}};
    const int blocks = (m + width - 1) / width;
    const FVector paddedMeans(blocks * width, 0.0f);
    if (means.size() > 0) std::copy_n(means[0], m, paddedMeans.data());
    for (int first = 0; first < components; first += width) {
        const int count = std::min(width, components - first);
        Vector<Strand> strands(blocks * count, Strand{});
        eachStrand(strands, count, m, [&](Strand& strand, int a, int j, int cols) {
            std::copy_n(p[first + a] + j, cols, strand.loading);
        });
        addGroupByInstructionSet<skips>({x, t, first, count, strands.data(), paddedMeans.data(),
                                         result.fitted, result.samples, result.total[0]});
        eachStrand(strands, count, m, [&](Strand& strand, int a, int j, int cols) {
            std::copy_n(strand.sums, cols, result.variables[first + a] + j);
        });
    }
    return result;
}

}  // namespace

ResidualSums residualSums(const FMatrix& x, const FMatrix& t, const FMatrix& p,
                          const FMatrix& means) {
    if (x.size() == 0 || t.cols() == 0) {
        const FMatrix zeros(x.rows(), x.cols(), 0.0f);
        return {means.size() > 0 ? matAdd(zeros, means) : zeros,
                {x.rows(), t.cols(), 0.0f},
                {t.cols(), x.cols(), 0.0f},
                {1, t.cols(), 0.0f}};
    }
    ResidualSums result = computeSums<false>(x, t, p, means);
    // The totals test no NaN, so one that was to be skipped elsewhere shows in them.
    const float* totals = result.total[0];
    const bool anyMissing = std::any_of(totals, totals + t.cols(), isMissing<float>);
    return anyMissing ? computeSums<true>(x, t, p, means) : result;
}

}  // namespace veldane
