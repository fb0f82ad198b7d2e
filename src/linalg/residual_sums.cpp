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
    const FMatrix& fitted;  // T P of the components so far; the first group does not read it
    const FMatrix& samples;
    float* total;

    bool last() const { return first + count == t.cols(); }
};

/// Lanes are columns. Takes the squares of E into the column sums and leaves them in `squares`.
template <int lanesOf, bool skips>
VELDANE_INLINE void squareBlock(const Group& g, const float* x, const float* scores,
                                const float* means, float* fitted, Strand* strands,
                                Block* squares) {
    constexpr int parts = width / lanesOf;
    Floats<lanesOf> value[parts], mean[parts], fit[parts];
    for (int v = 0; v < parts; ++v) {
        lanes::load<lanesOf>(x + v * lanesOf, value[v]);
        lanes::load<lanesOf>(means + v * lanesOf, mean[v]);
        fit[v] = Floats<lanesOf>{};
        if (g.first > 0) lanes::load<lanesOf>(fitted + v * lanesOf, fit[v]);
    }
    for (int a = 0; a < g.count; ++a) {
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
        if (g.last()) fit[v] = fit[v] + mean[v];
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

/// The columns from `from` on, fewer than a block, filled up with zeros.
template <int lanesOf, bool skips>
VELDANE_INLINE void squareLastColumns(const Group& g, int i, int from, Strand* strands,
                                      Block* squares) {
    const int present = g.x.cols() - from;
    Block x = {}, fitted = {};
    std::copy_n(g.x[i] + from, present, x);
    std::copy_n(g.fitted[i] + from, present, fitted);
    squareBlock<lanesOf, skips>(g, x, g.t[i] + g.first, g.means + from, fitted, strands, squares);
    std::copy_n(fitted, present, g.fitted[i] + from);
    // An infinite score makes a NaN of a zero.
    for (int a = 0; a < g.count; ++a) std::fill(squares[a] + present, squares[a] + width, 0.0f);
}

/// False as soon as a NaN has spread that was not skipped.
template <int lanesOf, bool skips>
VELDANE_INLINE bool addGroup(const Group& g) {
    const int cols = g.x.cols();
    const int whole = cols / width * width;
    Block buffers[2][width] = {};
    Block sums;
    Chains<lanesOf, skips> chains = {};
    for (int i = 0; i < g.x.rows(); ++i) {
        const float* x = g.x[i];
        const float* scores = g.t[i] + g.first;
        float* fitted = g.fitted[i];
        Strand* strands = g.strands;
        Block* squares = buffers[0];
        Block* before = buffers[1];
        for (Floats<lanesOf>& sum : chains.row) sum = Floats<lanesOf>{};
        // The chains follow a block behind: they need not wait for the squares, nor these for them.
        for (int j = 0; j < whole; j += width, strands += g.count) {
            squareBlock<lanesOf, skips>(g, x + j, scores, g.means + j, fitted + j, strands,
                                        squares);
            if (j > 0) chains.add(before, g.count);
            std::swap(squares, before);
        }
        if (whole > 0) chains.add(before, g.count);
        if (whole < cols) {
            squareLastColumns<lanesOf, skips>(g, i, whole, strands, squares);
            chains.add(squares, g.count);
        }
        std::memcpy(sums, chains.row, sizeof sums);
        std::copy_n(sums, g.count, g.samples[i] + g.first);
        if (!skips && std::any_of(sums, sums + g.count, isMissing<float>)) return false;
    }
    std::memcpy(sums, chains.total, sizeof sums);
    std::copy_n(sums, g.count, g.total + g.first);
    return true;
}

template <bool skips>
[[gnu::target("avx512f")]] bool addGroupAvx512(const Group& g) {
    return addGroup<16, skips>(g);
}
template <bool skips>
[[gnu::target("avx2")]] bool addGroupAvx2(const Group& g) {
    return addGroup<8, skips>(g);
}

template <bool skips>
bool addGroupByInstructionSet(const Group& g) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return addGroupAvx512<skips>(g);
        case InstructionSet::avx2:
            return addGroupAvx2<skips>(g);
        case InstructionSet::baseline:
            break;
    }
    return addGroup<4, skips>(g);
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
bool addAllGroups(const FMatrix& x, const FMatrix& t, const FMatrix& p, const FVector& means,
                  const ResidualSums& result) {
    const int blocks = means.size() / width;
    for (int first = 0; first < t.cols(); first += width) {
        const int count = std::min(width, t.cols() - first);
        Vector<Strand> strands(blocks * count, Strand{});
        eachStrand(strands, count, x.cols(), [&](Strand& strand, int a, int j, int cols) {
            std::copy_n(p[first + a] + j, cols, strand.loading);
        });
        const Group group = {x,
                             t,
                             first,
                             count,
                             strands.data(),
                             means.data(),
                             result.fitted,
                             result.samples,
                             result.total[0]};
        if (!addGroupByInstructionSet<skips>(group)) return false;
        eachStrand(strands, count, x.cols(), [&](Strand& strand, int a, int j, int cols) {
            std::copy_n(strand.sums, cols, result.variables[first + a] + j);
        });
    }
    return true;
}

}  // namespace

ResidualSums residualSums(const FMatrix& x, const FMatrix& t, const FMatrix& p,
                          const FMatrix& means) {
    const int n = x.rows(), m = x.cols(), components = t.cols();
    if (x.size() == 0 || components == 0) {
        const FMatrix zeros(n, m, 0.0f);
        return {means.size() > 0 ? matAdd(zeros, means) : zeros,
                {n, components, 0.0f},
                {components, m, 0.0f},
                {1, components, 0.0f}};
    }
    const FVector paddedMeans((m + width - 1) / width * width, 0.0f);
    if (means.size() > 0) std::copy_n(means[0], m, paddedMeans.data());
    ResidualSums result = {{n, m}, {n, components}, {components, m}, {1, components}};
    if (!addAllGroups<false>(x, t, p, paddedMeans, result)) {
        addAllGroups<true>(x, t, p, paddedMeans, result);
    }
    return result;
}

}  // namespace veldane
