#include "linalg/thin_products.h"

#include <algorithm>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

using lanes::Floats;

template <int count>
struct Dots {
    const float* x;
    Floats<count> sum;

    VELDANE_INLINE void operator()(const Floats<count>& column, int k) {
        sum = sum + column * x[k];
    }
};

/// Dot products of `count` rows with x.
template <int count>
VELDANE_INLINE void dotRows(const float* const* rows, int cols, const float* x, float* y) {
    Dots<count> dots = {x, {}};
    lanes::walkColumns<count>(rows, cols, dots);
    lanes::store(dots.sum, y);
}

/// Fewer rows than lanes: the last row fills the lanes that are left.
template <int count>
VELDANE_INLINE void dotFewRows(const float* const* rows, int present, int cols, const float* x,
                               float* y) {
    const float* filled[count];
    float sums[count];
    for (int r = 0; r < count; ++r) filled[r] = rows[r < present ? r : present - 1];
    dotRows<count>(filled, cols, x, sums);
    std::copy_n(sums, present, y);
}

template <int count>
VELDANE_INLINE void dotAllRows(const float* const* rows, int present, int cols, const float* x,
                               float* y) {
    int i = 0;
    for (; i + count <= present; i += count) dotRows<count>(rows + i, cols, x, y + i);
    const int left = present - i;
    if constexpr (count > 4) {
        if (left > 0 && left <= count / 2) {
            return dotAllRows<count / 2>(rows + i, left, cols, x, y + i);
        }
    }
    if (left > 0) dotFewRows<count>(rows + i, left, cols, x, y + i);
}

/// y += sum of x[r] times row r, in the order of the rows.
template <int count>
VELDANE_INLINE void addRows(const float* const* rows, int cols, const float* x, float* y) {
    for (int j = 0; j < cols; ++j) {
        float sum = y[j];
        for (int r = 0; r < count; ++r) sum += rows[r][j] * x[r];
        y[j] = sum;
    }
}

VELDANE_INLINE void addAllRows(const float* const* rows, int count, int cols, const float* x,
                               float* y) {
    int i = 0;
    for (; i + 8 <= count; i += 8) addRows<8>(rows + i, cols, x + i, y);
    for (; i + 4 <= count; i += 4) addRows<4>(rows + i, cols, x + i, y);
    for (; i < count; ++i) addRows<1>(rows + i, cols, x + i, y);
}

/// Rows less y[r] p, and their x[r]-fold added to z, in the order of the rows.
template <int count, int height>
VELDANE_INLINE void deflateRows(float* const* rows, int cols, const float* y, const float* p,
                                const float* x, float* z) {
    int j = 0;
    for (; j + count <= cols; j += count) {
        Floats<count> loading, sum;
        lanes::load<count>(p + j, loading);
        lanes::load<count>(z + j, sum);
        for (int r = 0; r < height; ++r) {
            Floats<count> row;
            lanes::load<count>(rows[r] + j, row);
            row = row - loading * y[r];
            lanes::store(row, rows[r] + j);
            sum = sum + row * x[r];
        }
        lanes::store(sum, z + j);
    }
    for (; j < cols; ++j) {
        for (int r = 0; r < height; ++r) {
            rows[r][j] -= p[j] * y[r];
            z[j] += rows[r][j] * x[r];
        }
    }
}

template <int count>
VELDANE_INLINE void deflateAllRows(const FMatrix& a, const float* y, const float* p, const float* x,
                                   float* z) {
    int i = 0;
    for (; i + 4 <= a.rows(); i += 4) {
        deflateRows<count, 4>(a.table() + i, a.cols(), y + i, p, x + i, z);
    }
    for (; i < a.rows(); ++i) {
        deflateRows<count, 1>(a.table() + i, a.cols(), y + i, p, x + i, z);
    }
}

struct ThinKernels {
    void (*dot)(const float* const* rows, int count, int cols, const float* x, float* y);
    void (*add)(const float* const* rows, int count, int cols, const float* x, float* y);
    void (*deflate)(const FMatrix& a, const float* y, const float* p, const float* x, float* z);
};

void dotBaseline(const float* const* rows, int count, int cols, const float* x, float* y) {
    dotAllRows<4>(rows, count, cols, x, y);
}
void addBaseline(const float* const* rows, int count, int cols, const float* x, float* y) {
    addAllRows(rows, count, cols, x, y);
}
void deflateBaseline(const FMatrix& a, const float* y, const float* p, const float* x, float* z) {
    deflateAllRows<4>(a, y, p, x, z);
}
[[gnu::target("avx2")]] void dotAvx2(const float* const* rows, int count, int cols, const float* x,
                                     float* y) {
    dotAllRows<8>(rows, count, cols, x, y);
}
[[gnu::target("avx2")]] void addAvx2(const float* const* rows, int count, int cols, const float* x,
                                     float* y) {
    addAllRows(rows, count, cols, x, y);
}
[[gnu::target("avx2")]] void deflateAvx2(const FMatrix& a, const float* y, const float* p,
                                         const float* x, float* z) {
    deflateAllRows<8>(a, y, p, x, z);
}
[[gnu::target("avx512f")]] void dotAvx512(const float* const* rows, int count, int cols,
                                          const float* x, float* y) {
    dotAllRows<16>(rows, count, cols, x, y);
}
[[gnu::target("avx512f")]] void addAvx512(const float* const* rows, int count, int cols,
                                          const float* x, float* y) {
    addAllRows(rows, count, cols, x, y);
}
[[gnu::target("avx512f")]] void deflateAvx512(const FMatrix& a, const float* y, const float* p,
                                              const float* x, float* z) {
    deflateAllRows<16>(a, y, p, x, z);
}

ThinKernels thinKernels() {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return {dotAvx512, addAvx512, deflateAvx512};
        case InstructionSet::avx2:
            return {dotAvx2, addAvx2, deflateAvx2};
        case InstructionSet::baseline:
            break;
    }
    return {dotBaseline, addBaseline, deflateBaseline};
}

}  // namespace

void multiplyByVector(const FMatrix& a, const float* x, float* y) {
    if (a.size() == 0) return static_cast<void>(std::fill_n(y, a.rows(), 0.0f));
    thinKernels().dot(a.table(), a.rows(), a.cols(), x, y);
}

void multiplyTransposedByVector(const FMatrix& a, const float* x, float* y) {
    std::fill_n(y, a.cols(), 0.0f);
    if (a.size() > 0) thinKernels().add(a.table(), a.rows(), a.cols(), x, y);
}

void multiplyBothWays(const FMatrix& a, const float* x, float* y, float* z) {
    if (a.size() == 0) {
        std::fill_n(y, a.rows(), 0.0f);
        std::fill_n(z, a.cols(), 0.0f);
        return;
    }
    const ThinKernels kernels = thinKernels();
    std::fill_n(z, a.cols(), 0.0f);
    // The rows of a block are still in the cache when they are used again.
    constexpr int block = 16;
    for (int i = 0; i < a.rows(); i += block) {
        const int count = std::min(block, a.rows() - i);
        kernels.dot(a.table() + i, count, a.cols(), x, y + i);
        kernels.add(a.table() + i, count, a.cols(), y + i, z);
    }
}

void deflateAndMultiply(const FMatrix& a, const float* y, const float* p, const float* x,
                        float* z) {
    std::fill_n(z, a.cols(), 0.0f);
    if (a.size() > 0) thinKernels().deflate(a, y, p, x, z);
}

}  // namespace veldane
