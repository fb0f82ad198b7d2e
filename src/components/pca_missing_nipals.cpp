#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "components/pcr_model.h"
#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"
#include "linalg/missing_products.h"

namespace veldane {
namespace {

/// The column of E with the largest sum of squares, n x 1, with 0 for a missing value.
FMatrix startingScore(const FMatrix& e) {
    std::vector<double> squares(static_cast<size_t>(e.cols()), 0.0);
    for (int i = 0; i < e.rows(); ++i) {
        const float* row = e[i];
        double* total = squares.data();
        for (int j = 0; j < e.cols(); ++j) {
            const double x = row[j];
            total[j] += isMissing(x) ? 0.0 : x * x;
        }
    }
    const auto largest = std::max_element(squares.begin(), squares.end());
    FMatrix t = matColumn(e, static_cast<int>(largest - squares.begin()));
    for (int i = 0; i < t.rows(); ++i) t[i][0] = isMissing(t[i][0]) ? 0.0f : t[i][0];
    return t;
}

/// A loading of zeros has no length to be divided by and becomes NaN.
void normalise(const FMatrix& p) {
    const float norm = std::sqrt(matRowSumSquare(p, 0));
    for (int j = 0; j < p.cols(); ++j) p[0][j] /= norm;
}

double squaredChange(const FMatrix& now, const FMatrix& before) {
    double total = 0.0;
    for (int i = 0; i < now.rows(); ++i) {
        if (isMissing(now[i][0])) continue;
        const double change = static_cast<double>(now[i][0]) - before[i][0];
        total += change * change;
    }
    return total;
}

/// Iterates score t, n x 1, and loading p, 1 x m, of E until all scores stand still, and keeps the
/// score in column a of T. True if a cancel was seen; the component is finished all the same.
bool iterate(const FMatrix& e, FMatrix t, const FMatrix& p, const FMatrix& T, int a,
             int maxIterations, HaltEvent& halt) {
    const double tolerance = e.rows() * std::numeric_limits<double>::epsilon();
    FMatrix next(e.rows(), 1);
    bool cancelled = false;
    for (int iter = 0; iter < maxIterations; ++iter) {
        if (halt.poll()) {
            status().report(0.0f, "Cancelling computation. Please wait...");
            cancelled = true;
        }
        projectColumns(e, t[0], matColumnSumSquare(t, 0), p[0]);
        normalise(p);
        projectRows(e, p[0], matRowSumSquare(p, 0), next[0]);
        matSetColumn(T, next, a);
        if (iter > 0 && tolerance > squaredChange(next, t)) break;
        std::swap(t, next);
    }
    return cancelled;
}

/// A missing value stays missing.
void deflate(const FMatrix& e, const FMatrix& T, const FMatrix& p, int a) {
    for (int i = 0; i < e.rows(); ++i) {
        const float ti = T[i][a];
        float* row = e[i];
        for (int j = 0; j < e.cols(); ++j)
            row[j] = isMissing(row[j]) ? row[j] : row[j] - ti * p[0][j];
    }
}

}  // namespace

int CPCRModel::buildMissingNipals(const FMatrix& x, const FMatrix& y, int components, bool centre,
                                  int iterations) {
    assign(x, components, centre, missingNipals);
    maxIterations = iterations;
    if (!hasEnoughData()) return -2;
    if (!weightsFit() || (y.size() > 0 && !takesY(X, y))) return -1;
    HaltEvent halt;
    halt.open();
    applyWeights();
    FMatrix e;
    if (centre) {
        e = matCentre(weightedX, xMeans);
    } else {
        e = matClone(weightedX);
        xMeans = matColumnMeans(weightedX);
    }
    const FMatrix f = prepareY(y);
    T = FMatrix(X.rows(), numPC, 0.0f);
    Pt = FMatrix(numPC, X.cols(), 0.0f);
    for (int a = 0; a < numPC; ++a) {
        status().report(componentProgress(a, numPC),
                        formatMessage("%s Computing pc %d of %d", label, a + 1, numPC));
        const FMatrix p = matSubMatrix(Pt, a, a, 0, X.cols() - 1);
        cancelled = iterate(e, startingScore(e), p, T, a, iterations, halt);
        deflate(e, T, p, a);
        if (f.size() > 0) {
            const FMatrix q = matSubMatrix(Q, a, a, 0, Q.cols() - 1);
            projectColumns(f, matColumn(T, a).storage().data(), matColumnSumSquare(T, a), q[0]);
            deflate(f, T, q, a);
        }
        if (cancelled) {
            status().report(1.0f, "");
            status().reportError("Computation cancelled. Results are incomplete.");
            break;
        }
    }
    computeCoefficients();
    return cancelled ? -1 : 0;
}

}  // namespace veldane
