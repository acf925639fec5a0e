#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <vector>

using vx4::dense1D;
using vx4::tessora1d::subdivide;
using D = std::vector<double>;

// The new abscissas of [0, length] cut under unit size, after the chain output's check.
static D cut(double length, bool force_fine, bool even, unsigned nmax, std::vector<unsigned> chain = {}) {
    dense1D<double> x{0.0, length}, h{1.0, 1.0};
    dense1D<unsigned> out;
    EXPECT_EQ(subdivide(x, h, dense1D<unsigned>{0, 1}, force_fine, even, 1, nmax, out), 0);
    if (!chain.empty()) {
        EXPECT_EQ(std::vector<unsigned>(out.begin(), out.end()), chain);
    }
    return D(x.begin() + 2, x.end());
}

TEST(Subdivide, CountFollowsBoundsThenForceFineThenParity) {
    EXPECT_EQ(cut(10.0, false, false, 100, {0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 1}), (D{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(cut(9.0, false, true, 100).size(), 9u); // 9 rounds up to 10 segments when even
    EXPECT_EQ(cut(10.0, false, false, 4), (D{2.5, 5.0, 7.5}));
    EXPECT_EQ(cut(10.0, true, false, 4).size(), 4u);  // 4 < 10: one more, past nmax
    EXPECT_EQ(cut(10.0, true, true, 4).size(), 5u);   // then made even
    EXPECT_EQ(cut(0.3, false, false, 100, {0, 1}).size(), 0u);
}

TEST(Subdivide, InteriorChainNodesOnlyShapeTheSize) {
    dense1D<double> x{0.0, 5.0, 10.0}, h{1.0, 2.0, 1.0};
    dense1D<unsigned> out;
    ASSERT_EQ(subdivide(x, h, dense1D<unsigned>{0, 1, 2}, false, false, 1, 100, out), 0);
    ASSERT_EQ(out.size(), x.size() - 1); // node 1 left out
    D p;
    for (unsigned node : out) p.push_back(x[node]);
    const unsigned s = static_cast<unsigned>(p.size()) - 1;
    for (unsigned k = 0; k < s; ++k) EXPECT_NEAR(p[k + 1] - p[k], p[s - k] - p[s - k - 1], 1e-9);
    EXPECT_LT(p[1] - p[0], p[s / 2 + 1] - p[s / 2]); // denser at the small ends
}

TEST(Subdivide, RefusalsAndShortMemoryAddNothing) {
    dense1D<double> x{0.0, 10.0}, h{1.0, 1.0}, short_h{1.0};
    dense1D<unsigned> chain{0, 1}, out;
    EXPECT_EQ(subdivide(x, h, dense1D<unsigned>{0}, false, false, 1, 9, out), -2);
    EXPECT_EQ(subdivide(x, h, dense1D<unsigned>{0, 2}, false, false, 1, 9, out), -2);
    EXPECT_EQ(subdivide(x, short_h, chain, false, false, 1, 9, out), -2);
    EXPECT_EQ(subdivide(x, h, chain, false, false, 5, 4, out), -6);
    ASSERT_TRUE(out.empty() && out.reserve(2));
    vx4test::failing_allocations guard(0);
    ASSERT_EQ(subdivide(x, h, chain, false, false, 1, 100, out), 0);
    EXPECT_EQ(out.size() + x.size() + h.size(), 6u); // the two ends only
}
