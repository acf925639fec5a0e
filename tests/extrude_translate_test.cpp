#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace vx4;
using tessora1d::extrude_translate;
using V2 = vector_fixed<double, 2>;
using V3 = vector_fixed<double, 3>;

TEST(ExtrudeTranslate, AppendsEvenlySpacedNodesAndTheirChain) {
    dense2D<double> coords;
    dense1D<unsigned> ids{9};
    ASSERT_EQ(extrude_translate(coords, V2{{0, 0}}, V2{{1, 0}}, 4u, ids), 0);
    ASSERT_EQ(coords.cols(), 5u);
    for (unsigned j = 0; j < 5; ++j) EXPECT_DOUBLE_EQ(coords(0, j), 0.25 * j);
    ASSERT_EQ(extrude_translate(coords, 2u, V2{{0, 2}}, 2u, ids), 0);
    EXPECT_EQ(coords(0, 4), 1.0);
    EXPECT_EQ(coords(1, 6), 2.0);
    EXPECT_EQ(std::vector<unsigned>(ids.begin(), ids.end()), (std::vector<unsigned>{9, 0, 1, 2, 3, 4, 2, 5, 6}));

    // n = 0 does nothing, even on a matrix that would be refused.
    dense2D<double> wrong(3, 1, 0.0);
    EXPECT_EQ(extrude_translate(wrong, V2{{0, 0}}, V2{{1, 0}}, 0u, ids), 0);
    EXPECT_EQ(wrong.cols() + ids.size(), 10u);
}

TEST(ExtrudeTranslate, SizesSetTheCountAndAGeometricSpacing) {
    dense2D<double> coords, c3;
    dense1D<unsigned> ids;
    // Length 9 alone gives 9 segments, the even rule 10 (81 > 8 * 10).
    ASSERT_EQ(extrude_translate(c3, V3{{0, 0, 0}}, V3{{0, 0, 9}}, 1.0, 1.0, true, ids), 0);
    EXPECT_EQ(c3.cols(), 11u);
    // Length 3 along (0.6, 0.8) with sizes 0.1 to 0.4: metric length 10 ln 4 = 13.9, 14 elements.
    ASSERT_EQ(extrude_translate(coords, V2{{0, 0}}, V2{{1.8, 2.4}}, 0.1, 0.4, false, ids), 0);
    ASSERT_EQ(coords.cols(), 15u);
    EXPECT_NEAR(coords(0, 14), 1.8, 1e-12);
    // Equal metric steps: successive spacings grow by (h1 / h0)^(1 / n).
    const double ratio = std::pow(4.0, 1.0 / 14);
    for (unsigned j = 1; j < 14; ++j)
        EXPECT_NEAR((coords(1, j + 1) - coords(1, j)) / (coords(1, j) - coords(1, j - 1)), ratio, 1e-9);
}

TEST(ExtrudeTranslate, ReportsTheFirstFaultyArgumentAndDropsTheStartColumn) {
    dense2D<double> c2(2, 3, 0.0), c3(3, 3, 0.0);
    dense1D<unsigned> ids;
    EXPECT_EQ(extrude_translate(c3, 0u, V2{{1, 0}}, 2u, ids), -1);
    EXPECT_EQ(extrude_translate(c2, 3u, V2{{1, 0}}, 2u, ids), -2);
    // The point overloads append their start column and take it away again.
    EXPECT_EQ(extrude_translate(c2, V2{{0, 0}}, V2{{0, 0}}, 1.0, 1.0, false, ids), -3);
    EXPECT_EQ(extrude_translate(c2, V2{{0, 0}}, V2{{1, 0}}, 0.0, 1.0, false, ids), -4);
    EXPECT_EQ(extrude_translate(c3, V3{{0, 0, 0}}, V3{{1, 0, 0}}, 1.0, -1.0, true, ids), -5);
    {
        vx4test::failing_allocations guard(0); // the up-front reservation
        EXPECT_EQ(extrude_translate(c2, V2{{0, 0}}, V2{{1, 0}}, 2u, ids), -199);
    }
    c2.reserve(2, 4); // room for the start column: the node reservation fails after it
    {
        vx4test::failing_allocations guard(0);
        EXPECT_EQ(extrude_translate(c2, V2{{0, 0}}, V2{{5, 0}}, 1.0, 1.0, false, ids), -199);
    }
    EXPECT_EQ(c2.cols() + c3.cols() + ids.size(), 6u);

    // NaN sizes pass the checks and give a single element.
    ASSERT_EQ(extrude_translate(c2, 0u, V2{{1, 0}}, std::nan(""), 1.0, false, ids), 0);
    EXPECT_EQ(c2.cols(), 4u);
}
