#include <limits>

#include "linalg/row_statistics.h"
#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

void subtractMinimum(float* row, int cols) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    float least = rowExtremes(row, cols, {infinity, -infinity}).least;
    // Of zeros the first one counts, since the sign of a zero shows in the differences.
    if (least == 0.0f) least = *std::find(row, row + cols, 0.0f);
    for (int j = 0; j < cols; ++j) row[j] -= least;
}

/// The line runs through the elements `first` and `last`, 1-based.
void subtractLine(float* row, int cols, int first, int last) {
    const double a = row[first - 1], b = row[last - 1];
    const float slope = static_cast<float>((b - a) / (last - first));
    const float offset = row[first - 1];
    for (int j = 0; j < cols; ++j) row[j] -= static_cast<float>(j - first + 1) * slope + offset;
    // Exactly, also where a rounding or a missing value has run through them.
    row[first - 1] = row[last - 1] = 0.0f;
}

}  // namespace

int baselineoffset(ArrayDesc* data) {
    return transformRows(data, baselineCorrected, subtractMinimum);
}

int linearbaselinecorrection(ArrayDesc* data, int first, int last) {
    if (!data) return badArgument;
    for (const int column : {first, last}) {
        if (columnIsOutside(data, int64_t{column} - 1)) return badArgument;
    }
    return transformRows(data, baselineCorrected,
                         [=](float* row, int cols) { subtractLine(row, cols, first, last); });
}
