#include "linalg/row_division.h"

#include "linalg/instruction_set.h"
#include "linalg/lanes.h"

namespace veldane {
namespace {

VELDANE_INLINE void divide(float* x, int count, float divisor) {
    for (int j = 0; j < count; ++j) x[j] /= divisor;
}

VELDANE_INLINE void divide(float* x, int count, double shift, double divisor) {
    for (int j = 0; j < count; ++j) x[j] = static_cast<float>((x[j] - shift) / divisor);
}

template <class... Numbers>
[[gnu::target("avx512f,prefer-vector-width=512")]] void divideAvx512(float* x, int count,
                                                                     Numbers... numbers) {
    divide(x, count, numbers...);
}
template <class... Numbers>
[[gnu::target("avx2")]] void divideAvx2(float* x, int count, Numbers... numbers) {
    divide(x, count, numbers...);
}

template <class... Numbers>
void divideByInstructionSet(float* x, int count, Numbers... numbers) {
    switch (instructionSet()) {
        case InstructionSet::avx512:
            return divideAvx512(x, count, numbers...);
        case InstructionSet::avx2:
            return divideAvx2(x, count, numbers...);
        case InstructionSet::baseline:
            return divide(x, count, numbers...);
    }
}

}  // namespace

void divideRow(float* x, int count, float divisor) {
    divideByInstructionSet(x, count, divisor);
}

void divideRow(float* x, int count, double shift, double divisor) {
    divideByInstructionSet(x, count, shift, divisor);
}

}  // namespace veldane
