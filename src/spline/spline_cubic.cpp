#include "spline/spline_cubic.h"

#include <cmath>
#include <limits>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// One factor for the three tests of the segment (tangent acceptance and stall): a direction
// counts as leading forward when its projection on the chord exceeds this fraction of L2.
constexpr double forward_fraction = 0.0001;

// Candidate tangent `t` (already holding Pb - Pa): accepted when it leads forward along the
// chord d, and then given the chord's length.
template <unsigned D>
bool accept_tangent(double* t, const double* d, double L2) {
    if (!(dot<D>(t, d) > forward_fraction * L2)) return false;
    const double scale = std::sqrt(L2 / dot<D>(t, t));
    for (unsigned i = 0; i < D; ++i) t[i] *= scale;
    return true;
}

template <unsigned D>
void make_straight_chord(spline_segment<D>& s, const double* d) {
    for (unsigned i = 0; i < D; ++i) {
        s.a1[i] = d[i];
        s.a2[i] = 0.0;
        s.a3[i] = 0.0;
    }
}

// The velocity's projection on the chord, a1.d + 2 s t + 3 u t^2, must not come close to 0
// inside the segment, or the cubic would stall or run backwards.
template <unsigned D>
bool cubic_stalls(const spline_segment<D>& s, const double* d) {
    const double sd = dot<D>(s.a2, d);
    const double ud = dot<D>(s.a3, d);
    if (!(ud > 0.0)) return false;
    const double tm = sd / (-3.0 * ud);
    if (!(tm > 0.0 && tm < 1.0)) return false;
    return forward_fraction * s.L2 > dot<D>(s.a1, d) + tm * sd;
}

// p' x p'' = 2 k with k = a1 x a2 + 3t (a1 x a3 + t a2 x a3); w = |p'|^2. In the plane the
// cross product is a scalar, in space a vector taken by its norm.
double curvature_from_cross(const spline_segment<2>& s, double t, double w) {
    const double sw = std::sqrt(w);
    if (sw == 0.0) return std::numeric_limits<double>::max();
    const double k = cross_2d(s.a1, s.a2) + 3.0 * t * (cross_2d(s.a1, s.a3) + t * cross_2d(s.a2, s.a3));
    return 2.0 * std::fabs(k) / (sw * w);
}

double curvature_from_cross(const spline_segment<3>& s, double t, double w) {
    if (w == 0.0) return std::numeric_limits<double>::max();
    double c12[3], c13[3], c23[3], k[3];
    cross_3d(s.a1, s.a2, c12);
    cross_3d(s.a1, s.a3, c13);
    cross_3d(s.a2, s.a3, c23);
    for (unsigned i = 0; i < 3; ++i) k[i] = c12[i] + 3.0 * t * (c13[i] + t * c23[i]);
    return 2.0 * std::sqrt(dot<3>(k, k) / w) / w;
}

template <unsigned D>
void velocity(const spline_segment<D>& s, double t, double* v) {
    for (unsigned i = 0; i < D; ++i) v[i] = s.a1[i] + 2.0 * s.a2[i] * t + 3.0 * s.a3[i] * t * t;
}

} // namespace

template <unsigned D>
void spline_coefficients(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3,
                         spline_segment<D>& s) {
    double d[D], T0[D], T1[D];
    for (unsigned i = 0; i < D; ++i) {
        d[i] = coords(i, P2) - coords(i, P1);
        T0[i] = coords(i, P2) - coords(i, P0);
        T1[i] = coords(i, P3) - coords(i, P1);
        s.a0[i] = coords(i, P1);
    }
    s.L2 = dot<D>(d, d);
    const bool start = accept_tangent<D>(T0, d, s.L2);
    const bool end = accept_tangent<D>(T1, d, s.L2);

    if (start && end) {
        // Written as differences from the chord so that tangents equal to d give exact zeros.
        for (unsigned i = 0; i < D; ++i) {
            s.a1[i] = T0[i];
            s.a2[i] = 2.0 * (d[i] - T0[i]) + (d[i] - T1[i]);
            s.a3[i] = (T0[i] - d[i]) + (T1[i] - d[i]);
        }
        if (cubic_stalls<D>(s, d)) make_straight_chord<D>(s, d);
    } else if (start) {
        for (unsigned i = 0; i < D; ++i) {
            s.a1[i] = T0[i];
            s.a2[i] = d[i] - T0[i];
            s.a3[i] = 0.0;
        }
    } else if (end) {
        for (unsigned i = 0; i < D; ++i) {
            s.a1[i] = 2.0 * d[i] - T1[i];
            s.a2[i] = T1[i] - d[i];
            s.a3[i] = 0.0;
        }
    } else {
        make_straight_chord<D>(s, d);
    }
}

template <unsigned D>
double spline_curvature(const spline_segment<D>& s, double t) {
    double v[D];
    velocity<D>(s, t, v);
    return curvature_from_cross(s, t, dot<D>(v, v));
}

template <unsigned D>
double spline_speed(const spline_segment<D>& s, double t) {
    double v[D];
    velocity<D>(s, t, v);
    return std::sqrt(dot<D>(v, v));
}

template <unsigned D>
double spline_arc_length(const spline_segment<D>& s, double t0, double t1) {
    if (!(t1 > t0)) return 0.0;
    const double x1 = 0.339981043584856, w1 = 0.652145154862546;
    const double x2 = 0.861136311594053, w2 = 0.347854845137454;
    const double half = 0.5 * (t1 - t0), mid = 0.5 * (t0 + t1);
    const double inner = spline_speed<D>(s, mid - x1 * half) + spline_speed<D>(s, mid + x1 * half);
    const double outer = spline_speed<D>(s, mid - x2 * half) + spline_speed<D>(s, mid + x2 * half);
    return half * (w1 * inner + w2 * outer);
}

template void spline_coefficients<2>(const dense2D<double>&, unsigned, unsigned, unsigned, unsigned,
                                     spline_segment<2>&);
template void spline_coefficients<3>(const dense2D<double>&, unsigned, unsigned, unsigned, unsigned,
                                     spline_segment<3>&);
template double spline_curvature<2>(const spline_segment<2>&, double);
template double spline_curvature<3>(const spline_segment<3>&, double);
template double spline_speed<2>(const spline_segment<2>&, double);
template double spline_speed<3>(const spline_segment<3>&, double);
template double spline_arc_length<2>(const spline_segment<2>&, double, double);
template double spline_arc_length<3>(const spline_segment<3>&, double, double);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
