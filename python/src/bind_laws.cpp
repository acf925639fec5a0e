// The distribution laws (node fractions and sizes of named spacings), their solvers and the two
// bridge functions that place a law's nodes on a polyline or along a vector. They form the
// submodule `laws` of the core; the package's tessora1d.laws gives them keywords and documents.
#include "binding.h"

#include <vx4/tessora1d_laws.h>

#include <string>
#include <utility>

namespace vx4py {

namespace laws = vx4::tessora1d::laws;

namespace {

constexpr const char* count_what = "must be at least 1 and below 4294967295 (2**32 - 1)";
constexpr code_text count_code{-1, "count", count_what};

// Runs a law with the GIL released and returns its (fractions, sizes), or raises for its code.
template <class Law>
py::tuple distribution(const call& c, Law law, std::initializer_list<code_text> table) {
    dense1D<double> fractions, sizes;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = law(fractions, sizes);
    }
    c.check(rc, table);
    return py::make_tuple(reals_out(fractions), reals_out(sizes));
}

py::tuple uniform(py::handle count) {
    const call c("laws.uniform");
    const unsigned n = c.count("count", count);
    return distribution(
        c, [=](dense1D<double>& x, dense1D<double>& h) { return laws::uniform(n, x, h); }, {count_code});
}

// The laws of a count and one real, which the library checks as its second argument.
template <int (*Law)(unsigned, double, dense1D<double>&, dense1D<double>&)>
py::tuple count_and_real(const char* function, const char* name, const char* what, py::handle count,
                         py::handle value) {
    const call c(function);
    const unsigned n = c.count("count", count);
    const double v = c.real(name, value);
    return distribution(
        c, [=](dense1D<double>& x, dense1D<double>& h) { return Law(n, v, x, h); }, {count_code, {-2, name, what}});
}

py::tuple arithmetic_first(py::handle count, py::handle first) {
    return count_and_real<laws::arithmetic_first>("laws.arithmetic_first", "first",
                                                  "must lie in (0, 2 / count), or be 1 when count is 1", count, first);
}

py::tuple arithmetic_last(py::handle count, py::handle last) {
    return count_and_real<laws::arithmetic_last>("laws.arithmetic_last", "last",
                                                 "must lie in (0, 2 / count), or be 1 when count is 1", count, last);
}

py::tuple geometric(py::handle count, py::handle ratio) {
    return count_and_real<laws::geometric>("laws.geometric", "ratio", "must be positive", count, ratio);
}

py::tuple geometric_first(py::handle count, py::handle first) {
    return count_and_real<laws::geometric_first>("laws.geometric_first", "first",
                                                 "must lie in (0, 1), or be 1 when count is 1", count, first);
}

py::tuple bump(py::handle count, py::handle ratio) {
    return count_and_real<laws::bump>("laws.bump", "ratio", "must be positive", count, ratio);
}

py::tuple beta_law(py::handle count, py::handle beta) {
    return count_and_real<laws::beta_law>("laws.beta_law", "beta", "must be above 1", count, beta);
}

py::tuple beta_law_two_sided(py::handle count, py::handle beta) {
    return count_and_real<laws::beta_law_two_sided>("laws.beta_law_two_sided", "beta", "must be above 1", count,
                                                    beta);
}

py::tuple geometric_ends(py::handle first, py::handle last) {
    const call c("laws.geometric_ends");
    const double f = c.real("first", first), l = c.real("last", last);
    unsigned n = 0;
    py::tuple xh = distribution(
        c, [&](dense1D<double>& x, dense1D<double>& h) { return laws::geometric_ends(f, l, n, x, h); },
        {{-1, "first", "must lie in (0, 1), and not be so small that the count reaches 2**32 - 1"},
         {-2, "last", "must lie in (0, 1)"}});
    return py::make_tuple(xh[0], xh[1], n);
}

py::tuple tanh_stretching(py::handle count, py::handle first, py::handle last) {
    const call c("laws.tanh_stretching");
    const unsigned n = c.count("count", count);
    const double f = c.real("first", first), l = c.real("last", last);
    return distribution(
        c, [=](dense1D<double>& x, dense1D<double>& h) { return laws::tanh_stretching(n, f, l, x, h); },
        {{-1, "count", "must be at least 3 (two end sizes need an element between them) and below 4294967295"},
         {-2, "first", "must lie in (0, 1)"},
         {-3, "last", "must lie in (0, 1 - first), with both end sizes reachable by the law at this count"}});
}

// ---- solvers -------------------------------------------------------------------------------------

double solve_ratio(py::handle length, py::handle count, py::handle first) {
    const call c("laws.solve_ratio");
    const double L = c.real("length", length);
    const unsigned n = c.count("count", count);
    const double f = c.real("first", first);
    double ratio = 0.0;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = laws::solve_ratio(L, n, f, ratio);
    }
    c.check(rc, {{-1, "length", "must be positive"},
                 {-2, "count", count_what},
                 {-3, "first", "must lie in (0, length), or equal length when count is 1"}});
    return ratio;
}

unsigned solve_count(py::handle length, py::handle first, py::handle ratio) {
    const call c("laws.solve_count");
    const double L = c.real("length", length), f = c.real("first", first), r = c.real("ratio", ratio);
    unsigned count = 0;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = laws::solve_count(L, f, r, count);
    }
    c.check(rc, {{-1, "length", "must be positive"},
                 {-2, "first", "must be positive, and not so small that the count reaches 2**32 - 1"},
                 {-3, "ratio", "must be positive, and below 1 still reach length (first / (1 - ratio) > length)"}});
    return count;
}

py::tuple layers_to_thickness(py::handle thickness, py::handle first, py::handle max_ratio) {
    const call c("laws.layers_to_thickness");
    const double T = c.real("thickness", thickness), f = c.real("first", first), r = c.real("max_ratio", max_ratio);
    unsigned count = 0;
    double ratio = 0.0;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = laws::layers_to_thickness(T, f, r, count, ratio);
    }
    c.check(rc, {{-1, "thickness", "must be positive"},
                 {-2, "first", "must be positive, and not so small that the count reaches 2**32 - 1"},
                 {-3, "max_ratio",
                  "must be positive, and below 1 still fill thickness (first / (1 - max_ratio) > thickness)"}});
    return py::make_tuple(count, ratio);
}

py::tuple layers_to_size(py::handle first, py::handle last, py::handle max_ratio) {
    const call c("laws.layers_to_size");
    const double f = c.real("first", first), l = c.real("last", last), r = c.real("max_ratio", max_ratio);
    unsigned count = 0;
    double ratio = 0.0, thickness = 0.0;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = laws::layers_to_size(f, l, r, count, ratio, thickness);
    }
    c.check(rc, {{-1, "first", "must be positive"},
                 {-2, "last", "must not be below first"},
                 {-3, "max_ratio",
                  "must be above 1 when last exceeds first, and not so close to 1 that the count reaches 2**32 - 1"}});
    return py::make_tuple(count, ratio, thickness);
}

// ---- bridge --------------------------------------------------------------------------------------

constexpr const char* fractions_what = "must start at 0, end at 1 and increase strictly (at least 2 values)";

// Room for the new points, so that the library appends without moving the coordinates.
unsigned new_columns(const dense1D<double>& fractions, unsigned kept) {
    return fractions.size() > kept ? fractions.size() - kept : 0u;
}

py::tuple place_on_polyline(py::handle points, py::handle fractions_obj, py::handle polyline_obj) {
    const call c("laws.place_on_polyline");
    lender borrowed; // declared before fractions, which may view its memory
    const dense1D<double> fractions = c.reals("fractions", fractions_obj, values::finite, nullptr, &borrowed);
    dense2D<double> X = c.matrix("points", points, points_shape, new_columns(fractions, 2));
    const unsigned n = X.cols(), dim = X.rows();
    const char* polyline_name = nullptr;
    const dense1D<unsigned> polyline = read_chain(c, polyline_obj, n, "points", polyline_name, "polyline");
    dense1D<unsigned> chain;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = laws::place_on_polyline(X, polyline, fractions, chain);
    }
    const std::string polyline_what =
        std::string("must hold at least 2 indices below the number of points and have a positive length") +
        (polyline_obj.is_none() ? " (the polyline is all points in order)" : "");
    c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                 {-2, polyline_name, polyline_what.c_str()},
                 {-3, "fractions", fractions_what}});
    return py::make_tuple(points_out(X, dim, n, X.cols() - n), indices_out(chain));
}

py::tuple extrude(py::handle points, py::handle start, py::handle direction_obj, py::handle fractions_obj) {
    const call c("laws.extrude");
    lender borrowed; // declared before fractions, which may view its memory
    const dense1D<double> fractions = c.reals("fractions", fractions_obj, values::finite, nullptr, &borrowed);
    dense2D<double> X = c.matrix("points", points, points_shape, new_columns(fractions, 1));
    const unsigned n = X.cols(), dim = X.rows();
    const unsigned j = c.count("start", start);
    const dense1D<double> direction = c.reals("direction", direction_obj);
    dense1D<unsigned> chain;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = laws::extrude(X, j, direction, fractions, chain);
    }
    c.check(rc, {{-1, "points", "must have 2 or 3 columns (coordinates)"},
                 {-2, "start", "must be below the number of points"},
                 {-3, "direction", "must have one coordinate per column of points and not be zero"},
                 {-4, "fractions", fractions_what}});
    return py::make_tuple(points_out(X, dim, n, X.cols() - n), indices_out(chain));
}

} // namespace

void bind_laws(py::module_& m) {
    py::module_ s = m.def_submodule("laws", "Compiled distribution laws; use tessora1d.laws.");
    s.def("uniform", &uniform);
    s.def("arithmetic_first", &arithmetic_first);
    s.def("arithmetic_last", &arithmetic_last);
    s.def("geometric", &geometric);
    s.def("geometric_first", &geometric_first);
    s.def("geometric_ends", &geometric_ends);
    s.def("bump", &bump);
    s.def("beta_law", &beta_law);
    s.def("beta_law_two_sided", &beta_law_two_sided);
    s.def("tanh_stretching", &tanh_stretching);
    s.def("solve_ratio", &solve_ratio);
    s.def("solve_count", &solve_count);
    s.def("layers_to_thickness", &layers_to_thickness);
    s.def("layers_to_size", &layers_to_size);
    s.def("place_on_polyline", &place_on_polyline);
    s.def("extrude", &extrude);
}

} // namespace vx4py
