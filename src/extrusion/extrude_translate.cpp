#include <vx4/tessora1d.h>

#include "extrusion/sweep.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

template <unsigned D>
struct segment_path {
    vector_fixed<double, D> P0;
    vector_fixed<double, D> V;

    // The end is not snapped to P0 + V: every node goes through the same formula.
    vector_fixed<double, D> point(double t) const {
        if (t == 0.0) return P0;
        vector_fixed<double, D> p;
        for (unsigned k = 0; k < D; ++k) p[k] = P0[k] + V[k] * t;
        return p;
    }
};

template <unsigned D>
double euclidean_length(const vector_fixed<double, D>& v) {
    double sum = 0.0;
    for (unsigned k = 0; k < D; ++k) sum += v[k] * v[k];
    return std::sqrt(sum);
}

template <unsigned D>
int extrude_translate_worker(dense2D<double>& coords, unsigned j, const vector_fixed<double, D>& V, double h0,
                             double h1, unsigned n, bool even, dense1D<unsigned>& indices) {
    if (const int code = check_start_node<D>(coords, j)) return code;
    const segment_path<D> path{column_point<D>(coords, j), V};
    return sweep_nodes<D>(coords, j, path, euclidean_length(V), sweep_count{h0, h1, n, even}, -4, indices);
}

template <unsigned D>
int translate_from_node(dense2D<double>& coords, unsigned start, const vector_fixed<double, D>& V, unsigned n,
                        dense1D<unsigned>& indices) {
    if (n == 0) return 0;
    return extrude_translate_worker<D>(coords, start, V, 0.0, 0.0, n, false, indices);
}

template <unsigned D>
int translate_from_point(dense2D<double>& coords, const vector_fixed<double, D>& start,
                         const vector_fixed<double, D>& V, unsigned n, dense1D<unsigned>& indices) {
    if (n == 0) return 0;
    return sweep_from_point<D>(coords, start, n, [&](unsigned j) {
        return extrude_translate_worker<D>(coords, j, V, 0.0, 0.0, n, false, indices);
    });
}

template <unsigned D>
int translate_graded_from_point(dense2D<double>& coords, const vector_fixed<double, D>& start,
                                const vector_fixed<double, D>& V, double h0, double h1, bool even,
                                dense1D<unsigned>& indices) {
    return sweep_from_point<D>(coords, start, 0u, [&](unsigned j) {
        return extrude_translate_worker<D>(coords, j, V, h0, h1, 0u, even, indices);
    });
}

} // namespace

} // namespace detail

int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& V, unsigned n,
                      dense1D<unsigned>& indices) {
    return detail::translate_from_node<2>(coords, start, V, n, indices);
}

int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& V, double h0,
                      double h1, bool even, dense1D<unsigned>& indices) {
    return detail::extrude_translate_worker<2>(coords, start, V, h0, h1, 0u, even, indices);
}

int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& V, unsigned n,
                      dense1D<unsigned>& indices) {
    return detail::translate_from_node<3>(coords, start, V, n, indices);
}

int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& V, double h0,
                      double h1, bool even, dense1D<unsigned>& indices) {
    return detail::extrude_translate_worker<3>(coords, start, V, h0, h1, 0u, even, indices);
}

int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 2>& start, const vector_fixed<double, 2>& V,
                      unsigned n, dense1D<unsigned>& indices) {
    return detail::translate_from_point<2>(coords, start, V, n, indices);
}

int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 2>& start, const vector_fixed<double, 2>& V,
                      double h0, double h1, bool even, dense1D<unsigned>& indices) {
    return detail::translate_graded_from_point<2>(coords, start, V, h0, h1, even, indices);
}

int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 3>& start, const vector_fixed<double, 3>& V,
                      unsigned n, dense1D<unsigned>& indices) {
    return detail::translate_from_point<3>(coords, start, V, n, indices);
}

int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 3>& start, const vector_fixed<double, 3>& V,
                      double h0, double h1, bool even, dense1D<unsigned>& indices) {
    return detail::translate_graded_from_point<3>(coords, start, V, h0, h1, even, indices);
}

} // namespace tessora1d
} // namespace vx4
