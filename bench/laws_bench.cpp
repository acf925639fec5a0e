#include <vx4/tessora1d_laws.h>

#include <benchmark/benchmark.h>

using namespace vx4;
namespace laws = vx4::tessora1d::laws;

// Laws: items are nodes written by one call; the outputs are reused, as a mesher reuses its buffers.
template <class Law>
static void run_law(benchmark::State& state, Law law) {
    const unsigned n = static_cast<unsigned>(state.range(0));
    dense1D<double> x, h;
    for (auto _ : state) {
        const int code = law(n, x, h);
        benchmark::DoNotOptimize(code);
        benchmark::DoNotOptimize(x.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * (n + 1));
}

static void BM_Geometric(benchmark::State& s) {
    run_law(s, [](unsigned n, auto& x, auto& h) { return laws::geometric(n, 1.0 + 10.0 / n, x, h); });
}
static void BM_GeometricFirst(benchmark::State& s) {
    run_law(s, [](unsigned n, auto& x, auto& h) { return laws::geometric_first(n, 1e-3 / n, x, h); });
}
static void BM_Bump(benchmark::State& s) {
    run_law(s, [](unsigned n, auto& x, auto& h) { return laws::bump(n, 0.05, x, h); });
}
static void BM_BetaTwoSided(benchmark::State& s) {
    run_law(s, [](unsigned n, auto& x, auto& h) { return laws::beta_law_two_sided(n, 1.01, x, h); });
}
static void BM_TanhStretching(benchmark::State& s) {
    run_law(s, [](unsigned n, auto& x, auto& h) { return laws::tanh_stretching(n, 1e-3 / n, 1e-1 / n, x, h); });
}
static void BM_Arithmetic(benchmark::State& s) {
    run_law(s, [](unsigned n, auto& x, auto& h) { return laws::arithmetic_first(n, 0.5 / n, x, h); });
}
BENCHMARK(BM_Geometric)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GeometricFirst)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Bump)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_BetaTwoSided)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TanhStretching)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Arithmetic)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

// Solvers: one question per iteration, the inputs varied so that nothing is hoisted.
static void BM_SolveRatio(benchmark::State& state) {
    double first = 1e-5, r = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(laws::solve_ratio(1.0, 30, first, r));
        benchmark::DoNotOptimize(r);
        first = first < 1e-2 ? first * 1.01 : 1e-5;
    }
}
BENCHMARK(BM_SolveRatio)->Unit(benchmark::kMicrosecond);

static void BM_SolveCount(benchmark::State& state) {
    double length = 2e-3;
    unsigned n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(laws::solve_count(length, 1e-5, 1.15, n));
        benchmark::DoNotOptimize(n);
        length = length < 1.0 ? length * 1.01 : 2e-3;
    }
}
BENCHMARK(BM_SolveCount)->Unit(benchmark::kMicrosecond);

static void BM_LayersToThickness(benchmark::State& state) {
    double thickness = 2e-3, r = 0.0;
    unsigned n = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(laws::layers_to_thickness(thickness, 1e-5, 1.2, n, r));
        benchmark::DoNotOptimize(r);
        thickness = thickness < 1.0 ? thickness * 1.01 : 2e-3;
    }
}
BENCHMARK(BM_LayersToThickness)->Unit(benchmark::kMicrosecond);

// The tanh end fit alone dominates a small tanh law: 40 cells, ends 1e-4 and 1e-2.
static void BM_TanhFit40(benchmark::State& state) {
    dense1D<double> x, h;
    double first = 1e-4;
    for (auto _ : state) {
        benchmark::DoNotOptimize(laws::tanh_stretching(40, first, 1e-2, x, h));
        first = first < 1e-2 ? first * 1.01 : 1e-4;
    }
}
BENCHMARK(BM_TanhFit40)->Unit(benchmark::kMicrosecond);
