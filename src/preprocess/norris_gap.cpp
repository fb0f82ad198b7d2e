#include <cmath>

#include "preprocess/derivative_filter.h"
#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

constexpr int highestOrder = 5;

/// Finite differences of each order: alternating binomial coefficients.
constexpr float differences[highestOrder][highestOrder + 1] = {
    {1, -1}, {1, -2, 1}, {1, -3, 3, -1}, {1, -4, 6, -4, 1}, {1, -5, 10, -10, 5, -1}};
constexpr double factorials[] = {1, 2, 6, 24, 120};

int64_t kernelLength(int64_t order, int64_t gap, int64_t segment) {
    return (order + 1) * segment + order * gap;
}

FVector gapKernel(int order, int gap, int segment) {
    FVector h(static_cast<int>(kernelLength(order, gap, segment)), 0.0f);
    for (int k = 0; k <= order; ++k) {
        std::fill_n(h.begin() + int64_t{k} * (gap + segment), segment, differences[order - 1][k]);
    }
    return h;
}

/// The kernel's response to x^order over order factorial, an integer after each step. Position is
/// the type that the powers are formed in.
template <class Position>
double responseOf(const FVector& h, int order) {
    const int half = (h.size() - 1) / 2;
    double response = 0.0;
    for (int k = 0; k < h.size(); ++k) {
        const Position p = static_cast<Position>(half - k);
        Position power = p;
        for (int i = 1; i < order; ++i) power *= p;
        response = std::trunc(response + std::trunc(static_cast<double>(power)) * h[k]);
    }
    return std::trunc(response / factorials[order - 1]);
}

/// The filtered row stands at the kernel's last element; its centre is where it belongs.
void moveToCentre(float* row, int cols, int64_t length) {
    const int half = static_cast<int>(std::min<int64_t>((length - 1) / 2, cols));
    const int lead = static_cast<int>(std::min<int64_t>(length - 1, cols));
    std::fill_n(row, lead, 0.0f);
    std::copy(row + lead, row + cols, row + half);
    std::fill_n(row + cols - half, half, 0.0f);
}

template <class Position>
int gapDerivative(ArrayDesc* data, int order, int gap, int segment) {
    return transformTable(data, [=](const FMatrix& x) {
        const int64_t length = kernelLength(order, gap, segment);
        if (length <= x.cols()) {
            const FVector h = gapKernel(order, gap, segment);
            filterCausally(x, h, order, responseOf<Position>(h, order), h.size(), 0);
        } else {
            // No window fits into a row, and all of it will be 0.
            eachRow(x, transformed, [](float*, int) {});
        }
        eachRow(x, transformed, [=](float* row, int cols) { moveToCentre(row, cols, length); });
    });
}

bool orderIsBad(int order) {
    return order < 1 || order > highestOrder;
}

}  // namespace

int derivnorrisgap(ArrayDesc* data, int order, int gap) {
    if (!data) return badArgument;
    if (orderIsBad(order)) return badOrder;
    if (gap < 0) return negativeGap;
    if (order % 2 == 1 && gap % 2 == 0) return evenGap;
    return gapDerivative<double>(data, order, gap, 1);
}

int derivnorrisgapsegment(ArrayDesc* data, int order, int gap, int segment) {
    if (!data) return badArgument;
    if (orderIsBad(order)) return badOrder;
    if (gap < 0) return negativeGap;
    if (segment < 1) return badWidth;
    return gapDerivative<float>(data, order, gap, segment);
}
