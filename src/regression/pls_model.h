#pragma once

#include "core/array.h"
#include "validation/bilinear_model.h"

namespace veldane {

class HaltEvent;

/// Partial least squares of Y, n x m, on X, n x p, with A factors.
///
/// A build keeps wrappers on the caller's X and Y. It replaces what stands above "filled on
/// request" but the weights; one that is refused leaves all.
class CPLSModel {
  public:
    enum Algorithm { covarianceKernel = 0, sampleKernel = 1, nipals = 2, missingNipals = 3 };

    FMatrix X;       ///< as given, n x p
    FMatrix Y;       ///< as given, n x m
    FMatrix xMeans;  ///< column means of weightedX, 1 x p
    FMatrix yMeans;  ///< column means of weightedY, 1 x m
    FMatrix T;       ///< X scores, n x A
    FMatrix Wt;      ///< loading weights, A x p, one factor a row
    FMatrix Pt;      ///< X loadings, A x p
    FMatrix U;       ///< Y scores, n x A
    FCube betaFull;  ///< coefficients in raw units, filled on request
    FCube
        betaWeighted;  ///< (p + 1) x m x A: intercepts, then variables; [.][j][a] of a + 1 factors
    FMatrix Q;         ///< Y loadings, A x m
    FCube yResiduals;  ///< n x m x A; each builder has its own form of it
    FCube yFitted;     ///< n x m x A, on the scale of weightedY, with the means
    FMatrix R;         ///< rotation, p x A: T = (centred X) R

    // Filled on request.
    FMatrix correlationX;  ///< A x p
    FMatrix correlationY;  ///< A x m
    FMatrix leverageY;     ///< of the variables, A x p
    FMatrix leverageX;     ///< of the samples, n x A

    FMatrix xWeights;      ///< 1 x p; empty until set, or until a build fills it with ones
    FMatrix yWeights;      ///< 1 x m, likewise
    FMatrix weightedX;     ///< X times the weights; shares X where none were set
    FMatrix weightedY;     ///< Y likewise
    char label[256] = "";  ///< precedes the progress messages
    int numFactors = 0;
    bool centred = false;
    int algorithm = covarianceKernel;

    /// Cut after 255 characters.
    void setLabel(const char* text);

    // The builders. 0, also when a factor did not converge; -1 when cancelled, with the factors
    // that were not reached 0, and for data that do not fit, which is reported.

    /// Dayal and MacGregor, J. Chemometrics 11 (1997) 73-85: X'Y is deflated, X is not.
    int buildCovarianceKernel(const FMatrix& x, const FMatrix& y, int factors, bool centre);

    /// Rännar, Lindgren, Geladi and Wold, J. Chemometrics 8 (1994) 111-125: XX' and YY', for p much
    /// larger than n.
    int buildSampleKernel(const FMatrix& x, const FMatrix& y, int factors, bool centre);

    /// NIPALS on complete data. Geladi and Kowalski, Anal. Chim. Acta 185 (1986) 1-17.
    int buildNipals(const FMatrix& x, const FMatrix& y, int factors, bool centre,
                    int maxIterations);

    /// NIPALS that leaves missing values out. Does not write yFitted and yResiduals.
    int buildMissingNipals(const FMatrix& x, const FMatrix& y, int factors, bool centre,
                           int maxIterations);

    /// The builder of that number, 0 to 3, with its usual limit of iterations. -1 for any other.
    int build(const FMatrix& x, const FMatrix& y, int factors, bool centre, int builder);

    /// Fills betaFull from betaWeighted and the weights.
    void computeBeta();

    // Results on request. Before a build they are empty.

    /// Fitted Y by the coefficients with 1 to A factors, on the scale of weightedY, n x m x A.
    FCube predict() const;
    void computeLeverages();
    void computeCorrelationLoadings();
    FMatrix hotellingT2() const;      ///< n x A
    FMatrix qResidualLimits() const;  ///< 1 x A
    /// 6 x A: squares of scores, loadings, loading weights, Y loadings; least and largest score.
    FMatrix sumsOfSquares() const;

  private:
    /// Reports why not. The model is as it was then.
    bool accepts(const FMatrix& x, const FMatrix& y, int factors) const;

    /// Settings, weights, and results of zeros.
    void open(const FMatrix& x, const FMatrix& y, int factors, bool centre, Algorithm builder,
              HaltEvent& halt);
    /// The means and the cubes of the fit, as the builders for complete data have them.
    void openComplete();

    /// Reports factor a; false, with the reports of a cancel, if one was requested.
    bool startFactor(int a, HaltEvent& halt) const;

    /// R = W (P'W)⁻¹ from the factors that were reached; of a single factor W itself.
    void setRotation(int reached);
    /// The same with P'W given, A x A, also for a single factor.
    void setRotation(const FMatrix& pw, int reached);

    /// Weights, loadings, coefficients and fit of the sample kernel, from T and U. x and y as the
    /// factors left them.
    void closeSampleKernel(const FMatrix& x, const FMatrix& y, int reached);

    /// betaWeighted's slopes with 1 to `factors` factors, the products of R and Q.
    void setSlopes(int factors, bool skipMissing);

    /// The intercepts, and what the builder returns.
    int finish(bool cancelled);
};

/// For its validation; see BilinearModel.
BilinearModel bilinear(const CPLSModel& model);
int rebuild(const CPLSModel& settings, const FMatrix& x, const FMatrix& y, const char* label,
            BilinearModel& built);

/// out[first + i][j][a] = sum of left[i][k] right[k][j] over k = 0..a, for a below `factors`. With
/// skipMissing a pair with a NaN is left out, and a sum without any pair is NaN.
void accumulateProducts(const FMatrix& left, const FMatrix& right, int factors, bool skipMissing,
                        const FCube& out, int first);

/// v / (v'v) of a column; empty for an empty v.
FMatrix dividedBySquare(const FMatrix& v);

/// New samples by the rotation of a model, A x p; `factors` is from 1 to A.
struct PlsProjection {
    FMatrix scores;       ///< samples x factors
    FMatrix hotellingT2;  ///< samples x factors
};
PlsProjection projectOnFactors(const FMatrix& x, const FMatrix& means, const FMatrix& rotation,
                               bool centre, int factors);

}  // namespace veldane
