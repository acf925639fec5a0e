// Rotation matrix of a rotation vector (axis = direction, angle = length), for the 3-D arc
// extrusion.
#pragma once

#include <vx4/math1.h>

namespace vx4 {
namespace tessora1d {
namespace detail {

// The two Rodrigues factors a = sin(theta) / theta and b = (1 - cos(theta)) / theta^2; by their
// series up to theta = 0.1, where the closed forms lose digits to cancellation.
struct rodrigues_factors {
    double a;
    double b;
};
rodrigues_factors rodrigues_factors_of(double theta);

struct rotation_matrix {
    double m[3][3];
    vector_fixed<double, 3> apply(const vector_fixed<double, 3>& r) const {
        return {{m[0][0] * r[0] + m[0][1] * r[1] + m[0][2] * r[2], m[1][0] * r[0] + m[1][1] * r[1] + m[1][2] * r[2],
                 m[2][0] * r[0] + m[2][1] * r[1] + m[2][2] * r[2]}};
    }
};

// I + a K + b K^2, K the cross-product matrix of w (K r = w x r): the right-handed rotation
// about w by |w| radians.
rotation_matrix rotation_from_vector(const vector_fixed<double, 3>& w);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
