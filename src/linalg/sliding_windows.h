#pragma once

/// Filters over windows that slide along a run of numbers, several outputs side by side. An output
/// keeps its own order of terms, each product and each sum rounded. y must not overlap x.
namespace veldane {

/// One term of a filter: weight * x[j + offset].
template <class Number>
struct Tap {
    Number weight;
    int offset;
};

/// y[j] = the sum over the taps, in their order and from 0, for j = 0 .. outputs - 1. x must be
/// readable at all j + offset.
void slidingSums(const float* x, const Tap<float>* taps, int count, float* y, int outputs);
void slidingSums(const double* x, const Tap<double>* taps, int count, double* y, int outputs);

/// y[j] = x[j] + .. + x[j + width - 1], from 0.
void windowSums(const float* x, int width, float* y, int outputs);

/// Up to this width a selection for many windows at a time is faster than one window that slides.
constexpr int widestSelection = 31;

/// y[j] = the median of x[j] .. x[j + width - 1], width odd and at most widestSelection. No NaN; of
/// equal zeros any.
void windowMedians(const float* x, int width, float* y, int outputs);

}  // namespace veldane
