#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

using vx4::dense2D;
using vx4::tessora1d::mesh_reorient;

// A connectivity from its columns, with the neighbours that get_neighbors gives it.
struct mesh {
    dense2D<unsigned> c, n;
    explicit mesh(std::initializer_list<unsigned> e2) : c(vx4test::columns<unsigned>(2, e2)) {
        vx4::tessora::get_neighbors(c, vx4::edge2, false, n);
    }
    bool consistent() const { // every edge ends where its neighbour across the end starts
        for (unsigned e = 0; e < c.cols(); ++e) if (n(0, e) < c.cols() && c(1, e) != c(0, n(0, e))) return false;
        return true;
    }
};

TEST(MeshReorient, OrientsChainsAndLoopsFromTheStartElementAndFurtherComponentsOnlyWhenAllIsSet) {
    mesh from0{0, 1, 2, 1, 2, 3}, from1{0, 1, 2, 1, 2, 3}, loop{0, 1, 2, 1, 2, 3, 0, 3};
    EXPECT_EQ(mesh_reorient(from0.c, from0.n, 0, 0), 1);
    EXPECT_EQ(mesh_reorient(from1.c, from1.n, 1, 0), 2);
    EXPECT_EQ(from1.c(0, 1), 2u); // the start element keeps its way
    EXPECT_EQ(mesh_reorient(loop.c, loop.n, 0, 1), 2);
    EXPECT_EQ(mesh_reorient(loop.c, loop.n, 2, 1), 0);
    mesh two{0, 1, 2, 1, 5, 6, 7, 6};
    EXPECT_EQ(mesh_reorient(two.c, two.n, 0, 0), 1);
    EXPECT_EQ(two.c(0, 3), 7u);
    EXPECT_EQ(mesh_reorient(two.c, two.n, 0, 1), 1);
    EXPECT_TRUE(from0.consistent() && from1.consistent() && loop.consistent() && two.consistent());
}

TEST(MeshReorient, RefusesBadInputAndMismatchedNeighbours) {
    mesh m{0, 1, 2, 1}, wrong{0, 1, 5, 6};
    dense2D<unsigned> empty, one_row(1, 2, 0u), short_n(2, 1, 1u);
    EXPECT_EQ(mesh_reorient(empty, empty, 5, 0), 0);
    EXPECT_EQ(mesh_reorient(one_row, one_row, 0, 0), -1);
    EXPECT_EQ(mesh_reorient(m.c, short_n, 0, 0), -2);
    EXPECT_EQ(mesh_reorient(m.c, m.n, 2, 0), -3);
    wrong.n(0, 0) = 1; // a neighbour that shares no node
    EXPECT_LT(mesh_reorient(wrong.c, wrong.n, 0, 1), 0);
    vx4test::failing_allocations guard(0); // no room for the walk: nothing done
    EXPECT_EQ(mesh_reorient(m.c, m.n, 0, 1), 0);
    EXPECT_EQ(m.c(0, 1), 2u);
}

TEST(MeshReorient, NoneMarkerAsANodeIndexIsRefusedAndNothingTurned) {
    // Without a node count every index must still lie below the no-bound value, which is the
    // neighbour matrices' "none" marker and never a node.
    mesh m{0, 1, 2, 1};
    m.c(1, 1) = 4294967295u;
    const auto before = vx4test::entries(m.c);
    EXPECT_EQ(mesh_reorient(m.c, m.n, 0, 1), -1);
    EXPECT_EQ(vx4test::entries(m.c), before);
    m.c(1, 1) = 4294967294u; // the largest index that can name a node passes the check
    EXPECT_NE(mesh_reorient(m.c, m.n, 0, 1), -1);
}
