#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "geometry/column_distance.h"
#include "geometry/kernels.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {

namespace {

constexpr double largest_double = 1.7976931348623157e308;
using detail::largest_unsigned;

// The segment's two sizes, or the metric block that starts k rows down (cut at the matrix edge,
// so for k >= 1 it is short and mesh_line refuses it).
dense1D<double> segment_field(const dense1D<double>& sizes, unsigned k) { return sizes.sub_vector(k, 2); }
dense2D<double> segment_field(const dense2D<double>& metrics, unsigned k) {
    return metrics.sub_matrix(k, 0, metrics.rows(), 2);
}

// Empties a scratch output between segments, keeping its storage.
void discard(dense1D<double>& scratch) { scratch.resize(0); }
void discard(dense2D<double>& scratch) { scratch.resize(scratch.rows(), 0); }

// Meshes every segment of the chain with mesh_line and stitches the chains: each segment's end
// node is dropped and the next segment starts with it; the chain's last entry closes the list.
// On failure every node made here is removed and `out` cut back to its former size.
template <class Field>
int mesh_segments(dense2D<double>& coords, const dense1D<unsigned>& chain, const Field& field, bool even,
                  dense1D<unsigned>& out) {
    const unsigned rows = coords.rows(), cols = coords.cols(), out_size = out.size();
    const unsigned n = chain.size();
    dense1D<double> ends;
    ends.push_back(0.0);
    ends.push_back(1.0);
    dense1D<double> scratch_params;
    Field scratch_field;
    int result = 0;
    for (unsigned k = 0; k + 1 < n && result == 0; ++k) {
        discard(scratch_field);
        result = mesh_line(coords, chain.sub_vector(k, 2), ends, segment_field(field, k), even, 1, largest_unsigned,
                           largest_double, 0.0, out, scratch_params, scratch_field);
        if (!out.empty()) out.resize(out.size() - 1);
    }
    out.push_back(chain[n - 1]);
    if (result != 0) {
        coords.resize(rows, cols);
        out.resize(out_size);
    }
    return result;
}

} // namespace

int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain, const dense2D<double>& metrics, bool even,
                  dense1D<unsigned>& out) {
    const unsigned n = chain.size();
    if (n == 0) return 0;
    if (n < 2 || !tessora::check_IDs(chain, coords.cols())) return -2;
    if (n > metrics.cols() || !tessora::are_valid_metrics(metrics.sub_matrix(0, 0, metrics.rows(), n))) return -3;
    if (coords.rows() == 2 && metrics.rows() != 3) return -3;
    if (coords.rows() == 3 && metrics.rows() != 6) return -3;
    return mesh_segments(coords, chain, metrics, even, out);
}

int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain, const dense1D<double>& sizes, bool even,
                  dense1D<unsigned>& out) {
    const unsigned n = chain.size();
    if (n == 0) return 0;
    if (n < 2 || !tessora::check_IDs(chain, coords.cols())) return -2;
    if (n > sizes.size() || !tessora::are_valid_metrics(sizes.sub_vector(0, n))) return -3;
    return mesh_segments(coords, chain, sizes, even, out);
}

int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain, unsigned count, bool even,
                  dense1D<unsigned>& out) {
    if (count == 0) return 0;
    const unsigned n = chain.size();
    if (n < 2 || !tessora::check_IDs(chain, coords.cols())) return -2;
    double length = 0.0;
    for (unsigned k = 0; k + 1 < n; ++k) length += detail::column_distance(coords, chain[k], chain[k + 1]);
    // A short size list (memory) is refused by the size checks that follow.
    const dense1D<double> sizes(n, length / static_cast<double>(count));
    return mesh_straight(coords, chain, sizes, even, out);
}

int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, unsigned count, dense1D<unsigned>& out) {
    if (count == 0) return 0;
    if (a >= coords.cols()) return -2;
    if (b >= coords.cols()) return -3;
    const double h = detail::column_distance(coords, a, b) / static_cast<double>(count);
    return mesh_straight(coords, a, b, h, h, false, out);
}

int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, unsigned d, unsigned count,
                  dense1D<unsigned>& out) {
    if (count == 0) return 0;
    if (a >= coords.cols()) return -2;
    if (b >= coords.cols()) return -3;
    if (d >= coords.cols()) return -4;
    const dense1D<unsigned> chain{a, b, d};
    return mesh_straight(coords, chain, count, false, out);
}

int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, double ha, double hb, bool even,
                  dense1D<unsigned>& out) {
    if (a >= coords.cols()) return -2;
    if (b >= coords.cols()) return -3;
    // Only a size known not to exceed 0 is refused here; a NaN goes on to the size check.
    if (ha <= 0.0) return -4;
    if (hb <= 0.0) return -5;
    const dense1D<unsigned> chain{a, b};
    const dense1D<double> sizes{ha, hb};
    return mesh_straight(coords, chain, sizes, even, out);
}

} // namespace tessora1d
} // namespace vx4
