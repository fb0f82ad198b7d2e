// The peak memory of a build on a table of 400 MB, beside the table itself.

#include <sys/resource.h>

#include <cstdio>
#include <vector>

#include "veldane.h"

namespace {

constexpr int rows = 10000;
constexpr int cols = 10000;

double peakMegabytes() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

}  // namespace

int main() {
    std::vector<float> values(size_t{rows} * cols);
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<float>((i * 2654435761u) % 1000) / 1000.0f;
    }
    ArrayDesc x = {0, cols, rows, 1, values.data()};
    const double before = peakMegabytes();
    PCA_Init();
    const int result = PCA_BuildModel(&x, 2, 1, 5, VELDANE_PCA_NIPALS, 0);
    const double after = peakMegabytes();
    PCA_Terminate();
    std::printf(
        "table %.0f MB, peak before the build %.0f MB, peak of the build %.0f MB more (%d)\n",
        static_cast<double>(values.size()) * sizeof(float) / 1048576.0, before, after - before,
        result);
    return result;
}
