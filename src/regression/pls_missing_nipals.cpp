#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"
#include "linalg/missing_products.h"
#include "regression/pls_model.h"

namespace veldane {
namespace {

/// One factor: scores t and u, n x 1; weight w, loading p, 1 x p; Y loading q, 1 x m.
struct Factor {
    FMatrix t, u, w, p, q;
};

/// The column of Y with the largest sum of squares, with 0 for a missing value.
FMatrix startingScore(const FMatrix& y) {
    std::vector<double> totals(static_cast<size_t>(y.cols()), 0.0);
    for (int i = 0; i < y.rows(); ++i) {
        for (int j = 0; j < y.cols(); ++j) {
            const double value = y[i][j];
            totals[static_cast<size_t>(j)] += isMissing(value) ? 0.0 : value * value;
        }
    }
    const auto largest = std::max_element(totals.begin(), totals.end());
    FMatrix u = matColumn(y, static_cast<int>(largest - totals.begin()));
    for (int i = 0; i < u.rows(); ++i) u[i][0] = isMissing(u[i][0]) ? 0.0f : u[i][0];
    return u;
}

double squares(const FMatrix& v) {
    double total = 0.0;
    for (const double x : v.storage()) total += x * x;
    return total;
}

double squaresPresent(const FMatrix& v) {
    double total = 0.0;
    for (const double x : v.storage()) total += isMissing(x) ? 0.0 : x * x;
    return total;
}

/// A weight whose length is not a number is divided by 0.
void normalise(const FMatrix& w) {
    const double square = squares(w), length = square >= 0.0 ? std::sqrt(square) : 0.0;
    for (float& x : w.storage()) x = static_cast<float>(x / length);
}

/// How far the scores that are there moved.
double distance(const FMatrix& now, const FMatrix& before) {
    double total = 0.0;
    for (int i = 0; i < now.rows(); ++i) {
        if (isMissing(now[i][0])) continue;
        const double change = static_cast<double>(now[i][0]) - before[i][0];
        total += change * change;
    }
    return std::sqrt(total);
}

/// Iterates from u until the scores stand still; with one response there is a single round, which
/// leaves u as it is.
void iterate(const FMatrix& x, const FMatrix& y, Factor& f, int maxIterations) {
    FMatrix previous(x.rows(), 1);
    for (int round = 0; round < maxIterations; ++round) {
        projectColumns(x, f.u[0], squaresPresent(f.u), f.w[0]);
        normalise(f.w);
        projectRows(x, f.w[0], squares(f.w), f.t[0]);
        projectColumns(y, f.t[0], squaresPresent(f.t), f.q[0]);
        if (y.cols() == 1) return;
        projectRows(y, f.q[0], squares(f.q), f.u[0]);
        if (round > 0 && distance(f.t, previous) < std::numeric_limits<double>::epsilon()) return;
        previous = matClone(f.t);
    }
}

/// E - t p'. A missing value stays missing by itself.
void deflate(const FMatrix& e, const FMatrix& t, const FMatrix& p) {
    for (int i = 0; i < e.rows(); ++i) {
        const float ti = t[i][0];
        float* row = e[i];
        for (int j = 0; j < e.cols(); ++j) row[j] -= ti * p[0][j];
    }
}

FMatrix centredWithMeans(const FMatrix& data, bool centre, FMatrix& means) {
    if (centre) return matCentre(data, means);
    means = matColumnMeans(data);
    return matClone(data);
}

}  // namespace

int CPLSModel::buildMissingNipals(const FMatrix& xIn, const FMatrix& yIn, int factors, bool centre,
                                  int maxIterations) {
    if (xIn.rows() < 2 || xIn.cols() < 2) {
        numFactors = factors;
        centred = centre;
        algorithm = missingNipals;
        status().reportError("Insufficient data for analysis");
        return -1;
    }
    if (!accepts(xIn, yIn, factors)) return -1;
    HaltEvent halt;
    open(xIn, yIn, factors, centre, missingNipals, halt);
    const FMatrix x = centredWithMeans(weightedX, centre, xMeans);
    const FMatrix y = centredWithMeans(weightedY, centre, yMeans);
    const int n = x.rows(), p = x.cols(), m = y.cols();
    Factor f = {{n, 1, 0.0f}, {}, {1, p, 0.0f}, {1, p, 0.0f}, {1, m, 0.0f}};
    int a = 0;
    for (; a < factors && startFactor(a, halt); ++a) {
        f.u = startingScore(y);
        iterate(x, y, f, maxIterations);
        projectColumns(x, f.t[0], squaresPresent(f.t), f.p[0]);
        if (a + 1 < factors) {
            deflate(y, f.t, f.q);
            deflate(x, f.t, f.p);
        }
        matSetColumn(T, f.t, a);
        matSetColumn(U, f.u, a);
        matSetRow(Wt, f.w.storage(), a);
        matSetRow(Pt, f.p.storage(), a);
        matSetRow(Q, f.q.storage(), a);
    }
    const FMatrix pw = matMultiplyABt(Pt, Wt);
    setRotation(pw, a);
    for (int b = 0; b < a; ++b) {
        const FMatrix w = matSubMatrix(Wt, 0, b, 0, p - 1), q = matSubMatrix(Q, 0, b, 0, m - 1);
        const FMatrix inverse = matPseudoInverse(matSubMatrix(pw, 0, b, 0, b));
        const FMatrix slopes = matMultiplyAtB(w, matMultiply(inverse, q));
        for (int i = 0; i < p; ++i) {
            for (int j = 0; j < m; ++j) betaWeighted[i + 1][j][b] = slopes[i][j];
        }
    }
    return finish(a < factors);
}

}  // namespace veldane
