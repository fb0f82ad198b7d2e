#include <cmath>

#include "components/pcr_model.h"
#include "core/status.h"
#include "linalg/golub_kahan_svd.h"
#include "linalg/kernels.h"
#include "linalg/score_statistics.h"

namespace veldane {
namespace {

constexpr double tolerance = 1e-8;
constexpr int mostIterations = 300;

/// A rotation under way: B = L R, the loadings with a variable a row, m x A.
struct Rotation {
    FMatrix B;
    FMatrix R;  ///< A x A
};

/// The orthomax parameter: varimax, quartimax, equamax, parsimax. Crawford and Ferguson,
/// Psychometrika 35 (1970) 321-332.
double orthomaxParameter(int number, double m, double k) {
    switch (number) {
        case 1:
            return 1.0;
        case 2:
            return 0.0;
        case 3:
            return k / 2.0;
        default:
            return m * (k - 1.0) / (m + k - 2.0);
    }
}

/// Divides each row by its length, in place, and gives the lengths. A row of zeros becomes NaN.
FVector normaliseRows(const FMatrix& a) {
    FVector lengths(a.rows());
    for (int i = 0; i < a.filledRows(); ++i) {
        float squares = 0.0f;
        for (int j = 0; j < a.cols(); ++j) {
            if (!isMissing(a[i][j])) squares += a[i][j] * a[i][j];
        }
        lengths[i] = std::sqrt(squares);
        for (int j = 0; j < a.cols(); ++j) a[i][j] /= lengths[i];
    }
    return lengths;
}

/// m B³ - gamma B diag(column sums of B²), which the rotated loadings are drawn to.
FMatrix orthomaxTarget(const FMatrix& b, double gamma) {
    const FMatrix cubes = matHadamardSame(matHadamardSame(b, b), b);
    const FMatrix pulled = matScale(b, static_cast<float>(gamma));
    return matSubtractSame(matScale(cubes, static_cast<float>(b.rows())),
                           matScaleColumns(pulled, matColumnSums(matSquare(b))));
}

/// For 0 <= gamma <= 1: R becomes the orthogonal matrix nearest to L' target until the sum of the
/// singular values stands still.
void rotateBySvd(const FMatrix& L, double gamma, Rotation& rotation) {
    float trace = 0.0f;
    for (int iter = 1; iter <= mostIterations + 1; ++iter) {
        const float before = trace;
        CSVD svd(matMultiplyAtB(L, orthomaxTarget(rotation.B, gamma)));
        FMatrix U, V, S;
        svd.getU(U);
        svd.getV(V);
        svd.getS(S);
        rotation.R = matMultiplyABt(U, V);
        rotation.B = matMultiply(L, rotation.R);
        trace = matTrace(S);
        const float change = trace == 0.0f ? 0.0f : (trace - before) / trace;
        if (std::fabs(change) < tolerance) return;
    }
}

/// The angle that turns columns i and j of B to the orthomax criterion in their plane.
double planeAngle(const FMatrix& B, int i, int j, double gamma) {
    float sa = 0.0f, sb = 0.0f, saa = 0.0f, sab = 0.0f, sbb = 0.0f;
    for (int r = 0; r < B.rows(); ++r) {
        const float u = B[r][i];
        const float v = B[r][j];
        const float a = u * u - v * v;
        const float b = 2.0f * u * v;
        sa += a;
        sb += b;
        saa += a * a;
        sab += a * b;
        sbb += b * b;
    }
    const double m = B.rows();
    const double num = 2.0 * sab - 2.0 * gamma * sa * sb / m;
    const double den = (double{saa} - sbb) - gamma * (double{sa} * sa - double{sb} * sb) / m;
    return std::atan2(num, den) / 4.0;
}

void turnColumns(const FMatrix& a, int i, int j, double theta) {
    const double c = std::cos(theta);
    const double s = std::sin(theta);
    for (int r = 0; r < a.rows(); ++r) {
        const double x = a[r][i];
        const double y = a[r][j];
        a[r][i] = static_cast<float>(x * c + y * s);
        a[r][j] = static_cast<float>(-x * s + y * c);
    }
}

/// One pass over all pairs of columns of B, each turned to the best angle of its plane. Gives the
/// largest angle by signed comparison: wanted as it is, a negative angle never counts.
/// H. F. Kaiser, Psychometrika 23 (1958) 187-200.
double turnPairs(double gamma, const Rotation& rotation) {
    const FMatrix& B = rotation.B;
    double largest = 0.0;
    for (int i = 0; i < B.cols() - 1; ++i) {
        for (int j = i + 1; j < B.cols(); ++j) {
            const double theta = planeAngle(B, i, j, gamma);
            if (theta > largest) largest = theta;
            turnColumns(B, i, j, theta);
            turnColumns(rotation.R, i, j, theta);
        }
    }
    return largest;
}

void rotateByPlanes(double gamma, const Rotation& rotation) {
    for (int iter = 1; iter <= mostIterations + 1; ++iter) {
        if (tolerance > turnPairs(gamma, rotation)) return;
    }
}

}  // namespace

int CPCRModel::rotate(const FMatrix& x, int components, int rotationNumber, bool centre,
                      int /*iterations: a rotation has its own limit*/) {
    X = x;
    numPC = components;
    centred = centre;
    if (!hasEnoughData()) return -1;
    const FMatrix L = matTranspose(Pt);
    rotation = FMatrix(numPC, numPC, 0.0f);
    if (rotationNumber > 4) {
        latent = crossProductDiagonal(L);
        return 0;
    }
    const FVector lengths = normaliseRows(L);
    Rotation rotated = {matClone(L), FMatrix(numPC, numPC)};
    matSetIdentity(rotated.R);
    const double gamma = orthomaxParameter(rotationNumber, weightedX.cols(), numPC);
    if (gamma <= 1.0) {
        rotateBySvd(L, gamma, rotated);
    } else {
        rotateByPlanes(gamma, rotated);
    }
    // P becomes P R, so the scores that leave the fit T P' alone are T times the inverse of R'.
    T = matMultiply(T, matInverse(matTranspose(rotated.R)));
    for (int i = 0; i < rotated.B.filledRows(); ++i) {
        for (int a = 0; a < rotated.B.cols(); ++a) rotated.B[i][a] *= lengths[i];
    }
    Pt = matTranspose(rotated.B);
    rotation = rotated.R;
    latent = crossProductDiagonal(T);
    return 0;
}

}  // namespace veldane
