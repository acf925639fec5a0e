// Every output bit of the line and spline meshers on fixed workloads, folded into one hash per
// workload. Speed work must not change a single result: when one of these fails, the change
// altered the arithmetic, not just the memory traffic.
#include <gtest/gtest.h>

#include <vx4/tessora1d.h>

#include <cmath>
#include <cstdint>
#include <cstring>

using vx4::dense1D;
using vx4::dense2D;
using vx4::tessora1d::mesh_line;
using vx4::tessora1d::mesh_spline;

namespace {

constexpr unsigned kNoBound = 4294967295u;
const double kPi = std::acos(-1.0);

// FNV-1a over raw bytes.
class output_hash {
public:
    void bytes(const void* p, std::size_t n) {
        const unsigned char* b = static_cast<const unsigned char*>(p);
        for (std::size_t i = 0; i < n; ++i) value_ = (value_ ^ b[i]) * 1099511628211ull;
    }
    void add(int code) { bytes(&code, sizeof code); }
    void add(double x) { bytes(&x, sizeof x); }
    template <class T>
    void add(const dense1D<T>& v) {
        add(static_cast<int>(v.size()));
        for (unsigned i = 0; i < v.size(); ++i) bytes(&v[i], sizeof(T));
    }
    void add(const dense2D<double>& m) {
        add(static_cast<int>(m.rows()));
        add(static_cast<int>(m.cols()));
        for (unsigned j = 0; j < m.cols(); ++j)
            for (unsigned i = 0; i < m.rows(); ++i) add(m(i, j));
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037ull;
};

enum class field { iso, aniso };

// The benchmark curves: a sine in the plane, a helix in space, with a size that swells and
// shrinks along them and (anisotropic) a metric whose frame turns with the abscissa.
struct curve {
    unsigned dim;
    dense2D<double> pos;
    dense1D<unsigned> indices;
    dense1D<double> params, sizes;
    dense2D<double> metrics;

    curve(unsigned d, unsigned n, double scale) : dim(d), pos(d, n), indices(n), params(n), sizes(n) {
        metrics = dense2D<double>(d == 2 ? 3 : 6, n);
        for (unsigned i = 0; i < n; ++i) {
            const double x = 10.0 * i / (n - 1);
            if (d == 2) {
                pos(0, i) = x;
                pos(1, i) = 0.2 * std::sin(6.0 * kPi * x);
            } else {
                pos(0, i) = 0.2 * std::cos(6.0 * kPi * x);
                pos(1, i) = 0.2 * std::sin(6.0 * kPi * x);
                pos(2, i) = x;
            }
            indices[i] = i;
            params[i] = std::pow(i / (n - 1.0), 1.1);
            const double h = scale * (0.01 + 0.04 * (0.5 + 0.5 * std::cos(2.0 * kPi * x / 10.0)));
            sizes[i] = h;
            const double c = std::cos(x), s = std::sin(x), a = 1.0 / (h * h), b = 1.0 / (16.0 * h * h);
            if (d == 2) {
                metrics(0, i) = a * c * c + b * s * s;
                metrics(1, i) = (a - b) * c * s;
                metrics(2, i) = a * s * s + b * c * c;
            } else {
                const double e = 1.0 / (4.0 * h * h);
                metrics(0, i) = a * c * c + b * s * s;
                metrics(1, i) = (a - b) * c * s;
                metrics(2, i) = a * s * s + b * c * c;
                metrics(3, i) = 0.0;
                metrics(4, i) = 0.0;
                metrics(5, i) = e;
            }
        }
    }
};

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
                int rc;
                if (kind == field::iso) {
                    dense1D<double> out_sizes{0.5};
                    rc = with_params ? mesh_line(c.pos, c.indices, c.params, c.sizes, even, 1, kNoBound, chordal,
                                                 0.001, out, out_params, out_sizes)
                                     : mesh_line(c.pos, c.indices, c.sizes, even, 1, kNoBound, chordal, 0.001, out,
                                                 out_params, out_sizes);
                    h.add(out_sizes);
                } else {
                    dense2D<double> out_metrics;
                    rc = with_params ? mesh_line(c.pos, c.indices, c.params, c.metrics, even, 1, kNoBound, chordal,
                                                 0.001, out, out_params, out_metrics)
                                     : mesh_line(c.pos, c.indices, c.metrics, even, 1, kNoBound, chordal, 0.001, out,
                                                 out_params, out_metrics);
                    h.add(out_metrics);
                }
                EXPECT_EQ(rc, 0);
                h.add(rc);
                h.add(c.pos);
                h.add(out);
                h.add(out_params);
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
            int rc;
            if (kind == field::iso) {
                dense1D<double> out_sizes;
                rc = mesh_spline(c.pos, c.indices, c.sizes, false, 1, kNoBound, chordal, 0.002, 0.05, gradation, out,
                                 out_params, out_sizes, deviation);
                h.add(out_sizes);
            } else {
                dense2D<double> out_metrics;
                rc = mesh_spline(c.pos, c.indices, c.metrics, false, 1, kNoBound, chordal, 0.002, 0.05, gradation,
                                 out, out_params, out_metrics, deviation);
                h.add(out_metrics);
            }
            EXPECT_EQ(rc, 0);
            h.add(rc);
            h.add(deviation);
            h.add(c.pos);
            h.add(out);
            h.add(out_params);
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
        int rc;
        if (kind == field::iso) {
            dense1D<double> out_sizes;
            rc = mesh_line(c.pos, c.indices, c.sizes, even, 1, kNoBound, 0.0, 0.0, out, out_params, out_sizes);
            h.add(out_sizes);
        } else {
            dense2D<double> out_metrics;
            rc = mesh_line(c.pos, c.indices, c.metrics, even, 1, kNoBound, 0.0, 0.0, out, out_params, out_metrics);
            h.add(out_metrics);
        }
        EXPECT_EQ(rc, 0);
        h.add(rc);
        h.add(c.pos);
        h.add(out);
        h.add(out_params);
    }
    return h.value();
}

// Dense input: many polyline nodes, a few hundred elements, or (coarse) a few dozen, so that
// hundreds of polyline nodes lie between two new nodes. Dense output: ten polyline nodes cut
// into many thousand elements.
constexpr unsigned kDenseInput = 3000, kDenseOutput = 10;
constexpr double kCoarseScale = 25.0, kDenseOutputScale = 0.02;

} // namespace

TEST(OutputHash, DenseInputLinesKeepEveryBit) {
    EXPECT_EQ(hash_line(2, field::iso, kDenseInput, 1.0), 4436986200360483112ull);
    EXPECT_EQ(hash_line(3, field::iso, kDenseInput, 1.0), 12070325914309246920ull);
    EXPECT_EQ(hash_line(2, field::aniso, kDenseInput, 1.0), 13821717820420778759ull);
    EXPECT_EQ(hash_line(3, field::aniso, kDenseInput, 1.0), 1222528967834233080ull);
    EXPECT_EQ(hash_line(2, field::iso, kDenseInput, kCoarseScale), 633040051071451305ull);
    EXPECT_EQ(hash_line(3, field::iso, kDenseInput, kCoarseScale), 566046400752037689ull);
    EXPECT_EQ(hash_line(2, field::aniso, kDenseInput, kCoarseScale), 166409295179902902ull);
    EXPECT_EQ(hash_line(3, field::aniso, kDenseInput, kCoarseScale), 1760005855048057739ull);
}

TEST(OutputHash, DenseOutputLinesKeepEveryBit) {
    EXPECT_EQ(hash_line(2, field::iso, kDenseOutput, kDenseOutputScale), 7286177365089041628ull);
    EXPECT_EQ(hash_line(3, field::iso, kDenseOutput, kDenseOutputScale), 7679250411838289802ull);
    EXPECT_EQ(hash_line(2, field::aniso, kDenseOutput, kDenseOutputScale), 14039331425967510192ull);
    EXPECT_EQ(hash_line(3, field::aniso, kDenseOutput, kDenseOutputScale), 7476024456711220664ull);
}

TEST(OutputHash, SplinesKeepEveryBit) {
    EXPECT_EQ(hash_spline(2, field::iso), 4701264362434824623ull);
    EXPECT_EQ(hash_spline(3, field::iso), 13339690967690855254ull);
    EXPECT_EQ(hash_spline(2, field::aniso), 12464154493380870016ull);
    EXPECT_EQ(hash_spline(3, field::aniso), 12824381499238782337ull);
}

TEST(OutputHash, CollapsingPassesKeepEveryBit) {
    EXPECT_EQ(hash_zigzag(2, field::iso), 1527723422276027600ull);
    EXPECT_EQ(hash_zigzag(3, field::iso), 9895463846714291091ull);
    EXPECT_EQ(hash_zigzag(2, field::aniso), 17044272128780787498ull);
    EXPECT_EQ(hash_zigzag(3, field::aniso), 43901503668282410ull);
}
