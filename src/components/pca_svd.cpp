#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "components/pcr_model.h"
#include "core/status.h"
#include "linalg/golub_kahan_svd.h"
#include "linalg/kernels.h"
#include "linalg/lapack.h"

namespace veldane {
namespace {

/// The decomposition of a cross product G of order k: eigenvectors in columns, eigenvalues falling.
struct Spectrum {
    FMatrix vectors;
    FVector values;
};

/// With `right` the right singular vectors, otherwise the left ones, which for a G that is not
/// quite symmetric differ by rounding. False after a cancel, which the decomposition reports.
bool decompose(const FMatrix& g, bool right, Spectrum& spectrum) {
    CSVD svd;
    if (svd.compute(g, true) != 0) {
        status().report(0.0f, "");
        return false;
    }
    if (right) {
        svd.getV(spectrum.vectors);
    } else {
        svd.getU(spectrum.vectors);
    }
    spectrum.values = svd.s;
    return true;
}

/// The same by LAPACK; reports what is missing or fails.
bool decomposeByLapack(const FMatrix& g, bool right, Spectrum& spectrum) {
    if (!loadLapack()) {
        status().reportError("Missing LAPACK library. Check installation.");
        return false;
    }
    FortranMatrix u, vt;
    FortranVector s;
    if (!lapackSvd(FortranMatrix(g), &u, &s, &vt)) {
        status().reportError("Failed in call to LAPACK library. Check version.");
        return false;
    }
    spectrum.vectors = right ? matTranspose(vt.toMatrix()) : u.toMatrix();
    spectrum.values = s.toVector();
    return true;
}

/// Rows of V'E, V from E E', have the lengths of the singular values: made to unit length.
void divideBySingularValues(const FMatrix& vte, const FVector& eigenvalues) {
    for (int a = 0; a < vte.filledRows(); ++a) {
        double d = std::sqrt(double{eigenvalues[a]});
        if (d == 0.0) d = std::numeric_limits<double>::epsilon();
        for (int j = 0; j < vte.cols(); ++j) vte[a][j] = static_cast<float>(vte[a][j] / d);
    }
}

}  // namespace

int CPCRModel::buildSvd(const FMatrix& x, int components, bool centre, bool useLapack) {
    // On a copy, which shares the arrays: a build that fails leaves nothing of its own behind.
    CPCRModel next = *this;
    const int result = next.buildFromCrossProduct(x, components, centre, useLapack);
    if (result == 0) *this = std::move(next);
    return result;
}

int CPCRModel::buildFromCrossProduct(const FMatrix& x, int components, bool centre,
                                     bool useLapack) {
    assign(x, components, centre, useLapack ? lapackSvdRoute : svdRoute);
    const int n = X.rows();
    const int m = X.cols();
    if (numPC > std::min(n, m)) {
        status().reportError("More components than samples or variables");
        return -1;
    }
    if (!weightsFit()) return -1;
    applyWeights();
    xMeans = matDivideScalar(matColumnSums(weightedX), static_cast<float>(n));
    const FMatrix e = centre ? matCentre(weightedX) : matClone(weightedX);

    const bool tall = n > m;
    const FMatrix g = tall ? matXtX(e) : matXXt(e);
    Spectrum spectrum;
    if (!(useLapack ? decomposeByLapack : decompose)(g, tall, spectrum)) return -1;
    // Only the columns that the model keeps.
    const FMatrix v = matSubMatrix(spectrum.vectors, 0, g.rows() - 1, 0, std::max(numPC, 0) - 1);
    if (tall) {
        Pt = matTranspose(v);
    } else {
        Pt = matMultiplyAtB(v, e);
        divideBySingularValues(Pt, spectrum.values);
    }
    latent = spectrum.values;
    T = matMultiplyABt(e, Pt);
    return 0;
}

}  // namespace veldane
