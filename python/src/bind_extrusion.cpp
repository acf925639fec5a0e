// Extrusion by translation and by rotation, from a node or from a free point, with a given
// element count or with end sizes.
#include "binding.h"

namespace vx4py {

namespace t1 = vx4::tessora1d;

namespace {

// An integer (Python int, NumPy integer or 0-d integer array) names a node; anything else is
// read as a point.
bool names_a_node(py::handle start) {
    if (py::isinstance<py::array>(start)) {
        const py::array a = py::reinterpret_borrow<py::array>(start);
        return a.ndim() == 0 && (a.dtype().kind() == 'i' || a.dtype().kind() == 'u');
    }
    return PyIndex_Check(start.ptr()) != 0;
}

bool is_empty_sequence(py::handle obj) {
    return !py::isinstance<py::array>(obj) && py::isinstance<py::sequence>(obj) && !py::isinstance<py::str>(obj) &&
           py::len(obj) == 0;
}

template <unsigned D>
vx4::vector_fixed<double, D> fixed(const dense1D<double>& v) {
    vx4::vector_fixed<double, D> p;
    for (unsigned k = 0; k < D; ++k) p[k] = v[k];
    return p;
}

// What every extrusion reads: the points, the start (node or point) and the count or sizes.
struct sweep_input {
    dense2D<double> X;
    bool node = false;
    unsigned j = 0;
    dense1D<double> P;
    unsigned dim = 0;
    unsigned n0 = 0;
    bool uniform = true;
    unsigned count = 0;
    double h0 = 0.0, h1 = 0.0;
};

// `reference` gives the dimension for a node start (the vector or the centre).
sweep_input read_sweep(const call& c, py::handle points, py::handle start, const char* reference_name,
                       const dense1D<double>& reference, py::handle count, py::handle h0, py::handle h1) {
    sweep_input in;
    in.node = names_a_node(start);
    if (in.node) {
        in.j = c.count("start", start);
        in.dim = reference.size();
        if (in.dim != 2 && in.dim != 3)
            c.refuse(reference_name, "must have 2 or 3 coordinates, not " + std::to_string(in.dim));
    } else {
        in.P = c.reals("start", start);
        in.dim = in.P.size();
        if (in.dim != 2 && in.dim != 3)
            c.refuse("start",
                     "must be a node index or a point of 2 or 3 coordinates, not of " + std::to_string(in.dim));
        if (reference.size() != in.dim)
            c.refuse(reference_name, "must have as many coordinates as start (" + std::to_string(in.dim) + "), not " +
                                         std::to_string(reference.size()));
    }
    if (points.is_none() || is_empty_sequence(points)) {
        if (in.node) c.refuse("points", "are required when start is a node index");
        in.X = zeros(c, in.dim, 0);
    } else {
        in.X = c.matrix("points", points, points_shape);
    }
    in.n0 = in.X.cols();
    in.uniform = !count.is_none();
    if (in.uniform) {
        in.count = c.count("count", count);
    } else {
        in.h0 = c.real("h0", h0);
        in.h1 = c.real("h1", h1);
    }
    return in;
}

py::tuple sweep_result(const call& c, int rc, const sweep_input& in, const dense1D<unsigned>& chain,
                       std::initializer_list<code_text> table) {
    // From a point, the start is the column the library appends: -2 means it could not append it.
    if (rc == -2 && !in.node) c.out_of_memory(rc);
    c.check(rc, table);
    return py::make_tuple(points_out(in.X, in.X.rows(), in.n0, in.X.cols() - in.n0), indices_out(chain));
}

template <unsigned D>
int translate(sweep_input& in, const dense1D<double>& V, bool even, dense1D<unsigned>& chain) {
    const auto v = fixed<D>(V);
    if (in.node)
        return in.uniform ? t1::extrude_translate(in.X, in.j, v, in.count, chain)
                          : t1::extrude_translate(in.X, in.j, v, in.h0, in.h1, even, chain);
    const auto p = fixed<D>(in.P);
    return in.uniform ? t1::extrude_translate(in.X, p, v, in.count, chain)
                      : t1::extrude_translate(in.X, p, v, in.h0, in.h1, even, chain);
}

py::tuple extrude_translate(py::handle points, py::handle start, py::handle vector, py::handle count, py::handle h0,
                            py::handle h1, bool even) {
    const call c("extrude_translate");
    const dense1D<double> V = c.reals("vector", vector);
    sweep_input in = read_sweep(c, points, start, "vector", V, count, h0, h1);
    dense1D<unsigned> chain;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = in.dim == 2 ? translate<2>(in, V, even, chain) : translate<3>(in, V, even, chain);
    }
    return sweep_result(c, rc, in, chain,
                        {{-1, "points", "must have one column per coordinate of vector (2 or 3)"},
                         {-2, "start", "must be below the number of points"},
                         {-3, "vector", "must not be zero"},
                         {-4, "h0", "must be positive"},
                         {-5, "h1", "must be positive"}});
}

int rotate2(sweep_input& in, const dense1D<double>& C, double angle, bool even, dense1D<unsigned>& chain) {
    const auto centre = fixed<2>(C);
    if (in.node)
        return in.uniform ? t1::extrude_rotate(in.X, in.j, centre, angle, in.count, chain)
                          : t1::extrude_rotate(in.X, in.j, centre, angle, in.h0, in.h1, even, chain);
    const auto p = fixed<2>(in.P);
    return in.uniform ? t1::extrude_rotate(in.X, p, centre, angle, in.count, chain)
                      : t1::extrude_rotate(in.X, p, centre, angle, in.h0, in.h1, even, chain);
}

int rotate3(sweep_input& in, const dense1D<double>& C, const dense1D<double>& W, bool even, dense1D<unsigned>& chain) {
    const auto centre = fixed<3>(C), w = fixed<3>(W);
    if (in.node)
        return in.uniform ? t1::extrude_rotate(in.X, in.j, centre, w, in.count, chain)
                          : t1::extrude_rotate(in.X, in.j, centre, w, in.h0, in.h1, even, chain);
    const auto p = fixed<3>(in.P);
    return in.uniform ? t1::extrude_rotate(in.X, p, centre, w, in.count, chain)
                      : t1::extrude_rotate(in.X, p, centre, w, in.h0, in.h1, even, chain);
}

py::tuple extrude_rotate(py::handle points, py::handle start, py::handle center, py::handle rotation, py::handle count,
                         py::handle h0, py::handle h1, bool even) {
    const call c("extrude_rotate");
    const dense1D<double> C = c.reals("center", center);
    sweep_input in = read_sweep(c, points, start, "center", C, count, h0, h1);
    double angle = 0.0;
    dense1D<double> W;
    if (in.dim == 2) {
        if (py::isinstance<py::array>(rotation) ? py::reinterpret_borrow<py::array>(rotation).ndim() != 0
                                                : py::isinstance<py::sequence>(rotation))
            c.refuse("rotation", "must be an angle (a number) in 2-D");
        angle = c.real("rotation", rotation);
    } else {
        W = c.reals("rotation", rotation);
        if (W.size() != 3) c.refuse("rotation", "must be a rotation vector of 3 coordinates in 3-D");
    }
    dense1D<unsigned> chain;
    int rc;
    {
        py::gil_scoped_release nogil;
        rc = in.dim == 2 ? rotate2(in, C, angle, even, chain) : rotate3(in, C, W, even, chain);
    }
    return sweep_result(
        c, rc, in, chain,
        {{-1, "points", "must have one column per coordinate of center (2 or 3)"},
         {-2, "start", "must be below the number of points"},
         {-3, "rotation", "sweeps an arc of zero length: zero rotation, or start on the centre or axis"},
         {-5, "h0", "must be positive"},
         {-6, "h1", "must be positive"}});
}

} // namespace

void bind_extrusion(py::module_& m) {
    m.def("extrude_translate", &extrude_translate);
    m.def("extrude_rotate", &extrude_rotate);
}

} // namespace vx4py
