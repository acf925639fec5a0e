#include "metrics/orthonormal_frame.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// Divides by the length only when that changes something, so unit and zero vectors stay exact.
void normalize_unless_zero_or_unit(double v[3]) {
    const double sq = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
    if (sq == 0.0 || sq == 1.0) return;
    const double len = std::sqrt(sq);
    for (int k = 0; k < 3; ++k) v[k] /= len;
}

} // namespace

void orthonormal_frame_3d(const double u_in[3], const double hint_in[3], double c1[3], double c2[3]) {
    double u[3] = {u_in[0], u_in[1], u_in[2]};
    if (u[0] == 0.0 && u[1] == 0.0 && u[2] == 0.0) u[0] = 1.0;
    normalize_unless_zero_or_unit(u);

    cross_3d(u, hint_in, c2);
    if (c2[0] == 0.0 && c2[1] == 0.0 && c2[2] == 0.0) {
        // The axis least aligned with u is never parallel to it (first axis on a tie).
        unsigned k = 0;
        if (std::fabs(u[1]) < std::fabs(u[k])) k = 1;
        if (std::fabs(u[2]) < std::fabs(u[k])) k = 2;
        double axis[3] = {0.0, 0.0, 0.0};
        axis[k] = 1.0;
        cross_3d(u, axis, c2);
    }
    normalize_unless_zero_or_unit(c2);
    cross_3d(c2, u, c1);
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
