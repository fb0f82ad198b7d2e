#pragma once

#include "core/array.h"

namespace veldane {

/// Principal components of X, n x m, with A components.
///
/// A build keeps a wrapper on the caller's X. It replaces T, Pt, xMeans, weightedX and, where its
/// algorithm has one, latent; a build that is refused leaves them.
class CPCRModel {
  public:
    enum Algorithm { nipals = 0, svdRoute = 1, lapackSvdRoute = 2, missingNipals = 3 };

    FMatrix T;       ///< scores, n x A
    FMatrix Pt;      ///< loadings, A x m, one component a row
    FVector latent;  ///< t' X p of each component (nipals); missingNipals leaves it alone
    FMatrix xMeans;  ///< column means of weightedX, 1 x m
    FMatrix X;       ///< as given, n x m

    // Filled on request.
    FMatrix sampleResiduals;    ///< mean squares, n x A
    FMatrix variableResiduals;  ///< A x m
    FMatrix totalResiduals;     ///< 1 x A
    FMatrix reconstructedX;     ///< n x m, on the scale of weightedX
    FMatrix hotellingT2;        ///< n x A
    FMatrix variableLeverage;   ///< A x m
    FMatrix sampleLeverage;     ///< n x A
    FMatrix correlationX;       ///< A x m
    FMatrix rotation;           ///< A x A; empty if the build did not rotate

    FMatrix xWeights;      ///< 1 x m; empty until set, or until a build fills it with ones
    FMatrix weightedX;     ///< X times the weights; shares X where none were set
    char label[256] = "";  ///< precedes the progress messages
    int numPC = 0;
    bool centred = false;
    int algorithm = nipals;
    FMatrix invScale;  ///< reciprocals of the scores' deviations on the diagonal, A x A

    /// NIPALS on complete data. 0, also when cancelled; -1 for fewer than two samples or variables
    /// or for weights that do not fit.
    int buildNipals(const FMatrix& x, int components, bool centre, int maxIterations);

    /// NIPALS that leaves missing values out. 0; -1 when cancelled or for weights that do not fit;
    /// -2 for fewer than two samples or variables.
    int buildMissingNipals(const FMatrix& x, int components, bool centre, int maxIterations);

    /// SVD of the smaller cross product, own or by LAPACK. 0; -1 when cancelled, for more than
    /// min(n, m) components, for weights that do not fit and where LAPACK fails. A NaN spreads.
    int buildSvd(const FMatrix& x, int components, bool centre, bool useLapack);

    /// Rotates the loadings by the orthomax criterion of that number and brings the scores along.
    /// 0; -1 for fewer than two samples or variables. maxIterations is not read.
    int rotate(const FMatrix& x, int components, int rotationNumber, bool centre,
               int maxIterations);

    // Results on request, each kept in the members named like it. Before a build they are empty.

    /// T P', with the means if the build centred.
    void reconstruct();
    /// Also reconstructs.
    void computeResiduals();
    void computeLeverages();
    void computeHotellingT2();
    void computeCorrelationLoadings();

    /// Variances of the components, 1 x A.
    FMatrix explainedVariance();
    /// For 0 to A components in the model, 1 x (A + 1); 0 where no eigenvalue is known.
    FMatrix qResidualLimits();
    /// 6 x A: squares of scores, of loadings, once more, of Y loadings, least and largest score.
    FMatrix sumsOfSquares() const;

  private:
    int buildFromCrossProduct(const FMatrix& x, int components, bool centre, bool useLapack);
    /// The missing-data builder leaves latent to the first result that wants it.
    void refreshLatent();
    void assign(const FMatrix& x, int components, bool centre, Algorithm choice);

    /// Both report why.
    bool hasEnoughData() const;
    bool weightsFit() const;

    void applyWeights();
};

/// The diagonal of A'A.
FVector crossProductDiagonal(const FMatrix& a);

/// Of scores, n x A or more: sums of (scale[b] scores[i][b])² over b = 0..a in column a, n x
/// components; skips NaN.
FMatrix accumulatedSquares(const FMatrix& scores, const FVector& scale, int components);

/// a / (count - 1), the progress at component a of count; NaN for a single one.
float componentProgress(int a, int count);

}  // namespace veldane
