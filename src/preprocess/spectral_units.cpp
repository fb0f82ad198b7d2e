#include <cmath>

#include "preprocess/table_transform.h"

using namespace veldane;

namespace {

// What counts as no light at all.
constexpr double threshold = 1e-36f;
constexpr double missing = missingValue();

/// Reports column by column. The columns of a cache line are converted together. A NaN stays one.
template <class Convert>
int convertSpectra(ArrayDesc* data, Convert convert) {
    return transformTable(data, [&](const FMatrix& x) {
        constexpr int width = 16;
        for (int first = 0; first < x.cols(); first += width) {
            const int count = std::min(width, x.cols() - first);
            for (int j = 0; j < count; ++j) reportShare(first + j, x.cols());
            for (int i = 0; i < x.rows(); ++i) {
                float* value = x[i] + first;
                for (int j = 0; j < count; ++j) value[j] = static_cast<float>(convert(value[j]));
            }
        }
        status().report(1.0f, transformed);
    });
}

}  // namespace

int spectraabstoref(ArrayDesc* data) {
    return convertSpectra(data, [](double x) {
        if (std::fabs(x) <= threshold) return 1.0;
        if (x > 35.0) return 0.0;
        return x < -35.0 ? missing : std::pow(10.0, -x);
    });
}

int spectrareftoabs(ArrayDesc* data) {
    return convertSpectra(
        data, [](double x) { return std::fabs(x) <= threshold ? missing : -std::log10(x); });
}

int spectrareftokm(ArrayDesc* data) {
    return convertSpectra(data, [](double x) {
        const double units = (1.0 - x) * (1.0 - x) / (2.0 * x);
        return std::fabs(x) <= threshold ? missing : units;
    });
}
