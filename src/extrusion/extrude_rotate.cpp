#include <vx4/tessora1d.h>

#include "extrusion/rotation_from_vector.h"
#include "geometry/kernels.h"
#include "extrusion/sweep.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// The arc swept by the offset R of the start node from the centre (2-D) or axis point (3-D).
// `turn` is the angle in 2-D and the rotation vector in 3-D.
template <unsigned D>
struct arc_path;

template <>
struct arc_path<2> {
    using turn_type = double;
    vector_fixed<double, 2> C;
    vector_fixed<double, 2> R;
    double angle;

    double length() const { return std::fabs(angle) * std::sqrt(R[0] * R[0] + R[1] * R[1]); }
    vector_fixed<double, 2> point(double t) const {
        const double theta = t * angle;
        const double c = std::cos(theta), s = std::sin(theta);
        return {{C[0] + R[0] * c - R[1] * s, C[1] + R[0] * s + R[1] * c}};
    }
};

template <>
struct arc_path<3> {
    using turn_type = vector_fixed<double, 3>;
    vector_fixed<double, 3> C;
    vector_fixed<double, 3> R;
    vector_fixed<double, 3> W;

    // |W x R|: the angle times the distance of the start node from the axis.
    double length() const {
        return std::sqrt(cross_norm_sq<3>(W.v, R.v));
    }
    vector_fixed<double, 3> point(double t) const {
        const vector_fixed<double, 3> r = rotation_from_vector({{t * W[0], t * W[1], t * W[2]}}).apply(R);
        return {{C[0] + r[0], C[1] + r[1], C[2] + r[2]}};
    }
};

template <unsigned D>
using turn_t = typename arc_path<D>::turn_type;

template <unsigned D>
int extrude_rotate_worker(dense2D<double>& coords, unsigned j, const vector_fixed<double, D>& C,
                          const turn_t<D>& turn, double h0, double h1, unsigned n, bool even,
                          dense1D<unsigned>& indices) {
    if (const int code = check_start_node<D>(coords, j)) return code;
    const vector_fixed<double, D> P = column_point<D>(coords, j);
    arc_path<D> path{C, {}, turn};
    for (unsigned k = 0; k < D; ++k) path.R[k] = P[k] - C[k];
    // The sizes sit at positions 5 and 6 of every size overload, after the angle or vector.
    return sweep_nodes<D>(coords, j, path, path.length(), sweep_count{h0, h1, n, even}, -5, indices);
}

template <unsigned D>
int rotate_from_node(dense2D<double>& coords, unsigned start, const vector_fixed<double, D>& C, const turn_t<D>& turn,
                     unsigned n, dense1D<unsigned>& indices) {
    if (n == 0) return 0;
    return extrude_rotate_worker<D>(coords, start, C, turn, 0.0, 0.0, n, false, indices);
}

template <unsigned D>
int rotate_from_point(dense2D<double>& coords, const vector_fixed<double, D>& start, const vector_fixed<double, D>& C,
                      const turn_t<D>& turn, unsigned n, dense1D<unsigned>& indices) {
    if (n == 0) return 0;
    return sweep_from_point<D>(coords, start, n, [&](unsigned j) {
        return extrude_rotate_worker<D>(coords, j, C, turn, 0.0, 0.0, n, false, indices);
    });
}

template <unsigned D>
int rotate_graded_from_point(dense2D<double>& coords, const vector_fixed<double, D>& start,
                             const vector_fixed<double, D>& C, const turn_t<D>& turn, double h0, double h1, bool even,
                             dense1D<unsigned>& indices) {
    return sweep_from_point<D>(coords, start, 0u, [&](unsigned j) {
        return extrude_rotate_worker<D>(coords, j, C, turn, h0, h1, 0u, even, indices);
    });
}

} // namespace

} // namespace detail

int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 2>& start, const vector_fixed<double, 2>& C,
                   double angle, unsigned n, dense1D<unsigned>& indices) {
    return detail::rotate_from_point<2>(coords, start, C, angle, n, indices);
}

int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 2>& start, const vector_fixed<double, 2>& C,
                   double angle, double h0, double h1, bool even, dense1D<unsigned>& indices) {
    return detail::rotate_graded_from_point<2>(coords, start, C, angle, h0, h1, even, indices);
}

int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 3>& start, const vector_fixed<double, 3>& C,
                   const vector_fixed<double, 3>& W, unsigned n, dense1D<unsigned>& indices) {
    return detail::rotate_from_point<3>(coords, start, C, W, n, indices);
}

int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 3>& start, const vector_fixed<double, 3>& C,
                   const vector_fixed<double, 3>& W, double h0, double h1, bool even, dense1D<unsigned>& indices) {
    return detail::rotate_graded_from_point<3>(coords, start, C, W, h0, h1, even, indices);
}

int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& C, double angle,
                   unsigned n, dense1D<unsigned>& indices) {
    return detail::rotate_from_node<2>(coords, start, C, angle, n, indices);
}

int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& C, double angle, double h0,
                   double h1, bool even, dense1D<unsigned>& indices) {
    return detail::extrude_rotate_worker<2>(coords, start, C, angle, h0, h1, 0u, even, indices);
}

int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& C,
                   const vector_fixed<double, 3>& W, unsigned n, dense1D<unsigned>& indices) {
    return detail::rotate_from_node<3>(coords, start, C, W, n, indices);
}

int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& C,
                   const vector_fixed<double, 3>& W, double h0, double h1, bool even, dense1D<unsigned>& indices) {
    return detail::extrude_rotate_worker<3>(coords, start, C, W, h0, h1, 0u, even, indices);
}

} // namespace tessora1d
} // namespace vx4
