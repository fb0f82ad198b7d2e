#pragma once

#include "core/array.h"

namespace veldane {

/// How the limit of T² follows from a quantile of F.
enum HotellingMode {
    modelSamples = 1,  ///< (n - 1) a / (n - a) F
    newSamples = 2     ///< (n² - 1) a / ((n - a) n) F
};

/// The limit of Hotelling's T² with a components of n objects, exceeded with probability alpha; F
/// has a and n - a degrees of freedom. -1 for any other mode. Without degrees of freedom F is -1
/// and an error line goes to standard output.
float HotellingT2Limit(float n, float a, float alpha, int mode);

/// Limits for new samples: rows are the levels 0.001, 0.005, 0.01, 0.05, 0.1 and 0.25, column j is
/// for j + 1 components.
FMatrix hotellingT2Limits(int objects, int components);

}  // namespace veldane
