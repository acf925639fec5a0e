// Two unit vectors completing a direction to a right-handed orthonormal frame in space.
#pragma once

#include "geometry/kernels.h"

namespace vx4 {
namespace tessora1d {
namespace detail {

// c1 and c2 unit and orthogonal to u (normalised here; a zero u stands for the x axis), with
// c2 = u x hint / |u x hint| and c1 = c2 x u. A zero hint, or one parallel to u, is replaced
// by the coordinate axis along u's smallest component, so the frame is then arbitrary but
// always defined.
void orthonormal_frame_3d(const double u[3], const double hint[3], double c1[3], double c2[3]);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
