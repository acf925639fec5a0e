// Small kernels on points, vectors and packed symmetric matrices of 2 or 3 doubles, shared by
// every subsystem so that each is written once. Each keeps one fixed order of operations: the
// callers' results depend on it to the last bit.
#pragma once

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

// The largest unsigned, which the library reads as no bound on counts and indices; also the
// ceiling of every count that must fit the containers' 32-bit sizes.
constexpr unsigned largest_unsigned = 4294967295u;

// u . v over D components, summed from the first.
template <unsigned D>
inline double dot(const double* u, const double* v) {
    double s = 0.0;
    for (unsigned i = 0; i < D; ++i) s += u[i] * v[i];
    return s;
}

// The scalar cross product of the plane, u.x v.y - u.y v.x.
inline double cross_2d(const double* u, const double* v) { return u[0] * v[1] - u[1] * v[0]; }

// w = u x v (w must not alias u or v).
inline void cross_3d(const double* u, const double* v, double* w) {
    w[0] = u[1] * v[2] - u[2] * v[1];
    w[1] = u[2] * v[0] - u[0] * v[2];
    w[2] = u[0] * v[1] - u[1] * v[0];
}

// |u x v|^2: the scalar cross product squared in the plane, the vector's squared norm in space.
template <unsigned D>
inline double cross_norm_sq(const double* u, const double* v) {
    if constexpr (D == 2) {
        const double c = cross_2d(u, v);
        return c * c;
    } else {
        double c[3];
        cross_3d(u, v, c);
        return c[0] * c[0] + c[1] * c[1] + c[2] * c[2];
    }
}

// v^T M v for M packed by column (m00, m01, m11 in the plane; m00, m01, m11, m02, m12, m22 in space).
template <unsigned D>
inline double quadratic_form(const double* M, const double* v) {
    if constexpr (D == 2) {
        return M[0] * v[0] * v[0] + 2.0 * M[1] * v[0] * v[1] + M[2] * v[1] * v[1];
    } else {
        return M[0] * v[0] * v[0] + M[2] * v[1] * v[1] + M[5] * v[2] * v[2] +
               2.0 * (M[1] * v[0] * v[1] + M[3] * v[0] * v[2] + M[4] * v[1] * v[2]);
    }
}

// Distance from p to the line through a and b, |e x (p - a)| / |e| with e = b - a, in space (a
// plane point has a zero third coordinate); the cross product undivided when a = b.
template <unsigned D>
inline double distance_to_line(const double* a, const double* b, const double* p) {
    double e[3] = {0.0, 0.0, 0.0}, w[3] = {0.0, 0.0, 0.0};
    for (unsigned r = 0; r < D; ++r) {
        e[r] = b[r] - a[r];
        w[r] = p[r] - a[r];
    }
    const double cross = std::sqrt(cross_norm_sq<3>(e, w));
    const double len = std::sqrt(e[0] * e[0] + e[1] * e[1] + e[2] * e[2]);
    return len != 0.0 ? cross / len : cross;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
