#include "validation/sample_split.h"

#include <algorithm>

namespace veldane {

SampleSplit::SampleSplit(const FMatrix& segments, int s, int n) {
    const float* row = segments[s];
    const auto used = [](float entry) { return entry != 0.0f; };
    leftOut = IVector(static_cast<int>(std::count_if(row, row + segments.cols(), used)));
    IVector isLeftOut(n, 0);
    int next = 0;
    for (int c = 0; c < segments.cols(); ++c) {
        if (!used(row[c])) continue;
        leftOut[next] = static_cast<int>(row[c]) - 1;
        isLeftOut[leftOut[next++]] = 1;
    }
    // A sample may stand in a segment twice.
    kept = IVector(static_cast<int>(std::count(isLeftOut.begin(), isLeftOut.end(), 0)));
    next = 0;
    for (int i = 0; i < n; ++i) {
        if (!isLeftOut[i]) kept[next++] = i;
    }
}

}  // namespace veldane
