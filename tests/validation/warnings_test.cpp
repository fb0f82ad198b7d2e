#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "linalg/kernels.h"
#include "regression/pls_model.h"
#include "support/compare.h"
#include "validation/validation.h"

namespace veldane::test {
namespace {

constexpr int n = 20, p = 8;

/// Four factors; sample 6 lies far out, sample 11 has an odd response and element (3, 5) is wrong.
struct Table {
    Table() : X(randomMatrix(n, p, 21)), Y(n, 1) {
        for (int j = 0; j < p; ++j) X[5][j] *= 6;
        X[2][4] += 4;
        for (int i = 0; i < n; ++i) Y[i][0] = X[i][0] + X[i][1];
        Y[10][0] += 5;
    }
    FMatrix X, Y;
};

CPCRValidation validated(int mode) {
    const Table table;
    CPLSModel model;
    EXPECT_EQ(model.build(table.X.clone(), table.Y.clone(), 4, true, 0), 0);
    const BilinearModel fit = bilinear(model);
    CPCRValidation v = mode == CPCRValidation::testSet
                           ? CPCRValidation(fit, matScale(table.X, 1.5f), table.Y)
                           : CPCRValidation(fit, FMatrix());
    EXPECT_EQ(v.run(mode, {}), 0);
    return v;
}

/// No limit is exceeded and none is undercut.
FMatrix silent() {
    FMatrix thresholds(14, 1, infinity);
    thresholds[4][0] = thresholds[5][0] = -infinity;
    return thresholds;
}

std::set<int> codesOf(const FMatrix& warnings) {
    std::set<int> codes;
    for (int i = 0; i < warnings.rows(); ++i) codes.insert(static_cast<int>(warnings[i][0]));
    return codes;
}

TEST(Warnings, EachThresholdHasItsCodes) {
    struct Case {
        int row;
        float limit;
        std::set<int> withSegments, withTestSet;
    };
    const Case cases[] = {{0, 0, {100}, {100}},
                          {1, -infinity, {180, 181}, {180, 181}},
                          {4, infinity, {170, 171}, {170, 171}},
                          {5, infinity, {152, 153, 162, 163}, {}},
                          {7, 0, {121, 123}, {121, 122, 123, 124}},
                          {9, 0, {150, 160}, {150, 160}},
                          {10, 0, {151, 161}, {151, 161}},
                          {11, 0, {172, 173}, {}},
                          {12, 0, {130, 140}, {130, 131, 140, 141}}};
    for (const int mode : {CPCRValidation::leverageCorrection, CPCRValidation::testSet}) {
        CPCRValidation v = validated(mode);
        EXPECT_TRUE(v.computeWarnings(silent()));
        EXPECT_EQ(v.warnings.rows(), 0);
        for (const Case& c : cases) {
            FMatrix thresholds = silent();
            thresholds[c.row][0] = c.limit;
            EXPECT_TRUE(v.computeWarnings(thresholds));
            EXPECT_EQ(codesOf(v.warnings),
                      mode == CPCRValidation::testSet ? c.withTestSet : c.withSegments)
                << "row " << c.row << ", mode " << mode;
        }
    }
    CPCRValidation v = validated(0);
    EXPECT_FALSE(v.computeWarnings(FMatrix(13, 1, 0.0f)));
    v.model = BilinearModel();
    EXPECT_FALSE(v.computeWarnings(silent()));
}

TEST(Warnings, NameWhatIsOddOnceAndWithTheFewestComponents) {
    CPCRValidation v = validated(0);
    FMatrix thresholds = silent();
    thresholds[0][0] = 3;
    thresholds[7][0] = 2;
    thresholds[12][0] = 3;
    ASSERT_TRUE(v.computeWarnings(thresholds));
    const auto find = [&](int code, int number, int element) {
        int found = -1;
        for (int i = 0; i < v.warnings.rows(); ++i) {
            const float* w = v.warnings[i];
            const bool same = w[0] == static_cast<float>(code) &&
                              w[2] == static_cast<float>(number) &&
                              (element ? w[3] == static_cast<float>(element) : !(w[3] > 0));
            if (same) {
                EXPECT_EQ(found, -1) << "twice";
                found = i;
            }
        }
        return found < 0 ? FMatrix() : matRow(v.warnings, found);
    };
    const FMatrix leverage = find(100, 6, 0);
    ASSERT_EQ(leverage.size(), 6);
    EXPECT_EQ(leverage[0][1], 1);
    EXPECT_TRUE(std::isnan(leverage[0][3]));
    EXPECT_EQ(leverage[0][4], 3);
    EXPECT_GT(leverage[0][5], 3);
    EXPECT_EQ(find(123, 11, 0).size(), 6) << "the odd response";
    EXPECT_EQ(find(140, 11, 1).size(), 6);
    EXPECT_EQ(find(130, 3, 5).size(), 6) << "the wrong element";
    EXPECT_EQ(find(121, 6, 0)[0][1], 0) << "far from the mean before any component";
    EXPECT_EQ(find(100, 11, 0).size(), 0);

    // Both at the same number of components, and just one record of it.
    thresholds[7][0] = 0;
    ASSERT_TRUE(v.computeWarnings(thresholds));
    EXPECT_TRUE(sameBits(find(102, 6, 0), matrixOf({{102, 1, 6, -1, -1, -1}})));
}

}  // namespace
}  // namespace veldane::test
