#include <vx4/tessora1d.h>

#include "metrics/metric_field_from_edges.h"

namespace vx4 {
namespace tessora1d {

int metrics_gen_aniso2d(const dense2D<double>& dirs, const dense1D<unsigned>& nodes, double h_dir, double h_cross,
                        dense2D<double>& metrics) {
    if (nodes.empty()) return 0;
    if (dirs.rows() != 2) return -1;
    const unsigned largest = detail::largest_node_index(nodes);
    if (largest >= dirs.cols()) return -2;
    if (h_dir <= 0.0) return -3;
    if (h_cross <= 0.0) return -4;
    if (!metrics.empty() && metrics.rows() != 3) return -5;
    if (!detail::grow_metric_field(metrics, 3, static_cast<unsigned long long>(largest) + 1)) return -199;

    const double w_dir = 1.0 / (h_dir * h_dir), w_cross = 1.0 / (h_cross * h_cross);
    for (unsigned k = 0; k < nodes.size(); ++k) {
        const unsigned j = nodes[k];
        // The direction is taken as given: its length scales both sizes.
        const double v[2] = {dirs(0, j), dirs(1, j)};
        const double c[2] = {-v[1], v[0]};
        symmetric_fixed<double, 2> M{};
        detail::add_scaled_outer<2>(w_dir, v, M);
        detail::add_scaled_outer<2>(w_cross, c, M);
        detail::intersect_into_column<2>(metrics, j, M);
    }
    return 0;
}

int metrics_gen_aniso2d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                        dense2D<double>& metrics) {
    // Planar: a third coordinate row, when present, is ignored.
    return detail::metrics_from_edges<2>(coords, connectE2, r, metrics);
}

} // namespace tessora1d
} // namespace vx4
