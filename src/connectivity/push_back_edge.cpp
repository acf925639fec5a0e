#include "connectivity/push_back_edge.h"

#include <algorithm>

namespace vx4 {
namespace tessora1d {
namespace detail {

bool push_back_edge(unsigned a, unsigned b, dense2D<unsigned>& connect) {
    if (!connect.empty() && connect.rows() != 2) return false;
    // An empty matrix holds no columns worth keeping, whatever its nominal shape.
    const unsigned p = connect.empty() ? 0u : connect.cols();
    // Doubling keeps a long run of single appends linear; a failed reserve shows up in the resize.
    if (p == connect.column_capacity()) connect.reserve(2, std::max(2 * p, 4u), 1);
    if (!connect.resize(2, p + 1)) return false;
    connect(0, p) = a;
    connect(1, p) = b;
    return true;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
