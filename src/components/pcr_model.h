#pragma once

#include "core/array.h"

namespace veldane {

/// Principal components of X, n x m, with A components.
///
/// A build keeps a wrapper on the caller's X. It replaces T, Pt, xMeans, weightedX and, where its
/// algorithm has one, latent; a build that is refused leaves them.
class CPCRModel {
  public:
    enum Algorithm { nipals = 0, missingNipals = 3 };

    FMatrix T;             ///< scores, n x A
    FMatrix Pt;            ///< loadings, A x m, one component a row
    FVector latent;        ///< t' X p of each component (nipals); missingNipals leaves it alone
    FMatrix xMeans;        ///< column means of weightedX, 1 x m
    FMatrix X;             ///< as given, n x m
    FMatrix xWeights;      ///< 1 x m; empty until set, or until a build fills it with ones
    FMatrix weightedX;     ///< X times the weights; shares X where none were set
    char label[256] = "";  ///< precedes the progress messages
    int numPC = 0;
    bool centred = false;
    int algorithm = nipals;

    /// NIPALS on complete data. 0, also when cancelled; -1 for fewer than two samples or variables
    /// or for weights that do not fit.
    int buildNipals(const FMatrix& x, int components, bool centre, int maxIterations);

    /// NIPALS that leaves missing values out. 0; -1 when cancelled or for weights that do not fit;
    /// -2 for fewer than two samples or variables.
    int buildMissingNipals(const FMatrix& x, int components, bool centre, int maxIterations);

  private:
    void assign(const FMatrix& x, int components, bool centre, Algorithm choice);

    /// Both report why.
    bool hasEnoughData() const;
    bool weightsFit() const;

    void applyWeights();
};

/// a / (count - 1), the progress at component a of count; NaN for a single one.
float componentProgress(int a, int count);

}  // namespace veldane
