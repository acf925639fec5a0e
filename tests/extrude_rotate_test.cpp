#include <vx4/tessora1d.h>

#include "extrusion/rotation_from_vector.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vx4;
using tessora1d::extrude_rotate;
using V2 = vector_fixed<double, 2>;
using V3 = vector_fixed<double, 3>;

namespace {
const double pi = std::acos(-1.0);
}

TEST(ExtrudeRotate, PlanarArcFollowsTheAngleSignAndKeepsItsRadiusWithGrowingSteps) {
    dense2D<double> quarter, coords;
    dense1D<unsigned> ids;
    // Quarter circle, metric length 15.71 rounds to 16 (15.71^2 > 15 * 16): node 8 lies at 45 degrees.
    ASSERT_EQ(extrude_rotate(quarter, V2{{1, 0}}, V2{{0, 0}}, pi / 2, 0.1, 0.1, false, ids), 0);
    ASSERT_EQ(quarter.cols(), 17u);
    EXPECT_NEAR(std::hypot(quarter(0, 8) - std::sqrt(0.5), quarter(1, 8) - std::sqrt(0.5)), 0.0, 1e-15);
    // Clockwise from node 8 about (0, sqrt 0.5): the node passes below the centre.
    ASSERT_EQ(extrude_rotate(quarter, 8u, V2{{0, std::sqrt(0.5)}}, -pi / 2, 1u, ids), 0);
    EXPECT_NEAR(quarter(1, 17), 0.0, 1e-15);
    ASSERT_EQ(extrude_rotate(coords, V2{{3, 1}}, V2{{1, 1}}, 3.0, 0.05, 0.5, false, ids), 0);
    double angle = 0.0, step = 0.0;
    for (unsigned j = 1; j < coords.cols(); ++j) {
        const double x = coords(0, j) - 1, y = coords(1, j) - 1, next = std::atan2(y, x) - angle;
        EXPECT_NEAR(std::hypot(x, y), 2.0, 1e-12);
        EXPECT_GT(next, step);
        angle += step = next;
    }
    EXPECT_NEAR(angle, 3.0, 1e-12);
}

TEST(ExtrudeRotate, NegativeAngleWithSizesTurnsClockwiseGradingFromTheStart) {
    // Radius 2 turned by -3 radians: an arc of length 6. Sizes linear along the arc from h0 to h1 put
    // node i at the fraction (r^(i/n) - 1) / (r - 1), r = h1 / h0, of the arc; n = 6 ln(10) / 0.45 = 30.7
    // rounds to 31 (30.7^2 > 30 * 31). The point form grows the steps, the node form shrinks them.
    for (const bool from_node : {false, true}) {
        const double h0 = from_node ? 0.5 : 0.05, h1 = from_node ? 0.05 : 0.5, r = h1 / h0;
        // Either way the chain starts at column 1, the point (3, 1).
        dense2D<double> coords = vx4test::columns<double>(2, {7, 7, 3, 1});
        dense1D<unsigned> ids{9};
        if (from_node) {
            ASSERT_EQ(extrude_rotate(coords, 1u, V2{{1, 1}}, -3.0, h0, h1, false, ids), 0);
        } else {
            coords.resize(2, 1);
            ASSERT_EQ(extrude_rotate(coords, V2{{3, 1}}, V2{{1, 1}}, -3.0, h0, h1, false, ids), 0);
        }
        const unsigned n = 31;
        ASSERT_EQ(coords.cols(), 2 + n);
        ASSERT_EQ(ids.size(), 2 + n);
        EXPECT_EQ(ids[1], 1u);
        double step = 0.0;
        for (unsigned i = 1; i <= n; ++i) {
            EXPECT_EQ(ids[i + 1], 1 + i);
            const double x = coords(0, 1 + i) - 1, y = coords(1, 1 + i) - 1;
            const double px = coords(0, i) - 1, py = coords(1, i) - 1;
            EXPECT_NEAR(std::hypot(x, y), 2.0, 1e-12);
            EXPECT_LT(px * y - py * x, 0.0) << i; // clockwise
            const double turned = -3.0 * (std::pow(r, double(i) / n) - 1) / (r - 1);
            EXPECT_NEAR(std::atan2(y, x), turned, 1e-12) << i;
            const double next = std::hypot(x - px, y - py);
            if (i == 1) EXPECT_NEAR(next / h0, 1.0, 0.08);
            else EXPECT_TRUE(h1 > h0 ? next > step : next < step) << i;
            step = next;
        }
        EXPECT_NEAR(step / h1, 1.0, 0.08);
        EXPECT_NEAR(coords(0, 1 + n), 1 + 2 * std::cos(3.0), 1e-12);
        EXPECT_NEAR(coords(1, 1 + n), 1 - 2 * std::sin(3.0), 1e-12);
    }
}

TEST(ExtrudeRotate, SpatialArcTurnsRightHandedAboutTheAxis) {
    dense2D<double> coords;
    dense1D<unsigned> ids;
    ASSERT_EQ(extrude_rotate(coords, V3{{1, 0, 0}}, V3{{0, 0, 0}}, V3{{0, 0, pi}}, 4u, ids), 0);
    for (unsigned j = 0; j < 5; ++j)
        EXPECT_NEAR(std::hypot(coords(0, j) - std::cos(j * pi / 4), coords(1, j) - std::sin(j * pi / 4)), 0.0, 1e-14);
    // Off the origin, about a unit axis by 1 radian with an even count: every node keeps its
    // height along the axis and its distance from it.
    dense2D<double> c = vx4test::columns<double>(3, {2, -1, 4});
    const V3 C{{1, 1, 1}}, W{{2.0 / 3, 2.0 / 3, 1.0 / 3}};
    ASSERT_EQ(extrude_rotate(c, 0u, C, W, 0.2, 0.1, true, ids), 0);
    EXPECT_EQ(c.cols() % 2, 1u);
    for (unsigned j = 0; j < c.cols(); ++j) {
        const double r[3] = {c(0, j) - C[0], c(1, j) - C[1], c(2, j) - C[2]};
        EXPECT_NEAR(r[0] * W[0] + r[1] * W[1] + r[2] * W[2], 1.0 / 3, 1e-12);
        EXPECT_NEAR(r[0] * r[0] + r[1] * r[1] + r[2] * r[2], 14.0, 1e-12);
    }
}

TEST(ExtrudeRotate, ReportsCodesByArgumentPositionAndDropsTheStartColumn) {
    dense2D<double> c2(2, 1, 1.0), c3(3, 1, 0.0);
    dense1D<unsigned> ids;
    EXPECT_EQ(extrude_rotate(c3, 0u, V2{{0, 0}}, 1.0, 2u, ids), -1);
    EXPECT_EQ(extrude_rotate(c2, 1u, V2{{0, 0}}, 1.0, 2u, ids), -2);
    EXPECT_EQ(extrude_rotate(c3, 0u, V3{{0, 0, 5}}, V3{{0, 0, 1}}, 1.0, 1.0, false, ids), -3);
    EXPECT_EQ(extrude_rotate(c2, V2{{1, 0}}, V2{{0, 0}}, 1.0, 0.0, 1.0, false, ids), -5);
    EXPECT_EQ(extrude_rotate(c3, V3{{1, 0, 0}}, V3{{0, 0, 0}}, V3{{0, 0, 1}}, 1.0, 0.0, false, ids), -6);
    vx4test::failing_allocations guard(1); // the index list cannot be reserved
    EXPECT_EQ(extrude_rotate(c2, V2{{1, 0}}, V2{{0, 0}}, 1.0, 4u, ids), -199);
    EXPECT_EQ(c2.cols() + c3.cols() + ids.size(), 2u);
}

TEST(RotationFromVector, SeriesMeetsTheClosedFormAtTheSwitch) {
    using tessora1d::detail::rodrigues_factors_of;
    const auto series = rodrigues_factors_of(0.1), closed = rodrigues_factors_of(0.1000001);
    EXPECT_NEAR(series.a, std::sin(0.1) / 0.1, 1e-16);
    EXPECT_NEAR(series.b, (1 - std::cos(0.1)) / 0.01, 1e-14);
    EXPECT_NEAR(series.b, closed.b, 1e-8); // b changes by about 1e-9 over the gap
}
