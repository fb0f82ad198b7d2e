// A table times a vector, both ways, beside the plain read of the table and beside the plain loops.

#include <cstring>

#include "linalg/thin_products.h"
#include "paired.h"

namespace {

using namespace veldane;
using namespace veldane::bench;

/// The sum of all elements in eight independent vectors: what one core can read.
__attribute__((target_clones("avx512f", "avx2", "default"))) float readAll(const FMatrix& e) {
    typedef float Lanes __attribute__((vector_size(64)));
    constexpr int step = 128;
    Lanes sums[8] = {};
    const float* from = e[0];
    int k = 0;
    for (; k + step <= e.size(); k += step) {
        for (int s = 0; s < 8; ++s) {
            Lanes lanes;
            std::memcpy(&lanes, from + k + s * 16, sizeof lanes);
            sums[s] += lanes;
        }
    }
    Lanes sum = {};
    for (const Lanes& part : sums) sum += part;
    float total = 0.0f;
    for (; k < e.size(); ++k) total += from[k];
    for (int l = 0; l < 16; ++l) total += sum[l];
    return total;
}

struct Table {
    explicit Table(const benchmark::State& state)
        : e(randomMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)))),
          p(e.cols(), 0.5f),
          t(e.rows(), 0.25f),
          q(e.cols(), 0.0f) {}

    int repeats() const { return repeatsFor(e.size() / 4.0); }

    FMatrix e;
    FVector p, t, q;
};

template <class Reference, class Product>
void beside(benchmark::State& state, Reference reference, Product product) {
    const Table table(state);
    pair(
        state, table.repeats(), [&] { reference(table); }, [&] { product(table); });
}

void read(const Table& x) {
    benchmark::DoNotOptimize(readAll(x.e));
}
void plainRows(const Table& x) {
    for (int i = 0; i < x.e.rows(); ++i) {
        float sum = 0.0f;
        for (int j = 0; j < x.e.cols(); ++j) sum += x.e[i][j] * x.p[j];
        x.t[i] = sum;
    }
}
void plainColumns(const Table& x) {
    for (int j = 0; j < x.e.cols(); ++j) {
        float sum = 0.0f;
        for (int i = 0; i < x.e.rows(); ++i) sum += x.e[i][j] * x.t[i];
        x.q[j] = sum;
    }
}
void rows(const Table& x) {
    multiplyByVector(x.e, x.p.data(), x.t.data());
}
void columns(const Table& x) {
    multiplyTransposedByVector(x.e, x.t.data(), x.q.data());
}
void both(const Table& x) {
    multiplyBothWays(x.e, x.p.data(), x.t.data(), x.q.data());
}

void rowsBesideRead(benchmark::State& state) {
    beside(state, read, rows);
}
void columnsBesideRead(benchmark::State& state) {
    beside(state, read, columns);
}
/// Two products in one pass; the reference reads once.
void bothBesideRead(benchmark::State& state) {
    beside(state, read, both);
}
void rowsBesidePlain(benchmark::State& state) {
    beside(state, plainRows, rows);
}
void columnsBesidePlain(benchmark::State& state) {
    beside(state, plainColumns, columns);
}

void large(benchmark::internal::Benchmark* bench) {
    bench->Args({60, 10000})
        ->Args({500, 2000})
        ->Args({5000, 5000})
        ->UseManualTime()
        ->Iterations(turns);
}
void small(benchmark::internal::Benchmark* bench) {
    bench->Args({4, 4})->Args({8, 8})->Args({12, 12})->Args({20, 200})->UseManualTime()->Iterations(
        turns);
}

BENCHMARK(rowsBesideRead)->Apply(large);
BENCHMARK(columnsBesideRead)->Apply(large);
BENCHMARK(bothBesideRead)->Apply(large);
BENCHMARK(rowsBesidePlain)->Apply(small);
BENCHMARK(columnsBesidePlain)->Apply(small);

}  // namespace
