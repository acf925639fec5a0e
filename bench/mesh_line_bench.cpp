// Throughput and memory of mesh_line: dense input (a finely sampled curve, few elements) and
// dense output (a 10-node polyline cut into many elements), isotropic and anisotropic, 2-D and
// 3-D, and the refinement stage. Memory is counted by wrapping malloc for this program only.
#include <benchmark/benchmark.h>

#include <vx4/tessora1d.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>

#include "heap_counter.h"
#include "bench_curves.h"

namespace {

using namespace bench;
using heap::live_bytes;
using heap::peak_bytes;
using heap::total_bytes;
using vx4::tessora1d::mesh_line;

// One call; returns the element count.
unsigned run_once(workload& w, unsigned columns, double chordal) {
    w.pos.resize(w.dim, columns);
    dense1D<unsigned> out;
    dense1D<double> out_params;
    int rc;
    if (w.kind == field::iso) {
        dense1D<double> out_sizes;
        rc = mesh_line(w.pos, w.indices, w.params, w.sizes, false, 1, kNoBound, chordal, 0.0, out, out_params,
                       out_sizes);
    } else {
        dense2D<double> out_metrics;
        rc = mesh_line(w.pos, w.indices, w.params, w.metrics, false, 1, kNoBound, chordal, 0.0, out, out_params,
                       out_metrics);
    }
    return rc == 0 ? out.size() - 1 : 0;
}

void measure(benchmark::State& state, workload& w, double chordal, bool per_output_node) {
    const unsigned n = w.indices.size();
    unsigned elements = 0;
    long long peak = 0, allocated = 0;
    for (auto _ : state) {
        const long long base = live_bytes.load(), total = total_bytes.load();
        peak_bytes = base;
        elements = run_once(w, n, chordal);
        peak = std::max(peak, peak_bytes.load() - base);
        allocated = total_bytes.load() - total;
    }
    if (elements == 0) {
        state.SkipWithError("mesh_line failed");
        return;
    }
    const double nodes = per_output_node ? elements : n;
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * nodes));
    const unsigned width = w.kind == field::iso ? 1 : (w.dim == 2 ? 3 : 6);
    const double input = n * (8.0 * w.dim + 4.0 + 8.0 + 8.0 * width);
    const double output = (elements + 1.0) * (4.0 + 8.0 + 8.0 * width) + (elements - 1.0) * 8.0 * w.dim;
    state.counters["elements"] = elements;
    state.counters["alloc_B_per_node"] = allocated / nodes;
    state.counters["peak_vs_budget"] = peak / (2.0 * input + 4.0 * output);
}

void dense_input(benchmark::State& state, unsigned dim, field kind, double chordal) {
    workload w = sample_curve(dim, kind, static_cast<unsigned>(state.range(0)), 1.0);
    measure(state, w, chordal, false);
}

// 10 nodes along the curve, sizes scaled so that the chain has about range(0) elements.
void dense_output(benchmark::State& state, unsigned dim, field kind) {
    workload trial = sample_curve(dim, kind, 10, 1.0);
    const unsigned base = run_once(trial, 10, 0.0);
    workload w = sample_curve(dim, kind, 10, base / static_cast<double>(state.range(0)));
    measure(state, w, 0.0, true);
}

void DenseInputIso2D(benchmark::State& s) { dense_input(s, 2, field::iso, 0.0); }
void DenseInputIso3D(benchmark::State& s) { dense_input(s, 3, field::iso, 0.0); }
void DenseInputAnisoMatching2D(benchmark::State& s) { dense_input(s, 2, field::aniso_matching, 0.0); }
void DenseInputAnisoRotated2D(benchmark::State& s) { dense_input(s, 2, field::aniso_rotated, 0.0); }
void DenseInputAnisoRotated3D(benchmark::State& s) { dense_input(s, 3, field::aniso_rotated, 0.0); }
void DenseInputRefinedIso2D(benchmark::State& s) { dense_input(s, 2, field::iso, 1e-4); }
void DenseOutputIso2D(benchmark::State& s) { dense_output(s, 2, field::iso); }
void DenseOutputIso3D(benchmark::State& s) { dense_output(s, 3, field::iso); }
void DenseOutputAnisoMatching2D(benchmark::State& s) { dense_output(s, 2, field::aniso_matching); }
void DenseOutputAnisoRotated2D(benchmark::State& s) { dense_output(s, 2, field::aniso_rotated); }
void DenseOutputAnisoRotated3D(benchmark::State& s) { dense_output(s, 3, field::aniso_rotated); }

} // namespace

BENCHMARK(DenseInputIso2D)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseInputIso3D)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseInputAnisoMatching2D)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseInputAnisoRotated2D)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseInputAnisoRotated3D)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseInputRefinedIso2D)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseOutputIso2D)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseOutputIso3D)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseOutputAnisoMatching2D)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseOutputAnisoRotated2D)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(DenseOutputAnisoRotated3D)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
