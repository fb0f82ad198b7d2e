// What a cross-validation costs beside the builds of its segments alone, and the uncertainty test
// beside the run without it. Rows: samples, variables, segments.

#include "paired.h"
#include "regression/pls_model.h"
#include "validation/sample_split.h"
#include "validation/validation.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

constexpr int factors = 10;

class Calibration {
  public:
    explicit Calibration(const benchmark::State& state)
        : x_(randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)))),
          y_(randomMatrix(x_.rows(), 1)) {
        const int count = static_cast<int>(state.range(2)), size = x_.rows() / count;
        segments_ = FMatrix(count, size);
        for (int s = 0; s < count; ++s) {
            for (int c = 0; c < size; ++c) segments_[s][c] = static_cast<float>(s * size + c + 1);
        }
        model_.build(x_, y_, factors, true, CPLSModel::covarianceKernel);
    }

    void build() const {
        for (int s = 0; s < segments_.rows(); ++s) {
            const SampleSplit split(segments_, s, x_.rows());
            CPLSModel().build(x_.selectRows(split.kept), y_.selectRows(split.kept), factors, true,
                              CPLSModel::covarianceKernel);
        }
    }

    void validate(int uncertainty) const {
        CPCRValidation validation(bilinear(model_), segments_);
        validation.uncertaintyOn = uncertainty;
        validation.uncertaintyPC = factors;
        validation.run(CPCRValidation::crossValidation,
                       [&](const FMatrix& x, const FMatrix& y, const char* label,
                           BilinearModel& built) { return rebuild(model_, x, y, label, built); });
    }

  private:
    FMatrix x_, y_, segments_;
    CPLSModel model_;
};

void crossValidationBesideItsBuilds(benchmark::State& state) {
    const Calibration c(state);
    pair(
        state, 1, [&] { c.build(); }, [&] { c.validate(0); });
}

void uncertaintyTestBesideNone(benchmark::State& state) {
    const Calibration c(state);
    pair(
        state, 1, [&] { c.validate(0); }, [&] { c.validate(1); });
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({60, 401, 60})->Args({500, 2000, 10});
    bench->UseManualTime()->Iterations(turns);
}

BENCHMARK(crossValidationBesideItsBuilds)->Apply(sizes);
BENCHMARK(uncertaintyTestBesideNone)->Apply(sizes);

}  // namespace
