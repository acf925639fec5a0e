#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "geometry/column_distance.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {

namespace {

bool is_space_dimension(unsigned rows) { return rows == 2 || rows == 3; }

} // namespace

int length(const dense2D<double>& coords, const dense1D<unsigned>& nodes, double& len) {
    len = 0.0;
    if (!is_space_dimension(coords.rows())) return -1;
    if (nodes.size() < 2) return -2;
    const unsigned ncols = coords.cols();
    if (nodes[0] >= ncols) return -2;
    // A bad index stops the walk; the length summed up to it is left in len on purpose.
    for (unsigned i = 1; i < nodes.size(); ++i) {
        if (nodes[i] >= ncols) return -2;
        len += detail::column_distance(coords, nodes[i - 1], nodes[i]);
    }
    return 0;
}

int length(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double& len) {
    len = 0.0;
    if (!is_space_dimension(coords.rows())) return -1;
    if (!tessora::check_IDs(connectE2, edge2, coords.cols())) return -2;
    if (connectE2.empty()) return 0;
    for (unsigned e = 0; e < connectE2.cols(); ++e) len += detail::column_distance(coords, connectE2(0, e), connectE2(1, e));
    return 0;
}

} // namespace tessora1d
} // namespace vx4
