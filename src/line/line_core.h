// The polyline meshing core, shared by mesh_line, the refinement stage and the single pass
// (mesh_line_pass_on) that the spline mesher runs on its fine sample polyline. One template over the space
// dimension (2, 3) and the field kind (isotropic sizes, anisotropic metrics); the four
// combinations are instantiated in line_core.cpp and line_refinement.cpp.
#pragma once

#include <vx4/math1.h>

#include "geometry/kernels.h"
#include "geometry/parameter_search.h"
#include "line/chord_parameters.h"

#include <cstddef>

namespace vx4 {
namespace tessora1d {
namespace detail {

// Field kinds: one size per node, or one packed symmetric metric per node.
struct isotropic_sizes {};
struct anisotropic_metrics {};

// Values stored per node for a field kind: 1 size, 3 (2-D) or 6 (3-D) packed metric entries.
template <unsigned Dim, class Kind>
struct field_width {
    static constexpr unsigned value = 1;
};
template <unsigned Dim>
struct field_width<Dim, anisotropic_metrics> {
    static constexpr unsigned value = Dim * (Dim + 1) / 2;
};

// A polyline read in place: node i is column map[i] of `coords` (column i when map is null),
// with its size or metric at fields + i * field_ld and its parameter params[i], or, when params
// is null, node chord_first + i of `chord`.
struct node_source {
    const double* coords = nullptr;
    std::size_t ld = 0;
    const unsigned* map = nullptr;
    const double* params = nullptr;
    const chord_parameters* chord = nullptr;
    unsigned chord_first = 0;
    const double* fields = nullptr;
    std::size_t field_ld = 0;
    unsigned n = 0;

    const double* point(unsigned i) const { return coords + (map ? map[i] : i) * ld; }
    const double* field(unsigned i) const { return fields + i * field_ld; }
    double param(unsigned i) const { return params ? params[i] : (*chord)[chord_first + i]; }
    // First node i in [from, n) whose parameter is >= s, or n.
    unsigned lower_bound(unsigned from, double s) const {
        if (params) return lower_bound_from(params, from, n, s);
        return chord->lower_bound(chord_first + from, chord_first + n, s) - chord_first;
    }
    // Nodes first .. last (inclusive) as a polyline of their own.
    node_source part(unsigned first, unsigned last) const {
        node_source s = *this;
        if (map) s.map = map + first;
        else s.coords = coords + first * ld;
        if (params) s.params = params + first;
        else s.chord_first = chord_first + first;
        s.fields = fields + first * field_ld;
        s.n = last - first + 1;
        return s;
    }
};

// The caller's polyline: its coordinates (needed whole by the curvature query), its node list
// and, through `nodes`, the same data as raw pointers.
struct polyline_ref {
    const dense2D<double>* pos = nullptr;
    dense1D<unsigned> indices;
    node_source nodes;

    // Nodes first .. last (inclusive), sharing the caller's storage.
    polyline_ref part(unsigned first, unsigned last) const {
        polyline_ref p;
        p.pos = pos;
        p.indices = indices.sub_vector(first, last - first + 1);
        p.nodes = nodes.part(first, last);
        return p;
    }
};

// Element-count bounds and the chordal control of one meshing call.
struct line_options {
    bool even = false;
    unsigned nmin = 1;
    unsigned nmax = largest_unsigned;
    double chordal = 0.0;
    double hmin = 0.0;
};

// A meshed chain held locally until it is committed: E + 1 nodes whose ends are the
// polyline's end nodes. `indices` is filled only once the chain is numbered in the caller's
// coordinates (the new nodes then take consecutive columns in chain order).
struct line_chain {
    dense1D<unsigned> indices; // E + 1, caller numbering
    dense2D<double> points;    // Dim x (new node count), in chain order
    dense1D<double> params;    // E + 1
    dense2D<double> fields;    // width x (E + 1)
    // The spare half of the pass buffers, for a pass that cannot write its chain over the one it
    // reads (the new chain is longer, or runs far ahead of the reading). Kept here so that
    // repeated cores reuse it.
    dense1D<double> spare_params;
    dense2D<double> spare_fields;
    unsigned elements() const { return params.size() > 0 ? params.size() - 1 : 0; }
};

// One placement pass over `line`: measures it, chooses E and rewrites `points` (Dim x E-1),
// `params` (E-1) and `fields` (width x E-1) with the interior nodes. 0, or -199 when a buffer
// cannot be sized.
template <unsigned Dim, class Kind>
int mesh_line_pass_on(const node_source& line, bool even, unsigned nmin, unsigned nmax, dense2D<double>& points,
                      dense1D<double>& params, dense2D<double>& fields);

// The whole core: curvature limit (chordal < 0), then passes until the node count stops
// falling or reaches nmin. Fills points, params and fields of `chain` (not its indices).
// With `pos` given, the new nodes end in new columns of *pos (which must hold the polyline's
// coordinates and no other view of its storage) and chain.points views them; pos is grown in
// place, never copied, and written straight when the chain has at least as many new nodes as
// the polyline has nodes, else once the nodes are placed. 0, or -199 (or the code of the curvature query) on
// failure; `chain` is then in no particular state and *pos has its former columns.
template <unsigned Dim, class Kind>
int mesh_line_core(const polyline_ref& line, const line_options& options, line_chain& chain,
                   dense2D<double>* pos = nullptr);

// Adds `count` columns to a coordinate matrix, keeping its columns where they are. The room grows
// by half at least, so that a mesher calling once per segment stays linear. False, unchanged,
// when memory is short or the columns cannot be counted.
bool add_columns(dense2D<double>& pos, unsigned count);

// Numbers a core's chain in the caller's coordinates: first, first_new, first_new + 1, ..., last.
bool number_chain(line_chain& chain, unsigned first, unsigned first_new, unsigned last);

// The refinement stage (chordal > 0): splits the polyline where the numbered chain strays from
// it and meshes the parts again, until every interior polyline node lies within the tolerance.
// Replaces `chain` with the joined, renumbered result; keeps it when refinement is not needed
// or when a re-meshing part cannot be allocated. Always 0.
template <unsigned Dim, class Kind>
int refine_line(const polyline_ref& line, const line_options& options, unsigned first_new, line_chain& chain);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
