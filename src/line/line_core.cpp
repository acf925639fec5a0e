#include "line/line_core.h"

#include <vx4/tessora1d.h>

#include "geometry/parameter_search.h"
#include "metrics/metric_algebra.h"
#include "line/size_model.h"

#include <cmath>
#include <cstring>
#include <type_traits>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

constexpr unsigned long long largest_unsigned = 4294967295ull;

// The metric operations that differ between 2-D and 3-D: v^T M v for a packed M, the
// bounding of the sizes, and the interpolation between an edge's two end metrics.
template <unsigned Dim>
struct metric_ops;

template <>
struct metric_ops<2> {
    static double form(const double* M, const double* v) {
        return M[0] * v[0] * v[0] + 2.0 * M[1] * v[0] * v[1] + M[2] * v[1] * v[1];
    }
    static bool bound(double* M, double hmin, double hmax) { return bound_metric_sizes_2d(M, hmin, hmax); }

};

template <>
struct metric_ops<3> {
    static double form(const double* M, const double* v) {
        return M[0] * v[0] * v[0] + M[2] * v[1] * v[1] + M[5] * v[2] * v[2] +
               2.0 * (M[1] * v[0] * v[1] + M[3] * v[0] * v[2] + M[4] * v[1] * v[2]);
    }
    static bool bound(double* M, double hmin, double hmax) { return bound_metric_sizes_3d(M, hmin, hmax); }
};

// The metric interpolation between the end metrics of one edge, reducing the pair only once
// however many nodes the edge receives (the result is that of interpolate_metric_2d / _3d).
template <unsigned Dim>
class edge_interpolation {
public:
    bool at(double x, const double* M0, const double* M1, double* out) {
        if (std::fabs(x) < 1e-12 || std::fabs(1.0 - x) < 1e-12) return interpolate_ends(x, M0, M1, out);
        if (state_ == 0) state_ = reduce(M0, M1, record_) ? 1 : -1;
        double result[Dim * (Dim + 1) / 2];
        if (state_ < 0 || !interpolate(record_, x, result)) return false;
        std::memcpy(out, result, sizeof result);
        return true;
    }

private:
    using record_type = typename std::conditional<Dim == 2, reduced_metric_pair_2d, reduced_metric_pair_3d>::type;
    static bool reduce(const double* M0, const double* M1, reduced_metric_pair_2d& r) {
        return reduce_metric_pair_2d(M0, M1, r);
    }
    static bool reduce(const double* M0, const double* M1, reduced_metric_pair_3d& r) {
        return reduce_metric_pair_3d(M0, M1, r);
    }
    static bool interpolate(const reduced_metric_pair_2d& r, double x, double* out) {
        return interpolate_reduced_metric_2d(r, x, out);
    }
    static bool interpolate(const reduced_metric_pair_3d& r, double x, double* out) {
        return interpolate_reduced_metric_3d(r, x, out);
    }
    // At an end the metric is copied as it is.
    static bool interpolate_ends(double x, const double* M0, const double* M1, double* out) {
        if (Dim == 2) return interpolate_metric_2d(x, M0, M1, out);
        return interpolate_metric_3d(x, M0, M1, out);
    }

    int state_ = 0; // 0 not reduced yet, 1 reduced, -1 cannot be reduced
    record_type record_{};
};

// What differs between the field kinds: the metric length of an edge, the grading that places
// a node inside it, the field at a new node, and the cap by a curvature limit.
template <unsigned Dim, class Kind>
struct field_rules;

template <unsigned Dim>
struct field_rules<Dim, isotropic_sizes> {
    static constexpr unsigned width = 1;
    struct grading {
        double h0, h1;
    };
    static double metric_length(const double* v, const double* f0, const double* f1) {
        double sq = 0.0;
        for (unsigned r = 0; r < Dim; ++r) sq += v[r] * v[r];
        return metric_length_1d(std::sqrt(sq), f0[0], f1[0], false);
    }
    static grading edge_grading(const double*, const double* f0, const double* f1) { return {f0[0], f1[0]}; }
    static double fraction(double t, const grading& g) { return progression_fraction(t, g.h0, g.h1); }
    // The size varies linearly in the physical fraction, as the size model has it.
    static void interpolate(double x, grading& g, double* out) { out[0] = g.h0 + (g.h1 - g.h0) * x; }
    static void cap(double* f, double limit) {
        if (limit < f[0]) f[0] = limit;
    }
};

template <unsigned Dim>
struct field_rules<Dim, anisotropic_metrics> {
    static constexpr unsigned width = Dim * (Dim + 1) / 2;
    // The edge's end metrics and its lengths in them (when both are defined).
    struct grading {
        const double* M0;
        const double* M1;
        double l0, l1;
        bool graded;
        edge_interpolation<Dim> between;
    };
    static grading edge_grading(const double* v, const double* f0, const double* f1) {
        const double q0 = metric_ops<Dim>::form(f0, v), q1 = metric_ops<Dim>::form(f1, v);
        if (q0 > 0.0 && q1 > 0.0) return {f0, f1, std::sqrt(q0), std::sqrt(q1), true, {}};
        return {f0, f1, 0.0, 0.0, false, {}};
    }
    static double metric_length(const double* v, const double* f0, const double* f1) {
        const double q0 = metric_ops<Dim>::form(f0, v), q1 = metric_ops<Dim>::form(f1, v);
        if (q0 > 0.0 && q1 > 0.0) {
            const double l0 = std::sqrt(q0), l1 = std::sqrt(q1);
            return metric_length_1d(l0 * l1, l0, l1, false);
        }
        // Without two positive forms the size cannot vary along the edge: use the finer end
        // that is defined (|v| times its directional factor), or nothing.
        double q = 0.0;
        if (q0 > q) q = q0;
        if (q1 > q) q = q1;
        return std::sqrt(q);
    }
    // An edge's length in a metric is |v| over the size along it, so the size ratio h1 / h0 of
    // the progression is l0 / l1.
    static double fraction(double t, const grading& g) { return g.graded ? progression_fraction(t, g.l1, g.l0) : t; }
    static void interpolate(double x, grading& g, double* out) {
        if (!g.between.at(x, g.M0, g.M1, out)) std::memcpy(out, x <= 0.5 ? g.M0 : g.M1, width * sizeof(double));
    }
    // Raises the eigenvalues to at least 1 / limit^2; a metric the bounding refuses stays as it is.
    static void cap(double* f, double limit) {
        double m[width];
        std::memcpy(m, f, sizeof m);
        if (metric_ops<Dim>::bound(m, 0.0, limit)) std::memcpy(f, m, sizeof m);
    }
};

// The element count of a line of metric length L: rounded (to a multiple of 2 when even),
// at least 1, clamped to [nmin, nmax], and made even last, so an odd nmax can be passed by one.
unsigned long long element_count(double L, bool even, unsigned nmin, unsigned nmax) {
    unsigned long long E = segment_count(L, even ? 2u : 1u);
    if (E < 1) E = 1;
    if (E < nmin) E = nmin;
    if (E > nmax) E = nmax;
    if (even && (E & 1u)) ++E;
    return E;
}

// Rewrites a matrix with `rows` rows and `cols` columns (contiguous when it had another shape).
bool shape_matrix(dense2D<double>& m, unsigned rows, unsigned cols) {
    if (m.rows() != rows) m.clear();
    return m.resize(rows, cols);
}

// Points at the given non-decreasing parameters on `line`, linear between the bracketing nodes
// (the arithmetic of interpolate_coordinates), written Dim-contiguous to `out`.
template <unsigned Dim>
void place_on_polyline(const node_source& line, const double* query, unsigned count, double* out) {
    const unsigned n = line.n;
    const double* p = line.params;
    unsigned i = 0;
    for (unsigned k = 0; k < count; ++k, out += Dim) {
        const double s = query[k];
        i = lower_bound_from(p, i, n, s);
        const bool inside = i > 0 && i < n;
        const double* b = line.point(i < n ? i : n - 1);
        const double* a = inside ? line.point(i - 1) : b;
        const double t = (inside && p[i - 1] < p[i]) ? (s - p[i - 1]) / (p[i] - p[i - 1]) : 0.0;
        for (unsigned r = 0; r < Dim; ++r) out[r] = (b[r] - a[r]) * t + a[r];
    }
}

// Copies the sizes or metrics of the polyline into `limited` (width values per node) and caps
// each by the chord whose sagitta is |chordal| times the local radius, never below hmin.
template <unsigned Dim, class Kind>
int limit_by_curvature(const polyline_ref& line, const line_options& options, dense1D<double>& limited) {
    using rules = field_rules<Dim, Kind>;
    constexpr unsigned K = rules::width;
    const unsigned n = line.nodes.n;
    dense1D<double> curv;
    const int rc = curvatures(*line.pos, line.indices, curv);
    if (rc != 0) return rc;
    if (curv.size() != n || !limited.resize(K * n)) return -199;
    const double chord = std::sqrt(8.0 * std::fabs(options.chordal));
    for (unsigned i = 0; i < n; ++i) {
        double* f = limited.data() + std::size_t(i) * K;
        std::memcpy(f, line.nodes.field(i), K * sizeof(double));
        const double kappa = curv[i];
        if (!(kappa > 0.0)) continue; // a straight stretch sets no limit
        double limit = chord / kappa;
        if (limit < options.hmin) limit = options.hmin;
        rules::cap(f, limit);
    }
    return 0;
}

// The working chain after a pass: the polyline's ends around the pass's new nodes, the new
// coordinates taken on the caller's polyline at their parameters.
template <unsigned Dim, unsigned K>
int build_working_chain(const node_source& caller, const dense1D<double>& params, const dense2D<double>& fields,
                        dense2D<double>& wpoints, dense1D<double>& wparams, dense2D<double>& wfields) {
    const unsigned m = params.size();
    const unsigned count = m + 2;
    if (!shape_matrix(wpoints, Dim, count) || !wparams.resize(count) || !shape_matrix(wfields, K, count)) return -199;
    double* wp = wparams.data();
    wp[0] = caller.params[0];
    if (m) std::memcpy(wp + 1, params.data(), m * sizeof(double));
    wp[m + 1] = caller.params[caller.n - 1];
    double* wf = wfields.data();
    std::memcpy(wf, caller.field(0), K * sizeof(double));
    for (unsigned k = 0; k < m; ++k) std::memcpy(wf + std::size_t(k + 1) * K, &fields(0, k), K * sizeof(double));
    std::memcpy(wf + std::size_t(m + 1) * K, caller.field(caller.n - 1), K * sizeof(double));
    place_on_polyline<Dim>(caller, wp, count, wpoints.data());
    return 0;
}

} // namespace

template <unsigned Dim, class Kind>
int mesh_line_pass_on(const node_source& line, bool even, unsigned nmin, unsigned nmax, dense1D<double>& running,
                      dense2D<double>& points, dense1D<double>& params, dense2D<double>& fields) {
    using rules = field_rules<Dim, Kind>;
    constexpr unsigned K = rules::width;
    const unsigned n = line.n;
    if (!running.resize(n)) return -199;

    // Running metric lengths of the edges; S[n-1] is the line's metric length.
    double* S = running.data();
    S[0] = 0.0;
    double v[Dim];
    for (unsigned i = 1; i < n; ++i) {
        const double* a = line.point(i - 1);
        const double* b = line.point(i);
        for (unsigned r = 0; r < Dim; ++r) v[r] = b[r] - a[r];
        S[i] = S[i - 1] + rules::metric_length(v, line.field(i - 1), line.field(i));
    }
    const double L = S[n - 1];
    const unsigned long long E = element_count(L, even, nmin, nmax);
    const unsigned long long fresh = E - 1;
    if (fresh * (Dim > K ? Dim : K) > largest_unsigned) return -199;
    const unsigned m = static_cast<unsigned>(fresh);
    if (!shape_matrix(points, Dim, m) || !params.resize(m) || !shape_matrix(fields, K, m)) return -199;
    if (m == 0) return 0;

    // New node k sits at metric abscissa k L / E, inside the edge (j-1, j) whose running sums
    // bracket it; the abscissas grow, so the edge only ever moves forward.
    const double step = L / static_cast<double>(E);
    const std::size_t pld = points.ld(), fld = fields.ld();
    double* out_point = points.data();
    double* out_field = fields.data();
    double* out_param = params.data();
    unsigned j = 1;
    const double* P0 = line.point(0);
    const double* P1 = line.point(1);
    for (unsigned r = 0; r < Dim; ++r) v[r] = P1[r] - P0[r];
    typename rules::grading g = rules::edge_grading(v, line.field(0), line.field(1));
    for (unsigned k = 1; k < m + 1; ++k, out_point += pld, out_field += fld) {
        const double s = static_cast<double>(k) * step;
        if (S[j] < s && j + 1 < n) {
            do ++j;
            while (j + 1 < n && S[j] < s);
            P0 = line.point(j - 1);
            P1 = line.point(j);
            for (unsigned r = 0; r < Dim; ++r) v[r] = P1[r] - P0[r];
            g = rules::edge_grading(v, line.field(j - 1), line.field(j));
        }
        const double S0 = S[j - 1], S1 = S[j];
        const double t = S1 > S0 ? (s - S0) / (S1 - S0) : 0.0;
        const double x = rules::fraction(t, g);
        const double p0 = line.params[j - 1], p1 = line.params[j];
        out_param[k - 1] = p0 + (p1 - p0) * x;
        for (unsigned r = 0; r < Dim; ++r) out_point[r] = P0[r] + (P1[r] - P0[r]) * x;
        rules::interpolate(x, g, out_field);
    }
    return 0;
}

template <unsigned Dim, class Kind>
int mesh_line_core(const polyline_ref& line, const line_options& options, line_chain& chain) {
    constexpr unsigned K = field_width<Dim, Kind>::value;
    node_source caller = line.nodes;
    const unsigned n = caller.n;

    dense1D<double> limited;
    if (options.chordal < 0.0) {
        const int rc = limit_by_curvature<Dim, Kind>(line, options, limited);
        if (rc != 0) return rc;
        caller.fields = limited.data();
        caller.field_ld = K;
    }

    dense1D<double> running;
    dense2D<double> points, fields;
    dense1D<double> params;
    int rc = mesh_line_pass_on<Dim, Kind>(caller, options.even, options.nmin, options.nmax, running, points, params,
                                          fields);
    if (rc != 0) return rc;

    // Later passes mesh the previous pass's chain, re-placed on the caller's polyline, until the
    // node count stops falling (the first pass is compared with the largest unsigned) or the
    // pass reaches nmin exactly.
    unsigned passes = 1;
    unsigned long long previous = largest_unsigned;
    dense2D<double> wpoints, wfields;
    dense1D<double> wparams;
    for (;;) {
        const unsigned long long E = params.size() + 1ull;
        if (n == 2 || !(E + 1 < previous) || E == options.nmin) break;
        previous = E + 1;
        rc = build_working_chain<Dim, K>(caller, params, fields, wpoints, wparams, wfields);
        if (rc != 0) return rc;
        node_source work;
        work.coords = wpoints.data();
        work.ld = Dim;
        work.params = wparams.data();
        work.fields = wfields.data();
        work.field_ld = K;
        work.n = wparams.size();
        rc = mesh_line_pass_on<Dim, Kind>(work, options.even, options.nmin, options.nmax, running, points, params,
                                          fields);
        if (rc != 0) return rc;
        ++passes;
    }

    // The chain: the polyline's ends (sizes as limited) around the last pass's new nodes. After
    // more than one pass those were placed on chords of a working chain, so they are put back on
    // the caller's polyline at their parameters: exactly what the working chain of a further
    // pass would hold, so its buffers are reused.
    chain.indices.clear();
    const unsigned m = params.size();
    if (passes > 1) {
        rc = build_working_chain<Dim, K>(caller, params, fields, wpoints, wparams, wfields);
        if (rc != 0) return rc;
        chain.params = wparams;
        chain.fields = wfields;
        chain.points = wpoints.sub_matrix(0, 1, Dim, m);
        return 0;
    }
    chain.params.clear();
    chain.fields.clear();
    if (!chain.params.resize(m + 2) || !chain.fields.resize(K, m + 2)) return -199;
    double* cp = chain.params.data();
    cp[0] = caller.params[0];
    if (m) std::memcpy(cp + 1, params.data(), m * sizeof(double));
    cp[m + 1] = caller.params[n - 1];
    std::memcpy(&chain.fields(0, 0), caller.field(0), K * sizeof(double));
    for (unsigned k = 0; k < m; ++k) std::memcpy(&chain.fields(0, k + 1), &fields(0, k), K * sizeof(double));
    std::memcpy(&chain.fields(0, m + 1), caller.field(n - 1), K * sizeof(double));
    chain.points = points;
    return 0;
}

bool number_chain(line_chain& chain, unsigned first, unsigned first_new, unsigned last) {
    const unsigned nodes = chain.params.size();
    if (nodes < 2 || static_cast<unsigned long long>(first_new) + (nodes - 2) > largest_unsigned) return false;
    if (!chain.indices.resize(nodes)) return false;
    unsigned* idx = chain.indices.data();
    idx[0] = first;
    for (unsigned k = 1; k + 1 < nodes; ++k) idx[k] = first_new + (k - 1);
    idx[nodes - 1] = last;
    return true;
}

#define VX4_LINE_CORE(DIM, KIND)                                                                                   \
    template int mesh_line_pass_on<DIM, KIND>(const node_source&, bool, unsigned, unsigned, dense1D<double>&,     \
                                              dense2D<double>&, dense1D<double>&, dense2D<double>&);             \
    template int mesh_line_core<DIM, KIND>(const polyline_ref&, const line_options&, line_chain&);
VX4_LINE_CORE(2, isotropic_sizes)
VX4_LINE_CORE(3, isotropic_sizes)
VX4_LINE_CORE(2, anisotropic_metrics)
VX4_LINE_CORE(3, anisotropic_metrics)
#undef VX4_LINE_CORE

} // namespace detail
} // namespace tessora1d
} // namespace vx4
