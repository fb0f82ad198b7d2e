// What an iteration of the two NIPALS builders costs, by the difference of a long and a short
// build.

#include "components/pcr_model.h"
#include "linalg/thin_products.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

constexpr int fewIterations = 3;
constexpr int moreIterations = 53;

/// A table whose first component takes more iterations than are asked for.
FMatrix table(const benchmark::State& state) {
    return randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
}

/// The best times of a short and a long build, whose difference is that of their iterations.
class IterationTime {
  public:
    IterationTime(CPCRModel::Algorithm builder, const FMatrix& x) : builder_(builder), x_(x) {}

    void measure() {
        few_ = std::min(few_, timeOf(fewIterations));
        more_ = std::min(more_, timeOf(moreIterations));
    }
    double seconds() const { return (more_ - few_) / (moreIterations - fewIterations); }

  private:
    double timeOf(int limit) {
        return secondsOf(1, [&] {
            CPCRModel model;
            model.build(x_, {}, 1, true, limit, builder_);
        });
    }

    CPCRModel::Algorithm builder_;
    FMatrix x_;
    double few_ = 1e9;
    double more_ = 1e9;
};

class TwoPasses {
  public:
    explicit TwoPasses(const FMatrix& x) : x_(x), p_(x.cols(), 0.5f), t_(x.rows()) {}

    void measure() {
        seconds_ = std::min(seconds_, secondsOf(3, [&] {
                                multiplyByVector(x_, p_.data(), t_.data());
                                multiplyTransposedByVector(x_, t_.data(), p_.data());
                            }));
    }
    double seconds() const { return seconds_; }

  private:
    FMatrix x_;
    FVector p_, t_;
    double seconds_ = 1e9;
};

template <class Reference, class Measured>
void compare(benchmark::State& state, const char* name, Reference reference, Measured measured) {
    for ([[maybe_unused]] auto _ : state) {
        reference.measure();
        measured.measure();
        state.SetIterationTime(1e-9);
    }
    state.counters["iteration_us"] = measured.seconds() * 1e6;
    state.counters[name] = measured.seconds() / reference.seconds();
}

void iterationBesideTwoPasses(benchmark::State& state) {
    const FMatrix x = table(state);
    compare(state, "times_two_passes", TwoPasses(x), IterationTime(CPCRModel::nipals, x));
}
void missingIterationBesideComplete(benchmark::State& state) {
    const FMatrix x = table(state);
    compare(state, "times_complete", IterationTime(CPCRModel::nipals, x),
            IterationTime(CPCRModel::missingNipals, withMissing(x, 0.02)));
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({60, 401})->Args({60, 10000})->Args({500, 2000})->Args({2000, 5000});
    bench->UseManualTime()->Iterations(turns);
}

BENCHMARK(iterationBesideTwoPasses)->Apply(sizes);
BENCHMARK(missingIterationBesideComplete)->Apply(sizes);

}  // namespace
