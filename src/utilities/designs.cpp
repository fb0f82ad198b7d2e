#include "utilities/designs.h"

#include <algorithm>
#include <limits>

namespace veldane {
namespace {

/// Empty if there is no design.
IVector levelCounts(int factors, const int* levels) {
    if (factors < 1 || !levels || levels[0] == 0) return {};
    IVector counts(factors);
    for (int f = 0; f < factors; ++f) {
        if (levels[f] < 0) return {};
        counts[f] = levels[f] == 0 ? counts[f - 1] : levels[f];
    }
    return counts;
}

int checkedProduct(int64_t a, int64_t b) {
    if (a * b > std::numeric_limits<int>::max()) throw allocationFailure;
    return static_cast<int>(a * b);
}

}  // namespace

FMatrix fullFactorial(int factors, const int* levels, int replicates) {
    const IVector counts = levelCounts(factors, levels);
    if (counts.size() == 0) return {};
    int runs = 1;
    for (const int count : counts) runs = checkedProduct(runs, count);
    const int repeats = std::max(replicates, 1);
    FMatrix design(checkedProduct(runs, repeats), factors);
    IVector level(factors, 1);
    for (int i = 0; i < runs; ++i) {
        std::copy(level.begin(), level.end(), design[i]);
        for (int f = 0; f < factors && level[f]++ == counts[f]; ++f) level[f] = 1;
    }
    for (int k = 1; k < repeats; ++k) {
        std::copy_n(design[0], int64_t{runs} * factors, design[k * runs]);
    }
    return design;
}

FMatrix standardSelection(int length) {
    constexpr float selection[] = {4, 8, 11, 14, 2};
    FMatrix result(1, length, 0.0f);
    if (result.size() > 0) std::copy_n(selection, std::min(length, 5), result[0]);
    return result;
}

}  // namespace veldane
