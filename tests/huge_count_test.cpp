// Metric lengths of 2^32 or more: the count saturates, so the element bounds clamp it and an
// unbounded count meets the allocation refusal instead of collapsing to one element.
#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

using namespace vx4;
using ids = dense1D<unsigned>;
using reals = dense1D<double>;

namespace {

constexpr unsigned kNoBound = 4294967295u;
constexpr double kLong = 1e7;  // with sizes 1e-3: a metric length of 1e10, past 2^32
constexpr double kFine = 1e-3;

dense2D<double> long_segment_2d() { return vx4test::columns<double>(2, {0, 0, kLong, 0}); }

} // namespace

TEST(HugeCount, MeshLineClampsASaturatedCountToNmax) {
    dense2D<double> X = long_segment_2d();
    ids out;
    reals params, sizes;
    ASSERT_EQ(tessora1d::mesh_line(X, ids{0, 1}, reals{0.0, 1.0}, reals{kFine, kFine}, false, 1, 10, 0.0, 0.0, out,
                                   params, sizes),
              0);
    EXPECT_EQ(out.size(), 11u); // 10 elements
    EXPECT_EQ(X.cols(), 11u);
    // The metric form takes the same road: metric diag(1e6, 1e6) is size 1e-3.
    dense2D<double> Y = long_segment_2d();
    ids out_m;
    dense2D<double> metrics = vx4test::columns<double>(3, {1e6, 0, 1e6, 1e6, 0, 1e6}), out_metrics;
    ASSERT_EQ(tessora1d::mesh_line(Y, ids{0, 1}, metrics, true, 3, 7, 0.0, 0.0, out_m, params, out_metrics), 0);
    EXPECT_EQ(out_m.size(), 9u); // clamped to 7, then made even
}

TEST(HugeCount, SubdivideClampsASaturatedCountToNmax) {
    reals x{0.0, kLong}, h{kFine, kFine};
    ids out;
    ASSERT_EQ(tessora1d::subdivide(x, h, ids{0, 1}, false, false, 1, 6, out), 0);
    EXPECT_EQ(out.size(), 7u);
    EXPECT_EQ(x.size(), 7u);
    EXPECT_DOUBLE_EQ(x[2], kLong / 6.0);
}

TEST(HugeCount, UnboundedCountsAreRefusedAndLeaveTheOutputsAsTheyWere) {
    // mesh_straight passes no upper bound, so a saturated count is an impossible allocation.
    dense2D<double> X = long_segment_2d();
    ids out;
    EXPECT_EQ(tessora1d::mesh_straight(X, 0u, 1u, kFine, kFine, false, out), -199);
    EXPECT_EQ(X.cols(), 2u);
    EXPECT_EQ(out.size(), 0u);

    // The size-driven extrusions likewise, from a node and from a free point.
    dense2D<double> Y = long_segment_2d();
    ids chain{3};
    EXPECT_EQ(tessora1d::extrude_translate(Y, 0u, vector_fixed<double, 2>{{kLong, 0}}, kFine, kFine, false, chain),
              -199);
    EXPECT_EQ(tessora1d::extrude_translate(Y, vector_fixed<double, 2>{{0, 0}}, vector_fixed<double, 2>{{kLong, 0}},
                                           kFine, kFine, true, chain),
              -199);
    EXPECT_EQ(tessora1d::extrude_rotate(Y, 1u, vector_fixed<double, 2>{{0, 0}}, 3.0, kFine, kFine, false, chain),
              -199);
    EXPECT_EQ(Y.cols(), 2u);
    EXPECT_EQ(chain.size(), 1u);
}

TEST(HugeCount, MeshLineWithoutAnUpperBoundIsRefusedAsOutOfMemory) {
    // -199, moved up by one like every code below -3 of the overloads without parameters.
    dense2D<double> X = vx4test::columns<double>(3, {0, 0, 0, kLong, 0, 0});
    ids out;
    reals params, sizes;
    EXPECT_EQ(tessora1d::mesh_line(X, ids{0, 1}, reals{kFine, kFine}, false, 1, kNoBound, 0.0, 0.0, out, params,
                                   sizes),
              -198);
    EXPECT_EQ(X.cols(), 2u);
    EXPECT_EQ(out.size(), 0u);
}
