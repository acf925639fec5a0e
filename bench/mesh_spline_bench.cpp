// mesh_spline on a chain of 10^4 nodes around a circle of radius 1, with sizes of 0.01, a
// chordal tolerance and a gradation limit; items are chain nodes.
#include <vx4/tessora1d.h>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

constexpr unsigned chain_nodes = 10000;

vx4::dense2D<double> circle(unsigned dim) {
    vx4::dense2D<double> c(dim, chain_nodes);
    for (unsigned k = 0; k < chain_nodes; ++k) {
        const double a = 6.283185307179586 * k / chain_nodes;
        c(0, k) = std::cos(a);
        c(1, k) = dim == 2 ? std::sin(a) : 0.6 * std::sin(a);
        if (dim == 3) c(2, k) = 0.8 * std::sin(a);
    }
    return c;
}

vx4::dense1D<unsigned> whole_chain() {
    vx4::dense1D<unsigned> chain(chain_nodes);
    for (unsigned k = 0; k < chain_nodes; ++k) chain[k] = k;
    return chain;
}

vx4::dense1D<double> field(unsigned, double h, vx4::dense1D<double>) { return vx4::dense1D<double>(chain_nodes, h); }

vx4::dense2D<double> field(unsigned dim, double h, vx4::dense2D<double>) {
    vx4::dense2D<double> m(dim == 2 ? 3 : 6, chain_nodes, 0.0);
    for (unsigned k = 0; k < chain_nodes; ++k) {
        m(0, k) = m(2, k) = 1.0 / (h * h);
        if (dim == 3) m(5, k) = 1.0 / (h * h);
    }
    return m;
}

template <unsigned D, class Field>
void BM_MeshSpline(benchmark::State& state) {
    auto coords = circle(D);
    const auto chain = whole_chain();
    const Field given = field(D, 0.01, Field());
    unsigned elements = 0;
    for (auto _ : state) {
        vx4::dense1D<unsigned> indices;
        vx4::dense1D<double> params;
        Field sizes;
        double deviation = 0.0;
        const int code = vx4::tessora1d::mesh_spline(coords, chain, given, false, 1, 4294967295u, 1e-4, 0.0, 0.0, 1.5,
                                                     indices, params, sizes, deviation);
        if (code != 0) state.SkipWithError("mesh_spline failed");
        elements = indices.size() - 1;
        benchmark::DoNotOptimize(deviation);
        coords.resize(D, chain_nodes); // drop the new nodes, keep the storage
    }
    state.counters["elements"] = elements;
    state.SetItemsProcessed(static_cast<long long>(state.iterations()) * chain_nodes);
}

} // namespace

BENCHMARK(BM_MeshSpline<2, vx4::dense1D<double>>)->Name("mesh_spline/2d_sizes")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MeshSpline<2, vx4::dense2D<double>>)->Name("mesh_spline/2d_metrics")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MeshSpline<3, vx4::dense1D<double>>)->Name("mesh_spline/3d_sizes")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MeshSpline<3, vx4::dense2D<double>>)->Name("mesh_spline/3d_metrics")->Unit(benchmark::kMillisecond);
