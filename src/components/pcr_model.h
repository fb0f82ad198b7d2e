#pragma once

#include "core/array.h"
#include "validation/bilinear_model.h"

namespace veldane {

/// Principal components of X, n x m, with A components, and the regression of Y, n x q, on their
/// scores; q is 0 for components alone.
///
/// A build keeps wrappers on the caller's X and Y. It replaces T, Pt, xMeans, weightedX and, where
/// its algorithm has one, latent; a build that is refused leaves them.
class CPCRModel {
  public:
    enum Algorithm { nipals = 0, svdRoute = 1, lapackSvdRoute = 2, missingNipals = 3 };

    FMatrix T;       ///< scores, n x A
    FMatrix Pt;      ///< loadings, A x m, one component a row
    FVector latent;  ///< t' X p of each component (nipals); missingNipals leaves it alone
    FMatrix xMeans;  ///< column means of weightedX, 1 x m
    FMatrix X;       ///< as given, n x m
    FMatrix Y;       ///< as given, n x q

    FMatrix Q;           ///< Y loadings, A x q
    FMatrix yMeans;      ///< column means of weightedY, 1 x q
    FCube betaWeighted;  ///< (m + 1) x q x A: intercepts, then variables; [.][k][a] of a + 1
                         ///< components

    // Filled on request.
    FMatrix sampleResiduals;    ///< mean squares, n x A
    FMatrix variableResiduals;  ///< A x m
    FMatrix totalResiduals;     ///< 1 x A
    FMatrix reconstructedX;     ///< n x m, on the scale of weightedX
    FMatrix hotellingT2;        ///< n x A
    FMatrix variableLeverage;   ///< A x m
    FMatrix sampleLeverage;     ///< n x A
    FMatrix correlationX;       ///< A x m
    FMatrix correlationY;       ///< A x q
    FMatrix rotation;           ///< A x A; empty if the build did not rotate

    FMatrix xWeights;      ///< 1 x m; empty until set, or until a build fills it with ones
    FMatrix yWeights;      ///< 1 x q, likewise
    FMatrix weightedX;     ///< X times the weights; shares X where none were set
    FMatrix weightedY;     ///< Y likewise
    char label[256] = "";  ///< precedes the progress messages
    int numPC = 0;
    int maxIterations = 0;
    bool centred = false;
    bool cancelled = false;  ///< the last build was, whatever it returned
    int algorithm = nipals;
    FMatrix invScale;  ///< reciprocals of the scores' deviations on the diagonal, A x A

    void setLabel(const char* text);

    /// The builder of that number, any other being svdRoute, and for a y with elements the
    /// regression on its scores. The result is the builder's; -1 too for a y that does not fit.
    int build(const FMatrix& x, const FMatrix& y, int components, bool centre, int iterations,
              int builder);

    /// NIPALS on complete data. 0, also when cancelled; -1 for fewer than two samples or variables
    /// or for weights that do not fit.
    int buildNipals(const FMatrix& x, int components, bool centre, int iterations);

    /// NIPALS that leaves missing values out. 0; -1 when cancelled or for weights that do not fit;
    /// -2 for fewer than two samples or variables.
    int buildMissingNipals(const FMatrix& x, const FMatrix& y, int components, bool centre,
                           int iterations);

    /// SVD of the smaller cross product, own or by LAPACK. 0; -1 when cancelled, for more than
    /// min(n, m) components, for weights that do not fit and where LAPACK fails. A NaN spreads.
    int buildSvd(const FMatrix& x, int components, bool centre, bool useLapack);

    /// Rotates the loadings by the orthomax criterion of that number and brings the scores along.
    /// 0; -1 for fewer than two samples or variables. The limit of iterations is not read.
    int rotate(const FMatrix& x, int components, int rotationNumber, bool centre, int iterations);

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

    /// All three report why.
    bool hasEnoughData() const;
    bool weightsFit() const;
    bool takesY(const FMatrix& x, const FMatrix& y) const;

    void applyWeights();
    /// Stores Y, its weights and its means; the working copy of the weighted Y, n x q.
    FMatrix prepareY(const FMatrix& y);
    /// Fills Q from T and y, and the coefficients.
    void regressOnScores(const FMatrix& y);
    void computeCoefficients();
};

/// For its validation; see BilinearModel.
BilinearModel bilinear(const CPCRModel& model);
int rebuild(const CPCRModel& settings, const FMatrix& x, const FMatrix& y, const char* label,
            BilinearModel& built);

/// a / (count - 1), the progress at component a of count; NaN for a single one.
float componentProgress(int a, int count);

}  // namespace veldane
