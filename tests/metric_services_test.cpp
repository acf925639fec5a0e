#include <vx4/tessora.h>

#include "metrics/metric_algebra.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <random>
#include <vector>

using vx4::dense1D;
using vx4::dense2D;
using vx4::symmetric_fixed;
namespace ts = vx4::tessora;

namespace {

// A random metric with sizes in [0.01, 10] along a random orthonormal frame.
template <unsigned N>
symmetric_fixed<double, N> random_metric(std::mt19937& rng) {
    std::uniform_real_distribution<double> angle(0.0, 6.283185307179586), logsize(-2.0, 1.0);
    double frame[9], lambda[3];
    const double a = angle(rng), b = angle(rng) / 2.0;
    const double ca = std::cos(a), sa = std::sin(a), cb = std::cos(b), sb = std::sin(b);
    const double f3[9] = {ca * cb, sa * cb, sb, -sa, ca, 0.0, -ca * sb, -sa * sb, cb}, f2[4] = {ca, sa, -sa, ca};
    for (unsigned k = 0; k < N * N; ++k) frame[k] = N == 2 ? f2[k] : f3[k];
    for (unsigned k = 0; k < N; ++k) lambda[k] = std::pow(10.0, -2.0 * logsize(rng));
    symmetric_fixed<double, N> m;
    if (N == 2) vx4::tessora1d::detail::metric_from_eigen_2d(frame, lambda, m.v);
    else vx4::tessora1d::detail::metric_from_eigen_3d(frame, lambda, m.v);
    return m;
}

template <unsigned N>
double size_along(const symmetric_fixed<double, N>& m, const double* u) {
    double q = 0.0, n2 = 0.0;
    for (unsigned i = 0; i < N; ++i) {
        n2 += u[i] * u[i];
        for (unsigned j = 0; j < N; ++j) q += m(i, j) * u[i] * u[j];
    }
    return std::sqrt(n2 / q);
}

template <unsigned N>
void expect_intersection(std::mt19937& rng) {
    std::normal_distribution<double> gauss;
    for (int trial = 0; trial < 200; ++trial) {
        const auto a = random_metric<N>(rng), b = random_metric<N>(rng);
        symmetric_fixed<double, N> r;
        ASSERT_TRUE(ts::minimum_metric(a, b, r));
        for (int s = 0; s < 20; ++s) {
            double u[N];
            for (auto& x : u) x = gauss(rng);
            EXPECT_LE(size_along(r, u), std::fmin(size_along(a, u), size_along(b, u)) * (1.0 + 1e-9));
        }
        double mu[N], P[N * N];
        const bool ok = N == 2 ? vx4::tessora1d::detail::simultaneous_reduction_2d(a.v, b.v, true, mu, P)
                               : vx4::tessora1d::detail::simultaneous_reduction_3d(a.v, b.v, true, mu, P);
        ASSERT_TRUE(ok);
        for (unsigned k = 0; k < N; ++k) {
            const double* p = P + k * N;
            const double expected = std::fmin(size_along(a, p), size_along(b, p));
            EXPECT_NEAR(size_along(r, p) / expected, 1.0, 1e-9);
        }
    }
}

// A 2-D polyline with random steps; order[k] is the (shuffled) node index at position k.
struct random_chain {
    dense2D<double> x;
    dense2D<unsigned> edges;
    std::vector<unsigned> order;
    random_chain(unsigned n, std::mt19937& rng) : x(2, n), edges(2, n - 1), order(n) {
        std::uniform_real_distribution<double> step(0.01, 1.0), turn(-1.0, 1.0);
        for (unsigned k = 0; k < n; ++k) order[k] = k;
        std::shuffle(order.begin(), order.end(), rng);
        double heading = 0.0;
        for (unsigned k = 0; k < n; ++k) {
            x(0, order[k]) = k ? x(0, order[k - 1]) + step(rng) * std::cos(heading += turn(rng)) : 0.0;
            x(1, order[k]) = k ? x(1, order[k - 1]) + step(rng) * std::sin(heading) : 0.0;
            if (k) edges(0, k - 1) = order[k - 1], edges(1, k - 1) = order[k];
        }
    }
    double length(unsigned a, unsigned b) const { return std::hypot(x(0, b) - x(0, a), x(1, b) - x(1, a)); }
};

} // namespace

TEST(MinimumMetric, NoSizeLargerThanEitherAndEqualAlongCommonDirections) {
    std::mt19937 rng(7);
    expect_intersection<2>(rng);
    expect_intersection<3>(rng);
}

TEST(MinimumMetric, ZeroMeansNoConstraintAndSemiDefiniteSideWorks) {
    const symmetric_fixed<double, 2> zero{0.0, 0.0, 0.0}, unit{1.0, 0.0, 1.0}, nan{NAN, 0.0, 1.0};
    symmetric_fixed<double, 2> r, a{4.0, 0.0, 0.0}; // size 0.5 along x, no constraint along y
    ASSERT_TRUE(ts::minimum_metric(zero, a, r) && r[0] == 4.0 && r[2] == 0.0);
    ASSERT_TRUE(ts::minimum_metric(a, unit, a)); // written over its own input
    EXPECT_NEAR(a[0], 4.0, 1e-14);
    EXPECT_NEAR(a[2], 1.0, 1e-14);
    EXPECT_FALSE(ts::minimum_metric(nan, unit, r));
}

TEST(AreValidMetrics, RejectsNonFiniteAndNonPositiveDefinite) {
    using vx4test::columns;
    EXPECT_TRUE(ts::are_valid_metrics(dense1D<double>{0.5, 1e-300, 3.0}));
    EXPECT_FALSE(ts::are_valid_metrics(dense1D<double>{0.5, 0.0}));
    EXPECT_FALSE(ts::are_valid_metrics(dense1D<double>{0.5, NAN}));
    EXPECT_FALSE(ts::are_valid_metrics(columns<double>(3, {1.0, 0.5, 1.0, 1.0, 2.0, 1.0})));
    EXPECT_FALSE(ts::are_valid_metrics(columns<double>(2, {1.0, 1.0})));
    EXPECT_FALSE(ts::are_valid_metrics(columns<double>(6, {1.0, 0.0, 1.0, 0.0, 0.0, INFINITY})));
    // A view whose leading dimension exceeds its rows reads only its own entries.
    const auto wide = columns<double>(4, {1.0, 0.0, 1.0, NAN, 2.0, 0.0, 2.0, NAN});
    EXPECT_TRUE(ts::are_valid_metrics(wide.sub_matrix(0, 0, 3, 2)));
}

TEST(BoundMetric, ClampsAlongEigenDirectionsAndReportsWhatHappened) {
    std::mt19937 rng(3);
    auto m = random_metric<2>(rng);
    ASSERT_EQ(ts::bound_metric(m, 0.5, 2.0), 1);
    double values[2], vectors[4];
    ASSERT_TRUE(vx4::tessora1d::detail::eigen_sym_2d(m[0], m[1], m[2], true, values, vectors));
    EXPECT_GE(values[0], 0.25 * (1 - 1e-12));
    EXPECT_LE(values[1], 4.0 * (1 + 1e-12));
    symmetric_fixed<double, 3> inside{1.0, 0.0, 1.0, 0.0, 0.0, 1.0}, bad{1.0, 0.0, -1.0, 0.0, 0.0, 1.0};
    EXPECT_EQ(ts::bound_metric(inside, 0.5, DBL_MAX), 0);
    EXPECT_EQ(ts::bound_metric(bad, 0.5, 2.0), -1);

    dense1D<double> sizes{0.1, 1.0, 5.0, NAN};
    EXPECT_EQ(ts::bound_metrics(sizes, 0.5, 2.0), 2);
    EXPECT_EQ(sizes[0], 0.5);
    EXPECT_EQ(sizes[2], 2.0);
    EXPECT_EQ(ts::bound_metrics(sizes, 3.0, 1.0), 2); // hmax wins: 0.5 and 2 become 1
}
TEST(BoundMetricGradations, SizesReachTheExactFixedPointOnRandomChains) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> logsize(-3.0, 1.0);
    const unsigned n = 120;
    const double g = 1.3;
    for (int trial = 0; trial < 20; ++trial) {
        random_chain chain(n, rng);
        dense1D<double> h(n), original(n);
        std::vector<double> abscissa(n, 0.0); // path length at each chain position
        for (unsigned k = 0; k < n; ++k) h[k] = original[k] = std::pow(10.0, logsize(rng));
        for (unsigned k = 1; k < n; ++k) abscissa[k] = abscissa[k - 1] + chain.length(chain.order[k - 1], chain.order[k]);
        ASSERT_EQ(ts::bound_metric_gradations(chain.x, chain.edges, vx4::edge2, dense1D<unsigned>(), true, -1, g, h), 0);
        // The fixed point: min over j of h_j + (g - 1) * path length between i and j.
        for (unsigned i = 0; i < n; ++i) {
            double best = DBL_MAX;
            for (unsigned j = 0; j < n; ++j)
                best = std::fmin(best, original[chain.order[j]] + (g - 1) * std::fabs(abscissa[i] - abscissa[j]));
            EXPECT_NEAR(h[chain.order[i]], best, 1e-12 * best);
        }
    }
}

TEST(BoundMetricGradations, OneWayAndListedNodesOnly) {
    const auto x = vx4test::columns<double>(2, {0.0, 0.0, 1.0, 0.0, 2.0, 0.0});
    const auto edges = vx4test::columns<unsigned>(2, {0, 1, 1, 2});
    dense1D<double> h{1.0, 10.0, 0.1};
    ASSERT_EQ(ts::bound_metric_gradations(x, edges, vx4::edge2, dense1D<unsigned>(), false, -1, 2.0, h), 0);
    EXPECT_EQ(h[0], 1.0); // not bounded by its successor
    EXPECT_EQ(h[1], 2.0);
    EXPECT_EQ(h[2], 0.1);
    dense1D<double> k{1.0, 10.0, 0.1};
    ASSERT_EQ(ts::bound_metric_gradations(x, edges, vx4::edge2, dense1D<unsigned>{1}, true, -1, 2.0, k), 0);
    EXPECT_EQ(k[2], 0.1); // only node 1 may change: 0.1 + 1
    EXPECT_NEAR(k[1], 1.1, 1e-15);
    // A quadratic element grades through its mid node (row 2).
    const auto e3 = vx4test::columns<unsigned>(3, {0, 2, 1});
    dense1D<double> q{0.1, 10.0, 10.0};
    ASSERT_EQ(ts::bound_metric_gradations(x, e3, vx4::edge3, dense1D<unsigned>(), true, -1, 2.0, q), 0);
    EXPECT_NEAR(q[1], 1.1, 1e-15);
    EXPECT_NEAR(q[2], 2.1, 1e-15);
}

TEST(BoundMetricGradations, MetricsHonourTheBoundAlongEdgesAndNeverGrow) {
    std::mt19937 rng(5);
    const unsigned n = 300;
    random_chain chain(n, rng);
    const auto& edges = chain.edges;
    dense2D<double> m(3, n), before(3, n);
    for (unsigned j = 0; j < n; ++j) {
        const auto r = random_metric<2>(rng);
        for (unsigned i = 0; i < 3; ++i) m(i, j) = before(i, j) = r[i];
    }
    const double g = 1.5;
    ASSERT_EQ(ts::bound_metric_gradations(chain.x, edges, vx4::edge2, dense1D<unsigned>(), true, 0, g, m), 0);
    auto column = [&](const dense2D<double>& f, unsigned j) { return symmetric_fixed<double, 2>{f(0, j), f(1, j), f(2, j)}; };
    std::normal_distribution<double> gauss;
    for (unsigned e = 0; e < edges.cols(); ++e) {
        const unsigned a = edges(0, e), b = edges(1, e);
        const double u[2] = {chain.x(0, b) - chain.x(0, a), chain.x(1, b) - chain.x(1, a)};
        const double d = chain.length(a, b), ha = size_along(column(m, a), u), hb = size_along(column(m, b), u);
        EXPECT_LE(hb, (ha + (g - 1) * d) * (1 + 1e-8));
        EXPECT_LE(ha, (hb + (g - 1) * d) * (1 + 1e-8));
    }
    for (unsigned j = 0; j < n; ++j)
        for (int s = 0; s < 8; ++s) {
            const double u[2] = {gauss(rng), gauss(rng)};
            EXPECT_LE(size_along(column(m, j), u), size_along(column(before, j), u) * (1 + 1e-9));
        }
}

TEST(BoundMetricGradations, ThreeDimensionalMetricFollowsAFineNeighbour) {
    const auto x = vx4test::columns<double>(3, {0.0, 0.0, 0.0, 1.0, 0.0, 0.0});
    const auto edges = vx4test::columns<unsigned>(2, {0, 1});
    // Node 0 has size 0.1 along x, node 1 size 10 everywhere: node 1 must come down to
    // 0.1 + 0.2 * 1 along x.
    auto m = vx4test::columns<double>(6, {100.0, 0.0, 1.0, 0.0, 0.0, 1.0, 0.01, 0.0, 0.01, 0.0, 0.0, 0.01});
    ASSERT_EQ(ts::bound_metric_gradations(x, edges, vx4::edge2, dense1D<unsigned>(), true, 0, 1.2, m), 0);
    EXPECT_NEAR(1.0 / std::sqrt(m(0, 1)), 0.3, 1e-12);
    EXPECT_NEAR(m(0, 0), 100.0, 1e-12);
}

TEST(BoundMetricGradations, ArgumentCodes) {
    using vx4test::columns;
    const auto x = columns<double>(2, {0.0, 0.0, 1.0, 0.0});
    const auto edge = columns<unsigned>(2, {0, 1});
    const dense1D<unsigned> all;
    dense1D<double> h{1.0, 2.0}, nan_sizes{1.0, NAN};
    auto m = columns<double>(3, {1.0, 0.0, 1.0, 1.0, 0.0, 1.0}), not_definite = columns<double>(3, {1, 0, 1, 1, 1, 1});
    auto grade = [&](const dense2D<double>& c, const dense2D<unsigned>& e, vx4::element_type kind,
                     const dense1D<unsigned>& nodes, int mode, double g, auto& field) {
        return ts::bound_metric_gradations(c, e, kind, nodes, true, mode, g, field);
    };
    EXPECT_EQ(grade(dense2D<double>(4, 2, 0.0), edge, vx4::edge2, all, 0, 1.2, m), -1);
    EXPECT_EQ(grade(x, columns<unsigned>(2, {0, 2}), vx4::edge2, all, -1, 1.2, h), -2);
    EXPECT_EQ(grade(x, edge, vx4::triangle3, all, -1, 1.2, h), -3);
    EXPECT_EQ(grade(x, edge, vx4::edge2, dense1D<unsigned>{5}, -1, 1.2, h), -4);
    EXPECT_EQ(grade(x, edge, vx4::edge2, all, 0, 1.2, h), -6);
    EXPECT_EQ(grade(x, edge, vx4::edge2, all, -1, 0.9, h), -7);
    EXPECT_EQ(grade(x, edge, vx4::edge2, all, -1, 1.2, nan_sizes), -8);
    EXPECT_EQ(grade(x, edge, vx4::edge2, all, 0, 1.2, not_definite), -8);
    EXPECT_EQ(grade(x, dense2D<unsigned>(), vx4::edge2, all, -1, 1.2, h), 0);
    for (long k = 0; k < 3; ++k) {
        vx4test::failing_allocations guard(k);
        EXPECT_EQ(grade(x, edge, vx4::edge2, all, -1, 1.2, h), -199) << k;
        EXPECT_EQ(grade(x, edge, vx4::edge2, all, 0, 1.2, m), -199) << k;
    }
    EXPECT_EQ(h[1], 2.0);
}
