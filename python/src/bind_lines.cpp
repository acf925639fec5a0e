// Polyline meshing (mesh_line and the mesh_curve shortcut), straight-line meshing, spline
// evaluation and spline meshing.
#include "binding.h"

#include <algorithm>
#include <optional>
#include <string>

namespace vx4py {

namespace t1 = vx4::tessora1d;

namespace {

constexpr const char* metrics_shape = "of shape (n, 3) in 2-D or (n, 6) in 3-D, one packed metric per row";

// The new points of the line meshers: room for half as many again as given, so that the library
// appends without moving the coordinates (untouched pages cost nothing).
unsigned headroom(py::handle points) {
    if (py::isinstance<py::array>(points)) {
        const py::array a = py::reinterpret_borrow<py::array>(points);
        if (a.ndim() >= 1) return static_cast<unsigned>(std::min<py::ssize_t>(a.shape(0) / 2, 1 << 30)) + 16u;
    }
    return 16u;
}

// The size field of a line, read from one of sizes (n,), metrics (n, w) or a scalar size.
struct field_input {
    enum kind_t { sizes, metrics, size } kind;
    const char* name;
    lender borrowed; // declared before h, which may view its memory
    dense1D<double> h;
    dense2D<double> M;

    static kind_t parse(const std::string& k) { return k == "metrics" ? metrics : k == "size" ? size : sizes; }

    // `per` names what one value belongs to, `count` how many there must be.
    field_input(const call& c, const std::string& k, py::handle value, unsigned count, const char* per,
                dense1D<double>* slot = nullptr)
        : kind(parse(k)), name(kind == metrics ? "metrics"
                               : kind == size  ? "size"
                                               : "sizes") {
        if (kind == size) {
            const double s = c.real("size", value);
            h = reuse(c, slot, count);
            std::fill(h.begin(), h.end(), s);
        } else if (kind == sizes) {
            h = c.reals("sizes", value, values::finite, slot, &borrowed);
            if (h.size() != count)
                c.refuse("sizes", "must hold one size per " + std::string(per) + ": " + std::to_string(count) +
                                      " values, not " + std::to_string(h.size()));
        } else {
            M = c.matrix("metrics", value, metrics_shape);
            if (M.cols() != count)
                c.refuse("metrics", "must hold one metric per " + std::string(per) + ": " + std::to_string(count) +
                                        " rows, not " + std::to_string(M.cols()));
        }
    }
    bool is_metric() const { return kind == metrics; }
    const char* what(const char* per) const {
        if (kind == size) return "must be positive";
        if (kind == sizes)
            return per[0] == 'p' ? "must be positive, one per point" : "must be positive, one per chain entry";
        return per[0] == 'p' ? "must be symmetric positive-definite, one per point, packed (m00, m01, m11) in 2-D "
                               "or (m00, m01, m11, m02, m12, m22) in 3-D"
                             : "must be symmetric positive-definite, one per chain entry, packed (m00, m01, m11) "
                               "in 2-D or (m00, m01, m11, m02, m12, m22) in 3-D";
    }
};

struct line_options {
    bool even;
    unsigned nmin, nmax;
    double chordal, hmin;
    line_options(const call& c, bool even_, py::handle nmin_, py::handle nmax_, py::handle chordal_, py::handle hmin_)
        : even(even_), nmin(c.count("nmin", nmin_)), nmax(c.count("nmax", nmax_, true)),
          chordal(c.real("chordal", chordal_)), hmin(c.real("hmin", hmin_)) {}
};

// One mesh_line call on all the points in order; the outputs are those of the library.
struct line_run {
    dense2D<double> X;
    unsigned n = 0, dim = 0;
    dense1D<unsigned> chain;
    dense1D<double> params, sizes;
    dense2D<double> metrics;
    bool metric = false;
};

line_run run_mesh_line(const call& c, py::handle points, const std::string& kind, py::handle field,
                       py::handle params_obj, bool even, py::handle nmin, py::handle nmax, py::handle chordal,
                       py::handle hmin) {
    workspace& ws = thread_workspace();
    line_run r;
    r.X = c.matrix("points", points, points_shape, headroom(points), values::finite, &ws.points);
    r.n = r.X.cols();
    r.dim = r.X.rows();
    const field_input f(c, kind, field, r.n, "point", &ws.reals[0]);
    const bool with_params = !params_obj.is_none();
    lender borrowed_params; // declared before P, which may view its memory
    dense1D<double> P;
    if (with_params) {
        P = c.reals("params", params_obj, values::finite, &ws.reals[1], &borrowed_params);
        if (P.size() != r.n)
            c.refuse("params", "must hold one parameter per point: " + std::to_string(r.n) + " values, not " +
                                   std::to_string(P.size()));
    }
    const line_options o(c, even, nmin, nmax, chordal, hmin);
    const dense1D<unsigned> I = shared_iota(c, r.n);
    r.metric = f.is_metric();
    int rc;
    {
        py::gil_scoped_release nogil;
        if (with_params)
            rc = r.metric ? t1::mesh_line(r.X, I, P, f.M, o.even, o.nmin, o.nmax, o.chordal, o.hmin, r.chain, r.params,
                                          r.metrics)
                          : t1::mesh_line(r.X, I, P, f.h, o.even, o.nmin, o.nmax, o.chordal, o.hmin, r.chain, r.params,
                                          r.sizes);
        else
            rc = r.metric ? t1::mesh_line(r.X, I, f.M, o.even, o.nmin, o.nmax, o.chordal, o.hmin, r.chain, r.params,
                                          r.metrics)
                          : t1::mesh_line(r.X, I, f.h, o.even, o.nmin, o.nmax, o.chordal, o.hmin, r.chain, r.params,
                                          r.sizes);
    }
    const char* field_what = f.what("point");
    if (with_params)
        c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                     {-2, "points", "must hold at least 2 points"},
                     {-3, "params", "must not decrease"},
                     {-4, f.name, field_what},
                     counts_text(-6, o.nmin)});
    else
        c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                     {-2, "points", "must hold at least 2 points and have a positive length"},
                     {-3, f.name, field_what},
                     counts_text(-5, o.nmin),
                     {-198, nullptr, nullptr}});
    return r;
}

py::tuple mesh_line(py::handle points, const std::string& kind, py::handle field, py::handle params, bool even,
                    py::handle nmin, py::handle nmax, py::handle chordal, py::handle hmin) {
    const call c("mesh_line");
    const line_run r = run_mesh_line(c, points, kind, field, params, even, nmin, nmax, chordal, hmin);
    py::object field_out;
    if (r.metric)
        field_out = points_out(r.metrics, r.dim == 2 ? 3 : 6, 0, r.metrics.empty() ? 0 : r.metrics.cols());
    else
        field_out = reals_out(r.sizes);
    return py::make_tuple(points_out(r.X, r.dim, r.n, r.X.cols() - r.n), indices_out(r.chain), reals_out(r.params),
                          field_out);
}

real_array mesh_curve(py::handle points, const std::string& kind, py::handle field, bool even, py::handle nmin,
                      py::handle nmax, py::handle chordal, py::handle hmin) {
    const call c("mesh_curve");
    const line_run r = run_mesh_line(c, points, kind, field, py::none(), even, nmin, nmax, chordal, hmin);
    const unsigned m = r.chain.size();
    real_array out({static_cast<py::ssize_t>(m), static_cast<py::ssize_t>(r.dim)});
    double* p = out.mutable_data();
    for (unsigned k = 0; k < m; ++k)
        for (unsigned d = 0; d < r.dim; ++d) p[std::size_t(k) * r.dim + d] = r.X(d, r.chain[k]);
    return out;
}

py::tuple mesh_straight(py::handle points, py::handle chain_obj, const std::string& kind, py::handle field, bool even) {
    const call c("mesh_straight");
    dense2D<double> X = c.matrix("points", points, points_shape, headroom(points));
    const unsigned n = X.cols(), dim = X.rows();
    const char* chain_name = nullptr;
    const dense1D<unsigned> chain = read_chain(c, chain_obj, n, "points", chain_name);
    const bool by_count = kind == "count";
    const unsigned count = by_count ? c.count("count", field) : 0u;
    std::optional<field_input> f;
    if (!by_count) f.emplace(c, kind, field, chain.size(), "chain entry");
    dense1D<unsigned> out;
    int rc;
    {
        py::gil_scoped_release nogil;
        if (by_count)
            rc = t1::mesh_straight(X, chain, count, even, out);
        else
            rc = f->is_metric() ? t1::mesh_straight(X, chain, f->M, even, out)
                                : t1::mesh_straight(X, chain, f->h, even, out);
    }
    const std::string chain_what = std::string("must hold at least 2 indices, each below the number of points") +
                                   (chain_obj.is_none() ? " (the chain is all points in order)" : "");
    if (by_count)
        c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                     {-2, chain_name, chain_what.c_str()},
                     {-3, chain_name, "must have a positive finite length for count to divide"}});
    else
        c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                     {-2, chain_name, chain_what.c_str()},
                     {-3, f->name, f->what("chain entry")},
                     {-4, f->name, "can mesh one segment only: give a chain of 2 indices with metrics"}});
    return py::make_tuple(points_out(X, dim, n, X.cols() - n), indices_out(out));
}

py::tuple mesh_spline(py::handle points, py::handle chain_obj, const std::string& kind, py::handle field, bool even,
                      py::handle nmin, py::handle nmax, py::handle chordal, py::handle hmin, py::handle background_obj,
                      py::handle gradation_obj) {
    const call c("mesh_spline");
    dense2D<double> X = c.matrix("points", points, points_shape, headroom(points));
    const unsigned n = X.cols(), dim = X.rows();
    const char* chain_name = nullptr;
    const dense1D<unsigned> chain = read_chain(c, chain_obj, n, "points", chain_name);
    const field_input f(c, kind, field, chain.size(), "chain entry");
    const line_options o(c, even, nmin, nmax, chordal, hmin);
    double background = 0.0, gradation = 0.0;
    if (!background_obj.is_none()) {
        background = c.real("background", background_obj);
        if (!(background > 0.0)) c.refuse("background", "must be positive");
    }
    if (!gradation_obj.is_none()) {
        gradation = c.real("gradation", gradation_obj);
        if (!(gradation >= 1.0)) c.refuse("gradation", "must be at least 1");
    }
    dense1D<unsigned> out;
    dense1D<double> params, sizes;
    dense2D<double> metrics;
    double deviation = 0.0;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = f.is_metric() ? t1::mesh_spline(X, chain, f.M, o.even, o.nmin, o.nmax, o.chordal, o.hmin, background,
                                             gradation, out, params, metrics, deviation)
                           : t1::mesh_spline(X, chain, f.h, o.even, o.nmin, o.nmax, o.chordal, o.hmin, background,
                                             gradation, out, params, sizes, deviation);
    }
    const std::string chain_what =
        std::string("must hold at least 4 indices (the first and last only shape the end tangents), each below "
                    "the number of points") +
        (chain_obj.is_none() ? " (the chain is all points in order)" : "");
    c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                 {-2, chain_name, chain_what.c_str()},
                 {-3, f.name, f.what("chain entry")},
                 counts_text(-5, o.nmin),
                 {-8, "hmin", "must not be negative"}});
    py::object field_out;
    if (f.is_metric())
        field_out = points_out(metrics, dim == 2 ? 3 : 6, 0, metrics.empty() ? 0 : metrics.cols());
    else
        field_out = reals_out(sizes);
    return py::make_tuple(points_out(X, dim, n, X.cols() - n), indices_out(out), reals_out(params), field_out,
                          deviation);
}

real_array spline_point(py::handle points, py::handle nodes_obj, py::handle t_obj) {
    const call c("spline_point");
    const dense2D<double> X = c.matrix("points", points, points_shape);
    const dense1D<unsigned> nodes = c.indices("nodes", nodes_obj);
    if (nodes.size() != 4)
        c.refuse("nodes", "must hold 4 node indices (p0, p1, p2, p3), not " + std::to_string(nodes.size()));
    const dense1D<double> t = c.reals("t", t_obj);
    const unsigned dim = X.rows(), m = t.size();
    real_array out({static_cast<py::ssize_t>(m), static_cast<py::ssize_t>(dim == 2 || dim == 3 ? dim : 0u)});
    double* p = out.mutable_data();
    int rc = 0;
    {
        py::gil_scoped_release nogil;
        // One call at t = 0 checks the arguments when there is no parameter.
        for (unsigned k = 0; k < (m ? m : 1u) && rc == 0; ++k) {
            const double tk = m ? t[k] : 0.0;
            if (dim == 2) {
                vx4::vector_fixed<double, 2> q;
                rc = t1::spline_point(X, nodes[0], nodes[1], nodes[2], nodes[3], tk, q);
                if (rc == 0 && m) p[2 * std::size_t(k)] = q[0], p[2 * std::size_t(k) + 1] = q[1];
            } else {
                vx4::vector_fixed<double, 3> q;
                rc = t1::spline_point(X, nodes[0], nodes[1], nodes[2], nodes[3], tk, q);
                if (rc == 0 && m)
                    for (unsigned d = 0; d < 3; ++d) p[3 * std::size_t(k) + d] = q[d];
            }
        }
    }
    c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                 {-2, "nodes", "must hold indices below the number of points: nodes[0] is not"},
                 {-3, "nodes", "must hold indices below the number of points: nodes[1] is not"},
                 {-4, "nodes", "must hold indices below the number of points: nodes[2] is not"},
                 {-5, "nodes", "must hold indices below the number of points: nodes[3] is not"}});
    return out;
}

} // namespace

void bind_lines(py::module_& m) {
    m.def("mesh_line", &mesh_line);
    m.def("mesh_curve", &mesh_curve);
    m.def("mesh_straight", &mesh_straight);
    m.def("mesh_spline", &mesh_spline);
    m.def("spline_point", &spline_point);
}

} // namespace vx4py
