#pragma once

#include <cmath>

namespace veldane {

/// sqrt(a² + b²) without overflow, as the decompositions want it: relative to a.
inline double scaledHypot(double a, double b) {
    if (a == 0.0) return std::fabs(b);
    const double ratio = b / a;
    return std::fabs(a) * std::sqrt(ratio * ratio + 1.0);
}

}  // namespace veldane
