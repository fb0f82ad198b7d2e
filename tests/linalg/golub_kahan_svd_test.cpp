#include "linalg/golub_kahan_svd.h"

#include <signal.h>
#include <sys/time.h>

#include <cmath>
#include <functional>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/halt_event.h"
#include "linalg/hypot.h"
#include "linalg/kernels.h"
#include "support/compare.h"
#include "support/recorder.h"

namespace veldane {
namespace {

using namespace test;

/// The decomposition in its plain form: column by column, each rotation at once.
struct PlainSvd {
    explicit PlainSvd(const FMatrix& a) : U(a.rows() < a.cols() ? transposed(a) : a.clone()) {
        reduce();
        for (int p = n, steps = 0; p > 0 && steps <= 1000;) step(p, steps);
    }

    /// Scales the x to unit length, adds 1 to the first, gives minus their length.
    static float makeReflector(float* x, int end, int stride) {
        float norm = 0.0f;
        for (int i = 0; i < end; i += stride) norm = float(scaledHypot(norm, x[i]));
        if (*x < 0.0f) norm = -norm;
        for (int i = 0; i < end && norm != 0.0f; i += stride) x[i] /= norm;
        if (norm != 0.0f) *x += 1.0f;
        return -norm;
    }

    void reflect(const FMatrix& x, int top, int k) const {
        for (int j = k + 1; j < n; ++j) {
            float t = 0.0f;
            for (int i = top; i < x.rows(); ++i) t += x[i][k] * x[i][j];
            t = -t / x[top][k];
            for (int i = top; i < x.rows(); ++i) x[i][j] += t * x[i][k];
        }
    }

    void reduce() {
        for (int k = 0; k < std::min(m - 1, n); ++k) {
            s[k] = makeReflector(&U[k][k], (m - k) * n, n);
            if (s[k] != 0.0f) reflect(U, k, k);
            std::copy(U[k] + k + 1, U[k] + n, e.begin() + k + 1);
            if (k >= n - 2) continue;
            e[k] = makeReflector(&e[k + 1], n - k - 1, 1);
            for (int j = k + 1; j < n; ++j) V[j][k] = e[j];
            for (int i = k + 1; i < m && e[k] != 0.0f; ++i) {
                const float work = std::inner_product(&e[k + 1], e.end(), U[i] + k + 1, 0.0f);
                for (int j = k + 1; j < n; ++j) U[i][j] += -e[j] / e[k + 1] * work;
            }
        }
        if (m == n) s[n - 1] = U[n - 1][n - 1];
        if (n > 1) e[n - 2] = U[n - 2][n - 1];
        e[n - 1] = 0.0f;
        for (int k = n - 1; k >= 0; --k) {
            const bool reflects = k < m - 1 && s[k] != 0.0f;
            if (reflects) reflect(U, k, k);
            for (int i = 0; i < m; ++i) U[i][k] = reflects && i >= k ? -U[i][k] : 0.0f;
            U[k][k] += 1.0f;
            if (k < n - 2 && e[k] != 0.0f) reflect(V, k + 1, k);
            for (int i = 0; i < n; ++i) V[i][k] = i == k ? 1.0f : 0.0f;
        }
    }

    static double guarded(double x) { return x == 0.0 ? 1.1920928955078125e-07 : x; }

    /// Rotates columns a and b of x as (f, g) is rotated to (t, 0), and gives t.
    double rotate(const FMatrix& x, int a, int b, double f, double g) {
        const double t = guarded(scaledHypot(f, g));
        cs = f / t;
        sn = g / t;
        for (int i = 0; i < x.rows(); ++i) {
            const double first = cs * x[i][a] + sn * x[i][b];
            x[i][b] = float(cs * x[i][b] - sn * x[i][a]);
            x[i][a] = float(first);
        }
        return t;
    }

    static bool drop(float& x, float neighbour, float other) {
        const double size = std::fabs(double{neighbour}) + std::fabs(double{other});
        return std::fabs(x) <= std::pow(2.0, -52.0) * size && (x = 0.0f, true);
    }

    void step(int& p, int& steps) {
        int k = p - 2, ks = p - 1;
        while (k >= 0 && !drop(e[k], s[k], s[k + 1])) --k;
        if (k == p - 2) return converge(p, steps);
        while (ks > k && !drop(s[ks], e[ks], ks != k + 1 ? e[ks - 1] : 0.0f)) --ks;
        if (ks == k) return qrStep(k + 1, p, steps);
        const bool last = ks == p - 1;
        double f = std::exchange(e[last ? p - 2 : ks], 0.0f);
        steps += f == 0.0;
        for (int j = last ? p - 2 : ks + 1; j > k && j < p; j += last ? -1 : 1) {
            s[j] = float(rotate(last ? V : U, j, last ? p - 1 : ks, s[j], f));
            if (last && j == k + 1) break;
            float& next = e[last ? j - 1 : j];
            f = -sn * next;
            next = float(cs * next);
        }
    }

    void qrStep(int k, int p, int& steps) {
        ++steps;
        float largest = 0.0f;
        for (float x : {s[p - 1], s[p - 2], e[p - 2], s[k], e[k]})
            largest = std::max(largest, std::fabs(x));
        const double scale = guarded(largest);
        const double sp = s[p - 1] / scale, spm1 = s[p - 2] / scale, epm1 = e[p - 2] / scale;
        const double sk = s[k] / scale, ek = e[k] / scale, c = (sp * epm1) * (sp * epm1);
        const double b = ((spm1 + sp) * (spm1 - sp) + epm1 * epm1) / 2.0;
        const double root = std::sqrt(b * b + c);
        const double shift = b != 0.0 || c != 0.0 ? c / (b + (b < 0.0 ? -root : root)) : 0.0;
        double f = (sk + sp) * (sk - sp) + shift, g = sk * ek;
        const auto chase = [&](float first, float& second, float& next) {
            f = cs * first + sn * second;
            second = float(cs * second - sn * first);
            g = sn * next;
            next = float(cs * next);
        };
        for (int j = k; j < p - 1; ++j) {
            const double t = rotate(V, j, j + 1, f, g);
            if (j != k) e[j - 1] = float(t);
            chase(s[j], e[j], s[j + 1]);
            s[j] = float(rotate(U, j, j + 1, f, g));
            chase(e[j], s[j + 1], e[j + 1]);
        }
        e[p - 2] = float(f);
    }

    void converge(int& p, int& steps) {
        steps = 0;
        int k = --p;
        for (int i = 0; i < n && s[k] <= 0.0f; ++i) V[i][k] = -V[i][k];
        if (s[k] <= 0.0f) s[k] = s[k] < 0.0f ? -s[k] : 0.0f;
        for (; k < n - 1 && s[k] < s[k + 1]; ++k) {
            std::swap(s[k], s[k + 1]);
            for (int i = 0; i < n; ++i) std::swap(V[i][k], V[i][k + 1]);
            for (int i = 0; i < m; ++i) std::swap(U[i][k], U[i][k + 1]);
        }
    }

    FMatrix U, V{U.cols(), U.cols(), 0.0f};
    const int m = U.rows(), n = U.cols();
    FVector s{n, 0.0f}, e{n, 0.0f};
    double cs = 1.0, sn = 0.0;
};

/// Random ones, and zeros, one element, rank one, graded, repeated and tiny singular values.
std::vector<FMatrix> finiteMatrices() {
    const FMatrix square = randomMatrix(17, 17, 2), tall = randomMatrix(64, 40, 5);
    const FMatrix wide = randomMatrix(40, 131, 6), row = randomMatrix(1, 5, 3);
    const FMatrix zeros(4, 3, 0.0f), ones(8, 8, 1.0f), one = matrixOf({{-2}});
    const FMatrix rankOne = matMultiply(randomMatrix(9, 1, 1), randomMatrix(1, 6, 2));
    const FMatrix graded =
        generate(12, 7, [&](int i, int j) { return square[i][j] * std::pow(1e-6f, float(j)); });
    const FMatrix repeated = matrixOf({{0, 0, -3}, {0, 1e-38f, 0}, {3, 0, 0}, {0, 0, 0}});
    const FMatrix zerosInside = matrixOf({{1, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 1, 1}, {0, 0, 0, 0}});
    const FMatrix view = viewOf(transposed(graded));
    return {square, tall,    wide,   row,  zeros,    ones,
            one,    rankOne, graded, view, repeated, zerosInside};
}

/// NaN, infinities, and finite elements whose products overflow. The first one leads to a zero
/// beside a NaN, which is never found to be negligible.
std::vector<FMatrix> boundlessMatrices() {
    std::vector<FMatrix> result = {matrixOf({{1, 3e38f}, {0, 0}}), FMatrix(2, 2, nan),
                                   matrixOf({{0, infinity}, {0, 0}}), FMatrix(3, 5, 3e38f)};
    for (unsigned seed = 0; seed < 40; ++seed)
        result.push_back(randomMatrix(6, 5, seed, {0.05 * (seed % 2), 0.05, 0.5}));
    return result;
}

TEST(GolubKahanSvd, HasTheBitsOfThePlainFormAndGivesTheMatrix) {
    for (const bool finite : {true, false}) {
        for (const FMatrix& a : finite ? finiteMatrices() : boundlessMatrices()) {
            const PlainSvd plain(a);
            CSVD svd;
            withEachInstructionSet([&] {
                EXPECT_EQ(svd.compute(a, false), 0);
                EXPECT_TRUE(sameBits(svd.s, plain.s));
                EXPECT_TRUE(sameBits(svd.U, plain.U) && sameBits(svd.V, plain.V));
            });
            if (!finite) continue;
            FMatrix U, S, V;
            svd.getU(U);
            svd.getS(S);
            svd.getV(V);
            EXPECT_TRUE(isClose(matMultiplyABt(matMultiply(U, S), V), a, 1e-5));
            EXPECT_TRUE(isClose(matXtX(U), identity(svd.n), 1e-5));
            EXPECT_TRUE(isClose(matXtX(V), identity(svd.n), 1e-5));
            EXPECT_TRUE(std::is_sorted(svd.s.begin(), svd.s.end(), std::greater<float>()));
            EXPECT_GE(svd.s[svd.n - 1], 0.0f);
        }
    }
}

// Golub and Reinsch (1970), the first example.
TEST(GolubKahanSvd, FindsPublishedSingularValues) {
    float a[] = {22, 10, 2, 3,  7, 14, 7, 10, 0, 8,  -1, 13, -1, -11, 3, -3, -2, 13, -2, 4,
                 9,  8,  1, -2, 4, 9,  1, -7, 5, -1, 2,  -6, 6,  5,   1, 4,  5,  0,  -2, 2};
    const float expected[] = {std::sqrt(1248.0f), 20, std::sqrt(384.0f), 0, 0};
    const CSVD svd(FMatrix(8, 5, a));
    for (int k = 0; k < 5; ++k) EXPECT_NEAR(svd.s[k], expected[k], 1e-5);
}

/// What a decomposition with report tells, a line a report with the progress first, and returns.
/// The action runs before it or within the report of that number.
std::string told(const FMatrix& a, size_t when = 0, void (*action)() = nullptr) {
    Recorder recorder;
    std::ostringstream text;
    recorder.onReport = [&](const auto& report) {
        text << report.progress << ' ' << report.message << '\n';
        if (recorder.reports.size() == when) action();
    };
    if (action && when == 0) action();
    text << CSVD().compute(a, true);
    return text.str();
}

TEST(GolubKahanSvd, TellsThatItIsAtWorkAndWhyItEnds) {
    const std::string one = "0 Computing SVD\n", wait = "0 Computation cancelled, please wait\n-1";
    const std::string cancelled = "-1 Computation was cancelled\n" + wait;
    const FMatrix a = randomMatrix(3, 3, 1);
    EXPECT_EQ(told(matrixOf({{2}})), "0");
    for (const FMatrix& x : {boundlessMatrices()[0], boundlessMatrices()[1]})
        EXPECT_EQ(told(x), one + "-1 Failed to converge in SVD\n0");
    const auto halt = [] { EXPECT_TRUE(requestHalt(0)); };
    EXPECT_EQ(told(a, 0, halt), "-1 Computation cancelled.\n" + wait);
    EXPECT_EQ(told(a, 1, halt), one + cancelled);
    EXPECT_EQ(told(a, 2, halt), one + one + cancelled);

    // Nothing is reported after the reduction. A timer of the process's own time goes off in the
    // iteration, which takes far longer on a matrix of NaN.
    signal(SIGVTALRM, [](int) { requestHalt(0); });
    const std::string text = told(FMatrix(300, 300, nan), 299, [] {
        const itimerval soon = {{0, 0}, {0, 1000}};
        setitimer(ITIMER_VIRTUAL, &soon, nullptr);
    });
    signal(SIGVTALRM, SIG_IGN);
    EXPECT_EQ(text.substr(299 * one.size()), cancelled);

    // Without report it is silent and clears a request all the same.
    const Recorder recorder;
    halt();
    EXPECT_EQ(CSVD().compute(FMatrix(4, 4, nan), false), 0);
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_EQ(told(a), one + one + "0");
}

TEST(PseudoInverse, TakesTwoToThe23ForTheReciprocalOfZero) {
    const FMatrix ofRankOne = matrixOf({{0, 0.25f}, {8388608, 0}});
    EXPECT_TRUE(isClose(matPseudoInverse(matrixOf({{0, 0}, {4, 0}})), ofRankOne, 0.0));
    EXPECT_EQ(matPseudoInverse(FMatrix(0, 3)).rows(), 0);
}

}  // namespace
}  // namespace veldane
