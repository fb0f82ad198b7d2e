#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

constexpr float inf = infinity, tiny = 1e-39f;

int normalizeSecond(ArrayDesc* data) {
    return normalizepeak(data, 1);
}
int lineFromFirstToThird(ArrayDesc* data) {
    return linearbaselinecorrection(data, 1, 3);
}
int lineThroughSecond(ArrayDesc* data) {
    return linearbaselinecorrection(data, 2, 2);
}

const struct {
    int (*run)(ArrayDesc*);
    std::initializer_list<float> row, expected;
} cases[] = {
    {normalizemean, {-2, nan, -6}, {-0.5f, nan, -1.5f}},
    {normalizemean, {1, -1, 0}, {inf, -inf, nan}},
    {normalizemean, {nan, nan}, {nan, nan}},
    // In double, or in another order, the ones would count.
    {normalizemean, {1e8f, 1, 1, -1e8f, 4}, {1.25e8f, 1.25f, 1.25f, -1.25e8f, 5}},
    {normalizearea, {1e8f, 1, 1, -1e8f, 4}, {0.25e8f, 0.25f, 0.25f, -0.25e8f, 1}},
    {normalizearea, {1, -1, nan}, {0, 0, nan}},
    {normalizearea, {nan, -1, -3}, {nan, 0.25f, 0.75f}},
    {normalizemax, {0, 0, nan}, {0, 0, nan}},
    {normalizemax, {1, -4, nan, 2}, {0.25f, -1, nan, 0.5f}},
    {normalizemax, {nan, -4, 2}, {nan, nan, nan}},
    {normalizerange, {2, 4}, {1, 2}},
    {normalizerange, {5, nan, 5}, {0, nan, 0}},
    {normalizerange, {nan, 2, 4, nan}, {nan, 1, 2, nan}},
    {normalizerange, {inf, 1, nan}, {nan, 0, nan}},
    // The range is no float, and rounded to one it would give 1.
    {normalizerange, {-1, 16777216}, {-1 / 16777217.0, 16777216 / 16777217.0}},
    {normalizeSecond, {2, 4, nan}, {0.5f, 1, nan}},
    {normalizeSecond, {2, 0, nan}, {0, 0, nan}},
    {normalizeSecond, {2, nan, 1}, {nan, nan, nan}},
    {normalizeunit, {3, nan, -4}, {0.6f, nan, -0.8f}},
    {normalizeunit, {0, nan, 0}, {0, nan, 0}},
    {normalizeunit, {tiny, nan, 0}, {tiny / 1.1920929e-07f, nan, 0}},
    {normalizeunit, {3e38f, 4e37f, 0}, {0.99122790f, 0.13216372f, 0}},
    {snv, {1, 2, nan, 3}, {-1, 0, nan, 1}},
    {snv, {nan, 5, 5}, {nan, nan, nan}},
    {snv, {nan, 5, nan}, {nan, nan, nan}},
    {baselineoffset, {3, 1, nan, 2}, {2, 0, nan, 1}},
    {baselineoffset, {nan, 3, 5}, {nan, 0, 2}},
    {baselineoffset, {nan, -inf, 5}, {nan, nan, inf}},
    {baselineoffset, {-0.0f, 0, 7}, {0, 0, 7}},
    {baselineoffset, {0, -0.0f, 7}, {0, -0.0f, 7}},
    {lineFromFirstToThird, {1, 2, 3, 5}, {0, 0, 0, 1}},
    {lineFromFirstToThird, {1, nan, 2, 5}, {0, nan, 0, 2.5f}},
    {lineFromFirstToThird, {nan, 2, 3, 5}, {0, nan, 0, nan}},
    {lineThroughSecond, {1, 2, 3}, {nan, 0, nan}},
    {spectraabstoref, {0, 36, -36, -35, 1, nan, -1e-36f}, {1, 0, nan, 1e35f, 0.1f, nan, 1}},
    {spectrareftoabs, {0, 1e-37f, -1, 0.1f, 1, nan, inf}, {nan, nan, nan, 1, -0.0f, nan, -inf}},
    {spectrareftokm, {1, 0, 0.5f, -1, nan, inf}, {0, nan, 0.25f, -2, nan, nan}},
};

}  // namespace

TEST(NormalisationTest, WorkedExamplesAndMissingValues) {
    for (const auto& [run, row, expected] : cases) {
        const Applied result = apply(run, matrixOf({row}));
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(sameBits(result.table, matrixOf({expected}))) << &row - &cases[0].row;
    }
}

TEST(NormalisationTest, UnitsOfSpectraGoThereAndBack) {
    const FMatrix x = gasolineSpectra();
    EXPECT_TRUE(isClose(apply(spectrareftoabs, apply(spectraabstoref, x).table).table, x, 1e-6));
}

}  // namespace veldane::test
