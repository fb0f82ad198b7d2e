#pragma once

#include <functional>
#include <vector>

#include "core/array.h"
#include "validation/bilinear_model.h"

namespace veldane {

class HaltEvent;
struct SampleSplit;

/// One validation of one model of n samples, m X-variables, q Y-variables and A components:
/// leverage correction, segmented cross-validation or a test set. Serves every model class that a
/// BilinearModel can speak for; the tables of Y stay empty for a model of X alone.
///
/// Tables have A + 1 rows or columns, for 0 to A components. Those marked Val have one sample for
/// each of the test set where there is one. They are on the scale of the weighted data.
class CPCRValidation {
  public:
    enum Mode { leverageCorrection = 0, crossValidation = 1, testSet = 2 };

    /// Builds the model of other samples under a label; non-zero if it failed or was cancelled.
    using Rebuild = std::function<int(const FMatrix& x, const FMatrix& y, const char* label,
                                      BilinearModel& built)>;

    /// segmentMatrix: S x c, a row of 1-based sample numbers for each segment, 0 in unused places.
    CPCRValidation(BilinearModel validated, const FMatrix& segmentMatrix);
    /// The test set as the model's X and Y were given.
    CPCRValidation(BilinearModel validated, const FMatrix& testSetX, const FMatrix& testSetY);

    int mode = leverageCorrection;
    int hasY = 0;
    /// The model under validation. After a build or an _Init it is the family's new model.
    BilinearModel model;
    FMatrix segments;
    FMatrix segmentOf;  ///< n x 1, the 0-based segment of each sample; -1 for none
    FMatrix testX;      ///< weighted
    FMatrix testY;
    FMatrix givenTestY;  ///< as given
    FMatrix testScores;  ///< of testX, test samples x A

    FCube validatedX;         ///< n x m x A, reconstructed by the model with a + 1 components
    FCube leftOutX;           ///< the same of each sample while it was left out; NaN for no segment
    FCube testReconstructed;  ///< test samples x m x A
    FMatrix sampleResidualsCal, sampleResidualsVal;      ///< mean squares, n x (A + 1)
    FMatrix variableResidualsCal, variableResidualsVal;  ///< (A + 1) x m
    FMatrix totalResiduals;                              ///< (A + 1) x 2: calibration, validation

    FCube fittedY, predictedY;                             ///< n x q x (A + 1)
    FMatrix sampleResidualsCalY, sampleResidualsValY;      ///< n x (A + 1)
    FMatrix variableResidualsCalY, variableResidualsValY;  ///< (A + 1) x q
    FMatrix totalResidualsY;                               ///< (A + 1) x 2
    FMatrix rmseLeftOut;  ///< of a cross-validation: of the left-out samples, (A + 1) x q

    FMatrix warnings;  ///< one row of six a warning

    int uncertaintyOn = 0;
    int uncertaintyPC = -1;                  ///< components to test; -1: the suggested number
    FMatrix fullT, fullPt, fullWt, fullQ;    ///< of the model, as it was at the run
    FCube fullBeta;                          ///< betaWeighted likewise
    FCube jkScores;                          ///< n x A' x S
    FCube jkLoadings, jkLoadingWeights;      ///< A' x m x S
    FCube jkYLoadings;                       ///< A' x q x S
    FCube jkBeta;                            ///< (m + 1) x q x S
    FMatrix jkVarScores;                     ///< n x A'
    FMatrix jkVarLoadings, jkVarLoadingWts;  ///< A' x m
    FMatrix jkVarYLoadings;                  ///< A' x q
    FMatrix jkVarB;                          ///< (m + 1) x q
    FMatrix jkSigniLoadings, jkSigniLoadingWts, jkSigniYLoadings, jackSigniB;
    std::vector<FCube> segmentBeta;  ///< coefficients of the segment models until the test is done

    /// -1, with a message, for a model or a request that cannot be validated and when cancelled;
    /// what was done by then stays. A mode beside the three does nothing and gives 0.
    int run(int runMode, const Rebuild& rebuild);

    /// The number of components at which the validation residual of Y, or of X without Y, and 1 %
    /// of its start for each component are least together. NaN is passed over.
    int suggestedPC() const;

    /// Collects what exceeds the thresholds, at least 14 x 1. False if they are fewer or if the
    /// model is not the one that was validated.
    bool computeWarnings(const FMatrix& thresholds);

    /// True if a run came to its tables, be it that a cancel left zeros in them, and the model is
    /// still the one that it validated, or one of its shape.
    bool isComplete() const;

  private:
    /// X or Y with all that belongs to it.
    struct Block;
    /// What the segments of one run share.
    struct SegmentRun;
    Block blockX();
    Block blockY();

    bool isReady(int runMode) const;
    bool segmentsAreValid() const;
    bool isCancelled(HaltEvent& halt) const;
    int reportsCancelled() const;
    int calibrate(const Block& block, HaltEvent& halt);
    int correctByLeverage(const Block& block, HaltEvent& halt);
    int validateTestSet(const Block& block, HaltEvent& halt);
    int validateSegments(const Rebuild& rebuild, HaltEvent& halt);
    int validateSegment(int s, const SegmentRun& run);
    /// e is the left-out X less the segment's means, and is used up; t are its scores.
    void addLeftOut(const BilinearModel& segment, const SampleSplit& split, const FMatrix& e,
                    const FMatrix& t, const SegmentRun& run);
    void findSegments();
    void prepareTables();
    void computeTotals(const Block& block);
    int testUncertainty(bool numberGiven);
};

}  // namespace veldane
