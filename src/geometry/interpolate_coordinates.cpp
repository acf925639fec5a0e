#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "geometry/parameter_search.h"

namespace vx4 {
namespace tessora1d {

namespace {

// True when no entry is smaller than the one before it; a NaN never counts as a decrease.
bool is_non_decreasing(const dense1D<double>& values) {
    const double* v = values.data();
    for (unsigned i = 1; i < values.size(); ++i)
        if (v[i] < v[i - 1]) return false;
    return true;
}

// The chain nodes a and b around a query and its fraction t from a to b.
struct chain_bracket {
    unsigned a, b;
    double t;
};

// Walks non-decreasing queries along the chain, each search resuming where the last one ended.
// Below the first parameter the first node is taken, past the last one (or for a NaN) the last.
class chain_walker {
public:
    chain_walker(const dense1D<unsigned>& nodes, const dense1D<double>& params)
        : nodes_(nodes.data()), p_(params.data()), n_(nodes.size()) {}

    chain_bracket next(double s) {
        i_ = detail::lower_bound_from(p_, i_, n_, s);
        if (i_ == 0 || i_ == n_) {
            const unsigned end = nodes_[i_ == 0 ? 0 : n_ - 1];
            return {end, end, 0.0};
        }
        const double p0 = p_[i_ - 1], p1 = p_[i_];
        return {nodes_[i_ - 1], nodes_[i_], p0 < p1 ? (s - p0) / (p1 - p0) : 0.0};
    }

private:
    const unsigned* nodes_;
    const double* p_;
    unsigned n_;
    unsigned i_ = 0;
};

} // namespace

int interpolate_coordinates(dense2D<double>& coords, const dense1D<unsigned>& nodes, const dense1D<double>& params,
                            const dense1D<unsigned>& new_nodes, const dense1D<double>& new_params) {
    if (params.size() != nodes.size()) return -2;
    if (!is_non_decreasing(params)) return -3;
    if (new_params.size() != new_nodes.size()) return -4;
    if (!is_non_decreasing(new_params)) return -5;
    const unsigned q = new_nodes.size();
    if (q == 0) return 0;
    if (nodes.empty()) return -2;

    // Every column read or written must exist. Only the chain nodes that some query reaches are
    // checked, so a call for a few queries on a long chain stays cheap; a dry walk finds them
    // before anything is written.
    const unsigned ncols = coords.cols();
    chain_walker check(nodes, params);
    for (unsigned k = 0; k < q; ++k) {
        const chain_bracket br = check.next(new_params[k]);
        if (br.a >= ncols || br.b >= ncols) return -2;
    }
    if (!tessora::check_IDs(new_nodes, ncols)) return -4;

    const unsigned rows = coords.rows();
    chain_walker walk(nodes, params);
    for (unsigned k = 0; k < q; ++k) {
        const chain_bracket br = walk.next(new_params[k]);
        const unsigned target = new_nodes[k];
        for (unsigned r = 0; r < rows; ++r) {
            const double xa = coords(r, br.a);
            coords(r, target) = (coords(r, br.b) - xa) * br.t + xa;
        }
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
