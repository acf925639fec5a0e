// The node sweep shared by the translation and rotation extrusions: start checks, element
// count from the end sizes, reservation, and the append loop over a path given by its point at
// each fraction t of the way; plus the wrapper that starts a sweep from a free point.
#pragma once

#include "extrusion/point_append.h"
#include "line/size_model.h"

#include <vx4/math1.h>

#include <limits>

namespace vx4 {
namespace tessora1d {
namespace detail {

inline bool push_back_point(dense2D<double>& coords, const vector_fixed<double, 2>& p) {
    return push_back_point2d(coords, p);
}
inline bool push_back_point(dense2D<double>& coords, const vector_fixed<double, 3>& p) {
    return push_back_point3d(coords, p);
}

template <unsigned D>
vector_fixed<double, D> column_point(dense2D<double>& coords, unsigned j) {
    const column_span column = column_view(coords, j);
    vector_fixed<double, D> p;
    for (unsigned k = 0; k < D; ++k) p[k] = column[k];
    return p;
}

// 0 when column j of `coords` can start a sweep in dimension D; -1 for another row count,
// -2 for an index past the last column.
template <unsigned D>
int check_start_node(const dense2D<double>& coords, unsigned j) {
    if (coords.rows() != D) return -1;
    if (j >= coords.cols()) return -2;
    return 0;
}

// Either a given count n (h0 = h1 = 0) or, with n = 0, end sizes from which the count follows.
struct sweep_count {
    double h0;
    double h1;
    unsigned n;
    bool even;
};

// Appends the nodes path.point(t) for t = progression of i / n, i = 1..n, and the chain j, then
// their columns, to `indices`. In size mode a zero `length` gives -3 and non-positive sizes
// give h0_code and h0_code - 1 (NaN passes: it yields one element). -199 when the outputs
// cannot be reserved.
template <unsigned D, class Path>
int sweep_nodes(dense2D<double>& coords, unsigned j, const Path& path, double length, sweep_count c,
                int h0_code, dense1D<unsigned>& indices) {
    if (c.n == 0) {
        if (length == 0.0) return -3;
        if (c.h0 <= 0.0) return h0_code;
        if (c.h1 <= 0.0) return h0_code - 1;
        c.n = segment_count(metric_length_1d(length, c.h0, c.h1, false), c.even ? 2u : 1u);
        if (c.n == 0) c.n = 1;
    }
    const unsigned N = coords.cols();
    const unsigned long long columns = static_cast<unsigned long long>(N) + c.n;
    const unsigned long long entries = static_cast<unsigned long long>(indices.size()) + 1 + c.n;
    const unsigned long long most = std::numeric_limits<unsigned>::max();
    if (columns > most || entries > most) return -199;
    if (!coords.reserve(D, static_cast<unsigned>(columns), 1)) return -199;
    if (!indices.reserve(static_cast<unsigned>(entries), 1)) return -199;

    indices.push_back(j);
    const bool graded = c.h0 > 0.0 && c.h1 > 0.0;
    const double step = 1.0 / c.n;
    for (unsigned i = 0; i < c.n; ++i) {
        double t = (static_cast<double>(i) + 1.0) * step;
        if (graded) t = progression_fraction(t, c.h0, c.h1);
        push_back_point(coords, path.point(t));
        indices.push_back(N + i);
    }
    return 0;
}

// Appends `start` as column N of `coords`, runs worker(N) and, when it fails, removes that
// column again. A uniform sweep of n > 0 nodes first reserves N + n + 1 columns; a size sweep
// (n = 0) does not, and a start column it could not append makes the worker fail instead.
template <unsigned D, class Worker>
int sweep_from_point(dense2D<double>& coords, const vector_fixed<double, D>& start, unsigned n, Worker worker) {
    const unsigned N = coords.cols();
    if (!coords.empty() && coords.rows() != D) return -1;
    if (n > 0) {
        const unsigned long long columns = static_cast<unsigned long long>(N) + n + 1;
        if (columns > std::numeric_limits<unsigned>::max()) return -199;
        if (!coords.reserve(D, static_cast<unsigned>(columns), 1)) return -199;
    }
    push_back_point(coords, start);
    const int code = worker(N);
    if (code < 0) coords.resize(coords.rows(), N);
    return code;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
