#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "connectivity/push_back_edge.h"
#include "extrusion/point_append.h"
#include "geometry/kernels.h"
#include "line/line_core.h"
#include "spline/spline_cubic.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

namespace vx4 {
namespace tessora1d {

namespace {

constexpr double no_limit = std::numeric_limits<double>::max();
using detail::largest_unsigned;

// The samples follow the curve this many times more closely than the mesh is asked to, so that
// a mesh measured on the sample polyline is within its tolerance of the curve itself.
constexpr double sampling_refinement = 10.0;

// ---------------------------------------------------------------------------------------------
// What the cores do with each kind of size field, over the line core's field kinds: one size per
// entry of a vector, or one packed metric per column of a matrix. The four cores are written once
// over these.
// ---------------------------------------------------------------------------------------------

template <unsigned D, class Kind>
struct spline_field;

template <unsigned D>
struct spline_field<D, detail::isotropic_sizes> {
    using field = dense1D<double>;
    static constexpr int gradation_mode = -1;

    static bool is_valid_input(const field& given, unsigned n) {
        return n <= given.size() && tessora::are_valid_metrics(given.sub_vector(0, n));
    }
    static bool is_valid_output(const field&) { return true; }
    static unsigned count(const field& f) { return f.size(); }
    static field entries(const field& f, unsigned first, unsigned n) { return f.sub_vector(first, n); }
    static bool make_uniform(unsigned n, double h, field& out) {
        out.clear();
        return out.resize(n, h);
    }
    static void copy_entry(const field& from, unsigned k, field& to, unsigned j) { to[j] = from[k]; }
    static void cap_size(field& f, unsigned j, double h) { f[j] = std::min(f[j], h); }
    // The field as the line core reads it, and the core's sizes (one row) as a field.
    static const double* values(const field& f) { return f.data(); }
    static std::size_t stride(const field&) { return 1; }
    static field from_core(const dense2D<double>& fields) { return fields.as_vector(); }

    static bool reserve_more(field& out, unsigned extra) {
        unsigned long long need = static_cast<unsigned long long>(out.size()) + extra;
        return need <= largest_unsigned && out.reserve(static_cast<unsigned>(need));
    }
    static void append(field& out, const field& from, unsigned k) { out.push_back(from[k]); }
};

template <unsigned D>
struct spline_field<D, detail::anisotropic_metrics> {
    using field = dense2D<double>;
    static constexpr unsigned rows = detail::field_width<D, detail::anisotropic_metrics>::value;
    static constexpr int gradation_mode = 0;

    static bool is_valid_input(const field& given, unsigned n) {
        return n <= given.cols() && tessora::are_valid_metrics(given.sub_matrix(0, 0, given.rows(), n)) &&
               given.rows() == rows;
    }
    static bool is_valid_output(const field& out) { return out.empty() || out.rows() == rows; }
    static unsigned count(const field& f) { return f.rows() == rows ? f.cols() : 0; }
    static field entries(const field& f, unsigned first, unsigned n) { return f.sub_matrix(0, first, rows, n); }
    static bool make_uniform(unsigned n, double h, field& out) {
        dense1D<double> sizes;
        if (!sizes.resize(n, h)) return false;
        int code;
        if constexpr (D == 2) code = tessora::metrics_iso_to_aniso2d(sizes, out);
        else code = tessora::metrics_iso_to_aniso3d(sizes, out);
        return code == 0 && count(out) == n;
    }
    static void copy_entry(const field& from, unsigned k, field& to, unsigned j) {
        for (unsigned i = 0; i < rows; ++i) to(i, j) = from(i, k);
    }
    // No size of the metric may exceed h, in any direction.
    static void cap_size(field& f, unsigned j, double h) {
        symmetric_fixed<double, D> m;
        for (unsigned i = 0; i < rows; ++i) m[i] = f(i, j);
        tessora::bound_metric(m, 0.0, h);
        for (unsigned i = 0; i < rows; ++i) f(i, j) = m[i];
    }
    static const double* values(const field& f) { return f.data(); }
    static std::size_t stride(const field& f) { return f.ld(); }
    static field from_core(const dense2D<double>& fields) { return fields; }

    static bool reserve_more(field& out, unsigned extra) {
        unsigned long long need = static_cast<unsigned long long>(out.empty() ? 0 : out.cols()) + extra;
        return need <= largest_unsigned && out.reserve(rows, static_cast<unsigned>(need));
    }
    static void append(field& out, const field& from, unsigned k) {
        const unsigned j = out.empty() ? 0 : out.cols();
        if (!out.resize(rows, j + 1)) return;
        copy_entry(from, k, out, j);
    }
};

// ---------------------------------------------------------------------------------------------
// Small geometry
// ---------------------------------------------------------------------------------------------

template <unsigned D>
void node_difference(const dense2D<double>& coords, unsigned from, unsigned to, double* v) {
    for (unsigned i = 0; i < D; ++i) v[i] = coords(i, to) - coords(i, from);
}

// Length of the chord whose sagitta on the osculating circle (radius 1/kappa) is e/kappa, with
// e = q kappa for an absolute tolerance q >= 0 and e = |q| for a tolerance relative to the radius.
double chordal_size(double kappa, double q) {
    if (!(kappa > 0.0)) return no_limit;
    const double e = q < 0.0 ? -q : q * kappa;
    if (!(e < 1.0)) return no_limit;
    return std::sqrt(4.0 * e * (2.0 - e)) / kappa;
}

// ceil(arc / h) samples, at least 2. A count that no int can hold (or a NaN) falls back to 2,
// so that a vanishing size cannot ask for an unbounded number of samples.
unsigned samples_per_segment(double arc, double h) {
    if (!(h < no_limit)) return 2;
    const double c = std::ceil(arc / h);
    if (!(c >= 2.0 && c <= static_cast<double>(INT_MAX))) return 2;
    return static_cast<unsigned>(c);
}

template <unsigned D>
bool push_back_point(dense2D<double>& coords, const vector_fixed<double, D>& p) {
    if constexpr (D == 2) return detail::push_back_point2d(coords, p);
    else return detail::push_back_point3d(coords, p);
}

// ---------------------------------------------------------------------------------------------
// Sampling: the fine polyline on the spline through chain entries 1 .. n-2
// ---------------------------------------------------------------------------------------------

struct spline_samples {
    dense2D<double> points;          // one column per sample
    dense1D<double> abscissas;       // per sample, in [0, 1]
    dense1D<double> node_abscissas;  // per chain entry 1 .. n-2
    dense1D<unsigned> node_samples;  // sample index of chain entries 1 .. n-2
    double length = 0.0;             // the abscissa span before normalisation
};

// Sample counts of the segments, each from the smallest chordal size (of tolerance q) at five
// parameters, raised to hmin / 2. False when memory is short or the total does not fit.
template <unsigned D>
bool count_segment_samples(const dense2D<double>& coords, const dense1D<unsigned>& chain, double q, double hmin,
                           dense1D<unsigned>& counts, unsigned& total) {
    const unsigned segments = chain.size() - 3;
    if (!counts.resize(segments)) return false;
    unsigned long long sum = 1; // the final node
    detail::spline_segment<D> seg;
    for (unsigned k = 0; k < segments; ++k) {
        detail::spline_coefficients<D>(coords, chain[k], chain[k + 1], chain[k + 2], chain[k + 3], seg);
        const double arc = detail::spline_arc_length<D>(seg, 0.0, 1.0);
        double h = no_limit;
        for (double t : {0.0, 0.25, 0.5, 0.75, 1.0}) {
            const double size = chordal_size(detail::spline_curvature<D>(seg, t), q);
            if (size < h) h = size;
        }
        if (0.5 * hmin > h) h = 0.5 * hmin;
        counts[k] = samples_per_segment(arc, h);
        sum += counts[k];
        if (sum > largest_unsigned) return false;
    }
    total = static_cast<unsigned>(sum);
    return true;
}

// Samples every segment at t = i/m, abscissa s + t |a1|, and records the largest distance of a
// sample from its segment's chord in `deviation`. False when memory is short.
template <unsigned D>
bool sample_spline(const dense2D<double>& coords, const dense1D<unsigned>& chain, double q, double hmin,
                   spline_samples& out, double& deviation) {
    const unsigned n = chain.size();
    dense1D<unsigned> counts;
    unsigned total = 0;
    if (!count_segment_samples<D>(coords, chain, q, hmin, counts, total)) return false;
    if (!out.points.resize(D, total) || !out.abscissas.resize(total) || !out.node_abscissas.resize(n - 2) ||
        !out.node_samples.resize(n - 2))
        return false;

    detail::spline_segment<D> seg;
    double s = 0.0, last_t = 0.0, largest_sq = 0.0;
    unsigned j = 0;
    for (unsigned k = 0; k + 3 < n; ++k) {
        out.node_abscissas[k] = s;
        out.node_samples[k] = j;
        detail::spline_coefficients<D>(coords, chain[k], chain[k + 1], chain[k + 2], chain[k + 3], seg);
        for (unsigned i = 0; i < D; ++i) out.points(i, j) = seg.a0[i];
        out.abscissas[j++] = s;

        const double span = std::sqrt(detail::dot<D>(seg.a1, seg.a1));
        double chord[D];
        for (unsigned i = 0; i < D; ++i) chord[i] = seg.a1[i] + seg.a2[i] + seg.a3[i];
        const double chord_sq = detail::dot<D>(chord, chord);
        const unsigned m = counts[k];
        for (unsigned i = 1; i < m; ++i, ++j) {
            const double t = static_cast<double>(i) / static_cast<double>(m);
            double w[D];
            for (unsigned r = 0; r < D; ++r) {
                out.points(r, j) = detail::spline_coordinate<D>(seg, r, t);
                w[r] = out.points(r, j) - seg.a0[r];
            }
            out.abscissas[j] = s + t * span;
            const double dist_sq =
                chord_sq > 0.0 ? detail::cross_norm_sq<D>(w, chord) / chord_sq : detail::dot<D>(w, w);
            if (dist_sq > largest_sq) largest_sq = dist_sq;
            last_t = t;
        }
        s += span;
    }
    for (unsigned i = 0; i < D; ++i) out.points(i, j) = coords(i, chain[n - 2]);
    out.node_samples[n - 3] = j;
    deviation = std::sqrt(largest_sq);

    // The last fraction stands in when the span is not positive (a chain of coincident nodes).
    const double scale = s > 0.0 ? 1.0 / s : last_t;
    for (unsigned k = 0; k + 1 < out.node_abscissas.size(); ++k) out.node_abscissas[k] *= scale;
    for (unsigned k = 0; k < j; ++k) out.abscissas[k] *= scale;
    out.node_abscissas[n - 3] = 1.0;
    out.abscissas[j] = 1.0;
    out.length = s;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Chordal sizes from the chain's corners
// ---------------------------------------------------------------------------------------------

// The end control points and every chain node where the chain bends, with their chord-length
// abscissas over entries 1 .. n-2 (0 for the leading pair, 1 for the trailing pair).
template <unsigned D>
bool spline_corner_chain(const dense2D<double>& coords, const dense1D<unsigned>& chain, dense1D<unsigned>& corners,
                         dense1D<double>& abscissas) {
    const unsigned n = chain.size();
    if (!corners.reserve(n) || !abscissas.reserve(n)) return false;
    corners.push_back(chain[0]);
    corners.push_back(chain[1]);
    abscissas.push_back(0.0);
    abscissas.push_back(0.0);
    double before[D], after[D], running = 0.0;
    node_difference<D>(coords, chain[0], chain[1], after);
    for (unsigned k = 1; k + 2 < n; ++k) {
        std::copy(after, after + D, before);
        node_difference<D>(coords, chain[k], chain[k + 1], after);
        const double longer_sq = std::max(detail::dot<D>(before, before), detail::dot<D>(after, after));
        // A squared cross product (a fourth power) against a squared length: kept as it stands.
        if (detail::cross_norm_sq<D>(before, after) > 1e-24 * longer_sq && k >= 2) {
            corners.push_back(chain[k]);
            abscissas.push_back(running);
        }
        running += std::sqrt(detail::dot<D>(after, after));
    }
    if (running > 0.0)
        for (unsigned k = 0; k < abscissas.size(); ++k) abscissas[k] /= running;
    corners.push_back(chain[n - 2]);
    corners.push_back(chain[n - 1]);
    abscissas.push_back(1.0);
    abscissas.push_back(1.0);
    return true;
}

// One chordal size (tolerance q) per corner-chain entry, from the curvature of the corner
// spline; at an inner node the two segments' end curvatures are averaged, weighted by their
// squared chords.
template <unsigned D>
bool spline_node_sizes(const dense2D<double>& coords, const dense1D<unsigned>& corners, double q,
                       dense1D<double>& sizes) {
    const unsigned nc = corners.size();
    if (!sizes.reserve(nc)) return false;
    detail::spline_segment<D> seg;
    double previous_weight = 0.0, previous_end = 0.0;
    for (unsigned j = 0; j + 3 < nc; ++j) {
        detail::spline_coefficients<D>(coords, corners[j], corners[j + 1], corners[j + 2], corners[j + 3], seg);
        const double start = detail::spline_curvature<D>(seg, 0.0);
        const double kappa = (previous_weight * previous_end + seg.L2 * start) / (previous_weight + seg.L2);
        const double h = chordal_size(kappa, q);
        sizes.push_back(h);
        if (j == 0) sizes.push_back(h);
        previous_weight = seg.L2;
        previous_end = detail::spline_curvature<D>(seg, 1.0);
    }
    const double h = chordal_size(previous_end, q);
    sizes.push_back(h);
    sizes.push_back(h);
    return true;
}

// ---------------------------------------------------------------------------------------------
// The core, one per dimension and field kind
// ---------------------------------------------------------------------------------------------

template <unsigned D, class FieldKind, class Kind = spline_field<D, FieldKind>>
int mesh_spline_core(dense2D<double>& coords, const dense1D<unsigned>& chain, const typename Kind::field& given,
                     bool even, unsigned nmin, unsigned nmax, double chordal, double hmin, double background,
                     double gradation, dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                     typename Kind::field& out_field, double& deviation) {
    using field = typename Kind::field;
    deviation = 0.0;
    if (coords.rows() != D) return -1;
    const unsigned n = chain.size();
    if (n < 4 || !tessora::check_IDs(chain, coords.cols())) return -2;
    if (!Kind::is_valid_input(given, n)) return -3;
    if (nmax < nmin || nmin == 0) return -5;
    if (hmin < 0.0) return -8;
    if (!Kind::is_valid_output(out_field)) return -13;
    if (chordal == 0.0 || chordal == -no_limit) chordal = no_limit;

    // Any local shortage from here on leaves the outputs as they were; no code is reported.
    spline_samples samples;
    if (!sample_spline<D>(coords, chain, chordal / sampling_refinement, hmin, samples, deviation)) return 0;
    const unsigned ns = samples.abscissas.size();

    field sample_field;
    if (background > 0.0 && gradation > 0.0) {
        if (!Kind::make_uniform(ns, background, sample_field)) return 0;
        for (unsigned k = 0; k + 2 < n; ++k) Kind::copy_entry(given, k + 1, sample_field, samples.node_samples[k]);
    } else {
        interpolate_metrics(samples.node_abscissas, Kind::entries(given, 1, n - 2), samples.abscissas, sample_field);
        if (Kind::count(sample_field) != ns) return 0;
    }

    dense1D<unsigned> corners;
    dense1D<double> corner_abscissas, corner_sizes, chordal_sizes;
    if (!spline_corner_chain<D>(coords, chain, corners, corner_abscissas)) return 0;
    if (!spline_node_sizes<D>(coords, corners, chordal, corner_sizes)) return 0;
    tessora::bound_metrics(corner_sizes, hmin, std::max(hmin, samples.length));
    interpolate_metrics(corner_abscissas, corner_sizes, samples.abscissas, chordal_sizes);
    if (chordal_sizes.size() != ns) return 0;
    for (unsigned j = 0; j < ns; ++j) Kind::cap_size(sample_field, j, chordal_sizes[j]);

    if (gradation > 0.0 && gradation < no_limit) {
        dense2D<unsigned> edges;
        if (!edges.reserve(2, ns - 1)) return 0;
        for (unsigned j = 0; j + 1 < ns; ++j) detail::push_back_edge(j, j + 1, edges);
        const dense1D<unsigned> every_node;
        tessora::bound_metric_gradations(samples.points, edges, edge2, every_node, true, Kind::gradation_mode,
                                         gradation, sample_field);
    }

    // The samples, column j being sample j, meshed by one pass of the line core.
    dense2D<double> new_points, core_fields;
    dense1D<double> new_params;
    unsigned added = 0;
    if (Kind::count(sample_field) >= ns) {
        detail::node_source sampled;
        sampled.coords = samples.points.data();
        sampled.ld = samples.points.ld();
        sampled.params = samples.abscissas.data();
        sampled.fields = Kind::values(sample_field);
        sampled.field_ld = Kind::stride(sample_field);
        sampled.n = ns;
        // The pass's code is not consulted; only what it actually produced is copied.
        const int rc =
            detail::mesh_line_pass_on<D, FieldKind>(sampled, even, nmin, nmax, new_points, new_params, core_fields);
        if (rc == 0) added = new_params.size();
    }
    const field new_field = Kind::from_core(core_fields);

    const unsigned first_new = coords.cols();
    if (static_cast<unsigned long long>(first_new) + added > largest_unsigned ||
        !coords.reserve(D, first_new + added) ||
        !out_indices.reserve(out_indices.size() + added + 2) || !out_params.reserve(out_params.size() + added + 2) ||
        !Kind::reserve_more(out_field, added + 2))
        return 0;

    out_indices.push_back(chain[1]);
    vector_fixed<double, D> p;
    for (unsigned k = 0; k < added; ++k) {
        for (unsigned i = 0; i < D; ++i) p[i] = new_points(i, k);
        push_back_point<D>(coords, p);
        out_indices.push_back(first_new + k);
    }
    out_indices.push_back(chain[n - 2]);

    out_params.push_back(0.0);
    for (unsigned k = 0; k < added; ++k) out_params.push_back(new_params[k]);
    out_params.push_back(1.0);

    Kind::append(out_field, sample_field, 0);
    for (unsigned k = 0; k < added; ++k) Kind::append(out_field, new_field, k);
    Kind::append(out_field, sample_field, ns - 1);
    return 0;
}

} // namespace

int mesh_spline(dense2D<double>& coords, const dense1D<unsigned>& chain, const dense2D<double>& metrics, bool even,
                unsigned nmin, unsigned nmax, double chordal, double hmin, double background, double gradation,
                dense1D<unsigned>& out_indices, dense1D<double>& out_params, dense2D<double>& out_metrics,
                double& deviation) {
    using kind = detail::anisotropic_metrics;
    deviation = 0.0;
    if (coords.rows() == 2)
        return mesh_spline_core<2, kind>(coords, chain, metrics, even, nmin, nmax, chordal, hmin, background, gradation,
                                         out_indices, out_params, out_metrics, deviation);
    return mesh_spline_core<3, kind>(coords, chain, metrics, even, nmin, nmax, chordal, hmin, background, gradation,
                                     out_indices, out_params, out_metrics, deviation);
}

int mesh_spline(dense2D<double>& coords, const dense1D<unsigned>& chain, const dense1D<double>& sizes, bool even,
                unsigned nmin, unsigned nmax, double chordal, double hmin, double background, double gradation,
                dense1D<unsigned>& out_indices, dense1D<double>& out_params, dense1D<double>& out_sizes,
                double& deviation) {
    using kind = detail::isotropic_sizes;
    deviation = 0.0;
    if (coords.rows() == 2)
        return mesh_spline_core<2, kind>(coords, chain, sizes, even, nmin, nmax, chordal, hmin, background, gradation,
                                         out_indices, out_params, out_sizes, deviation);
    return mesh_spline_core<3, kind>(coords, chain, sizes, even, nmin, nmax, chordal, hmin, background, gradation,
                                     out_indices, out_params, out_sizes, deviation);
}

} // namespace tessora1d
} // namespace vx4
