#include "core/array.h"

#include <array>
#include <functional>

#include "support/compare.h"

// The address sanitiser ends the process where an allocation fails unless it is told not to.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace veldane::test {

TEST(ArrayTest, CopiesAndViewsShareTheBlockAndWrappersFreeNothing) {
    FMatrix a = matrixOf({{0, 1, 2, 3}, {10, 11, 12, 13}, {20, 21, 22, 23}}), inner;
    FMatrix clone = a.clone();
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
    const FMatrix& self = clone;
    clone = self;
    inner[1][0] = -22.0f;
    EXPECT_EQ(a[2][2], -22.0f);
    const int outside[][4] = {{1, 0, 0, 3},  {0, 2, 2, 1}, {-1, 2, 0, 3},
                              {0, 2, -1, 3}, {0, 3, 0, 3}, {0, 2, 0, 4}};
    for (const auto& [r0, r1, c0, c1] : outside)
        EXPECT_TRUE(sameBits(a.view(r0, r1, c0, c1), FMatrix()));
    a = FMatrix();
    EXPECT_EQ(inner.storage().owners(), 1);
    EXPECT_TRUE(sameBits(inner, matrixOf({{12, 13}, {-22, 23}})));
    EXPECT_TRUE(clone.storage().owners() == 1 && clone[2][2] == 22.0f);

    float elements[6] = {};
    FVector wrapper(2, 9.0f);
    wrapper = FVector(6, elements);
    const FMatrix wrapped = FMatrix(2, 3, elements).view(1, 1, 1, 2);
    EXPECT_EQ(&wrapped[0][1], &wrapper[5]);
    EXPECT_EQ(wrapper.owners() + wrapped.storage().owners(), 0);
}

TEST(ArrayTest, MemoryThatCannotBeHadIsThrownAs999) {
    constexpr int most = std::numeric_limits<int>::max();
    using Huge = std::array<char, 1 << 30>;
    float element = 0.0f;
    const std::function<void()> tooLarge[] = {[] { FMatrix(65536, 32768); },
                                              [] { FCube(2048, 2048, 512, 0.0f); },
                                              [&] { FCube(most, most, most, &element); },
                                              [] { Vector<Huge> beyondTheAddressSpace(most); }};
    for (const auto& make : tooLarge) EXPECT_THROW(make(), int) << "case " << &make - tooLarge;
    static_assert(allocationFailure == 999);
}

}  // namespace veldane::test
