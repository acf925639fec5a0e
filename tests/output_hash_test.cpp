// Every output bit of the line and spline meshers on fixed workloads, folded into one hash per
// workload. Speed work must not change a single result: when one of these fails, the change
// altered the arithmetic, not just the memory traffic.
#include <gtest/gtest.h>

#include <vx4/tessora1d.h>

#include "test_support.h"

#include <cmath>
#include <cstdint>

using vx4::dense1D;
using vx4::dense2D;
using vx4::tessora1d::mesh_line;
using vx4::tessora1d::mesh_spline;

using vx4test::output_hash;

namespace {

constexpr unsigned kNoBound = 4294967295u;
const double kPi = std::acos(-1.0);

enum class field { iso, aniso };

// The benchmark curves: a sine in the plane, a helix in space, with a size that swells and
// shrinks along them and (anisotropic) a metric whose frame turns with the abscissa.
struct curve {
    dense2D<double> pos;
    dense1D<unsigned> indices;
    dense1D<double> params, sizes;
    dense2D<double> metrics;

    curve(unsigned d, unsigned n, double scale)
        : pos(d, n), indices(n), params(n), sizes(n), metrics(d == 2 ? 3 : 6, n, 0.0) {
        for (unsigned i = 0; i < n; ++i) {
            const double x = 10.0 * i / (n - 1), w = 0.2 * std::cos(6.0 * kPi * x), v = 0.2 * std::sin(6.0 * kPi * x);
            if (d == 2) pos(0, i) = x, pos(1, i) = v;
            else pos(0, i) = w, pos(1, i) = v, pos(2, i) = x;
            indices[i] = i;
            params[i] = std::pow(i / (n - 1.0), 1.1);
            const double h = scale * (0.01 + 0.04 * (0.5 + 0.5 * std::cos(2.0 * kPi * x / 10.0)));
            sizes[i] = h;
            const double c = std::cos(x), s = std::sin(x), a = 1.0 / (h * h), b = 1.0 / (16.0 * h * h);
            metrics(0, i) = a * c * c + b * s * s;
            metrics(1, i) = (a - b) * c * s;
            metrics(2, i) = a * s * s + b * c * c;
            if (d == 3) metrics(5, i) = 1.0 / (4.0 * h * h);
        }
    }
};

// Runs `call(field, out_field)` with the curve's sizes (output sizes starting as `out_sizes`) or
// metrics, and hashes the output field, the code, the deviation if any, the coordinates and the chain.
template <class Call>
void hash_call(output_hash& h, field kind, const curve& c, const dense1D<unsigned>& out,
               const dense1D<double>& out_params, dense1D<double> out_sizes, const double* deviation, Call call) {
    int rc;
    if (kind == field::iso) {
        rc = call(c.sizes, out_sizes);
        h.add(out_sizes);
    } else {
        dense2D<double> out_metrics;
        rc = call(c.metrics, out_metrics);
        h.add(out_metrics);
    }
    EXPECT_EQ(rc, 0);
    h.add(rc);
    if (deviation) h.add(*deviation);
    h.add(c.pos);
    h.add(out);
    h.add(out_params);
}

// Both families of overloads on one curve: with and without parameters, plain, refined
// (chordal > 0) and curvature-limited (chordal < 0), even and odd.
std::uint64_t hash_line(unsigned dim, field kind, unsigned n, double scale) {
    output_hash h;
    for (double chordal : {0.0, 2e-4, -1e-3})
        for (bool with_params : {true, false})
            for (bool even : {false, true}) {
                curve c(dim, n, scale);
                dense1D<unsigned> out{7};
                dense1D<double> out_params;
                hash_call(h, kind, c, out, out_params, {0.5}, nullptr, [&](const auto& f, auto& of) {
                    return with_params ? mesh_line(c.pos, c.indices, c.params, f, even, 1, kNoBound, chordal, 0.001,
                                                   out, out_params, of)
                                       : mesh_line(c.pos, c.indices, f, even, 1, kNoBound, chordal, 0.001, out,
                                                   out_params, of);
                });
            }
    return h.value();
}

// The spline through a coarse sample of the curve, with and without a chordal tolerance and a
// gradation limit.
std::uint64_t hash_spline(unsigned dim, field kind) {
    output_hash h;
    for (double chordal : {0.0, 1e-3, -0.01})
        for (double gradation : {0.0, 1.5}) {
            curve c(dim, 40, 1.0);
            dense1D<unsigned> out;
            dense1D<double> out_params;
            double deviation = 0.0;
            hash_call(h, kind, c, out, out_params, {}, &deviation, [&](const auto& f, auto& of) {
                return mesh_spline(c.pos, c.indices, f, false, 1, kNoBound, chordal, 0.002, 0.05, gradation, out,
                                   out_params, of, deviation);
            });
        }
    return h.value();
}

// A zigzag of 2000 teeth under sizes of about ten teeth: the first pass counts the teeth, the
// chords of its chain cut across them, so the second pass has a hundred times fewer elements and
// skips long stretches of the first chain.
std::uint64_t hash_zigzag(unsigned dim, field kind) {
    output_hash h;
    const unsigned n = 4001;
    for (bool even : {false, true}) {
        curve c(dim, n, 1.0);
        for (unsigned i = 0; i < n; ++i) {
            c.pos(0, i) = 0.01 * i;
            c.pos(1, i) = (i % 2) ? 1.0 : 0.0;
            if (dim == 3) c.pos(2, i) = (i % 4 == 1) ? 0.5 : 0.0;
            c.sizes[i] *= 400.0;
            for (unsigned r = 0; r < c.metrics.rows(); ++r) c.metrics(r, i) /= 160000.0;
        }
        dense1D<unsigned> out;
        dense1D<double> out_params;
        hash_call(h, kind, c, out, out_params, {}, nullptr, [&](const auto& f, auto& of) {
            return mesh_line(c.pos, c.indices, f, even, 1, kNoBound, 0.0, 0.0, out, out_params, of);
        });
    }
    return h.value();
}

// The line whose second pass runs hundreds of nodes ahead of the chain it re-meshes.
std::uint64_t hash_lagging(unsigned dim, field kind) {
    const vx4test::lagging_line line(dim);
    const unsigned n = line.n;
    curve c(dim, n, 1.0);
    for (unsigned i = 0; i < n; ++i) {
        for (unsigned r = 0; r < dim; ++r) c.pos(r, i) = line.pos(r, i);
        const double h = c.sizes[i] = line.sizes[i];
        for (unsigned r = 0; r < c.metrics.rows(); ++r) c.metrics(r, i) = 0.0;
        c.metrics(0, i) = c.metrics(2, i) = c.metrics(c.metrics.rows() - 1, i) = 1.0 / (h * h);
    }
    output_hash h;
    dense1D<unsigned> out;
    dense1D<double> out_params;
    hash_call(h, kind, c, out, out_params, {}, nullptr, [&](const auto& f, auto& of) {
        return mesh_line(c.pos, c.indices, f, false, 1, kNoBound, 0.0, 0.0, out, out_params, of);
    });
    return h.value();
}

// Dense input: many polyline nodes, a few hundred elements, or (coarse) a few dozen, so that
// hundreds of polyline nodes lie between two new nodes. Dense output: ten polyline nodes cut
// into many thousand elements.
constexpr unsigned kDenseInput = 3000, kDenseOutput = 10;
constexpr double kCoarseScale = 25.0, kDenseOutputScale = 0.02;

} // namespace

TEST(OutputHash, LinesSplinesAndCollapsingPassesKeepEveryBit) {
    // Dimension, field and the hash of each workload: dense input, dense input under coarse
    // sizes, dense output, spline, zigzag, lagging.
    const struct { unsigned dim; field kind; std::uint64_t input, coarse, output, spline, zigzag, lagging; } cases[] = {
        {2, field::iso, 4436986200360483112ull, 633040051071451305ull, 7286177365089041628ull,
         4701264362434824623ull, 1527723422276027600ull,
         1307679273067954119ull},
        {3, field::iso, 12070325914309246920ull, 566046400752037689ull, 7679250411838289802ull,
         13339690967690855254ull, 9895463846714291091ull,
         10347177771170975362ull},
        {2, field::aniso, 13821717820420778759ull, 166409295179902902ull, 14039331425967510192ull,
         12464154493380870016ull, 17044272128780787498ull,
         11429793205283854929ull},
        {3, field::aniso, 1222528967834233080ull, 1760005855048057739ull, 7476024456711220664ull,
         12824381499238782337ull, 43901503668282410ull,
         10829280379662080266ull},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.dim << "-D " << (c.kind == field::iso ? "iso" : "aniso"));
        EXPECT_EQ(hash_line(c.dim, c.kind, kDenseInput, 1.0), c.input);
        EXPECT_EQ(hash_line(c.dim, c.kind, kDenseInput, kCoarseScale), c.coarse);
        EXPECT_EQ(hash_line(c.dim, c.kind, kDenseOutput, kDenseOutputScale), c.output);
        EXPECT_EQ(hash_spline(c.dim, c.kind), c.spline);
        EXPECT_EQ(hash_zigzag(c.dim, c.kind), c.zigzag);
        EXPECT_EQ(hash_lagging(c.dim, c.kind), c.lagging);
    }
}
