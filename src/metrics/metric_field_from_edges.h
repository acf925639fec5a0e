// Building blocks of the anisotropic metric fields generated along lines: argument checks,
// growth of the field, and the per-edge metric intersected into the nodes' columns. The 2-D
// and 3-D generators share them; only the cross directions depend on the dimension.
#pragma once

#include <vx4/math1.h>
#include <vx4/tessora.h>

#include <cmath>
#include <type_traits>

#include "metrics/orthonormal_frame.h"

namespace vx4 {
namespace tessora1d {
namespace detail {

// Largest index held (0 when there is none); only the matrix's own entries are read, never
// the gaps between columns of a view.
inline unsigned largest_node_index(const dense2D<unsigned>& connect) {
    unsigned m = 0;
    if (connect.empty()) return 0;
    for (unsigned j = 0; j < connect.cols(); ++j)
        for (unsigned i = 0; i < connect.rows(); ++i)
            if (connect(i, j) > m) m = connect(i, j);
    return m;
}
inline unsigned largest_node_index(const dense1D<unsigned>& nodes) {
    unsigned m = 0;
    for (unsigned k = 0; k < nodes.size(); ++k)
        if (nodes[k] > m) m = nodes[k];
    return m;
}

// Grows the field to `rows` rows and at least `columns` columns, new entries 0 (no constraint
// yet); existing columns are kept and the field is never shrunk.
inline bool grow_metric_field(dense2D<double>& metrics, unsigned rows, unsigned long long columns) {
    if (columns > 4294967295ull) return false;
    const unsigned cols = metrics.cols() > columns ? metrics.cols() : static_cast<unsigned>(columns);
    return metrics.resize(rows, cols, 0.0);
}

// Squared size across an edge of squared length S: the edge length itself for r = 0, the
// absolute size r for r > 0, |r| times the edge length for r < 0.
inline double squared_cross_size(double r, double S) {
    if (r == 0.0) return S;
    if (r > 0.0) return r * r;
    return r * r * S;
}

// M += w v v^T on the packed upper triangle. A zero weight adds nothing, so that an infinite
// size (w = 0) never meets an infinite component as 0 * inf.
template <unsigned D>
void add_scaled_outer(double w, const double* v, symmetric_fixed<double, D>& M) {
    if (w == 0.0) return;
    for (unsigned j = 0; j < D; ++j)
        for (unsigned i = 0; i <= j; ++i) M(i, j) += w * v[i] * v[j];
}

// Column j of the field becomes the intersection of what it holds and M (an all-zero column
// simply takes M).
template <unsigned D>
void intersect_into_column(dense2D<double>& metrics, unsigned j, const symmetric_fixed<double, D>& M) {
    constexpr unsigned n = symmetric_fixed<double, D>::packed_size;
    symmetric_fixed<double, D> stored, result;
    for (unsigned k = 0; k < n; ++k) stored[k] = metrics(k, j);
    tessora::minimum_metric(stored, M, result);
    for (unsigned k = 0; k < n; ++k) metrics(k, j) = result[k];
}

// Checks shared by the generators from the edges of a line in D dimensions: -1 fewer than D
// coordinate rows, -2 a connectivity that is not 2 rows or names a missing node, -4 a
// non-empty field of the wrong row count. `columns` receives the largest node index + 1.
template <unsigned D>
int check_edge_metric_arguments(const dense2D<double>& coords, const dense2D<unsigned>& connectE2,
                                const dense2D<double>& metrics, unsigned long long& columns) {
    if (coords.rows() < D) return -1;
    const unsigned largest = largest_node_index(connectE2);
    if (connectE2.rows() != 2 || largest >= coords.cols()) return -2;
    if (!metrics.empty() && metrics.rows() != symmetric_fixed<double, D>::packed_size) return -4;
    columns = static_cast<unsigned long long>(largest) + 1;
    return 0;
}

// The edge vector b - a over the first D coordinates and its squared length.
template <unsigned D>
double edge_vector(const dense2D<double>& coords, unsigned a, unsigned b, double d[3]) {
    double S = 0.0;
    d[2] = 0.0;
    for (unsigned r = 0; r < D; ++r) {
        d[r] = coords(r, b) - coords(r, a);
        S += d[r] * d[r];
    }
    return S;
}

// Unit directions across the unit edge direction u: one in the plane, two in space.
inline void cross_directions(const double u[3], double c[2][3], std::integral_constant<unsigned, 2>) {
    c[0][0] = -u[1];
    c[0][1] = u[0];
    c[0][2] = 0.0;
}
inline void cross_directions(const double u[3], double c[2][3], std::integral_constant<unsigned, 3>) {
    const double no_hint[3] = {0.0, 0.0, 0.0};
    orthonormal_frame_3d(u, no_hint, c[0], c[1]);
}

// Metric of every edge (length along it, the cross size of r across it in every direction)
// intersected into the columns of both end nodes.
template <unsigned D>
int metrics_from_edges(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                       dense2D<double>& metrics) {
    if (connectE2.empty()) return 0;
    unsigned long long columns = 0;
    if (const int code = check_edge_metric_arguments<D>(coords, connectE2, metrics, columns)) return code;
    if (!grow_metric_field(metrics, symmetric_fixed<double, D>::packed_size, columns)) return -199;

    for (unsigned e = 0; e < connectE2.cols(); ++e) {
        const unsigned a = connectE2(0, e), b = connectE2(1, e);
        double u[3];
        const double S = edge_vector<D>(coords, a, b, u);
        if (S == 0.0 || !std::isfinite(S)) continue;
        const double L = std::sqrt(S);
        for (unsigned k = 0; k < D; ++k) u[k] /= L;
        double c[2][3];
        cross_directions(u, c, std::integral_constant<unsigned, D>());
        const double cross_weight = 1.0 / squared_cross_size(r, S);
        symmetric_fixed<double, D> M{};
        add_scaled_outer<D>(1.0 / S, u, M);
        for (unsigned k = 0; k + 1 < D; ++k) add_scaled_outer<D>(cross_weight, c[k], M);
        intersect_into_column<D>(metrics, a, M);
        intersect_into_column<D>(metrics, b, M);
    }
    return 0;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
