#include <gtest/gtest.h>

#include <vx4/tessora1d.h>

#include "line/size_model.h"
#include "test_support.h"

#include <cmath>
#include <vector>

using vx4::dense1D;
using vx4::dense2D;
using vx4::tessora1d::mesh_line;

namespace {

constexpr double kMaxDouble = 1.7976931348623157e308;
constexpr unsigned kNoBound = 4294967295u;
const double kPi = std::acos(-1.0);

dense1D<unsigned> iota(unsigned n, unsigned first = 0) {
    dense1D<unsigned> v(n);
    for (unsigned i = 0; i < n; ++i) v[i] = first + i;
    return v;
}

double distance(const dense2D<double>& X, unsigned a, unsigned b) {
    double sq = 0.0;
    for (unsigned r = 0; r < X.rows(); ++r) sq += (X(r, a) - X(r, b)) * (X(r, a) - X(r, b));
    return std::sqrt(sq);
}

// Distance from column j of X to the polyline through the columns `line`.
double distance_to_polyline(const dense2D<double>& X, const dense1D<unsigned>& line, unsigned j) {
    double best = 1e300;
    for (unsigned i = 0; i + 1 < line.size(); ++i) {
        double ab = 0.0, ap = 0.0, t = 0.0, d = 0.0;
        for (unsigned r = 0; r < X.rows(); ++r) {
            ab += (X(r, line[i + 1]) - X(r, line[i])) * (X(r, line[i + 1]) - X(r, line[i]));
            ap += (X(r, j) - X(r, line[i])) * (X(r, line[i + 1]) - X(r, line[i]));
        }
        if (ab > 0.0) t = std::min(1.0, std::max(0.0, ap / ab));
        for (unsigned r = 0; r < X.rows(); ++r) {
            const double c = X(r, line[i]) + t * (X(r, line[i + 1]) - X(r, line[i])) - X(r, j);
            d += c * c;
        }
        best = std::min(best, std::sqrt(d));
    }
    return best;
}

// n points of the circle of radius R, from angle 0 to `sweep`, as a 2-row matrix.
dense2D<double> arc(unsigned n, double R, double sweep) {
    dense2D<double> X(2, n);
    for (unsigned i = 0; i < n; ++i) {
        const double a = sweep * i / (n - 1);
        X(0, i) = R * std::cos(a);
        X(1, i) = R * std::sin(a);
    }
    return X;
}

dense2D<double> iso_metrics2d(const std::vector<double>& h) {
    dense2D<double> M(3, static_cast<unsigned>(h.size()));
    for (unsigned j = 0; j < M.cols(); ++j) {
        M(0, j) = M(2, j) = 1.0 / (h[j] * h[j]);
        M(1, j) = 0.0;
    }
    return M;
}

// Elements along the x axis from 0 to L with sizes h0, h1, as counted by mesh_line.
unsigned elements_on_segment(double L, double h0, double h1, bool even, unsigned nmin, unsigned nmax) {
    dense2D<double> X = vx4test::columns<double>(2, {0, 0, L, 0});
    dense1D<unsigned> out;
    dense1D<double> params, sizes;
    EXPECT_EQ(mesh_line(X, iota(2), dense1D<double>{h0, h1}, even, nmin, nmax, 0.0, 0.0, out, params, sizes), 0);
    return out.size() - 1;
}

} // namespace

TEST(MeshLine, ChainRunsFromEndToEndWithConsecutiveNewColumnsOnThePolyline) {
    // An L-shaped polyline whose nodes sit in scrambled columns, plus an unused column.
    dense2D<double> X = vx4test::columns<double>(2, {9, 9, 1, 0, 0, 0, 1, 1, 2, 1});
    const dense1D<unsigned> line{2, 1, 3, 4};
    dense1D<unsigned> out{77};
    dense1D<double> params{5, 5}, sizes{3};
    ASSERT_EQ(mesh_line(X, line, dense1D<double>{0.2, 0.2, 0.1, 0.3}, false, 1, kNoBound, 0.0, 0.0, out, params, sizes),
              0);
    const unsigned E = out.size() - 2;
    ASSERT_GT(E, 5u);
    EXPECT_EQ(out[0], 77u); // out indices and sizes are appended to, out params emptied first
    EXPECT_EQ(sizes.size(), E + 2);
    ASSERT_EQ(params.size(), E + 1);
    EXPECT_EQ(out[1], 2u);
    EXPECT_EQ(out[E + 1], 4u);
    EXPECT_EQ(X.cols(), 5 + E - 1);
    for (unsigned k = 1; k < E; ++k) {
        EXPECT_EQ(out[k + 1], 4 + k);
        EXPECT_LT(distance_to_polyline(X, line, out[k + 1]), 1e-12);
        EXPECT_LE(params[k - 1], params[k]);
    }
    EXPECT_DOUBLE_EQ(params[E], 1.0);
}

TEST(MeshLine, ElementCountFollowsRoundingBoundsAndParity) {
    EXPECT_EQ(elements_on_segment(1.0, 1.0, 1.0, false, 1, kNoBound), 1u);
    EXPECT_EQ(elements_on_segment(2.4, 1.0, 1.0, false, 1, kNoBound), 2u);
    EXPECT_EQ(elements_on_segment(2.5, 1.0, 1.0, false, 1, kNoBound), 3u);
    EXPECT_EQ(elements_on_segment(3.1, 1.0, 1.0, true, 1, kNoBound), 4u);
    EXPECT_EQ(elements_on_segment(0.01, 1.0, 1.0, false, 1, kNoBound), 1u);
    EXPECT_EQ(elements_on_segment(100.0, 1.0, 1.0, false, 5, 5), 5u);
    EXPECT_EQ(elements_on_segment(0.1, 1.0, 1.0, true, 5, 5), 6u); // parity after the bounds
    EXPECT_EQ(elements_on_segment(100.0, 1.0, 1.0, false, 1, 7), 7u);
    EXPECT_EQ(elements_on_segment(1.0, 1.0, 1.0, false, 4, 10), 4u);
}

TEST(MeshLine, LinearSizesGiveEqualMetricLengthsInBothFamilies) {
    dense2D<double> X = vx4test::columns<double>(2, {0, 0, 3, 4});
    dense1D<unsigned> iso_out, aniso_out;
    dense1D<double> iso_params, aniso_params, sizes;
    dense2D<double> metrics;
    ASSERT_EQ(mesh_line(X, iota(2), dense1D<double>{0.05, 0.8}, false, 1, kNoBound, 0.0, 0.0, iso_out, iso_params,
                        sizes),
              0);
    ASSERT_EQ(mesh_line(X, iota(2), iso_metrics2d({0.05, 0.8}), false, 1, kNoBound, 0.0, 0.0, aniso_out,
                        aniso_params, metrics),
              0);
    const double L = vx4::tessora1d::detail::metric_length_1d(5.0, 0.05, 0.8, false);
    const unsigned E = iso_out.size() - 1;
    ASSERT_EQ(aniso_out.size(), E + 1);
    for (unsigned k = 0; k < E; ++k) {
        const double a = distance(X, iso_out[k], iso_out[k + 1]);
        EXPECT_NEAR(vx4::tessora1d::detail::metric_length_1d(a, sizes[k], sizes[k + 1], false), L / E, 1e-9);
        // The isotropic metric of size h carries the same grading as the size h.
        EXPECT_NEAR(aniso_params[k], iso_params[k], 1e-12);
        EXPECT_NEAR(metrics(0, k), 1.0 / (sizes[k] * sizes[k]), 1e-6 * metrics(0, k));
        EXPECT_NEAR(metrics(1, k), 0.0, 1e-9 * metrics(0, k));
    }
}

TEST(MeshLine, PassesRemeshTheChainUntilItsCountStopsFalling) {
    // A fine zigzag of amplitude 0.1 under size 1: the first pass counts the zigzag's length,
    // later passes the length of the chords between the chain's nodes.
    const unsigned n = 41;
    dense2D<double> X(2, n);
    for (unsigned i = 0; i < n; ++i) {
        X(0, i) = 0.25 * i;
        X(1, i) = (i % 2) ? 0.1 : 0.0;
    }
    const dense1D<unsigned> line = iota(n);
    dense1D<unsigned> out;
    dense1D<double> params, sizes;
    ASSERT_EQ(mesh_line(X, line, dense1D<double>(n, 1.0), false, 1, kNoBound, 0.0, 0.0, out, params, sizes), 0);
    const unsigned E = out.size() - 1;
    EXPECT_EQ(E, 10u); // one pass would round the zigzag's metric length 10.77 to 11
    for (unsigned k = 1; k < E; ++k) EXPECT_LT(distance_to_polyline(X, line, out[k]), 1e-12);

    // A count forced to nmin stops after the first pass: spacing follows the zigzag's length.
    dense1D<unsigned> forced;
    ASSERT_EQ(mesh_line(X, line, dense1D<double>(n, 1.0), false, 12, kNoBound, 0.0, 0.0, forced, params, sizes), 0);
    ASSERT_EQ(forced.size(), 13u);
    EXPECT_NEAR(params[1], 1.0 / 12.0, 1e-12);
}

TEST(MeshLine, RefinementBringsEveryPolylineNodeWithinTolerance) {
    // 4001 samples of a circle of radius 1 meshed with a size of 0.5: chords far from it.
    const unsigned n = 4001;
    for (double chordal : {1e-3, 1e-5}) {
        dense2D<double> X = arc(n, 1.0, 2.0 * kPi * 0.999);
        const dense1D<unsigned> line = iota(n);
        dense1D<unsigned> out;
        dense1D<double> params, sizes;
        ASSERT_EQ(mesh_line(X, line, dense1D<double>(n, 0.5), false, 1, kNoBound, chordal, 0.0, out, params, sizes),
                  0);
        const unsigned m = out.size();
        ASSERT_EQ(params.size(), m);
        ASSERT_EQ(sizes.size(), m);
        EXPECT_EQ(out[0], 0u);
        EXPECT_EQ(out[m - 1], n - 1);
        // The chain's points, with one spare column for the polyline node being probed.
        dense2D<double> chain_points(2, m + 1);
        unsigned fresh = 0;
        for (unsigned k = 0; k < m; ++k) {
            EXPECT_TRUE(out[k] < n || out[k] == n + fresh++);
            EXPECT_TRUE(k == 0 || params[k - 1] <= params[k]);
            chain_points(0, k) = X(0, out[k]);
            chain_points(1, k) = X(1, out[k]);
        }
        EXPECT_EQ(X.cols(), n + fresh);
        double worst = 0.0;
        for (unsigned i = 1; i + 1 < n; ++i) {
            chain_points(0, m) = X(0, i);
            chain_points(1, m) = X(1, i);
            worst = std::max(worst, distance_to_polyline(chain_points, iota(m), m));
        }
        EXPECT_LT(worst, chordal * 1.0001);
        EXPECT_GT(m, 20u);
    }
}

TEST(MeshLine, NegativeChordalCapsSizesByCurvature) {
    // Sizes of 10 on a circle of radius 2: chord of relative sagitta 0.01 is sqrt(0.08) R.
    dense2D<double> X = arc(2001, 2.0, kPi);
    dense1D<unsigned> out;
    dense1D<double> params, sizes;
    ASSERT_EQ(mesh_line(X, iota(2001), dense1D<double>(2001, 10.0), false, 1, kNoBound, -0.01, 0.0, out, params, sizes),
              0);
    const double limit = std::sqrt(0.08) * 2.0;
    for (unsigned k = 0; k + 1 < out.size(); ++k) EXPECT_NEAR(distance(X, out[k], out[k + 1]), limit, 0.01 * limit);
    EXPECT_NEAR(sizes[0], limit, 1e-3 * limit);

    // hmin wins over the curvature limit.
    dense1D<unsigned> coarse;
    dense1D<double> coarse_sizes;
    ASSERT_EQ(mesh_line(X, iota(2001), dense1D<double>(2001, 10.0), false, 1, kNoBound, -0.01, 1.0, coarse, params,
                        coarse_sizes),
              0);
    EXPECT_DOUBLE_EQ(coarse_sizes[0], 1.0);

    // The largest double, either sign, means no chordal control.
    dense1D<unsigned> plain, unlimited;
    mesh_line(X, iota(2001), dense1D<double>(2001, 10.0), false, 1, kNoBound, 0.0, 0.0, plain, params, sizes);
    mesh_line(X, iota(2001), dense1D<double>(2001, 10.0), false, 1, kNoBound, -kMaxDouble, 0.0, unlimited, params,
              sizes);
    EXPECT_EQ(unlimited.size(), plain.size());
}

TEST(MeshLine, OverloadsWithoutParamsUseChordLength) {
    dense2D<double> X = vx4test::columns<double>(3, {0, 0, 0, 1, 0, 0, 1, 2, 0, 1, 2, 3});
    const dense2D<double> M = vx4test::columns<double>(6, {4, 0, 4, 0, 0, 4, 9, 1, 9, 0, 0, 16,
                                                            25, 0, 4, 0, 0, 9, 4, 0, 4, 1, 0, 4});
    const unsigned c = X.cols();
    dense1D<unsigned> a, b;
    dense1D<double> pa, pb;
    dense2D<double> ma, mb;
    ASSERT_EQ(mesh_line(X, iota(4), M, true, 1, kNoBound, 0.0, 0.0, a, pa, ma), 0);
    X.resize(3, c);
    ASSERT_EQ(mesh_line(X, iota(4), dense1D<double>{0, 1.0 / 6, 3.0 / 6, 1}, M, true, 1, kNoBound, 0.0, 0.0, b, pb, mb),
              0);
    ASSERT_EQ(a.size(), b.size());
    EXPECT_EQ(a.size() % 2, 1u);
    for (unsigned k = 0; k < a.size(); ++k) {
        EXPECT_EQ(a[k], b[k]);
        EXPECT_NEAR(pa[k], pb[k], 1e-15);
        for (unsigned r = 0; r < 6; ++r) EXPECT_NEAR(ma(r, k), mb(r, k), 1e-12 * std::fabs(mb(0, k)));
    }
}

TEST(MeshLine, FailuresKeepOutputsAndReportArgumentPlaces) {
    dense2D<double> X = vx4test::columns<double>(2, {0, 0, 1, 0, 2, 0});
    const dense1D<unsigned> line = iota(3);
    const dense1D<double> params{0, 0.5, 1};
    const dense2D<double> M = iso_metrics2d({0.1, 0.1, 0.1});
    dense1D<unsigned> out{5};
    dense1D<double> out_params{1, 2};
    dense2D<double> out_m = vx4test::columns<double>(3, {1, 0, 1});
    auto full = [&](dense2D<double>& pos, const dense1D<unsigned>& I, const dense1D<double>& P,
                    const dense2D<double>& metrics, unsigned nmin, unsigned nmax) {
        out_params = dense1D<double>{1, 2};
        return mesh_line(pos, I, P, metrics, false, nmin, nmax, 0.5, 0.0, out, out_params, out_m);
    };
    dense2D<double> X4(4, 3, 0.0);
    EXPECT_EQ(full(X4, line, params, M, 1, 9), -1);
    EXPECT_EQ(full(X, iota(1), params, M, 1, 9), -2);
    EXPECT_EQ(full(X, dense1D<unsigned>{0, 3}, dense1D<double>{0, 1}, M, 1, 9), -2);
    EXPECT_EQ(full(X, line, dense1D<double>{0, 1}, M, 1, 9), -3);
    EXPECT_EQ(full(X, line, dense1D<double>{0, 1, 0.5}, M, 1, 9), -3);
    EXPECT_EQ(full(X, line, params, iso_metrics2d({0.1, 0.1}), 1, 9), -4);
    EXPECT_EQ(full(X, line, params, dense2D<double>(6, 3, 1.0), 1, 9), -4);
    EXPECT_EQ(full(X, line, params, vx4test::columns<double>(3, {1, 0, 1, 1, 2, 1, 1, 0, 1}), 1, 9), -4);
    EXPECT_EQ(full(X, line, params, M, 0, 9), -6);
    EXPECT_EQ(full(X, line, params, M, 3, 2), -6);
    EXPECT_EQ(out_m.cols(), 1u);
    out_m = dense2D<double>(6, 1, 1.0);
    EXPECT_EQ(full(X, line, params, M, 1, 9), -11);
    EXPECT_TRUE(out_params.empty());

    // Without parameters the codes name that overload's places; -1 and -2 touch nothing.
    dense1D<double> sizes_params{7}, out_s{3};
    EXPECT_EQ(mesh_line(X, line, dense1D<double>{1, 1, -1}, false, 1, 9, 0.0, 0.0, out, sizes_params, out_s), -3);
    EXPECT_TRUE(sizes_params.empty());
    EXPECT_EQ(mesh_line(X, line, M, false, 0, 9, 0.0, 0.0, out, out_params, out_m), -5);
    EXPECT_EQ(mesh_line(X, line, M, false, 1, 9, 0.0, 0.0, out, out_params, out_m), -10);
    sizes_params = dense1D<double>{7};
    EXPECT_EQ(mesh_line(X, dense1D<unsigned>{1, 1, 1}, M, false, 1, 9, 0.0, 0.0, out, sizes_params, out_m), -2);
    EXPECT_EQ(mesh_line(X4, line, M, false, 1, 9, 0.0, 0.0, out, sizes_params, out_m), -1);
    EXPECT_EQ(sizes_params.size(), 1u);

    ASSERT_EQ(X.cols(), 3u);
    EXPECT_EQ(out.size(), 1u);
    EXPECT_EQ(out_s.size(), 1u);
}

TEST(MeshLine, FailingAllocationsReturn199AndLeaveOutputsUntouched) {
    const unsigned n = 200;
    dense1D<double> params(n);
    for (unsigned i = 0; i < n; ++i) params[i] = i / (n - 1.0);
    const dense2D<double> M = iso_metrics2d(std::vector<double>(n, 0.3));
    const dense1D<unsigned> line = iota(n);
    for (double chordal : {-0.01, 0.0, 1e-4}) {
        int rc = -199;
        for (long fail_at = 0; rc == -199; ++fail_at) {
            dense2D<double> X = arc(n, 1.0, 3.0);
            dense1D<unsigned> out{1};
            dense1D<double> out_params;
            dense2D<double> metrics = vx4test::columns<double>(3, {1, 0, 1});
            {
                vx4test::failing_allocations guard(fail_at);
                rc = mesh_line(X, line, params, M, false, 1, kNoBound, chordal, 0.0, out, out_params, metrics);
            }
            if (rc == -199) {
                EXPECT_EQ(X.cols(), n);
                EXPECT_EQ(out.size(), 1u);
                EXPECT_EQ(metrics.cols(), 1u);
            } else {
                ASSERT_EQ(rc, 0);
            }
        }
    }
}

TEST(MeshLine, DegenerateInputsFinishWithoutFaults) {
    const unsigned n = 50;
    dense2D<double> X = arc(n, 1.0, 3.0);
    const dense1D<unsigned> line = iota(n);
    dense1D<unsigned> out;
    dense1D<double> out_params, sizes;
    // Equal parameters give no split node; the refinement must still come to an end.
    EXPECT_EQ(mesh_line(X, line, dense1D<double>(n, 0.0), dense1D<double>(n, 0.4), true, 1, kNoBound, 1e-6, 0.0, out,
                        out_params, sizes),
              0);
    for (double bad : {NAN, INFINITY}) {
        dense2D<double> Y = arc(n, 1.0, 3.0);
        Y(1, n / 2) = bad;
        for (double chordal : {1e-3, -0.1}) {
            EXPECT_EQ(mesh_line(Y, line, dense1D<double>(n, 0.2), false, 1, kNoBound, chordal, 0.0, out, out_params,
                                sizes),
                      0);
            EXPECT_EQ(mesh_line(Y, line, dense1D<double>(n, 0.2), false, 40, 60, chordal, 0.0, out, out_params,
                                sizes),
                      0);
        }
    }
    // Counts that cannot be stored are refused as out of memory (-199, moved up by one like
    // every code below -3 of the overloads without parameters), not wrapped.
    const unsigned cols = X.cols();
    EXPECT_EQ(mesh_line(X, line, dense1D<double>(n, 0.2), true, kNoBound, kNoBound, 0.0, 0.0, out, out_params, sizes),
              -198);
    EXPECT_EQ(X.cols(), cols);
}
