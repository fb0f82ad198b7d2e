#include "core/array.h"

#include <cstring>
#include <functional>

#include "support/compare.h"

// The address sanitiser ends the process where an allocation fails unless it is told not to.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace veldane::test {

TEST(ArrayTest, CopiesShareTheBlockAndAreCounted) {
    FMatrix a = matrixOf({{1, 2, 3}, {4, 5, 6}});
    const FMatrix clone = a.clone();
    {
        FMatrix b = a, c;
        c = b;
        EXPECT_EQ(a.storage().owners(), 3);
        EXPECT_EQ(c.table(), a.table());
        FMatrix d = std::move(b);
        c = FMatrix(2, 2);
        EXPECT_EQ(a.storage().owners(), 2);
        d[1][0] = -4.0f;
    }
    FMatrix& self = a;
    a = self;
    EXPECT_EQ(a.storage().owners(), 1);
    EXPECT_TRUE(sameBits(a, matrixOf({{1, 2, 3}, {-4, 5, 6}})));
    EXPECT_TRUE(sameBits(clone, matrixOf({{1, 2, 3}, {4, 5, 6}})));
}

TEST(ArrayTest, WithoutElementsKeepsItsExtentsAndNoBlock) {
    for (const IVector& v : {IVector(), IVector(0), IVector(-3), IVector(0, 5)}) {
        EXPECT_TRUE(v.size() == 0 && v.data() == nullptr && v.owners() == 0);
    }
    for (const FMatrix& m : {FMatrix(3, 0), FMatrix(3, 0, 1.0f)}) {
        EXPECT_TRUE(m.rows() == 3 && m.storage().data() == nullptr && m.table() == nullptr);
        EXPECT_TRUE(sameBits(m.clone(), m));
    }
}

TEST(ArrayTest, WrappersCountAndFreeNothing) {
    float elements[] = {1, 2, 3, 4, 5, 6};
    {
        FVector vector(6, elements), owner(2, 9.0f);
        owner = FVector(vector);
        owner[0] = 10.0f;
        const FMatrix matrix(2, 3, elements), view = FMatrix(matrix).view(1, 1, 1, 2);
        view[0][1] = 60.0f;
        EXPECT_EQ(owner.owners() + vector.owners() + view.storage().owners(), 0);
    }
    EXPECT_EQ(elements[0], 10.0f);
    EXPECT_EQ(elements[5], 60.0f);
}

TEST(ArrayTest, ViewsWriteThroughAndOutliveTheirParent) {
    FMatrix inner;
    {
        const FMatrix parent = matrixOf({{0, 1, 2, 3}, {10, 11, 12, 13}, {20, 21, 22, 23}});
        inner = parent.view(1, 2, 1, 3).view(0, 1, 1, 2);
        EXPECT_EQ(parent.storage().owners(), 2);
        inner[1][0] = -22.0f;
        EXPECT_EQ(parent[2][2], -22.0f);
        EXPECT_TRUE(parent.view(1, 2, 0, 3).contiguous() && !inner.contiguous());
        const int outside[][4] = {{1, 0, 0, 3},  {0, 2, 2, 1}, {-1, 2, 0, 3},
                                  {0, 2, -1, 3}, {0, 3, 0, 3}, {0, 2, 0, 4}};
        for (const auto& [r0, r1, c0, c1] : outside) {
            EXPECT_TRUE(sameBits(parent.view(r0, r1, c0, c1), FMatrix()));
        }
    }
    EXPECT_EQ(inner.storage().owners(), 1);
    EXPECT_TRUE(sameBits(inner, matrixOf({{12, 13}, {-22, 23}})));
    EXPECT_TRUE(inner.clone().contiguous());
}

TEST(ArrayTest, LastIndexOfACubeIsTheFastest) {
    const FCube owner(2, 3, 4, 0.0f), copy = owner;
    for (int i = 0; i < 24; ++i) owner.storage()[i] = static_cast<float>(i);
    const FCube wrapper(2, 3, 4, owner.storage().data());
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(copy[i / 12][i / 4 % 3][i % 4], static_cast<float>(i));
        EXPECT_EQ(wrapper[i / 12][i / 4 % 3][i % 4], static_cast<float>(i));
    }
    EXPECT_EQ(owner.storage().owners(), 2);
    EXPECT_TRUE(FCube(2, 0, 4, 1.0f).pages() == 4 && FCube(2, 0, 4, 1.0f).size() == 0);
}

TEST(ArrayTest, MemoryThatCannotBeHadIsThrownAs999) {
    constexpr int most = std::numeric_limits<int>::max();
    struct Huge {
        char bytes[1 << 30];
    };
    float element = 0.0f;
    const std::function<void()> tooLarge[] = {[] { FMatrix(65536, 32768); },
                                              [] { IMatrix(46341, 46341, 0); },
                                              [&] { FMatrix(most, most, &element); },
                                              [] { FCube(2048, 2048, 512, 0.0f); },
                                              [&] { FCube(most, most, most, &element); },
                                              [] { Vector<Huge> beyondTheAddressSpace(most); }};
    for (const auto& make : tooLarge) EXPECT_THROW(make(), int) << "case " << &make - tooLarge;
    static_assert(allocationFailure == 999);
    EXPECT_EQ(elementCount(most, 1), most);
    EXPECT_EQ(elementCount(most, most, 0), 0);
}

TEST(ArrayTest, MissingValueHasTheAgreedBits) {
    const float value = missingValue();
    const uint32_t bits = 0x7FC00000;
    EXPECT_EQ(std::memcmp(&value, &bits, sizeof bits), 0);
}

}  // namespace veldane::test
