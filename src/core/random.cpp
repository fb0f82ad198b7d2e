#include "core/random.h"

namespace veldane {
namespace {

thread_local uint32_t state = 1;

}  // namespace

void seedRandom(uint32_t seed) {
    state = seed;
}

int nextRandom() {
    state = state * 214013u + 2531011u;
    return static_cast<int>((state >> 16) & 0x7FFF);
}

}  // namespace veldane
