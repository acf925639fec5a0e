// One pass of the polyline meshing core, for callers that build their own fine polyline (the
// spline mesher): metric lengths of the edges, element count, placement of the new nodes. No
// curvature limit, no further passes, no refinement.
#pragma once

#include <vx4/math1.h>

namespace vx4 {
namespace tessora1d {
namespace detail {

// Meshes the polyline `polyline` (columns of `pos`, 2 or 3 rows) with parameters `params` and
// one size (or metric column, 3 or 6 rows) per polyline entry into E elements, E from the
// summed metric length rounded with the even/nmin/nmax rules. Rewrites `new_points` (pos rows x
// E - 1 columns, in order along the line), `new_params` and `new_sizes` / `new_metrics` (E - 1
// entries or columns) with the interior nodes only; the end nodes are the polyline's.
// Returns 0, -199 when an output cannot be sized, or -1 (nothing written) for inputs the pass
// cannot read: a dimension other than 2 or 3, fewer than 2 nodes, a node out of range, or too
// few parameters, sizes or metric columns (metrics of the wrong row count included).
int mesh_line_pass(const dense2D<double>& pos, const dense1D<unsigned>& polyline, const dense1D<double>& params,
                   const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax,
                   dense2D<double>& new_points, dense1D<double>& new_params, dense1D<double>& new_sizes);
int mesh_line_pass(const dense2D<double>& pos, const dense1D<unsigned>& polyline, const dense1D<double>& params,
                   const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax,
                   dense2D<double>& new_points, dense1D<double>& new_params, dense2D<double>& new_metrics);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
