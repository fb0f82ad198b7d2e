#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>

#include "core/array.h"
#include "linalg/instruction_set.h"

/// Arrays to test with, and what makes two of them equal.
namespace veldane::test {

constexpr float nan = missingValue();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// The matrix of cell(i, j), evaluated row by row.
template <class Cell>
FMatrix generate(int rows, int cols, Cell cell) {
    FMatrix result(rows, cols);
    for (int i = 0; i < result.size(); ++i) result.storage()[i] = cell(i / cols, i % cols);
    return result;
}

FMatrix matrixOf(std::initializer_list<std::initializer_list<float>> rows);
FMatrix identity(int n);
FMatrix transposed(const FMatrix& a);

/// Shares of what is no common number.
struct Mix {
    double missing = 0.0;
    double infinite = 0.0;
    double negativeZero = 0.0;
};

/// Uniform in -1 to 1; the same elements for the same seed everywhere.
FMatrix randomMatrix(int rows, int cols, unsigned seed, Mix mix = {});

/// x with a share of its values missing.
FMatrix withoutValues(const FMatrix& x, double share);

/// The elements of a as a view into a larger matrix of NaN; an a without elements as it is.
FMatrix viewOf(const FMatrix& a);

/// One shape and the same bits in each element, where any NaN equals any NaN.
testing::AssertionResult sameBits(const FMatrix& actual, const FMatrix& expected);
testing::AssertionResult sameBits(const FVector& actual, const FVector& expected);

/// One shape and no element further off than the tolerance times the largest of the expected; NaN
/// and infinities where they are expected.
testing::AssertionResult isClose(const FMatrix& actual, const FMatrix& expected, double tolerance);

/// Each column close to the expected one or to its negative.
testing::AssertionResult sameColumnsUpToSign(const FMatrix& actual, const FMatrix& expected,
                                             double tolerance);

/// Runs the body under every instruction set that this processor has.
template <class Body>
void withEachInstructionSet(Body body) {
    for (int set = 0; set <= static_cast<int>(bestInstructionSet()); ++set) {
        SCOPED_TRACE(testing::Message() << "instruction set " << set);
        useInstructionSet(static_cast<InstructionSet>(set));
        body();
    }
    useInstructionSet(bestInstructionSet());
}

}  // namespace veldane::test
