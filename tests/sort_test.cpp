#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using vx4::dense1D;
using vx4::tessora1d::sort;

template <class T>
static std::vector<T> entries(const dense1D<T>& v) { return std::vector<T>(v.begin(), v.end()); }

TEST(Sort, OrdersTheViewedValuesWithTheirIdentifiersOrRefuses) {
    dense1D<double> all{9.0, 0.5, 0.1, 0.3, -0.0, 0.0, 0.1, 9.0};
    dense1D<unsigned> id{7, 8, 9, 4, 3, 2}, no_ids, ids21{2, 1};
    dense1D<double> v = all.sub_vector(1, 6), none, v21{2.0, 1.0};
    ASSERT_EQ(sort(v, id), 0);
    EXPECT_EQ(entries(all), (std::vector<double>{9.0, 0.0, 0.0, 0.1, 0.1, 0.3, 0.5, 9.0}));
    EXPECT_EQ(entries(id), (std::vector<unsigned>{3, 4, 2, 8, 9, 7})); // ties, -0.0 == 0.0 too, by identifier
    EXPECT_EQ(sort(none, no_ids), 0);
    EXPECT_EQ(sort(all, id), -1);
    vx4test::failing_allocations guard(0); // the work array cannot be had: lists kept
    EXPECT_EQ(sort(v21, ids21), -199);
    EXPECT_TRUE(v21[0] == 2.0 && ids21[0] == 2u);
}

TEST(Sort, NaNGoesLastWithoutDisturbingTheNumbers) {
    // A NaN that compares equal to every number would leave this list as it is.
    dense1D<double> v{1.0, 3.0, std::nan(""), 2.0};
    dense1D<unsigned> id{0, 1, 2, 3};
    ASSERT_EQ(sort(v, id), 0);
    EXPECT_TRUE(v[0] == 1.0 && v[1] == 2.0 && v[2] == 3.0 && std::isnan(v[3]));
    EXPECT_EQ(entries(id), (std::vector<unsigned>{0, 3, 1, 2}));
}
