#include <gtest/gtest.h>

#include <vx4/tessora1d.h>

#include "geometry/parameter_search.h"
#include "line/chord_parameters.h"
#include "line/size_model.h"
#include "test_support.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using vx4::dense2D;
using vx4::tessora1d::mesh_line;
using vx4::tessora1d::detail::metric_length_1d;
using vx4test::columns;
using vx4test::iota;
using ids = vx4::dense1D<unsigned>;
using reals = vx4::dense1D<double>;

namespace {

constexpr double kMaxDouble = 1.7976931348623157e308;
constexpr unsigned kNoBound = 4294967295u;
const double kPi = std::acos(-1.0);

double distance(const dense2D<double>& X, unsigned a, unsigned b) {
    double sq = 0.0;
    for (unsigned r = 0; r < X.rows(); ++r) sq += (X(r, a) - X(r, b)) * (X(r, a) - X(r, b));
    return std::sqrt(sq);
}

// Distance from the point p (X.rows() coordinates) to the polyline through the columns `line` of X.
double distance_to_polyline(const dense2D<double>& X, const ids& line, const double* p) {
    double best = 1e300;
    for (unsigned i = 0; i + 1 < line.size(); ++i) {
        const double *a = &X(0, line[i]), *b = &X(0, line[i + 1]);
        double ab = 0.0, ap = 0.0, t = 0.0, d = 0.0;
        for (unsigned r = 0; r < X.rows(); ++r) ab += std::pow(b[r] - a[r], 2), ap += (p[r] - a[r]) * (b[r] - a[r]);
        if (ab > 0.0) t = std::min(1.0, std::max(0.0, ap / ab));
        for (unsigned r = 0; r < X.rows(); ++r) d += std::pow(a[r] + t * (b[r] - a[r]) - p[r], 2);
        best = std::min(best, std::sqrt(d));
    }
    return best;
}

// n points of the circle of radius R, from angle 0 to `sweep`, as a 2-row matrix.
dense2D<double> arc(unsigned n, double R, double sweep) {
    dense2D<double> X(2, n);
    for (unsigned i = 0; i < n; ++i)
        X(0, i) = R * std::cos(sweep * i / (n - 1)), X(1, i) = R * std::sin(sweep * i / (n - 1));
    return X;
}

dense2D<double> iso_metrics2d(const std::vector<double>& h) {
    dense2D<double> M(3, static_cast<unsigned>(h.size()), 0.0);
    for (unsigned j = 0; j < M.cols(); ++j) M(0, j) = M(2, j) = 1.0 / (h[j] * h[j]);
    return M;
}

// One call of the size form without parameters, into empty outputs.
struct sized_line {
    ids out;
    reals params, sizes;
    int code;
    sized_line(dense2D<double>& X, const ids& line, const reals& h, double chordal = 0.0, double hmin = 0.0,
               bool even = false, unsigned nmin = 1, unsigned nmax = kNoBound)
        : code(mesh_line(X, line, h, even, nmin, nmax, chordal, hmin, out, params, sizes)) {}
};

// Elements along the x axis from 0 to L under unit size, as counted by mesh_line.
unsigned elements_on_segment(double L, bool even, unsigned nmin, unsigned nmax) {
    dense2D<double> X = columns<double>(2, {0, 0, L, 0});
    const sized_line r(X, iota(2), reals{1.0, 1.0}, 0.0, 0.0, even, nmin, nmax);
    EXPECT_EQ(r.code, 0);
    return r.out.size() - 1;
}

} // namespace

TEST(MeshLine, ChainRunsFromEndToEndWithConsecutiveNewColumnsOnThePolyline) {
    // An L-shaped polyline whose nodes sit in scrambled columns, plus an unused column.
    dense2D<double> X = columns<double>(2, {9, 9, 1, 0, 0, 0, 1, 1, 2, 1});
    const ids line{2, 1, 3, 4};
    ids out{77};
    reals params{5, 5}, sizes{3};
    ASSERT_EQ(mesh_line(X, line, reals{0.2, 0.2, 0.1, 0.3}, false, 1, kNoBound, 0.0, 0.0, out, params, sizes), 0);
    const unsigned E = out.size() - 2;
    ASSERT_GT(E, 5u);
    // Out indices and sizes are appended to, out params emptied first.
    ASSERT_TRUE(sizes.size() == E + 2 && params.size() == E + 1 && X.cols() == 5 + E - 1);
    for (unsigned k = 0; k < E + 2; ++k) EXPECT_EQ(out[k], k == 0 ? 77u : k == 1 ? 2u : k == E + 1 ? 4u : 3 + k) << k;
    for (unsigned k = 1; k < E; ++k) {
        EXPECT_LT(distance_to_polyline(X, line, &X(0, out[k + 1])), 1e-12);
        EXPECT_LE(params[k - 1], params[k]);
    }
    EXPECT_DOUBLE_EQ(params[E], 1.0);
}

TEST(MeshLine, ElementCountFollowsRoundingBoundsAndParity) {
    // Length under unit size, even flag, nmin, nmax and the expected count; parity comes after the bounds.
    const struct { double L; bool even; unsigned nmin, nmax, E; } cases[] = {
        {2.4, false, 1, kNoBound, 2}, {2.5, false, 1, kNoBound, 3}, {3.1, true, 1, kNoBound, 4},
        {0.01, false, 1, kNoBound, 1}, {0.1, true, 5, 5, 6}, {100.0, false, 1, 7, 7}, {1.0, false, 4, 10, 4}};
    for (const auto& c : cases) EXPECT_EQ(elements_on_segment(c.L, c.even, c.nmin, c.nmax), c.E) << c.L;
}

TEST(MeshLine, LinearSizesGiveEqualMetricLengthsInBothFamilies) {
    dense2D<double> X = columns<double>(2, {0, 0, 3, 4});
    const sized_line iso(X, iota(2), reals{0.05, 0.8});
    ids out;
    reals params;
    dense2D<double> metrics;
    ASSERT_EQ(mesh_line(X, iota(2), iso_metrics2d({0.05, 0.8}), false, 1, kNoBound, 0.0, 0.0, out, params, metrics), 0);
    const double L = metric_length_1d(5.0, 0.05, 0.8, false);
    const unsigned E = iso.out.size() - 1;
    ASSERT_EQ(out.size(), E + 1);
    for (unsigned k = 0; k < E; ++k) {
        const double a = distance(X, iso.out[k], iso.out[k + 1]);
        EXPECT_NEAR(metric_length_1d(a, iso.sizes[k], iso.sizes[k + 1], false), L / E, 1e-9);
        // The isotropic metric of size h carries the same grading as the size h.
        EXPECT_NEAR(params[k], iso.params[k], 1e-12);
        EXPECT_NEAR(metrics(0, k), 1.0 / (iso.sizes[k] * iso.sizes[k]), 1e-6 * metrics(0, k));
        EXPECT_NEAR(metrics(1, k), 0.0, 1e-9 * metrics(0, k));
    }
}

TEST(MeshLine, PassesRemeshTheChainUntilItsCountStopsFalling) {
    // A fine zigzag of amplitude 0.1 under size 1: the first pass counts the zigzag's length,
    // later passes the length of the chords between the chain's nodes.
    const unsigned n = 41;
    dense2D<double> X(2, n);
    for (unsigned i = 0; i < n; ++i) X(0, i) = 0.25 * i, X(1, i) = (i % 2) ? 0.1 : 0.0;
    const sized_line r(X, iota(n), reals(n, 1.0));
    ASSERT_EQ(r.out.size(), 11u); // one pass would round the zigzag's metric length 10.77 to 11
    for (unsigned k = 1; k < 10; ++k) EXPECT_LT(distance_to_polyline(X, iota(n), &X(0, r.out[k])), 1e-12);
    // A count forced to nmin stops after the first pass: spacing follows the zigzag's length.
    const sized_line forced(X, iota(n), reals(n, 1.0), 0.0, 0.0, false, 12);
    ASSERT_EQ(forced.out.size(), 13u);
    EXPECT_NEAR(forced.params[1], 1.0 / 12.0, 1e-12);
}

TEST(MeshLine, RefinementBringsEveryPolylineNodeWithinTolerance) {
    // 4001 samples of a circle of radius 1 meshed with a size of 0.5: chords far from it.
    const unsigned n = 4001;
    for (double chordal : {1e-3, 1e-5}) {
        dense2D<double> X = arc(n, 1.0, 2.0 * kPi * 0.999);
        const sized_line r(X, iota(n), reals(n, 0.5), chordal);
        const unsigned m = r.out.size();
        ASSERT_TRUE(r.code == 0 && m > 20 && r.params.size() == m && r.sizes.size() == m);
        EXPECT_TRUE(r.out[0] == 0 && r.out[m - 1] == n - 1);
        unsigned fresh = 0; // new nodes are consecutive columns, parameters do not decrease
        for (unsigned k = 0; k < m; ++k) {
            EXPECT_TRUE(r.out[k] < n || r.out[k] == n + fresh++);
            EXPECT_TRUE(k == 0 || r.params[k - 1] <= r.params[k]);
        }
        EXPECT_EQ(X.cols(), n + fresh);
        double worst = 0.0;
        for (unsigned i = 1; i + 1 < n; ++i) worst = std::max(worst, distance_to_polyline(X, r.out, &X(0, i)));
        EXPECT_LT(worst, chordal * 1.0001);
    }
}

TEST(MeshLine, RefinementCutsAtTheMiddleWeightedDeviation) {
    // Two bumps on the nodes x = k / 8 of a unit segment meshed as one element, k being the parameter.
    // A deviation counts 1 + 4 s (1 - s) times: 1.4375 at s = 1/8, 2 midway. The tolerance passes
    // whatever is left once the first cut is made, so the chain shows where that cut went.
    const struct { double y[9]; unsigned cut; const char* why; } cases[] = {
        {{0, 0.03, 0, 0, 0.025}, 4, "0.0431 against 0.05: the weight overturns the raw order"},
        {{0, 0.029, 0, 0, 0.02}, 1, "0.0417 against 0.04: the raw order stands"},
        {{0, 0, 0.03, 0, 0, 0, 0.03}, 2, "equal weighted deviations: the earlier node is cut"},
    };
    for (const auto& c : cases) {
        dense2D<double> X(2, 9);
        reals params(9);
        for (unsigned k = 0; k < 9; ++k) params[k] = k, X(0, k) = k / 8.0, X(1, k) = c.y[k];
        ids out;
        reals out_params, sizes;
        ASSERT_EQ(mesh_line(X, iota(9), params, reals(9, 10.0), false, 1, kNoBound, 0.026, 0.0, out, out_params,
                            sizes), 0);
        // The cut node joins the chain under its own column; no new node is made.
        ASSERT_EQ(out.size(), 3u) << c.why;
        EXPECT_TRUE(out[0] == 0 && out[1] == c.cut && out[2] == 8) << c.why;
        EXPECT_EQ(out_params[1], c.cut) << c.why;
        EXPECT_EQ(X.cols(), 9u) << c.why;
    }
}

TEST(MeshLine, NegativeChordalCapsSizesByCurvature) {
    // Sizes of 10 on a circle of radius 2: chord of relative sagitta 0.01 is sqrt(0.08) R.
    dense2D<double> X = arc(2001, 2.0, kPi);
    const ids line = iota(2001);
    const reals h(2001, 10.0);
    const sized_line capped(X, line, h, -0.01), floored(X, line, h, -0.01, 1.0);
    ASSERT_EQ(capped.code + floored.code, 0);
    const double limit = std::sqrt(0.08) * 2.0;
    for (unsigned k = 0; k + 1 < capped.out.size(); ++k)
        EXPECT_NEAR(distance(X, capped.out[k], capped.out[k + 1]), limit, 0.01 * limit);
    EXPECT_NEAR(capped.sizes[0], limit, 1e-3 * limit);
    EXPECT_DOUBLE_EQ(floored.sizes[0], 1.0); // hmin wins over the curvature limit
    // The largest double, either sign, means no chordal control.
    EXPECT_EQ(sized_line(X, line, h, -kMaxDouble).out.size(), sized_line(X, line, h).out.size());
}

TEST(MeshLine, OverloadsWithoutParamsUseChordLength) {
    dense2D<double> X = columns<double>(3, {0, 0, 0, 1, 0, 0, 1, 2, 0, 1, 2, 3});
    const dense2D<double> M = columns<double>(6, {4, 0, 4, 0, 0, 4, 9, 1, 9, 0, 0, 16,
                                                  25, 0, 4, 0, 0, 9, 4, 0, 4, 1, 0, 4});
    const unsigned c = X.cols();
    ids a, b;
    reals pa, pb;
    dense2D<double> ma, mb;
    ASSERT_EQ(mesh_line(X, iota(4), M, true, 1, kNoBound, 0.0, 0.0, a, pa, ma), 0);
    X.resize(3, c);
    ASSERT_EQ(mesh_line(X, iota(4), reals{0, 1.0 / 6, 3.0 / 6, 1}, M, true, 1, kNoBound, 0.0, 0.0, b, pb, mb), 0);
    ASSERT_EQ(a.size(), b.size());
    for (unsigned k = 0; k < a.size(); ++k) {
        EXPECT_EQ(a[k], b[k]);
        EXPECT_NEAR(pa[k], pb[k], 1e-15);
        for (unsigned r = 0; r < 6; ++r) EXPECT_NEAR(ma(r, k), mb(r, k), 1e-12 * std::fabs(mb(0, k)));
    }
}

TEST(MeshLine, FailuresKeepOutputsAndReportArgumentPlaces) {
    dense2D<double> X = columns<double>(2, {0, 0, 1, 0, 2, 0}), X4(4, 3, 0.0);
    const ids line = iota(3);
    const reals params{0, 0.5, 1};
    const dense2D<double> M = iso_metrics2d({0.1, 0.1, 0.1});
    ids out{5};
    reals out_params, out_s{3};
    dense2D<double> out_m = columns<double>(3, {1, 0, 1}), wrong(6, 1, 1.0);
    auto full = [&](dense2D<double>& pos, const ids& I, const reals& P, const dense2D<double>& metrics,
                    unsigned nmin, unsigned nmax, dense2D<double>& o) {
        return mesh_line(pos, I, P, metrics, false, nmin, nmax, 0.5, 0.0, out, out_params, o);
    };
    EXPECT_EQ(full(X4, line, params, M, 1, 9, out_m), -1);
    EXPECT_EQ(full(X, ids{0, 3}, reals{0, 1}, M, 1, 9, out_m), -2);
    for (const reals& p : {reals{0, 1}, reals{0, 1, 0.5}}) EXPECT_EQ(full(X, line, p, M, 1, 9, out_m), -3);
    EXPECT_EQ(full(X, line, params, iso_metrics2d({0.1, 0.1}), 1, 9, out_m), -4);
    EXPECT_EQ(full(X, line, params, M, 0, 9, out_m), -6);
    EXPECT_EQ(full(X, line, params, M, 1, 9, wrong), -11);
    // Without parameters the codes name that overload's places.
    EXPECT_EQ(mesh_line(X, line, reals{1, 1, -1}, false, 1, 9, 0.0, 0.0, out, out_params, out_s), -3);
    EXPECT_EQ(mesh_line(X, line, M, false, 0, 9, 0.0, 0.0, out, out_params, out_m), -5);
    EXPECT_EQ(mesh_line(X, line, M, false, 1, 9, 0.0, 0.0, out, out_params, wrong), -10);
    EXPECT_EQ(mesh_line(X, ids{1, 1, 1}, M, false, 1, 9, 0.0, 0.0, out, out_params, out_m), -2);
    EXPECT_EQ(X.cols(), 3u);
    EXPECT_TRUE(out.size() == 1 && out_s.size() == 1 && out_m.cols() == 1 && wrong.cols() == 1);
}

TEST(MeshLine, FailingAllocationsReturn199AndLeaveOutputsUntouched) {
    const unsigned n = 200;
    reals params(n);
    for (unsigned i = 0; i < n; ++i) params[i] = i / (n - 1.0);
    const dense2D<double> M = iso_metrics2d(std::vector<double>(n, 0.3));
    const ids line = iota(n);
    for (double chordal : {-0.01, 0.0, 1e-4}) {
        for (long fail_at = 0, rc = -199; rc == -199; ++fail_at) {
            dense2D<double> X = arc(n, 1.0, 3.0), metrics = columns<double>(3, {1, 0, 1});
            ids out{1};
            reals out_params;
            vx4test::failing_allocations guard(fail_at);
            rc = mesh_line(X, line, params, M, false, 1, kNoBound, chordal, 0.0, out, out_params, metrics);
            ASSERT_TRUE(rc == 0 || rc == -199) << rc;
            EXPECT_TRUE(rc == 0 || (X.cols() == n && out.size() == 1 && metrics.cols() == 1)) << fail_at;
        }
    }
    // A pass that runs ahead of the chain it rewrites needs its spare buffers half way through
    // (the overload without parameters: -199 when its chord lengths cannot be kept, -198 past them).
    const vx4test::lagging_line lagging(2);
    const ids all = iota(lagging.n);
    for (long fail_at = 0, rc = -199; rc == -199 || rc == -198; ++fail_at) {
        dense2D<double> X;
        ASSERT_TRUE(X.copy(lagging.pos));
        ids out{1};
        reals out_params, sizes{2.0};
        vx4test::failing_allocations guard(fail_at);
        rc = mesh_line(X, all, lagging.sizes, false, 1, kNoBound, 0.0, 0.0, out, out_params, sizes);
        ASSERT_TRUE(rc == 0 || rc == -199 || rc == -198) << rc;
        EXPECT_TRUE(rc == 0 || (X.cols() == lagging.n && out.size() == 1 && sizes.size() == 1)) << fail_at;
    }
}

TEST(MeshLine, DegenerateInputsFinishWithoutFaults) {
    const unsigned n = 50;
    dense2D<double> X = arc(n, 1.0, 3.0);
    const ids line = iota(n);
    ids out;
    reals out_params, sizes;
    // Equal parameters give no split node; the refinement must still come to an end.
    EXPECT_EQ(mesh_line(X, line, reals(n, 0.0), reals(n, 0.4), true, 1, kNoBound, 1e-6, 0.0, out, out_params, sizes),
              0);
    // Counts that cannot be stored are refused as out of memory (-199, moved up by one like
    // every code below -3 of the overloads without parameters), not wrapped.
    const unsigned cols = X.cols();
    EXPECT_EQ(sized_line(X, line, reals(n, 0.2), 0.0, 0.0, true, kNoBound, kNoBound).code, -198);
    EXPECT_EQ(X.cols(), cols);
    for (double bad : {NAN, INFINITY})
        for (double chordal : {1e-3, -0.1}) {
            X(1, n / 2) = bad;
            // An infinite length saturates the count: refused without an upper bound.
            EXPECT_EQ(sized_line(X, line, reals(n, 0.2), chordal).code, std::isinf(bad) ? -198 : 0);
            EXPECT_EQ(sized_line(X, line, reals(n, 0.2), chordal, 0.0, false, 40, 60).code, 0);
        }
}

TEST(MeshLine, SharedCoordinatesAndFilledOutputsReceiveTheSameChain) {
    // The new nodes go straight into the caller's matrix and the chain's buffers become empty
    // outputs, unless another view shares the coordinates or an output already has storage: then
    // they are appended. Both ways give the same bits; a view of the coordinates follows them.
    const unsigned n = 400;
    const ids line = iota(n);
    const reals h(n, 0.02);
    for (double chordal : {0.0, 1e-4, -0.01}) {
        dense2D<double> lone = arc(n, 1.0, 3.0), shared = arc(n, 1.0, 3.0);
        const dense2D<double> view = shared.sub_matrix(0, 0, 2, n);
        const sized_line a(lone, line, h, chordal);
        ids out{9};
        reals params{1.0}, sizes{2.0};
        sizes.reserve(5000);
        out.reserve(5000);
        ASSERT_EQ(mesh_line(shared, line, h, false, 1, kNoBound, chordal, 0.0, out, params, sizes), 0);
        ASSERT_EQ(a.code, 0);
        ASSERT_EQ(lone.cols(), shared.cols());
        EXPECT_EQ(vx4test::entries(lone), vx4test::entries(shared)) << chordal;
        ASSERT_EQ(out.size(), a.out.size() + 1);
        for (unsigned k = 0; k < a.out.size(); ++k) {
            EXPECT_EQ(out[k + 1], a.out[k]);
            EXPECT_EQ(params[k], a.params[k]);
            EXPECT_EQ(sizes[k + 1], a.sizes[k]);
        }
        EXPECT_EQ(view(1, n - 1), shared(1, n - 1));
        EXPECT_EQ(view.data(), shared.data());
    }
}

TEST(MeshLine, CoarseChainOverAFinePolylinePlacesEveryNodeAtItsAbscissa) {
    // Thousands of polyline nodes between two new nodes: each new node must sit where the
    // running metric length reaches its abscissa, whatever stretch of the line it falls in. The
    // count, 9, is also nmin, so the first pass is the last and its placement is what is seen.
    const unsigned n = 20001;
    dense2D<double> X(2, n);
    reals h(n), params(n);
    for (unsigned i = 0; i < n; ++i) {
        const double x = 7.0 * i / (n - 1);
        X(0, i) = x, X(1, i) = 0.0, h[i] = 0.5 + 0.1 * x, params[i] = x / 7.0;
    }
    ids out;
    reals out_params, out_sizes;
    ASSERT_EQ(mesh_line(X, iota(n), params, h, false, 9, kNoBound, 0.0, 0.0, out, out_params, out_sizes), 0);
    // Under sizes linear in x the metric abscissa of x is ln(h(x) / h(0)) / 0.1.
    const double L = std::log(h[n - 1] / h[0]) / 0.1;
    const unsigned E = out.size() - 1;
    ASSERT_EQ(E, 9u);
    for (unsigned k = 1; k < E; ++k) {
        const double x = X(0, out[k]);
        EXPECT_NEAR(out_sizes[k], 0.5 + 0.1 * x, 1e-12);
        EXPECT_NEAR(std::log((0.5 + 0.1 * x) / 0.5) / 0.1, k * L / E, 1e-6) << k;
        EXPECT_NEAR(out_params[k], x / 7.0, 1e-12);
    }
}

TEST(ChordParameters, AgreeWithTheStoredListInEveryValueAndSearch) {
    // The list the overloads without parameters would store: running chord length over the total,
    // the last entry exactly 1. Lengths around the kept stride, repeated nodes (zero chords), and
    // non-finite coordinates (an unsorted list, searched as the stored one would be).
    using vx4::tessora1d::detail::chord_parameters;
    using vx4::tessora1d::detail::lower_bound_from;
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    std::mt19937 random(7);
    std::uniform_real_distribution<double> step(0.0, 1.0);
    auto same_bits = [](double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; };
    for (unsigned n : {2u, 3u, 16u, 17u, 33u, 100u, 1000u})
        for (double odd : {0.0, nan, inf}) {
            SCOPED_TRACE(testing::Message() << n << " nodes, odd coordinate " << odd);
            dense2D<double> X(2, n);
            ids line(n);
            for (unsigned i = 0; i < n; ++i) {
                X(0, i) = i % 5 == 3 && i > 0 ? X(0, i - 1) : (i ? X(0, i - 1) : 0.0) + step(random);
                X(1, i) = i % 5 == 3 && i > 0 ? X(1, i - 1) : step(random);
                line[i] = n - 1 - i; // read backwards through the node list
            }
            if (odd != 0.0) X(1, n / 2) = odd;
            std::vector<double> stored(n, 0.0);
            for (unsigned i = 1; i < n; ++i) stored[i] = stored[i - 1] + distance(X, line[i - 1], line[i]);
            const double total = stored[n - 1];
            for (double& p : stored) p /= total;
            stored[n - 1] = 1.0;
            chord_parameters chord;
            ASSERT_TRUE(chord.measure(X, line.data(), n));
            EXPECT_TRUE(same_bits(chord.total(), total)) << chord.total() << " " << total;
            // Growing the matrix (its block may move) changes nothing: it is read where it stands.
            X.reserve(2, 4 * n);
            std::uniform_int_distribution<unsigned> node(0, n - 1);
            for (unsigned k = 0; k < 4 * n; ++k) {
                const unsigned i = k < n ? k : node(random); // in order, then anywhere
                EXPECT_TRUE(same_bits(chord[i], stored[i])) << i;
            }
            std::vector<double> queries{-1.0, 0.0, 0.5, 1.0, 2.0, nan};
            for (unsigned i = 0; i < n; i += 1 + n / 40) queries.insert(queries.end(), {stored[i], stored[i] + 1e-9});
            for (unsigned from : {0u, 1u, n / 2, n - 1, n})
                for (unsigned to : {n, n - 1, n / 2 + 1})
                    for (double s : queries) {
                        if (from > to) continue;
                        EXPECT_EQ(chord.lower_bound(from, to, s), lower_bound_from(stored.data(), from, to, s))
                            << "from " << from << " to " << to << " s " << s;
                    }
        }
}
