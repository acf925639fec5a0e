#include <vx4/math1.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using vx4::dense1D;
using vx4::dense2D;
using vx4test::failing_allocations;

TEST(Dense1D, CopiesAndSubVectorsShareStorageAndCopyIsDeep) {
    dense1D<double> a{1.0, 2.0, 3.0, 4.0};
    dense1D<double> view = a, deep;
    view[1] = 20.0;
    EXPECT_EQ(a[1], 20.0);
    ASSERT_TRUE(deep.copy(a));
    deep[0] = -1.0;
    EXPECT_EQ(a[0], 1.0);
    EXPECT_EQ(deep.size(), 4u);
    EXPECT_EQ(a.storage()->use_count(), 2);

    // A sub-vector shares the storage and is cut at the end.
    dense1D<double> tail = a.sub_vector(2, 10);
    EXPECT_EQ(tail.size(), 2u);
    tail[0] = 30.0;
    EXPECT_EQ(a[2], 30.0);
    EXPECT_TRUE(a.sub_vector(4, 1).empty());
}

TEST(Dense1D, PushBackDoublesCapacityAndGrowsThroughAView) {
    dense1D<unsigned> a;
    for (unsigned k = 0; k < 1000; ++k) ASSERT_TRUE(a.push_back(k));
    EXPECT_LT(a.capacity(), 2048u);
    EXPECT_EQ(a[999], 999u);

    // Growing a view reallocates the shared block: the original view sees the same entries.
    dense1D<double> base{1.0, 2.0, 3.0, 4.0};
    dense1D<double> head = base.sub_vector(0, 4);
    ASSERT_TRUE(head.reserve(100));
    head[3] = 9.0;
    EXPECT_EQ(base[3], 9.0);
}

TEST(Dense2D, ResizeKeepsTheLeadingEntriesOfEveryColumn) {
    dense2D<unsigned> wide = vx4test::columns<unsigned>(2, {1, 2, 3, 4});
    dense2D<unsigned> tall = vx4test::columns<unsigned>(4, {1, 2, 3, 4, 5, 6, 7, 8});
    ASSERT_TRUE(wide.resize(2, 5, 9u) && tall.resize(2, 2));
    EXPECT_EQ(vx4test::entries(wide), (std::vector<unsigned>{1, 2, 3, 4, 9, 9, 9, 9, 9, 9}));
    EXPECT_EQ(vx4test::entries(tall), (std::vector<unsigned>{1, 2, 5, 6}));
}

TEST(Dense2D, ReserveGuaranteesLaterResizes) {
    dense2D<double> m;
    ASSERT_TRUE(m.reserve(3, 100));
    {
        failing_allocations guard;
        const long refused = vx4::math1::refused_allocations();
        for (unsigned c = 1; c <= 100; ++c) ASSERT_TRUE(m.resize(3, c));
        EXPECT_EQ(vx4::math1::refused_allocations(), refused); // none asked for
        EXPECT_FALSE(m.resize(3, 101));
        EXPECT_GT(vx4::math1::refused_allocations(), refused);
    }
    EXPECT_EQ(m.cols(), 100u);

    // An empty matrix of another row count takes the reserved layout too.
    dense2D<double> e(3, 0);
    ASSERT_TRUE(e.reserve(2, 10));
    failing_allocations guard;
    EXPECT_TRUE(e.resize(2, 0));
    EXPECT_TRUE(e.resize(2, 10));
}

TEST(Dense2D, SubMatrixIsAViewCutAtTheMatrixEdge) {
    dense2D<double> m = vx4test::columns<double>(3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    dense2D<double> block = m.sub_matrix(1, 1, 2, 2);
    EXPECT_EQ(block(0, 0), 5.0);
    block(0, 1) = -8.0;
    EXPECT_EQ(m(1, 2), -8.0);

    // Blocks running past the last row or column are cut: they never reach outside the matrix.
    EXPECT_EQ(vx4test::entries(m.sub_matrix(2, 0, 3, 2)), (std::vector<double>{3, 6}));
    EXPECT_TRUE(m.sub_matrix(3, 0, 3, 2).empty());
    EXPECT_TRUE(m.sub_matrix(0, 3, 1, 1).empty());
}

TEST(Dense2D, AsVectorAndShallowCopyAreViewsInStorageOrderAndCopyIsDeep) {
    dense2D<double> m = vx4test::columns<double>(2, {1, 2, 3, 4});
    dense2D<double> deep, shallow;
    ASSERT_TRUE(deep.copy(m));
    shallow.shallow_copy(m);
    dense1D<double> v = m.as_vector();
    ASSERT_EQ(v.size(), 4u);
    EXPECT_EQ(v[2], 3.0);
    v[3] = 40.0;
    EXPECT_EQ(m(1, 1), 40.0);
    EXPECT_EQ(shallow(1, 1), 40.0);
    EXPECT_EQ(deep(1, 1), 4.0);
    shallow.clear();
    EXPECT_EQ(shallow.rows() + shallow.cols() + shallow.ld() + shallow.size(), 0u);
}

TEST(Containers, FailedAllocationsLeaveVectorsAndMatricesAsTheyWereAndUsable) {
    dense1D<double> a{1.0, 2.0, 3.0, 4.0}, other;
    dense2D<double> m = vx4test::columns<double>(2, {1, 2, 3, 4}), other2;
    {
        failing_allocations guard;
        EXPECT_FALSE(a.push_back(5.0));
        EXPECT_FALSE(a.resize(100));
        EXPECT_FALSE(a.reserve(100));
        EXPECT_FALSE(a.push_back_n(0.0, 10));
        EXPECT_FALSE(other.copy(a));
        EXPECT_FALSE(m.resize(2, 50));
        EXPECT_FALSE(m.resize(3, 3));
        EXPECT_FALSE(m.reserve(2, 50));
        EXPECT_FALSE(other2.copy(m));
    }
    EXPECT_TRUE(other.empty() && other2.empty());
    EXPECT_TRUE(a.size() == 4 && a[3] == 4.0);
    EXPECT_TRUE(m.cols() == 2 && m(1, 1) == 4.0);
    EXPECT_TRUE(a.push_back(5.0));
}

TEST(Dense2D, GrowingColumnsKeepsEveryViewOnTheMovedBlock) {
    // A matrix large enough for the system allocator to remap rather than copy, with views taken
    // before it grows: they read and write the same entries afterwards, wherever the data went.
    const unsigned cols = 1u << 18;
    dense2D<double> m(2, cols);
    for (unsigned j = 0; j < cols; ++j) m(0, j) = j, m(1, j) = -static_cast<double>(j);
    const dense2D<double> tail = m.sub_matrix(0, cols - 2, 2, 2);
    dense1D<double> all = m.as_vector();
    const auto* block = m.storage().get();
    ASSERT_TRUE(m.resize(2, cols + 3, 7.0));
    EXPECT_EQ(m.storage().get(), block);
    EXPECT_EQ(tail(0, 1), cols - 1.0);
    all[1] = 42.0;
    EXPECT_EQ(m(1, 0), 42.0);
    EXPECT_EQ(m(1, cols - 1), 1.0 - cols);
    EXPECT_EQ(m(0, cols + 2), 7.0);

    // A refused growth leaves the block, its entries and the views as they were.
    {
        failing_allocations guard;
        EXPECT_FALSE(m.reserve(2, 2 * cols));
    }
    EXPECT_EQ(tail.data(), &m(0, cols - 2));
    EXPECT_EQ(all[2 * cols - 1], 1.0 - cols);
}

#if defined(__linux__)
// Whether the bytes [p, p + bytes) lie in one mapping of this process (/proc/self/smaps) and
// whether that mapping asks for huge pages (flag "hg"); `inside` false when no mapping holds p.
struct mapping_check {
    bool inside = false, huge = false;
};

static mapping_check mapping_of(const void* p, std::size_t bytes) {
    std::ifstream smaps("/proc/self/smaps");
    const unsigned long long at = reinterpret_cast<std::uintptr_t>(p);
    mapping_check found;
    bool holds = false;
    for (std::string line; std::getline(smaps, line);) {
        unsigned long long lo = 0, hi = 0;
        char dash = 0;
        if (holds && line.compare(0, 8, "VmFlags:") == 0) return {found.inside, line.find(" hg") != std::string::npos};
        if (std::istringstream(line) >> std::hex >> lo >> dash >> hi && dash == '-' && lo <= at && at < hi)
            holds = true, found.inside = at + bytes <= hi;
    }
    return {};
}

TEST(Storage, BlocksOfMillionsOfNodesAskForHugePagesLittleOnesDoNot) {
    if (std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled").fail())
        GTEST_SKIP() << "this kernel has no transparent huge pages";
    // 8 MiB: above the threshold, with the advice over the whole block, so that the block stays
    // one mapping, which the remapping that grows it can move.
    dense1D<double> fresh(1u << 20);
    mapping_check m = mapping_of(fresh.data(), fresh.size() * sizeof(double));
    EXPECT_TRUE(m.inside && m.huge);
    // Grown from a little block, then grown again by remapping.
    dense2D<double> grown(2, 16);
    for (unsigned cols : {1u << 19, 3u << 19}) {
        ASSERT_TRUE(grown.reserve(2, cols));
        m = mapping_of(grown.data(), grown.column_capacity() * 2 * sizeof(double));
        EXPECT_TRUE(m.inside && m.huge) << cols;
    }
    // 1 MiB: below it, whatever the allocator does with it.
    dense1D<double> little(1u << 17);
    EXPECT_FALSE(mapping_of(little.data(), 8).huge);
}
#endif
