#include "linalg/golub_kahan_svd.h"

#include <signal.h>
#include <sys/time.h>

#include <cmath>
#include <functional>
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
    explicit PlainSvd(const FMatrix& a)
        : U(a.rows() < a.cols() ? transposed(a) : a.clone()),
          V(U.cols(), U.cols(), 0.0f),
          s(U.cols(), 0.0f),
          e(U.cols(), 0.0f),
          m(U.rows()),
          n(U.cols()) {
        reduce();
        accumulate();
        for (int p = n, steps = 0; p > 0 && steps <= 1000;) step(p, steps);
    }

    /// Scales x to unit length, adds 1 to its first element, gives minus its length.
    template <class Element>
    static float makeReflector(int begin, int end, Element x) {
        float norm = 0.0f;
        for (int i = begin; i < end; ++i) norm = float(scaledHypot(norm, x(i)));
        if (norm == 0.0f) return -norm;
        if (x(begin) < 0.0f) norm = -norm;
        for (int i = begin; i < end; ++i) x(i) /= norm;
        x(begin) += 1.0f;
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
            s[k] = makeReflector(k, m, [&](int i) -> float& { return U[i][k]; });
            if (s[k] != 0.0f) reflect(U, k, k);
            for (int j = k + 1; j < n; ++j) e[j] = U[k][j];
            if (k >= n - 2) continue;
            e[k] = makeReflector(k + 1, n, [&](int j) -> float& { return e[j]; });
            for (int j = k + 1; j < n; ++j) V[j][k] = e[j];
            for (int i = k + 1; i < m && e[k] != 0.0f; ++i) {
                float work = 0.0f;
                for (int j = k + 1; j < n; ++j) work += e[j] * U[i][j];
                for (int j = k + 1; j < n; ++j) U[i][j] += -e[j] / e[k + 1] * work;
            }
        }
        if (m == n) s[n - 1] = U[n - 1][n - 1];
        if (n > 1) e[n - 2] = U[n - 2][n - 1];
        e[n - 1] = 0.0f;
    }

    void accumulate() {
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
            x[i][b] = float(-sn * x[i][a] + cs * x[i][b]);
            x[i][a] = float(first);
        }
        return t;
    }

    static bool drop(float& x, double neighbours) {
        if (!(std::fabs(x) <= std::pow(2.0, -52.0) * neighbours)) return false;
        x = 0.0f;
        return true;
    }

    void step(int& p, int& steps) {
        const auto size = [](double x) { return std::fabs(x); };
        int k = p - 2;
        while (k >= 0 && !drop(e[k], size(s[k]) + size(s[k + 1]))) --k;
        if (k == p - 2) return converge(p, steps);
        int ks = p - 1;
        while (ks > k && !drop(s[ks], size(e[ks]) + (ks != k + 1 ? size(e[ks - 1]) : 0.0))) --ks;
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
        for (int j = k; j < p - 1; ++j) {
            const double t = rotate(V, j, j + 1, f, g);
            if (j != k) e[j - 1] = float(t);
            f = cs * s[j] + sn * e[j];
            e[j] = float(cs * e[j] - sn * s[j]);
            g = sn * s[j + 1];
            s[j + 1] = float(cs * s[j + 1]);
            s[j] = float(rotate(U, j, j + 1, f, g));
            f = cs * e[j] + sn * s[j + 1];
            s[j + 1] = float(-sn * e[j] + cs * s[j + 1]);
            g = sn * e[j + 1];
            e[j + 1] = float(cs * e[j + 1]);
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

    FMatrix U, V;
    FVector s, e;
    int m, n;
    double cs = 1.0, sn = 0.0;
};

std::vector<FMatrix> randomMatrices() {
    return {randomMatrix(2, 2, 1), randomMatrix(17, 17, 2), randomMatrix(1, 5, 3),
            randomMatrix(5, 1, 4), randomMatrix(64, 40, 5), randomMatrix(40, 131, 6)};
}

/// Zeros, one element, rank one, graded, repeated and tiny singular values.
std::vector<FMatrix> hardMatrices() {
    const FMatrix rankOne = matMultiply(randomMatrix(9, 1, 1), randomMatrix(1, 6, 2));
    const FMatrix noise = randomMatrix(12, 7, 3);
    const FMatrix graded =
        generate(12, 7, [&](int i, int j) { return noise[i][j] * std::pow(1e-6f, float(j)); });
    const FMatrix repeated = matrixOf({{0, 0, -3}, {0, 1e-38f, 0}, {3, 0, 0}, {0, 0, 0}});
    const FMatrix zerosInside = matrixOf({{1, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 1, 1}, {0, 0, 0, 0}});
    const FMatrix zeros(4, 3, 0.0f), ones(8, 8, 1.0f), one = matrixOf({{-2}});
    return {zeros, ones, one, rankOne, graded, viewOf(transposed(graded)), repeated, zerosInside};
}

/// NaN, infinities, and finite elements whose products overflow. The first one leads to a zero
/// beside a NaN, which is never found to be negligible.
std::vector<FMatrix> boundlessMatrices() {
    std::vector<FMatrix> result = {matrixOf({{1, 3e38f}, {0, 0}}), FMatrix(2, 2, nan),
                                   matrixOf({{0, infinity}, {0, 0}}), FMatrix(3, 5, 3e38f)};
    for (unsigned seed = 0; seed < 40; ++seed) {
        result.push_back(randomMatrix(6, 5, seed, {0.05 * (seed % 2), 0.05, 0.5}));
    }
    return result;
}

TEST(GolubKahanSvd, HasTheBitsOfThePlainForm) {
    for (const auto& matrices : {randomMatrices(), hardMatrices(), boundlessMatrices()}) {
        for (const FMatrix& a : matrices) {
            const PlainSvd expected(a);
            withEachInstructionSet([&] {
                const CSVD svd(a);
                EXPECT_TRUE(sameBits(svd.s, expected.s));
                EXPECT_TRUE(sameBits(svd.U, expected.U));
                EXPECT_TRUE(sameBits(svd.V, expected.V));
            });
        }
    }
}

TEST(GolubKahanSvd, FactorsAreOrthonormalAndGiveTheMatrix) {
    for (const auto& matrices : {randomMatrices(), hardMatrices()}) {
        for (const FMatrix& a : matrices) {
            const CSVD svd(a);
            FMatrix U, S, V;
            svd.getU(U);
            svd.getS(S);
            svd.getV(V);
            EXPECT_TRUE(isClose(matMultiply(matMultiply(U, S), transposed(V)), a, 1e-5));
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
    const CSVD svd(FMatrix(8, 5, a));
    const float expected[] = {std::sqrt(1248.0f), 20, std::sqrt(384.0f), 0, 0};
    for (int k = 0; k < 5; ++k) EXPECT_NEAR(svd.s[k], expected[k], 1e-5);
}

TEST(GolubKahanSvd, EmptyMatricesAreFactoredToEmptyOnes) {
    for (const auto& [rows, cols] : {std::pair{0, 0}, {3, 0}, {0, 3}}) {
        CSVD svd;
        EXPECT_EQ(svd.compute(FMatrix(rows, cols), true), 0);
        EXPECT_EQ(svd.U.size() + svd.V.size() + svd.s.size(), 0);
        EXPECT_EQ(matPseudoInverse(FMatrix(rows, cols)).rows(), 0);
    }
}

const std::string computing = "0 Computing SVD\n";
const std::string wait = "0 Computation cancelled, please wait\n-1";

/// What a decomposition with report tells, a line a report with the progress first, and returns.
std::string told(const FMatrix& a, std::function<void(size_t)> withinReport = nullptr) {
    Recorder recorder;
    std::ostringstream text;
    recorder.onReport = [&](const auto& report) {
        text << report.progress << ' ' << report.message << '\n';
        if (withinReport) withinReport(recorder.reports.size());
    };
    text << CSVD().compute(a, true);
    return text.str();
}

TEST(GolubKahanSvd, TellsThatItIsAtWorkAndThatItDoesNotConverge) {
    EXPECT_EQ(told(randomMatrix(3, 3, 1)), computing + computing + "0");
    EXPECT_EQ(told(randomMatrix(2, 3, 1)), computing + computing + "0");
    EXPECT_EQ(told(matrixOf({{2}})), "0");
    for (const FMatrix& a : {boundlessMatrices()[0], boundlessMatrices()[1]}) {
        EXPECT_EQ(told(a), computing + "-1 Failed to converge in SVD\n0");
    }
}

TEST(GolubKahanSvd, CancelsBeforeAndWithinAStepOfTheReduction) {
    const FMatrix a = randomMatrix(3, 3, 1);
    requestHalt(0);
    EXPECT_EQ(told(a), "-1 Computation cancelled.\n" + wait);
    std::string expected;
    for (size_t n = 1; n <= 2; ++n) {
        expected += computing;
        EXPECT_EQ(told(a, [n](size_t report) { n == report&& requestHalt(0); }),
                  expected + "-1 Computation was cancelled\n" + wait);
    }
}

TEST(GolubKahanSvd, WithoutReportIsSilentAndClearsARequest) {
    const Recorder recorder;
    requestHalt(0);
    EXPECT_EQ(CSVD().compute(FMatrix(4, 4, nan), false), 0);
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_EQ(told(randomMatrix(2, 2, 1)), computing + "0");
}

// Nothing is reported after the reduction. A timer of the process's own time goes off in the
// iteration, which takes far longer on a matrix of NaN.
TEST(GolubKahanSvd, CancelsTheIteration) {
    constexpr int n = 300;
    signal(SIGVTALRM, [](int) { requestHalt(0); });
    const std::string text = told(FMatrix(n, n, nan), [](size_t report) {
        const itimerval soon = {{0, 0}, {0, 1000}};
        if (report == n - 1) setitimer(ITIMER_VIRTUAL, &soon, nullptr);
    });
    signal(SIGVTALRM, SIG_IGN);
    EXPECT_EQ(text.substr((n - 1) * computing.size()), "-1 Computation was cancelled\n" + wait);
}

TEST(PseudoInverse, IsThatOfMooreAndPenrose) {
    for (const FMatrix& a : randomMatrices()) {
        const FMatrix inverse = matPseudoInverse(a);
        const FMatrix left = matMultiply(inverse, a), right = matMultiply(a, inverse);
        EXPECT_TRUE(isClose(matMultiply(a, left), a, 1e-4));
        EXPECT_TRUE(isClose(left, transposed(left), 1e-4));
        EXPECT_TRUE(isClose(right, transposed(right), 1e-4));
    }
}

TEST(PseudoInverse, TakesTwoToThe23ForTheReciprocalOfZero) {
    const FMatrix ofZero = matrixOf({{-8388608, 0}, {0, -8388608}});
    EXPECT_TRUE(isClose(matPseudoInverse(FMatrix(2, 2, 0.0f)), ofZero, 0.0));
    const FMatrix ofRankOne = matrixOf({{0, 0.25f}, {8388608, 0}});
    EXPECT_TRUE(isClose(matPseudoInverse(matrixOf({{0, 0}, {4, 0}})), ofRankOne, 0.0));
}

}  // namespace
}  // namespace veldane
