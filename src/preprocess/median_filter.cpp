#include <cmath>

#include "linalg/sliding_windows.h"
#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

/// Element m of a window as an insertion sort leaves it, n elements. A NaN stays where it stands
/// and lets nothing pass, so the elements between two of them are sorted among themselves; equal
/// zeros keep their order, whatever their signs. `room` holds n elements.
float insertedElement(const float* window, int n, int m, float* room) {
    if (isMissing(window[m])) return window[m];
    const float* first = window + m;
    const float* last = window + m + 1;
    while (first != window && !isMissing(first[-1])) --first;
    while (last != window + n && !isMissing(*last)) ++last;
    const auto rank = window + m - first;
    const auto below = std::count_if(first, last, [](float x) { return x < 0.0f; });
    auto zeros = rank - below;
    if (zeros >= 0 && zeros < std::count(first, last, 0.0f)) {
        return *std::find_if(first, last, [&](float x) { return x == 0.0f && zeros-- == 0; });
    }
    float* end = std::copy(first, last, room);
    std::nth_element(room, room + rank, end);
    return room[rank];
}

float mean(float low, float high) {
    return static_cast<float>((static_cast<double>(low) + high) / 2.0);
}

float medianOf(const float* window, int n, float* room) {
    const float high = insertedElement(window, n, n / 2, room);
    return n % 2 == 1 ? high : mean(insertedElement(window, n, n / 2 - 1, room), high);
}

/// The window of column j: n elements from `from` on.
struct Window {
    int from;
    int n;

    Window(int j, int half, int cols)
        : from(std::max(0, j - half)), n(std::min(cols, j + half + 1) - from) {}
};

/// The elements of a window in order.
struct SortedWindow {
    float* sorted;
    int n = 0;

    int place(float x) const {
        int below = 0;
        for (int k = 0; k < n; ++k) below += sorted[k] < x ? 1 : 0;
        return below;
    }
    void insert(float x) {
        const int at = place(x);
        std::copy_backward(sorted + at, sorted + n, sorted + n + 1);
        sorted[at] = x;
        ++n;
    }
    void erase(float x) {
        const int at = place(x);
        std::copy(sorted + at + 1, sorted + n, sorted + at);
        --n;
    }
    float median() const {
        return n % 2 == 1 ? sorted[n / 2] : mean(sorted[n / 2 - 1], sorted[n / 2]);
    }
};

/// The medians of one row, from copies of it.
struct RowMedians {
    const float* x;
    const float* complete;  // the same with 0 for a NaN
    int cols;
    int half;
    float* room;  // for a window
    float* to;

    void atEachColumn(int from, int end) const {
        for (int j = from; j < end; ++j) {
            const Window w(j, half, cols);
            to[j] = medianOf(x + w.from, w.n, room);
        }
    }

    void bySelection() const {
        const int width = 2 * half + 1, inner = std::max(0, cols - 2 * half);
        const int edge = std::min(half, cols);
        windowMedians(complete, width, to + edge, inner);
        atEachColumn(0, edge);
        atEachColumn(edge + inner, cols);
    }

    void bySliding() const {
        SortedWindow window = {room};
        for (int j = 0; j < std::min(half, cols); ++j) window.insert(complete[j]);
        for (int j = 0; j < cols; ++j) {
            if (j > half) window.erase(complete[j - half - 1]);
            if (j + half < cols) window.insert(complete[j + half]);
            to[j] = window.median();
        }
    }

    /// Again where a NaN is near, or where zeros may differ in sign: their order counts then.
    void settle(bool zeros) const {
        int seen = 0, missing = -1;
        for (int j = 0; j < cols; ++j) {
            const Window w(j, half, cols);
            for (; seen < w.from + w.n; ++seen) missing = isMissing(x[seen]) ? seen : missing;
            if (missing >= w.from || (zeros && to[j] == 0.0f)) atEachColumn(j, j + 1);
        }
    }
};

void filterRow(const RowMedians& row) {
    if (row.half <= widestSelection / 2) {
        row.bySelection();
    } else {
        row.bySliding();
    }
    int missing = 0, zeros = 0;
    for (int j = 0; j < row.cols; ++j) {
        missing += isMissing(row.x[j]) ? 1 : 0;
        zeros += row.x[j] == 0.0f && std::signbit(row.x[j]) ? 1 : 0;
    }
    if (missing + zeros > 0) row.settle(zeros > 0);
}

void filterMedians(const FMatrix& x, int width) {
    // A wider window holds no more of the row.
    const int half = std::min((width - 1) / 2, x.cols());
    const FVector before(x.cols()), complete(x.cols());
    const FVector room(std::min(2 * half + 1, x.cols()) + 1);
    eachRow(x, silent, [&](float* row, int cols) {
        for (int j = 0; j < cols; ++j) {
            before[j] = row[j];
            complete[j] = isMissing(row[j]) ? 0.0f : row[j];
        }
        filterRow({before.data(), complete.data(), cols, half, room.data(), row});
    });
}

}  // namespace

int medianfilter(ArrayDesc* data, int width) {
    if (!data) return badArgument;
    if (width < 1) return badWidth;
    return transformTable(data, [=](const FMatrix& x) { filterMedians(x, width); });
}
