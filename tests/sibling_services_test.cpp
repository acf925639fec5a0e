#include <vx4/lapack.h>
#include <vx4/tessora.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using vx4::dense1D;
using vx4::dense2D;
using vx4test::columns;
using vx4test::entries;

namespace {
constexpr unsigned none = std::numeric_limits<unsigned>::max();
} // namespace

TEST(CheckIDs, BoundsEveryEntryOfEveryEdgeColumn) {
    dense2D<unsigned> e3 = columns<unsigned>(3, {0, 1, 2, 1, 3, 4});
    EXPECT_TRUE(vx4::tessora::check_IDs(e3, vx4::edge2, 5));
    EXPECT_FALSE(vx4::tessora::check_IDs(e3, vx4::edge2, 4)); // the mid node 4 counts too
    EXPECT_TRUE(vx4::tessora::check_IDs(dense2D<unsigned>(), vx4::edge2, 0));
    // An edge connectivity with a single row cannot be read through its end rows.
    EXPECT_FALSE(vx4::tessora::check_IDs(columns<unsigned>(1, {0, 1}), vx4::edge2, none));
    // The no-bound count is still a bound: its own value (the "none" marker) is refused.
    EXPECT_FALSE(vx4::tessora::check_IDs(columns<unsigned>(2, {0, none}), vx4::edge2, none));
    EXPECT_TRUE(vx4::tessora::check_IDs(columns<unsigned>(2, {0, none - 1}), vx4::edge2, none));
    EXPECT_FALSE(vx4::tessora::check_IDs(dense1D<unsigned>{3, none}, none));
}

TEST(GetNeighbors, LinksChainsAndLoopsAcrossEndAndStartNodes) {
    dense2D<unsigned> nb;
    // Edge 1 is (2, 1): across its end node 1 lies edge 0, across its start node 2 edge 2.
    ASSERT_EQ(vx4::tessora::get_neighbors(columns<unsigned>(2, {0, 1, 2, 1, 2, 3}), vx4::edge2, false, nb), 0);
    ASSERT_EQ(nb.rows(), 2u);
    EXPECT_EQ(entries(nb), (std::vector<unsigned>{1, none, 0, 2, none, 1}));
    const dense2D<unsigned> loop = columns<unsigned>(2, {0, 1, 1, 2, 2, 0});
    ASSERT_EQ(vx4::tessora::get_neighbors(loop, vx4::edge2, false, nb), 0);
    EXPECT_EQ(entries(nb), (std::vector<unsigned>{1, 2, 2, 0, 0, 1}));
    EXPECT_EQ(vx4::tessora::get_neighbors(columns<unsigned>(1, {0, 1}), vx4::edge2, false, nb), -1);
    vx4test::failing_allocations guard;
    EXPECT_EQ(vx4::tessora::get_neighbors(loop, vx4::edge2, false, nb), -199);
}

TEST(GetNeighbors, BranchingNodesPreferAHeadToTailContinuation) {
    // Three edges meet at node 1: (0,1), (3,1) and (1,2). Edges 0 and 1 end at 1, where edge 2
    // starts; edge 2 takes the lowest edge ending there. manifold_only leaves them all alone.
    dense2D<unsigned> star = columns<unsigned>(2, {0, 1, 3, 1, 1, 2});
    dense2D<unsigned> nb;
    ASSERT_EQ(vx4::tessora::get_neighbors(star, vx4::edge2, false, nb), 0);
    EXPECT_EQ(entries(nb), (std::vector<unsigned>{2, none, 2, none, none, 0}));
    ASSERT_EQ(vx4::tessora::get_neighbors(star, vx4::edge2, true, nb), 0);
    EXPECT_EQ(entries(nb), std::vector<unsigned>(6, none));
}

TEST(MetricsIsoToAniso, WritesTheIsotropicMetricOfEachSize) {
    dense2D<double> m2, m3;
    ASSERT_EQ(vx4::tessora::metrics_iso_to_aniso2d(dense1D<double>{0.5, 2.0}, m2), 0);
    EXPECT_EQ(entries(m2), (std::vector<double>{4, 0, 4, 0.25, 0, 0.25}));
    ASSERT_EQ(vx4::tessora::metrics_iso_to_aniso3d(dense1D<double>{0.5, 2.0}, m3), 0);
    ASSERT_EQ(m3.rows(), 6u);
    EXPECT_EQ(entries(m3), (std::vector<double>{4, 0, 4, 0, 0, 4, 0.25, 0, 0.25, 0, 0, 0.25}));
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
    for (unsigned k = 0; k < 3; ++k) EXPECT_NEAR(w[k], k + 1.0, 1e-14);
    EXPECT_NEAR(std::fabs(z[0]), c, 1e-14); // first eigenvector (c, s, 0) up to sign
    EXPECT_NEAR(std::fabs(z[8]), 1.0, 1e-14);
}
