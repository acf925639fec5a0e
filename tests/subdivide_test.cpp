#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <vector>

using vx4::dense1D;
using vx4::tessora1d::subdivide;
using D = std::vector<double>;

// The new abscissas of [0, length] cut under unit size; the output chain runs 0, new nodes, 1.
static D cut(double length, bool force_fine, bool even, unsigned nmax) {
    dense1D<double> x{0.0, length}, h{1.0, 1.0};
    dense1D<unsigned> out;
    EXPECT_EQ(subdivide(x, h, dense1D<unsigned>{0, 1}, force_fine, even, 1, nmax, out), 0);
    for (unsigned k = 0; k < out.size(); ++k) EXPECT_EQ(out[k], k == 0 ? 0 : k + 1 == out.size() ? 1 : k + 1);
    return D(x.begin() + 2, x.end());
}

TEST(Subdivide, CountFollowsBoundsThenForceFineThenParity) {
    EXPECT_EQ(cut(10.0, false, false, 100), (D{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(cut(10.0, false, false, 4), (D{2.5, 5.0, 7.5}));
    EXPECT_EQ(cut(10.0, true, false, 4).size(), 4u);  // 4 < 10: one more, past nmax
    EXPECT_EQ(cut(10.0, true, true, 4).size(), 5u);   // then made even
    EXPECT_EQ(cut(0.3, false, false, 100).size(), 0u);
}

TEST(Subdivide, InteriorChainNodesOnlyShapeTheSize) {
    dense1D<double> x{0.0, 5.0, 10.0}, h{1.0, 2.0, 1.0};
    dense1D<unsigned> out;
    ASSERT_EQ(subdivide(x, h, dense1D<unsigned>{0, 1, 2}, false, false, 1, 100, out), 0);
    ASSERT_EQ(out.size(), x.size() - 1); // node 1 left out
    const unsigned s = out.size() - 1;
    for (unsigned k = 0; k < s; ++k) // symmetric spacing, denser at the small ends
        EXPECT_NEAR(x[out[k + 1]] - x[out[k]], x[out[s - k]] - x[out[s - k - 1]], 1e-9);
    EXPECT_LT(x[out[1]] - x[out[0]], x[out[s / 2 + 1]] - x[out[s / 2]]);
}

TEST(Subdivide, PointsOfAnIntervalWiderThanTheLargestDoubleStayInIt) {
    // The span overflows; a size too small for its logarithmic mean gives the interval no metric
    // length, so nmin's points all sit at the start.
    dense1D<double> x{-1.6e308, 1.06e308}, h{1.87, 4.9e-324};
    dense1D<unsigned> out;
    ASSERT_EQ(subdivide(x, h, dense1D<unsigned>{0, 1}, false, false, 5, 9, out), 0);
    ASSERT_EQ(x.size(), 6u);
    for (unsigned k = 2; k < x.size(); ++k) EXPECT_EQ(x[k], -1.6e308);
}

TEST(Subdivide, RefusalsAndShortMemoryAddNothing) {
    dense1D<double> x{0.0, 10.0}, h{1.0, 1.0}, short_h{1.0};
    dense1D<unsigned> chain{0, 1}, out;
    for (const dense1D<unsigned>& bad : {dense1D<unsigned>{0}, dense1D<unsigned>{0, 2}})
        EXPECT_EQ(subdivide(x, h, bad, false, false, 1, 9, out), -2);
    EXPECT_EQ(subdivide(x, short_h, chain, false, false, 1, 9, out), -2);
    EXPECT_EQ(subdivide(x, h, chain, false, false, 5, 4, out), -6);
    ASSERT_TRUE(out.empty() && out.reserve(2));
    vx4test::failing_allocations guard(0);
    ASSERT_EQ(subdivide(x, h, chain, false, false, 1, 100, out), 0);
    EXPECT_EQ(out.size() + x.size() + h.size(), 6u); // the two ends only
}
