#include "validation/uncertainty_test.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "linalg/kernels.h"
#include "statistics/student_t.h"

namespace veldane {
namespace {

FMatrix firstRows(const FMatrix& a, int count) {
    return matSubMatrix(a, 0, count - 1, 0, a.cols() - 1);
}

/// The first scores of the kept samples, components x samples.
FMatrix transposedScores(const FMatrix& scores, int components) {
    return firstRows(matTranspose(scores), components);
}

/// What brings a segment model into the axes of the full one. With C the regression of the full
/// model's scores on the segment's, the scores become T C and what stands in rows, one for each
/// component, becomes inverse(C) P: the fit T P stays, and axes that are only reversed or swapped
/// come back to their places.
struct Alignment {
    FMatrix ofScores;  ///< C
    FMatrix ofRows;    ///< inverse(C)
};

Alignment align(const FMatrix& fullT, const FMatrix& segmentT) {
    const FMatrix g = matMultiplyABt(segmentT, fullT);
    const FMatrix squares = matMultiplyABt(segmentT, segmentT);
    return {matMultiply(matInverse(squares), g), matMultiply(matInverse(g), squares)};
}

/// Of each component: -1 where its loading weights point against its loadings. A build may leave
/// them reversed, as neither scores nor coefficients show it.
FVector directions(const BilinearModel& model) {
    FVector result(model.components(), 1.0f);
    for (int a = 0; a < result.size(); ++a) {
        float product = 0.0f;
        for (int j = 0; j < model.Wt.cols(); ++j) product += model.Wt[a][j] * model.Pt[a][j];
        if (product < 0.0f) result[a] = -1.0f;
    }
    return result;
}

/// a with each row times its factor.
FMatrix scaledRows(const FMatrix& a, const FVector& factors) {
    FMatrix result(a.rows(), a.cols());
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) result[i][j] = factors[i] * a[i][j];
    }
    return result;
}

/// As it came where a singular segment model has no alignment.
FMatrix aligned(const FMatrix& a, const FMatrix& product) {
    return product.rows() == a.rows() && product.cols() == a.cols() ? product : a;
}

/// cube[.][.][s] = a.
void setPage(const FCube& cube, int s, const FMatrix& a) {
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) cube[i][j][s] = a[i][j];
    }
}

/// factor times the sum over the segments of their squared distances from the full model, in the
/// first `rows` x `cols` elements.
FMatrix varianceOf(const FMatrix& full, const FCube& segmentModels, int rows, int cols,
                   double factor) {
    FMatrix result(rows, cols);
    for (int i = 0; i < result.filledRows(); ++i) {
        for (int j = 0; j < cols; ++j) {
            double sum = 0.0;
            for (int s = 0; s < segmentModels.pages(); ++s) {
                const double distance = static_cast<double>(full[i][j]) - segmentModels[i][j][s];
                sum += distance * distance;
            }
            result[i][j] = static_cast<float>(factor * sum);
        }
    }
    return result;
}

/// Two-sided significances of `count` values with their variances. Where a variance is 0 the t is
/// infinite or NaN and the result what the distribution makes of it.
void significances(const float* x, const float* variance, int count, int degrees, float* result) {
    std::vector<double> t(static_cast<size_t>(count)), below(t.size());
    for (size_t j = 0; j < t.size(); ++j) {
        t[j] = std::fabs(x[j] / std::sqrt(static_cast<double>(variance[j])));
    }
    tCDF(t.data(), count, degrees, below.data());
    for (size_t j = 0; j < t.size(); ++j) {
        result[j] = static_cast<float>(2.0 * std::min(1.0 - below[j], below[j]));
    }
}

/// Row a belongs to component a + 1, which is taken off the degrees of freedom.
FMatrix significanceOfRows(const FMatrix& x, const FMatrix& variance, int variables) {
    FMatrix result(variance.rows(), variance.cols());
    for (int a = 0; a < result.filledRows(); ++a) {
        significances(x[a], variance[a], result.cols(), variables - (a + 1), result[a]);
    }
    return result;
}

}  // namespace

void prepareUncertaintyTest(CPCRValidation& v) {
    const BilinearModel& model = v.model;
    v.fullT = model.T;
    v.fullPt = model.Pt;
    v.fullWt = model.Wt;
    v.fullQ = model.Q;
    v.fullBeta = model.beta;
    const int n = model.X.rows(), m = model.X.cols(), q = model.Q.cols();
    const int count = v.segments.rows(), A = v.uncertaintyPC;
    v.jkScores = FCube(n, A, count, 0.0f);
    v.jkLoadings = FCube(A, m, count, 0.0f);
    v.jkLoadingWeights = FCube(A, m, count, 0.0f);
    v.jkYLoadings = FCube(A, q, count, 0.0f);
    v.segmentBeta.assign(static_cast<size_t>(count), FCube());
}

void collectSegmentModel(CPCRValidation& v, const BilinearModel& segment, const SampleSplit& split,
                         const FMatrix& left, int s) {
    const int A = v.uncertaintyPC;
    const Alignment alignment =
        align(transposedScores(v.fullT.selectRows(split.kept), A), transposedScores(segment.T, A));
    const auto inFullAxes = [&](const FMatrix& rows) {
        const FMatrix first = firstRows(rows, A);
        return aligned(first, matMultiply(alignment.ofRows, first));
    };
    setPage(v.jkLoadings, s, inFullAxes(segment.Pt));
    setPage(v.jkYLoadings, s, inFullAxes(segment.Q));
    const FMatrix weights = inFullAxes(scaledRows(segment.Wt, directions(segment)));
    setPage(v.jkLoadingWeights, s, scaledRows(weights, directions(v.model)));

    const auto setScores = [&](const IVector& samples, const FMatrix& scores) {
        const FMatrix first = matSubMatrix(scores, 0, scores.rows() - 1, 0, A - 1);
        const FMatrix t = aligned(first, matMultiply(first, alignment.ofScores));
        for (int i = 0; i < t.filledRows(); ++i) {
            for (int a = 0; a < A; ++a) v.jkScores[samples[i]][a][s] = t[i][a];
        }
    };
    setScores(split.kept, segment.T);
    setScores(split.leftOut, left);
    v.segmentBeta[static_cast<size_t>(s)] = segment.beta;
}

void discardSegmentModels(CPCRValidation& v) {
    for (FCube* cube : {&v.jkScores, &v.jkLoadings, &v.jkLoadingWeights, &v.jkYLoadings}) {
        *cube = FCube();
    }
    v.segmentBeta.clear();
}

void computeUncertainties(CPCRValidation& v) {
    const int n = v.fullT.rows(), m = v.fullPt.cols(), q = v.fullQ.cols();
    const int A = v.uncertaintyPC;
    // The samples count and not the segments, also where a segment has several: this is wanted.
    const double factor = (n - 1.0) / n;
    v.jkVarLoadings = varianceOf(v.fullPt, v.jkLoadings, A, m, factor);
    v.jkVarLoadingWts = varianceOf(v.fullWt, v.jkLoadingWeights, A, m, factor);
    v.jkVarYLoadings = varianceOf(v.fullQ, v.jkYLoadings, A, q, factor);
    v.jkVarScores = varianceOf(v.fullT, v.jkScores, n, A, factor);
    v.jkSigniLoadings = significanceOfRows(v.fullPt, v.jkVarLoadings, m + q);
    v.jkSigniLoadingWts = significanceOfRows(v.fullWt, v.jkVarLoadingWts, m + q);
    v.jkSigniYLoadings = significanceOfRows(v.fullQ, v.jkVarYLoadings, m + q);
    if (q == 0) return;

    v.jkBeta = FCube(m + 1, q, v.segments.rows(), 0.0f);
    for (int s = 0; s < v.segments.rows(); ++s) {
        setPage(v.jkBeta, s, cubePage(v.segmentBeta[static_cast<size_t>(s)], A - 1));
    }
    v.segmentBeta.clear();
    const FMatrix beta = cubePage(v.fullBeta, A - 1);
    v.jkVarB = varianceOf(beta, v.jkBeta, m + 1, q, factor);
    v.jackSigniB = FMatrix(m + 1, q);
    significances(beta[0], v.jkVarB[0], beta.size(), m + q - A, v.jackSigniB[0]);
}

}  // namespace veldane
