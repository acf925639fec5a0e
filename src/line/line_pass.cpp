#include "line/line_pass.h"

#include <vx4/tessora.h>

#include "line/line_core.h"

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// The polyline columns of `pos` as the core reads them. False for inputs the pass cannot read:
// a dimension other than 2 or 3, fewer than 2 nodes, a node out of range, or too few parameters
// or field values.
bool read_polyline(const dense2D<double>& pos, const dense1D<unsigned>& polyline, const dense1D<double>& params,
                   const double* fields, std::size_t field_ld, bool enough_fields, node_source& source) {
    const unsigned n = polyline.size();
    if ((pos.rows() != 2 && pos.rows() != 3) || n < 2 || params.size() < n || !enough_fields ||
        !tessora::check_IDs(polyline, pos.cols()))
        return false;
    source.coords = pos.data();
    source.ld = pos.ld();
    source.map = polyline.data();
    source.params = params.data();
    source.fields = fields;
    source.field_ld = field_ld;
    source.n = n;
    return true;
}

template <class Kind>
int run_pass(const dense2D<double>& pos, const node_source& source, bool even, unsigned nmin, unsigned nmax,
             dense2D<double>& new_points, dense1D<double>& new_params, dense2D<double>& new_fields) {
    if (pos.rows() == 2) return mesh_line_pass_on<2, Kind>(source, even, nmin, nmax, new_points, new_params, new_fields);
    return mesh_line_pass_on<3, Kind>(source, even, nmin, nmax, new_points, new_params, new_fields);
}

} // namespace

int mesh_line_pass(const dense2D<double>& pos, const dense1D<unsigned>& polyline, const dense1D<double>& params,
                   const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax,
                   dense2D<double>& new_points, dense1D<double>& new_params, dense1D<double>& new_sizes) {
    node_source source;
    if (!read_polyline(pos, polyline, params, sizes.data(), 1, sizes.size() >= polyline.size(), source)) return -1;
    dense2D<double> fields;
    const int rc = run_pass<isotropic_sizes>(pos, source, even, nmin, nmax, new_points, new_params, fields);
    // One size per column, contiguous: the matrix's storage is the size list.
    if (rc == 0) new_sizes = fields.as_vector();
    return rc;
}

int mesh_line_pass(const dense2D<double>& pos, const dense1D<unsigned>& polyline, const dense1D<double>& params,
                   const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax,
                   dense2D<double>& new_points, dense1D<double>& new_params, dense2D<double>& new_metrics) {
    node_source source;
    const unsigned width = pos.rows() == 2 ? 3u : 6u;
    const bool enough = metrics.rows() == width && metrics.cols() >= polyline.size();
    if (!read_polyline(pos, polyline, params, metrics.data(), metrics.ld(), enough, source)) return -1;
    return run_pass<anisotropic_metrics>(pos, source, even, nmin, nmax, new_points, new_params, new_metrics);
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
