#include <vx4/lapack.h>
#include <vx4/tessora.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using vx4::dense1D;
using vx4::dense2D;
using vx4test::columns;

namespace {
constexpr unsigned none = std::numeric_limits<unsigned>::max();
}

TEST(CheckIDs, BoundsEveryEntryOfEveryColumn) {
    dense2D<unsigned> e3 = columns<unsigned>(3, {0, 1, 2, 1, 3, 4});
    EXPECT_TRUE(vx4::tessora::check_IDs(e3, vx4::edge2, 5));
    EXPECT_FALSE(vx4::tessora::check_IDs(e3, vx4::edge2, 4)); // the mid node 4 counts too
    EXPECT_TRUE(vx4::tessora::check_IDs(e3, vx4::edge2, none));
    EXPECT_TRUE(vx4::tessora::check_IDs(dense2D<unsigned>(), vx4::edge2, 0));
    // An edge connectivity with a single row cannot be read through its end rows.
    EXPECT_FALSE(vx4::tessora::check_IDs(columns<unsigned>(1, {0, 1}), vx4::edge2, none));

    EXPECT_TRUE(vx4::tessora::check_IDs(dense1D<unsigned>{0, 2, 1}, 3));
    EXPECT_FALSE(vx4::tessora::check_IDs(dense1D<unsigned>{0, 3}, 3));
    EXPECT_TRUE(vx4::tessora::check_IDs(dense1D<unsigned>{}, 0));
}

TEST(GetNeighbors, LinksAChainAcrossEndAndStartNodes) {
    dense2D<unsigned> chain = columns<unsigned>(2, {0, 1, 2, 1, 2, 3});
    dense2D<unsigned> nb;
    ASSERT_EQ(vx4::tessora::get_neighbors(chain, vx4::edge2, false, nb), 0);
    ASSERT_EQ(nb.rows(), 2u);
    ASSERT_EQ(nb.cols(), 3u);
    EXPECT_EQ(nb(0, 0), 1u); // across node 1, the end of edge 0
    EXPECT_EQ(nb(1, 0), none);
    EXPECT_EQ(nb(0, 1), 0u); // edge 1 is (2, 1): its end node 1 is shared with edge 0
    EXPECT_EQ(nb(1, 1), 2u); // and its start node 2 with edge 2
    EXPECT_EQ(nb(1, 2), 1u);
    EXPECT_EQ(nb(0, 2), none);
}

TEST(GetNeighbors, BranchingNodesPreferAHeadToTailContinuation) {
    // Three edges meet at node 1: (0,1), (1,2) and (3,1).
    dense2D<unsigned> star = columns<unsigned>(2, {0, 1, 3, 1, 1, 2});
    dense2D<unsigned> nb;
    ASSERT_EQ(vx4::tessora::get_neighbors(star, vx4::edge2, false, nb), 0);
    EXPECT_EQ(nb(0, 0), 2u); // edge 0 ends at 1; edge 2 starts there
    EXPECT_EQ(nb(0, 1), 2u);
    EXPECT_EQ(nb(1, 2), 0u); // edge 2 starts at 1; the lowest edge ending there is 0
    ASSERT_EQ(vx4::tessora::get_neighbors(star, vx4::edge2, true, nb), 0);
    EXPECT_EQ(nb(0, 0), none);
    EXPECT_EQ(nb(1, 2), none);
}

TEST(GetNeighbors, ClosedLoopAndBadInput) {
    dense2D<unsigned> loop = columns<unsigned>(2, {0, 1, 1, 2, 2, 0});
    dense2D<unsigned> nb;
    ASSERT_EQ(vx4::tessora::get_neighbors(loop, vx4::edge2, false, nb), 0);
    EXPECT_EQ(nb(0, 2), 0u);
    EXPECT_EQ(nb(1, 0), 2u);
    EXPECT_EQ(vx4::tessora::get_neighbors(columns<unsigned>(1, {0, 1}), vx4::edge2, false, nb), -1);
    vx4test::failing_allocations guard;
    EXPECT_EQ(vx4::tessora::get_neighbors(loop, vx4::edge2, false, nb), -199);
}

TEST(MetricsIsoToAniso, WritesTheIsotropicMetricOfEachSize) {
    dense1D<double> sizes{0.5, 2.0};
    dense2D<double> m2, m3;
    ASSERT_EQ(vx4::tessora::metrics_iso_to_aniso2d(sizes, m2), 0);
    ASSERT_EQ(m2.rows(), 3u);
    EXPECT_DOUBLE_EQ(m2(0, 0), 4.0);
    EXPECT_EQ(m2(1, 0), 0.0);
    EXPECT_DOUBLE_EQ(m2(2, 1), 0.25);
    ASSERT_EQ(vx4::tessora::metrics_iso_to_aniso3d(sizes, m3), 0);
    ASSERT_EQ(m3.rows(), 6u);
    EXPECT_DOUBLE_EQ(m3(5, 0), 4.0);
    EXPECT_EQ(m3(3, 0), 0.0);
    EXPECT_EQ(vx4::tessora::metrics_iso_to_aniso2d(dense1D<double>{1.0, std::nan("")}, m2), -1);
}

TEST(Dspev, SolvesASymmetricPackedProblem) {
    // diag(1, 2, 3) rotated about z by 30 degrees.
    const double c = std::cos(M_PI / 6), s = std::sin(M_PI / 6);
    double packed[6] = {c * c * 1 + s * s * 2, c * s * (1 - 2), s * s * 1 + c * c * 2, 0.0, 0.0, 3.0};
    double w[3], z[9], work[10] = {};
    long info = -1;
    EXPECT_EQ(vx4::lapack::dspev('V', 'U', 3, packed, w, z, 3, work, info), 0);
    EXPECT_EQ(info, 0);
    EXPECT_NEAR(w[0], 1.0, 1e-14);
    EXPECT_NEAR(w[1], 2.0, 1e-14);
    EXPECT_NEAR(w[2], 3.0, 1e-14);
    EXPECT_NEAR(std::fabs(z[0]), c, 1e-14); // first eigenvector (c, s, 0) up to sign
    EXPECT_NEAR(std::fabs(z[8]), 1.0, 1e-14);
}
