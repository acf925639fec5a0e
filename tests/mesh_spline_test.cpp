#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using vx4::dense1D;
using vx4::dense2D;
using vx4test::iota;

// n nodes `step` radians apart on an arc of radius R, in the plane or in a tilted plane in space.
dense2D<double> arc_nodes(unsigned dim, unsigned n, double R, double step) {
    dense2D<double> c(dim, n);
    for (unsigned k = 0; k < n; ++k) {
        c(0, k) = R * std::cos(k * step), c(1, k) = R * std::sin(k * step) * (dim == 2 ? 1.0 : 0.6);
        if (dim == 3) c(2, k) = R * std::sin(k * step) * 0.8;
    }
    return c;
}

dense2D<double> iso_metrics(unsigned dim, unsigned n, double h) {
    dense2D<double> m(dim == 2 ? 3 : 6, n, 0.0);
    for (unsigned k = 0; k < n; ++k) m(0, k) = m(2, k) = m(dim == 2 ? 2 : 5, k) = 1.0 / (h * h);
    return m;
}

// One call on a deep copy of the nodes, into empty outputs; from allocation number fail_at on
// (when not negative) memory runs short.
template <class Field>
struct spline_mesh {
    dense2D<double> coords;
    dense1D<unsigned> indices;
    dense1D<double> params;
    Field field;
    double deviation = -1.0;
    int code;
    spline_mesh(const dense2D<double>& nodes, const dense1D<unsigned>& chain, const Field& given, double chordal,
                double gradation = 0.0, double background = 0.0, long fail_at = -1) {
        coords.copy(nodes);
        vx4test::failing_allocations guard(fail_at < 0 ? 1L << 40 : fail_at);
        code = vx4::tessora1d::mesh_spline(coords, chain, given, false, 1, 4294967295u, chordal, 0.0, background,
                                           gradation, indices, params, field, deviation);
    }
    // Distance of p from the line through nodes a and b.
    double distance_to_line(const double* p, unsigned a, unsigned b) const {
        double e[3] = {0, 0, 0}, w[3] = {0, 0, 0};
        for (unsigned i = 0; i < coords.rows(); ++i) e[i] = coords(i, b) - coords(i, a), w[i] = p[i] - coords(i, a);
        const double c0 = e[1] * w[2] - e[2] * w[1], c1 = e[2] * w[0] - e[0] * w[2], c2 = e[0] * w[1] - e[1] * w[0];
        return std::sqrt((c0 * c0 + c1 * c1 + c2 * c2) / (e[0] * e[0] + e[1] * e[1] + e[2] * e[2]));
    }
};

// Largest distance between the spline and the chords of the output elements. All segments of
// the arc have one chord length, so output parameter u lies on segment floor(u (n - 3)).
template <unsigned D, class Field>
double largest_sagitta(const spline_mesh<Field>& m, const dense1D<unsigned>& chain) {
    const unsigned segments = chain.size() - 3;
    double worst = 0.0;
    for (unsigned e = 0; e + 1 < m.indices.size(); ++e)
        for (unsigned j = 1; j < 32; ++j) {
            const double x = (m.params[e] + (m.params[e + 1] - m.params[e]) * j / 32.0) * segments;
            const unsigned k = std::min(static_cast<unsigned>(x), segments - 1);
            vx4::vector_fixed<double, D> p;
            vx4::tessora1d::spline_point(m.coords, chain[k], chain[k + 1], chain[k + 2], chain[k + 3], x - k, p);
            worst = std::max(worst, m.distance_to_line(&p[0], m.indices[e], m.indices[e + 1]));
        }
    return worst;
}

} // namespace

TEST(MeshSpline, ReportsTheFirstBadArgumentAndAppendsOnSuccess) {
    auto c = arc_nodes(2, 6, 1.0, 0.3);
    dense2D<double> c4(4, 6, 0.0), out(3, 1, 7.0), wrong(6, 1, 0.0);
    const auto chain = iota(6);
    const auto m = iso_metrics(2, 6, 0.1), m3 = iso_metrics(3, 6, 0.1);
    dense1D<unsigned> idx{42};
    dense1D<double> par{0.5};
    double dev = 5.0;
    auto code = [&](dense2D<double>& x, const dense1D<unsigned>& ch, const dense2D<double>& mm, unsigned nmin,
                    double hmin, dense2D<double>& o) {
        return vx4::tessora1d::mesh_spline(x, ch, mm, false, nmin, 9, 0.0, hmin, 0.0, 0.0, idx, par, o, dev);
    };
    EXPECT_EQ(code(c4, chain, m, 1, 0.0, out), -1);
    EXPECT_EQ(dev, 0.0);
    EXPECT_EQ(code(c, dense1D<unsigned>{0, 1, 6, 2}, m3, 1, 0.0, out), -2);
    EXPECT_EQ(code(c, chain, m3, 0, -1.0, out), -3);
    EXPECT_EQ(code(c, chain, m, 10, -1.0, out), -5);
    EXPECT_EQ(code(c, chain, m, 1, -1.0, out), -8);
    EXPECT_EQ(code(c, chain, m, 1, 0.0, wrong), -13);
    EXPECT_EQ(c.cols() + idx.size() + par.size() + out.cols(), 9u);

    ASSERT_EQ(code(c, chain, m, 1, 0.0, out), 0);
    ASSERT_TRUE(idx.size() == par.size() && idx.size() == out.cols());
    EXPECT_EQ(par[0] + par[1] + par[par.size() - 1], 0.5 + 0.0 + 1.0);
    EXPECT_EQ(out(0, 0), 7.0);
    for (unsigned k = 0; k < idx.size(); ++k) // new nodes from column 6 on
        EXPECT_EQ(idx[k], k == 0 ? 42u : k == 1 ? 1u : k + 1 == idx.size() ? 4u : k + 4) << k;
}

TEST(MeshSpline, StraightChainMeshesOnTheLineWithTheGivenSizes) {
    // Uneven spacing along a unit direction in space; the meshed part runs from t = 0 to 10.
    const double ts[] = {-1.0, 0.0, 1.5, 2.0, 4.0, 7.5, 10.0, 12.0}, u[3] = {3.0 / 13.0, 4.0 / 13.0, 12.0 / 13.0};
    dense2D<double> c(3, 8);
    for (unsigned k = 0; k < 8; ++k)
        for (unsigned i = 0; i < 3; ++i) c(i, k) = (i == 0 ? 1.0 : -2.0) + ts[k] * u[i];
    const spline_mesh<dense2D<double>> m(c, iota(8), iso_metrics(3, 8, 0.25), 0.0);
    ASSERT_EQ(m.code, 0);
    EXPECT_NEAR(m.deviation, 0.0, 1e-12);
    ASSERT_EQ(m.indices.size(), 41u); // 10 / 0.25 elements
    for (unsigned k = 1; k + 1 < m.indices.size(); ++k) {
        EXPECT_NEAR(m.distance_to_line(&m.coords(0, m.indices[k]), 1, 6), 0.0, 1e-12);
        EXPECT_NEAR(m.field(0, k), 16.0, 1e-6);
        EXPECT_LT(m.params[k - 1], m.params[k]);
    }
}

TEST(MeshSpline, ChordalErrorBoundsTheSagittaOfEveryElement) {
    const double R = 1.5, step = 2.0 * 3.14159265358979323846 / 48.0;
    const unsigned n = 38;
    const auto chain = iota(n);
    const auto c2 = arc_nodes(2, n, R, step), c3 = arc_nodes(3, n, R, step);
    for (double chordal : {2e-3, -1e-3}) {
        SCOPED_TRACE(chordal);
        const double allowed = chordal > 0 ? chordal : -chordal * R;
        const spline_mesh<dense1D<double>> s2(c2, chain, dense1D<double>(n, 10.0), chordal);
        const spline_mesh<dense2D<double>> m3(c3, chain, iso_metrics(3, n, 10.0), chordal);
        ASSERT_EQ(s2.code + m3.code, 0);
        for (double worst : {largest_sagitta<2>(s2, chain), largest_sagitta<3>(m3, chain)}) {
            EXPECT_LE(worst, 1.1 * allowed);
            EXPECT_GE(worst, 0.5 * allowed); // and the elements are not needlessly short
        }
        // The chain's chords stray from the spline by about the circle's sagitta, as sampled.
        const double sagitta = R * (1.0 - std::cos(step / 2.0));
        EXPECT_NEAR(m3.deviation, sagitta, 0.05 * sagitta);
    }
}

TEST(MeshSpline, GradationBoundHoldsBetweenConsecutiveNodesAndEnablesTheBackgroundSize) {
    // A straight line of nodes 0.05 apart, size 1 except 0.05 over a stretch in the middle.
    const unsigned n = 203;
    dense2D<double> c(2, n, 0.0);
    dense1D<double> sizes(n, 1.0);
    for (unsigned k = 0; k < n; ++k) c(0, k) = 0.05 * k;
    for (unsigned k = 90; k <= 112; ++k) sizes[k] = 0.05;
    // Largest h_large / (h_small g^(l / h_small)) over elements of length l: at most 1 when the
    // sizes obey the gradation g.
    auto largest_excess = [&](double gradation, double g) {
        const spline_mesh<dense1D<double>> m(c, iota(n), sizes, 0.0, gradation);
        double worst = 0.0;
        for (unsigned k = 1; k < m.field.size(); ++k) {
            const double small = std::min(m.field[k], m.field[k - 1]), large = std::max(m.field[k], m.field[k - 1]);
            const double l = std::fabs(m.coords(0, m.indices[k]) - m.coords(0, m.indices[k - 1]));
            worst = std::max(worst, large / (small * std::pow(g, l / small)));
        }
        return worst;
    };
    EXPECT_GT(largest_excess(0.0, 1.3), 1.5);
    EXPECT_LE(largest_excess(1.3, 1.3), 1.1);
    // A background size applies between chain nodes only with a gradation: a curve 2.4 long under
    // a size of 2 is one element.
    const auto arc = arc_nodes(2, 6, 4.0, 0.2), m = iso_metrics(2, 6, 2.0);
    EXPECT_EQ(spline_mesh<dense2D<double>>(arc, iota(6), m, 0.0, 0.0, 0.1).indices.size(), 2u);
    EXPECT_GE(spline_mesh<dense2D<double>>(arc, iota(6), m, 0.0, 1e308, 0.1).indices.size(), 4u);
}

TEST(MeshSpline, BadInputAndShortMemoryLeaveConsistentOutputs) {
    const double nan = std::nan("");
    auto consistent = [](const spline_mesh<dense2D<double>>& m, unsigned cols) {
        EXPECT_EQ(m.code, 0);
        EXPECT_EQ(m.params.size(), m.indices.size());
        EXPECT_EQ(m.field.cols(), m.indices.size());
        EXPECT_EQ(m.coords.cols(), cols + (m.indices.empty() ? 0 : m.indices.size() - 2));
    };
    const auto arc = arc_nodes(2, 8, 1.0, 0.4), m2 = iso_metrics(2, 8, 0.3), m3 = iso_metrics(3, 6, 0.3);
    auto holed = arc_nodes(3, 6, 1.0, 0.4);
    holed(1, 3) = nan;
    consistent(spline_mesh<dense2D<double>>(arc, iota(8), m2, -1e-300), 8);
    consistent(spline_mesh<dense2D<double>>(arc, iota(8), m2, nan, nan, nan), 8);
    consistent(spline_mesh<dense2D<double>>(arc, dense1D<unsigned>{0, 1, 1, 1, 2, 2, 3, 3}, m2, 1e-3, 1.5), 8);
    consistent(spline_mesh<dense2D<double>>(dense2D<double>(3, 6, 1.0), iota(6), m3, 1e-3), 6);
    consistent(spline_mesh<dense2D<double>>(holed, iota(6), m3, 1e-2, 1.5, 0.1), 6);
    for (long fail_at = 0; fail_at < 300; ++fail_at)
        consistent(spline_mesh<dense2D<double>>(arc, iota(8), m2, 1e-3, 1.5, 0.0, fail_at), 8);
}
