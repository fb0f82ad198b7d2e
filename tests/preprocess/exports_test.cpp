#include "support/compare.h"
#include "support/recorder.h"

namespace veldane::test {
namespace {

constexpr int most = 2147483647, least = -most - 1;
const std::string transformed = "|1 Completed transformation";
const std::string normalized = "|0 |0.5 |1 Completed normalization";
const std::string corrected = "|0 |0.5 |1 Completed baseline correction";
const std::string filtered = "|0 |0.5 " + transformed, twice = filtered + filtered;
const std::string columns = "|0 |0.25 |0.5 |0.75 " + transformed;

/// With what a table of 2 x 4 reports.
const struct {
    std::function<int(ArrayDesc*)> run;
    std::string reports;
} exports[] = {{normalizemean, "|0 |0.5 |1 "},
               {normalizemax, normalized},
               {normalizerange, normalized},
               {normalizearea, normalized},
               {[](auto x) { return normalizepeak(x, 0); }, normalized},
               {normalizeunit, ""},
               {snv, normalized},
               {baselineoffset, corrected},
               {[](auto x) { return linearbaselinecorrection(x, 1, 1); }, corrected},
               {spectraabstoref, columns},
               {spectrareftoabs, columns},
               {spectrareftokm, columns},
               {[](auto x) { return derivnorrisgap(x, 2, 1); }, twice},
               {[](auto x) { return derivnorrisgap(x, 4, most); }, twice},
               {[](auto x) { return derivnorrisgapsegment(x, 1, 0, 2); }, twice},
               {[](auto x) { return derivnorrisgapsegment(x, 5, most, most); }, twice},
               {[](auto x) { return derivsgolay(x, 1, 3, 2, 2); }, filtered},
               {[](auto x) { return derivsgolay(x, 0, most, most, most); }, filtered},
               {[](auto x) { return derivsgolay(x, 0, least, least, 99); }, filtered},
               {[](auto x) { return derivsgolaynew(x, 1, 3, 1, 2); }, filtered},
               {[](auto x) { return derivsgolaynew(x, 0, 1, most, 1); }, filtered},
               {[](auto x) { return movingavg(x, 7); }, filtered},
               {[](auto x) { return movingavg(x, most); }, filtered},
               {[](auto x) { return medianfilter(x, 5); }, ""},
               {[](auto x) { return medianfilter(x, 41); }, ""},
               {[](auto x) { return medianfilter(x, most); }, ""},
               {[](auto x) { return gaussianfilter(x, 1); }, ""},
               {[](auto x) { return detrend(x, 2); }, ""}};

template <class Action>
void eachExport(Action action) {
    for (const auto& each : exports) {
        SCOPED_TRACE(testing::Message() << "export " << &each - exports);
        action(each.run, each.reports);
    }
}

template <class... Arguments, class... Given>
void refused(int code, int (*run)(ArrayDesc*, Arguments...), Given... arguments) {
    const FMatrix x = randomMatrix(2, 9, 1);
    Recorder recorder;
    const Applied result = apply(run, x, arguments...);
    EXPECT_EQ(result.code, code);
    EXPECT_TRUE(sameBits(result.table, x) && recorder.reports.empty());
}

}  // namespace

TEST(PreprocessTest, NullIsRefusedAndRowsAreReported) {
    eachExport([](const auto& run, const std::string& expected) {
        Recorder recorder;
        EXPECT_EQ(run(nullptr), 2);
        EXPECT_TRUE(recorder.reports.empty());
        InDesc data(FMatrix(2, 4, 1.0f));
        EXPECT_EQ(run(&data), 0);
        std::ostringstream lines;
        for (const auto& [progress, message] : recorder.reports)
            lines << '|' << progress << ' ' << message;
        EXPECT_EQ(lines.str(), expected);
    });
}

TEST(PreprocessTest, BadArgumentsAreRefusedBeforeAnythingIsWritten) {
    for (const int column : {-1, 9, most, least}) refused(2, normalizepeak, column);
    for (const int column : {0, 10, most, least}) {
        refused(2, linearbaselinecorrection, 1, column);
        refused(2, linearbaselinecorrection, column, 9);
    }
    for (const int order : {0, 6, least}) {
        refused(3, derivnorrisgap, order, -1);
        refused(3, derivnorrisgapsegment, order, -1, 0);
    }
    refused(4, derivnorrisgap, 1, -1);
    refused(4, derivnorrisgapsegment, 2, least, 0);
    refused(6, derivnorrisgapsegment, 1, 0, 0);
    for (const int gap : {0, 2}) refused(5, derivnorrisgap, 1, gap);
    for (const auto run : {derivsgolay, derivsgolaynew}) {
        refused(2, run, 0, 3, -3, 1);
        refused(2, run, 2, 2, 2, 1);
        refused(2, run, -1, 2, 2, 1);
    }
    for (const int width : {least, -3, 0, 1, 2, 4}) refused(6, movingavg, width);
    for (const int width : {least, 0}) refused(6, medianfilter, width);
    for (const int degree : {least, 0, 5}) refused(2, detrend, degree);
}

TEST(PreprocessTest, AnyShapeIsTransformedInPlace) {
    eachExport([](const auto& run, const auto&) {
        for (const auto& [n, m] : {std::pair{0, 0}, {0, 5}, {5, 0}, {1, 1}, {1, 6}, {6, 1}}) {
            InDesc data(randomMatrix(n, m, 7));
            data.kind = VELDANE_KIND_LIBRARY;
            const float* elements = data.data;
            EXPECT_EQ(run(&data), 0) << n << " x " << m;
            const bool gone = m == 0 && data.cols == 0 && data.rows == 0;
            EXPECT_TRUE(gone || (data.rows == n && data.cols == m && data.data == elements));
        }
    });
}

TEST(PreprocessTest, RowsAreTreatedAloneUnderEachInstructionSet) {
    const FMatrix x = randomMatrix(37, 131, 3, {0.004, 0.001, 0.02});
    eachExport([&](const auto& run, const auto&) {
        InDesc alone(x);
        useInstructionSet(InstructionSet::baseline);
        for (int i = 0; i < x.rows(); ++i) {
            ArrayDesc row = {0, x.cols(), 1, 1, alone.elements[i]};
            EXPECT_EQ(run(&row), 0);
        }
        withEachInstructionSet([&] {
            InDesc all(x);
            EXPECT_EQ(run(&all), 0);
            EXPECT_TRUE(sameBits(all.elements, alone.elements));
        });
    });
}

}  // namespace veldane::test
