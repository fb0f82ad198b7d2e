#include <cstdio>

#include "linalg/sliding_windows.h"
#include "preprocess/table_transform.h"
#include "preprocess/window_polynomial.h"

using namespace veldane;

namespace {

bool isInconsistent(const PolynomialWindow& w) {
    return w.size() == 1 || w.degree < w.order || w.order < 0;
}

/// Turns the coefficient of the polynomial into a derivative; from the fifth on it stays.
double derivativeFactor(int order) {
    constexpr double factors[] = {1, 1, 2, 6, 24};
    return order < 5 ? factors[order] : 1.0;
}

/// 0-based columns from .. to - 1 whose window lies within a row.
struct Interior {
    int from;
    int to;

    Interior(const PolynomialWindow& w, int cols)
        : from(std::clamp(w.left, 0, cols)),
          to(static_cast<int>(std::clamp<int64_t>(int64_t{cols} - w.right, from, cols))) {}
};

void filterDerivative(const FMatrix& x, const PolynomialWindow& w) {
    const Interior inner(w, x.cols());
    Vector<Tap<double>> taps;
    if (inner.from < inner.to) {
        const Vector<double> b = w.coefficients(ZeroRule::report);
        taps = Vector<Tap<double>>(static_cast<int>(std::max<int64_t>(0, w.size())));
        for (int t = 0; t < taps.size(); ++t) taps[t] = {windowWeight(b, t - w.left), t - w.left};
    }
    const Vector<double> before(x.cols()), sums(x.cols());
    const double factor = derivativeFactor(w.order);
    eachRow(x, transformed, [&](float* row, int cols) {
        std::copy_n(row, cols, before.data());
        slidingSums(before.data() + inner.from, taps.data(), taps.size(), sums.data() + inner.from,
                    inner.to - inner.from);
        for (int j = inner.from; j < inner.to; ++j) {
            row[j] = static_cast<float>(factor * sums[j]);
        }
        if (w.order == 0) return;
        // Wanted as it is: the edges of a derivative are negative zeros.
        std::fill(row, row + inner.from, -0.0f);
        std::fill(row + inner.to, row + cols, -0.0f);
    });
}

/// In the order of summation: offset 0, then -1 .. -left, then what comes from the right side. An
/// offset that leads out of any row is left out.
Vector<Tap<float>> wrappedTaps(const PolynomialWindow& w, int cols) {
    const Vector<double> b = w.coefficients(ZeroRule::stop);
    const int left = std::min(w.left, cols - 1);
    Vector<Tap<float>> taps(1 + left + w.right);
    Tap<float>* tap = taps.data();
    for (int k = 0; k >= -left; --k) *tap++ = {static_cast<float>(windowWeight(b, k)), k};
    // Wanted as it is: with unequal sides the weights of the right side land on offsets that start
    // at `left`.
    for (int k = w.right; k > 0; --k) {
        const int64_t offset = int64_t{w.left} - w.right + k;
        const int within = static_cast<int>(std::min<int64_t>(offset, cols));
        *tap++ = {static_cast<float>(windowWeight(b, k)), within};
    }
    return taps;
}

float sumWithinRow(const float* row, int cols, int j, const Vector<Tap<float>>& taps) {
    float sum = 0.0f;
    for (const auto& [weight, offset] : taps) {
        if (j + offset >= 0 && j + offset < cols) sum += weight * row[j + offset];
    }
    return sum;
}

void filterWrapped(const FMatrix& x, const PolynomialWindow& w) {
    const int end = std::max(0, x.cols() - w.right);
    const Vector<Tap<float>> taps = end > 0 ? wrappedTaps(w, x.cols()) : Vector<Tap<float>>();
    int first = 0, last = 0;
    for (const Tap<float>& tap : taps) {
        first = std::min(first, tap.offset);
        last = std::max(last, tap.offset);
    }
    const int from = std::min(-first, end), to = std::clamp(x.cols() - last, from, end);
    const FVector before(x.cols());
    eachRow(x, transformed, [&](float* row, int cols) {
        std::copy_n(row, cols, before.data());
        const auto sumAt = [&](int j) { row[j] = sumWithinRow(before.data(), cols, j, taps); };
        for (int j = 0; j < from; ++j) sumAt(j);
        slidingSums(before.data() + from, taps.data(), taps.size(), row + from, to - from);
        for (int j = to; j < end; ++j) sumAt(j);
    });
}

}  // namespace

int derivsgolay(ArrayDesc* data, int order, int left, int right, int degree) {
    const PolynomialWindow window = {order, left, right, degree};
    if (isInconsistent(window)) return badArgument;
    return transformTable(data, [&](const FMatrix& x) { filterDerivative(x, window); });
}

int derivsgolaynew(ArrayDesc* data, int order, int left, int right, int degree) {
    const PolynomialWindow window = {order, left, right, degree};
    if (isInconsistent(window)) return badArgument;
    return transformTable(data, [&](const FMatrix& x) {
        if (left < 0 || right < 0 || window.size() <= degree) {
            std::fputs("\n Bad args in savgol.\n", stdout);
            return eachRow(x, transformed, [](float*, int) {});
        }
        filterWrapped(x, window);
    });
}
