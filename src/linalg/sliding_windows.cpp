#include "linalg/sliding_windows.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

template <class Number, int bytes>
struct Lanes {
    typedef Number Type __attribute__((vector_size(bytes)));
};

template <class V, class Number>
VELDANE_INLINE void loadLanes(const Number* from, V& to) {
    std::memcpy(&to, from, sizeof to);
}

template <class V, class Number>
VELDANE_INLINE void addTap(const Number* from, Number weight, V& sum) {
    V value;
    loadLanes(from, value);
    sum = sum + value * weight;
}

template <class Number>
struct TapSums {
    static constexpr int mostVectors = 4;
    const Number* x;
    const Tap<Number>* taps;
    int count;

    template <class V, int vectors>
    VELDANE_INLINE void block(int j, V (&sum)[vectors]) const {
        for (int t = 0; t < count; ++t) {
            const Number* from = x + j + taps[t].offset;
            for (V& lane : sum) {
                addTap(from, taps[t].weight, lane);
                from += sizeof(V) / sizeof(Number);
            }
        }
    }
};

struct WindowSums {
    static constexpr int mostVectors = 6;
    const float* x;
    int width;

    template <class V, int vectors>
    VELDANE_INLINE void block(int j, V (&sum)[vectors]) const {
        constexpr int lanesOf = sizeof(V) / sizeof(float);
        if (width >= (vectors - 1) * lanesOf) {
            addOverlapping(x + j, sum, std::make_integer_sequence<int, vectors - 1>());
            return;
        }
        for (int m = 0; m < width; ++m) {
            for (int v = 0; v < vectors; ++v) addTap(x + j + m + v * lanesOf, 1.0f, sum[v]);
        }
    }

    /// Neighbouring vectors of sums share the elements where their windows overlap.
    template <class V, int vectors, int... step>
    VELDANE_INLINE void addOverlapping(const float* from, V (&sum)[vectors],
                                       std::integer_sequence<int, step...>) const {
        constexpr int n = sizeof(V) / sizeof(float);
        (addElements<0, step + 1>(from, step * n, (step + 1) * n, sum), ...);
        addElements<0, vectors>(from, (vectors - 1) * n, width, sum);
        (addElements<step + 1, vectors>(from, width + step * n, width + (step + 1) * n, sum), ...);
    }

    /// Takes the elements p .. last - 1 into the sums first .. end - 1.
    template <int first, int end, class V, int vectors>
    VELDANE_INLINE static void addElements(const float* from, int p, int last, V (&sum)[vectors]) {
        for (; p < last; ++p) {
            V value;
            loadLanes(from + p, value);
            for (int v = first; v < end; ++v) sum[v] = sum[v] + value;
        }
    }
};

struct WindowMedians {
    static constexpr int mostVectors = 1;
    const float* x;
    int width;

    /// The least of what is left goes to the front until the middle is reached.
    template <class V>
    VELDANE_INLINE void block(int j, V (&median)[1]) const {
        V left[widestSelection];
        for (int m = 0; m < width; ++m) loadLanes(x + j + m, left[m]);
        for (int k = 0; k <= width / 2; ++k) {
            V least = left[k];
            for (int m = k + 1; m < width; ++m) {
                const V other = left[m];
                left[m] = other < least ? least : other;
                least = other < least ? other : least;
            }
            median[0] = least;
        }
    }
};

template <class V, int vectors, class Filter, class Number>
VELDANE_INLINE void oneBlock(const Filter& filter, int j, Number* y) {
    V result[vectors] = {};
    filter.block(j, result);
    std::memcpy(y + j, result, sizeof result);
}

/// Lanes are outputs. The last block overlaps the one before; what is less than a block goes by a
/// smaller one.
template <int bytes, class Number, class Filter, int vectors = Filter::mostVectors>
VELDANE_INLINE void eachOutput(const Filter& filter, Number* y, int outputs) {
    using V = typename Lanes<Number, bytes>::Type;
    constexpr int block = vectors * bytes / static_cast<int>(sizeof(Number));
    if (outputs >= block) {
        for (int j = 0; j < outputs; j += block) {
            oneBlock<V, vectors>(filter, std::min(j, outputs - block), y);
        }
    } else if constexpr (block > 1) {
        constexpr int smaller = vectors > 1 ? bytes : bytes / 2;
        eachOutput<smaller, Number, Filter, 1>(filter, y, outputs);
    }
}

template <class Filter, class Number>
[[gnu::target("avx512f")]] void filterAvx512(const Filter& filter, Number* y, int outputs) {
    eachOutput<64>(filter, y, outputs);
}
template <class Filter, class Number>
[[gnu::target("avx2")]] void filterAvx2(const Filter& filter, Number* y, int outputs) {
    eachOutput<32>(filter, y, outputs);
}

template <class Filter, class Number>
void filterByInstructionSet(const Filter& filter, Number* y, int outputs) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return filterAvx512(filter, y, outputs);
        case InstructionSet::avx2:
            return filterAvx2(filter, y, outputs);
        case InstructionSet::baseline:
            return eachOutput<16>(filter, y, outputs);
    }
}

}  // namespace

void slidingSums(const float* x, const Tap<float>* taps, int count, float* y, int outputs) {
    filterByInstructionSet(TapSums<float>{x, taps, count}, y, outputs);
}

void slidingSums(const double* x, const Tap<double>* taps, int count, double* y, int outputs) {
    filterByInstructionSet(TapSums<double>{x, taps, count}, y, outputs);
}

void windowSums(const float* x, int width, float* y, int outputs) {
    filterByInstructionSet(WindowSums{x, width}, y, outputs);
}

void windowMedians(const float* x, int width, float* y, int outputs) {
    filterByInstructionSet(WindowMedians{x, width}, y, outputs);
}

}  // namespace veldane
