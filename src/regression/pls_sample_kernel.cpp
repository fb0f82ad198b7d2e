#include <algorithm>
#include <cmath>
#include <limits>

#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"
#include "regression/pls_model.h"

namespace veldane {
namespace {

constexpr int maxIterations = 500;

/// The dominant eigenvector of M, n x n, by the power method from v.
FMatrix powerIteration(const FMatrix& M, FMatrix v, double tolerance, int factor,
                       const char* label) {
    for (int count = 1;; ++count) {
        FMatrix t = matMultiply(M, v);
        matNormalizeColumns(t);
        if (matConverged(t, v, tolerance)) return t;
        if (count == maxIterations) {
            status().reportError(
                formatMessage("Convergence failure - factor %d %s", factor, label));
            return t;
        }
        v = t;
    }
}

/// D K D for D = I - t t'.
FMatrix deflated(const FMatrix& K, const FMatrix& D) {
    return matMultiply(D, matMultiply(K, D));
}

}  // namespace

void CPLSModel::closeSampleKernel(const FMatrix& x, const FMatrix& y, int reached) {
    const int n = x.rows(), p = x.cols(), m = y.cols(), last = reached - 1;
    const FMatrix inverseSquares(1, reached);
    for (int a = 0; a < reached; ++a) inverseSquares[0][a] = 1.0f / matColumnSumSquare(T, a);
    const FMatrix scaledT = matScaleColumns(matSubMatrix(T, 0, n - 1, 0, last), inverseSquares);
    // X'U and X'TD in one pass over X.
    const FMatrix products =
        matMultiplyAtB(x, matConcat(matSubMatrix(U, 0, n - 1, 0, last), scaledT));
    const FMatrix w = matSubMatrix(products, 0, p - 1, 0, last);
    matNormalizeColumns(w);
    for (int a = 0; a < reached; ++a) {
        for (int i = 0; i < p; ++i) {
            Wt[a][i] = products[i][a];
            Pt[a][i] = products[i][reached + a];
        }
    }
    if (m > 1) {
        const FMatrix q = matMultiplyAtB(scaledT, y);
        for (int a = 0; a < reached; ++a) std::copy_n(q[a], m, Q[a]);
    }
    setRotation(reached);
    setSlopes(reached, true);
    accumulateProducts(T, Q, reached, true, yFitted, 0);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < m; ++j) {
            for (int a = 0; a < reached; ++a) {
                // Wanted as it is: of a single response y is what the last factor left.
                yResiduals[i][j][a] = y[i][j] - yFitted[i][j][a];
                yFitted[i][j][a] += yMeans[0][j];
            }
        }
    }
}

int CPLSModel::buildSampleKernel(const FMatrix& xIn, const FMatrix& yIn, int factors, bool centre) {
    if (!accepts(xIn, yIn, factors)) return -1;
    HaltEvent halt;
    open(xIn, yIn, factors, centre, sampleKernel, halt);
    openComplete();
    const FMatrix x = centre ? matSubtract(weightedX, xMeans) : weightedX;
    FMatrix y = centre ? matSubtract(weightedY, yMeans) : weightedY;
    const int n = x.rows(), m = y.cols();
    const double tolerance = n * std::numeric_limits<double>::epsilon() * x.cols();
    const FMatrix identity(n, n);
    matSetIdentity(identity);
    // KX = XX' and KY = YY', deflated by each factor.
    FMatrix KX = matXXt(x), KY = matXXt(y);
    int a = 0;
    for (; a < factors && startFactor(a, halt); ++a) {
        const FMatrix start = matColumn(y, 0);
        matNormalizeColumns(start);
        const FMatrix t = powerIteration(matMultiply(KX, KY), start, tolerance, a + 1, label);
        const FMatrix ky = matMultiply(KY, t);
        const FMatrix u = matDivideScalar(ky, matMultiplyAtB(t, ky)[0][0]);
        const float square = matMultiply(matMultiplyAtB(u, KX), u)[0][0];
        const float s = std::sqrt(square < 0.0f ? std::fabs(square) : square);
        const FMatrix ts = matScale(t, s);
        matSetColumn(T, ts, a);
        if (m == 1) {
            matSetColumn(U, y, a);
            const FMatrix q = matMultiplyAtB(dividedBySquare(ts), y);
            Q[a][0] = q[0][0];
            y = matSubtract(y, matMultiply(ts, q));
        } else {
            matSetColumn(U, matScale(u, s), a);
        }
        const FMatrix D = matSubtract(identity, matMultiplyABt(t, t));
        KX = deflated(KX, D);
        KY = deflated(KY, D);
    }
    closeSampleKernel(x, y, a);
    const bool cancelled = a < factors;
    status().report(1.0f, cancelled ? "PLS computation terminated" : "PLS computation completed");
    return finish(cancelled);
}

}  // namespace veldane
