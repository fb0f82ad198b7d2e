#include "core/halt_event.h"
#include "linalg/kernels.h"
#include "linalg/symmetric_eigen.h"
#include "linalg/thin_products.h"
#include "regression/pls_model.h"

namespace veldane {
namespace {

FMatrix dominantEigenvector(const FMatrix& a) {
    const FMatrix vectors = symmetricEigenvectors(a);
    return matColumn(vectors, vectors.cols() - 1);
}

/// w of the covariance S, p x m. Empty for an S that ended in a factor without scores.
FMatrix weightVector(const FMatrix& S) {
    if (S.size() == 0) return {};
    // As it comes, without normalisation.
    if (S.cols() > 1 && S.cols() >= S.rows()) return dominantEigenvector(matXXt(S));
    FMatrix w = S.cols() == 1 ? matClone(S) : matMultiply(S, dominantEigenvector(matXtX(S)));
    matNormalizeColumns(w);
    return w;
}

/// Column 0 of v to row a; an empty v leaves the row at 0.
void setRow(const FMatrix& matrix, const FMatrix& v, int a) {
    matSetRow(matrix, v.storage(), a);
}

/// w less what the first `a` factors, one a row, take: r = w - R (P'w).
FMatrix rotated(const FMatrix& w, const FMatrix& Rt, const FMatrix& Pt, int a) {
    if (a == 0 || w.size() == 0) return w;
    const int last = w.rows() - 1;
    const FMatrix shares = matMultiply(matSubMatrix(Pt, 0, a - 1, 0, last), w);
    return matSubtract(w, matMultiplyAtB(matSubMatrix(Rt, 0, a - 1, 0, last), shares));
}

/// u of the working Y, orthogonal to the earlier scores. tt holds their sums of squares, A x 1.
FMatrix yScore(const FMatrix& y, const FMatrix& q, const FMatrix& T, const FMatrix& tt, int a) {
    FMatrix u = y.cols() == 1 ? y : matMultiply(y, dividedBySquare(q));
    if (a == 0) return u;
    return matSubtract(u, matMultiply(T, matDotDivide(matMultiplyAtB(T, u), tt)));
}

}  // namespace

int CPLSModel::buildCovarianceKernel(const FMatrix& xIn, const FMatrix& yIn, int factors,
                                     bool centre) {
    if (!accepts(xIn, yIn, factors)) return -1;
    HaltEvent halt;
    open(xIn, yIn, factors, centre, covarianceKernel, halt);
    openComplete();
    const FMatrix x = centre ? matCentre(weightedX) : weightedX;
    const FMatrix y = centre ? matCentre(weightedY) : weightedY;
    FMatrix S = matMultiplyAtB(x, y);
    const FMatrix Rt(factors, x.cols(), 0.0f), allTt(factors, 1, 1.0f);
    int a = 0;
    for (; a < factors && startFactor(a, halt); ++a) {
        const FMatrix w = weightVector(S), r = rotated(w, Rt, Pt, a);
        FMatrix t, xt;
        if (r.size() > 0) {
            t = FMatrix(x.rows(), 1);
            xt = FMatrix(x.cols(), 1);
            multiplyBothWays(x, r[0], t[0], xt[0]);
        }
        // Of t = 0 the inverse is empty, and with it all that follows from it.
        const FMatrix tt = matMultiplyAtB(t, t), inverse = matInverse(tt);
        const FMatrix p = matMultiply(xt, inverse);
        const FMatrix q = matMultiply(matMultiplyAtB(S, r), inverse);
        S = matSubtract(S, matMultiplyABt(matMultiply(p, tt), q));
        setRow(Rt, r, a);
        setRow(Pt, p, a);
        setRow(Q, q, a);
        if (tt.size() > 0) allTt[a][0] = tt[0][0];
        matSetColumn(U, yScore(y, q, T, allTt, a), a);
        matSetColumn(T, t, a);
        setRow(Wt, w, a);
    }
    R = matTranspose(Rt);
    setSlopes(a, false);
    accumulateProducts(T, Q, a, false, yFitted, 0);
    for (int i = 0; i < y.rows(); ++i) {
        for (int j = 0; j < y.cols(); ++j) {
            for (int b = 0; b < a; ++b) {
                yFitted[i][j][b] += yMeans[0][j];
                // Wanted as it is: the fit includes the mean, the centred Y does not.
                yResiduals[i][j][b] = y[i][j] - yFitted[i][j][b];
            }
        }
    }
    return finish(a < factors);
}

}  // namespace veldane
