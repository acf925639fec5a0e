/// @file
/// tessora1d: one-dimensional mesh tools, every one a free function over caller-owned containers.
///
/// Conventions shared by every function of this header:
/// - Coordinates are a `dense2D<double>` with one column per node (2 or 3 rows). Connectivities are a
///   `dense2D<unsigned>`, one column per element: row 0 the start node, row 1 the end node, interior
///   nodes after them (E2 = 2 rows, E3 = 3 rows with the mid node last). Chains are `dense1D<unsigned>`
///   lists of node indices (columns of the coordinates).
/// - Metrics are packed upper triangles by column: (m00, m01, m11) in 2-D, (m00, m01, m11, m02, m12, m22)
///   in 3-D. A size h along a direction u means u^T M u = 1/h^2.
/// - Return codes: 0 on success; -k when the k-th argument (outputs included, counted from 1) is
///   invalid, the arguments checked in order and the first fault reported; -199 when an output cannot
///   be grown. Each function lists its codes; a few differ from the argument count on purpose.
/// - Outputs are appended to (existing entries kept ahead of the new ones) unless a function says it
///   empties or rewrites them. Empty input is no error: nothing is done and 0 is returned.
/// - `no_limit` (the largest finite double) turns a size or tolerance bound off, and `no_count_bound`
///   (the largest unsigned) an element-count bound, wherever an argument says so. Where that value is
///   in fact an active setting, the argument says that too.
/// - No global state, no logging, no exception. Calls on distinct containers may run concurrently.
#pragma once

#include <vx4/math1.h>

#include <limits>

#if defined(_WIN32)
#define VX4_TESSORA1D_API
#else
/// Marks the functions that `libvx4tessora1d.so` exports; everything else in it is hidden.
#define VX4_TESSORA1D_API __attribute__((visibility("default")))
#endif

/// Namespace of the vx4 libraries: the containers (`dense1D`, `dense2D`, `vector_fixed`) and the mesh tools.
namespace vx4 {
/// One-dimensional mesh tools: meshing of polylines, straight segments and splines under a size
/// field, extrusion, element conversion, geometry queries and metric fields.
namespace tessora1d {

/// A count bound that sets no bound (for example `nmax`): the largest unsigned value, 4294967295.
inline constexpr unsigned no_count_bound = std::numeric_limits<unsigned>::max();
/// A size or tolerance that sets no limit: the largest finite double, 1.7976931348623157e308.
inline constexpr double no_limit = std::numeric_limits<double>::max();

/// The library's version text.
///
/// @return "5.3.0.0", a static string.
VX4_TESSORA1D_API const char* version();

// ---------------------------------------------------------------------------------------------
// Element construction and simple conversions
// ---------------------------------------------------------------------------------------------

/// Appends the n - 1 linear edges (I[k], I[k+1]) of the chain I to a connectivity.
///
/// @param[in]     indices The chain I, n node indices in order; not checked against any node count.
/// @param[in,out] connect E2 connectivity (2 rows, or empty); the n - 1 edges are appended as columns.
/// @return 0 on success, also for an empty chain (output untouched, whatever its shape); -1 when the chain
///         has one entry; -2 when `connect` is neither empty nor 2 rows; -199 when it cannot be grown.
/// @par On failure
/// `connect` is untouched.
VX4_TESSORA1D_API int indices_to_connectE2(const dense1D<unsigned>& indices, dense2D<unsigned>& connect);

/// Appends the quadratic edges (I[2k], I[2k+2], I[2k+1]) of the chain I to a connectivity: the even
/// entries are end nodes, each odd entry the mid node between them, stored last.
///
/// @param[in]     indices The chain I, an odd number n >= 3 of node indices.
/// @param[in,out] connect E3 connectivity (3 rows, or empty); the (n - 1) / 2 edges are appended.
/// @return 0 on success, also for an empty chain (output untouched); -1 when n < 3 or n is even; -2 when
///         `connect` is neither empty nor 3 rows; -199 when it cannot be grown.
/// @par On failure
/// `connect` is untouched.
VX4_TESSORA1D_API int indices_to_connectE3(const dense1D<unsigned>& indices, dense2D<unsigned>& connect);

/// Appends, for each E3 edge (a, b, m), the two linear edges (a, m) and (m, b).
///
/// @param[in]     connectE3 Quadratic edges, exactly 3 rows (E4 and higher are refused).
/// @param[in,out] connectE2 Linear edges (0 or 2 rows; a 3-row matrix without columns is refused); the
///                          2 E edges are appended.
/// @return 0 on success, also for an empty input (output untouched); -1 when the input does not have 3 rows;
///         -2 when the output has neither 0 nor 2 rows; -199 when the output cannot be reserved.
/// @par On failure
/// `connectE2` is untouched.
VX4_TESSORA1D_API int split_into_linear(const dense2D<unsigned>& connectE3, dense2D<unsigned>& connectE2);

/// Drops the interior nodes of high-order edges in place, keeping rows 0 and 1 (the end nodes).
///
/// @param[in,out] connect Edges with 3 rows or more; left with 2 rows and the same columns.
/// @return 0 on success, also for an empty matrix; -1 when the matrix has 2 rows or fewer (E2 input is
///         refused, not taken as already linear).
/// @par On failure
/// `connect` is untouched.
VX4_TESSORA1D_API int convert_into_linear(dense2D<unsigned>& connect);

/// Reverses the order of all rows within every column of a connectivity.
///
/// @param[in,out] connect Any connectivity; with 2 rows or more and at least one column every column is
///                        reversed, otherwise nothing changes.
/// @return 0, always.
/// @par Notes
/// The whole column is reversed, the interior nodes included: an E3 edge (a, b, m) becomes (m, b, a), which
/// is not a valid E3 edge. To turn E3 edges, use `mesh_reorient`, which swaps rows 0 and 1 only.
VX4_TESSORA1D_API int flip(dense2D<unsigned>& connect);

// ---------------------------------------------------------------------------------------------
// High-order conversion
// ---------------------------------------------------------------------------------------------

/// Inserts k evenly spaced nodes on the straight segment of every edge, making high-order edges.
///
/// @param[in,out] coords  Node coordinates, 1, 2 or 3 rows, N columns. The E k new nodes are appended as
///                        columns N .. N + E k - 1, edge by edge in column order, each edge from start to end.
/// @param[in]     connect Edges; only rows 0 and 1 are read, so E2, E3 or higher edges are accepted.
/// @param[in]     k       Interior nodes per edge; 0 produces nothing (and leaves `out` empty).
/// @param[out]    out     Emptied first, then k + 2 rows and one column per edge: the end nodes, then the
///                        interior nodes from start to end.
/// @return 0 on success, also for k = 0 or empty edges; -1 when `coords` has a row count other than 1, 2 or
///         3; -2 when `connect` has fewer than 2 rows or names a node not below N; -199 when `coords` or `out`
///         cannot be grown.
/// @par On failure
/// After -1 nothing has changed. After -2 or -199 `coords` keeps its N columns and `out` is empty.
/// @par Notes
/// Old mid nodes of E3 input stay in `coords`, unreferenced.
VX4_TESSORA1D_API int convert_into_high_order(dense2D<double>& coords, const dense2D<unsigned>& connect, unsigned k,
                                              dense2D<unsigned>& out);

/// `convert_into_high_order` with the connectivity rewritten in place.
///
/// @param[in,out] coords  Node coordinates, 1, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in,out] connect Edges in; on return k + 2 rows per edge (emptied when k = 0 or on failure).
/// @param[in]     k       Interior nodes per edge; 0 empties `connect`.
/// @return As `convert_into_high_order`; also -199 when the copy of `connect` cannot be taken (then
///         `connect` is untouched).
/// @par On failure
/// `coords` keeps its columns. `connect` is untouched after -1 or a failed copy, empty after -2 or a later
/// -199.
VX4_TESSORA1D_API int convert_into_high_order(dense2D<double>& coords, dense2D<unsigned>& connect, unsigned k);

/// Makes E3 edges from linear (or higher) edges in place: `convert_into_high_order` with k = 1.
///
/// @param[in,out] coords  Node coordinates, 1, 2 or 3 rows; one new mid node per edge is appended.
/// @param[in,out] connect Edges in; E3 edges (start, end, mid) out.
/// @return As `convert_into_high_order` in place.
/// @par On failure
/// As `convert_into_high_order` in place.
VX4_TESSORA1D_API int convert_into_quadratic(dense2D<double>& coords, dense2D<unsigned>& connect);

// ---------------------------------------------------------------------------------------------
// Chain reorientation
// ---------------------------------------------------------------------------------------------

/// Orients edges consistently (the end node of one edge is the start node of the next), breadth-first from
/// element `start`, turning the neighbours that point the wrong way. Only rows 0 and 1 are swapped, so E3
/// edges stay valid.
///
/// @param[in,out] connect   Edges (2 rows or more), E columns; rows 0 and 1 of turned edges are swapped.
/// @param[in,out] neighbors Element adjacency of the same shape: slot 0 the neighbour across the end node,
///                          every other slot across the start node; an entry not below E means none. Rows 0
///                          and 1 are swapped together with `connect`.
/// @param[in]     start     The reference element, whose orientation is kept.
/// @param[in]     all       0: only the component of `start`; any other value: every further component too,
///                          each from its lowest unvisited element after `start`.
/// @return The number of turned elements (0 also for an empty `connect`, and when the walk cannot be
///         stored: then nothing is turned); -1 when `connect` has fewer than 2 rows or a node index equal to
///         4294967295 (the adjacency's "none" marker); -2 when `neighbors` differs in shape; -3 when start >= E.
///         Any negative result also means that the adjacency does not match `connect`.
/// @par On failure
/// -1, -2, -3: nothing changed. An adjacency that does not match: the turns made so far stay, and later
/// turns keep counting from the negative value, so every negative result is a failure.
VX4_TESSORA1D_API int mesh_reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, unsigned start, int all);

// ---------------------------------------------------------------------------------------------
// Extrusion by translation
// ---------------------------------------------------------------------------------------------

/// Meshes the segment from node `start` to `start` + V with n equal elements.
///
/// @param[in,out] coords  Node coordinates, 2 (3) rows, N columns; the n new nodes are appended as columns
///                        N .. N + n - 1, the last one at `start` + V (not snapped).
/// @param[in]     start   The start node, a column of `coords`.
/// @param[in]     V       The translation vector.
/// @param[in]     n       Number of elements; 0 does nothing.
/// @param[in,out] indices The chain `start`, N, ..., N + n - 1 is appended.
/// @return 0 on success, also for n = 0; -1 when `coords` does not have 2 (3) rows; -2 when start >= N;
///         -199 when `coords` or `indices` cannot be reserved.
/// @par On failure
/// `coords` and `indices` are untouched.
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& V,
                                        unsigned n, dense1D<unsigned>& indices);

/// The 3-D form of the overload above: `coords` has 3 rows and the vectors 3 components.
/// @copydetails extrude_translate(dense2D<double>&,unsigned,const vector_fixed<double,2>&,unsigned,dense1D<unsigned>&)
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& V,
                                        unsigned n, dense1D<unsigned>& indices);

/// Meshes the segment from node `start` to `start` + V with elements graded from size h0 to size h1.
///
/// @param[in,out] coords  Node coordinates, 2 (3) rows, N columns; the new nodes are appended as columns.
/// @param[in]     start   The start node, a column of `coords`.
/// @param[in]     V       The translation vector; must not be zero.
/// @param[in]     h0      Element size wanted at the start, > 0 (a NaN is not refused and gives one element).
/// @param[in]     h1      Element size wanted at the end, > 0 (likewise).
/// @param[in]     even    Round the element count to an even number.
/// @param[in,out] indices The chain, `start` first, is appended.
/// @return 0 on success; -1 when `coords` does not have 2 (3) rows; -2 when start >= N; -3 when |V| = 0;
///         -4 when h0 <= 0; -5 when h1 <= 0; -199 when `coords` or `indices` cannot be reserved.
/// @par On failure
/// `coords` and `indices` are untouched.
/// @par Notes
/// The count is the metric length |V| ln(h1/h0) / (h1 - h0), rounded (at the geometric mean of the two
/// candidates), at least 1. A metric length of 2^32 or more saturates the count at `no_count_bound`, which
/// then fails with -199.
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& V,
                                        double h0, double h1, bool even, dense1D<unsigned>& indices);

/// The 3-D form of the overload above: `coords` has 3 rows and the vectors 3 components.
/// @copydetails extrude_translate(dense2D<double>&,unsigned,const vector_fixed<double,2>&,double,double,bool,dense1D<unsigned>&)
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& V,
                                        double h0, double h1, bool even, dense1D<unsigned>& indices);

/// Meshes the segment from point `start` to `start` + V with n equal elements; the start point becomes a new
/// node.
///
/// @param[in,out] coords  Node coordinates, 2 (3) rows or empty, N columns; the start point is appended as
///                        column N, then the n new nodes.
/// @param[in]     start   The start point.
/// @param[in]     V       The translation vector.
/// @param[in]     n       Number of elements; 0 does nothing (the start point is not added either).
/// @param[in,out] indices The chain N, N + 1, ..., N + n is appended.
/// @return 0 on success, also for n = 0; -1 when `coords` is neither empty nor 2 (3) rows; -199 when `coords`
///         or `indices` cannot be reserved.
/// @par On failure
/// `coords` keeps its N columns (the start point is removed again); `indices` is untouched.
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                        const vector_fixed<double, 2>& V, unsigned n, dense1D<unsigned>& indices);

/// The 3-D form of the overload above: `coords` has 3 rows and the vectors 3 components.
/// @copydetails extrude_translate(dense2D<double>&,const vector_fixed<double,2>&,const vector_fixed<double,2>&,unsigned,dense1D<unsigned>&)
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                        const vector_fixed<double, 3>& V, unsigned n, dense1D<unsigned>& indices);

/// Meshes the segment from point `start` to `start` + V with elements graded from size h0 to size h1; the
/// start point becomes a new node.
///
/// @param[in,out] coords  Node coordinates, 2 (3) rows or empty, N columns; the start point is appended as
///                        column N, then the new nodes.
/// @param[in]     start   The start point.
/// @param[in]     V       The translation vector; must not be zero.
/// @param[in]     h0      Element size wanted at the start, > 0 (a NaN is not refused and gives one element).
/// @param[in]     h1      Element size wanted at the end, > 0 (likewise).
/// @param[in]     even    Round the element count to an even number.
/// @param[in,out] indices The chain, N first, is appended.
/// @return 0 on success; -1 when `coords` is neither empty nor 2 (3) rows; -2 when the start point cannot be
///         appended (memory); -3 when |V| = 0; -4 when h0 <= 0; -5 when h1 <= 0; -199 when `coords` or
///         `indices` cannot be reserved.
/// @par On failure
/// `coords` keeps its N columns (the start point is removed again); `indices` is untouched.
/// @par Notes
/// The count follows as in the node overload.
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                        const vector_fixed<double, 2>& V, double h0, double h1, bool even,
                                        dense1D<unsigned>& indices);

/// The 3-D form of the overload above: `coords` has 3 rows and the vectors 3 components.
/// @copydetails extrude_translate(dense2D<double>&,const vector_fixed<double,2>&,const vector_fixed<double,2>&,double,double,bool,dense1D<unsigned>&)
VX4_TESSORA1D_API int extrude_translate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                        const vector_fixed<double, 3>& V, double h0, double h1, bool even,
                                        dense1D<unsigned>& indices);

// ---------------------------------------------------------------------------------------------
// Extrusion by rotation
// ---------------------------------------------------------------------------------------------

/// Meshes the circular arc swept by point `start` about centre C by `angle` with n equal elements; the start
/// point becomes a new node.
///
/// @param[in,out] coords  Node coordinates, 2 rows or empty, N columns; the start point is appended as column
///                        N, then the n new nodes (the last one is not snapped).
/// @param[in]     start   The start point.
/// @param[in]     C       The centre of rotation.
/// @param[in]     angle   Angle in radians, counter-clockwise positive; 0 gives n nodes on the start point.
/// @param[in]     n       Number of elements; 0 does nothing (the start point is not added either).
/// @param[in,out] indices The chain N, N + 1, ..., N + n is appended.
/// @return 0 on success, also for n = 0; -1 when `coords` is neither empty nor 2 rows; -199 when `coords` or
///         `indices` cannot be reserved.
/// @par On failure
/// `coords` keeps its N columns; `indices` is untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                     const vector_fixed<double, 2>& C, double angle, unsigned n,
                                     dense1D<unsigned>& indices);

/// Meshes the circular arc swept by point `start` about centre C by `angle` with elements graded from size
/// h0 to size h1; the start point becomes a new node.
///
/// @param[in,out] coords  Node coordinates, 2 rows or empty, N columns; the start point is appended as column
///                        N, then the new nodes.
/// @param[in]     start   The start point.
/// @param[in]     C       The centre of rotation.
/// @param[in]     angle   Angle in radians, counter-clockwise positive; must not be 0.
/// @param[in]     h0      Element size wanted at the start, > 0 (a NaN is not refused and gives one element).
/// @param[in]     h1      Element size wanted at the end, > 0 (likewise).
/// @param[in]     even    Round the element count to an even number.
/// @param[in,out] indices The chain, N first, is appended.
/// @return 0 on success; -1 when `coords` is neither empty nor 2 rows; -2 when the start point cannot be
///         appended (memory); -3 when the arc length is 0 (zero angle, or `start` on C); -5 when h0 <= 0;
///         -6 when h1 <= 0 (the codes of the sizes' places; -4 is never returned); -199 when `coords` or
///         `indices` cannot be reserved.
/// @par On failure
/// `coords` keeps its N columns; `indices` is untouched.
/// @par Notes
/// The count follows from the arc length as in `extrude_translate`; 2^32 or more saturates and fails -199.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 2>& start,
                                     const vector_fixed<double, 2>& C, double angle, double h0, double h1, bool even,
                                     dense1D<unsigned>& indices);

/// Meshes the circular arc swept by point `start` about the axis through C along W by |W| radians
/// (right-handed) with n equal elements; the start point becomes a new node.
///
/// @param[in,out] coords  Node coordinates, 3 rows or empty, N columns; the start point is appended as column
///                        N, then the n new nodes.
/// @param[in]     start   The start point.
/// @param[in]     C       A point on the axis.
/// @param[in]     W       Rotation vector: the axis direction, its length the angle in radians.
/// @param[in]     n       Number of elements; 0 does nothing (the start point is not added either).
/// @param[in,out] indices The chain N, N + 1, ..., N + n is appended.
/// @return 0 on success, also for n = 0; -1 when `coords` is neither empty nor 3 rows; -199 when `coords` or
///         `indices` cannot be reserved.
/// @par On failure
/// `coords` keeps its N columns; `indices` is untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                     const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& W, unsigned n,
                                     dense1D<unsigned>& indices);

/// Meshes the circular arc swept by point `start` about the axis through C along W by |W| radians
/// (right-handed) with elements graded from size h0 to size h1; the start point becomes a new node.
///
/// @param[in,out] coords  Node coordinates, 3 rows or empty, N columns; the start point is appended as column
///                        N, then the new nodes.
/// @param[in]     start   The start point.
/// @param[in]     C       A point on the axis.
/// @param[in]     W       Rotation vector: the axis direction, its length the angle in radians; must not be 0.
/// @param[in]     h0      Element size wanted at the start, > 0 (a NaN is not refused and gives one element).
/// @param[in]     h1      Element size wanted at the end, > 0 (likewise).
/// @param[in]     even    Round the element count to an even number.
/// @param[in,out] indices The chain, N first, is appended.
/// @return 0 on success; -1 when `coords` is neither empty nor 3 rows; -2 when the start point cannot be
///         appended (memory); -3 when the arc length is 0 (W = 0, or `start` on the axis); -5 when h0 <= 0;
///         -6 when h1 <= 0; -199 when `coords` or `indices` cannot be reserved.
/// @par On failure
/// `coords` keeps its N columns; `indices` is untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, const vector_fixed<double, 3>& start,
                                     const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& W, double h0,
                                     double h1, bool even, dense1D<unsigned>& indices);

/// Meshes the circular arc swept by node `start` about centre C by `angle` with n equal elements.
///
/// @param[in,out] coords  Node coordinates, 2 rows, N columns; the n new nodes are appended as columns.
/// @param[in]     start   The start node, a column of `coords`.
/// @param[in]     C       The centre of rotation.
/// @param[in]     angle   Angle in radians, counter-clockwise positive.
/// @param[in]     n       Number of elements; 0 does nothing.
/// @param[in,out] indices The chain `start`, N, ..., N + n - 1 is appended.
/// @return 0 on success, also for n = 0; -1 when `coords` does not have 2 rows; -2 when start >= N; -199 when
///         `coords` or `indices` cannot be reserved.
/// @par On failure
/// `coords` and `indices` are untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& C,
                                     double angle, unsigned n, dense1D<unsigned>& indices);

/// Meshes the circular arc swept by node `start` about centre C by `angle` with elements graded from size
/// h0 to size h1.
///
/// @param[in,out] coords  Node coordinates, 2 rows, N columns; the new nodes are appended as columns.
/// @param[in]     start   The start node, a column of `coords`.
/// @param[in]     C       The centre of rotation.
/// @param[in]     angle   Angle in radians, counter-clockwise positive; must not be 0.
/// @param[in]     h0      Element size wanted at the start, > 0 (a NaN is not refused and gives one element).
/// @param[in]     h1      Element size wanted at the end, > 0 (likewise).
/// @param[in]     even    Round the element count to an even number.
/// @param[in,out] indices The chain, `start` first, is appended.
/// @return 0 on success; -1 when `coords` does not have 2 rows; -2 when start >= N; -3 when the arc length
///         is 0; -5 when h0 <= 0; -6 when h1 <= 0; -199 when `coords` or `indices` cannot be reserved.
/// @par On failure
/// `coords` and `indices` are untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 2>& C,
                                     double angle, double h0, double h1, bool even, dense1D<unsigned>& indices);

/// Meshes the circular arc swept by node `start` about the axis through C along W by |W| radians
/// (right-handed) with n equal elements.
///
/// @param[in,out] coords  Node coordinates, 3 rows, N columns; the n new nodes are appended as columns.
/// @param[in]     start   The start node, a column of `coords`.
/// @param[in]     C       A point on the axis.
/// @param[in]     W       Rotation vector: the axis direction, its length the angle in radians.
/// @param[in]     n       Number of elements; 0 does nothing.
/// @param[in,out] indices The chain `start`, N, ..., N + n - 1 is appended.
/// @return 0 on success, also for n = 0; -1 when `coords` does not have 3 rows; -2 when start >= N; -199 when
///         `coords` or `indices` cannot be reserved.
/// @par On failure
/// `coords` and `indices` are untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& C,
                                     const vector_fixed<double, 3>& W, unsigned n, dense1D<unsigned>& indices);

/// Meshes the circular arc swept by node `start` about the axis through C along W by |W| radians
/// (right-handed) with elements graded from size h0 to size h1.
///
/// @param[in,out] coords  Node coordinates, 3 rows, N columns; the new nodes are appended as columns.
/// @param[in]     start   The start node, a column of `coords`.
/// @param[in]     C       A point on the axis.
/// @param[in]     W       Rotation vector: the axis direction, its length the angle in radians; must not be 0.
/// @param[in]     h0      Element size wanted at the start, > 0 (a NaN is not refused and gives one element).
/// @param[in]     h1      Element size wanted at the end, > 0 (likewise).
/// @param[in]     even    Round the element count to an even number.
/// @param[in,out] indices The chain, `start` first, is appended.
/// @return 0 on success; -1 when `coords` does not have 3 rows; -2 when start >= N; -3 when the arc length
///         is 0 (W = 0, or `start` on the axis); -5 when h0 <= 0; -6 when h1 <= 0; -199 when `coords` or
///         `indices` cannot be reserved.
/// @par On failure
/// `coords` and `indices` are untouched.
VX4_TESSORA1D_API int extrude_rotate(dense2D<double>& coords, unsigned start, const vector_fixed<double, 3>& C,
                                     const vector_fixed<double, 3>& W, double h0, double h1, bool even,
                                     dense1D<unsigned>& indices);

// ---------------------------------------------------------------------------------------------
// Polyline meshing
// ---------------------------------------------------------------------------------------------

/// Meshes the polyline `indices` into a chain of elements whose lengths follow the metrics given at its
/// nodes. The chain runs from the polyline's first node to its last; its interior polyline nodes only carry
/// the geometry and the size field and are not kept (to keep corners, use `mesh_straight`), except where a
/// refinement (`chordal` > 0) cuts the line: the node it cuts at stays in the chain under its own index, and
/// the new nodes, fewer by one per cut, still take consecutive columns from c.
///
/// @param[in,out] pos         Node coordinates, 2 or 3 rows, one column per node. The E - 1 new nodes are
///                            appended as columns c, c + 1, ..., c + E - 2 (c the column count on entry),
///                            in order along the polyline.
/// @param[in]     indices     The polyline: n >= 2 node indices, columns of `pos`.
/// @param[in]     params      Curve parameter of each polyline node: n values, non-decreasing.
/// @param[in]     metrics     Metric at each polyline node: 3 rows in 2-D, 6 in 3-D, at least n columns (the
///                            first n are read), each positive definite.
/// @param[in]     even        Make the element count even (applied after the clamp to [nmin, nmax], so an
///                            odd nmax can be exceeded by one); false: no parity rule.
/// @param[in]     nmin        Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax        Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in]     chordal     0 (or +-`no_limit`): off. < 0: caps the size at each polyline node by its
///                            curvature, to the chord whose sagitta is |chordal| times the radius. > 0: an
///                            absolute distance; the chain is refined until every polyline node lies within
///                            `chordal` of it, which may exceed nmax.
/// @param[in]     hmin        Lower bound of the curvature cap of a negative `chordal`; 0 sets none. Unused
///                            otherwise.
/// @param[in,out] out_indices The chain's E + 1 node indices are appended: indices[0], c, ..., c + E - 2,
///                            indices[n - 1].
/// @param[out]    out_params  Emptied first, then the parameter of each chain node.
/// @param[in,out] out_metrics The metric of each chain node is appended, one column each (3 or 6 rows;
///                            empty, or of the same row count as `metrics`).
/// @return 0 on success; -1 when `pos` has neither 2 nor 3 rows; -2 when n < 2 or an index is not a column of
///         `pos`; -3 when `params` does not have n values or decreases; -4 when `metrics` has too few columns,
///         the wrong row count or an invalid metric; -6 when nmin = 0 or nmax < nmin; -11 when `out_metrics` is
///         neither empty nor of the metric row count (the code -11, not -12, is kept on purpose); -199 when
///         memory is short for the new nodes of `pos`.
/// @par On failure
/// `pos`, `out_indices` and `out_metrics` are untouched; `out_params` is empty.
/// @par Notes
/// E is the polyline's metric length rounded (at the geometric mean of the two candidates), at least 1,
/// clamped to [nmin, nmax], then made even when `even`. A metric length of 2^32 or more saturates E before
/// the clamp, so nmax still bounds it (and -199 answers an allocation that cannot be made). New nodes carry
/// metrics interpolated linearly in size along the common eigen-directions of their edge's end metrics.
/// Under memory shortage after the chain is made, 0 can be returned with `out_indices`, `out_params` or
/// `out_metrics` left short (a failed growth of an output is not reported); with `chordal` > 0 a
/// refinement that runs out of memory keeps the unrefined chain and returns 0.
/// Memory: the chain is built in buffers that outputs without storage of their own then take over (their
/// capacity may exceed their size), and each pass that meshes the chain again writes over it, so a call
/// allocates little beyond its result: the first pass's chain, which may be longer than the last, and with
/// sizes 8 bytes per chain node.
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense1D<double>& params, const dense2D<double>& metrics, bool even,
                                unsigned nmin, unsigned nmax, double chordal, double hmin,
                                dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                dense2D<double>& out_metrics);

/// Meshes the polyline `indices` into a chain of elements whose lengths follow the isotropic sizes given at
/// its nodes. The chain runs from the polyline's first node to its last; its interior polyline nodes are not
/// kept (to keep corners, use `mesh_straight`), except the nodes where a refinement cuts the line, as in the
/// metric overload.
///
/// @param[in,out] pos         Node coordinates, 2 or 3 rows. The E - 1 new nodes are appended as columns
///                            c, c + 1, ..., c + E - 2 (c the column count on entry), in order along the line.
/// @param[in]     indices     The polyline: n >= 2 node indices, columns of `pos`.
/// @param[in]     params      Curve parameter of each polyline node: n values, non-decreasing.
/// @param[in]     sizes       Element size wanted at each polyline node, > 0 and finite; at least n values
///                            (the first n are read).
/// @param[in]     even        Make the element count even (after the clamp; an odd nmax can be exceeded by 1).
/// @param[in]     nmin        Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax        Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in]     chordal     0 (or +-`no_limit`): off. < 0: curvature cap of the sizes, relative to the
///                            radius. > 0: absolute distance within which the chain must pass every polyline
///                            node; refinement may exceed nmax.
/// @param[in]     hmin        Lower bound of the curvature cap of a negative `chordal`; 0 sets none.
/// @param[in,out] out_indices The chain's E + 1 node indices are appended: indices[0], c, ..., c + E - 2,
///                            indices[n - 1].
/// @param[out]    out_params  Emptied first, then the parameter of each chain node.
/// @param[in,out] out_sizes   The size at each chain node is appended (linear in the position along each
///                            polyline edge).
/// @return 0 on success; -1 when `pos` has neither 2 nor 3 rows; -2 when n < 2 or an index is not a column of
///         `pos`; -3 when `params` does not have n values or decreases; -4 when `sizes` has too few values or
///         an invalid one; -6 when nmin = 0 or nmax < nmin; -199 when `pos` cannot be grown.
/// @par On failure
/// `pos`, `out_indices` and `out_sizes` are untouched; `out_params` is empty.
/// @par Notes
/// The count, the saturation of a metric length of 2^32 or more, and the behaviour under memory shortage
/// (0 with an output left short) are those of the metric overload.
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense1D<double>& params, const dense1D<double>& sizes, bool even,
                                unsigned nmin, unsigned nmax, double chordal, double hmin,
                                dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                dense1D<double>& out_sizes);

/// `mesh_line` with chord-length parameters: the parameters are built in [0, 1] from the polyline's
/// segment lengths, then the overload with parameters is called.
///
/// @param[in,out] pos         Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     indices     The polyline: n >= 2 node indices, columns of `pos`, not all at one point.
/// @param[in]     metrics     Metric at each polyline node (3 or 6 rows, at least n columns).
/// @param[in]     even        Make the element count even (after the clamp).
/// @param[in]     nmin        Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax        Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in]     chordal     0 (or +-`no_limit`): off; < 0 relative curvature cap; > 0 absolute refinement.
/// @param[in]     hmin        Lower bound of the curvature cap of a negative `chordal`; 0 sets none.
/// @param[in,out] out_indices The chain's node indices are appended.
/// @param[out]    out_params  Emptied first (not on -1 and -2), then the chord-length parameter of each
///                            chain node, from 0 to 1.
/// @param[in,out] out_metrics The metric of each chain node is appended.
/// @return 0 on success; -1 dimension; -2 when n < 2, an index is not a column of `pos`, or the polyline has
///         zero length; -3 metrics; -5 counts; -10 `out_metrics` shape; -198 when `pos` cannot be grown; -199
///         when the parameters' running lengths cannot be allocated. Every code below -3 of the overload with
///         parameters is shifted up by one, so that it names this overload's argument.
/// @par On failure
/// `pos`, `out_indices` and `out_metrics` are untouched; `out_params` is empty, except after -1, -2 or -199,
/// which leave it untouched too.
/// @par Notes
/// The parameters are not stored: the running segment length is kept every 16 nodes and the values between
/// are summed again when read, bit for bit the list described: half a byte of working memory per polyline
/// node instead of eight.
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax,
                                double chordal, double hmin, dense1D<unsigned>& out_indices,
                                dense1D<double>& out_params, dense2D<double>& out_metrics);

/// `mesh_line` with isotropic sizes and chord-length parameters: the parameters are built in [0, 1] from
/// the polyline's segment lengths, then the overload with parameters is called.
///
/// @param[in,out] pos         Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     indices     The polyline: n >= 2 node indices, columns of `pos`, not all at one point.
/// @param[in]     sizes       Element size wanted at each polyline node, > 0 and finite, at least n values.
/// @param[in]     even        Make the element count even (after the clamp).
/// @param[in]     nmin        Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax        Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in]     chordal     0 (or +-`no_limit`): off; < 0 relative curvature cap; > 0 absolute refinement.
/// @param[in]     hmin        Lower bound of the curvature cap of a negative `chordal`; 0 sets none.
/// @param[in,out] out_indices The chain's node indices are appended.
/// @param[out]    out_params  Emptied first (not on -1, -2 and -199), then the chord-length parameter of each
///                            chain node, from 0 to 1.
/// @param[in,out] out_sizes   The size at each chain node is appended.
/// @return 0 on success; -1 dimension; -2 when n < 2, an index is not a column of `pos`, or the polyline has
///         zero length; -3 sizes; -5 counts; -198 when `pos` cannot be grown; -199 when the parameters cannot
///         be allocated.
/// @par On failure
/// `pos`, `out_indices` and `out_sizes` are untouched; `out_params` is empty, except after -1, -2 or -199.
/// @par Notes
/// The parameters are produced as they are read, as in the metric overload.
VX4_TESSORA1D_API int mesh_line(dense2D<double>& pos, const dense1D<unsigned>& indices,
                                const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax,
                                double chordal, double hmin, dense1D<unsigned>& out_indices,
                                dense1D<double>& out_params, dense1D<double>& out_sizes);

// ---------------------------------------------------------------------------------------------
// Straight-line meshing
// ---------------------------------------------------------------------------------------------

/// Meshes the straight segments of `chain` one by one with `mesh_line`, keeping every chain node (corners
/// included), and appends the stitched chain.
///
/// @param[in,out] coords  Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     chain   n >= 2 node indices, columns of `coords`.
/// @param[in]     metrics Metric columns, 3 rows in 2-D, 6 in 3-D, at least n, each valid.
/// @param[in]     even    `mesh_line`'s `even`, per segment.
/// @param[in,out] out     chain[0], the new nodes of segment 0, chain[1], ..., chain[n - 1] are appended, each
///                        shared node once.
/// @return 0 on success, also for an empty chain; -2 when n = 1 or an index is out of range; -3 when
///         `metrics` has too few columns, an invalid metric or the wrong row count; otherwise the code of the
///         failing `mesh_line` call (-1 dimension, -4 for the metric block of a segment after the first, -199).
/// @par On failure
/// `coords` and `out` get back their former column count and size, except that a failure which appended
/// nothing can leave the former last entry of `out` replaced by chain[n - 1].
/// @par Notes
/// The metric block of segment k is `metrics.sub_matrix(k, 0, rows, 2)`, which for k >= 1 runs past the
/// rows and is refused (-4): this form meshes single segments (n = 2). Use the size overloads for longer
/// chains. Under memory shortage 0 can be returned with a short `out`: a chain that skips new nodes, or whose
/// last entry replaced an earlier one.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                    const dense2D<double>& metrics, bool even, dense1D<unsigned>& out);

/// Meshes the straight segments of `chain` one by one under the sizes given at its nodes, keeping every chain
/// node (corners included), and appends the stitched chain.
///
/// @param[in,out] coords Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     chain  n >= 2 node indices, columns of `coords`.
/// @param[in]     sizes  Element size wanted at each chain entry, > 0 and finite, at least n values.
/// @param[in]     even   Even element count on every segment.
/// @param[in,out] out    chain[0], the new nodes of segment 0, chain[1], ..., chain[n - 1] are appended.
/// @return 0 on success, also for an empty chain; -2 when n = 1 or an index is out of range; -3 when `sizes`
///         has too few values or an invalid one; otherwise the failing `mesh_line` code (-1 dimension, -199).
/// @par On failure
/// As the metric overload: `coords` and `out` restored, bar the last entry of `out` after a failure that
/// appended nothing.
/// @par Notes
/// Under memory shortage 0 can be returned with a short `out` (a chain that skips new nodes).
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                    const dense1D<double>& sizes, bool even, dense1D<unsigned>& out);

/// Meshes the straight segments of `chain` with one uniform size, the chain's length divided by `count`,
/// keeping every chain node; the total count is about `count`, rounded per segment.
///
/// @param[in,out] coords Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     chain  n >= 2 node indices, columns of `coords`.
/// @param[in]     count  Wanted number of elements over the whole chain; 0 does nothing.
/// @param[in]     even   Even element count on every segment.
/// @param[in,out] out    The stitched chain is appended, as in the size overload.
/// @return 0 on success, also for count = 0 or an empty chain; -2 when n = 1 or an index is out of range;
///         -3 when the size is 0 or not finite (a chain of zero length, a non-finite coordinate, or memory
///         short for the size list); otherwise the failing `mesh_line` code.
/// @par On failure
/// As the size overload.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, const dense1D<unsigned>& chain, unsigned count,
                                    bool even, dense1D<unsigned>& out);

/// Meshes segment a-b with `count` equal elements.
///
/// @param[in,out] coords Node coordinates, 2 or 3 rows; the count - 1 new nodes are appended as columns.
/// @param[in]     a      Start node.
/// @param[in]     b      End node.
/// @param[in]     count  Number of elements; 0 does nothing.
/// @param[in,out] out    a, the new nodes, b are appended.
/// @return 0 on success, also for count = 0; -2 when a, -3 when b is not a column; -4 when a and b coincide;
///         -3 also when a coordinate is not finite (the size check of the size overload, not -4); otherwise
///         the failing `mesh_line` code (-1 dimension, -199).
/// @par On failure
/// As the size overload.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, unsigned count,
                                    dense1D<unsigned>& out);

/// Meshes the chain a-b-d with `count` elements in all, keeping b.
///
/// @param[in,out] coords Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     a      First node.
/// @param[in]     b      Middle node, kept in the chain.
/// @param[in]     d      Last node.
/// @param[in]     count  Wanted number of elements over both segments; 0 does nothing.
/// @param[in,out] out    a, new nodes, b, new nodes, d are appended.
/// @return 0 on success, also for count = 0; -2, -3, -4 when a, b, d is not a column; otherwise the code of
///         the element-count overload.
/// @par On failure
/// As the size overload.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, unsigned d, unsigned count,
                                    dense1D<unsigned>& out);

/// Meshes segment a-b with elements graded from size ha at a to size hb at b.
///
/// @param[in,out] coords Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     a      Start node.
/// @param[in]     b      End node.
/// @param[in]     ha     Element size wanted at a, > 0 and finite.
/// @param[in]     hb     Element size wanted at b, > 0 and finite.
/// @param[in]     even   Even element count.
/// @param[in,out] out    a, the new nodes, b are appended.
/// @return 0 on success; -2 when a, -3 when b is not a column; -4 when ha <= 0; -5 when hb <= 0; -3 also for a
///         NaN or infinite size (the size check of the size overload); otherwise the failing `mesh_line` code.
/// @par On failure
/// As the size overload.
VX4_TESSORA1D_API int mesh_straight(dense2D<double>& coords, unsigned a, unsigned b, double ha, double hb, bool even,
                                    dense1D<unsigned>& out);

// ---------------------------------------------------------------------------------------------
// Splines
// ---------------------------------------------------------------------------------------------

/// Evaluates at t the cubic from node P1 to node P2 whose end tangents come from the neighbour nodes P0 and
/// P3: the curve that `mesh_spline` meshes.
///
/// @param[in]  coords Node coordinates, 2 (3) rows.
/// @param[in]  P0     Node before P1; pass P0 = P1 for an end without neighbour.
/// @param[in]  P1     Start of the segment (t = 0).
/// @param[in]  P2     End of the segment (t = 1).
/// @param[in]  P3     Node after P2; pass P3 = P2 for an end without neighbour.
/// @param[in]  t      Curve parameter; not clamped, so values outside [0, 1] extrapolate the cubic.
/// @param[out] point  The point.
/// @return 0 on success; -1 when `coords` does not have 2 (3) rows; -2, -3, -4, -5 when P0, P1, P2, P3 is not
///         a column of `coords`.
/// @par On failure
/// `point` is untouched.
/// @par Notes
/// The tangents have the length of the chord P1-P2. A neighbour that does not lead forward degrades the
/// cubic to a quadratic, and a cubic that would stall or turn back along the chord becomes the chord.
VX4_TESSORA1D_API int spline_point(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3,
                                   double t, vector_fixed<double, 2>& point);

/// The 3-D form of the overload above: `coords` has 3 rows and the vectors 3 components.
/// @copydetails spline_point(const dense2D<double>&,unsigned,unsigned,unsigned,unsigned,double,vector_fixed<double,2>&)
VX4_TESSORA1D_API int spline_point(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3,
                                   double t, vector_fixed<double, 3>& point);

/// Meshes the smooth curve through chain entries 1 to n-2 under the metrics given at the chain nodes, a
/// chordal error, a minimum size, an optional background size and an optional gradation limit. Entries 0
/// and n-1 only shape the end tangents and are not meshed.
///
/// @param[in,out] coords      Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     chain       n >= 4 node indices, columns of `coords`: entry 0, the curve's nodes 1 .. n-2,
///                            entry n-1. For an open curve repeat the ends (chain[0] = chain[1],
///                            chain[n-1] = chain[n-2]); for a closed one wrap the neighbours around.
/// @param[in]     metrics     Metric at each chain entry (3 rows in 2-D, 6 in 3-D, at least n columns);
///                            entries 0 and n-1 are checked but not used.
/// @param[in]     even        Make the element count even; false: no parity rule.
/// @param[in]     nmin        Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax        Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in]     chordal     Chordal error: > 0 an absolute distance, < 0 a fraction of the local radius of
///                            curvature; 0, `no_limit` or -`no_limit` turns it off.
/// @param[in]     hmin        Smallest size the chordal error may ask for, >= 0; 0 sets none.
/// @param[in]     background  Size given to the curve between the chain nodes, in place of the metrics
///                            interpolated from them (the nodes keep their own, and the gradation spreads
///                            those). Active only when `background` > 0 and `gradation` > 0, so 0 turns it
///                            off. Beware: `no_limit` is not "off" here: between the nodes the sizes then
///                            grow as fast as `gradation` allows, or without bound when `gradation` is
///                            `no_limit` (a handful of elements on a whole curve).
/// @param[in]     gradation   Largest growth ratio of the size between neighbouring samples, applied when
///                            0 < `gradation` < `no_limit`; 0 or `no_limit` turns it off (0 also turns the
///                            background off).
/// @param[in,out] out_indices chain[1], the new nodes (columns c, c + 1, ... of `coords`, c the column count on
///                            entry), chain[n-2] are appended.
/// @param[in,out] out_params  The parameter of each chain node is appended: 0, the new nodes' values, 1 (the
///                            curve's normalised abscissa).
/// @param[in,out] out_metrics The metric of each chain node is appended (empty, or 3 or 6 rows).
/// @param[out]    deviation   Set to 0 first, then the largest distance between the curve and the chords of
///                            `chain` (a measure of how far the smooth curve leaves the polygon).
/// @return 0 on success; -1 when `coords` has neither 2 nor 3 rows; -2 when n < 4 or an index is not a column;
///         -3 when `metrics` has too few columns, an invalid metric or the wrong row count; -5 when nmin = 0 or
///         nmax < nmin; -8 when hmin < 0 (a NaN passes); -13 when `out_metrics` is neither empty nor of the
///         metric row count.
/// @par On failure
/// `coords`, `out_indices`, `out_params` and `out_metrics` are untouched; `deviation` is 0.
/// @par Notes
/// The element count is the curve's metric length rounded, clamped to [nmin, nmax] (a metric length of 2^32
/// or more saturates it first), then made even when `even`. Under memory shortage 0 is returned with every
/// output untouched (nothing appended). On a chain that retraces itself (turns back along its own path) the
/// parameters and metrics can come out non-finite.
VX4_TESSORA1D_API int mesh_spline(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                  const dense2D<double>& metrics, bool even, unsigned nmin, unsigned nmax,
                                  double chordal, double hmin, double background, double gradation,
                                  dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                  dense2D<double>& out_metrics, double& deviation);

/// Meshes the smooth curve through chain entries 1 to n-2 under the isotropic sizes given at the chain
/// nodes, a chordal error, a minimum size, an optional background size and an optional gradation limit.
/// Entries 0 and n-1 only shape the end tangents and are not meshed.
///
/// @param[in,out] coords      Node coordinates, 2 or 3 rows; the new nodes are appended as columns.
/// @param[in]     chain       n >= 4 node indices, columns of `coords`: entry 0, the curve's nodes 1 .. n-2,
///                            entry n-1. For an open curve repeat the ends; for a closed one wrap around.
/// @param[in]     sizes       Element size wanted at each chain entry, > 0 and finite, at least n values;
///                            entries 0 and n-1 are checked but not used.
/// @param[in]     even        Make the element count even; false: no parity rule.
/// @param[in]     nmin        Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax        Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in]     chordal     Chordal error: > 0 absolute, < 0 relative to the radius; 0 or +-`no_limit` off.
/// @param[in]     hmin        Smallest size the chordal error may ask for, >= 0; 0 sets none.
/// @param[in]     background  Size given to the curve between the chain nodes, in place of the sizes
///                            interpolated from them (the nodes keep their own, and the gradation spreads
///                            those). Active only when `background` > 0 and `gradation` > 0, so 0 turns it
///                            off. Beware: `no_limit` is not "off" here: between the nodes the sizes then
///                            grow as fast as `gradation` allows, or without bound when `gradation` is
///                            `no_limit` (a handful of elements on a whole curve).
/// @param[in]     gradation   Largest growth ratio of the size between neighbouring samples, applied when
///                            0 < `gradation` < `no_limit`; 0 or `no_limit` turns it off (0 also turns the
///                            background off).
/// @param[in,out] out_indices chain[1], the new nodes (columns c, c + 1, ...), chain[n-2] are appended.
/// @param[in,out] out_params  0, the new nodes' parameters, 1 are appended.
/// @param[in,out] out_sizes   The size at each chain node is appended.
/// @param[out]    deviation   Set to 0 first, then the largest distance between the curve and the chords of
///                            `chain`.
/// @return 0 on success; -1 when `coords` has neither 2 nor 3 rows; -2 when n < 4 or an index is not a column;
///         -3 when `sizes` has too few values or an invalid one; -5 when nmin = 0 or nmax < nmin; -8 when
///         hmin < 0 (a NaN passes).
/// @par On failure
/// `coords`, `out_indices`, `out_params` and `out_sizes` are untouched; `deviation` is 0.
/// @par Notes
/// The element count follows as in the metric overload. Under memory shortage 0 is returned with every
/// output untouched. On a chain that retraces itself the parameters and sizes can come out non-finite.
VX4_TESSORA1D_API int mesh_spline(dense2D<double>& coords, const dense1D<unsigned>& chain,
                                  const dense1D<double>& sizes, bool even, unsigned nmin, unsigned nmax,
                                  double chordal, double hmin, double background, double gradation,
                                  dense1D<unsigned>& out_indices, dense1D<double>& out_params,
                                  dense1D<double>& out_sizes, double& deviation);

// ---------------------------------------------------------------------------------------------
// Lengths and coordinate interpolation
// ---------------------------------------------------------------------------------------------

/// Euclidean length of the chain nodes[0], nodes[1], ..., nodes[n-1].
///
/// @param[in]  coords Node coordinates, 2 or 3 rows.
/// @param[in]  nodes  The chain, n >= 2 node indices.
/// @param[out] len    Set to 0 first, then the length.
/// @return 0 on success; -1 when `coords` has neither 2 nor 3 rows; -2 when n < 2 or an index is not a column.
/// @par On failure
/// After -1 or n < 2, `len` is 0; after a bad index it holds the length summed up to that index.
VX4_TESSORA1D_API int length(const dense2D<double>& coords, const dense1D<unsigned>& nodes, double& len);

/// Sum of the Euclidean lengths of all edges (rows 0 and 1 of each column).
///
/// @param[in]  coords    Node coordinates, 2 or 3 rows.
/// @param[in]  connectE2 Edges, 2 rows or more; may be empty.
/// @param[out] len       Set to 0 first, then the sum.
/// @return 0 on success, also for no edges; -1 when `coords` has neither 2 nor 3 rows; -2 when `connectE2` has
///         fewer than 2 rows or names a node that is not a column.
/// @par On failure
/// `len` is 0.
VX4_TESSORA1D_API int length(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double& len);

/// Writes, in place, the coordinates of node new_nodes[k] at parameter new_params[k] along the chain
/// `nodes` carrying `params`, linearly between the bracketing chain nodes.
///
/// @param[in,out] coords     Node coordinates, any number of rows (all are interpolated); the columns of
///                           `new_nodes` are overwritten, nothing is appended.
/// @param[in]     nodes      The chain, node indices.
/// @param[in]     params     One parameter per chain node, non-decreasing.
/// @param[in]     new_nodes  Columns to write, existing.
/// @param[in]     new_params One parameter per new node, non-decreasing.
/// @return 0 on success, also with no queries; -2 when `params` and `nodes` differ in size; -3 when `params`
///         decreases; -4 when `new_params` and `new_nodes` differ in size; -5 when `new_params` decreases;
///         then -2 when queries meet an empty chain or a chain node that is not a column, -4 when a new node
///         is not a column.
/// @par On failure
/// `coords` is untouched.
/// @par Notes
/// Below the first parameter the first chain node is copied, past the last parameter the last one; equal
/// parameters copy the earlier node.
VX4_TESSORA1D_API int interpolate_coordinates(dense2D<double>& coords, const dense1D<unsigned>& nodes,
                                              const dense1D<double>& params, const dense1D<unsigned>& new_nodes,
                                              const dense1D<double>& new_params);

// ---------------------------------------------------------------------------------------------
// Normals and curvatures
// ---------------------------------------------------------------------------------------------

/// Discrete curvature 2 sin(theta/2) / (mean length of the two segments) at each position of a chain,
/// theta the turning angle; the ends copy their neighbours.
///
/// @param[in]  coords Node coordinates, 2 or 3 rows.
/// @param[in]  nodes  The chain, node indices (one value per position, not per node).
/// @param[out] curv   Emptied first, then one value per chain position (all 0 for n <= 2).
/// @return 0 on success, also for an empty chain; -1 when `coords` has neither 2 nor 3 rows; -2 when an index
///         is not a column; -199 when `curv` cannot be sized.
/// @par On failure
/// `curv` is empty.
VX4_TESSORA1D_API int curvatures(const dense2D<double>& coords, const dense1D<unsigned>& nodes,
                                 dense1D<double>& curv);

/// 2-D node normals of an edge mesh, averaged over the incident edges with weight L^p, or taken from the
/// longest or shortest incident edge. An edge's normal is its direction turned a quarter counter-clockwise.
///
/// @param[in]  coords    Node coordinates, 2 rows.
/// @param[in]  connectE2 Edges, 2 rows or more (rows 0 and 1 read), indices columns of `coords`.
/// @param[in]  p         Weight exponent: finite gives the weighted mean (0 the plain mean of unit normals,
///                       1 by length); `no_limit` takes the longest edge's normal and -`no_limit` the
///                       shortest's (ties and later edges are added to it, unnormalised).
/// @param[in]  normalize Scale each weighted-mean normal to unit length; ignored for +-`no_limit`.
/// @param[out] normals   Emptied first, then 2 rows and one column per node of `coords` ((0, 0) for a node
///                       on no edge).
/// @return 0 on success, also when `coords` or `connectE2` is empty (then `normals` stays empty); -1 when
///         `coords` does not have 2 rows; -2 when `connectE2` has fewer than 2 rows or names a node that is
///         not a column; -199 when `normals` cannot be sized.
/// @par On failure
/// `normals` is empty.
VX4_TESSORA1D_API int normals(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double p,
                              bool normalize, dense2D<double>& normals);

/// Node curvatures |r' x r''| / |r'|^3 of a parametric curve, from its derivative vectors at the nodes.
///
/// @param[in]  params    Curve parameter of each node.
/// @param[in]  connectE2 Edges between the nodes (indices below the number of `params`).
/// @param[in]  derivs    Derivative dr/dt at each node: 2 or 3 rows, one column per parameter.
/// @param[out] curv      Emptied first, then one value per parameter.
/// @return 0 on success, also with no edges (then `curv` stays empty); -2 when `connectE2` has fewer than 2
///         rows or names a node not below the parameter count; -3 when `derivs` has neither 2 nor 3 rows or
///         a column count other than the parameter count; -199 when `curv` cannot be sized.
/// @par On failure
/// `curv` is empty.
VX4_TESSORA1D_API int parametric_curvatures(const dense1D<double>& params, const dense2D<unsigned>& connectE2,
                                            const dense2D<double>& derivs, dense1D<double>& curv);

// ---------------------------------------------------------------------------------------------
// Metric interpolation and generation
// ---------------------------------------------------------------------------------------------

/// Sizes at query parameters, linear between the bracketing nodes of a line.
///
/// @param[in]  params  Node parameters: at least 2, non-decreasing.
/// @param[in]  sizes   One size per node.
/// @param[in]  queries Query parameters: non-decreasing, within [params[0], params[last]].
/// @param[out] out     Emptied first, then one value per query.
/// @return 0 on success, also with no queries; -1 when `params` has fewer than 2 values or decreases; -2 when
///         `sizes` and `params` differ in size; -3 when `queries` decreases or leaves the parameter range;
///         -199 when `out` cannot be sized.
/// @par On failure
/// `out` is empty.
/// @par Notes
/// An interior query next to a size that is not positive gets 0, the mark of an undefined size.
VX4_TESSORA1D_API int interpolate_metrics(const dense1D<double>& params, const dense1D<double>& sizes,
                                          const dense1D<double>& queries, dense1D<double>& out);

/// Metrics at query parameters, linear in size along the common eigen-directions of the bracketing metrics.
///
/// @param[in]  params  Node parameters: at least 2, non-decreasing.
/// @param[in]  metrics One column per node: 0 rows (nothing computed), 1 (sizes), 3 (2-D) or 6 (3-D) rows.
/// @param[in]  queries Query parameters: non-decreasing, within [params[0], params[last]].
/// @param[out] out     Emptied first, then the rows of `metrics` and one column per query.
/// @return 0 on success, also with no queries; -1 when `params` has fewer than 2 values or decreases; -2 when
///         `metrics` has a column count other than the parameter count, or another row count; -3 when
///         `queries` decreases or leaves the parameter range; -199 when `out` cannot be sized.
/// @par On failure
/// `out` is empty.
/// @par Notes
/// A query whose bracketing pair cannot be reduced (a metric not positive definite) repeats the previous
/// query's column (zeros for the first) and is not reported.
VX4_TESSORA1D_API int interpolate_metrics(const dense1D<double>& params, const dense2D<double>& metrics,
                                          const dense1D<double>& queries, dense2D<double>& out);

/// Intersects, at each listed node j, the metric of size `h_dir` along dirs(:, j) and `h_cross` across it
/// with the metric already in column j of `metrics` (the finer size wins in every direction).
///
/// @param[in]     dirs    Direction per node, 2 rows; not normalised, so a non-unit vector scales both sizes.
/// @param[in]     nodes   Nodes to treat, columns of `dirs`.
/// @param[in]     h_dir   Size along the direction, > 0.
/// @param[in]     h_cross Size across it, > 0.
/// @param[in,out] metrics 3 rows or empty; grown with zero columns to cover the largest node, never shrunk.
/// @return 0 on success, also for no nodes; -1 when `dirs` does not have 2 rows; -2 when a node is not a column
///         of `dirs`; -3 when h_dir <= 0; -4 when h_cross <= 0; -5 when `metrics` is neither empty nor 3 rows;
///         -199 when `metrics` cannot be grown.
/// @par On failure
/// `metrics` is untouched.
VX4_TESSORA1D_API int metrics_gen_aniso2d(const dense2D<double>& dirs, const dense1D<unsigned>& nodes, double h_dir,
                                          double h_cross, dense2D<double>& metrics);

/// Intersects the metric of every edge into both end nodes' columns: the size along the edge is its length,
/// the size across it follows `r`.
///
/// @param[in]     coords    Node coordinates, 2 rows or more (only the first two are used).
/// @param[in]     connectE2 Edges, exactly 2 rows, indices columns of `coords`.
/// @param[in]     r         Cross size: 0 the edge length (isotropic); > 0 the absolute size r; < 0 |r| times
///                          the edge length.
/// @param[in,out] metrics   3 rows or empty; grown with zero columns to cover the largest node.
/// @return 0 on success, also for no edges; -1 when `coords` has fewer than 2 rows; -2 when `connectE2` does
///         not have 2 rows or names a node that is not a column; -4 when `metrics` is neither empty nor 3 rows;
///         -199 when `metrics` cannot be grown.
/// @par On failure
/// `metrics` is untouched.
VX4_TESSORA1D_API int metrics_gen_aniso2d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                                          dense2D<double>& metrics);

/// 3-D form of the edge metric generation, transversely isotropic about each edge.
///
/// @param[in]     coords    Node coordinates, 3 rows or more (only the first three are used).
/// @param[in]     connectE2 Edges, exactly 2 rows, indices columns of `coords`.
/// @param[in]     r         Cross size: 0 the edge length; > 0 absolute; < 0 |r| times the edge length.
/// @param[in,out] metrics   6 rows or empty; grown with zero columns to cover the largest node.
/// @return 0 on success, also for no edges; -1 when `coords` has fewer than 3 rows; -2 edges; -4 when `metrics`
///         is neither empty nor 6 rows; -199 when `metrics` cannot be grown.
/// @par On failure
/// `metrics` is untouched.
VX4_TESSORA1D_API int metrics_gen_aniso3d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r,
                                          dense2D<double>& metrics);

/// 3-D edge metric generation with two cross sizes: `r1` in the plane in which the line bends, `r2` out of
/// it; where the line is straight the larger of the two applies both ways.
///
/// @param[in]     coords    Node coordinates, 3 rows or more.
/// @param[in]     connectE2 Edges, exactly 2 rows, indices columns of `coords`.
/// @param[in]     r1        Cross size in the bending plane: 0 the edge length; > 0 absolute; < 0 relative.
/// @param[in]     r2        Cross size out of the bending plane, by the same rule.
/// @param[in,out] metrics   6 rows or empty; grown with zero columns to cover the largest node.
/// @return 0 on success, also for no edges; -1 when `coords` has fewer than 3 rows; -2 edges; -4 when `metrics`
///         is neither empty nor 6 rows; -199 when `metrics` or the edge adjacency cannot be made.
/// @par On failure
/// `metrics` is untouched.
VX4_TESSORA1D_API int metrics_gen_aniso3d(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double r1,
                                          double r2, dense2D<double>& metrics);

// ---------------------------------------------------------------------------------------------
// Sorting and subdivision
// ---------------------------------------------------------------------------------------------

/// Sorts values ascending together with their identifiers (equal values by identifier), in place.
///
/// @param[in,out] values Values to sort; no NaN.
/// @param[in,out] ids    One identifier per value, moved along.
/// @return 0 on success, also for empty lists; -1 when the sizes differ; -199 when the work array cannot be had.
/// @par On failure
/// Both lists are unchanged.
VX4_TESSORA1D_API int sort(dense1D<double>& values, dense1D<unsigned>& ids);

/// Re-meshes the interval chain[0] to chain[m-1] of a line given in abscissas: the count is the interval's
/// metric length under sizes linear between the chain nodes, the new nodes sit at equal metric steps.
///
/// @param[in,out] abscissas  Node abscissas, N entries; the new abscissas are appended (nodes N, N + 1, ...).
/// @param[in,out] sizes      Size at each node, at least N entries; the new nodes' sizes are appended.
/// @param[in]     chain      m >= 2 node indices: the interval's ends and, between them, support nodes of the
///                           size field (not kept in the output chain).
/// @param[in]     force_fine Add one element when the clamped count is below the metric length; false: no.
/// @param[in]     even       Make the count even (after `force_fine`; both may exceed nmax).
/// @param[in]     nmin       Smallest element count, >= 1; 1 sets no lower bound.
/// @param[in]     nmax       Largest element count, >= nmin; `no_count_bound` sets no bound.
/// @param[in,out] out        chain[0], the new nodes, chain[m-1] are appended.
/// @return 0 on success; -2 when m < 2 or an index has no abscissa or no size; -6 when nmin = 0 or nmax < nmin.
/// @par On failure
/// Nothing changes.
/// @par Notes
/// A metric length of 2^32 or more saturates the count before the clamp. When the new points cannot be
/// stored none are made (the chain gets its two ends). Under memory shortage 0 can also be returned with
/// `out` cut short while the new abscissas and sizes are stored.
VX4_TESSORA1D_API int subdivide(dense1D<double>& abscissas, dense1D<double>& sizes, const dense1D<unsigned>& chain,
                                bool force_fine, bool even, unsigned nmin, unsigned nmax, dense1D<unsigned>& out);

} // namespace tessora1d
} // namespace vx4
