#include "preprocess/derivative_filter.h"

#include <cmath>

#include "linalg/sliding_windows.h"
#include "preprocess/table_transform.h"

namespace veldane {
namespace {

using Taps = Vector<Tap<double>>;

/// The elements of h, with or without its zeros.
Taps tapsOf(const FVector& h, bool zeros) {
    const auto counts = [=](float weight) { return zeros || weight != 0.0f; };
    Taps taps(static_cast<int>(std::count_if(h.begin(), h.end(), counts)));
    Tap<double>* tap = taps.data();
    for (int m = 0; m < h.size(); ++m) {
        if (counts(h[m])) *tap++ = {h[m], -m};
    }
    return taps;
}

/// Taps of the elements 0 .. last.
int tapsUpTo(const Taps& taps, int last) {
    const auto behind = [=](const Tap<double>& tap) { return -tap.offset > last; };
    return static_cast<int>(std::find_if(taps.begin(), taps.end(), behind) - taps.begin());
}

}  // namespace

void filterCausally(const FMatrix& data, const FVector& h, int head, double divisor, int length,
                    int mode) {
    if (h.size() == 0) return;
    head = std::min(head, data.cols());
    length = std::clamp(length, 0, h.size());
    const Taps all = tapsOf(h, true), set = tapsOf(h, false);
    const Vector<double> x(data.cols()), y(data.cols());
    eachRow(data, transformed, [&](float* row, int cols) {
        std::copy_n(row, cols, x.data());
        const bool finite = std::all_of(row, row + cols, [](float v) { return std::isfinite(v); });
        // A zero of h adds nothing, but makes a NaN of an infinity or a NaN.
        const Taps& taps = finite ? set : all;
        const int count = tapsUpTo(taps, length - 1);
        const int inner = std::min(std::max({head + 1, length - 1, 1}), cols);
        for (int j = 1; j < inner; ++j) {
            const int terms = tapsUpTo(taps, j <= head ? j : std::min(j, length - 1));
            slidingSums(x.data() + j, taps.data(), terms, y.data() + j, 1);
        }
        slidingSums(x.data() + inner, taps.data(), count, y.data() + inner, cols - inner);
        for (int j = 1; j < cols; ++j) row[j] = static_cast<float>(y[j] / divisor);
        row[0] = static_cast<float>(mode == 1 ? x[0] * h[0] : x[0] / divisor);
    });
}

}  // namespace veldane

void derivativeFilter(veldane::FMatrix data, veldane::FVector h, int head, int divisor, int length,
                      int mode) {
    veldane::filterCausally(data, h, head, divisor, length, mode);
}
