#include "regression/pls_model.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"

namespace veldane {
namespace {

// Iteration limits of a build by number.
constexpr int nipalsRounds = 200;
constexpr int missingNipalsRounds = 100;

bool fits(const FMatrix& weights, const FMatrix& data) {
    return weights.size() == 0 || (weights.rows() == 1 && weights.cols() == data.cols());
}

FMatrix applied(FMatrix& weights, const FMatrix& data) {
    if (weights.size() > 0) return matScaleColumns(data, weights);
    weights = FMatrix(1, data.cols(), 1.0f);
    return data;
}

/// Divided by all rows, also where values are missing.
FMatrix meansOfAllRows(const FMatrix& data) {
    return matDivideScalar(matColumnSums(data), static_cast<float>(data.rows()));
}

}  // namespace

void CPLSModel::setLabel(const char* text) {
    label[std::string(text).copy(label, sizeof label - 1)] = '\0';
}

bool CPLSModel::accepts(const FMatrix& x, const FMatrix& y, int factors) const {
    const char* reason = nullptr;
    if (x.size() == 0 || y.size() == 0) {
        reason = "X or Y is empty";
    } else if (x.rows() != y.rows()) {
        reason = "X and Y have different numbers of samples";
    } else if (factors < 1 || factors > std::min(x.rows(), x.cols())) {
        reason = "The number of factors must be between 1 and the smaller extent of X";
    } else if (!fits(xWeights, x) || !fits(yWeights, y)) {
        reason = "Weights do not match the variables";
    }
    if (reason) status().reportError(reason);
    return !reason;
}

void CPLSModel::open(const FMatrix& x, const FMatrix& y, int factors, bool centre,
                     Algorithm builder, HaltEvent& halt) {
    X = x;
    Y = y;
    numFactors = factors;
    centred = centre;
    algorithm = builder;
    halt.open();
    weightedX = applied(xWeights, X);
    weightedY = applied(yWeights, Y);
    const int n = X.rows(), p = X.cols(), m = Y.cols();
    T = FMatrix(n, factors, 0.0f);
    U = FMatrix(n, factors, 0.0f);
    Wt = FMatrix(factors, p, 0.0f);
    Pt = FMatrix(factors, p, 0.0f);
    Q = FMatrix(factors, m, 0.0f);
    R = FMatrix(p, factors, 0.0f);
    betaWeighted = FCube(p + 1, m, factors, 0.0f);
}

void CPLSModel::openComplete() {
    xMeans = meansOfAllRows(weightedX);
    yMeans = meansOfAllRows(weightedY);
    yFitted = FCube(X.rows(), Y.cols(), numFactors, 0.0f);
    yResiduals = FCube(X.rows(), Y.cols(), numFactors, 0.0f);
}

bool CPLSModel::startFactor(int a, HaltEvent& halt) const {
    const float progress = static_cast<float>(a + 1) / static_cast<float>(numFactors);
    status().report(progress, formatMessage("%s Computing factor %d", label, a + 1));
    if (!halt.poll()) return true;
    status().report(1.0f, "Cancelling computation. Please wait.");
    status().reportError("Computation cancelled. Results are incomplete.");
    return false;
}

void CPLSModel::setRotation(int reached) {
    const FMatrix w = matTranspose(Wt);
    if (numFactors == 1) {
        R = w;
    } else {
        setRotation(matMultiply(Pt, w), reached);
    }
}

void CPLSModel::setRotation(const FMatrix& pw, int reached) {
    // Factors that were not reached would make P'W singular.
    const int last = reached - 1;
    const FMatrix w = matSubMatrix(Wt, 0, last, 0, Wt.cols() - 1);
    const FMatrix r = matMultiplyAtB(w, matInverse(matSubMatrix(pw, 0, last, 0, last)));
    if (reached == numFactors) {
        R = r;
        return;
    }
    for (int i = 0; i < r.filledRows(); ++i) std::copy_n(r[i], reached, R[i]);
}

void CPLSModel::setSlopes(int factors, bool skipMissing) {
    accumulateProducts(R, Q, factors, skipMissing, betaWeighted, 1);
}

int CPLSModel::finish(bool cancelled) {
    if (centred) {
        const int columns = yMeans.cols() * numFactors;
        std::vector<double> sums(static_cast<size_t>(columns), 0.0);
        for (int i = 0; i < xMeans.cols(); ++i) {
            const float* slopes = betaWeighted[i + 1][0];
            const double mean = xMeans[0][i];
            for (int c = 0; c < columns; ++c) sums[static_cast<size_t>(c)] += mean * slopes[c];
        }
        for (int c = 0; c < columns; ++c) {
            betaWeighted[0][0][c] =
                static_cast<float>(yMeans[0][c / numFactors] - sums[static_cast<size_t>(c)]);
        }
    }
    if (!cancelled) return 0;
    status().report(0.0f, "");
    return -1;
}

int CPLSModel::build(const FMatrix& x, const FMatrix& y, int factors, bool centre, int builder) {
    switch (builder) {
        case covarianceKernel:
            return buildCovarianceKernel(x, y, factors, centre);
        case sampleKernel:
            return buildSampleKernel(x, y, factors, centre);
        case nipals:
            return buildNipals(x, y, factors, centre, nipalsRounds);
        case missingNipals:
            return buildMissingNipals(x, y, factors, centre, missingNipalsRounds);
        default:
            return -1;
    }
}

void CPLSModel::computeBeta() {
    betaFull = FCube();
    // Weights that were set since the build need not fit it.
    if (xWeights.size() != betaWeighted.rows() - 1 || yWeights.size() != betaWeighted.cols())
        return;
    betaFull = FCube(betaWeighted.rows(), betaWeighted.cols(), betaWeighted.pages(), 0.0f);
    for (int i = 0; i < betaFull.rows(); ++i) {
        for (int j = 0; j < betaFull.cols(); ++j) {
            for (int a = 0; a < betaFull.pages(); ++a) {
                const float beta = betaWeighted[i][j][a];
                betaFull[i][j][a] = (i == 0 ? beta : beta * xWeights[0][i - 1]) / yWeights[0][j];
            }
        }
    }
}

void accumulateProducts(const FMatrix& left, const FMatrix& right, int factors, bool skipMissing,
                        const FCube& out, int first) {
    for (int i = 0; i < left.filledRows(); ++i) {
        for (int j = 0; j < right.cols(); ++j) {
            float sum = 0.0f;
            bool any = !skipMissing;
            for (int a = 0; a < factors; ++a) {
                const float l = left[i][a], r = right[a][j];
                if (!skipMissing || !(isMissing(l) || isMissing(r))) {
                    sum += l * r;
                    any = true;
                }
                out[first + i][j][a] = any ? sum : missingValue();
            }
        }
    }
}

FMatrix dividedBySquare(const FMatrix& v) {
    if (v.size() == 0) return {};
    return matDivideScalar(v, matMultiplyAtB(v, v)[0][0]);
}

}  // namespace veldane
