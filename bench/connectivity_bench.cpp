#include <vx4/tessora1d.h>

#include <benchmark/benchmark.h>

namespace t1 = vx4::tessora1d;

namespace {

constexpr unsigned edge_count = 1000000;

// Quadratic-plus conversion of a long 2-D chain: two new nodes per edge.
void BM_ConvertIntoHighOrder(benchmark::State& state) {
    vx4::dense2D<double> xy(2, edge_count + 1);
    vx4::dense2D<unsigned> chain(2, edge_count), out;
    for (unsigned j = 0; j <= edge_count; ++j) {
        xy(0, j) = j;
        xy(1, j) = 0.5 * j;
    }
    for (unsigned e = 0; e < edge_count; ++e) {
        chain(0, e) = e;
        chain(1, e) = e + 1;
    }
    if (!xy.reserve(2, 3 * edge_count + 1)) state.SkipWithError("no memory");
    for (auto _ : state) {
        xy.resize(2, edge_count + 1); // drop the nodes of the previous round
        if (t1::convert_into_high_order(xy, chain, 2, out) != 0) state.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * edge_count);
}
BENCHMARK(BM_ConvertIntoHighOrder)->Unit(benchmark::kMillisecond);

// Parameters in scrambled order with their node indices.
void BM_Sort(benchmark::State& state) {
    vx4::dense1D<double> source(edge_count), values;
    vx4::dense1D<unsigned> ids;
    unsigned seed = 1;
    for (unsigned i = 0; i < edge_count; ++i) {
        seed = seed * 1664525u + 1013904223u;
        source[i] = seed * (1.0 / 4294967296.0);
    }
    for (auto _ : state) {
        state.PauseTiming();
        values.copy(source);
        ids.resize(0);
        for (unsigned i = 0; i < edge_count; ++i) ids.push_back(i);
        state.ResumeTiming();
        if (t1::sort(values, ids) != 0) state.SkipWithError("sort failed");
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * edge_count);
}
BENCHMARK(BM_Sort)->Unit(benchmark::kMillisecond);

} // namespace
