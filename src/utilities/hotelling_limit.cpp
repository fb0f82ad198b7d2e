#include "utilities/hotelling_limit.h"

#include <limits>

#include "statistics/f_distribution.h"

namespace veldane {
namespace {

constexpr float levels[] = {0.001f, 0.005f, 0.01f, 0.05f, 0.1f, 0.25f};

/// Towards zero, held within the range of an int; the smallest one for a NaN.
int truncated(float x) {
    using Limits = std::numeric_limits<int>;
    if (x >= -static_cast<float>(Limits::min())) return Limits::max();
    return x > static_cast<float>(Limits::min()) ? static_cast<int>(x) : Limits::min();
}

}  // namespace

float HotellingT2Limit(float n, float a, float alpha, int mode) {
    const double objects = static_cast<double>(n);
    const double components = static_cast<double>(a);
    const double F = fCDF_upper_inv(truncated(a), truncated(n - a), static_cast<double>(alpha));
    const double left = objects - components;
    switch (mode) {
        case modelSamples:
            return static_cast<float>((objects - 1.0) * F * components / left);
        case newSamples:
            return static_cast<float>((objects * objects - 1.0) * components / (left * objects) *
                                      F);
        default:
            return -1.0f;
    }
}

FMatrix hotellingT2Limits(int objects, int components) {
    FMatrix limits(6, components);
    for (int i = 0; i < limits.filledRows(); ++i) {
        for (int j = 0; j < components; ++j) {
            limits[i][j] = HotellingT2Limit(static_cast<float>(objects), static_cast<float>(j + 1),
                                            levels[i], newSamples);
        }
    }
    return limits;
}

}  // namespace veldane
