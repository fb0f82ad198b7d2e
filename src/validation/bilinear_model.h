#pragma once

#include "core/array.h"

namespace veldane {

/// What a validation needs to know of a model of n samples, m X-variables, q Y-variables and A
/// components, whichever its class. The arrays are the model's own, shared. Each model class has a
/// bilinear(model), and a rebuild(settings, x, y, label, built) that builds a model of other
/// samples, weighted already, with the settings of the given one, reporting under the label;
/// non-zero if that failed or was cancelled.
struct BilinearModel {
    FMatrix X;                   ///< n x m, weighted
    FMatrix Y;                   ///< n x q, weighted; without elements for a model of X alone
    FMatrix givenY;              ///< n x q, as given
    FMatrix T;                   ///< scores, n x A
    FMatrix Pt;                  ///< loadings, A x m
    FMatrix Wt;                  ///< loading weights, A x m; the loadings where a model has none
    FMatrix Q;                   ///< Y loadings, A x q
    FMatrix scoreWeights;        ///< A x m: centred X times its transpose gives the scores
    FMatrix xMeans;              ///< 1 x m; empty if the model is not centred
    FMatrix yMeans;              ///< 1 x q; likewise
    FMatrix xWeights;            ///< 1 x m
    FMatrix yWeights;            ///< 1 x q
    FCube beta;                  ///< (m + 1) x q x A, on the weighted scale; empty without Y
    bool aroundMissing = false;  ///< built around missing values, and projects around them
    bool hasFactors = false;     ///< calls its components so

    int components() const { return T.cols(); }
    /// False before a build, without components, and where a build did not come to its arrays.
    bool isBuilt() const;
};

/// What the model classes name alike; the rest is left to each.
template <class Model>
BilinearModel sharedArrays(const Model& model) {
    BilinearModel result;
    result.X = model.weightedX;
    result.Y = model.weightedY;
    result.givenY = model.Y;
    result.T = model.T;
    result.Pt = model.Pt;
    result.Q = model.Q;
    result.xMeans = model.centred ? model.xMeans : FMatrix();
    result.yMeans = model.centred ? model.yMeans : FMatrix();
    result.xWeights = model.xWeights;
    result.yWeights = model.yWeights;
    result.beta = model.betaWeighted;
    result.aroundMissing = model.algorithm == Model::missingNipals;
    return result;
}

/// A copy of a less the means in each row; empty means take nothing off.
FMatrix lessMeans(const FMatrix& a, const FMatrix& means);

/// Scores of samples that were centred like the model's, k x A. Around missing values each score is
/// a slope on the values that are there, and each component is taken off before the next; otherwise
/// a missing value is left out of the product.
FMatrix project(const BilinearModel& model, const FMatrix& centredX);

/// T P' + means by the first 1 to A components, [sample][variable][component]: rows t of the
/// scores, A x m loadings p. Written to the given pages of the cube, one for each row of t.
void reconstruct(const FMatrix& t, const FMatrix& p, const FMatrix& means, const IVector& pages,
                 const FCube& cube);

/// 0, 1, ... count - 1.
IVector allOf(int count);

}  // namespace veldane
