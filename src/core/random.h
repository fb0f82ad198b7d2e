#pragma once

#include <cstdint>

namespace veldane {

/// The library's only source of random numbers: a linear congruential generator of 15 bits with one
/// state per thread, which starts at 1.
void seedRandom(uint32_t seed);

/// The next number of the calling thread, 0 to 32767.
int nextRandom();

}  // namespace veldane
