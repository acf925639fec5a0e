#include <vx4/tessora1d.h>

#include <gtest/gtest.h>

#include "test_support.h"

using vx4::dense2D;
using vx4test::columns;
using reals = vx4::dense1D<double>;
namespace t1d = vx4::tessora1d;

TEST(InterpolateMetrics, SizesAreLinearAndInvalidNeighboursGiveZeroOrRepeatThePreviousMetric) {
    reals out;
    ASSERT_EQ(t1d::interpolate_metrics(reals{0, 0, 1}, reals{4, 1, 3}, reals{0, 0.5, 1}, out), 0);
    const double expected[3] = {4.0, 2.0, 3.0}; // the first parameter >= 0 is node 0: taken alone
    for (unsigned k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(out[k], expected[k]);
    ASSERT_EQ(t1d::interpolate_metrics(reals{0, 1}, reals{0, 3}, reals{0.5, 1}, out), 0);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_EQ(out[1], 3.0);
    // The third metric is not positive definite, so no query inside (1, 2) can be reduced.
    const dense2D<double> field = columns<double>(3, {1, 0, 1, 0.25, 0, 0.25, -1, 0, -1});
    const reals params{0, 1, 2};
    dense2D<double> M;
    ASSERT_EQ(t1d::interpolate_metrics(params, field, reals{0.5, 1.5, 1.7}, M), 0);
    for (unsigned r = 0; r < 3; ++r) EXPECT_EQ(M(r, 2), M(r, 0));
    ASSERT_EQ(t1d::interpolate_metrics(params, field, reals{1.5, 2.0}, M), 0);
    for (unsigned r = 0; r < 3; ++r) EXPECT_EQ(M(r, 0), 0.0);
    EXPECT_EQ(M(0, 1), -1.0);  // the end itself is copied, valid or not
}

TEST(InterpolateMetrics, RejectsBadArgumentsAndLeavesTheOutputEmpty) {
    const reals p{0, 1}, h{1, 1}, half{0.5};
    reals out{7, 7}, fresh;
    for (const reals& params : {reals{0}, reals{1, 0}}) EXPECT_EQ(t1d::interpolate_metrics(params, h, half, out), -1);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(t1d::interpolate_metrics(p, reals{1}, half, out), -2);
    for (const reals& queries : {reals{0.5, 1.5}, reals{-0.5}, reals{0.6, 0.5}})
        EXPECT_EQ(t1d::interpolate_metrics(p, h, queries, out), -3);
    dense2D<double> M(2, 2, 1.0);
    EXPECT_EQ(t1d::interpolate_metrics(p, dense2D<double>(2, 2, 1.0), half, M), -2);
    EXPECT_EQ(M.rows(), 0u);
    EXPECT_EQ(t1d::interpolate_metrics(p, dense2D<double>(3, 3, 1.0), half, M), -2);
    const dense2D<double> field(3, 2, 1.0);
    vx4test::failing_allocations guard(0);
    EXPECT_EQ(t1d::interpolate_metrics(p, h, half, fresh), -199);
    EXPECT_EQ(t1d::interpolate_metrics(p, field, half, M), -199);
    EXPECT_TRUE(M.empty());
}

TEST(InterpolateMetrics, RowCountSelectsEmptyScalarTwoAndThreeDimensionalFields) {
    const reals params{0, 1}, queries{0, 0.5};
    dense2D<double> out;
    ASSERT_EQ(t1d::interpolate_metrics(params, dense2D<double>(0, 2), queries, out), 0);
    EXPECT_TRUE(out.rows() == 0 && out.cols() == 2);
    ASSERT_EQ(t1d::interpolate_metrics(params, columns<double>(1, {1, 3}), queries, out), 0);
    EXPECT_DOUBLE_EQ(out(0, 1), 2.0);
    // Sizes 1 and 2 in every direction meet at size 1.5, not at the entry-wise mean.
    const double m = 1.0 / 2.25, expected[6] = {m, 0, m, 0, 0, m};
    for (const dense2D<double>& field : {columns<double>(3, {1, 0, 1, 0.25, 0, 0.25}),
                                         columns<double>(6, {1, 0, 1, 0, 0, 1, 0.25, 0, 0.25, 0, 0, 0.25})}) {
        ASSERT_EQ(t1d::interpolate_metrics(params, field, queries, out), 0);
        ASSERT_EQ(out.rows(), field.rows());
        EXPECT_EQ(out(0, 0), 1.0);
        for (unsigned r = 0; r < out.rows(); ++r) EXPECT_NEAR(out(r, 1), expected[r], 1e-12) << "row " << r;
    }
}
