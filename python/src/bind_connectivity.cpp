// Element construction and conversions, high-order conversion and reorientation.
#include "binding.h"

#include <vx4/tessora.h>

namespace vx4py {

namespace t1 = vx4::tessora1d;

namespace {

constexpr const char* any_edges_shape = "of shape (E, k) with k >= 2, one row of node indices per edge";

index_array indices_to_connect(const char* name, py::handle chain, unsigned rows) {
    const call c(name);
    const dense1D<unsigned> I = c.indices("chain", chain);
    dense2D<unsigned> out;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = rows == 2 ? t1::indices_to_connectE2(I, out) : t1::indices_to_connectE3(I, out);
    }
    c.check(rc, {{-1, "chain",
                  rows == 2 ? "must hold no index or at least 2"
                            : "must hold no index or an odd number of them, at least 3"}});
    return elements_out(out, rows);
}

index_array split_into_linear(py::handle edges) {
    const call c("split_into_linear");
    const dense2D<unsigned> C = c.elements("edges", edges, "of shape (E, 3), one E3 edge (start, end, mid) per row");
    dense2D<unsigned> out;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::split_into_linear(C, out);
    }
    c.check(rc, {{-1, "edges", "must have 3 columns: start, end and mid node of each E3 edge"}});
    return elements_out(out, 2);
}

index_array convert_into_linear(py::handle edges) {
    const call c("convert_into_linear");
    dense2D<unsigned> C = c.elements("edges", edges, "of shape (E, k + 2), one high-order edge per row");
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::convert_into_linear(C);
    }
    c.check(rc, {{-1, "edges", "must have more than 2 columns: high-order edges with interior nodes"}});
    return elements_out(C, 2);
}

index_array flip(py::handle edges) {
    const call c("flip");
    dense2D<unsigned> C = c.elements("edges", edges, any_edges_shape);
    const unsigned rows = C.rows();
    {
        py::gil_scoped_release nogil;
        t1::flip(C);
    }
    return elements_out(C, rows);
}

py::tuple convert_into_high_order(const char* name, py::handle points, py::handle edges, py::handle k_obj) {
    const call c(name);
    const bool quadratic = k_obj.is_none();
    dense2D<double> X = c.matrix("points", points, "of shape (n, dim), dim 1, 2 or 3, one point per row");
    dense2D<unsigned> C = c.elements("edges", edges, any_edges_shape);
    const unsigned k = quadratic ? 1u : c.count("k", k_obj);
    const unsigned n = X.cols(), dim = X.rows();
    dense2D<unsigned> out;
    int rc;
    {
        py::gil_scoped_release nogil;
        // The quadratic form rewrites its connectivity in place.
        rc = quadratic ? t1::convert_into_quadratic(X, C) : t1::convert_into_high_order(X, C, k, out);
    }
    c.check(rc, {{-1, "points", "must have 1, 2 or 3 columns (coordinates)"},
                 {-2, "edges", "must hold indices below the number of points, at least 2 per edge"}});
    return py::make_tuple(points_out(X, dim, n, X.cols() - n), elements_out(quadratic ? C : out, k + 2));
}

// The edge slots of `neighbors` must name edges that share the slot's node (slot 0: the end
// node, other slots: the start node); the library would only half-detect a mismatch.
void check_neighbors(const call& c, const dense2D<unsigned>& C, const dense2D<unsigned>& N) {
    const unsigned E = C.cols();
    for (unsigned e = 0; e < E; ++e)
        for (unsigned i = 0; i < N.rows(); ++i) {
            const unsigned m = N(i, e);
            if (m >= E) continue;
            const unsigned shared = i == 0 ? C(1, e) : C(0, e);
            if (C(0, m) != shared && C(1, m) != shared)
                c.refuse("neighbors", "must name edges that share the slot's node: neighbors[" + std::to_string(e) +
                                          ", " + std::to_string(i) + "] = " + std::to_string(m) + " but edge " +
                                          std::to_string(m) + " does not hold node " + std::to_string(shared));
        }
}

py::tuple mesh_reorient(py::handle edges, py::handle neighbors, py::handle start_obj, bool all) {
    const call c("mesh_reorient");
    dense2D<unsigned> C = c.elements("edges", edges, any_edges_shape);
    const unsigned rows = C.rows(), E = C.empty() ? 0 : C.cols();
    dense2D<unsigned> N;
    if (neighbors.is_none()) {
        if (rows < 2) c.refuse("edges", "must have at least 2 columns (start and end node)");
        int rc;
        {
            py::gil_scoped_release nogil;
            rc = vx4::tessora::get_neighbors(C, vx4::edge2, false, N);
        }
        if (rc == -199) c.out_of_memory();
        // One slot per connectivity row: rows past the two the adjacency fills have no neighbour.
        if (rc == 0 && !N.resize(rows, E, 4294967295u)) c.out_of_memory();
        if (rc != 0) c.refuse("edges", "must have at least 2 columns (start and end node)");
    } else {
        N = c.elements("neighbors", neighbors, "of the shape of edges, -1 where there is no neighbour", true);
        if (N.rows() == rows && N.cols() == C.cols() && rows >= 2) check_neighbors(c, C, N);
    }
    const unsigned start = c.count("start", start_obj);
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::mesh_reorient(C, N, start, all ? 1 : 0);
    }
    c.check(rc, {{-1, "edges", "must have at least 2 columns (start and end node)"},
                 {-2, "neighbors", "must have the shape of edges and name edges that share the slot's node"},
                 {-3, "start", "must be below the number of edges"}});
    if (rc < 0) c.refuse("neighbors", "do not match edges", rc);
    return py::make_tuple(elements_out(C, rows), elements_out(N, rows, E), rc);
}

} // namespace

void bind_connectivity(py::module_& m) {
    m.def("indices_to_connect_e2",
          [](py::handle chain) { return indices_to_connect("indices_to_connect_e2", chain, 2); });
    m.def("indices_to_connect_e3",
          [](py::handle chain) { return indices_to_connect("indices_to_connect_e3", chain, 3); });
    m.def("split_into_linear", &split_into_linear);
    m.def("convert_into_linear", &convert_into_linear);
    m.def("flip", &flip);
    m.def("convert_into_high_order", [](py::handle points, py::handle edges, py::handle k) {
        if (k.is_none()) throw py::type_error("convert_into_high_order: k must be an integer, not None");
        return convert_into_high_order("convert_into_high_order", points, edges, k);
    });
    m.def("convert_into_quadratic", [](py::handle points, py::handle edges) {
        return convert_into_high_order("convert_into_quadratic", points, edges, py::none());
    });
    m.def("mesh_reorient", &mesh_reorient);
}

} // namespace vx4py
