#include "line/line_core.h"

#include <vx4/tessora1d.h>

#include "geometry/kernels.h"
#include "geometry/parameter_search.h"
#include "metrics/metric_algebra.h"
#include "metrics/metric_kernels.h"
#include "line/size_model.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// The bounding of the sizes, which differs between 2-D and 3-D.
template <unsigned Dim>
bool bound_metric_sizes(double* M, double hmin, double hmax) {
    if constexpr (Dim == 2) return bound_metric_sizes_2d(M, hmin, hmax);
    else return bound_metric_sizes_3d(M, hmin, hmax);
}

// The metric interpolation between the end metrics of one edge, reducing the pair and taking
// the sizes along the common directions only once however many nodes the edge receives (the
// result is that of interpolate_metric_2d / _3d).
template <unsigned Dim>
class edge_interpolation {
public:
    bool at(double x, const double* M0, const double* M1, double* out) {
        if (std::fabs(x) < metric_end_tolerance || std::fabs(1.0 - x) < metric_end_tolerance)
            return interpolate_ends(x, M0, M1, out);
        if (state_ == 0) state_ = prepare(M0, M1) ? 1 : -1;
        // Straight into `out` (never one of the end metrics): a failure leaves zeros that the
        // caller replaces.
        return state_ > 0 && metric_kernels::interpolate_sizes_in_frame<Dim>(Q_, h0_, h1_, x, out);
    }

    // Reduces the pair now when a node at x will need it (an interior node of an edge not
    // reduced yet), so that the reductions of several edges can be run back to back.
    void prepare_for(double x, const double* M0, const double* M1) {
        if (state_ == 0 && !(std::fabs(x) < metric_end_tolerance || std::fabs(1.0 - x) < metric_end_tolerance))
            state_ = prepare(M0, M1) ? 1 : -1;
    }

private:
    // The reduced pair and its sizes; false when the pair cannot be reduced or its eigenvalues
    // are unusable, which no fraction can change.
    bool prepare(const double* M0, const double* M1) {
        double lambda0[Dim], lambda1[Dim];
        return metric_kernels::reduce_metric_pair<Dim>(M0, M1, Q_, lambda0, lambda1) &&
               metric_kernels::common_frame_sizes<Dim>(lambda0, lambda1, h0_, h1_);
    }
    // At an end the metric is copied as it is.
    static bool interpolate_ends(double x, const double* M0, const double* M1, double* out) {
        if (Dim == 2) return interpolate_metric_2d(x, M0, M1, out);
        return interpolate_metric_3d(x, M0, M1, out);
    }

    int state_ = 0; // 0 not prepared yet, 1 prepared, -1 cannot be interpolated
    double Q_[Dim * Dim];
    double h0_[Dim], h1_[Dim];
};

// What differs between the field kinds: the metric length of an edge, the grading that places
// a node inside it, the field at a new node, and the cap by a curvature limit.
template <unsigned Dim, class Kind>
struct field_rules;

template <unsigned Dim>
struct field_rules<Dim, isotropic_sizes> {
    static constexpr unsigned width = 1;
    static constexpr bool grading_reads_edge = false; // whether the grading needs the edge's vector
    struct grading {
        double h0, h1;
    };
    static double metric_length(const double* v, const double* f0, const double* f1) {
        double sq = 0.0;
        for (unsigned r = 0; r < Dim; ++r) sq += v[r] * v[r];
        return metric_length_1d(std::sqrt(sq), f0[0], f1[0], false);
    }
    struct edge {
        double length;
    };
    static edge measure_edge(const double* v, const double* f0, const double* f1) { return {metric_length(v, f0, f1)}; }
    static grading edge_grading(const edge&, const double* f0, const double* f1) { return {f0[0], f1[0]}; }
    static double fraction(double t, const grading& g) { return progression_fraction(t, g.h0, g.h1); }
    // The size varies linearly in the physical fraction, as the size model has it.
    static void interpolate(double x, grading& g, double* out) { out[0] = g.h0 + (g.h1 - g.h0) * x; }
    // Writes each node's size at once.
    struct field_writer {
        void interpolate(double x, grading& g, double* out) { field_rules::interpolate(x, g, out); }
        void flush() {}
        bool idle() const { return true; }
    };
    static void cap(double* f, double limit) {
        if (limit < f[0]) f[0] = limit;
    }
};

template <unsigned Dim>
struct field_rules<Dim, anisotropic_metrics> {
    static constexpr unsigned width = Dim * (Dim + 1) / 2;
    static constexpr bool grading_reads_edge = true;
    // The edge's end metrics and its lengths in them (when both are defined).
    struct grading {
        const double* M0;
        const double* M1;
        double l0, l1;
        bool graded;
    };
    // An edge's metric length with the directional factors it came from, l_i = sqrt(v^T M_i v)
    // (set when both forms are positive), so that its grading needs no second look at the edge.
    struct edge {
        double length;
        double l0, l1;
        bool graded;
    };
    // Always inlined, as the batch's flush below: called once or twice per node, out of line
    // they cost a sixth of an anisotropic pass.
    [[gnu::always_inline]] static edge measure_edge(const double* v, const double* f0, const double* f1) {
        const double q[2] = {quadratic_form<Dim>(f0, v), quadratic_form<Dim>(f1, v)};
        if (q[0] > 0.0 && q[1] > 0.0) {
            double l[2];
            metric_kernels::sqrt_two(q, l);
            return {metric_length_1d(l[0] * l[1], l[0], l[1], false), l[0], l[1], true};
        }
        // Without two positive forms the size cannot vary along the edge: use the finer end
        // that is defined (|v| times its directional factor), or nothing.
        double finer = 0.0;
        if (q[0] > finer) finer = q[0];
        if (q[1] > finer) finer = q[1];
        return {std::sqrt(finer), 0.0, 0.0, false};
    }
    static double metric_length(const double* v, const double* f0, const double* f1) {
        return measure_edge(v, f0, f1).length;
    }
    static grading edge_grading(const edge& e, const double* f0, const double* f1) {
        return {f0, f1, e.l0, e.l1, e.graded};
    }
    // An edge's length in a metric is |v| over the size along it, so the size ratio h1 / h0 of
    // the progression is l0 / l1.
    static double fraction(double t, const grading& g) { return g.graded ? progression_fraction(t, g.l1, g.l0) : t; }
    // Queues the metric interpolations of a pass's nodes and runs them a batch at a time: the
    // reductions of consecutive edges do not depend on each other, and run back to back they
    // overlap instead of each waiting on its own chain of roots and divisions. An edge is known
    // by its end metrics, which nothing writes during a pass.
    class field_writer {
    public:
        void interpolate(double x, const grading& g, double* out) {
            if (edges_ == 0 || slots_[edges_ - 1].M0 != g.M0 || slots_[edges_ - 1].M1 != g.M1)
                slots_[edges_++] = {g.M0, g.M1, {}};
            queue_[queued_++] = {x, out, edges_ - 1};
            if (queued_ == batch) flush();
        }
        [[gnu::always_inline]] void flush() {
            for (unsigned i = 0; i < queued_; ++i) {
                edge& e = slots_[queue_[i].edge];
                e.between.prepare_for(queue_[i].x, e.M0, e.M1);
            }
            for (unsigned i = 0; i < queued_; ++i) {
                edge& e = slots_[queue_[i].edge];
                const double x = queue_[i].x;
                if (!e.between.at(x, e.M0, e.M1, queue_[i].out))
                    std::memcpy(queue_[i].out, x <= 0.5 ? e.M0 : e.M1, width * sizeof(double));
            }
            // The last edge may receive more nodes in the next batch: keep it with its reduction.
            if (edges_ > 1) slots_[0] = slots_[edges_ - 1];
            if (edges_ > 0) edges_ = 1;
            queued_ = 0;
        }
        // Whether every queued node has its metric; the only end metrics still referred to are
        // then those of the edge of the last node.
        bool idle() const { return queued_ == 0; }

    private:
        static constexpr unsigned batch = 32;
        struct edge {
            const double* M0;
            const double* M1;
            edge_interpolation<Dim> between;
        };
        struct node {
            double x;
            double* out;
            unsigned edge;
        };
        edge slots_[batch + 1];
        node queue_[batch];
        unsigned edges_ = 0, queued_ = 0;
    };
    // Raises the eigenvalues to at least 1 / limit^2; a metric the bounding refuses stays as it is.
    static void cap(double* f, double limit) {
        double m[width];
        std::memcpy(m, f, sizeof m);
        if (bound_metric_sizes<Dim>(m, 0.0, limit)) std::memcpy(f, m, sizeof m);
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

// Points at non-decreasing parameters on a polyline, linear between the bracketing nodes (the
// arithmetic of interpolate_coordinates). Each search resumes where the previous one ended, so a
// sweep costs time linear in the two lengths; `cursor` can be saved and restored to resume a
// sweep part way, with the same results as the sweep from the start.
template <unsigned Dim>
struct polyline_locator {
    const node_source* line;
    unsigned cursor = 0;

    void at(double s, double* out) {
        const unsigned n = line->n;
        const unsigned i = cursor = line->lower_bound(cursor, s);
        const bool inside = i > 0 && i < n;
        const double* b = line->point(i < n ? i : n - 1);
        const double* a = inside ? line->point(i - 1) : b;
        double t = 0.0;
        if (inside) {
            const double p0 = line->param(i - 1), p1 = line->param(i);
            if (p0 < p1) t = (s - p0) / (p1 - p0);
        }
        for (unsigned r = 0; r < Dim; ++r) out[r] = (b[r] - a[r]) * t + a[r];
    }
};

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

// The two polylines a pass reads, node by node in order. `mark` is where the reader stands after
// the node just read and `resume` goes back there, so that a pass can skip ahead.

// The caller's polyline (its sizes possibly limited), read in place.
template <unsigned Dim>
struct caller_nodes {
    const node_source& line;

    unsigned size() const { return line.n; }
    double param(unsigned i) const { return line.param(i); }
    const double* field(unsigned i) const { return line.field(i); }
    void point(unsigned i, double* out) const {
        const double* p = line.point(i);
        for (unsigned r = 0; r < Dim; ++r) out[r] = p[r];
    }
    unsigned mark() const { return 0; }
    void resume(unsigned) {}
};

// The previous pass's chain: parameters and fields from its buffer, coordinates put back on the
// caller's polyline at those parameters as they are read, so that every pass measures and places
// along the caller's line without a stored copy of the chain's points.
template <unsigned Dim>
struct chain_nodes {
    const double* params;
    const double* fields;
    std::size_t field_ld;
    unsigned n;
    polyline_locator<Dim> on_caller;

    unsigned size() const { return n; }
    double param(unsigned i) const { return params[i]; }
    const double* field(unsigned i) const { return fields + i * field_ld; }
    void point(unsigned i, double* out) { on_caller.at(params[i], out); }
    unsigned mark() const { return on_caller.cursor; }
    void resume(unsigned m) { on_caller.cursor = m; }
};

// The running metric lengths S_i of a polyline are needed twice: their total sets E, and each new
// node looks up the edge whose sums bracket its abscissa. They are kept only every `sum_stride`
// nodes and the few between are summed again while placing, in the same order, so a polyline of
// a million nodes costs an eighth of a byte per node instead of eight. 64 keeps that re-summing
// below 63 edges per new node.
constexpr unsigned sum_stride = 64;

// An isotropic chain's edges are also kept one by one: a chain has about as many nodes as it gets
// new ones, so their lengths cost a fraction of the pass's own output, and placing then adds them
// up instead of putting each chain node back on the polyline and measuring its edge again. An
// anisotropic chain's grading reads each edge's vector anyway, and its output is large enough that
// kept lengths would pass twice the result's memory, so its edges are measured again.
struct running_sums {
    dense1D<double> kept;    // S at nodes 0, stride, 2 stride, ...
    dense1D<unsigned> marks; // the reader's mark after each of those nodes
    dense1D<double> edges;   // metric length of each edge when kept, else empty
};

template <unsigned Dim, class Kind, class Nodes>
bool measure(Nodes& nodes, running_sums& sums, double& length, bool keep_edges) {
    using rules = field_rules<Dim, Kind>;
    const unsigned n = nodes.size();
    const unsigned kept = (n - 1) / sum_stride + 1;
    if (!sums.kept.resize(kept) || !sums.marks.resize(kept) || !sums.edges.resize(keep_edges ? n - 1 : 0))
        return false;
    double* S = sums.kept.data();
    unsigned* marks = sums.marks.data();
    double* edges = keep_edges ? sums.edges.data() : nullptr;
    double a[Dim], b[Dim], v[Dim];
    nodes.point(0, a);
    double total = 0.0;
    S[0] = total;
    marks[0] = nodes.mark();
    for (unsigned i = 1; i < n; ++i) {
        nodes.point(i, b);
        for (unsigned r = 0; r < Dim; ++r) v[r] = b[r] - a[r];
        const double edge = rules::metric_length(v, nodes.field(i - 1), nodes.field(i));
        if (edges) edges[i - 1] = edge;
        total = total + edge;
        if (i % sum_stride == 0) {
            S[i / sum_stride] = total;
            marks[i / sum_stride] = nodes.mark();
        }
        for (unsigned r = 0; r < Dim; ++r) a[r] = b[r];
    }
    length = total;
    return true;
}

// Where a pass writes its new node k (k = 1 .. E-1): entry k - 1 of each array; points only
// when they are wanted. Every node is written where it stays, so nothing is left to settle.
struct pass_output {
    double* params;
    double* fields;
    std::size_t field_ld;
    double* points;
    std::size_t point_ld;

    double* param(unsigned k) const { return params + (k - 1); }
    double* field(unsigned k) const { return fields + std::size_t(k - 1) * field_ld; }
    bool wants_points() const { return points != nullptr; }
    double* point(unsigned k) const { return points + std::size_t(k - 1) * point_ld; }
    bool settle(unsigned, unsigned) { return true; }
    bool finish(unsigned) { return true; }
};

// A pass that re-meshes a chain writes the new chain over the one it reads, so that all passes
// share one pair of buffers. New node k takes entry k once the reading has left old node k
// behind (the pass still reads old nodes from j - 1 on, j the end of the edge it is in); until
// then it waits in a small ring. A chain re-meshed to about its own count waits a node or two.
// Should the new nodes ever run further ahead of the reading than the ring holds (the new chain
// denser than the old over a long stretch), the rest of the pass goes to the chain's spare
// buffers, the nodes written so far copied there first, as if it had never written in place.
template <unsigned K>
class over_previous_chain {
public:
    over_previous_chain(line_chain& chain, unsigned m)
        : chain_(chain), params_(chain.params.data()), fields_(chain.fields.data()), ld_(chain.fields.ld()), m_(m) {}

    double* param(unsigned k) { return spilled_ ? spill_params_ + k : ring_params_ + k % ring; }
    double* field(unsigned k) {
        return spilled_ ? spill_fields_ + std::size_t(k) * spill_ld_ : ring_fields_ + std::size_t(k % ring) * K;
    }
    bool wants_points() const { return false; }
    double* point(unsigned) const { return nullptr; }
    // Called with no field write pending, after node k was placed in the old edge (j - 1, j):
    // moves the nodes the reading has passed. False when the spare buffers are needed and cannot
    // be had.
    bool settle(unsigned k, unsigned j) {
        if (spilled_) return true;
        move_up_to(std::min(k, j < 2 ? 0u : j - 2));
        return k - written_ <= ring - free_slots || spill(k);
    }
    // After the pass: nothing is read any more, every node goes to its place.
    bool finish(unsigned k) {
        if (!spilled_) move_up_to(k);
        return true;
    }
    // Whether the new chain ended in the spare buffers.
    bool spilled() const { return spilled_; }

private:
    static constexpr unsigned ring = 256;
    // Slots kept free at every settling: a batch of queued metric interpolations (32) fills some
    // before the next one.
    static constexpr unsigned free_slots = 64;

    void move_up_to(unsigned last) {
        for (unsigned k = written_ + 1; k <= last; ++k) {
            params_[k] = ring_params_[k % ring];
            std::memcpy(fields_ + std::size_t(k) * ld_, ring_fields_ + std::size_t(k % ring) * K, K * sizeof(double));
        }
        if (last > written_) written_ = last;
    }
    bool spill(unsigned k) {
        if (!chain_.spare_params.resize(m_ + 2) || !shape_matrix(chain_.spare_fields, K, m_ + 2)) return false;
        spill_params_ = chain_.spare_params.data();
        spill_fields_ = chain_.spare_fields.data();
        spill_ld_ = chain_.spare_fields.ld();
        for (unsigned i = 1; i <= k; ++i) {
            const bool moved = i <= written_;
            spill_params_[i] = moved ? params_[i] : ring_params_[i % ring];
            std::memcpy(spill_fields_ + std::size_t(i) * spill_ld_,
                        moved ? fields_ + std::size_t(i) * ld_ : ring_fields_ + std::size_t(i % ring) * K,
                        K * sizeof(double));
        }
        spilled_ = true;
        return true;
    }

    line_chain& chain_;
    double* params_;
    double* fields_;
    std::size_t ld_;
    unsigned m_;
    unsigned written_ = 0; // new nodes 1 .. written_ are in place
    bool spilled_ = false;
    double* spill_params_ = nullptr;
    double* spill_fields_ = nullptr;
    std::size_t spill_ld_ = 0;
    double ring_params_[ring];
    double ring_fields_[ring * K];
};

// New node k sits at metric abscissa k L / E, inside the edge (j-1, j) whose running sums bracket
// it; the abscissas grow, so the edge only ever moves forward.
// False only when an output that writes in place cannot get its spare buffers.
template <unsigned Dim, class Kind, class Nodes, class Output>
bool place(Nodes& nodes, const running_sums& sums, double length, unsigned long long E, Output& out) {
    using rules = field_rules<Dim, Kind>;
    const unsigned n = nodes.size();
    const unsigned m = static_cast<unsigned>(E - 1);
    if (m == 0) return true;
    const double* kept = sums.kept.data();
    const unsigned* marks = sums.marks.data();
    const unsigned long long nkept = sums.kept.size();

    // With the edges' lengths kept, the nodes' coordinates are read only when the output needs
    // them (lengths are kept only where the grading does not read the edge).
    const double* edges = sums.edges.size() == n - 1 ? sums.edges.data() : nullptr;
    const bool read_points = !edges || out.wants_points();
    double P0[Dim] = {}, P1[Dim] = {}, ahead[Dim] = {}, v[Dim] = {};
    unsigned j = 1;
    double S0 = 0.0, S1 = 0.0;
    typename rules::edge e{}, next{};
    bool measured_ahead = false;
    // Edge j from the current P1 and S1, summed as the measure did: its kept length, or measured
    // again. A measuring step also measures the edge after it, so that the sum the stepping
    // compares with is ready when it is needed instead of waiting on the roots and quotients of
    // its own edge.
    auto step = [&] {
        S0 = S1;
        ++j;
        if (edges) {
            if (read_points) {
                for (unsigned r = 0; r < Dim; ++r) P0[r] = P1[r];
                nodes.point(j, P1);
            }
            S1 = S0 + edges[j - 1];
            return;
        }
        for (unsigned r = 0; r < Dim; ++r) P0[r] = P1[r];
        if (measured_ahead) {
            for (unsigned r = 0; r < Dim; ++r) P1[r] = ahead[r];
            e = next;
        } else {
            nodes.point(j, P1);
            for (unsigned r = 0; r < Dim; ++r) v[r] = P1[r] - P0[r];
            e = rules::measure_edge(v, nodes.field(j - 1), nodes.field(j));
        }
        S1 = S0 + e.length;
        measured_ahead = j + 1 < n;
        if (measured_ahead) {
            nodes.point(j + 1, ahead);
            for (unsigned r = 0; r < Dim; ++r) v[r] = ahead[r] - P1[r];
            next = rules::measure_edge(v, nodes.field(j), nodes.field(j + 1));
        }
    };
    nodes.resume(0);
    if (read_points) nodes.point(0, P1);
    j = 0;
    step();
    typename rules::grading g = rules::edge_grading(e, nodes.field(0), nodes.field(1));
    typename rules::field_writer fields;

    const double spacing = length / static_cast<double>(E);
    for (unsigned k = 1; k < m + 1; ++k) {
        const double s = static_cast<double>(k) * spacing;
        if (S1 < s && j + 1 < n) {
            // The sums never fall, so every node up to a kept one whose sum is below s would be
            // stepped over: go straight to the last such node.
            unsigned long long q = (j + sum_stride - 1ull) / sum_stride, c = 0;
            bool skip = false;
            while (q < nkept && q * sum_stride + 1 < n && kept[q] < s) {
                c = q * sum_stride;
                skip = true;
                ++q;
            }
            if (skip) {
                nodes.resume(marks[c / sum_stride]);
                if (read_points) nodes.point(static_cast<unsigned>(c), P1);
                S1 = kept[c / sum_stride];
                j = static_cast<unsigned>(c);
                measured_ahead = false;
            }
            do step();
            while (j + 1 < n && S1 < s);
            g = rules::edge_grading(e, nodes.field(j - 1), nodes.field(j));
        }
        const double t = S1 > S0 ? (s - S0) / (S1 - S0) : 0.0;
        const double x = rules::fraction(t, g);
        const double p0 = nodes.param(j - 1), p1 = nodes.param(j);
        *out.param(k) = p0 + (p1 - p0) * x;
        if (out.wants_points()) {
            double* point = out.point(k);
            for (unsigned r = 0; r < Dim; ++r) point[r] = P0[r] + (P1[r] - P0[r]) * x;
        }
        fields.interpolate(x, g, out.field(k));
        if (fields.idle() && !out.settle(k, j)) return false;
    }
    fields.flush();
    return out.finish(m);
}

} // namespace

template <unsigned Dim, class Kind>
int mesh_line_pass_on(const node_source& line, bool even, unsigned nmin, unsigned nmax, dense2D<double>& points,
                      dense1D<double>& params, dense2D<double>& fields) {
    constexpr unsigned K = field_width<Dim, Kind>::value;
    caller_nodes<Dim> nodes{line};
    running_sums sums;
    double L = 0.0;
    if (!measure<Dim, Kind>(nodes, sums, L, false)) return -199;
    const unsigned long long E = element_count(L, even, nmin, nmax);
    const unsigned long long fresh = E - 1;
    if (fresh * (Dim > K ? Dim : K) > largest_unsigned) return -199;
    const unsigned m = static_cast<unsigned>(fresh);
    if (!shape_matrix(points, Dim, m) || !params.resize(m) || !shape_matrix(fields, K, m)) return -199;
    if (m == 0) return 0;
    pass_output out{params.data(), fields.data(), fields.ld(), points.data(), points.ld()};
    place<Dim, Kind>(nodes, sums, L, E, out);
    return 0;
}

// Passes: the first meshes the caller's polyline; each later one meshes the chain of the pass
// before, until a pass does not lower the node count (the first is compared with the largest
// unsigned) or gives exactly nmin elements. A later pass writes its chain over the one it reads
// when the new chain is not longer (always but perhaps in the last pass), else to the spare
// buffers. Whether a pass is the last is known once it has counted, so only the last chain gets
// coordinates, written where they stay.
template <unsigned Dim, class Kind>
int mesh_line_core(const polyline_ref& line, const line_options& options, line_chain& chain, dense2D<double>* pos) {
    constexpr unsigned K = field_width<Dim, Kind>::value;
    node_source caller = line.nodes;
    const unsigned n = caller.n;
    const unsigned first_new = pos ? pos->cols() : 0;

    dense1D<double> limited;
    if (options.chordal < 0.0) {
        const int rc = limit_by_curvature<Dim, Kind>(line, options, limited);
        if (rc != 0) return rc;
        caller.fields = limited.data();
        caller.field_ld = K;
    }

    // Room for `count` new nodes: in the chain, or straight in new columns of the caller's matrix.
    // Growing the matrix may move its block, and on some systems (virtual machines with shadow
    // page tables) the first touch of each moved page then costs nearly a fresh fault. So when the
    // polyline has more nodes than the chain gets, the nodes are placed in the chain first and
    // copied over once the matrix has grown, and the placement never reads moved pages.
    bool staged = false;
    auto point_room = [&](unsigned count, double*& out, std::size_t& ld) -> bool {
        staged = pos && count < n;
        if (pos && !staged) {
            if (!add_columns(*pos, count)) return false;
            caller.coords = pos->data(); // the block may have moved as it grew
            chain.points = pos->sub_matrix(0, first_new, Dim, count);
            out = count ? &(*pos)(0, first_new) : nullptr;
            ld = pos->ld();
            return true;
        }
        if (chain.points.storage() && chain.points.storage()->use_count() > 1) chain.points.clear();
        if (!shape_matrix(chain.points, Dim, count)) return false;
        out = chain.points.data();
        ld = chain.points.ld();
        return true;
    };
    // Moves staged nodes to the caller's matrix.
    auto commit_points = [&]() -> bool {
        if (!staged) return true;
        const unsigned count = chain.points.cols();
        if (!add_columns(*pos, count)) return false;
        for (unsigned k = 0; k < count; ++k)
            std::memcpy(&(*pos)(0, first_new + k), &chain.points(0, k), Dim * sizeof(double));
        chain.points = pos->sub_matrix(0, first_new, Dim, count);
        return true;
    };

    running_sums sums;
    constexpr bool keep_chain_edges = !field_rules<Dim, Kind>::grading_reads_edge;
    unsigned long long previous = largest_unsigned;
    for (unsigned pass = 1;; ++pass) {
        caller_nodes<Dim> polyline{caller};
        // From the second pass on, the chain's buffers hold the previous chain.
        chain_nodes<Dim> previous_chain{chain.params.data(), chain.fields.data(), chain.fields.ld(),
                                        chain.params.size(), {&caller}};
        double L = 0.0;
        const bool measured = pass == 1 ? measure<Dim, Kind>(polyline, sums, L, false)
                                        : measure<Dim, Kind>(previous_chain, sums, L, keep_chain_edges);
        if (!measured) return -199;
        const unsigned long long E = element_count(L, options.even, options.nmin, options.nmax);
        if ((E + 1) * (Dim > K ? Dim : K) > largest_unsigned) return -199;
        const unsigned m = static_cast<unsigned>(E - 1);
        const bool last = n == 2 || !(E + 1 < previous) || E == options.nmin;

        // The chain: the polyline's ends (sizes as limited) around the pass's new nodes.
        if (pass > 1 && m + 2 <= chain.params.size()) {
            over_previous_chain<K> out(chain, m);
            if (!place<Dim, Kind>(previous_chain, sums, L, E, out)) return -199;
            if (out.spilled()) {
                std::swap(chain.params, chain.spare_params);
                std::swap(chain.fields, chain.spare_fields);
            }
            // Fewer entries of the same buffers: cannot fail.
            chain.params.resize(m + 2);
            shape_matrix(chain.fields, K, m + 2);
        } else {
            // The previous chain (none in the first pass), still read through its pointers, moves
            // to the spare half.
            std::swap(chain.params, chain.spare_params);
            std::swap(chain.fields, chain.spare_fields);
            if (!chain.params.resize(m + 2) || !shape_matrix(chain.fields, K, m + 2)) return -199;
            pass_output out{chain.params.data() + 1, &chain.fields(0, 1), chain.fields.ld(), nullptr, Dim};
            if (last && pass == 1 && !point_room(m, out.points, out.point_ld)) return -199;
            if (pass == 1) place<Dim, Kind>(polyline, sums, L, E, out);
            else place<Dim, Kind>(previous_chain, sums, L, E, out);
        }
        chain.params[0] = caller.param(0);
        chain.params[m + 1] = caller.param(n - 1);
        std::memcpy(&chain.fields(0, 0), caller.field(0), K * sizeof(double));
        std::memcpy(&chain.fields(0, m + 1), caller.field(n - 1), K * sizeof(double));

        if (last) {
            if (pass == 1) return commit_points() ? 0 : -199;
            // Placed on the chords of the previous chain: put back on the caller's polyline, with
            // the sweep started at the chain's first node as every pass's reading of it is.
            double* points = nullptr;
            std::size_t ld = Dim;
            if (!point_room(m, points, ld)) return -199;
            polyline_locator<Dim> on_caller{&caller};
            double start[Dim];
            on_caller.at(chain.params[0], start);
            for (unsigned k = 0; k < m; ++k) on_caller.at(chain.params[k + 1], points + std::size_t(k) * ld);
            return commit_points() ? 0 : -199;
        }
        previous = E + 1;
    }
}

bool add_columns(dense2D<double>& pos, unsigned count) {
    if (count == 0) return true;
    const unsigned rows = pos.rows(), c0 = pos.cols();
    const unsigned long long need = static_cast<unsigned long long>(c0) + count;
    if (need * pos.ld() > largest_unsigned) return false;
    if (need > pos.column_capacity()) {
        const unsigned long long room = std::max(need, c0 + c0 / 2ull);
        const bool fits = room * pos.ld() <= largest_unsigned && pos.reserve(rows, static_cast<unsigned>(room));
        if (!fits && !pos.reserve(rows, static_cast<unsigned>(need))) return false;
    }
    return pos.resize(rows, static_cast<unsigned>(need));
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
    template int mesh_line_pass_on<DIM, KIND>(const node_source&, bool, unsigned, unsigned, dense2D<double>&,     \
                                              dense1D<double>&, dense2D<double>&);                               \
    template int mesh_line_core<DIM, KIND>(const polyline_ref&, const line_options&, line_chain&, dense2D<double>*);
VX4_LINE_CORE(2, isotropic_sizes)
VX4_LINE_CORE(3, isotropic_sizes)
VX4_LINE_CORE(2, anisotropic_metrics)
VX4_LINE_CORE(3, anisotropic_metrics)
#undef VX4_LINE_CORE

} // namespace detail
} // namespace tessora1d
} // namespace vx4
