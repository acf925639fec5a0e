// Mesh-tool services of namespace vx4::tessora used by the 1-D tools: index checks, edge
// adjacency, and validation, intersection, bounding and gradation of sizes and metrics.
// Metrics are packed upper triangles by column: (m00, m01, m11) or (m00, m01, m11, m02, m12, m22).
#pragma once

#include <vx4/math1.h>

namespace vx4 {

// Element kinds. The 1-D tools use edge2 (value 3): end nodes in rows 0 and 1, any interior
// nodes after them.
enum element_type : int {
    vertex1 = 0,
    triangle3 = 1,
    quadrangle4 = 2,
    edge2 = 3,
    edge3 = 4,
};

namespace tessora {

// True when every entry of every column is below n (n = 4294967295 means no bound). For the
// edge kinds the matrix must also have at least 2 rows unless it is empty; other kinds are
// only range-checked.
bool check_IDs(const dense2D<unsigned>& connectivity, element_type kind, unsigned n);
// True when every index is below n (n = 4294967295 means no bound).
bool check_IDs(const dense1D<unsigned>& indices, unsigned n);

// Edge adjacency: `neighbours` becomes 2 rows by one column per element; slot 0 is the element
// across the end node (row 1), slot 1 the element across the start node (row 0), 4294967295
// when there is none. Where more than two edges meet at a node, each edge takes the
// lowest-numbered other edge that continues it head to tail (the node is its start when it is
// our end, and the other way round), else the lowest-numbered other edge at the node; with
// `manifold_only` such branching nodes give no neighbour at all. 0 on success, -1 for a
// connectivity with fewer than 2 rows or a kind other than an edge, -199 when memory is short.
int get_neighbors(const dense2D<unsigned>& connectivity, element_type kind, bool manifold_only,
                  dense2D<unsigned>& neighbours);

// True when every size is finite and strictly positive.
bool are_valid_metrics(const dense1D<double>& sizes);
// True when the matrix has 1, 3 or 6 rows and every column is finite and positive definite
// (a 1-row matrix holds sizes).
bool are_valid_metrics(const dense2D<double>& metrics);

// Metric intersection by simultaneous reduction: along each common eigen-direction the larger
// eigenvalue (the smaller size), so in no direction is a size larger than in `a` or `b`. An
// all-zero `a` (no constraint yet) gives `b`, an all-zero `b` gives `a`. Either may be only
// semi-definite if the other is definite. False, with result = b, when the pair cannot be
// reduced or holds a non-finite entry. `result` may be `a` or `b`.
bool minimum_metric(const symmetric_fixed<double, 2>& a, const symmetric_fixed<double, 2>& b,
                    symmetric_fixed<double, 2>& result);
bool minimum_metric(const symmetric_fixed<double, 3>& a, const symmetric_fixed<double, 3>& b,
                    symmetric_fixed<double, 3>& result);

// Clamps the metric's sizes into [hmin, hmax] along its eigen-directions, in place (hmin <= 0:
// no lower bound; hmax <= 0 or the largest double: no upper bound; hmax wins over hmin). 1 when
// the metric changed, 0 when it was already inside (or the clamp would lose definiteness to
// rounding), -1 when it is not a finite positive-definite metric; on 0 and -1 it is unchanged.
int bound_metric(symmetric_fixed<double, 2>& metric, double hmin, double hmax);
int bound_metric(symmetric_fixed<double, 3>& metric, double hmin, double hmax);
// Clamps every size into [hmin, hmax] in place, with the bounds of bound_metric (<= 0: none);
// returns the number of sizes changed. NaN sizes are left as they are.
int bound_metrics(dense1D<double>& sizes, double hmin, double hmax);

// Gradation: reduces sizes so that along every edge of `connectivity` (consecutive nodes of each
// element: row 0, interior rows, row 1) the linear bound h_b <= h_a + (g - 1) |x_a x_b| holds,
// g = `gradation` >= 1. Values are indexed by node (column or entry j = node j); only the nodes
// listed in `nodes` may change (every node when it is empty). Sizes are never enlarged. The size
// form reaches the exact fixed point (nodes taken in increasing size order). The metric form
// bounds the size along each edge's direction u: when h_b(u) exceeds the bound, b's metric is
// intersected (minimum_metric) with a's metric grown by 1 + (g - 1) |ab| / h_a(u); changes spread
// through a work list, each node revisited at most a bounded number of times; zero-length
// edges are skipped. `symmetric` true bounds both ends of every edge, false only the end node
// (later in element order) by the start. `mode` is 0 for metrics and -1 for sizes. Codes:
// -1 coordinates rows (metrics: 2 or 3; sizes: at least 1); -2 connectivity (node out of range
// or fewer than 2 rows); -3 kind not an edge kind; -4 a listed node out of range; -6 mode;
// -7 gradation below 1 or NaN; -8 metrics/sizes: too few, rows not 3 (2-D) or 6 (3-D), or a
// value on an edge not finite and positive (definite); -199 when memory is short. Nothing is
// changed on a negative code.
int bound_metric_gradations(const dense2D<double>& coordinates, const dense2D<unsigned>& connectivity,
                            element_type kind, const dense1D<unsigned>& nodes, bool symmetric, int mode,
                            double gradation, dense2D<double>& metrics);
int bound_metric_gradations(const dense2D<double>& coordinates, const dense2D<unsigned>& connectivity,
                            element_type kind, const dense1D<unsigned>& nodes, bool symmetric, int mode,
                            double gradation, dense1D<double>& sizes);

// One isotropic metric column per size (eigenvalue 1/h^2 in every direction): 3 rows in 2-D,
// 6 rows in 3-D. `metrics` is rewritten. 0 on success, -1 for a non-positive or non-finite
// size, -199 when memory is short.
int metrics_iso_to_aniso2d(const dense1D<double>& sizes, dense2D<double>& metrics);
int metrics_iso_to_aniso3d(const dense1D<double>& sizes, dense2D<double>& metrics);

} // namespace tessora
} // namespace vx4
