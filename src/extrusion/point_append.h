// Appending points to a coordinate matrix and viewing one of its columns; shared by the
// extrusions, the high-order conversion and the straight and spline meshers.
#pragma once

#include <vx4/math1.h>

namespace vx4 {
namespace tessora1d {
namespace detail {

// Appends the point as a new column of `coords` (empty or 2, resp. 3, rows), doubling the
// column capacity when full. False, unchanged, for another row count or when it cannot grow.
bool push_back_point2d(dense2D<double>& coords, const vector_fixed<double, 2>& point);
bool push_back_point3d(dense2D<double>& coords, const vector_fixed<double, 3>& point);

// A writable view of one column: its first entry, its length (the row count), and the
// matrix's leading dimension and column count.
struct column_span {
    double* first;
    unsigned length;
    unsigned ld;
    unsigned cols;
    double& operator[](unsigned i) const { return first[i]; }
};
column_span column_view(dense2D<double>& coords, unsigned j);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
