#include <vx4/tessora.h>

#include "geometry/column_distance.h"
#include "metrics/metric_algebra.h"

#include <cmath>
#include <limits>

namespace vx4 {
namespace tessora {

namespace {

namespace algebra = tessora1d::detail;

constexpr unsigned no_position = std::numeric_limits<unsigned>::max();
// Intersections perturb the last digits, so a metric may be met again and again by waves that
// change nothing real; past this many visits a node is left as it is.
constexpr unsigned max_visits_per_node = 32;
// A size above its bound by less than this relative margin already satisfies it.
constexpr double slack = 1e-9;

// k-th node along element e: row 0, the interior rows in order, then row 1.
unsigned node_along(const dense2D<unsigned>& connectivity, unsigned e, unsigned k) {
    if (k == 0) return connectivity(0, e);
    if (k + 1 == connectivity.rows()) return connectivity(1, e);
    return connectivity(k + 1, e);
}

// Calls f(a, b) for every pair of consecutive nodes along every element.
template <class F>
void for_each_edge(const dense2D<unsigned>& connectivity, F&& f) {
    for (unsigned e = 0; e < connectivity.cols(); ++e)
        for (unsigned k = 0; k + 1 < connectivity.rows(); ++k)
            f(node_along(connectivity, e, k), node_along(connectivity, e, k + 1));
}

// Directed edges in compressed form: node a bounds targets[first[a] .. first[a + 1]).
struct edge_graph {
    dense1D<unsigned> first;
    dense1D<unsigned> targets;
    dense1D<unsigned> may_change; // empty: every node may change
    bool has_edges(unsigned a) const { return first[a + 1] > first[a]; }
    bool changeable(unsigned b) const { return may_change.empty() || may_change[b] != 0; }
};

int build_edge_graph(const dense2D<unsigned>& connectivity, unsigned n, bool symmetric,
                     const dense1D<unsigned>& nodes, edge_graph& graph) {
    if (n == std::numeric_limits<unsigned>::max() || !graph.first.resize(n + 1, 0u)) return -199;
    unsigned long long total = 0;
    for_each_edge(connectivity, [&](unsigned a, unsigned b) {
        ++graph.first[a];
        ++total;
        if (symmetric) {
            ++graph.first[b];
            ++total;
        }
    });
    if (total > std::numeric_limits<unsigned>::max()) return -199;
    // Running ends, then each placement steps its node's end back until it is the start.
    unsigned run = 0;
    for (unsigned a = 0; a < n; ++a) {
        run += graph.first[a];
        graph.first[a] = run;
    }
    graph.first[n] = run;
    if (!graph.targets.resize(run)) return -199;
    for_each_edge(connectivity, [&](unsigned a, unsigned b) {
        graph.targets[--graph.first[a]] = b;
        if (symmetric) graph.targets[--graph.first[b]] = a;
    });
    if (!nodes.empty()) {
        if (!graph.may_change.resize(n, 0u)) return -199;
        for (unsigned k = 0; k < nodes.size(); ++k) graph.may_change[nodes[k]] = 1;
    }
    return 0;
}

// Binary min-heap of node indices keyed by their current sizes, with a position index so that
// a lowered size can be moved up in place.
class size_heap {
public:
    explicit size_heap(const dense1D<double>& sizes) : key_(sizes) {}

    bool build(const edge_graph& graph, unsigned n) {
        if (!position_.resize(n, no_position) || !heap_.reserve(n)) return false;
        for (unsigned a = 0; a < n; ++a)
            if (graph.has_edges(a)) {
                position_[a] = heap_.size();
                heap_.push_back(a);
            }
        for (unsigned i = heap_.size() / 2; i-- > 0;) sift_down(i);
        return true;
    }
    bool empty() const { return heap_.empty(); }
    unsigned pop() {
        const unsigned top = heap_[0];
        position_[top] = no_position;
        const unsigned last = heap_[heap_.size() - 1];
        heap_.resize(heap_.size() - 1);
        if (!heap_.empty()) {
            place(0, last);
            sift_down(0);
        }
        return top;
    }
    // Called after the size of `node` went down.
    void lowered(unsigned node) {
        if (position_[node] != no_position) sift_up(position_[node]);
    }

private:
    void place(unsigned i, unsigned node) {
        heap_[i] = node;
        position_[node] = i;
    }
    void sift_up(unsigned i) {
        const unsigned node = heap_[i];
        while (i > 0) {
            const unsigned parent = (i - 1) / 2;
            if (!(key_[node] < key_[heap_[parent]])) break;
            place(i, heap_[parent]);
            i = parent;
        }
        place(i, node);
    }
    void sift_down(unsigned i) {
        const unsigned node = heap_[i];
        const unsigned n = heap_.size();
        for (;;) {
            unsigned child = 2 * i + 1;
            if (child >= n) break;
            if (child + 1 < n && key_[heap_[child + 1]] < key_[heap_[child]]) ++child;
            if (!(key_[heap_[child]] < key_[node])) break;
            place(i, heap_[child]);
            i = child;
        }
        place(i, node);
    }

    const dense1D<double>& key_;
    dense1D<unsigned> heap_;
    dense1D<unsigned> position_;
};

// With a bound h_b <= h_a + c |ab| (c >= 0) the smallest size is final, so taking nodes in
// increasing size order (Dijkstra) reaches the fixed point in one pass.
int grade_sizes(const dense2D<double>& coordinates, const edge_graph& graph, double gradation, dense1D<double>& sizes) {
    const unsigned n = coordinates.cols();
    size_heap heap(sizes);
    if (!heap.build(graph, n)) return -199;
    const double growth = gradation - 1.0;
    while (!heap.empty()) {
        const unsigned a = heap.pop();
        for (unsigned e = graph.first[a]; e < graph.first[a + 1]; ++e) {
            const unsigned b = graph.targets[e];
            if (!graph.changeable(b)) continue;
            const double bound = sizes[a] + growth * tessora1d::detail::column_distance(coordinates, a, b);
            if (bound < sizes[b]) {
                sizes[b] = bound;
                heap.lowered(b);
            }
        }
    }
    return 0;
}

template <unsigned Dim>
struct metric_column {
    static constexpr unsigned rows = Dim * (Dim + 1) / 2;
    static void load(const dense2D<double>& field, unsigned j, symmetric_fixed<double, Dim>& m) {
        for (unsigned i = 0; i < rows; ++i) m[i] = field(i, j);
    }
    static void store(const symmetric_fixed<double, Dim>& m, unsigned j, dense2D<double>& field) {
        for (unsigned i = 0; i < rows; ++i) field(i, j) = m[i];
    }
};

template <unsigned Dim>
double size_along(const symmetric_fixed<double, Dim>& m, const double* u) {
    double q = 0.0;
    for (unsigned i = 0; i < Dim; ++i)
        for (unsigned j = 0; j < Dim; ++j) q += m(i, j) * u[i] * u[j];
    return 1.0 / std::sqrt(q);
}

// Tightens M_b against M_a along the edge a -> b. True when M_b changed.
template <unsigned Dim>
bool tighten_along_edge(const dense2D<double>& coordinates, unsigned a, unsigned b, double growth,
                        const symmetric_fixed<double, Dim>& Ma, dense2D<double>& metrics) {
    double u[Dim];
    double length2 = 0.0;
    for (unsigned i = 0; i < Dim; ++i) {
        u[i] = coordinates(i, b) - coordinates(i, a);
        length2 += u[i] * u[i];
    }
    const double length = std::sqrt(length2);
    // A zero-length edge has no direction to bound along.
    if (!(length > 0.0) || !std::isfinite(length)) return false;
    for (unsigned i = 0; i < Dim; ++i) u[i] /= length;
    symmetric_fixed<double, Dim> Mb;
    metric_column<Dim>::load(metrics, b, Mb);
    const double ha = size_along(Ma, u);
    const double bound = ha + growth * length;
    if (!(size_along(Mb, u) > bound * (1.0 + slack))) return false;
    // M_a with every size grown by bound / ha has exactly the allowed size along the edge.
    const double factor = bound / ha;
    const double shrink = 1.0 / (factor * factor);
    symmetric_fixed<double, Dim> grown;
    for (unsigned i = 0; i < metric_column<Dim>::rows; ++i) grown[i] = Ma[i] * shrink;
    symmetric_fixed<double, Dim> result;
    if (!minimum_metric(Mb, grown, result)) return false;
    metric_column<Dim>::store(result, b, metrics);
    return true;
}

// Metrics have no total order, so changes spread through a FIFO work list: a chain is swept
// forward in the initial pass and any backward wave travels through the queue once.
template <unsigned Dim>
int grade_metrics(const dense2D<double>& coordinates, const edge_graph& graph, double gradation,
                  dense2D<double>& metrics) {
    const unsigned n = coordinates.cols();
    dense1D<unsigned> queue, queued, visits;
    if (!queue.resize(n) || !queued.resize(n, 0u) || !visits.resize(n, 0u)) return -199;
    unsigned head = 0, count = 0;
    auto enqueue = [&](unsigned node) {
        queue[(head + count) % n] = node;
        ++count;
        queued[node] = 1;
    };
    for (unsigned a = 0; a < n; ++a)
        if (graph.has_edges(a)) enqueue(a);
    const double growth = gradation - 1.0;
    while (count > 0) {
        const unsigned a = queue[head];
        head = (head + 1) % n;
        --count;
        queued[a] = 0;
        ++visits[a];
        symmetric_fixed<double, Dim> Ma;
        metric_column<Dim>::load(metrics, a, Ma);
        for (unsigned e = graph.first[a]; e < graph.first[a + 1]; ++e) {
            const unsigned b = graph.targets[e];
            if (!graph.changeable(b) || b == a) continue;
            if (tighten_along_edge<Dim>(coordinates, a, b, growth, Ma, metrics) && !queued[b] &&
                graph.has_edges(b) && visits[b] < max_visits_per_node)
                enqueue(b);
        }
    }
    return 0;
}

// The checks shared by both forms, in argument order.
int check_arguments(const dense2D<double>& coordinates, const dense2D<unsigned>& connectivity, element_type kind,
                    const dense1D<unsigned>& nodes, int mode, int expected_mode, double gradation) {
    const unsigned n = coordinates.cols();
    if (!check_IDs(connectivity, kind, n)) return -2;
    if (kind != edge2 && kind != edge3) return -3;
    if (!check_IDs(nodes, n)) return -4;
    if (mode != expected_mode) return -6;
    if (!(gradation >= 1.0)) return -7;
    return 0;
}

// True when every node of every edge is below `count` and passes `usable`.
template <class Usable>
bool edge_values_usable(const dense2D<unsigned>& connectivity, unsigned count, Usable&& usable) {
    bool ok = true;
    for_each_edge(connectivity, [&](unsigned a, unsigned b) {
        if (ok) ok = a < count && b < count && usable(a) && usable(b);
    });
    return ok;
}

} // namespace

int bound_metric_gradations(const dense2D<double>& coordinates, const dense2D<unsigned>& connectivity,
                            element_type kind, const dense1D<unsigned>& nodes, bool symmetric, int mode,
                            double gradation, dense2D<double>& metrics) {
    const unsigned dim = coordinates.rows();
    if (coordinates.cols() > 0 && dim != 2 && dim != 3) return -1;
    if (int code = check_arguments(coordinates, connectivity, kind, nodes, mode, 0, gradation)) return code;
    if (connectivity.empty()) return 0;
    if (metrics.rows() != (dim == 2 ? 3u : 6u)) return -8;
    const bool usable = edge_values_usable(connectivity, metrics.cols(), [&](unsigned j) {
        double m[6];
        for (unsigned i = 0; i < metrics.rows(); ++i) m[i] = metrics(i, j);
        return dim == 2 ? algebra::is_valid_metric_2d(m) : algebra::is_valid_metric_3d(m);
    });
    if (!usable) return -8;
    edge_graph graph;
    if (int code = build_edge_graph(connectivity, coordinates.cols(), symmetric, nodes, graph)) return code;
    return dim == 2 ? grade_metrics<2>(coordinates, graph, gradation, metrics)
                    : grade_metrics<3>(coordinates, graph, gradation, metrics);
}

int bound_metric_gradations(const dense2D<double>& coordinates, const dense2D<unsigned>& connectivity,
                            element_type kind, const dense1D<unsigned>& nodes, bool symmetric, int mode,
                            double gradation, dense1D<double>& sizes) {
    if (coordinates.cols() > 0 && coordinates.rows() == 0) return -1;
    if (int code = check_arguments(coordinates, connectivity, kind, nodes, mode, -1, gradation)) return code;
    if (connectivity.empty()) return 0;
    const bool usable = edge_values_usable(connectivity, sizes.size(), [&](unsigned j) {
        return sizes[j] > 0.0 && std::isfinite(sizes[j]);
    });
    if (!usable) return -8;
    edge_graph graph;
    if (int code = build_edge_graph(connectivity, coordinates.cols(), symmetric, nodes, graph)) return code;
    return grade_sizes(coordinates, graph, gradation, sizes);
}

} // namespace tessora
} // namespace vx4
