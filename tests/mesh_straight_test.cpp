#include <gtest/gtest.h>

#include <vx4/tessora1d.h>

#include "test_support.h"

#include <cmath>

using vx4::dense2D;
using vx4::tessora1d::mesh_straight;
using ids = vx4::dense1D<unsigned>;
using reals = vx4::dense1D<double>;

namespace {

// Nodes (0,0), (3,0), (3,4) and a spare column (9,9).
dense2D<double> corner() { return vx4test::columns<double>(2, {0, 0, 3, 0, 3, 4, 9, 9}); }

} // namespace

TEST(MeshStraight, StitchesSegmentChainsSharingTheirEndNodes) {
    dense2D<double> X = corner();
    ids out{42}, even;
    ASSERT_EQ(mesh_straight(X, ids{0, 1, 2}, reals{1.0, 1.0, 1.0}, false, out), 0);
    // 3 elements on the first segment, 4 on the second: nodes 4, 5 then 6, 7, 8.
    const unsigned expected[] = {42, 0, 4, 5, 1, 6, 7, 8, 2};
    ASSERT_TRUE(out.size() == 9 && X.cols() == 9);
    for (unsigned k = 0; k < 9; ++k) EXPECT_EQ(out[k], expected[k]);
    EXPECT_NEAR(std::hypot(X(0, 5) - 2.0, X(1, 5)) + std::hypot(X(0, 7) - 3.0, X(1, 7) - 2.0), 0.0, 1e-14);
    // The even flag reaches mesh_line: 4 elements on each segment.
    ASSERT_EQ(mesh_straight(X, ids{0, 1, 2}, reals{1.0, 1.0, 1.0}, true, even), 0);
    EXPECT_EQ(even.size(), 9u);
}

TEST(MeshStraight, CountOverloadsSpreadTheChainLengthEvenly) {
    dense2D<double> a = corner(), b = corner();
    ids out_a, out_b, two;
    ASSERT_EQ(mesh_straight(a, ids{0, 1, 2}, 14u, false, out_a), 0);
    ASSERT_EQ(mesh_straight(b, ids{0, 1, 2}, reals(3, 0.5), false, out_b), 0);
    ASSERT_EQ(out_a.size(), 15u);
    for (unsigned k = 0; k < 15; ++k) EXPECT_EQ(out_a[k], out_b[k]);
    ASSERT_EQ(mesh_straight(a, 1u, 2u, 8u, two), 0);
    EXPECT_TRUE(two.size() == 9 && two[0] == 1 && two[8] == 2);
}

TEST(MeshStraight, ChecksArgumentsInOrderAndRollsBackAFailingSegment) {
    dense2D<double> X = corner();
    ids out{1, 2};
    const reals sizes{1, 1, 1};
    EXPECT_EQ(mesh_straight(X, ids{}, sizes, false, out), 0);
    EXPECT_EQ(mesh_straight(X, ids{0}, sizes, false, out), -2);
    EXPECT_EQ(mesh_straight(X, ids{0, 4}, sizes, false, out), -2);
    EXPECT_EQ(mesh_straight(X, ids{0, 1, 2, 3}, sizes, false, out), -3);
    EXPECT_EQ(mesh_straight(X, ids{0, 1}, reals{1, 0}, false, out), -3);
    EXPECT_EQ(mesh_straight(X, ids{0, 1}, dense2D<double>(6, 2, 1.0), false, out), -3);
    EXPECT_EQ(mesh_straight(X, ids{0, 1}, 0u, false, out), 0);
    EXPECT_EQ(mesh_straight(X, ids{0, 0}, 3u, false, out), -3); // zero length, zero size
    EXPECT_EQ(mesh_straight(X, 4u, 1u, 3u, out), -2);
    EXPECT_EQ(mesh_straight(X, 1u, 4u, 3u, out), -3);
    EXPECT_EQ(mesh_straight(X, 1u, 1u, 3u, out), -4);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, 4u, 3u, out), -4);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, -1.0, 1.0, false, out), -4);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, 1.0, 0.0, false, out), -5);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, NAN, 1.0, false, out), -3);
    // Isotropic metrics of size 1: one segment is meshed; segment 1 gets a 2-row block, so
    // mesh_line's -4 comes back with everything rolled back.
    const dense2D<double> M = vx4test::columns<double>(3, {1, 0, 1, 1, 0, 1, 1, 0, 1});
    ids one_segment;
    ASSERT_EQ(mesh_straight(X, ids{0, 1}, M, false, one_segment), 0);
    EXPECT_EQ(one_segment.size(), 4u);
    const unsigned cols = X.cols();
    EXPECT_EQ(mesh_straight(X, ids{0, 1, 2}, M, false, out), -4);
    EXPECT_EQ(X.cols(), cols);
    EXPECT_TRUE(out.size() == 2 && out[1] == 2);
}

TEST(MeshStraight, FailingAllocationsRollBackEverything) {
    const ids chain{0, 1, 2, 3};
    const reals sizes{0.5, 0.3, 0.2, 0.4};
    for (long fail_at = 0, rc = -199; rc != 0; ++fail_at) {
        dense2D<double> X = corner();
        ids out;
        ASSERT_TRUE(out.reserve(64) && out.push_back(5));
        vx4test::failing_allocations guard(fail_at);
        rc = mesh_straight(X, chain, sizes, false, out);
        // A short local (0, 1) parameter list is reported by mesh_line as -3; a failure on the
        // first segment leaves the chain's end in place of the old entry.
        EXPECT_TRUE(rc == 0 || rc == -199 || rc == -3) << rc;
        EXPECT_TRUE(rc == 0 || (X.cols() == 4 && out.size() == 1 && (out[0] == 5 || out[0] == 3))) << fail_at;
    }
}
