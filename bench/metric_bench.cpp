#include <vx4/tessora.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

using vx4::symmetric_fixed;

// Pairs of anisotropic metrics in varied orientations, so that no reduction is trivial.
template <unsigned N>
std::vector<symmetric_fixed<double, N>> metric_pool(unsigned count) {
    std::vector<symmetric_fixed<double, N>> pool(count);
    for (unsigned k = 0; k < count; ++k) {
        const double a = 0.37 * k, s = 1.0 + 0.5 * std::sin(1.3 * k);
        if constexpr (N == 2) {
            const double c = std::cos(a), d = std::sin(a), l0 = 4.0 * s, l1 = 0.25 / s;
            pool[k] = {l0 * c * c + l1 * d * d, (l0 - l1) * c * d, l0 * d * d + l1 * c * c};
        } else {
            const double c = std::cos(a), d = std::sin(a), l0 = 4.0 * s, l1 = 0.25 / s, l2 = s;
            pool[k] = {l0 * c * c + l1 * d * d, (l0 - l1) * c * d, l0 * d * d + l1 * c * c, 0.1 * d, 0.05 * c, l2};
        }
    }
    return pool;
}

template <unsigned N>
void BM_MinimumMetric(benchmark::State& state) {
    const auto pool = metric_pool<N>(256);
    symmetric_fixed<double, N> result;
    unsigned k = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(vx4::tessora::minimum_metric(pool[k & 255], pool[(k * 7 + 3) & 255], result));
        benchmark::DoNotOptimize(result);
        ++k;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(BM_MinimumMetric, 2);
BENCHMARK_TEMPLATE(BM_MinimumMetric, 3);

// A straight chain whose sizes alternate between fine and coarse: every node is bounded.
void chain(unsigned n, vx4::dense2D<double>& x, vx4::dense2D<unsigned>& edges) {
    x.resize(2, n, 0.0);
    edges.resize(2, n - 1);
    for (unsigned k = 0; k < n; ++k) x(0, k) = 0.01 * k;
    for (unsigned e = 0; e + 1 < n; ++e) {
        edges(0, e) = e;
        edges(1, e) = e + 1;
    }
}

void BM_GradationSizesChain(benchmark::State& state) {
    const unsigned n = static_cast<unsigned>(state.range(0));
    vx4::dense2D<double> x;
    vx4::dense2D<unsigned> edges;
    chain(n, x, edges);
    vx4::dense1D<double> h(n);
    for (auto _ : state) {
        for (unsigned k = 0; k < n; ++k) h[k] = k % 1000 == 0 ? 0.001 : 1.0;
        benchmark::DoNotOptimize(
            vx4::tessora::bound_metric_gradations(x, edges, vx4::edge2, vx4::dense1D<unsigned>(), true, -1, 1.2, h));
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_GradationSizesChain)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_GradationMetricsChain(benchmark::State& state) {
    const unsigned n = static_cast<unsigned>(state.range(0));
    vx4::dense2D<double> x;
    vx4::dense2D<unsigned> edges;
    chain(n, x, edges);
    vx4::dense2D<double> m(3, n);
    for (auto _ : state) {
        for (unsigned k = 0; k < n; ++k) {
            const double lambda = k % 1000 == 0 ? 1e6 : 1.0;
            m(0, k) = lambda;
            m(1, k) = 0.0;
            m(2, k) = 1.0;
        }
        benchmark::DoNotOptimize(
            vx4::tessora::bound_metric_gradations(x, edges, vx4::edge2, vx4::dense1D<unsigned>(), true, 0, 1.2, m));
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_GradationMetricsChain)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
