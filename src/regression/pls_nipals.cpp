#include <algorithm>
#include <limits>

#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"
#include "linalg/thin_products.h"
#include "regression/pls_model.h"

namespace veldane {
namespace {

/// One factor: weight w, p x 1; score t and Y score u, n x 1; Y loading q, m x 1.
struct Factor {
    FMatrix w, t, u, q;
    FMatrix scaledT;  ///< t / t't
};

/// The column of Y with the largest sum of squares, the first of equal ones.
FMatrix startingScore(const FMatrix& y) {
    if (y.cols() == 1) return y;
    const FVector squares = matColumnSumSquares(y);
    const auto largest = std::max_element(squares.begin(), squares.end());
    return matColumn(y, static_cast<int>(largest - squares.begin()));
}

/// Iterates from u and w = X'u. True if a cancel was seen; the factor is finished all the same.
bool iterate(const FMatrix& x, const FMatrix& y, Factor& f, int number, int maxIterations,
             HaltEvent& halt) {
    const float tolerance = static_cast<float>(x.rows()) * std::numeric_limits<float>::epsilon() *
                            static_cast<float>(x.cols());
    FMatrix previous(x.rows(), 1, 0.0f);
    for (int round = 1;; ++round) {
        if (round > 1) multiplyTransposedByVector(x, f.u[0], f.w[0]);
        matNormalizeColumns(f.w);
        f.t = matMultiply(x, f.w);
        f.scaledT = matDivideScalar(f.t, matColumnSumSquare(f.t, 0));
        f.q = matMultiplyAtB(y, f.scaledT);
        if (y.cols() == 1) return false;
        if (halt.poll()) {
            status().reportError("Computation cancelled. Results are incomplete.");
            return true;
        }
        if (round > maxIterations) {
            status().reportError(
                formatMessage("Convergence failure while computing factor %d", number));
            return false;
        }
        if (matConverged(f.t, previous, tolerance)) return false;
        f.u = matMultiply(y, dividedBySquare(f.q));
        previous = f.t;
    }
}

}  // namespace

int CPLSModel::buildNipals(const FMatrix& xIn, const FMatrix& yIn, int factors, bool centre,
                           int maxIterations) {
    if (!accepts(xIn, yIn, factors)) return -1;
    HaltEvent halt;
    open(xIn, yIn, factors, centre, nipals, halt);
    openComplete();
    const FMatrix x = centre ? matCentre(weightedX) : matClone(weightedX);
    FMatrix y = centre ? matCentre(weightedY) : matClone(weightedY);
    bool cancelled = false;
    Factor f;
    f.u = startingScore(y);
    f.w = matMultiplyAtB(x, f.u);
    int a = 0;
    for (; a < factors; ++a) {
        // Wanted as it is: without the label, and over A - 1, so NaN for a single factor.
        status().report(static_cast<float>(a / (factors - 1.0)),
                        formatMessage("Computing factor %d", a + 1));
        if (halt.poll()) {
            status().report(1.0f, "Cancelling computation. Please wait.");
            cancelled = true;
            break;
        }
        if (iterate(x, y, f, a + 1, maxIterations, halt)) cancelled = true;
        const FMatrix p = matMultiplyAtB(x, f.scaledT);
        y = matSubtract(y, matMultiplyABt(f.t, f.q));
        matSetRow(Wt, f.w.storage(), a);
        matSetRow(Pt, p.storage(), a);
        matSetRow(Q, f.q.storage(), a);
        matSetColumn(T, f.t, a);
        matSetColumn(U, f.u, a);
        for (int i = 0; i < y.rows(); ++i) {
            for (int j = 0; j < y.cols(); ++j) yResiduals[i][j][a] = y[i][j];
        }
        if (a + 1 == factors) continue;
        f.u = startingScore(y);
        // X - t p', and X'u for the factor to come while X passes by.
        deflateAndMultiply(x, f.t[0], p[0], f.u[0], f.w[0]);
    }
    accumulateProducts(T, Q, a, false, yFitted, 0);
    for (int i = 0; i < y.rows(); ++i) {
        for (int j = 0; j < y.cols(); ++j) {
            for (int b = 0; b < a; ++b) yFitted[i][j][b] += yMeans[0][j];
        }
    }
    setRotation(a);
    setSlopes(a, false);
    return finish(cancelled);
}

}  // namespace veldane
