#include <gtest/gtest.h>

#include <vx4/tessora1d.h>

#include "test_support.h"

#include <cmath>

using vx4::dense1D;
using vx4::dense2D;
using vx4::tessora1d::mesh_straight;

namespace {

// Nodes (0,0), (3,0), (3,4) and a spare column (9,9).
dense2D<double> corner() { return vx4test::columns<double>(2, {0, 0, 3, 0, 3, 4, 9, 9}); }

} // namespace

TEST(MeshStraight, StitchesSegmentChainsSharingTheirEndNodes) {
    dense2D<double> X = corner();
    dense1D<unsigned> out{42};
    ASSERT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1, 2}, dense1D<double>{1.0, 1.0, 1.0}, false, out), 0);
    // 3 elements on the first segment, 4 on the second: nodes 4, 5 then 6, 7, 8.
    const unsigned expected[] = {42, 0, 4, 5, 1, 6, 7, 8, 2};
    ASSERT_EQ(out.size(), 9u);
    for (unsigned k = 0; k < 9; ++k) EXPECT_EQ(out[k], expected[k]);
    ASSERT_EQ(X.cols(), 9u);
    EXPECT_DOUBLE_EQ(X(0, 5), 2.0);
    EXPECT_DOUBLE_EQ(X(1, 5), 0.0);
    EXPECT_DOUBLE_EQ(X(0, 7), 3.0);
    EXPECT_DOUBLE_EQ(X(1, 7), 2.0);

    // The even flag reaches mesh_line: 4 elements on each segment.
    dense1D<unsigned> even;
    ASSERT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1, 2}, dense1D<double>{1.0, 1.0, 1.0}, true, even), 0);
    EXPECT_EQ(even.size(), 9u);
}

TEST(MeshStraight, CountOverloadsSpreadTheChainLengthEvenly) {
    dense2D<double> a = corner(), b = corner();
    dense1D<unsigned> out_a, out_b;
    ASSERT_EQ(mesh_straight(a, dense1D<unsigned>{0, 1, 2}, 14u, false, out_a), 0);
    ASSERT_EQ(mesh_straight(b, dense1D<unsigned>{0, 1, 2}, dense1D<double>(3, 0.5), false, out_b), 0);
    ASSERT_EQ(out_a.size(), out_b.size());
    EXPECT_EQ(out_a.size(), 15u);
    for (unsigned k = 0; k < out_a.size(); ++k) EXPECT_EQ(out_a[k], out_b[k]);

    dense2D<double> c = corner();
    dense1D<unsigned> two;
    ASSERT_EQ(mesh_straight(c, 1u, 2u, 8u, two), 0);
    EXPECT_EQ(two.size(), 9u);
    EXPECT_EQ(two[8], 2u);
}

TEST(MeshStraight, ChecksArgumentsInOrder) {
    dense2D<double> X = corner();
    dense1D<unsigned> out{1, 2};
    const dense1D<double> sizes{1, 1, 1};
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{}, sizes, false, out), 0);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0}, sizes, false, out), -2);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 4}, sizes, false, out), -2);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1, 2, 3}, sizes, false, out), -3);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1}, dense1D<double>{1, 0}, false, out), -3);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1}, dense2D<double>(6, 2, 1.0), false, out), -3);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1}, 0u, false, out), 0);
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 0}, 3u, false, out), -3); // zero length, zero size
    EXPECT_EQ(mesh_straight(X, 4u, 1u, 3u, out), -2);
    EXPECT_EQ(mesh_straight(X, 1u, 4u, 3u, out), -3);
    EXPECT_EQ(mesh_straight(X, 1u, 1u, 3u, out), -4);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, 4u, 3u, out), -4);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, -1.0, 1.0, false, out), -4);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, 1.0, 0.0, false, out), -5);
    EXPECT_EQ(mesh_straight(X, 0u, 1u, NAN, 1.0, false, out), -3);
    EXPECT_EQ(X.cols(), 4u);
    EXPECT_EQ(out.size(), 2u);
    EXPECT_EQ(out[1], 2u);
}

TEST(MeshStraight, MetricBlockIsShiftedDownPerSegmentSoLaterSegmentsAreRefused) {
    dense2D<double> X = corner();
    // Isotropic metrics of size 1 at every chain entry.
    const dense2D<double> M = vx4test::columns<double>(3, {1, 0, 1, 1, 0, 1, 1, 0, 1});
    dense1D<unsigned> one_segment;
    ASSERT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1}, M, false, one_segment), 0);
    EXPECT_EQ(one_segment.size(), 4u);

    // Segment 1 gets a 2-row block: mesh_line's -4, with everything rolled back.
    const unsigned cols = X.cols();
    dense1D<unsigned> out{7, 8};
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1, 2}, M, false, out), -4);
    EXPECT_EQ(X.cols(), cols);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[1], 8u);
}

TEST(MeshStraight, FailureOnTheFirstSegmentReplacesTheFormerLastEntry) {
    // mesh_line refuses 1-row coordinates after the last entry was dropped and the chain's end
    // appended; the rollback restores only the size.
    dense2D<double> X = vx4test::columns<double>(1, {0, 1});
    dense1D<unsigned> out{7, 8};
    EXPECT_EQ(mesh_straight(X, dense1D<unsigned>{0, 1}, dense1D<double>{1, 1}, false, out), -1);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0], 7u);
    EXPECT_EQ(out[1], 1u);
}

TEST(MeshStraight, FailingAllocationsRollBackEverything) {
    int rc = -199;
    for (long fail_at = 0; rc != 0; ++fail_at) {
        dense2D<double> X = corner();
        dense1D<unsigned> out;
        ASSERT_TRUE(out.reserve(64));
        ASSERT_TRUE(out.push_back(5));
        const dense1D<unsigned> chain{0, 1, 2, 3};
        const dense1D<double> sizes{0.5, 0.3, 0.2, 0.4};
        {
            vx4test::failing_allocations guard(fail_at);
            rc = mesh_straight(X, chain, sizes, false, out);
        }
        if (rc != 0) {
            // A short local (0, 1) parameter list is reported by mesh_line as -3.
            EXPECT_TRUE(rc == -199 || rc == -3) << rc;
            EXPECT_EQ(X.cols(), 4u);
            ASSERT_EQ(out.size(), 1u);
            // A failure on the first segment leaves the chain's end in place of the old entry.
            EXPECT_TRUE(out[0] == 5u || out[0] == 3u);
        }
    }
}
