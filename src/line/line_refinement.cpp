#include "line/line_core.h"

#include "geometry/kernels.h"

#include <cmath>
#include <cstring>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// The split favours the middle of the line: a node's deviation is weighted by
// 1 + middle_bonus s (1 - s) for its normalized parameter s, from 1 at the ends to 2 midway.
constexpr double middle_bonus = 4.0;

// What the stage does with one part's chain.
struct verdict {
    enum kind_t { keep, spread, whole, cut } kind;
    unsigned nmin;  // element minimum of the re-meshing
    unsigned split; // node (within the part) at which a cut is made
};

// Measures how far the chain strays from the interior nodes of `part` and decides: keep it,
// mesh the part again whole (with more elements when the deviation is spread along it), or cut
// the part at the node whose deviation, weighted towards the middle, is largest.
template <unsigned Dim>
verdict judge(const node_source& part, const line_chain& chain, bool even, double chordal) {
    const unsigned n = part.n;
    const unsigned E = chain.elements();
    const double* cp = chain.params.data();
    const double* first_point = part.point(0);
    const double* last_point = part.point(n - 1);
    const std::size_t pld = chain.points.ld();
    const double* points = chain.points.data();
    auto node = [&](unsigned k) -> const double* {
        if (k == 0) return first_point;
        if (k == E) return last_point;
        return points + (k - 1) * pld;
    };

    double dmax = 0.0, sum = 0.0, amax = 0.0, best = 0.0;
    unsigned split = n - 1;
    const double p_first = part.param(0);
    const double span = part.param(n - 1) - p_first;
    unsigned e = 0;
    for (unsigned i = 1; i + 1 < n; ++i) {
        const double pi = part.param(i);
        // The element that ends at the first chain parameter not below the node's.
        while (e < E && cp[e] < pi) ++e;
        const unsigned end = e == 0 ? 1 : e;
        const double* p = part.point(i);
        const double d = distance_to_line<Dim>(node(end - 1), node(end), p);
        if (d > dmax) dmax = d;
        sum += d;
        for (unsigned r = 0; r < Dim; ++r)
            if (std::fabs(p[r]) > amax) amax = std::fabs(p[r]);
        const double s = (pi - p_first) / span;
        const double weighted = (1.0 + middle_bonus * s * (1.0 - s)) * d;
        if (weighted > best) {
            best = weighted;
            split = i;
        }
    }
    const double mean = n > 2 ? sum / static_cast<double>(n - 2) : 0.0;
    // Never below the rounding noise of the coordinates.
    const double tolerance = chordal + amax * 2.220446049250313e-16;
    const unsigned long long m = E + 1ull;
    if (dmax < tolerance && (!even || (m & 1u))) return {verdict::keep, 0, 0};
    unsigned long long q = (even && (m & 1u)) ? m + 1 : m;
    if (q > largest_unsigned) q = largest_unsigned;
    const double ratio = static_cast<double>(m - 1) / static_cast<double>(q);
    if (dmax / 2.0 < mean && ratio * ratio * dmax < tolerance)
        return {verdict::spread, static_cast<unsigned>(q), 0};
    if (split == n - 1) return {verdict::whole, 1, 0};
    return {verdict::cut, 1, split};
}

// The joined chain, grown leaf by leaf in chain order.
template <unsigned Dim, unsigned K>
class chain_joiner {
public:
    chain_joiner(const polyline_ref& line, unsigned first_new) : line_(line), next_column_(first_new) {}

    // Appends a kept part chain over polyline nodes a .. b: its nodes but the last, which the
    // next part starts with, and the last as well for the part that ends the line.
    bool add(const line_chain& part, unsigned a, unsigned b) {
        const unsigned E = part.elements();
        const bool closes = b + 1 == line_.nodes.n;
        const unsigned count = E + (closes ? 1u : 0u);
        const unsigned fresh = E - 1;
        const unsigned long long size = static_cast<unsigned long long>(joined_.params.size()) + count;
        const unsigned long long cols = static_cast<unsigned long long>(joined_.points.cols()) + fresh;
        if (size * K > largest_unsigned || cols * Dim > largest_unsigned ||
            static_cast<unsigned long long>(next_column_) + fresh > largest_unsigned)
            return false;
        const unsigned new_size = static_cast<unsigned>(size), new_cols = static_cast<unsigned>(cols);
        if (!joined_.indices.reserve(new_size, 2) || !joined_.params.reserve(new_size, 2) ||
            !grow(joined_.fields, K, new_size) || !grow(joined_.points, Dim, new_cols))
            return false;
        const unsigned at = joined_.params.size(), pcol = joined_.points.cols();
        joined_.indices.resize(new_size);
        joined_.params.resize(new_size);
        joined_.fields.resize(K, new_size);
        joined_.points.resize(Dim, new_cols);

        unsigned* idx = joined_.indices.data() + at;
        idx[0] = line_.indices[a];
        for (unsigned k = 1; k < E; ++k) idx[k] = next_column_++;
        if (closes) idx[E] = line_.indices[b];
        std::memcpy(joined_.params.data() + at, part.params.data(), count * sizeof(double));
        for (unsigned k = 0; k < count; ++k)
            std::memcpy(&joined_.fields(0, at + k), &part.fields(0, k), K * sizeof(double));
        for (unsigned k = 0; k < fresh; ++k)
            std::memcpy(&joined_.points(0, pcol + k), &part.points(0, k), Dim * sizeof(double));
        return true;
    }

    line_chain& result() { return joined_; }

private:
    // Room for `cols` columns of `rows` rows, at least doubling.
    static bool grow(dense2D<double>& m, unsigned rows, unsigned cols) {
        if (m.rows() != rows) {
            m.clear();
            if (!m.resize(rows, 0)) return false;
        }
        return cols <= m.column_capacity() || m.reserve(rows, cols, 2);
    }

    const polyline_ref& line_;
    unsigned next_column_;
    line_chain joined_;
};

// Pending parts, last in first out so that parts are finished in chain order.
struct part_task {
    unsigned first, last, nmin;
    // The part's chain meshed with minimum 1 has already been judged on this lineage: meshing it
    // whole with minimum 1 again could only repeat what was decided then.
    unsigned judged_min1;
};

class task_stack {
public:
    bool push(const part_task& t) {
        return items_.push_back(t.first) && items_.push_back(t.last) && items_.push_back(t.nmin) &&
               items_.push_back(t.judged_min1);
    }
    bool empty() const { return items_.size() < 4; }
    part_task pop() {
        const unsigned s = items_.size();
        part_task t{items_[s - 4], items_[s - 3], items_[s - 2], items_[s - 1]};
        items_.resize(s - 4);
        return t;
    }

private:
    dense1D<unsigned> items_;
};

} // namespace

template <unsigned Dim, class Kind>
int refine_line(const polyline_ref& line, const line_options& options, unsigned first_new, line_chain& chain) {
    constexpr unsigned K = field_width<Dim, Kind>::value;
    const unsigned n = line.nodes.n;
    const verdict top = judge<Dim>(line.nodes, chain, options.even, options.chordal);
    if (top.kind == verdict::keep) return 0;

    chain_joiner<Dim, K> joiner(line, first_new);
    task_stack tasks;
    line_options part_options = options;
    part_options.nmax = largest_unsigned;

    // Acts on a verdict for the part first .. last whose chain is `part`; false when memory
    // runs short, which abandons the refinement.
    auto settle = [&](const verdict& v, const part_task& task, const line_chain& part) -> bool {
        switch (v.kind) {
        case verdict::keep:
            return joiner.add(part, task.first, task.last);
        case verdict::spread:
            return tasks.push({task.first, task.last, v.nmin, task.judged_min1});
        case verdict::whole:
            // Meshing again what was already judged would recurse for ever; keep it instead.
            if (task.judged_min1) return joiner.add(part, task.first, task.last);
            return tasks.push({task.first, task.last, 1, 1});
        case verdict::cut: {
            const unsigned split = task.first + v.split;
            return tasks.push({split, task.last, 1, 1}) && tasks.push({task.first, split, 1, 1});
        }
        }
        return false;
    };

    if (!settle(top, {0, n - 1, options.nmin, 0}, chain)) return 0;
    line_chain part;
    while (!tasks.empty()) {
        const part_task task = tasks.pop();
        const polyline_ref piece = line.part(task.first, task.last);
        part_options.nmin = task.nmin;
        // A part that cannot be meshed leaves the core's chain in place, unrefined.
        if (mesh_line_core<Dim, Kind>(piece, part_options, part) != 0 || part.elements() == 0) return 0;
        if (!settle(judge<Dim>(piece.nodes, part, options.even, options.chordal), task, part)) return 0;
    }
    chain = joiner.result();
    return 0;
}

template int refine_line<2, isotropic_sizes>(const polyline_ref&, const line_options&, unsigned, line_chain&);
template int refine_line<3, isotropic_sizes>(const polyline_ref&, const line_options&, unsigned, line_chain&);
template int refine_line<2, anisotropic_metrics>(const polyline_ref&, const line_options&, unsigned, line_chain&);
template int refine_line<3, anisotropic_metrics>(const polyline_ref&, const line_options&, unsigned, line_chain&);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
