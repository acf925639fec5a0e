// Throughput and memory of mesh_line: dense input (a finely sampled curve, few elements) and
// dense output (a 10-node polyline cut into many elements), isotropic and anisotropic, 2-D and
// 3-D, and the refinement stage. Memory is counted by wrapping malloc for this program only.
#include <benchmark/benchmark.h>

#include <vx4/tessora1d.h>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t);
void __libc_free(void*);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace {

// Bytes currently held, their peak and the running total, over every heap block.
std::atomic<long long> live_bytes{0}, peak_bytes{0}, total_bytes{0};

void note_alloc(void* p) {
    if (!p) return;
    const long long size = static_cast<long long>(malloc_usable_size(p));
    total_bytes += size;
    const long long now = live_bytes += size;
    long long peak = peak_bytes.load();
    while (now > peak && !peak_bytes.compare_exchange_weak(peak, now)) {
    }
}
void note_free(void* p) {
    if (p) live_bytes -= static_cast<long long>(malloc_usable_size(p));
}

} // namespace

extern "C" {
void* malloc(std::size_t n) {
    void* p = __libc_malloc(n);
    note_alloc(p);
    return p;
}
void free(void* p) {
    note_free(p);
    __libc_free(p);
}
void* calloc(std::size_t n, std::size_t size) {
    void* p = __libc_calloc(n, size);
    note_alloc(p);
    return p;
}
void* realloc(void* old, std::size_t n) {
    const long long before = old ? static_cast<long long>(malloc_usable_size(old)) : 0;
    void* p = __libc_realloc(old, n);
    // A failed realloc keeps the old block; a successful one (or a size of 0) releases it.
    if (p || n == 0) live_bytes -= before;
    note_alloc(p);
    return p;
}
void* aligned_alloc(std::size_t alignment, std::size_t n) {
    void* p = __libc_memalign(alignment, n);
    note_alloc(p);
    return p;
}
void* memalign(std::size_t alignment, std::size_t n) {
    void* p = __libc_memalign(alignment, n);
    note_alloc(p);
    return p;
}
int posix_memalign(void** out, std::size_t alignment, std::size_t n) {
    void* p = __libc_memalign(alignment, n);
    if (!p) return 12; // ENOMEM
    note_alloc(p);
    *out = p;
    return 0;
}
}

namespace {

using vx4::dense1D;
using vx4::dense2D;
using vx4::tessora1d::mesh_line;

constexpr unsigned kNoBound = 4294967295u;
const double kPi = std::acos(-1.0);

enum class field { iso, aniso_matching, aniso_rotated };

// The polyline of one workload with its parameters and its sizes or metrics.
struct workload {
    unsigned dim = 2;
    field kind = field::iso;
    dense2D<double> pos;
    dense1D<unsigned> indices;
    dense1D<double> params;
    dense1D<double> sizes;
    dense2D<double> metrics;
};

double size_at(double x) { return 0.01 + 0.04 * (0.5 + 0.5 * std::cos(2.0 * kPi * x / 10.0)); }

// The packed metric of sizes h0, h1 (h2) along a frame that turns with the abscissa.
void rotated_metric(unsigned dim, double x, double h, double* m) {
    if (dim == 2) {
        const double c = std::cos(x), s = std::sin(x);
        const double a = 1.0 / (h * h), b = 1.0 / (25.0 * h * h);
        m[0] = a * c * c + b * s * s;
        m[1] = (a - b) * c * s;
        m[2] = a * s * s + b * c * c;
        return;
    }
    // Frame: a turn about z by x, then about x by 0.5.
    const double cz = std::cos(x), sz = std::sin(x), cx = std::cos(0.5), sx = std::sin(0.5);
    const double Q[3][3] = {{cz, -sz, 0.0}, {sz * cx, cz * cx, -sx}, {sz * sx, cz * sx, cx}};
    const double lambda[3] = {1.0 / (h * h), 1.0 / (9.0 * h * h), 1.0 / (25.0 * h * h)};
    double full[3][3] = {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) full[i][j] += Q[i][k] * lambda[k] * Q[j][k];
    m[0] = full[0][0];
    m[1] = full[0][1];
    m[2] = full[1][1];
    m[3] = full[0][2];
    m[4] = full[1][2];
    m[5] = full[2][2];
}

// n samples of the curve (sine in 2-D, helix in 3-D) with the size field scaled by `scale`.
workload sample_curve(unsigned dim, field kind, unsigned n, double scale) {
    workload w;
    w.dim = dim;
    w.kind = kind;
    w.pos = dense2D<double>(dim, n);
    w.indices = dense1D<unsigned>(n);
    w.params = dense1D<double>(n);
    w.sizes = dense1D<double>(n);
    const unsigned width = dim == 2 ? 3 : 6;
    if (kind != field::iso) w.metrics = dense2D<double>(width, n);
    for (unsigned i = 0; i < n; ++i) {
        const double x = 10.0 * i / (n - 1);
        if (dim == 2) {
            w.pos(0, i) = x;
            w.pos(1, i) = 0.2 * std::sin(6.0 * kPi * x);
        } else {
            w.pos(0, i) = 0.2 * std::cos(6.0 * kPi * x);
            w.pos(1, i) = 0.2 * std::sin(6.0 * kPi * x);
            w.pos(2, i) = x;
        }
        w.indices[i] = i;
        const double h = scale * size_at(x);
        w.sizes[i] = h;
        if (kind == field::aniso_matching) {
            for (unsigned r = 0; r < width; ++r) w.metrics(r, i) = 0.0;
            w.metrics(0, i) = w.metrics(2, i) = 1.0 / (h * h);
            if (dim == 3) w.metrics(5, i) = 1.0 / (h * h);
        } else if (kind == field::aniso_rotated) {
            rotated_metric(dim, x, h, &w.metrics(0, i));
        }
    }
    // Chord-length parameters, as the overloads without parameters would build them.
    w.params[0] = 0.0;
    for (unsigned i = 1; i < n; ++i) {
        double sq = 0.0;
        for (unsigned r = 0; r < dim; ++r) sq += (w.pos(r, i) - w.pos(r, i - 1)) * (w.pos(r, i) - w.pos(r, i - 1));
        w.params[i] = w.params[i - 1] + std::sqrt(sq);
    }
    for (unsigned i = 0; i < n; ++i) w.params[i] /= w.params[n - 1];
    return w;
}

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
