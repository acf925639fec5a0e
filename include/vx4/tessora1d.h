// tessora1d: one-dimensional mesh tools.
//
// Every function is a free function over caller-owned containers. It returns 0 on success,
// -k when its k-th argument (outputs included, counted from 1) is invalid, the first fault
// found being reported, and -199 when an output cannot be grown. Outputs are appended to
// unless a function says otherwise. Empty input is not an error: nothing is done and 0 is
// returned. Coordinates have one column per node; connectivities one column per element
// (row 0 start node, row 1 end node, interior nodes after them); metrics are packed upper
// triangles by column, (m00, m01, m11) in 2-D and (m00, m01, m11, m02, m12, m22) in 3-D.
// The largest finite double means "no limit" for sizes and tolerances, 4294967295 for counts.
#pragma once

#include <vx4/math1.h>

#include <limits>

#if defined(_WIN32)
#define VX4_TESSORA1D_API
#else
#define VX4_TESSORA1D_API __attribute__((visibility("default")))
#endif

namespace vx4 {
namespace tessora1d {

// A count bound that sets no bound (nmax, node-count checks): the largest unsigned value.
inline constexpr unsigned no_count_bound = std::numeric_limits<unsigned>::max();
// A size or tolerance that sets no limit: the largest finite double.
inline constexpr double no_limit = std::numeric_limits<double>::max();

// The library's version text, "5.3.0.0".
VX4_TESSORA1D_API const char* version();

// ---------------------------------------------------------------------------------------------
// Element construction and simple conversions
// ---------------------------------------------------------------------------------------------

// Appends the n - 1 edges (I[k], I[k+1]) of the chain I to `connect` (2 rows).
// 0 (also for an empty chain, output untouched); -1 one index; -2 output not empty and not
// 2 rows; -199 when the output cannot be reserved.
VX4_TESSORA1D_API int indices_to_connectE2(const dense1D<unsigned>& indices, dense2D<unsigned>& connect);

// Appends the quadratic edges (I[2k], I[2k+2], I[2k+1]) of the chain I (odd length >= 3) to
// `connect` (3 rows, mid node last). 0 (empty chain: output untouched); -1 fewer than 3 or an
// even count; -2 output not empty and not 3 rows; -199 when the output cannot be reserved.
VX4_TESSORA1D_API int indices_to_connectE3(const dense1D<unsigned>& indices, dense2D<unsigned>& connect);

// Appends, for each E3 edge (a, b, m), the two E2 edges (a, m) and (m, b) to `connectE2`.
// 0 (empty input: output untouched); -1 input rows not 3; -2 output rows neither 0 nor 2;
// -199 when the output cannot be reserved.
VX4_TESSORA1D_API int split_into_linear(const dense2D<unsigned>& connectE3, dense2D<unsigned>& connectE2);

// Drops the interior nodes of high-order edges in place, keeping rows 0 and 1.
// 0 (also when empty); -1 when the matrix has 2 rows or fewer.
VX4_TESSORA1D_API int convert_into_linear(dense2D<unsigned>& connect);

// Reverses the order of all rows within every column (E3 (a, b, m) becomes (m, b, a)).
// Always 0.
VX4_TESSORA1D_API int flip(dense2D<unsigned>& connect);

// ---------------------------------------------------------------------------------------------
// High-order conversion
// ---------------------------------------------------------------------------------------------

// Inserts k evenly spaced nodes on the segment of every edge: new nodes N .. N + E k - 1 are
// appended to `coords` (1 to 3 rows) edge by edge, and `out` is rewritten with k + 2 rows
// (ends, then interior nodes from start to end). `out` is emptied first, so k = 0 or an empty
// input leaves it empty. 0; -1 coords rows not 1, 2 or 3; -2 an index not below N; -199.
VX4_TESSORA1D_API int convert_into_high_order(dense2D<double>& coords, const dense2D<unsigned>& connect, unsigned k,
                                              dense2D<unsigned>& out);
// The same with `connect` rewritten in place (a copy is taken first; -199 when it fails).
VX4_TESSORA1D_API int convert_into_high_order(dense2D<double>& coords, dense2D<unsigned>& connect, unsigned k);
// convert_into_high_order in place with k = 1: E2 (or higher) edges become E3 edges.
VX4_TESSORA1D_API int convert_into_quadratic(dense2D<double>& coords, dense2D<unsigned>& connect);

// ---------------------------------------------------------------------------------------------
// Chain reorientation
// ---------------------------------------------------------------------------------------------

// Orients edges consistently (the end of one is the start of the next), breadth-first from
// element `start`, turning neighbours that point the wrong way; rows 0 and 1 of `connect` and
// of `neighbors` (same shape; slot 0 across the end node, other slots across the start node;
// an index >= E means none) are swapped together. With `all` != 0 every further component
// is oriented from its lowest unvisited element after `start`. Returns the number of turned
// elements (0, nothing done, when the walk cannot be stored); -1 bad connectivity; -2
// neighbour shape differs, or (any negative result) neighbours that do not match; -3 start >= E.
VX4_TESSORA1D_API int mesh_reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, unsigned start, int all);

// ---------------------------------------------------------------------------------------------
// Extrusion by translation
// ---------------------------------------------------------------------------------------------

// Meshes the segment from a start node (or a start point, appended as a new column) along
// vector V: new nodes are appended to `coords` and the chain (start first) to `indices`.
// Uniform overloads place n nodes evenly (n = 0: nothing done); size overloads derive the
// count from the end sizes h0, h1 (rounded even when `even`) and grade the spacing.
// 0; -1 coords rows not the dimension (point overloads accept an empty matrix); -2 start node
// not below the column count; -3 |V| = 0; -4 h0 <= 0; -5 h1 <= 0; -199. On failure a point
// overload removes the start column it appended.
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& V,
                                        unsigned n, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& V,
                                        double h0, double h1, bool even, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& V,
                                        unsigned n, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& V,
                                        double h0, double h1, bool even, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                        const vector_fixed<double, 2>& V, unsigned n, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                        const vector_fixed<double, 2>& V, double h0, double h1, bool even,
                                        dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                        const vector_fixed<double, 3>& V, unsigned n, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                        const vector_fixed<double, 3>& V, double h0, double h1, bool even,
                                        dense1D<unsigned>& indices);

// ---------------------------------------------------------------------------------------------
// Extrusion by rotation
// ---------------------------------------------------------------------------------------------

// Meshes the circular arc swept by a start node (or point) about centre C by `angle` (2-D,
// counter-clockwise positive) or about the axis through C along W by |W| radians (3-D,
// right-handed). Appends the new nodes to `coords` and the chain (start first) to `indices`;
// counts and grading as in extrude_translate. 0; -1 coords rows; -2 start node; -3 zero arc
// length (size overloads); -5 h0 <= 0; -6 h1 <= 0; -199.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                     const vector_fixed<double, 2>& C, double angle, unsigned n,
                                     dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                     const vector_fixed<double, 2>& C, double angle, double h0, double h1, bool even,
                                     dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                     const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& W, unsigned n,
                                     dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                     const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& W, double h0,
                                     double h1, bool even, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& C,
                                     double angle, unsigned n, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& C,
                                     double angle, double h0, double h1, bool even, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& C,
                                     const vector_fixed<double, 3>& W, unsigned n, dense1D<unsigned>& indices);
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& C,
                                     const vector_fixed<double, 3>& W, double h0, double h1, bool even,
                                     dense1D<unsigned>& indices);

// ---------------------------------------------------------------------------------------------
// Polyline meshing
// ---------------------------------------------------------------------------------------------

// Meshes the polyline `indices` (n >= 2 columns of `pos`, 2 or 3 rows) into a chain whose
// elements follow the metrics (3 or 6 rows, first n columns read) given at its nodes. The
// E - 1 new nodes are appended to `pos`; `out_indices` and `out_metrics` are appended to,
// `out_params` is emptied first. E is the metric length rounded, clamped to [nmin, nmax],
// then made even when `even`. chordal < 0 caps sizes by curvature (chord of sagitta
// |chordal| x radius, not below hmin); chordal > 0 refines until every polyline node lies
// within chordal of the chain, which may exceed nmax (should a part of that refinement fail
// for memory, the unrefined chain is kept and 0 returned). A new node's metric is interpolated
// linearly in size along the common eigen-directions of its edge's end metrics (the nearer
// end's metric when they cannot be reduced); an edge on which v^T M v is not positive at both
// ends measures sqrt of the larger positive form (0 if none) and is divided evenly.
// Codes: -1 dimension; -2 n < 2 or an index not below pos's column count; -3 params;
// -4 metrics; -6 nmin = 0 or nmax < nmin; -11 out_metrics of the wrong shape; -199 pos cannot
// grow. On failure pos, out_indices and out_metrics are untouched.
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense1D<double>& params, const dense2D<double>& metrics, bool even,
                                unsigned nmin, unsigned nmax, double chordal, double hmin,
                                dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                dense2D<double>& out_metrics);
// The same with one isotropic size per polyline node (-4 for invalid sizes).
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense1D<double>& params, const dense1D<double>& sizes, bool even,
                                unsigned nmin, unsigned nmax, double chordal, double hmin,
                                dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                dense1D<double>& out_sizes);
// Without parameters: chord-length parameters in [0, 1] are built and the full form called;
// every code below -3 is shifted up by one (-3 metrics, -5 counts, -10 out_metrics, and -198
// when pos cannot grow), and -2 also means a polyline of zero length.
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax,
                                double chordal, double hmin, dense1D<unsigned>& out_indices,
                                dense1D<double>& out_params, dense2D<double>& out_metrics);
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax,
                                double chordal, double hmin, dense1D<unsigned>& out_indices,
                                dense1D<double>& out_params, dense1D<double>& out_sizes);

// ---------------------------------------------------------------------------------------------
// Straight-line meshing
// ---------------------------------------------------------------------------------------------

// Meshes every straight segment of `chain` with mesh_line and appends the stitched chain
// (each shared node once) to `out`. The flag is mesh_line's `even`. Codes: -2 chain shorter
// than 2 or an index out of range; -3 metrics too few, invalid or of the wrong row count;
// or mesh_line's code, after which coords and out get back their former column count and size
// (a failure that appended nothing leaves the chain's last node in out's former last entry).
// The metric block of segment k is metrics.sub_matrix(k, 0, rows, 2), cut short (and so
// refused, -4) for k >= 1: the metric form meshes single segments.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                    const dense2D<double>& metrics, bool even, dense1D<unsigned>& out);
// One size per chain entry; -3 sizes too few or invalid.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                    const dense1D<double>& sizes, bool even, dense1D<unsigned>& out);
// Uniform size (chain length / count); count 0: nothing done.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain, unsigned count,
                                    bool even, dense1D<unsigned>& out);
// Segment a-b in `count` elements; -2 a, -3 b out of range; -4 a equal to b.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, unsigned count,
                                    dense1D<unsigned>& out);
// Chain a-b-d in `count` elements; -2, -3, -4 for a, b, d out of range.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, unsigned d, unsigned count,
                                    dense1D<unsigned>& out);
// Segment a-b with sizes ha, hb; -4 ha <= 0, -5 hb <= 0 (NaN passes to the size check, -3).
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, double ha, double hb, bool even,
                                    dense1D<unsigned>& out);

// ---------------------------------------------------------------------------------------------
// Splines
// ---------------------------------------------------------------------------------------------

// Point at t of the cubic from node P1 to node P2 whose end tangents come from P0 and P3
// (pass P0 = P1 or P3 = P2 for an end without neighbour). t is not clamped.
// 0; -1 coords rows not 2 (3); -2 .. -5 P0 .. P3 not below the column count.
VX4_TESSORA1D_API int spline_point(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3,
                                   double t, vector_fixed<double, 2>& point);
VX4_TESSORA1D_API int spline_point(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3,
                                   double t, vector_fixed<double, 3>& point);

// Meshes the smooth curve through chain entries 1 .. n-2 (entries 0 and n-1 shape the end
// tangents) under the given metrics, a chordal error (> 0 absolute, < 0 relative to the radius,
// 0 none), a minimum size, a background size and a gradation limit. Appends the chain to
// `out_indices`, its parameters in [0, 1] to `out_params` and its metrics to `out_metrics`;
// `deviation` receives the largest distance between the curve and the chords of `chain`.
// Codes: -1 coords rows; -2 chain shorter than 4 or index out of range; -3 metrics; -5 counts;
// -8 hmin < 0; -13 out_metrics of the wrong shape.
VX4_TESSORA1D_API int mesh_spline(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                  const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax,
                                  double chordal, double hmin, double background, double gradation,
                                  dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                  dense2D<double>& out_metrics, double& deviation);
VX4_TESSORA1D_API int mesh_spline(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                  const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax,
                                  double chordal, double hmin, double background, double gradation,
                                  dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                  dense1D<double>& out_sizes, double& deviation);

// ---------------------------------------------------------------------------------------------
// Lengths and coordinate interpolation
// ---------------------------------------------------------------------------------------------

// Length of the chain nodes[0] .. nodes[n-1]. len is 0 on -1 (rows not 2 or 3); on -2 (fewer
// than 2 nodes, or an index out of range) it holds the part summed before the bad index.
VX4_TESSORA1D_API int length(const dense2D<double>& coords, const dense1D<unsigned>& nodes, double& len);
// Sum of the lengths of all edges (rows 0 and 1). 0 (also when empty); -1 rows; -2 bad index.
VX4_TESSORA1D_API int length(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double& len);

// Writes, in place, the coordinates of node new_nodes[k] at parameter new_params[k] along the
// chain `nodes` carrying `params`, by linear interpolation between the bracketing nodes. The
// columns must exist. -2 params size; -3 params decreasing; -4 new_params size; -5 new_params
// decreasing; then -2 for queries on an empty chain or reaching a chain node that is not a
// column, -4 for such a new node. Below the first parameter the first node is copied, past the
// last parameter the last node.
VX4_TESSORA1D_API int interpolate_coordinates(dense2D<double>& coords, const dense1D<unsigned>& nodes,
                                              const dense1D<double>& params, const dense1D<unsigned>& new_nodes,
                                              const dense1D<double>& new_params);

// ---------------------------------------------------------------------------------------------
// Normals and curvatures
// ---------------------------------------------------------------------------------------------

// Discrete curvature 2 sin(theta/2) / mean segment length at each chain position (ends copy
// their neighbours). curv is emptied first. -1 rows; -2 bad index; -199.
VX4_TESSORA1D_API int curvatures(const dense2D<double>& coords, const dense1D<unsigned>& nodes,
                                 dense1D<double>& curv);
// 2-D node normals averaged over incident edges with weight L^p (p finite; normalised when
// asked), or taken from the longest (p = +max double) or shortest (p = -max double) edge.
// normals is emptied, then 2 rows x coords columns. -1 rows not 2; -2 connectE2 rows < 2 or an
// index not below the column count; -199.
VX4_TESSORA1D_API int normals(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double p,
                              bool normalize, dense2D<double>& normals);
// Node curvatures of a parametric curve from derivative vectors at the nodes. curv is emptied,
// then one value per param. -2 bad connectivity; -3 derivs shape; -199.
VX4_TESSORA1D_API int parametric_curvatures(const dense1D<double>& params, const dense2D<unsigned>& connectE2,
                                            const dense2D<double>& derivs, dense1D<double>& curv);

// ---------------------------------------------------------------------------------------------
// Metric interpolation and generation
// ---------------------------------------------------------------------------------------------

// Sizes at the query parameters, linear between the bracketing nodes (0 where a bracketing
// size is not positive). out is rewritten with one value per query. -1 params (fewer than 2 or
// decreasing); -2 sizes count; -3 queries decreasing or outside the parameter range; -199.
VX4_TESSORA1D_API int interpolate_metrics(const dense1D<double>& params, const dense1D<double>& sizes,
                                          const dense1D<double>& queries, dense1D<double>& out);
// Metrics (0, 1, 3 or 6 rows) at the query parameters, linear in size along the common
// eigen-directions of the bracketing metrics; a query whose pair cannot be reduced repeats the
// previous column (zeros for the first). out is rewritten. Codes as above.
VX4_TESSORA1D_API int interpolate_metrics(const dense1D<double>& params, const dense2D<double>& metrics,
                                          const dense1D<double>& queries, dense2D<double>& out);

// Intersects, at each listed node j, the metric of size h_dir along dirs(:, j) and h_cross
// across it with the metric already in column j of `metrics` (3 rows, grown as needed).
// -1 dirs rows not 2; -2 index out of range; -3 h_dir <= 0; -4 h_cross <= 0; -5 metrics shape; -199.
VX4_TESSORA1D_API int metrics_gen_aniso2d(const dense2D<double>& dirs, const dense1D<unsigned>& nodes, double h_dir,
                                          double h_cross, dense2D<double>& metrics);
// Metric of every edge (size along it its length; across it the length when r = 0, r when
// r > 0, |r| times the length when r < 0) intersected into both end nodes' columns.
// -1 coords rows < 2; -2 connectivity; -4 metrics shape; -199.
VX4_TESSORA1D_API int metrics_gen_aniso2d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                                          dense2D<double>& metrics);
// 3-D form of the above, transversely isotropic about each edge; metrics has 6 rows.
VX4_TESSORA1D_API int metrics_gen_aniso3d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                                          dense2D<double>& metrics);
// 3-D form with cross size r1 in the plane in which the line bends and r2 out of it (the larger
// of the two both ways where the line is straight). -199 also when adjacency cannot be built.
VX4_TESSORA1D_API int metrics_gen_aniso3d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r1,
                                          double r2, dense2D<double>& metrics);

// ---------------------------------------------------------------------------------------------
// Sorting and subdivision
// ---------------------------------------------------------------------------------------------

// Sorts values ascending together with their identifiers (ties by identifier), in place.
// 0; -1 sizes differ; -199 (lists unchanged).
VX4_TESSORA1D_API int sort(dense1D<double>& values, dense1D<unsigned>& ids);

// Re-meshes the interval chain[0] .. chain[m-1] of a line given in abscissas: the count is the
// metric length under sizes varying linearly between chain nodes, clamped to [nmin, nmax],
// raised by one with force_fine when below the metric length, then made even when `even`. New
// abscissas and sizes are appended (nodes N, N+1, ...) and chain[0], new nodes, chain[m-1]
// appended to `out`. 0; -2 chain shorter than 2, index >= N or without a size; -6 nmin = 0 or
// nmax < nmin. Nothing changes on a refusal; no new points when they cannot be stored.
VX4_TESSORA1D_API int subdivide(dense1D<double>& abscissas, dense1D<double>& sizes, const dense1D<unsigned>& chain,
                                bool force_fine, bool even, unsigned nmin, unsigned nmax, dense1D<unsigned>& out);

} // namespace tessora1d
} // namespace vx4
