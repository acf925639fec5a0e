#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "line/size_model.h"

#include <limits>

namespace vx4 {
namespace tessora1d {
namespace detail {

// The graded form of the conversion: where both ends of an edge carry a usable size in
// `sizes`, the interior nodes follow the size progression instead of being evenly spaced.
int convert_into_high_order_graded(dense2D<double>& coords, const dense2D<unsigned>& connect, unsigned k,
                                   const dense1D<double>& sizes, dense2D<unsigned>& out);

} // namespace detail

namespace {

constexpr unsigned no_node = std::numeric_limits<unsigned>::max();

// A size that can grade an edge: strictly between 0 and the "no limit" value (NaN fails too).
bool is_grading_size(double h) { return h > 0.0 && h < std::numeric_limits<double>::max(); }

// Fraction of the edge (a, b) at which interior node i of k lies.
double interior_fraction(unsigned i, double spacing, unsigned a, unsigned b, const dense1D<double>& sizes) {
    const double t = i * spacing;
    if (a < sizes.size() && b < sizes.size() && is_grading_size(sizes[a]) && is_grading_size(sizes[b]))
        return detail::progression_fraction(t, sizes[a], sizes[b]);
    return t;
}

template <unsigned D>
int convert_edges(dense2D<double>& coords, const dense2D<unsigned>& connect, unsigned k,
                  const dense1D<double>& sizes, dense2D<unsigned>& out) {
    // Emptied before anything is checked: an early return always leaves an empty output.
    out.clear();
    if (connect.empty() || k == 0) return 0;
    const unsigned N = coords.cols();
    if (!tessora::check_IDs(connect, edge2, N)) return -2;

    const unsigned E = connect.cols();
    const unsigned long long total = N + static_cast<unsigned long long>(E) * k;
    const bool fits = total <= std::numeric_limits<unsigned>::max() && k <= no_node - 2;
    if (!fits || !coords.resize(D, static_cast<unsigned>(total), 0.0) || !out.resize(k + 2, E, no_node)) {
        coords.resize(D, N);
        return -199;
    }

    const double spacing = 1.0 / (static_cast<double>(k) + 1.0);
    unsigned next = N;
    for (unsigned e = 0; e < E; ++e) {
        const unsigned a = connect(0, e), b = connect(1, e);
        out(0, e) = a;
        out(1, e) = b;
        double start[D], delta[D];
        for (unsigned r = 0; r < D; ++r) {
            start[r] = coords(r, a);
            delta[r] = coords(r, b) - start[r];
        }
        for (unsigned i = 1; i <= k; ++i, ++next) {
            const double t = interior_fraction(i, spacing, a, b, sizes);
            out(1 + i, e) = next;
            double* node = &coords(0, next);
            for (unsigned r = 0; r < D; ++r) node[r] = t == 0.0 ? start[r] : start[r] + t * delta[r];
        }
    }
    return 0;
}

} // namespace

int detail::convert_into_high_order_graded(dense2D<double>& coords, const dense2D<unsigned>& connect, unsigned k,
                                           const dense1D<double>& sizes, dense2D<unsigned>& out) {
    switch (coords.rows()) {
    case 1: return convert_edges<1>(coords, connect, k, sizes, out);
    case 2: return convert_edges<2>(coords, connect, k, sizes, out);
    case 3: return convert_edges<3>(coords, connect, k, sizes, out);
    default: return -1;
    }
}

int convert_into_high_order(dense2D<double>& coords, const dense2D<unsigned>& connect, unsigned k,
                            dense2D<unsigned>& out) {
    // Clearing `out` would also empty an input given as the same matrix; convert it in place.
    if (&connect == &out) return convert_into_high_order(coords, out, k);
    return detail::convert_into_high_order_graded(coords, connect, k, dense1D<double>(), out);
}

int convert_into_high_order(dense2D<double>& coords, dense2D<unsigned>& connect, unsigned k) {
    dense2D<unsigned> input;
    if (!input.copy(connect)) return -199;
    return detail::convert_into_high_order_graded(coords, input, k, dense1D<double>(), connect);
}

int convert_into_quadratic(dense2D<double>& coords, dense2D<unsigned>& connect) {
    return convert_into_high_order(coords, connect, 1);
}

} // namespace tessora1d
} // namespace vx4
