#include <vx4/tessora1d.h>

#include <gtest/gtest.h>

#include <cmath>

#include "test_support.h"

using vx4::dense2D;
using vx4test::columns;
using ids = vx4::dense1D<unsigned>;
namespace t1d = vx4::tessora1d;

namespace {

void expect_column(const dense2D<double>& M, unsigned j, std::initializer_list<double> expected) {
    unsigned r = 0;
    for (double v : expected) {
        EXPECT_NEAR(M(r, j), v, 1e-12 * (1.0 + std::fabs(v))) << "row " << r << ", column " << j;
        ++r;
    }
}

} // namespace

TEST(MetricsGenAniso2d, DirectionFieldIntersectsIntoAGrowingField) {
    dense2D<double> M;
    ASSERT_EQ(t1d::metrics_gen_aniso2d(columns<double>(2, {1, 0}), ids{0}, 2.0, 0.5, M), 0);
    ASSERT_EQ(M.rows() * M.cols(), 3u);
    expect_column(M, 0, {0.25, 0, 4});
    // Sizes 2 along y and 0.5 across: the finer size wins both ways; node 1 adds a column.
    ASSERT_EQ(t1d::metrics_gen_aniso2d(columns<double>(2, {0, 1, 1, 0}), ids{0, 1}, 2.0, 0.5, M), 0);
    ASSERT_EQ(M.cols(), 2u);
    expect_column(M, 0, {4, 0, 4});
    expect_column(M, 1, {0.25, 0, 4});
}

TEST(MetricsGenAniso2d, EdgeMetricFollowsTheCrossSizeRule) {
    // One edge of length 2 along x (a third row is ignored): r = 0 isotropic, r > 0 absolute,
    // r < 0 relative to the length; a zero-length edge constrains nothing.
    const dense2D<double> X = columns<double>(3, {0, 0, 7, 2, 0, -7});
    const double r_values[3] = {0.0, 0.5, -0.5}, cross[3] = {0.25, 4.0, 1.0};
    for (int k = 0; k < 3; ++k) {
        dense2D<double> M;
        ASSERT_EQ(t1d::metrics_gen_aniso2d(X, columns<unsigned>(2, {0, 1, 1, 1}), r_values[k], M), 0);
        for (unsigned j : {0u, 1u}) expect_column(M, j, {0.25, 0, cross[k]});
    }
}

TEST(MetricsGenAniso2d, ChecksArgumentsBeforeTouchingTheField) {
    const dense2D<double> dirs(2, 2, 1.0);
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1});
    dense2D<double> M(3, 1, 9.0), wrong(6, 1, 9.0);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dense2D<double>(3, 2, 1.0), ids{1}, 1.0, 1.0, M), -1);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, ids{2}, 1.0, 1.0, M), -2);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, ids{1}, 0.0, 1.0, M), -3);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, ids{1}, 1.0, -1.0, M), -4);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, ids{1}, 1.0, 1.0, wrong), -5);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, columns<unsigned>(2, {0, 2}), 0.0, M), -2);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, E, 0.0, wrong), -4);
    EXPECT_TRUE(M.cols() == 1 && M(0, 0) == 9.0);
    const ids node{1};
    vx4test::failing_allocations guard(0);
    EXPECT_EQ(t1d::metrics_gen_aniso2d(dirs, node, 1.0, 1.0, M), -199);
}

TEST(MetricsGenAniso3d, OneCrossSizeIsTransverselyIsotropicAndTwoFollowThePlaneOfBending) {
    // An edge of length 2 along z with cross size 0.5: size 2 along it, 0.5 in both cross directions.
    // (0,0,0) -> (1,0,0) -> (1,1,0) bends in the xy plane at node 1; r1 = 0.1 in it, r2 = 0.5 out.
    // Free ends and a straight continuation see no bend: the larger size both ways.
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1, 1, 2});
    const dense2D<double> bent = columns<double>(3, {0, 0, 0, 1, 0, 0, 1, 1, 0});
    dense2D<double> V, M, S, wrong(3, 2, 0.0);
    ASSERT_EQ(t1d::metrics_gen_aniso3d(columns<double>(3, {0, 0, 0, 0, 0, 2}), E.sub_matrix(0, 0, 2, 1), 0.5, V), 0);
    for (unsigned j : {0u, 1u}) expect_column(V, j, {4, 0, 4, 0, 0, 0.25});
    EXPECT_EQ(t1d::metrics_gen_aniso3d(dense2D<double>(2, 3, 0.0), E, 0.5, M), -1);
    EXPECT_EQ(t1d::metrics_gen_aniso3d(bent, E, 0.5, wrong), -4);
    ASSERT_EQ(t1d::metrics_gen_aniso3d(bent, E, 0.1, 0.5, M), 0);
    ASSERT_EQ(t1d::metrics_gen_aniso3d(columns<double>(3, {0, 0, 0, 1, 0, 0, 3, 0, 0}), E, 0.1, 0.5, S), 0);
    ASSERT_EQ(M.cols(), 3u);
    expect_column(M, 0, {1, 0, 4, 0, 0, 4});
    expect_column(M, 2, {4, 0, 1, 0, 0, 4});
    expect_column(M, 1, {100, 0, 100, 0, 0, 4});
    expect_column(S, 1, {1, 0, 4, 0, 0, 4});
    for (long n = 0, code = -199; code != 0 && n < 32; ++n) { // each allocation (adjacency, then field) fails
        dense2D<double> F;
        vx4test::failing_allocations guard(n);
        code = t1d::metrics_gen_aniso3d(bent, E, 0.1, 0.5, F);
        EXPECT_TRUE(code == 0 || (code == -199 && F.empty())) << code;
    }
}
