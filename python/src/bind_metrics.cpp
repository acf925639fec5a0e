// Metric interpolation and generation, sorting and subdivision.
#include "binding.h"

#include <string>

namespace vx4py {

namespace t1 = vx4::tessora1d;

namespace {

py::object interpolate_metrics(py::handle params_obj, py::handle queries_obj, const std::string& kind,
                               py::handle field) {
    const call c("interpolate_metrics");
    const dense1D<double> params = c.reals("params", params_obj);
    const dense1D<double> queries = c.reals("queries", queries_obj);
    const char* params_what = "must hold at least 2 values and must not decrease";
    const char* queries_what = "must not decrease and must lie within [params[0], params[-1]]";
    if (kind == "sizes") {
        const dense1D<double> sizes = c.reals("sizes", field);
        if (sizes.size() != params.size())
            c.refuse("sizes", "must hold one size per param: " + std::to_string(params.size()) + " values, not " +
                                  std::to_string(sizes.size()));
        dense1D<double> out;
        int rc;
        {
            py::gil_scoped_release nogil;
            rc = t1::interpolate_metrics(params, sizes, queries, out);
        }
        c.check(rc, {{-1, "params", params_what},
                     {-2, "sizes", "must hold one size per param"},
                     {-3, "queries", queries_what}});
        return reals_out(out);
    }
    const dense2D<double> metrics =
        c.matrix("metrics", field, "of shape (n, 3) in 2-D or (n, 6) in 3-D, one packed metric per param");
    if (metrics.cols() != params.size())
        c.refuse("metrics", "must hold one metric per param: " + std::to_string(params.size()) + " rows, not " +
                                std::to_string(metrics.cols()));
    dense2D<double> out;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::interpolate_metrics(params, metrics, queries, out);
    }
    c.check(rc, {{-1, "params", params_what},
                 {-2, "metrics", "must have 1, 3 or 6 columns (a size, or a packed 2-D or 3-D metric)"},
                 {-3, "queries", queries_what}});
    return points_out(out, metrics.rows(), 0, queries.size());
}

// The metric field the generators intersect into: one column per point, zeros when not given.
dense2D<double> initial_metrics(const call& c, py::handle metrics, unsigned width, unsigned n, const char* per) {
    if (metrics.is_none()) return zeros(c, width, n);
    const std::string shape = "of shape (n, " + std::to_string(width) + "), one packed metric per " + per;
    dense2D<double> M = c.matrix("metrics", metrics, shape.c_str());
    if (M.cols() != n || M.rows() != width)
        c.refuse("metrics",
                 "must have shape (" + std::to_string(n) + ", " + std::to_string(width) + "), one metric per " + per);
    return M;
}

real_array metrics_gen_edges(const char* name, unsigned width, py::handle points, py::handle edges_obj,
                             py::handle cross_obj, py::handle cross_out_obj, py::handle metrics_obj) {
    const call c(name);
    const dense2D<double> X = c.matrix("points", points, "of shape (n, dim), one point per row");
    const dense2D<unsigned> C = c.elements("edges", edges_obj, edges_shape);
    const double r1 = c.real("cross", cross_obj);
    const bool two = !cross_out_obj.is_none();
    const double r2 = two ? c.real("cross_out", cross_out_obj) : 0.0;
    dense2D<double> M = initial_metrics(c, metrics_obj, width, X.cols(), "point");
    int rc;
    {
        py::gil_scoped_release nogil;
        if (width == 3)
            rc = t1::metrics_gen_aniso2d(X, C, r1, M);
        else
            rc = two ? t1::metrics_gen_aniso3d(X, C, r1, r2, M) : t1::metrics_gen_aniso3d(X, C, r1, M);
    }
    c.check(rc, {{-1, "points", width == 3 ? "must have at least 2 columns" : "must have 3 columns"},
                 {-2, "edges", "must have 2 columns, with indices below the number of points"},
                 {-4, "metrics", width == 3 ? "must have 3 columns" : "must have 6 columns"}});
    return points_out(M, width, 0, M.cols());
}

real_array metrics_gen_aniso2d_directions(py::handle directions, py::handle nodes_obj, py::handle h_dir_obj,
                                          py::handle h_cross_obj, py::handle metrics_obj) {
    const call c("metrics_gen_aniso2d_directions");
    const dense2D<double> D = c.matrix("directions", directions, "of shape (n, 2), one direction per node");
    const dense1D<unsigned> nodes = c.indices("nodes", nodes_obj);
    const double h_dir = c.real("h_dir", h_dir_obj), h_cross = c.real("h_cross", h_cross_obj);
    dense2D<double> M = initial_metrics(c, metrics_obj, 3, D.cols(), "direction");
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::metrics_gen_aniso2d(D, nodes, h_dir, h_cross, M);
    }
    c.check(rc, {{-1, "directions", "must have 2 columns"},
                 {-2, "nodes", "must hold indices below the number of directions"},
                 {-3, "h_dir", "must be positive"},
                 {-4, "h_cross", "must be positive"},
                 {-5, "metrics", "must have 3 columns"}});
    return points_out(M, 3, 0, M.cols());
}

py::tuple sort(py::handle values_obj, py::handle ids_obj) {
    const call c("sort");
    dense1D<double> values = c.reals("values", values_obj, values::not_nan);
    dense1D<unsigned> ids = ids_obj.is_none() ? iota(c, values.size()) : c.indices("ids", ids_obj);
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::sort(values, ids);
    }
    c.check(rc, {{-1, "ids", "must have as many entries as values"}});
    return py::make_tuple(reals_out(values), indices_out(ids));
}

py::tuple subdivide(py::handle abscissas_obj, py::handle sizes_obj, py::handle chain_obj, bool force_fine, bool even,
                    py::handle nmin_obj, py::handle nmax_obj) {
    const call c("subdivide");
    dense1D<double> abscissas = c.reals("abscissas", abscissas_obj);
    dense1D<double> sizes = c.reals("sizes", sizes_obj);
    const unsigned N = abscissas.size();
    if (sizes.size() != N)
        c.refuse("sizes", "must hold one size per abscissa: " + std::to_string(N) + " values, not " +
                              std::to_string(sizes.size()));
    const char* chain_name = nullptr;
    const dense1D<unsigned> chain = read_chain(c, chain_obj, N, "abscissas", chain_name);
    const unsigned nmin = c.count("nmin", nmin_obj), nmax = c.count("nmax", nmax_obj, true);
    dense1D<unsigned> out;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = t1::subdivide(abscissas, sizes, chain, force_fine, even, nmin, nmax, out);
    }
    c.check(rc, {{-2, chain_name, "must hold at least 2 indices, each below the number of abscissas"},
                 counts_text(-6, nmin)});
    return py::make_tuple(reals_out(abscissas, N), reals_out(sizes, N), indices_out(out));
}

} // namespace

void bind_metrics(py::module_& m) {
    m.def("interpolate_metrics", &interpolate_metrics);
    m.def("metrics_gen_aniso2d", [](py::handle points, py::handle edges, py::handle cross, py::handle metrics) {
        return metrics_gen_edges("metrics_gen_aniso2d", 3, points, edges, cross, py::none(), metrics);
    });
    m.def("metrics_gen_aniso3d",
          [](py::handle points, py::handle edges, py::handle cross, py::handle cross_out, py::handle metrics) {
              return metrics_gen_edges("metrics_gen_aniso3d", 6, points, edges, cross, cross_out, metrics);
          });
    m.def("metrics_gen_aniso2d_directions", &metrics_gen_aniso2d_directions);
    m.def("sort", &sort);
    m.def("subdivide", &subdivide);
}

} // namespace vx4py
