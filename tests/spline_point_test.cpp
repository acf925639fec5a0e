#include <vx4/tessora1d.h>

#include "spline/spline_cubic.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using vx4::tessora1d::spline_point;
using vx4::tessora1d::detail::spline_coefficients;
using vx4::tessora1d::detail::spline_curvature;
using vx4::tessora1d::detail::spline_segment;
using vx4test::columns;

TEST(SplineCubic, TangentsThatDoNotLeadForwardDegradeTheCubic) {
    // P1 = node 0, P2 = node 1, d = (1, 0). As P0: node 2 lies ahead of P2 (rejected), node 3
    // leads forward, node 5 gives an evenly spaced line. As P3: node 4 leads forward, node 5
    // lies behind P1 (rejected), node 2 gives the line. Accepted tangents (2, 1) become length 1.
    const auto c = columns<double>(2, {0, 0, 1, 0, 2, 0, -1, -1, 2, 1, -1, 0});
    const double r = 1.0 / std::sqrt(5.0);
    struct expected { unsigned P0, P3; double a1[2], a2[2]; };
    const expected cases[] = {{3, 5, {2 * r, r}, {1 - 2 * r, -r}}, {2, 4, {2 - 2 * r, -r}, {2 * r - 1, r}},
                              {2, 5, {1, 0}, {0, 0}}, {0, 1, {1, 0}, {0, 0}}, {5, 2, {1, 0}, {0, 0}}};
    for (const expected& e : cases) {
        spline_segment<2> s;
        spline_coefficients<2>(c, e.P0, 0, 1, e.P3, s);
        for (unsigned i = 0; i < 2; ++i) {
            EXPECT_NEAR(s.a1[i], e.a1[i], 1e-15) << e.P0 << " " << e.P3;
            EXPECT_NEAR(s.a2[i], e.a2[i], 1e-15) << e.P0 << " " << e.P3;
            EXPECT_EQ(s.a3[i], 0.0) << e.P0 << " " << e.P3;
        }
    }
}

TEST(SplineCubic, CurvatureIsZeroOnALineAndInverseRadiusOnACircle) {
    spline_segment<2> s2;
    spline_coefficients<2>(columns<double>(2, {0, 0, 1, 1, 2, 2, 3, 3}), 0, 1, 2, 3, s2);
    EXPECT_EQ(spline_curvature<2>(s2, 0.3), 0.0);
    spline_coefficients<2>(columns<double>(2, {0, 0, 1, 1, 1, 1, 3, 3}), 0, 1, 2, 3, s2);
    EXPECT_EQ(spline_curvature<2>(s2, 0.3), std::numeric_limits<double>::max()); // P1 = P2: no speed
    // Four of 48 nodes on a circle of radius 2.
    const double R = 2.0, a = 2.0 * 3.14159265358979323846 / 48.0;
    vx4::dense2D<double> circle(2, 4);
    for (unsigned k = 0; k < 4; ++k) circle(0, k) = R * std::cos(k * a), circle(1, k) = R * std::sin(k * a);
    spline_coefficients<2>(circle, 0, 1, 2, 3, s2);
    for (double t : {0.0, 0.5, 1.0}) EXPECT_NEAR(spline_curvature<2>(s2, t), 1.0 / R, 0.01 / R) << t;
}

TEST(SplinePoint, StartsAtP1EndsAtP2AndReportsTheFirstBadArgument) {
    const auto c2 = columns<double>(2, {-1.0, 0.3, 0.1, 0.7, 2.3, 1.9, 3.0, 4.1});
    const auto c3 = columns<double>(3, {-1, 0.5, 0, 0.1, 0.2, 0.3, 2, 1, 1, 2, 3, 1});
    vx4::vector_fixed<double, 2> p2;
    vx4::vector_fixed<double, 3> p3;
    for (double t : {0.0, 1.0}) { // exactly P1 at t = 0
        ASSERT_EQ(spline_point(c2, 0, 1, 2, 3, t, p2) + spline_point(c3, 0, 1, 2, 3, t, p3), 0);
        for (unsigned i = 0; i < 2; ++i) EXPECT_NEAR(p2[i], c2(i, t == 0.0 ? 1 : 2), t == 0.0 ? 0.0 : 1e-14);
        for (unsigned i = 0; i < 3; ++i) EXPECT_NEAR(p3[i], c3(i, t == 0.0 ? 1 : 2), t == 0.0 ? 0.0 : 1e-14);
    }
    p2 = {{7.0, 7.0}};
    EXPECT_EQ(spline_point(c3, 0, 0, 1, 2, 0.5, p2), -1);
    const unsigned P[4][4] = {{4, 9, 9, 9}, {0, 4, 1, 9}, {0, 1, 4, 9}, {0, 1, 2, 4}}; // P0 .. P3 out of range
    for (int k = 0; k < 4; ++k) EXPECT_EQ(spline_point(c2, P[k][0], P[k][1], P[k][2], P[k][3], 0.5, p2), -2 - k);
    EXPECT_EQ(p2[0], 7.0);
}
