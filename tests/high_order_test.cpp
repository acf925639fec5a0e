#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <vector>

using namespace vx4;
using vx4test::columns;

template <class T>
static std::vector<T> entries(const dense2D<T>& m) { return std::vector<T>(m.data(), m.data() + m.size()); }

TEST(HighOrderConversion, InsertsEvenlySpacedNodesEdgeByEdge) {
    dense2D<double> xy = columns<double>(2, {0, 0, 4, 0, 4, 8}), x = columns<double>(1, {0, 2, 6});
    dense2D<unsigned> out = columns<unsigned>(2, {9, 9}), c = columns<unsigned>(3, {0, 1, 2, 1, 2, 0});
    ASSERT_EQ(tessora1d::convert_into_high_order(xy, columns<unsigned>(2, {0, 1, 2, 1}), 3, out), 0);
    EXPECT_EQ(entries(out), (std::vector<unsigned>{0, 1, 3, 4, 5, 2, 1, 6, 7, 8}));
    EXPECT_EQ(entries(xy), (std::vector<double>{0, 0, 4, 0, 4, 8, 1, 0, 2, 0, 3, 0, 4, 6, 4, 4, 4, 2}));
    ASSERT_EQ(tessora1d::convert_into_quadratic(x, c), 0); // old mid nodes are replaced, not reused
    EXPECT_EQ(entries(c), (std::vector<unsigned>{0, 1, 3, 1, 2, 4}));
    EXPECT_EQ(entries(x), (std::vector<double>{0, 2, 6, 1, 4}));
    EXPECT_EQ(tessora1d::convert_into_high_order(x, c, 0), 0);
    EXPECT_TRUE(c.empty());
}

TEST(HighOrderConversion, FaultsLeaveCoordinatesAlone) {
    dense2D<double> xyzw(4, 2, 0.0), xy = columns<double>(2, {0, 0, 1, 0});
    dense2D<unsigned> out = columns<unsigned>(2, {0, 1});
    EXPECT_EQ(tessora1d::convert_into_high_order(xyzw, out, 1), -1);
    EXPECT_EQ(tessora1d::convert_into_high_order(xy, columns<unsigned>(2, {0, 2}), 1, out), -2);
    EXPECT_TRUE(out.empty());
    for (long n = 0;; ++n) { // fail each allocation in turn: no node may be left behind
        dense2D<unsigned> c = columns<unsigned>(2, {0, 1});
        vx4test::failing_allocations guard(n);
        const int rc = tessora1d::convert_into_high_order(xy, c, 3);
        if (rc == 0) break;
        ASSERT_EQ(rc, -199);
        ASSERT_EQ(xy.cols(), 2u);
    }
}
