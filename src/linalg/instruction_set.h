#pragma once

namespace veldane {

/// What the product kernels are compiled for, in rising order. One binary holds them all.
enum class InstructionSet { baseline, avx2, avx512 };

/// The best that this processor has.
InstructionSet bestInstructionSet();

/// What the products use: the best, until a test or a benchmark takes a lesser one. Every set gives
/// the same bits.
InstructionSet instructionSet();
void useInstructionSet(InstructionSet set);

}  // namespace veldane
