#include "core/array.h"

#include <array>
#include <cstring>

#include "support/compare.h"

// The address sanitiser ends the process where an allocation fails unless it is told not to.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace veldane::test {

TEST(ArrayTest, CopiesAndViewsShareTheBlockAndWrappersFreeNothing) {
    FMatrix a = matrixOf({{0, 1, 2, 3}, {10, 11, 12, 13}, {20, 21, 22, 23}}), inner;
    const FMatrix clone = a.clone();
    {
        FMatrix b = a, c;
        c = b;
        EXPECT_EQ(a.storage().owners(), 3);
        const FMatrix d = std::move(b);
        c = FMatrix(2, 2);
        EXPECT_EQ(a.storage().owners(), 2);
        inner = d.view(1, 2, 1, 3).view(0, 1, 1, 2);
        EXPECT_TRUE(d.view(1, 2, 0, 3).contiguous() && !inner.contiguous());
    }
    inner[1][0] = -22.0f;
    EXPECT_EQ(a[2][2], -22.0f);
    const int outside[][4] = {{1, 0, 0, 3}, {-1, 2, 0, 3}, {0, 3, 0, 3}, {0, 2, 0, 4}};
    for (const auto& [r0, r1, c0, c1] : outside)
        EXPECT_TRUE(sameBits(a.view(r0, r1, c0, c1), FMatrix()));
    a = FMatrix();
    EXPECT_EQ(inner.storage().owners(), 1);
    EXPECT_TRUE(sameBits(inner, matrixOf({{12, 13}, {-22, 23}})));
    EXPECT_EQ(clone[2][2], 22.0f);
    float elements[6] = {};
    const FVector wrapper(6, elements);
    const FMatrix wrapped = FMatrix(2, 3, elements).view(1, 1, 1, 2);
    EXPECT_EQ(&wrapped[0][1], &wrapper[5]);
    EXPECT_EQ(wrapper.owners() + wrapped.storage().owners(), 0);
}

TEST(ArrayTest, MemoryThatCannotBeHadIsThrownAs999) {
    constexpr int most = std::numeric_limits<int>::max();
    float element = 0.0f;
    EXPECT_THROW(FMatrix(65536, 32768), int);
    EXPECT_THROW(FCube(most, most, most, &element), int);
    EXPECT_THROW((Vector<std::array<char, 1 << 30>>(most)), int) << "beyond the address space";
    static_assert(allocationFailure == 999);
}

TEST(ArrayTest, TheMarkOfAMissingValueHasItsBits) {
    const float mark = missingValue();
    const uint32_t bits = 0x7FC00000;
    EXPECT_EQ(std::memcmp(&mark, &bits, sizeof mark), 0);
}

}  // namespace veldane::test
