#include <vx4/tessora1d.h>

#include <algorithm>
#include <cmath>

#include "metrics/metric_field_from_edges.h"

namespace vx4 {
namespace tessora1d {

namespace {

// Turning below this (as 2 |t - t'|) counts as a straight continuation.
constexpr double straight_tolerance = 1e-12;

// The direction of the edge that continues an edge at `node`, oriented along the line (into the
// node when `leaving` is false, out of it when true), and its length. False when there is none.
bool neighbour_direction(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, unsigned neighbour,
                         unsigned node, bool leaving, double tn[3], double& Ln) {
    if (neighbour >= connectE2.cols()) return false;
    const unsigned o = connectE2(0, neighbour) == node ? connectE2(1, neighbour) : connectE2(0, neighbour);
    double sq = 0.0;
    for (unsigned r = 0; r < 3; ++r) {
        tn[r] = leaving ? coords(r, o) - coords(r, node) : coords(r, node) - coords(r, o);
        sq += tn[r] * tn[r];
    }
    Ln = std::sqrt(sq);
    if (sq != 0.0 && sq != 1.0)
        for (unsigned r = 0; r < 3; ++r) tn[r] /= Ln;
    return true;
}

// Metric of an edge (unit direction t, squared length S) at one of its nodes: r1 sets the size
// across it in the plane in which the line bends there, r2 out of that plane. Where the line
// runs straight on, no plane exists and the larger cross size is used both ways.
symmetric_fixed<double, 3> bent_edge_metric(const double t[3], double S, const double tn[3], bool has_neighbour,
                                            double Ln, double r1, double r2) {
    double bend = 0.0;
    if (has_neighbour) {
        const double dx = t[0] - tn[0], dy = t[1] - tn[1], dz = t[2] - tn[2];
        const double turn = 2.0 * std::sqrt(dx * dx + dy * dy + dz * dz);
        if (!(turn <= straight_tolerance)) bend = turn / (std::sqrt(S) + Ln);
    }
    double Q1 = detail::squared_cross_size(r1, S), Q2 = detail::squared_cross_size(r2, S);
    double hint[3] = {0.0, 0.0, 0.0};
    if (bend != 0.0) {
        // hint = (t' x t) x t lies in the bending plane, across t: c1 in the plane, c2 = binormal.
        double p[3];
        detail::cross_3d(tn, t, p);
        detail::cross_3d(p, t, hint);
    } else {
        Q1 = Q2 = std::max(Q1, Q2);
    }
    double c1[3], c2[3];
    detail::orthonormal_frame_3d(t, hint, c1, c2);
    symmetric_fixed<double, 3> M{};
    detail::add_scaled_outer<3>(1.0 / S, t, M);
    detail::add_scaled_outer<3>(1.0 / Q1, c1, M);
    detail::add_scaled_outer<3>(1.0 / Q2, c2, M);
    return M;
}

} // namespace

int metrics_gen_aniso3d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                        dense2D<double>& metrics) {
    return detail::metrics_from_edges<3>(coords, connectE2, r, metrics);
}

int metrics_gen_aniso3d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r1, double r2,
                        dense2D<double>& metrics) {
    if (connectE2.empty()) return 0;
    unsigned long long columns = 0;
    if (const int code = detail::check_edge_metric_arguments<3>(coords, connectE2, metrics, columns)) return code;
    // Adjacency first, so that a failure leaves the field as it was.
    dense2D<unsigned> neighbours;
    if (tessora::get_neighbors(connectE2, edge2, false, neighbours) != 0) return -199;
    if (!detail::grow_metric_field(metrics, 6, columns)) return -199;

    for (unsigned e = 0; e < connectE2.cols(); ++e) {
        const unsigned a = connectE2(0, e), b = connectE2(1, e);
        double t[3];
        const double S = detail::edge_vector<3>(coords, a, b, t);
        if (S == 0.0 || !std::isfinite(S)) continue;
        const double L = std::sqrt(S);
        for (double& c : t) c /= L;

        // Both neighbour directions are oriented along the line, so that a straight
        // continuation gives t' = t at either end.
        double tn[3] = {0.0, 0.0, 0.0}, Ln = 0.0;
        bool has = neighbour_direction(coords, connectE2, neighbours(1, e), a, false, tn, Ln);
        detail::intersect_into_column<3>(metrics, a, bent_edge_metric(t, S, tn, has, Ln, r1, r2));
        has = neighbour_direction(coords, connectE2, neighbours(0, e), b, true, tn, Ln);
        detail::intersect_into_column<3>(metrics, b, bent_edge_metric(t, S, tn, has, Ln, r1, r2));
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
