// spline_point (2 overloads) and mesh_spline (2 overloads): codes in argument order, the point
// and the outputs untouched on refusal, the curve through P1 at t = 0, and a meshed chain from
// chain entry 1 to entry n-2 with parameters from 0 to 1 and a count within [nmin, nmax].
#include <vx4/tessora1d.h>

#include "fuzz_support.h"

#include <algorithm>

using namespace vx4;
using namespace vx4fuzz;

namespace {

template <unsigned D>
void point_case(input& in) {
    const dense2D<double> X = in.coords(in.small(5) == 0 ? in.small(4) : D, in.small(6));
    const unsigned rows = X.rows();
    const unsigned N = X.cols();
    const unsigned P[4] = {in.index(N), in.index(N), in.index(N), in.index(N)};
    const double t = in.small(3) == 0 ? in.real() : in.pick<double>({0.0, 1.0, 0.5, 0.25});
    vector_fixed<double, D> p;
    for (unsigned k = 0; k < D; ++k) p[k] = -123.0;
    const int rc = tessora1d::spline_point(X, P[0], P[1], P[2], P[3], t, p);
    int expected = 0;
    if (rows != D) expected = -1;
    else
        for (int k = 0; k < 4 && expected == 0; ++k)
            if (P[k] >= N) expected = -2 - k;
    FUZZ_CHECK(rc == expected);
    if (rc != 0) {
        for (unsigned k = 0; k < D; ++k) FUZZ_CHECK(p[k] == -123.0);
        return;
    }
    // The segment starts exactly at P1 and ends at P2 up to rounding.
    bool ordinary = true;
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned r = 0; r < D; ++r) ordinary = ordinary && std::fabs(X(r, P[k])) < 1e100;
    if (!ordinary) return;
    double scale = 0.0;
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned r = 0; r < D; ++r) scale = std::max(scale, std::fabs(X(r, P[k])));
    if (t == 0.0)
        for (unsigned r = 0; r < D; ++r) FUZZ_CHECK(p[r] == X(r, P[1]));
    if (t == 1.0)
        for (unsigned r = 0; r < D; ++r) FUZZ_CHECK(std::fabs(p[r] - X(r, P[2])) <= 1e-12 * scale);
}

void mesh_case(input& in) {
    dense2D<double> X = in.coords(in.small(5) == 0 ? in.small(4) : 2 + in.small(1), in.small(9));
    const unsigned dim = X.rows(), cols = X.cols();
    const unsigned n = in.small(7);
    const dense1D<unsigned> chain = in.indices(n, cols);
    const bool aniso = in.flag();
    const unsigned width = dim == 3 ? 6 : 3;
    const unsigned want_rows = in.small(9) == 0 ? in.small(7) : width, want_cols = in.small(9) == 0 ? in.small(8) : n;
    const dense2D<double> metrics = in.small(3) == 0 ? in.reals(want_rows, want_cols) : in.matrix<double>(want_rows, want_cols, [&] {
        return std::pow(10.0, in.raw().ConsumeFloatingPointInRange<double>(-1.0, 3.0));
    });
    const dense1D<double> sizes = in.vector<double>(want_cols, [&] { return in.size(); });
    const unsigned frows = metrics.rows(), fcols = aniso ? metrics.cols() : sizes.size();
    const bool even = in.flag();
    const unsigned nmin = in.count(5);
    unsigned nmax = in.small(5) == 0 ? kNoBound : in.count(80);
    // No upper bound only on a small curve, so that a run stays short.
    for (unsigned j = 0; j < X.cols(); ++j)
        for (unsigned r = 0; r < X.rows(); ++r)
            if (!(std::fabs(X(r, j)) <= 10.0) && nmax > 5000) nmax = 5000;
    // A wild chordal tolerance only with a floor under the size, so that sampling stays short.
    const bool wild = in.flag();
    const double chordal = wild ? in.real() : in.pick<double>({0.0, -DBL_MAX, 1e-2, -0.05});
    const double hmin = wild ? in.raw().ConsumeFloatingPointInRange<double>(0.02, 2.0) : in.real();
    const double background = in.small(3) == 0 ? in.real() : in.pick<double>({0.0, 0.3});
    const double gradation = in.small(3) == 0 ? in.real() : in.pick<double>({0.0, 1.5, DBL_MAX});
    dense1D<unsigned> out = in.out_indices();
    dense1D<double> op = in.out_reals(), os = in.out_reals();
    dense2D<double> om = in.out_matrix(width);
    double deviation = -1.0;
    const auto X0 = snap(X);
    const auto out0 = snap(out);
    const auto op0 = snap(op);
    const auto os0 = snap(os);
    const auto om0 = snap(om);
    const long fail = in.failure_point();
    const input::memory_watch memory;
    int rc;
    {
        input::alloc_guard guard(fail);
        rc = aniso ? tessora1d::mesh_spline(X, chain, metrics, even, nmin, nmax, chordal, hmin, background, gradation,
                                            out, op, om, deviation)
                   : tessora1d::mesh_spline(X, chain, sizes, even, nmin, nmax, chordal, hmin, background, gradation,
                                            out, op, os, deviation);
    }
    // Only the argument checks produce codes: memory trouble is never reported.
    FUZZ_CHECK(is_code(rc, {0, -1, -2, -3, -5, -8, -13}));
    bool ids_ok = true;
    for (unsigned i : chain) ids_ok = ids_ok && i < cols;
    if (dim != 2 && dim != 3) FUZZ_CHECK(rc == -1);
    else if (n < 4 || !ids_ok) FUZZ_CHECK(rc == -2);
    else if (fcols < n || (aniso && frows != width)) FUZZ_CHECK(rc == -3);
    if (rc == -5) FUZZ_CHECK(nmin == 0 || nmax < nmin);
    if (rc == -8) FUZZ_CHECK(hmin < 0.0);
    if (rc == -13) FUZZ_CHECK(aniso && om0.rows * om0.cols != 0 && om0.rows != width);
    if (rc != 0) {
        FUZZ_CHECK(deviation == 0.0);
        FUZZ_CHECK(X0.same_as(X) && out0.same_as(out) && op0.same_as(op) && os0.same_as(os) &&
                   om0.same_as(om));
        return;
    }
    FUZZ_CHECK(!(deviation < 0.0));
    FUZZ_CHECK(kept_columns(X0, X));
    if (memory.short_of_memory()) return; // a failed growth leaves outputs shorter, silently
    // On a curve through non-finite points the inner steps have nothing sound to work on.
    for (unsigned i : chain)
        for (unsigned r = 0; r < dim; ++r)
            if (!std::isfinite(X0.v[std::size_t(i) * dim + r])) return;
    // Chain entry 1, the new columns in order, chain entry n-2; parameters from 0 to 1.
    FUZZ_CHECK(out0.prefix_of(out) && out.size() >= out0.v.size() + 2);
    const unsigned o = out0.v.size(), E = out.size() - o - 1;
    FUZZ_CHECK(out[o] == chain[1] && out[o + E] == chain[n - 2]);
    for (unsigned k = 1; k < E; ++k) FUZZ_CHECK(out[o + k] == X0.cols + k - 1);
    FUZZ_CHECK(X.cols() == X0.cols + E - 1);
    FUZZ_CHECK(op0.prefix_of(op) && op.size() == op0.v.size() + E + 1);
    FUZZ_CHECK(op[op0.v.size()] == 0.0 && op[op.size() - 1] == 1.0);
    for (unsigned k = op0.v.size(); k < op.size(); ++k) FUZZ_CHECK(!(op[k] < 0.0) && !(op[k] > 1.0));
    if (aniso) FUZZ_CHECK(om.rows() == width && (om.cols() == om0.cols + E + 1 || (om0.v.empty() && om.cols() == E + 1)));
    else FUZZ_CHECK(os0.prefix_of(os) && os.size() == os0.v.size() + E + 1);
    if (nmax <= 100000) {
        FUZZ_CHECK(E >= nmin && (E <= nmax || (even && E == nmax + 1)));
        if (even) FUZZ_CHECK(E % 2 == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    switch (in.small(2)) {
    case 0: point_case<2>(in); break;
    case 1: point_case<3>(in); break;
    default: mesh_case(in); break;
    }
    return 0;
}
