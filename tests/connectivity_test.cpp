#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <vector>

using namespace vx4;
using vx4test::columns;
using vx4test::entries;
using U = std::vector<unsigned>;

TEST(ElementConstruction, BuildsEdgesAfterExistingColumnsAndChecksCountThenRows) {
    dense2D<unsigned> c = columns<unsigned>(2, {9, 8}), e3(3, 0), no_columns(3, 0);
    ASSERT_EQ(tessora1d::indices_to_connectE2(dense1D<unsigned>{0, 1, 2}, c), 0);
    ASSERT_EQ(tessora1d::indices_to_connectE3(dense1D<unsigned>{10, 11, 12, 13, 14}, e3), 0);
    ASSERT_EQ(tessora1d::split_into_linear(columns<unsigned>(3, {1, 2, 3}), c), 0);
    EXPECT_EQ(entries(c), (U{9, 8, 0, 1, 1, 2, 1, 3, 3, 2}));
    EXPECT_EQ(entries(e3), (U{10, 12, 11, 12, 14, 13}));
    EXPECT_EQ(tessora1d::indices_to_connectE2(dense1D<unsigned>(), e3), 0); // shape not even looked at
    EXPECT_EQ(tessora1d::indices_to_connectE2(dense1D<unsigned>{4}, e3), -1);
    EXPECT_EQ(tessora1d::indices_to_connectE2(dense1D<unsigned>{4, 5}, e3), -2);
    EXPECT_EQ(tessora1d::indices_to_connectE3(dense1D<unsigned>{1, 2, 3, 4}, e3), -1);
    EXPECT_EQ(tessora1d::split_into_linear(e3, no_columns), -2); // the row count alone decides here
    EXPECT_EQ(tessora1d::indices_to_connectE2(dense1D<unsigned>{4, 5}, no_columns), 0);
}

TEST(ElementConstruction, OutputsStayUnchangedWhenMemoryIsShort) {
    dense2D<unsigned> c = columns<unsigned>(2, {1, 2}), c3 = columns<unsigned>(3, {1, 2, 3});
    const dense1D<unsigned> chain{0, 1, 2, 3, 4};
    dense2D<unsigned> narrowed(3, 0);
    narrowed.resize(2, 0); // empty, but still laid out 3 rows apart: the reserve alone is not enough
    {
        vx4test::failing_allocations guard(1);
        EXPECT_EQ(tessora1d::indices_to_connectE2(chain, narrowed), -199);
    }
    vx4test::failing_allocations guard(0);
    EXPECT_EQ(tessora1d::indices_to_connectE2(chain, c), -199);
    EXPECT_EQ(tessora1d::indices_to_connectE3(chain, c3), -199);
    EXPECT_EQ(tessora1d::split_into_linear(c3, c), -199);
    EXPECT_EQ(entries(c), (U{1, 2}));
    EXPECT_EQ(entries(c3), (U{1, 2, 3}));
}

TEST(ElementConstruction, FlipReversesWholeColumnsAndLinearKeepsTheEnds) {
    dense2D<unsigned> c = columns<unsigned>(4, {1, 2, 3, 4, 5, 6, 7, 8}), one_row(1, 2, 5u);
    EXPECT_EQ(tessora1d::flip(c) + tessora1d::flip(one_row), 0);
    ASSERT_EQ(tessora1d::convert_into_linear(c), 0);
    EXPECT_EQ(entries(c), (U{4, 3, 8, 7}));
    EXPECT_EQ(tessora1d::convert_into_linear(c), -1);
}
