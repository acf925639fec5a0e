// Lengths, coordinate interpolation, curvatures and normals.
#include "binding.h"

#include <limits>
#include <string>

namespace vx4py {

namespace t1 = vx4::tessora1d;

namespace {

constexpr const char* edges_what = "must have at least 2 columns, with indices below the number of points";

double length(py::handle points, py::handle chain_obj, py::handle edges_obj) {
    const call c("length");
    const dense2D<double> X = c.matrix("points", points, points_shape);
    double len = 0.0;
    int rc;
    if (!edges_obj.is_none()) {
        const dense2D<unsigned> C = c.elements("edges", edges_obj, edges_shape);
        {
            py::gil_scoped_release nogil;
            rc = t1::length(X, C, len);
        }
        c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"}, {-2, "edges", edges_what}});
    } else {
        const char* name = nullptr;
        const dense1D<unsigned> chain = read_chain(c, chain_obj, X.cols(), "points", name);
        {
            py::gil_scoped_release nogil;
            rc = t1::length(X, chain, len);
        }
        c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                     {-2, name, "must hold at least 2 indices, each below the number of points"}});
    }
    return len;
}

real_array interpolate_coordinates(py::handle points, py::handle chain_obj, py::handle params_obj,
                                   py::handle new_params_obj) {
    const call c("interpolate_coordinates");
    const dense1D<double> new_params = c.reals("new_params", new_params_obj);
    const unsigned m = new_params.size();
    dense2D<double> X = c.matrix("points", points, "of shape (n, dim), one point per row", m);
    const unsigned n = X.cols(), dim = X.rows();
    const dense1D<unsigned> chain = c.indices("chain", chain_obj);
    const dense1D<double> params = c.reals("params", params_obj);
    if (params.size() != chain.size())
        c.refuse("params", "must hold one parameter per chain entry: " + std::to_string(chain.size()) +
                               " values, not " + std::to_string(params.size()));
    if (static_cast<unsigned long long>(n) + m > 4294967295ull)
        c.refuse("new_params", "are too many for the library: points and new points must stay below 2**32");
    // The new points are extra columns of the coordinates, written by the library in place.
    if (!X.resize(dim, n + m, 0.0)) c.out_of_memory();
    dense1D<unsigned> new_nodes = iota(c, m);
    for (unsigned k = 0; k < m; ++k) new_nodes[k] += n;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::interpolate_coordinates(X, chain, params, new_nodes, new_params);
    }
    c.check(rc,
            {{-2, "chain", "must hold indices below the number of points, at least one when new_params is not empty"},
             {-3, "params", "must not decrease"},
             {-5, "new_params", "must not decrease"}});
    return points_out(X, dim, n, m);
}

real_array curvatures(py::handle points, py::handle chain_obj) {
    const call c("curvatures");
    const dense2D<double> X = c.matrix("points", points, points_shape);
    const char* name = nullptr;
    const dense1D<unsigned> chain = read_chain(c, chain_obj, X.cols(), "points", name);
    dense1D<double> curv;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::curvatures(X, chain, curv);
    }
    c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                 {-2, name, "must hold indices below the number of points"}});
    return reals_out(curv);
}

real_array normals(py::handle points, py::handle edges_obj, py::handle power_obj, bool normalize) {
    const call c("normals");
    const dense2D<double> X = c.matrix("points", points, "of shape (n, 2), one point per row");
    const dense2D<unsigned> C = c.elements("edges", edges_obj, edges_shape);
    double p = c.real_or_infinite("power", power_obj);
    // Infinite powers select the longest or the shortest edge, the library's largest double.
    if (p == std::numeric_limits<double>::infinity()) p = std::numeric_limits<double>::max();
    if (p == -std::numeric_limits<double>::infinity()) p = -std::numeric_limits<double>::max();
    dense2D<double> N;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::normals(X, C, p, normalize, N);
    }
    c.check(rc, {{-1, "points", "must have 2 columns: normals are 2-D only"}, {-2, "edges", edges_what}});
    if (N.empty()) {
        // Without edges the library gives nothing; every point is then on no edge: (0, 0).
        if (X.rows() != 2) c.refuse("points", "must have 2 columns: normals are 2-D only");
        return points_out(zeros(c, 2, X.cols()), 2, 0, X.cols());
    }
    return points_out(N, 2, 0, N.cols());
}

real_array parametric_curvatures(py::handle params_obj, py::handle edges_obj, py::handle derivatives_obj) {
    const call c("parametric_curvatures");
    const dense1D<double> params = c.reals("params", params_obj);
    const dense2D<unsigned> C = c.elements("edges", edges_obj, edges_shape);
    const dense2D<double> D =
        c.matrix("derivatives", derivatives_obj, "of shape (n, 2) or (n, 3), one derivative vector per parameter");
    dense1D<double> curv;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::parametric_curvatures(params, C, D, curv);
    }
    const char* derivatives_what = "must have shape (n, 2) or (n, 3), n the number of params";
    c.check(rc, {{-2, "edges", "must have at least 2 columns, with indices below the number of params"},
                 {-3, "derivatives", derivatives_what}});
    if (curv.size() != params.size()) {
        // Without edges the library gives nothing: every node is on no edge, curvature 0.
        if ((D.rows() != 2 && D.rows() != 3) || D.cols() != params.size()) c.refuse("derivatives", derivatives_what);
        if (!curv.resize(params.size(), 0.0)) c.out_of_memory();
    }
    return reals_out(curv);
}

} // namespace

void bind_geometry(py::module_& m) {
    m.def("length", &length);
    m.def("interpolate_coordinates", &interpolate_coordinates);
    m.def("curvatures", &curvatures);
    m.def("normals", &normals);
    m.def("parametric_curvatures", &parametric_curvatures);
}

} // namespace vx4py
