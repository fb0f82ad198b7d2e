#include "core/descriptor.h"

#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {

TEST(DescriptorInTest, WrapsTheBuffer) {
    float data[24] = {};
    const ArrayDesc flat = {-1, 4, 3, 1, data}, deep = {VELDANE_KIND_LIBRARY, 3, 2, 4, data};
    const FMatrix matrix = descToMatrix(&flat);
    const FVector vector = descToVector(&flat);
    const FCube cube = descToCube(&deep);
    EXPECT_TRUE(matrix.rows() == 3 && matrix.cols() == 4 && vector.size() == 12);
    EXPECT_TRUE(cube.rows() == 2 && cube.cols() == 3 && cube.pages() == 4);
    EXPECT_TRUE(&matrix[2][3] == &data[11] && &vector[11] == &data[11] &&
                &cube[1][2][3] == &data[23]);
    EXPECT_EQ(matrix.storage().owners() + vector.owners() + cube.storage().owners(), 0);
}

TEST(DescriptorInTest, WhatIsNoArrayIsEmpty) {
    float data[4] = {};
    const ArrayDesc noMatrix[] = {{0, 2, 2, 2, data},   {0, 2, 2, 0, data},  {0, 2, 2, -1, data},
                                  {0, -2, 2, 1, data},  {0, 2, -2, 1, data}, {0, -2, -2, 1, data},
                                  {0, 2, 2, 1, nullptr}};
    for (const ArrayDesc& desc : noMatrix) {
        EXPECT_TRUE(sameBits(descToMatrix(&desc), FMatrix()));
        EXPECT_EQ(descToVector(&desc).size(), 0);
        const bool isCube = desc.pages == 2 || desc.pages == 0;
        EXPECT_EQ(descToCube(&desc).cols(), isCube ? 2 : 0);
    }
    EXPECT_EQ(descToMatrix(nullptr).rows() + descToVector(nullptr).size(), 0);
    EXPECT_EQ(descToCube(nullptr).size(), 0);
    const ArrayDesc noColumns = {0, 0, 5, 1, nullptr}, tooLarge = {0, 65536, 65536, 1, data};
    EXPECT_EQ(descToMatrix(&noColumns).rows(), 5);
    EXPECT_THROW(descToMatrix(&tooLarge), int);
    EXPECT_THROW(descToCube(&tooLarge), int);
}

TEST(DescriptorOutTest, HandsOutTheBlockThatSomebodyKeeps) {
    const FCube cube(2, 3, 4, 1.0f);
    const FVector vector = cube.storage();
    const FMatrix matrix(2, 12, vector.data()), owner = matrix.clone();
    HandedOut outs[5];
    matrixToDesc(matrix, &outs[0]);
    vectorToDesc(vector, &outs[1]);
    cubeToDesc(cube, &outs[2]);
    matrixToDesc(matrix.view(1, 1, 0, 11), &outs[3]);
    matrixToDesc(owner, &outs[4]);
    const int expected[][4] = {{2, 12, 1, 0}, {24, 1, 1, 0}, {2, 3, 4, 0}, {1, 12, 1, 12}};
    for (int i = 0; i < 4; ++i) {
        const auto [rows, cols, pages, offset] = expected[i];
        EXPECT_TRUE(outs[i].rows == rows && outs[i].cols == cols && outs[i].pages == pages) << i;
        EXPECT_EQ(outs[i].data, vector.data() + offset);
    }
    EXPECT_EQ(vector.owners(), 2);
    EXPECT_EQ(owner.storage().owners(), 1);
}

TEST(DescriptorOutTest, CopiesElementsAndNoExtents) {
    const FMatrix matrix = generate(2, 12, [](int i, int j) { return 3.0f * i - j; });
    IVector integers(24);
    std::copy(matrix[0], matrix[0] + 24, integers.begin());
    CopiedOut outs[] = {{2, 12}, {2, 12}, {2, 12}, {2, 12}, {2, 12}, {2, 12}};
    matrixToDesc(matrix, &outs[0]);
    matrixToDesc(viewOf(matrix), &outs[1]);
    vectorToDesc(matrix.storage(), &outs[2]);
    cubeToDesc({2, 3, 4, matrix[0]}, &outs[3]);
    // Integers are converted, so they are copied whatever the kind.
    outs[5].kind = VELDANE_KIND_LIBRARY;
    for (const int i : {4, 5}) intVectorToDesc(integers, &outs[i]);
    for (const CopiedOut& out : outs) {
        EXPECT_TRUE(sameBits(out.elements, matrix));
        EXPECT_FALSE(out.extentsWritten());
    }
}

TEST(DescriptorOutTest, LastEightComputedArraysStayValid) {
    const auto computed = [](unsigned seed) { return randomMatrix(3, 40, seed); };
    for (int round = 0; round < 3; ++round) {
        HandedOut outs[8];
        {
            const FMatrix local = computed(0);
            matrixToDesc(local.view(1, 2, 0, 39), &outs[0]);
        }
        matrixToDesc(viewOf(computed(1)), &outs[1]);
        vectorToDesc(FVector(120, 0.25f), &outs[2]);
        cubeToDesc(FCube(3, 5, 8, 0.75f), &outs[3]);
        for (unsigned i = 4; i < 8; ++i) matrixToDesc(computed(i), &outs[i]);
        EXPECT_TRUE(sameBits(outs[0].copy(), computed(0).view(1, 2, 0, 39)));
        EXPECT_EQ(outs[2].data[119], 0.25f);
        EXPECT_EQ(outs[3].data[119], 0.75f);
        for (unsigned i : {1, 4, 5, 6, 7}) EXPECT_TRUE(sameBits(outs[i].copy(), computed(i)));
    }
}

TEST(DescriptorOutTest, SkipsNullsAndEmptyArrays) {
    ArrayDesc nowhere = {0, untouched, untouched, untouched, nullptr};
    for (ArrayDesc* desc : {static_cast<ArrayDesc*>(nullptr), &nowhere}) {
        matrixToDesc(FMatrix(2, 2, 1.0f), desc);
        vectorToDesc(FVector(2, 1.0f), desc);
        cubeToDesc(FCube(2, 2, 2, 1.0f), desc);
        intVectorToDesc(IVector(2, 1), desc);
    }
    CopiedOut kept(1, 1);
    matrixToDesc(FMatrix(3, 0), &kept);
    EXPECT_EQ(kept.elements[0][0], untouched);
    HandedOut empty;
    matrixToDesc(FMatrix(), &empty);
    EXPECT_TRUE(empty.rows == 0 && empty.cols == 0 && empty.pages == 1 && !empty.data);
}

}  // namespace veldane::test
