// The cubic segment of the smooth curve through a node chain, shared by spline evaluation and
// spline meshing so that both see exactly the same curve.
#pragma once

#include <vx4/math1.h>

#include "geometry/kernels.h"

namespace vx4 {
namespace tessora1d {
namespace detail {

// p(t) = a0 + a1 t + a2 t^2 + a3 t^3 for t in [0, 1], from P1 (t = 0) to P2 (t = 1); L2 is the
// squared chord length |P2 - P1|^2.
template <unsigned D>
struct spline_segment {
    double a0[D];
    double a1[D];
    double a2[D];
    double a3[D];
    double L2;
};

// Coefficients of the segment P1 -> P2 whose end tangents come from the neighbours P0 and P3
// (pass P0 = P1 or P3 = P2 for an end without neighbour). The indices are not checked.
template <unsigned D>
void spline_coefficients(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3,
                         spline_segment<D>& segment);

// Curvature |p' x p''| / |p'|^3 at t; the largest finite double where the speed is 0.
template <unsigned D>
double spline_curvature(const spline_segment<D>& segment, double t);

// Component i of p(t) in Horner form, so that t = 0 gives P1 exactly.
template <unsigned D>
inline double spline_coordinate(const spline_segment<D>& segment, unsigned i, double t) {
    return ((segment.a3[i] * t + segment.a2[i]) * t + segment.a1[i]) * t + segment.a0[i];
}

// |p'(t)|.
template <unsigned D>
double spline_speed(const spline_segment<D>& segment, double t);

// Arc length of p over [t0, t1] by 4-point Gauss-Legendre quadrature; 0 for an empty interval.
template <unsigned D>
double spline_arc_length(const spline_segment<D>& segment, double t0, double t1);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
