#pragma once

#include <limits>

/// Limits of double arithmetic that the special functions share.
namespace veldane {

constexpr double MACHEP = 1.1102230246251565e-16;  ///< 2^-53
constexpr double MAXLOG = 708.3964185322641;       ///< bound of a logarithm before exp; both signs
constexpr double MAXGAM = 171.6243769563027;       ///< largest argument of the direct gamma
constexpr double MAXNUM = std::numeric_limits<double>::max();  ///< stands for infinity
constexpr double big = 4503599627370496.0;                     ///< 2^52, rescales a fraction
constexpr double biginv = 2.220446049250313e-16;               ///< 2^-52

}  // namespace veldane
