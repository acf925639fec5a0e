#include <vx4/tessora1d.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "test_support.h"

using vx4::dense2D;
using vx4test::columns;
using ids = vx4::dense1D<unsigned>;
using reals = vx4::dense1D<double>;
namespace t1d = vx4::tessora1d;

TEST(Length, SumsChainsAndEdgesAndKeepsThePartialSumAtABadIndex) {
    const dense2D<double> X = columns<double>(2, {0, 0, 3, 4, 3, 0});
    double len = -1.0;
    EXPECT_EQ(t1d::length(X, ids{0, 1, 2}, len), 0);
    EXPECT_DOUBLE_EQ(len, 9.0);
    EXPECT_EQ(t1d::length(X, columns<unsigned>(2, {0, 1, 2, 1, 0, 2}), len), 0);
    EXPECT_DOUBLE_EQ(len, 12.0);
    EXPECT_EQ(t1d::length(X, ids{0, 1, 3, 2}, len), -2);
    EXPECT_DOUBLE_EQ(len, 5.0);
    EXPECT_EQ(t1d::length(dense2D<double>(4, 2, 1.0), ids{0, 1}, len), -1);
    EXPECT_EQ(t1d::length(X, dense2D<unsigned>(), len), 0);
}

TEST(InterpolateCoordinates, PlacesSortedQueriesOnTheirSegmentsAndClampsOutsideTheRange) {
    // Node i at (i^2, i) with parameter i: query s in [-1, n] lies between floor(s) and ceil(s), clamped to [0, n - 1].
    const unsigned n = 200, q = 500;
    dense2D<double> X(2, n + q);
    reals params(n), queries(q);
    ids chain(n), targets(q);
    for (unsigned i = 0; i < n; ++i) X(0, i) = double(i) * i, X(1, i) = params[i] = i, chain[i] = i;
    for (unsigned k = 0; k < q; ++k) queries[k] = k * k * (n + 1.0) / ((q - 1.0) * (q - 1.0)) - 1.0, targets[k] = n + k;
    ASSERT_EQ(t1d::interpolate_coordinates(X, chain, params, targets, queries), 0);
    for (unsigned k = 0; k < q; ++k) {
        const double s = std::fmin(std::fmax(queries[k], 0.0), n - 1.0), lo = std::floor(s), hi = std::ceil(s);
        ASSERT_NEAR(X(0, n + k), lo * lo + (s - lo) * (hi * hi - lo * lo), 1e-9 * (1 + s * s)) << "query " << s;
        ASSERT_NEAR(X(1, n + k), s, 1e-9 * (1 + s)) << "query " << s;
    }
    // A query at a repeated parameter takes the first of its nodes.
    dense2D<double> Y = columns<double>(2, {0, 0, 4, 8, 7, 7, 9, 9, 0, 0});
    ASSERT_EQ(t1d::interpolate_coordinates(Y, ids{0, 1, 2, 3}, reals{0, 1, 1, 2}, ids{4}, reals{1.0}), 0);
    EXPECT_DOUBLE_EQ(Y(0, 4), 4.0);
}

TEST(InterpolateCoordinates, RejectsBadArgumentsBeforeWritingAnything) {
    dense2D<double> X(2, 3, 5.0);
    const ids chain{0, 1}, one{2};
    const reals p{0, 1}, half{0.5};
    EXPECT_EQ(t1d::interpolate_coordinates(X, chain, reals{0}, one, half), -2);
    EXPECT_EQ(t1d::interpolate_coordinates(X, chain, reals{1, 0}, one, half), -3);
    EXPECT_EQ(t1d::interpolate_coordinates(X, chain, p, one, reals{0.5, 0.6}), -4);
    EXPECT_EQ(t1d::interpolate_coordinates(X, chain, p, ids{2, 2}, reals{0.6, 0.5}), -5);
    for (unsigned j = 0; j < 3; ++j) EXPECT_EQ(X(0, j), 5.0);
}

TEST(Curvatures, OneOverRadiusOnARegularPolygonTwoSinHalfTurnAtACornerAndZeroWhereStraight) {
    const unsigned n = 64;
    dense2D<double> C(3, n);
    for (unsigned j = 0; j < n; ++j) // radius 3 in the plane spanned by x and (0, 0.6, 0.8)
        C(0, j) = 3 * std::cos(0.1 * j), C(1, j) = 1.8 * std::sin(0.1 * j), C(2, j) = C(1, j) * 4 / 3;
    reals curv, fresh;
    ASSERT_EQ(t1d::curvatures(C, vx4test::iota(n), curv), 0);
    for (unsigned i = 0; i < n; ++i) EXPECT_NEAR(curv[i], 1.0 / 3.0, 1e-12) << "node " << i;
    const dense2D<double> X = columns<double>(2, {0, 0, 1, 0, 1, 3, 2, 0});
    const ids right{0, 1, 2};
    ASSERT_EQ(t1d::curvatures(X, right, curv), 0);
    for (unsigned i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(curv[i], std::sqrt(0.5)); // 2 sin 45 deg over mean length 2
    for (const ids& chain : {ids{0, 1, 3}, ids{0, 0, 2}, ids{0, 2}}) {
        ASSERT_EQ(t1d::curvatures(X, chain, curv), 0);
        ASSERT_EQ(curv.size(), chain.size());
        for (double c : curv) EXPECT_EQ(c, 0.0);
    }
    EXPECT_EQ(t1d::curvatures(dense2D<double>(4, 3, 0.0), ids{0, 1, 2}, curv), -1);
    EXPECT_TRUE(curv.empty());
    EXPECT_EQ(t1d::curvatures(X, ids{0, 4, 2}, curv), -2);
    vx4test::failing_allocations guard(0);
    EXPECT_EQ(t1d::curvatures(X, right, fresh), -199);
}

TEST(Normals, CornerNodeBlendsByModeAndWeightAndFailuresLeaveTheOutputEmpty) {
    // Edge 0 of length 2 (normal (0, 1)), edge 1 of length 1 (normal (-1, 0)); node 3 is on no edge.
    const dense2D<double> X = columns<double>(2, {0, 0, 2, 0, 2, 1, 5, 5});
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1, 1, 2});
    dense2D<double> N, fresh;
    const struct { double p; bool normalize; double n1[2]; } cases[] = {
        {1.0, false, {-1.0 / 3, 2.0 / 3}},  // (2 (0, 1) + (-1, 0)) / 3
        {1.0, true, {-1 / std::sqrt(5.0), 2 / std::sqrt(5.0)}},
        {DBL_MAX, true, {-1, 1}},  // the shorter edge loses and is summed in, unnormalised
        {-DBL_MAX, true, {-1, 0}},  // the shorter edge replaces the longer one
    };
    for (const auto& c : cases) {
        ASSERT_EQ(t1d::normals(X, E, c.p, c.normalize, N), 0);
        ASSERT_EQ(N.cols(), 4u);
        const double expected[8] = {0, 1, c.n1[0], c.n1[1], -1, 0, 0, 0};
        for (unsigned k = 0; k < 8; ++k) EXPECT_DOUBLE_EQ(N(k % 2, k / 2), expected[k]) << "p " << c.p << ", " << k;
    }
    EXPECT_EQ(t1d::normals(dense2D<double>(3, 4, 0.0), E, 0.0, true, N), -1);
    EXPECT_EQ(N.rows(), 0u);
    EXPECT_EQ(t1d::normals(X, columns<unsigned>(2, {0, 4}), 0.0, true, N), -2);
    vx4test::failing_allocations guard(2);  // the output is had, the per-node weights are not
    EXPECT_EQ(t1d::normals(X, E, 0.0, true, fresh), -199);
    EXPECT_TRUE(fresh.empty());
}

TEST(ParametricCurvatures, OneOverRadiusOnACircleDegenerateEdgesLeftOutAndBadArgumentsRejected) {
    const unsigned n = 50;
    reals params(n), curv, fresh;
    dense2D<double> T(3, n, 0.0);  // r(a) = 2 (cos a, 0, sin a), in the xz plane
    dense2D<unsigned> E(2, n - 1);
    for (unsigned i = 0; i < n; ++i)
        params[i] = 0.02 * i, T(0, i) = -2 * std::sin(params[i]), T(2, i) = 2 * std::cos(params[i]);
    for (unsigned e = 0; e + 1 < n; ++e) E(0, e) = e, E(1, e) = e + 1;
    ASSERT_EQ(t1d::parametric_curvatures(params, E, T, curv), 0);
    for (unsigned i = 0; i < n; ++i) EXPECT_NEAR(curv[i], 0.5, 1e-4);
    // Opposite derivatives have no mean direction: edge 0 counts neither its curvature nor its span.
    const reals p3{0.0, 1.0, 3.0};
    const dense2D<unsigned> E3 = columns<unsigned>(2, {0, 1, 1, 2});
    const dense2D<double> D = columns<double>(2, {1, 0, -1, 0, -1, 1});
    ASSERT_EQ(t1d::parametric_curvatures(p3, E3, D, curv), 0);
    EXPECT_EQ(curv[0], 0.0);
    EXPECT_DOUBLE_EQ(curv[1], 4.0 / (5.0 * std::sqrt(5.0)));  // 4 |s x d| / |s|^3 = 8 / (5 sqrt 5), span 2
    EXPECT_DOUBLE_EQ(curv[2], curv[1]);
    EXPECT_EQ(t1d::parametric_curvatures(p3, columns<unsigned>(2, {0, 3}), D, curv), -2);
    EXPECT_TRUE(curv.empty());
    EXPECT_EQ(t1d::parametric_curvatures(p3, E3, dense2D<double>(4, 3, 1.0), curv), -3);
    vx4test::failing_allocations guard(2);  // the output is had, the per-node spans are not
    EXPECT_EQ(t1d::parametric_curvatures(p3, E3, D, fresh), -199);
    EXPECT_TRUE(fresh.empty());
}
