#include <vx4/tessora.h>

#include "metrics/metric_algebra.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>

using vx4::dense1D;
using vx4::dense2D;
using vx4::symmetric_fixed;
using vx4test::columns;
namespace ts = vx4::tessora;
namespace algebra = vx4::tessora1d::detail;

namespace {

// A random metric with sizes in [0.01, 10] along a random orthonormal frame.
template <unsigned N>
symmetric_fixed<double, N> random_metric(std::mt19937& rng) {
    std::uniform_real_distribution<double> angle(0.0, 6.283185307179586), logsize(-2.0, 1.0);
    const double a = angle(rng), b = angle(rng) / 2.0, ca = std::cos(a), sa = std::sin(a), cb = std::cos(b);
    const double sb = std::sin(b), f3[9] = {ca * cb, sa * cb, sb, -sa, ca, 0.0, -ca * sb, -sa * sb, cb};
    const double f2[4] = {ca, sa, -sa, ca};
    double lambda[N];
    for (auto& l : lambda) l = std::pow(10.0, -2.0 * logsize(rng));
    symmetric_fixed<double, N> m;
    if constexpr (N == 2) algebra::metric_from_eigen_2d(f2, lambda, m.v);
    else algebra::metric_from_eigen_3d(f3, lambda, m.v);
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

symmetric_fixed<double, 2> column(const dense2D<double>& f, unsigned j) { return {{f(0, j), f(1, j), f(2, j)}}; }

template <unsigned N>
void expect_intersection(std::mt19937& rng) {
    std::normal_distribution<double> gauss;
    for (int trial = 0; trial < 200; ++trial) {
        const auto a = random_metric<N>(rng), b = random_metric<N>(rng);
        symmetric_fixed<double, N> r;
        ASSERT_TRUE(ts::minimum_metric(a, b, r));
        double u[N], mu[N], P[N * N];
        for (int s = 0; s < 20; ++s) {
            for (auto& x : u) x = gauss(rng);
            EXPECT_LE(size_along(r, u), std::fmin(size_along(a, u), size_along(b, u)) * (1.0 + 1e-9));
        }
        if constexpr (N == 2) ASSERT_TRUE(algebra::simultaneous_reduction_2d(a.v, b.v, true, mu, P));
        else ASSERT_TRUE(algebra::simultaneous_reduction_3d(a.v, b.v, true, mu, P));
        for (const double* p = P; p < P + N * N; p += N) // the smaller size along each common direction
            EXPECT_NEAR(size_along(r, p) / std::fmin(size_along(a, p), size_along(b, p)), 1.0, 1e-9);
    }
}

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
    EXPECT_TRUE(ts::are_valid_metrics(dense1D<double>{0.5, 1e-300, 3.0}));
    for (double bad : {0.0, double(NAN)}) EXPECT_FALSE(ts::are_valid_metrics(dense1D<double>{0.5, bad}));
    for (const auto& bad : {columns<double>(3, {1.0, 0.5, 1.0, 1.0, 2.0, 1.0}), columns<double>(2, {1.0, 1.0}),
                            columns<double>(6, {1.0, 0.0, 1.0, 0.0, 0.0, INFINITY})})
        EXPECT_FALSE(ts::are_valid_metrics(bad));
    // A view whose leading dimension exceeds its rows reads only its own entries.
    const auto wide = columns<double>(4, {1.0, 0.0, 1.0, NAN, 2.0, 0.0, 2.0, NAN});
    EXPECT_TRUE(ts::are_valid_metrics(wide.sub_matrix(0, 0, 3, 2)));
}

TEST(BoundMetric, ClampsAlongEigenDirectionsAndReportsWhatHappened) {
    symmetric_fixed<double, 2> m{50.005, 49.995, 50.005}; // sizes 0.1 and 10 along the diagonals
    ASSERT_EQ(ts::bound_metric(m, 0.5, 2.0), 1);
    EXPECT_NEAR(m[0], 2.125, 1e-12); // eigenvalues 4 and 0.25 along the same diagonals
    EXPECT_NEAR(m[1], 1.875, 1e-12);
    symmetric_fixed<double, 3> inside{1.0, 0.0, 1.0, 0.0, 0.0, 1.0}, bad{1.0, 0.0, -1.0, 0.0, 0.0, 1.0};
    EXPECT_EQ(ts::bound_metric(inside, 0.5, DBL_MAX), 0);
    EXPECT_EQ(ts::bound_metric(bad, 0.5, 2.0), -1);
    dense1D<double> sizes{0.1, 1.0, 5.0, NAN};
    EXPECT_EQ(ts::bound_metrics(sizes, 0.5, 2.0), 2);
    EXPECT_TRUE(sizes[0] == 0.5 && sizes[2] == 2.0);
    EXPECT_EQ(ts::bound_metrics(sizes, 3.0, 1.0), 2); // hmax wins: 0.5 and 2 become 1
}

TEST(BoundMetricGradations, SizesReachTheFixedPointAndMetricsHonourTheBoundWithoutGrowing) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> logsize(-3.0, 1.0), step(0.01, 1.0), turn(-1.0, 1.0);
    std::normal_distribution<double> gauss;
    const unsigned n = 120;
    const double g = 1.3;
    auto node = [&](unsigned k) { return (37 * k + 11) % n; }; // the node at chain position k
    for (int trial = 0; trial < 20; ++trial) {
        // A random 2-D walk through the nodes in chain order; s[k] is the path length at position k.
        dense2D<double> x(2, n, 0.0), m(3, n), m0(3, n);
        dense2D<unsigned> edges(2, n - 1);
        dense1D<double> h(n), h0(n), s(n, 0.0);
        double heading = 0.0;
        for (unsigned k = 1; k < n; ++k) {
            const unsigned a = edges(0, k - 1) = node(k - 1), b = edges(1, k - 1) = node(k);
            const double l = step(rng), t = heading += turn(rng);
            x(0, b) = x(0, a) + l * std::cos(t), x(1, b) = x(1, a) + l * std::sin(t), s[k] = s[k - 1] + l;
        }
        for (unsigned j = 0; j < n; ++j) {
            const auto r = random_metric<2>(rng);
            for (unsigned i = 0; i < 3; ++i) m(i, j) = m0(i, j) = r[i];
            h[j] = h0[j] = std::pow(10.0, logsize(rng));
        }
        ASSERT_EQ(ts::bound_metric_gradations(x, edges, vx4::edge2, {}, true, -1, g, h), 0);
        ASSERT_EQ(ts::bound_metric_gradations(x, edges, vx4::edge2, {}, true, 0, g, m), 0);
        for (unsigned i = 0; i < n; ++i) { // sizes: min over j of h_j + (g - 1) * path length between i and j
            double best = DBL_MAX;
            for (unsigned j = 0; j < n; ++j) best = std::fmin(best, h0[node(j)] + (g - 1) * std::fabs(s[i] - s[j]));
            EXPECT_NEAR(h[node(i)], best, 1e-12 * best);
        }
        for (unsigned k = 1; k < n; ++k) {
            const unsigned a = node(k - 1), b = node(k);
            const double u[2] = {x(0, b) - x(0, a), x(1, b) - x(1, a)}, v[2] = {gauss(rng), gauss(rng)};
            const double d = s[k] - s[k - 1], ha = size_along(column(m, a), u), hb = size_along(column(m, b), u);
            EXPECT_LE(hb, (ha + (g - 1) * d) * (1 + 1e-8));
            EXPECT_LE(ha, (hb + (g - 1) * d) * (1 + 1e-8));
            EXPECT_LE(size_along(column(m, b), v), size_along(column(m0, b), v) * (1 + 1e-9));
        }
    }
}

TEST(BoundMetricGradations, OneWayListedNodesOnlyAndQuadraticMidNodes) {
    const auto x = columns<double>(2, {0.0, 0.0, 1.0, 0.0, 2.0, 0.0});
    const auto e2 = columns<unsigned>(2, {0, 1, 1, 2}), e3 = columns<unsigned>(3, {0, 2, 1});
    auto grade = [&](const dense2D<unsigned>& e, const dense1D<unsigned>& nodes, bool symmetric, dense1D<double> h,
                     std::initializer_list<double> expected) {
        const auto kind = e.rows() == 2 ? vx4::edge2 : vx4::edge3;
        ASSERT_EQ(ts::bound_metric_gradations(x, e, kind, nodes, symmetric, -1, 2.0, h), 0);
        for (unsigned k = 0; k < 3; ++k) EXPECT_NEAR(h[k], expected.begin()[k], 1e-15) << k;
    };
    grade(e2, {}, false, {1.0, 10.0, 0.1}, {1.0, 2.0, 0.1}); // node 0 is not bounded by its successor
    grade(e2, {1}, true, {1.0, 10.0, 0.1}, {1.0, 1.1, 0.1});
    grade(e3, {}, true, {0.1, 10.0, 10.0}, {0.1, 1.1, 2.1}); // grades through the mid node (row 2)
}

TEST(BoundMetricGradations, ThreeDimensionalMetricFollowsAFineNeighbour) {
    // Node 0 has size 0.1 along x, node 1 size 10 everywhere: node 1 comes down to 0.1 + 0.2 * 1 along x.
    auto m = columns<double>(6, {100.0, 0.0, 1.0, 0.0, 0.0, 1.0, 0.01, 0.0, 0.01, 0.0, 0.0, 0.01});
    const auto x = columns<double>(3, {0.0, 0.0, 0.0, 1.0, 0.0, 0.0});
    ASSERT_EQ(ts::bound_metric_gradations(x, columns<unsigned>(2, {0, 1}), vx4::edge2, {}, true, 0, 1.2, m), 0);
    EXPECT_NEAR(1.0 / std::sqrt(m(0, 1)), 0.3, 1e-12);
    EXPECT_NEAR(m(0, 0), 100.0, 1e-12);
}

TEST(BoundMetricGradations, ReportsArgumentCodesAndShortMemoryWithoutChangingAnything) {
    const auto x = columns<double>(2, {0.0, 0.0, 1.0, 0.0});
    const auto e = columns<unsigned>(2, {0, 1});
    dense1D<double> h{1.0, 2.0};
    auto m = columns<double>(3, {1.0, 0.0, 1.0, 1.0, 0.0, 1.0}), not_definite = columns<double>(3, {1, 0, 1, 1, 1, 1});
    EXPECT_EQ(ts::bound_metric_gradations(dense2D<double>(4, 2, 0.0), e, vx4::edge2, {}, true, 0, 1.2, m), -1);
    EXPECT_EQ(ts::bound_metric_gradations(x, columns<unsigned>(2, {0, 2}), vx4::edge2, {}, true, -1, 1.2, h), -2);
    EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::triangle3, {}, true, -1, 1.2, h), -3);
    EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::edge2, dense1D<unsigned>{5}, true, -1, 1.2, h), -4);
    EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::edge2, {}, true, 0, 1.2, h), -6);
    EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::edge2, {}, true, -1, 0.9, h), -7);
    EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::edge2, {}, true, 0, 1.2, not_definite), -8);
    EXPECT_EQ(ts::bound_metric_gradations(x, dense2D<unsigned>(), vx4::edge2, {}, true, -1, 1.2, h), 0);
    for (long k = 0; k < 3; ++k) {
        vx4test::failing_allocations guard(k);
        EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::edge2, {}, true, -1, 1.2, h), -199) << k;
        EXPECT_EQ(ts::bound_metric_gradations(x, e, vx4::edge2, {}, true, 0, 1.2, m), -199) << k;
    }
    EXPECT_EQ(h[1], 2.0);
}
