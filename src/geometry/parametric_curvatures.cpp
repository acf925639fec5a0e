#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "geometry/kernels.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {

namespace {

// Column j of a 2- or 3-row matrix as a 3-vector, the third component 0 in the plane.
void load_vector(const dense2D<double>& T, unsigned j, double v[3]) {
    v[2] = 0.0;
    for (unsigned r = 0; r < T.rows(); ++r) v[r] = T(r, j);
}

// Curvature numerator of one edge: 4 |s x d| / |s|^3 with s the sum and d the difference of
// the end derivatives; with s / 2 the mean first derivative and d / span the second derivative
// this is |r' x r''| / |r'|^3 once divided by the span. False when the mean derivative
// vanishes: the edge then has no curvature and does not count at its nodes.
bool edge_curvature_times_span(const double Ta[3], const double Tb[3], double& k) {
    double s[3], d[3];
    for (int c = 0; c < 3; ++c) {
        s[c] = Ta[c] + Tb[c];
        d[c] = Tb[c] - Ta[c];
    }
    const double S = s[0] * s[0] + s[1] * s[1] + s[2] * s[2];
    if (S == 0.0) return false;
    k = 4.0 * std::sqrt(detail::cross_norm_sq<3>(s, d) / (S * S * S));
    return true;
}

} // namespace

int parametric_curvatures(const dense1D<double>& params, const dense2D<unsigned>& connectE2,
                          const dense2D<double>& derivs, dense1D<double>& curv) {
    curv.resize(0);
    if (connectE2.empty()) return 0;
    const unsigned n = params.size();
    if (!tessora::check_IDs(connectE2, edge2, n)) return -2;
    if ((derivs.rows() != 2 && derivs.rows() != 3) || derivs.cols() != n) return -3;
    dense1D<double> span;
    if (!curv.resize(n, 0.0) || !span.resize(n, 0.0)) {
        curv.resize(0);
        return -199;
    }

    const unsigned E = connectE2.cols();
    for (unsigned e = 0; e < E; ++e) {
        const unsigned a = connectE2(0, e), b = connectE2(1, e);
        double Ta[3], Tb[3];
        load_vector(derivs, a, Ta);
        load_vector(derivs, b, Tb);
        double k = 0.0;
        if (!edge_curvature_times_span(Ta, Tb, k)) continue;
        curv[a] += k;
        curv[b] += k;
        const double len = std::fabs(params[b] - params[a]);
        span[a] += len;
        span[b] += len;
    }
    // Each node is divided once, by the spans summed over all its edges, at its first edge.
    for (unsigned e = 0; e < E; ++e) {
        const unsigned a = connectE2(0, e), b = connectE2(1, e);
        if (span[a] != 0.0) curv[a] /= span[a];
        if (span[b] != 0.0) curv[b] /= span[b];
        span[b] = 0.0;
        span[a] = 0.0;
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
