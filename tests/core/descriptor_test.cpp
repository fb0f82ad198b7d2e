#include "core/descriptor.h"

#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {

TEST(DescriptorInTest, WrapsTheBufferUnlessItIsNoArray) {
    float data[24] = {};
    const ArrayDesc flat = {-1, 4, 3, 1, data}, deep = {VELDANE_KIND_LIBRARY, 3, 2, 4, data};
    EXPECT_TRUE(descToMatrix(&flat).cols() == 4 && &descToMatrix(&flat)[2][3] == &data[11]);
    EXPECT_TRUE(descToVector(&flat).size() == 12 && &descToVector(&flat)[11] == &data[11]);
    EXPECT_TRUE(descToCube(&deep).pages() == 4 && &descToCube(&deep)[1][2][3] == &data[23]);

    const ArrayDesc none[] = {{0, 2, 2, -1, data},  {0, -2, 2, 1, data},   {0, 2, -2, 1, data},
                              {0, -2, -2, 1, data}, {0, 2, 2, 1, nullptr}, deep};
    for (const ArrayDesc& desc : none) {
        EXPECT_TRUE(sameBits(descToMatrix(&desc), FMatrix()));
        EXPECT_EQ(descToVector(&desc).size(), 0);
        EXPECT_EQ(descToCube(&desc).size(), desc.pages == 4 ? 24 : 0);
    }
    EXPECT_EQ(descToMatrix(nullptr).rows() + descToCube(nullptr).rows(), 0);
    const ArrayDesc noColumns = {0, 0, 5, 1, nullptr}, tooLarge = {0, 65536, 65536, 1, data};
    EXPECT_EQ(descToMatrix(&noColumns).rows(), 5);
    EXPECT_THROW(descToMatrix(&tooLarge), int);
}

TEST(DescriptorOutTest, HandsOutTheBlockThatSomebodyKeeps) {
    const FCube cube(2, 3, 4, 1.0f);
    float* const data = cube.storage().data();
    HandedOut block, vector, view, empty;
    cubeToDesc(cube, &block);
    vectorToDesc(cube.storage(), &vector);
    matrixToDesc(FMatrix(2, 12, data).view(1, 1, 0, 11), &view);
    matrixToDesc(FMatrix(), &empty);
    EXPECT_TRUE(block.rows == 2 && block.cols == 3 && block.pages == 4 && block.data == data);
    EXPECT_TRUE(vector.rows == 24 && vector.cols == 1 && vector.pages == 1 && vector.data == data);
    EXPECT_TRUE(view.rows == 1 && view.cols == 12 && view.pages == 1 && view.data == data + 12);
    EXPECT_TRUE(empty.rows == 0 && empty.cols == 0 && empty.pages == 1 && !empty.data);
    EXPECT_EQ(cube.storage().owners(), 1);
}

TEST(DescriptorOutTest, CopiesElementsAndNoExtents) {
    const FMatrix matrix = generate(2, 12, [](int i, int j) { return 3.0f * i - j; });
    const IVector integers(24);
    std::copy_n(matrix[0], 24, integers.begin());
    CopiedOut outs[] = {{2, 12}, {2, 12}, {2, 12}, {2, 12}};
    // Integers are converted, so they are copied whatever the kind.
    outs[3].kind = VELDANE_KIND_LIBRARY;
    const auto write = [&](ArrayDesc* a, ArrayDesc* b, ArrayDesc* c, ArrayDesc* d) {
        matrixToDesc(viewOf(matrix), a);
        vectorToDesc(matrix.storage(), b);
        cubeToDesc({2, 3, 4, matrix[0]}, c);
        intVectorToDesc(integers, d);
    };
    ArrayDesc nowhere = {};
    write(nullptr, nullptr, nullptr, nullptr);
    write(&nowhere, &nowhere, &nowhere, &nowhere);
    write(&outs[0], &outs[1], &outs[2], &outs[3]);
    for (const CopiedOut& out : outs) {
        EXPECT_TRUE(sameBits(out.elements, matrix));
        EXPECT_FALSE(out.extentsWritten());
    }
}

TEST(DescriptorOutTest, LastEightComputedArraysStayValid) {
    const auto computed = [](unsigned seed) { return randomMatrix(3, 40, seed); };
    for (int round = 0; round < 3; ++round) {
        HandedOut outs[8];
        vectorToDesc(FVector(120, 0.25f), &outs[0]);
        cubeToDesc(FCube(3, 5, 8, 0.75f), &outs[1]);
        {
            const FMatrix local = computed(2);
            matrixToDesc(local.view(1, 2, 0, 39), &outs[2]);
        }
        matrixToDesc(viewOf(computed(3)), &outs[3]);
        for (unsigned i = 4; i < 8; ++i) matrixToDesc(computed(i), &outs[i]);
        for (unsigned i = 3; i < 8; ++i) EXPECT_TRUE(sameBits(outs[i].copy(), computed(i)));
        EXPECT_TRUE(sameBits(outs[2].copy(), computed(2).view(1, 2, 0, 39)));
        EXPECT_TRUE(outs[0].data[0] == 0.25f && outs[1].data[0] == 0.75f);
    }
}

}  // namespace veldane::test
