#include "support/compare.h"

#include <cmath>
#include <cstring>
#include <random>

#include "linalg/kernels.h"

namespace veldane::test {
namespace {

template <class Agree>
testing::AssertionResult compare(const FMatrix& actual, const FMatrix& expected, Agree agree) {
    testing::AssertionResult failure = testing::AssertionFailure();
    failure << actual.rows() << " x " << actual.cols() << " ";
    if (actual.rows() != expected.rows() || actual.cols() != expected.cols()) return failure;
    for (int i = 0; i < actual.size(); ++i) {
        const int row = i / actual.cols(), col = i % actual.cols();
        const float a = actual[row][col], e = expected[row][col];
        if (agree(a, e) || (isMissing(a) && isMissing(e))) continue;
        return failure << "at " << row << ", " << col << ": " << a << ", expected " << e;
    }
    return testing::AssertionSuccess();
}

}  // namespace

FMatrix matrixOf(std::initializer_list<std::initializer_list<float>> rows) {
    const int cols = static_cast<int>(rows.begin()->size());
    return generate(static_cast<int>(rows.size()), cols,
                    [&](int i, int j) { return rows.begin()[i].begin()[j]; });
}

FMatrix identity(int n) {
    return generate(n, n, [](int i, int j) { return i == j ? 1.0f : 0.0f; });
}

FMatrix transposed(const FMatrix& a) {
    return generate(a.cols(), a.rows(), [&](int i, int j) { return a[j][i]; });
}

FMatrix randomMatrix(int rows, int cols, unsigned seed, Mix mix) {
    std::mt19937 generator(seed);
    const auto uniform = [&] { return generator() / 4294967296.0; };
    return generate(rows, cols, [&](int, int) {
        const float x = static_cast<float>(2.0 * uniform() - 1.0);
        double kind = uniform();
        if (kind < mix.missing) return nan;
        if ((kind -= mix.missing) < mix.infinite) return std::copysign(infinity, x);
        return kind - mix.infinite < mix.negativeZero ? -0.0f : x;
    });
}

FMatrix withoutValues(const FMatrix& x, double share) {
    return matAdd(x, matScale(randomMatrix(x.rows(), x.cols(), 5, {share}), 0.0f));
}

FMatrix viewOf(const FMatrix& a) {
    if (a.size() == 0) return a;
    const FMatrix whole(a.rows() + 3, a.cols() + 5, nan);
    const FMatrix view = whole.view(1, a.rows(), 3, a.cols() + 2);
    for (int i = 0; i < a.rows(); ++i) std::copy_n(a[i], a.cols(), view[i]);
    return view;
}

testing::AssertionResult sameBits(const FMatrix& actual, const FMatrix& expected) {
    return compare(actual, expected,
                   [](float a, float e) { return std::memcmp(&a, &e, sizeof a) == 0; });
}

testing::AssertionResult sameBits(const FVector& actual, const FVector& expected) {
    return sameBits({actual.size(), 1, actual.data()}, {expected.size(), 1, expected.data()});
}

testing::AssertionResult isClose(const FMatrix& actual, const FMatrix& expected, double tolerance) {
    float largest = 0.0f;
    const FVector elements = expected.clone().storage();
    for (const float e : elements)
        largest = std::fmax(largest, std::isfinite(e) ? std::fabs(e) : 0);
    return compare(actual, expected, [=](double a, double e) {
        return a == e || std::fabs(a - e) <= tolerance * largest;
    });
}

testing::AssertionResult sameColumnsUpToSign(const FMatrix& actual, const FMatrix& expected,
                                             double tolerance) {
    if (actual.cols() != expected.cols()) return isClose(actual, expected, tolerance);
    for (int j = 0; j < actual.cols(); ++j) {
        const FMatrix a = matColumn(actual, j), e = matColumn(expected, j);
        if (isClose(a, matScale(e, -1.0f), tolerance)) continue;
        if (const auto result = isClose(a, e, tolerance); !result) return result;
    }
    return testing::AssertionSuccess();
}

}  // namespace veldane::test
