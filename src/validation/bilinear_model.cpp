#include "validation/bilinear_model.h"

#include <algorithm>

#include "linalg/kernels.h"
#include "linalg/missing_products.h"

namespace veldane {

bool BilinearModel::isBuilt() const {
    const int n = X.rows(), m = X.cols(), A = T.cols();
    const bool fitsX = A > 0 && X.size() > 0 && T.rows() == n && Pt.rows() == A && Pt.cols() == m &&
                       scoreWeights.rows() == A && scoreWeights.cols() == m;
    return fitsX && (Y.size() == 0 || (Y.rows() == n && Q.rows() == A && Q.cols() == Y.cols()));
}

FMatrix lessMeans(const FMatrix& a, const FMatrix& means) {
    return means.size() > 0 ? matSubtract(a, means) : matClone(a);
}

FMatrix project(const BilinearModel& model, const FMatrix& centredX) {
    if (!model.aroundMissing) return matMultiplyABt(centredX, model.scoreWeights);
    // The weights that a component was found with, on what the components before it left.
    const FMatrix e = matClone(centredX);
    FMatrix scores(e.rows(), model.components());
    const FMatrix t(e.rows(), 1);
    for (int a = 0; a < model.components(); ++a) {
        projectRows(e, model.Wt[a], matRowSumSquare(model.Wt, a), t.storage().data());
        matSetColumn(scores, t, a);
        for (int i = 0; i < e.rows(); ++i) {
            for (int j = 0; j < e.cols(); ++j) e[i][j] -= t[i][0] * model.Pt[a][j];
        }
    }
    return scores;
}

void reconstruct(const FMatrix& t, const FMatrix& p, const FMatrix& means, const IVector& pages,
                 const FCube& cube) {
    // A strip of columns at a time, whose part of the page stays close by.
    constexpr int width = 16;
    const int A = p.rows(), m = p.cols();
    const bool centred = means.size() > 0;
    for (int i = 0; i < t.filledRows(); ++i) {
        for (int first = 0; first < m; first += width) {
            const int count = std::min(width, m - first);
            float* out = cube[pages[i]][first];
            float sums[width] = {};
            for (int a = 0; a < A; ++a) {
                const float* loading = p[a] + first;
                for (int j = 0; j < count; ++j) {
                    sums[j] += t[i][a] * loading[j];
                    out[j * A + a] = centred ? sums[j] + means[0][first + j] : sums[j];
                }
            }
        }
    }
}

IVector allOf(int count) {
    IVector numbers(count);
    for (int i = 0; i < numbers.size(); ++i) numbers[i] = i;
    return numbers;
}

}  // namespace veldane
