// Metric interpolation along a line: 10^6 sorted queries over a field of 10^4 nodes, with
// anisotropic metrics whose axes turn along the line so that every pair needs a reduction.
#include <vx4/tessora1d.h>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

constexpr unsigned field_nodes = 10000;

vx4::dense1D<double> line_params() {
    vx4::dense1D<double> p(field_nodes);
    for (unsigned i = 0; i < field_nodes; ++i) p[i] = i * 0.01;
    return p;
}

vx4::dense1D<double> even_queries(unsigned count, double last) {
    vx4::dense1D<double> q(count);
    for (unsigned k = 0; k < count; ++k) q[k] = last * k / (count - 1);
    return q;
}

// Sizes h1 along the direction at angle a (turning about z in 3-D) and h2 across it.
vx4::dense2D<double> turning_field(unsigned rows) {
    vx4::dense2D<double> M(rows, field_nodes, 0.0);
    for (unsigned i = 0; i < field_nodes; ++i) {
        const double a = 0.003 * i, c = std::cos(a), s = std::sin(a);
        const double l1 = 1.0 / std::pow(0.1 + 0.05 * std::sin(0.01 * i), 2), l2 = 1.0 / (0.02 * 0.02);
        M(0, i) = l1 * c * c + l2 * s * s;
        M(1, i) = (l1 - l2) * c * s;
        M(2, i) = l1 * s * s + l2 * c * c;
        if (rows == 6) M(5, i) = 1.0 / (0.5 * 0.5);
    }
    return M;
}

void run_metrics(benchmark::State& state, unsigned rows) {
    const vx4::dense1D<double> params = line_params();
    const vx4::dense2D<double> field = turning_field(rows);
    const vx4::dense1D<double> queries = even_queries(static_cast<unsigned>(state.range(0)), params[field_nodes - 1]);
    vx4::dense2D<double> out;
    for (auto _ : state) {
        const int code = vx4::tessora1d::interpolate_metrics(params, field, queries, out);
        benchmark::DoNotOptimize(code);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_InterpolateMetrics2d(benchmark::State& state) { run_metrics(state, 3); }
void BM_InterpolateMetrics3d(benchmark::State& state) { run_metrics(state, 6); }

void BM_InterpolateSizes(benchmark::State& state) {
    const vx4::dense1D<double> params = line_params();
    vx4::dense1D<double> sizes(field_nodes);
    for (unsigned i = 0; i < field_nodes; ++i) sizes[i] = 0.1 + 0.05 * std::sin(0.01 * i);
    const vx4::dense1D<double> queries = even_queries(static_cast<unsigned>(state.range(0)), params[field_nodes - 1]);
    vx4::dense1D<double> out;
    for (auto _ : state) {
        const int code = vx4::tessora1d::interpolate_metrics(params, sizes, queries, out);
        benchmark::DoNotOptimize(code);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(BM_InterpolateMetrics2d)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InterpolateMetrics3d)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InterpolateSizes)->Arg(1000000)->Unit(benchmark::kMillisecond);
