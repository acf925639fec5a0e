// Appends one edge to a 2-row connectivity; shared by the connectivity tools and the meshers.
#pragma once

#include <vx4/math1.h>

namespace vx4 {
namespace tessora1d {
namespace detail {

// Appends the column (a, b) to `connect` (empty or 2 rows), doubling its column capacity when
// full. False, unchanged, when the matrix has another row count or cannot grow.
bool push_back_edge(unsigned a, unsigned b, dense2D<unsigned>& connect);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
