#include <numeric>
#include <thread>
#include <vector>

#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

FMatrix segments(int method, int size, int count, int objects) {
    HandedOut out;
    createsegment(method, size, count, objects, &out);
    return out.copy();
}

/// The generator and the shuffle written out.
std::vector<int> shuffled(int objects, uint32_t& state) {
    std::vector<int> p(static_cast<size_t>(objects));
    std::iota(p.begin(), p.end(), 1);
    for (int i = 0; i <= objects - 2; ++i) {
        state = state * 214013 + 2531011;
        std::swap(p[i], p[static_cast<int>(state >> 16 & 0x7FFF) % (objects - i) + i]);
    }
    return p;
}

/// Rows are counted in steps from the number that was asked for.
FMatrix laidOut(const std::vector<int>& p, int size, int count, bool byColumns) {
    const int objects = static_cast<int>(p.size());
    while ((count + 1) * size <= objects) ++count;
    const int left = objects - count * size;
    const FMatrix rows(count + (left > 0 ? 1 : 0), size, 0.0f);
    auto next = p.begin();
    for (int k = 0; k < rows.size(); ++k) {
        const int i = byColumns ? k % rows.rows() : k / size;
        const int j = byColumns ? k / rows.rows() : k % size;
        if (i < count || j < left) rows[i][j] = static_cast<float>(*next++);
    }
    return rows;
}

}  // namespace

TEST(SegmentsTest, AreLaidOutByRowsOrColumns) {
    EXPECT_TRUE(sameBits(segments(1, -1, 9, 3), matrixOf({{1, 2, 3}})));
    EXPECT_TRUE(
        sameBits(segments(4, 3, 2, 10), matrixOf({{1, 5, 8}, {2, 6, 9}, {3, 7, 10}, {4, 0, 0}})));
    std::vector<int> all;
    for (int objects = 1; objects < 38; ++objects) {
        all.push_back(objects);
        for (int size = 1; size <= objects; ++size) {
            for (const int count : {-3, 0, 1, objects / size})
                for (const int method : {3, 4})
                    EXPECT_TRUE(sameBits(segments(method, size, count, objects),
                                         laidOut(all, size, count, method == 4)));
        }
    }
}

TEST(SegmentsTest, AreEmptyWhereTheyDoNotFit) {
    const int cases[][4] = {{2, 4, 1, 3},  {4, 2, 2, 3},  {3, 0, 1, 5},
                            {4, -2, 1, 5}, {2, 1, 0, -5}, {3, 1, 1, 0},
                            {0, 1, 1, 3},  {5, 1, 1, 3},  {3, 65536, 65536, 70000}};
    for (const auto& [method, size, count, objects] : cases) {
        EXPECT_TRUE(sameBits(segments(method, size, count, objects), FMatrix())) << size;
    }
}

TEST(SegmentsTest, RandomOnesFollowTheGeneratorOfTheThread) {
    segments(2, 2, 1, 50);  // advances this thread, not the one below
    std::thread([] {
        uint32_t state = 1;
        EXPECT_TRUE(sameBits(segments(2, 4, 1, 23), laidOut(shuffled(23, state), 4, 1, false)));
        EXPECT_TRUE(
            sameBits(segments(2, 9, 1, 40000), laidOut(shuffled(40000, state), 9, 1, false)));
        // Calls that come to nothing draw as well.
        EXPECT_EQ(segments(2, 10, 1, 9).size() + segments(2, 0, 1, 8).size(), 0);
        shuffled(9, state);
        shuffled(8, state);
        EXPECT_TRUE(sameBits(segments(2, 5, 1, 20), laidOut(shuffled(20, state), 5, 1, false)));
    }).join();
}

}  // namespace veldane::test
