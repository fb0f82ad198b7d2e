// The own SVD beside sgesvd. Which library answers stands above the rows; the reference LAPACK and
// BLAS are taken where LD_LIBRARY_PATH names their folders.

#include <fstream>
#include <string>

#include "linalg/golub_kahan_svd.h"
#include "linalg/instruction_set.h"
#include "linalg/lapack.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

/// The files among those of this process that have `part` in their names.
std::string loadedFiles(const std::string& part) {
    std::ifstream maps("/proc/self/maps");
    std::string line, file, result;
    while (std::getline(maps, line)) {
        const size_t path = line.find('/');
        if (path == std::string::npos || line.substr(path) == file) continue;
        file = line.substr(path);
        if (file.find(part, file.rfind('/')) != std::string::npos) result += file + ' ';
    }
    return result;
}

void svdBesideSgesvd(benchmark::State& state) {
    if (!loadLapack()) return state.SkipWithError("no LAPACK");
    const FMatrix x =
        randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const FortranMatrix fortran(x);
    FortranMatrix U, VT;
    FortranVector S;
    useInstructionSet(std::min(static_cast<InstructionSet>(state.range(2)), bestInstructionSet()));
    pair(
        state, 1, [&] { lapackSvd(fortran, &U, &S, &VT); },
        [&] { benchmark::DoNotOptimize(CSVD(x)); });
    useInstructionSet(bestInstructionSet());
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"rows", "cols", "set"})->UseManualTime();
    for (int set = 2; set >= 0; --set) {
        bench->Args({100, 100, set})->Args({300, 300, set})->Args({500, 500, set});
        bench->Args({2000, 100, set});
    }
}

BENCHMARK(svdBesideSgesvd)->Apply(sizes);

[[maybe_unused]] const bool told = [] {
    loadLapack();
    benchmark::AddCustomContext("linear algebra", loadedFiles("blas") + loadedFiles("lapack"));
    return true;
}();

}  // namespace
