#include <vx4/tessora1d.h>

#include <benchmark/benchmark.h>

using namespace vx4;

// Items are the new nodes appended by one call, on fresh outputs each time.
static void BM_ExtrudeRotate3d(benchmark::State& state) {
    const unsigned n = static_cast<unsigned>(state.range(0));
    for (auto _ : state) {
        dense2D<double> coords;
        dense1D<unsigned> ids;
        const int code = tessora1d::extrude_rotate(coords, vector_fixed<double, 3>{{1, 0, 0}},
                                                   vector_fixed<double, 3>{{0, 0, 0}},
                                                   vector_fixed<double, 3>{{0.3, 0.4, 6.0}}, n, ids);
        benchmark::DoNotOptimize(code);
        benchmark::DoNotOptimize(coords.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * n);
}
BENCHMARK(BM_ExtrudeRotate3d)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

static void BM_ExtrudeTranslate2d(benchmark::State& state) {
    const unsigned n = static_cast<unsigned>(state.range(0));
    int64_t appended = 0;
    for (auto _ : state) {
        dense2D<double> coords;
        dense1D<unsigned> ids;
        // Graded sizes, so every node goes through the progression; about 0.46 n nodes result.
        const int code = tessora1d::extrude_translate(coords, vector_fixed<double, 2>{{0, 0}},
                                                      vector_fixed<double, 2>{{3, 4}}, 5.0 / n, 20.0 / n, false, ids);
        benchmark::DoNotOptimize(code);
        appended += coords.cols() - 1;
    }
    state.SetItemsProcessed(appended);
}
BENCHMARK(BM_ExtrudeTranslate2d)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
