#include "linalg/instruction_set.h"

namespace veldane {
namespace {

InstructionSet chosen = bestInstructionSet();

}  // namespace

InstructionSet bestInstructionSet() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f")) return InstructionSet::avx512;
    if (__builtin_cpu_supports("avx2")) return InstructionSet::avx2;
    return InstructionSet::baseline;
}

InstructionSet instructionSet() {
    return chosen;
}

void useInstructionSet(InstructionSet set) {
    chosen = set;
}

}  // namespace veldane
