#include <cmath>

#include "linalg/row_division.h"
#include "linalg/sliding_windows.h"
#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

/// Values among the first j elements, for j = 0 .. cols.
void countPresent(const float* row, int cols, int32_t* count) {
    count[0] = 0;
    for (int j = 0; j < cols; ++j) count[j + 1] = count[j] + (isMissing(row[j]) ? 0 : 1);
}

struct MovingAverage {
    int half;
    FVector padded;  // zeros, and a row between them
    IVector before;

    MovingAverage(int cols, int reach)
        : half(reach), padded(cols + 2 * reach, 0.0f), before(cols + 1) {}

    void apply(float* row, int cols) const {
        float* inner = padded.data() + half;
        int missing = 0;
        for (int j = 0; j < cols; ++j) {
            // A zero in place of what is missing or outside leaves a sum as it is.
            inner[j] = isMissing(row[j]) ? 0.0f : row[j];
            missing += isMissing(row[j]) ? 1 : 0;
        }
        const bool gaps = missing > 0;
        if (gaps) countPresent(row, cols, before.data());
        windowSums(padded.data(), 2 * half + 1, row, cols);
        const int end = gaps ? cols : std::min(half, cols);
        divide(row, cols, 0, end, gaps);
        if (gaps) return;
        const int whole = std::max(cols - half, half);
        divideRow(row + half, whole - half, static_cast<float>(2 * half + 1));
        divide(row, cols, whole, cols, false);
    }

    void divide(float* row, int cols, int j, int end, bool gaps) const {
        for (; j < end; ++j) {
            const int from = std::max(0, j - half), to = std::min(cols, j + half + 1);
            const int present = gaps ? before[to] - before[from] : to - from;
            row[j] = present > 0 ? row[j] / static_cast<float>(present) : missingValue();
        }
    }
};

void averageRows(const FMatrix& x, int width) {
    // A wider window holds no more of the row.
    const MovingAverage average(x.cols(), std::clamp(x.cols() - 1, 0, (width - 1) / 2));
    eachRow(x, transformed, [&](float* row, int cols) { average.apply(row, cols); });
}

/// Weights in float, which add up to about 1; NaN for a width of 1, which has no spread.
FVector gaussianKernel(int width) {
    FVector g(width);
    const int half = (width - 1) / 2;
    const float sigma = static_cast<float>(width - 1) * 0.465f / 2.0f;
    const float spread = 2.0f * sigma * sigma;
    float sum = 0.0f;
    for (int m = 0; m < width; ++m) {
        const float k = static_cast<float>(m - half);
        // Formed in double: what the platform makes of it in float may differ in the last bit.
        g[m] = static_cast<float>(std::exp(static_cast<double>(-(k * k / spread))));
        sum += g[m];
    }
    for (float& weight : g) weight /= sum;
    return g;
}

void smoothRows(const FMatrix& x, int width) {
    const FVector g = gaussianKernel(width);
    const int half = (width - 1) / 2;
    Vector<Tap<double>> taps(width);
    for (int m = 0; m < width; ++m) taps[m] = {g[m], half - m};
    const Vector<double> padded(x.cols() + 2 * half), sums(x.cols());
    eachRow(x, silent, [&](float* row, int cols) {
        double* inner = padded.data() + half;
        for (int j = 0; j < cols; ++j) inner[j] = isMissing(row[j]) ? 0.0 : row[j];
        std::fill(padded.begin(), inner, inner[0]);
        std::fill(inner + cols, padded.end(), inner[cols - 1]);
        slidingSums(inner, taps.data(), width, sums.data(), cols);
        for (int j = 0; j < cols; ++j) {
            // Alone in its window, a missing element leaves an empty sum.
            const bool empty = width == 1 && isMissing(row[j]);
            row[j] = empty ? 0.0f : static_cast<float>(sums[j]);
        }
    });
}

}  // namespace

int movingavg(ArrayDesc* data, int width) {
    if (!data) return badArgument;
    if (width % 2 == 0 || width <= 2) return badWidth;
    return transformTable(data, [=](const FMatrix& x) { averageRows(x, width); });
}

int gaussianfilter(ArrayDesc* data, int width) {
    if (!data) return badArgument;
    if (width % 2 == 0 || width < 1 || width > descToMatrix(data).cols()) {
        matrixToDesc(FMatrix(), data);
        return 0;
    }
    return transformTable(data, [=](const FMatrix& x) { smoothRows(x, width); });
}
