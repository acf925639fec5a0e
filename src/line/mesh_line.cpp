#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "geometry/kernels.h"
#include "line/chord_parameters.h"
#include "line/line_core.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vx4 {
namespace tessora1d {

namespace {

using detail::largest_unsigned;

constexpr double largest_double = 1.7976931348623157e308;

// Appends `count` entries in one step; when that passes the capacity, storage for the old size
// plus the larger of the old size and `count` is reserved first. False, unchanged, when short.
template <class T>
bool append_entries(dense1D<T>& out, const T* src, unsigned count) {
    const unsigned long long old = out.size(), need = old + count;
    if (need > largest_unsigned) return false;
    if (need > out.capacity()) {
        const unsigned long long room =
            std::min<unsigned long long>(old + std::max<unsigned long long>(old, count), largest_unsigned);
        if (!out.reserve(static_cast<unsigned>(room))) return false;
    }
    out.resize(static_cast<unsigned>(need));
    if (count) std::memcpy(out.data() + old, src, count * sizeof(T));
    return true;
}

// The same for the columns of a matrix; an empty output of another shape takes src's rows.
bool append_columns(dense2D<double>& out, const dense2D<double>& src) {
    const unsigned rows = src.rows(), count = src.cols();
    if (out.empty() && out.rows() != rows) out.clear();
    const unsigned long long old = out.empty() ? 0 : out.cols(), need = old + count;
    if (need * rows > largest_unsigned) return false;
    if (need > out.column_capacity()) {
        const unsigned long long room = old + std::max<unsigned long long>(old, count);
        const unsigned cols = static_cast<unsigned>(room * rows > largest_unsigned ? need : room);
        if (!out.reserve(rows, cols)) return false;
    }
    if (!out.resize(rows, static_cast<unsigned>(need))) return false;
    for (unsigned k = 0; k < count; ++k)
        std::memcpy(&out(0, static_cast<unsigned>(old) + k), &src(0, k), rows * sizeof(double));
    return true;
}

// Appends the chain's new nodes to the caller's coordinates. False, unchanged, when short.
bool append_points(dense2D<double>& pos, const dense2D<double>& points) {
    const unsigned count = points.cols(), rows = pos.rows(), c0 = pos.cols();
    if (!detail::add_columns(pos, count)) return false;
    for (unsigned k = 0; k < count; ++k) std::memcpy(&pos(0, c0 + k), &points(0, k), rows * sizeof(double));
    return true;
}

// Checks shared by both families: dimension, node list and parameters (codes -1, -2, -3).
// The node indices are checked as well, so that no bad index is ever read.
int check_polyline(const dense2D<double>& pos, const dense1D<unsigned>& indices, const dense1D<double>& params) {
    if (pos.rows() != 2 && pos.rows() != 3) return -1;
    const unsigned n = indices.size();
    if (n < 2 || !tessora::check_IDs(indices, pos.cols())) return -2;
    if (params.size() != n) return -3;
    const double* p = params.data();
    for (unsigned i = 1; i < n; ++i)
        if (p[i] < p[i - 1]) return -3;
    return 0;
}

// Where a polyline's parameters come from: the caller's list, or chord lengths produced on demand.
struct parameter_source {
    const double* stored = nullptr;
    const detail::chord_parameters* chord = nullptr;
};

detail::polyline_ref read_polyline(const dense2D<double>& pos, const dense1D<unsigned>& indices,
                                   const parameter_source& params, const double* fields, std::size_t field_ld) {
    detail::polyline_ref line;
    line.pos = &pos;
    line.indices = indices;
    line.nodes.coords = pos.data();
    line.nodes.ld = pos.ld();
    line.nodes.map = indices.data();
    line.nodes.params = params.stored;
    line.nodes.chord = params.chord;
    line.nodes.fields = fields;
    line.nodes.field_ld = field_ld;
    line.nodes.n = indices.size();
    return line;
}

detail::line_options read_options(bool even, unsigned nmin, unsigned nmax, double chordal, double hmin) {
    detail::line_options options;
    options.even = even;
    options.nmin = nmin;
    options.nmax = nmax;
    // The largest double, of either sign, means no chordal control.
    options.chordal = (chordal == largest_double || chordal == -largest_double) ? 0.0 : chordal;
    options.hmin = hmin;
    return options;
}

// Core, then refinement when asked for and the chain is still below nmax. The new nodes go to
// the caller's coordinates, straight from the core unless another view shares their storage;
// on failure the coordinates keep their former columns.
template <unsigned Dim, class Kind>
int mesh_polyline(dense2D<double>& pos, const detail::polyline_ref& line, const detail::line_options& options,
                  detail::line_chain& chain) {
    const unsigned rows = pos.rows(), first_new = pos.cols();
    const bool in_place = pos.storage() && pos.storage()->use_count() == 1;
    const int rc = detail::mesh_line_core<Dim, Kind>(line, options, chain, in_place ? &pos : nullptr);
    if (rc != 0) return rc;
    detail::polyline_ref grown = line;
    grown.nodes.coords = pos.data(); // the block's data may have moved as it grew
    if (!detail::number_chain(chain, line.indices[0], first_new, line.indices[line.nodes.n - 1])) {
        pos.resize(rows, first_new);
        return -199;
    }
    if (options.chordal > 0.0 && chain.elements() < options.nmax)
        detail::refine_line<Dim, Kind>(grown, options, first_new, chain);
    // Kept as the core wrote it, or replaced by the refinement's chain.
    if (!chain.points.empty() && chain.points.storage().get() == pos.storage().get()) return 0;
    pos.resize(rows, first_new);
    return append_points(pos, chain.points) ? 0 : -199;
}

template <class Kind>
int mesh_polyline(dense2D<double>& pos, const detail::polyline_ref& line, const detail::line_options& options,
                  detail::line_chain& chain) {
    return pos.rows() == 2 ? mesh_polyline<2, Kind>(pos, line, options, chain)
                           : mesh_polyline<3, Kind>(pos, line, options, chain);
}

// An output without storage of its own takes the chain's buffer as it stands: the same entries
// with no copy. Any other output is appended to.
template <class T>
void append_chain(dense1D<T>& out, const dense1D<T>& src) {
    if (!out.storage()) out = src;
    else append_entries(out, src.data(), src.size());
}

// The chain's fields in the caller's form: metric columns, or one size per node.
void append_field(dense2D<double>& out, const dense2D<double>& fields) {
    if (!out.storage()) out = fields;
    else append_columns(out, fields);
}
void append_field(dense1D<double>& out, const dense2D<double>& fields) {
    if (!out.storage() && fields.ld() == 1) out = fields.as_vector();
    else append_entries(out, fields.data(), fields.cols());
}

// Meshes the checked polyline and appends the chain to the outputs. A failed growth leaves
// that output short; it is not reported.
template <class Kind, class OutField>
int mesh_and_append(dense2D<double>& pos, const detail::polyline_ref& line, const detail::line_options& options,
                    dense1D<unsigned>& out_indices, dense1D<double>& out_params, OutField& out_field) {
    detail::line_chain chain;
    const int result = mesh_polyline<Kind>(pos, line, options, chain);
    if (result != 0) return result;
    append_field(out_field, chain.fields);
    append_chain(out_indices, chain.indices);
    append_chain(out_params, chain.params);
    return 0;
}

// The anisotropic overloads past the checks of the polyline: metrics (-4), counts (-6), output
// metrics (-11), then the meshing.
int mesh_checked(dense2D<double>& pos, const dense1D<unsigned>& indices, const parameter_source& params,
                 const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax, double chordal, double hmin,
                 dense1D<unsigned>& out_indices, dense1D<double>& out_params, dense2D<double>& out_metrics) {
    const unsigned n = indices.size();
    const unsigned width = pos.rows() == 2 ? 3u : 6u;
    if (metrics.cols() < n) return -4;
    const dense2D<double> first_n = metrics.sub_matrix(0, 0, metrics.rows(), n);
    if (!tessora::are_valid_metrics(first_n) || metrics.rows() != width) return -4;
    if (nmin == 0 || nmax < nmin) return -6;
    if (!out_metrics.empty() && out_metrics.rows() != width) return -11;

    const detail::polyline_ref line = read_polyline(pos, indices, params, first_n.data(), first_n.ld());
    return mesh_and_append<detail::anisotropic_metrics>(pos, line, read_options(even, nmin, nmax, chordal, hmin),
                                                        out_indices, out_params, out_metrics);
}

// The isotropic overloads past the checks of the polyline: sizes (-4), counts (-6), the meshing.
int mesh_checked(dense2D<double>& pos, const dense1D<unsigned>& indices, const parameter_source& params,
                 const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax, double chordal, double hmin,
                 dense1D<unsigned>& out_indices, dense1D<double>& out_params, dense1D<double>& out_sizes) {
    const unsigned n = indices.size();
    if (sizes.size() < n || !tessora::are_valid_metrics(sizes.sub_vector(0, n))) return -4;
    if (nmin == 0 || nmax < nmin) return -6;

    const detail::polyline_ref line = read_polyline(pos, indices, params, sizes.data(), 1);
    return mesh_and_append<detail::isotropic_sizes>(pos, line, read_options(even, nmin, nmax, chordal, hmin),
                                                    out_indices, out_params, out_sizes);
}

// The overloads without parameters: chord-length parameters in [0, 1], produced on demand, then
// the checks and the meshing of the overloads with parameters, whose codes below -3 move up by
// one to name this overload's argument places.
template <class Field, class OutField>
int mesh_line_by_chord_length(dense2D<double>& pos, const dense1D<unsigned>& indices, const Field& field, bool even,
                              unsigned nmin, unsigned nmax, double chordal, double hmin,
                              dense1D<unsigned>& out_indices, dense1D<double>& out_params, OutField& out_field) {
    const unsigned dim = pos.rows();
    if (dim != 2 && dim != 3) return -1;
    const unsigned n = indices.size();
    if (n < 2 || !tessora::check_IDs(indices, pos.cols())) return -2;
    detail::chord_parameters chord;
    if (!chord.measure(pos, indices.data(), n)) return -199;
    if (chord.total() == 0.0) return -2;
    out_params.resize(0);
    const int rc = mesh_checked(pos, indices, {nullptr, &chord}, field, even, nmin, nmax, chordal, hmin, out_indices,
                                out_params, out_field);
    return rc < -3 ? rc + 1 : rc;
}

} // namespace

int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices, const dense1D<double>& params,
              const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax, double chordal, double hmin,
              dense1D<unsigned>& out_indices, dense1D<double>& out_params, dense2D<double>& out_metrics) {
    out_params.resize(0);
    const int rc = check_polyline(pos, indices, params);
    if (rc != 0) return rc;
    return mesh_checked(pos, indices, {params.data(), nullptr}, metrics, even, nmin, nmax, chordal, hmin, out_indices,
                        out_params, out_metrics);
}

int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices, const dense1D<double>& params,
              const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax, double chordal, double hmin,
              dense1D<unsigned>& out_indices, dense1D<double>& out_params, dense1D<double>& out_sizes) {
    out_params.resize(0);
    const int rc = check_polyline(pos, indices, params);
    if (rc != 0) return rc;
    return mesh_checked(pos, indices, {params.data(), nullptr}, sizes, even, nmin, nmax, chordal, hmin, out_indices,
                        out_params, out_sizes);
}

int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices, const dense2D<double>& metrics, bool even,
              unsigned nmin, unsigned nmax, double chordal, double hmin, dense1D<unsigned>& out_indices,
              dense1D<double>& out_params, dense2D<double>& out_metrics) {
    return mesh_line_by_chord_length(pos, indices, metrics, even, nmin, nmax, chordal, hmin, out_indices, out_params,
                                     out_metrics);
}

int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices, const dense1D<double>& sizes, bool even,
              unsigned nmin, unsigned nmax, double chordal, double hmin, dense1D<unsigned>& out_indices,
              dense1D<double>& out_params, dense1D<double>& out_sizes) {
    return mesh_line_by_chord_length(pos, indices, sizes, even, nmin, nmax, chordal, hmin, out_indices, out_params,
                                     out_sizes);
}

} // namespace tessora1d
} // namespace vx4
