#include <cmath>

#include "linalg/kernels.h"
#include "preprocess/derivative_filter.h"
#include "preprocess/window_polynomial.h"
#include "support/compare.h"
#include "support/data.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

constexpr float inf = infinity;

const struct {
    std::function<int(ArrayDesc*)> run;
    std::initializer_list<float> row, expected;
} cases[] = {
    {[](auto x) { return derivnorrisgap(x, 1, 1); }, {1, 2, 3, 4, 5}, {0, 1, 1, 1, 0}},
    {[](auto x) { return derivnorrisgap(x, 2, 0); }, {1, 4, 9, 16, 25}, {0, 2, 2, 2, 0}},
    {[](auto x) { return derivnorrisgap(x, 1, 1); }, {1, 2, nan, 4, 5}, {0, nan, nan, nan, 0}},
    // Of an even kernel the filter's value stays before the zeros at the end.
    {[](auto x) { return derivnorrisgapsegment(x, 1, 0, 1); }, {1, 4, 9}, {3, 5, 5}},
    {[](auto x) { return derivnorrisgapsegment(x, 1, 0, 2); }, {1, 2, 4, 7, 11}, {0, 2, 3, 2, 0}},
    {[](auto x) { return derivsgolaynew(x, 0, 1, 1, 0); }, {3, 6, 9, 12}, {3, 6, 9, 12}},
    // The right side of an unequal window wraps around; what leaves the row is left out.
    {[](auto x) { return derivsgolaynew(x, 0, 2, 1, 1); },
     {0, 0, 0, 0, 1, 0, 0, 0},
     {0, 0, 0.4f, 0, 0.3f, 0.2f, 0.1f, 0}},
    {[](auto x) { return derivsgolaynew(x, 0, 1, 3, 0); },
     {0, 0, 1, 0, 0, 0},
     {0, 0.2f, 0.4f, 0, 0, 0}},
    {[](auto x) { return derivsgolaynew(x, 0, 3, 1, 0); },
     {0, 0, 0, 0, 0, 1},
     {0, 0, 0.2f, 0, 0, 1}},
    {[](auto x) { return movingavg(x, 3); }, {1, nan, 3}, {1, 2, 3}},
    {[](auto x) { return movingavg(x, 3); }, {nan, nan, nan, 4, inf}, {nan, nan, 4, inf, inf}},
    {[](auto x) { return movingavg(x, 99); }, {1, 2, 6, -9}, {0, 0, 0, 0}},
    // In double the ones would count.
    {[](auto x) { return movingavg(x, 99); }, {1e8f, 1, 1, -1e8f, 5}, {1, 1, 1, 1, 1}},
    {[](auto x) { return medianfilter(x, 3); }, {5, 1, 3}, {3, 3, 2}},
    {[](auto x) { return medianfilter(x, 4); }, {5, 1, 3, 9}, {3, 3, 3, 6}},
    {[](auto x) { return medianfilter(x, 1); }, {5, 1, nan}, {5, 1, nan}},
    {[](auto x) { return gaussianfilter(x, 1); }, {1, nan}, {nan, 0}},
    {[](auto x) { return detrend(x, 1); }, {1, 3, 2, 4}, {-0.3f, 0.9f, -0.9f, 0.3f}},
    {[](auto x) { return detrend(x, 1); }, {1, nan, 3}, {nan, nan, nan}},
};

/// The median as the insertion sort of its window leaves it.
float insertionMedian(std::vector<float> window) {
    for (size_t i = 1; i < window.size(); ++i) {
        for (size_t k = i; k > 0 && window[k - 1] > window[k]; --k)
            std::swap(window[k - 1], window[k]);
    }
    const size_t m = window.size() / 2;
    if (window.size() % 2 == 1) return window[m];
    return static_cast<float>((double{window[m - 1]} + window[m]) / 2);
}

/// Derivative `order` of j^degree, the columns counted from the middle.
FMatrix derivative(int cols, int degree, int order) {
    const double factor = std::tgamma(degree + 1) / std::tgamma(degree - order + 1);
    return generate(1, cols, [=](int, int j) {
        return static_cast<float>(factor * std::pow(j - cols / 2, degree - order));
    });
}

}  // namespace

TEST(FilterTest, WorkedExamples) {
    for (const auto& [run, row, expected] : cases) {
        InDesc data(matrixOf({row}));
        EXPECT_EQ(run(&data), 0);
        EXPECT_TRUE(isClose(data.elements, matrixOf({expected}), 2e-6)) << &row - &cases[0].row;
    }
}

TEST(FilterTest, GapDerivativesOfPowersAreExact) {
    constexpr int cols = 31;
    for (const auto& [order, gap, segment] : {std::tuple{1, 1, 0},
                                              {1, 5, 0},
                                              {2, 0, 0},
                                              {2, 3, 0},
                                              {3, 1, 0},
                                              {4, 2, 0},
                                              {5, 3, 0},
                                              {1, 0, 3},
                                              {2, 1, 2},
                                              {3, 2, 1},
                                              {4, 1, 3},
                                              {5, 1, 1},
                                              {5, 0, 2},
                                              {4, 30, 1}}) {
        const FMatrix x = derivative(cols, order, 0), whole = derivative(cols, order, order);
        const FMatrix y = segment == 0 ? apply(derivnorrisgap, x, order, gap).table
                                       : apply(derivnorrisgapsegment, x, order, gap, segment).table;
        const int width = std::max(segment, 1), half = (order * (gap + width) + width - 1) / 2;
        for (int j = 0; j < cols; ++j) {
            const bool inner = j >= half && j < cols - half;
            EXPECT_TRUE(y[0][j] == (inner ? whole[0][j] : 0.0f)) << order << gap << segment << j;
        }
    }
    // 270^4 is beyond an int.
    const FMatrix y = apply(derivnorrisgap, derivative(1101, 4, 0), 4, 269).table;
    EXPECT_NEAR(y[0][550], 24.0, 1e-4);
}

TEST(FilterTest, CausalFilterKeepsItsOwnRulesInTheCallersMatrix) {
    const struct {
        int head, divisor, length, mode;
        FMatrix expected;
    } rules[] = {{0, 1, 2, 1, matrixOf({{4, 7, 5.5f, 17}})},
                 {0, 2, 2, 0, matrixOf({{1, 3.5f, 2.75f, 8.5f}})},
                 {1, 1, 1, 0, matrixOf({{2, 7, 4, 16}})},
                 {-5, 1, 99, 0, matrixOf({{2, 7, 5.5f, 17}})},
                 {-5, 1, -5, 0, matrixOf({{2, 0, 0, 0}})},
                 {0, 0, 2, 1, matrixOf({{4, inf, inf, inf}})}};
    for (const auto& [head, divisor, length, mode, expected] : rules) {
        const FMatrix x = matrixOf({{2, 3, 2, 8}}), h = matrixOf({{2, 0.5f}});
        derivativeFilter(x, h.storage(), head, divisor, length, mode);
        EXPECT_TRUE(sameBits(x, expected));
    }
}

TEST(FilterTest, SavitzkyGolayDifferentiatesPolynomialsAndMarksItsEdges) {
    constexpr int cols = 41;
    for (const auto& [left, right] : {std::pair{3, 3}, {7, 7}, {4, 2}, {0, 6}, {9, -2}}) {
        for (int degree = 0; degree <= (right < 0 ? 3 : 5); ++degree) {
            for (int order = 0; order <= degree; ++order) {
                const FMatrix x = derivative(cols, degree, 0);
                const FMatrix y = apply(derivsgolay, x, order, left, right, degree).table;
                FMatrix expected = derivative(cols, degree, order);
                if (order == 5) expected = matDivideScalar(expected, 120);
                for (int j = 0; j < cols && order > 0; ++j) {
                    if (j >= left && j < cols - right) continue;
                    EXPECT_TRUE(y[0][j] == 0.0f && std::signbit(y[0][j]));
                    expected[0][j] = -0.0f;
                }
                EXPECT_TRUE(isClose(y, expected, 1e-5)) << left << right << degree << order;
            }
        }
    }
}

TEST(FilterTest, BadSavitzkyGolayWindowsAreTold) {
    const FMatrix x = randomMatrix(2, 9, 6);
    for (const auto& [left, right, degree] : {std::tuple{-1, 3, 1}, {3, -1, 1}, {1, 1, 3}}) {
        testing::internal::CaptureStdout();
        const Applied result = apply(derivsgolaynew, x, 0, left, right, degree);
        std::fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n Bad args in savgol.\n");
        EXPECT_TRUE(result.code == 0 && sameBits(result.table, x));
    }
    Recorder recorder;
    const FMatrix empty = apply(derivsgolay, x, 1, -3, 1, 1).table;
    EXPECT_EQ(recorder.count("Division by zero detected"), 2);
    EXPECT_TRUE(empty[1][0] == 0.0f && !std::signbit(empty[1][0]) && std::signbit(empty[1][8]));
    EXPECT_TRUE(isMissing(apply(derivsgolay, x, 1, 2, 2, 64).table[0][4]));
}

TEST(FilterTest, TheTwoEliminationsDifferAboutZeros) {
    double elements[] = {1, 1, 1, 1}, sides[] = {0, 1};
    const Matrix<double> singular(2, 2, elements), zero(1, 1, 0.0);
    const Vector<double> b(2, sides), one(1, 1.0);
    const double smallest = std::numeric_limits<float>::min();
    Recorder recorder;
    EXPECT_EQ(solveByLu(singular, b, ZeroRule::report)[1], 1 / smallest);
    EXPECT_EQ(solveByLu(singular, b, ZeroRule::stop)[1], 1 / 1e-12);
    EXPECT_EQ(solveByLu(zero, one, ZeroRule::stop)[0], inf);
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_EQ(solveByLu(zero, one, ZeroRule::report)[0], 1 / smallest);
    EXPECT_EQ(recorder.count("Division by zero detected"), 1);
}

TEST(FilterTest, MedianIsThatOfAnInsertionSort) {
    const FMatrix x = randomMatrix(12, 97, 8, {0.01, 0.05, 0.2});
    for (int i = 0; i < 6; ++i) {
        // Few values, zeros of both signs among them, and half of the rows without NaN.
        for (int j = 0; j < 97; ++j)
            x[i][j] = i % 2 == 0 && isMissing(x[i][j]) ? -0.0f : std::round(x[i][j] * 2);
    }
    for (const int width : {2, 3, 19, 31, 33, 60, 97, 99, 4001}) {
        const int half = (width - 1) / 2;
        const FMatrix expected = generate(12, 97, [&](int i, int j) {
            return insertionMedian(
                {x[i] + std::max(0, j - half), x[i] + std::min(97, j + half + 1)});
        });
        EXPECT_TRUE(sameBits(apply(medianfilter, x, width).table, expected)) << width;
    }
}

TEST(FilterTest, GaussianSumsWhatIsThereAndNeedsAFittingWidth) {
    const FMatrix x(1, 9, 1.0f);
    x[0][0] = x[0][5] = nan;
    const FMatrix y = apply(gaussianfilter, x, 3).table;
    const double side = std::exp(-1 / (2 * 0.465 * 0.465)), sum = 1 + 2 * side;
    const double present[] = {side, 1 + side, sum, sum, 1 + side, 2 * side, 1 + side, sum, sum};
    for (int j = 0; j < 9; ++j) EXPECT_NEAR(y[0][j], present[j] / sum, 1e-6) << j;
    for (const int width : {-2147483647, -1, 0, 4, 11}) {
        InDesc data(x);
        EXPECT_TRUE(gaussianfilter(&data, width) == 0 && sameBits(data.elements, x));
        data.kind = VELDANE_KIND_LIBRARY;
        EXPECT_EQ(gaussianfilter(&data, width), 0);
        EXPECT_TRUE(data.rows == 0 && data.cols == 0 && data.data == nullptr) << width;
    }
}

TEST(FilterTest, DetrendingTakesOffPolynomials) {
    // Formed in float, the normal equations cost digits with each degree.
    const double tolerances[] = {1e-5, 1e-3, 2e-2, 0.3};
    for (int degree = 1; degree <= 4; ++degree) {
        const FMatrix noise = randomMatrix(1, 8, 4);
        const FMatrix trend = matScale(derivative(8, degree, 0), 3.0f / 256);
        const FMatrix rest = apply(detrend, noise, degree).table;
        const FMatrix both = apply(detrend, matAdd(noise, trend), degree).table;
        EXPECT_TRUE(isClose(both, rest, tolerances[degree - 1])) << degree;
    }
}

TEST(FilterTest, AgreesWithScipyInTheInteriorOfASpectrum) {
    const FMatrix x = gasolineSpectra().view(0, 0, 0, 400).clone();
    const FMatrix expected = readTable("tests/data/scipy_filters.csv");
    const Applied filtered[] = {apply(derivsgolay, x, 0, 7, 7, 2),
                                apply(derivsgolay, x, 1, 7, 7, 2),
                                apply(derivsgolay, x, 2, 10, 10, 3),
                                apply(derivsgolay, x, 3, 12, 12, 4),
                                apply(derivsgolaynew, x, 1, 7, 7, 2),
                                apply(movingavg, x, 9),
                                apply(medianfilter, x, 7),
                                apply(gaussianfilter, x, 15)};
    for (int f = 0; f < 8; ++f) {
        const FMatrix actual = generate(expected.rows(), 1, [&](int i, int) {
            return filtered[f].table[0][static_cast<int>(expected[i][0])];
        });
        EXPECT_TRUE(isClose(actual, matColumn(expected, f + 1), 1e-6)) << f;
    }
}

}  // namespace veldane::test
