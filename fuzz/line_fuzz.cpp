// mesh_line (4 overloads) and mesh_straight (6 overloads): codes in argument order, outputs
// untouched on failure, a chain that runs from the first polyline node through consecutive new
// columns to the last, ordered parameters, and element counts within [nmin, nmax] that follow
// the metric length, saturating (never collapsing to one) past the 32-bit range.
#include <vx4/tessora1d.h>

#include "fuzz_support.h"

#include <algorithm>

using namespace vx4;
using namespace vx4fuzz;

namespace {

double distance(const snapshot<double>& X, unsigned a, unsigned b) {
    double s = 0.0;
    for (unsigned r = 0; r < X.rows; ++r) {
        const double d = X.v[std::size_t(a) * X.rows + r] - X.v[std::size_t(b) * X.rows + r];
        s += d * d;
    }
    return std::sqrt(s);
}

// The polyline's coordinates, sometimes stretched far enough for counts past 2^32.
dense2D<double> polyline_coords(input& in, unsigned rows, unsigned cols) {
    if (in.small(3) != 0) return in.coords(rows, cols);
    const double scale = in.pick<double>({1e6, 1e7, 1e9, 1e12});
    return in.matrix<double>(rows, cols, [&] { return scale * in.raw().ConsumeFloatingPointInRange<double>(-1, 1); });
}

dense2D<double> metric_field(input& in, unsigned rows, unsigned cols) {
    if (in.small(3) == 0) return in.reals(rows, cols);
    // Positive definite: diagonal dominance, eigenvalues between about 1e-2 and 1e8.
    return in.matrix<double>(rows, cols, [&] {
        return std::pow(10.0, in.raw().ConsumeFloatingPointInRange<double>(-1.0, 4.0));
    });
}

// The checks common to every successful mesh: the chain, the new columns, the parameters.
void check_chain(const dense1D<unsigned>& line, const snapshot<double>& X0, const dense2D<double>& X,
                 const snapshot<unsigned>& out0, const dense1D<unsigned>& out, const dense1D<double>* params,
                 const dense1D<double>* line_params, bool refined) {
    const unsigned c = X0.cols, n = line.size();
    FUZZ_CHECK(out0.prefix_of(out));
    const unsigned o = out0.v.size();
    FUZZ_CHECK(out.size() >= o + 2);
    const unsigned E = out.size() - o - 1;
    FUZZ_CHECK(out[o] == line[0] && out[o + E] == line[n - 1]);
    // New columns follow one another; after a refinement split the interior polyline nodes at
    // the cuts stay in the chain under their own indices.
    unsigned next = c;
    for (unsigned k = 1; k < E; ++k) {
        if (out[o + k] == next) { ++next; continue; }
        bool polyline_node = false;
        for (unsigned i = 1; refined && i + 1 < n; ++i) polyline_node = polyline_node || out[o + k] == line[i];
        FUZZ_CHECK(polyline_node);
    }
    FUZZ_CHECK(X.rows() == X0.rows && X.cols() == next && kept_columns(X0, X));
    if (params) {
        FUZZ_CHECK(params->size() == E + 1);
        if (line_params && std::isfinite((*line_params)[0]) && std::isfinite((*line_params)[n - 1])) {
            FUZZ_CHECK((*params)[0] == (*line_params)[0] && (*params)[E] == (*line_params)[n - 1]);
            for (unsigned k = 1; k <= E; ++k) FUZZ_CHECK(!((*params)[k] < (*params)[k - 1]));
        }
    }
    // New nodes lie within the polyline's bounding box (where its lengths are finite).
    for (unsigned i = 0; i < n; ++i)
        for (unsigned r = 0; r < X0.rows; ++r)
            if (!(std::fabs(X0.v[std::size_t(line[i]) * X0.rows + r]) < 1e150)) return;
    for (unsigned r = 0; r < X0.rows; ++r) {
        double lo = HUGE_VAL, hi = -HUGE_VAL;
        for (unsigned i = 0; i < n; ++i) {
            const double v = X0.v[std::size_t(line[i]) * X0.rows + r];
            lo = std::min(lo, v), hi = std::max(hi, v);
        }
        const double tol = 1e-9 * (std::fabs(lo) + std::fabs(hi)) + 1e-300;
        for (unsigned j = c; j < next; ++j) FUZZ_CHECK(X(r, j) >= lo - tol && X(r, j) <= hi + tol);
    }
}

void line_case(input& in) {
    dense2D<double> X = polyline_coords(in, in.small(5) == 0 ? in.small(4) : 2 + in.small(1), in.small(8));
    const unsigned dim = X.rows(), cols = X.cols();
    const unsigned n = in.small(6);
    const dense1D<unsigned> line = in.indices(n, cols);
    const bool with_params = in.flag(), aniso = in.flag();
    const dense1D<double> params = in.small(9) == 0 ? in.ascending(in.small(6)) : in.ascending(n);
    const unsigned width = dim == 3 ? 6 : 3;
    const dense2D<double> metrics = metric_field(in, in.small(9) == 0 ? in.small(7) : width, in.small(9) == 0 ? in.small(7) : n);
    const dense1D<double> sizes = in.vector<double>(in.small(9) == 0 ? in.small(7) : n, [&] { return in.size(); });
    const unsigned frows = metrics.rows(), fcols = aniso ? metrics.cols() : sizes.size();
    const bool even = in.flag();
    const unsigned nmin = in.count(6), nmax = in.small(3) == 0 ? kNoBound : in.count(60);
    const double chordal = in.small(3) == 0 ? in.real() : in.pick<double>({0.0, 1e-3, -0.05, DBL_MAX});
    const double hmin = in.small(3) == 0 ? in.real() : 0.0;
    dense1D<unsigned> out = in.out_indices();
    dense1D<double> op = in.out_reals(), os = in.out_reals();
    dense2D<double> om = in.out_matrix(width);
    const auto X0 = snap(X);
    const auto out0 = snap(out);
    const auto os0 = snap(os);
    const auto om0 = snap(om);
    const auto op0 = snap(op);
    const long fail = in.failure_point();
    const input::memory_watch memory;
    int rc;
    {
        input::alloc_guard guard(fail);
        using tessora1d::mesh_line;
        if (with_params)
            rc = aniso ? mesh_line(X, line, params, metrics, even, nmin, nmax, chordal, hmin, out, op, om)
                       : mesh_line(X, line, params, sizes, even, nmin, nmax, chordal, hmin, out, op, os);
        else
            rc = aniso ? mesh_line(X, line, metrics, even, nmin, nmax, chordal, hmin, out, op, om)
                       : mesh_line(X, line, sizes, even, nmin, nmax, chordal, hmin, out, op, os);
    }
    // Codes in argument order; without parameters every code below -3 moves up by one.
    const int shift = with_params ? 0 : 1;
    bool ids_ok = true;
    for (unsigned i : line) ids_ok = ids_ok && i < cols;
    double total = 0.0;
    for (unsigned i = 1; ids_ok && i < n; ++i) total += distance(X0, line[i - 1], line[i]);
    bool params_ok = params.size() == n;
    for (unsigned i = 1; params_ok && i < n; ++i) params_ok = !(params[i] < params[i - 1]);
    // Without parameters, no memory for building them is -199 itself, before forwarding.
    const bool own_memory = !with_params && rc == -199 && memory.short_of_memory();
    FUZZ_CHECK(own_memory || is_code(rc, {0, -1, -2, -3, -4 + shift, -6 + shift, -11 + shift, -199 + shift}));
    if (own_memory) { /* refused before any argument past the node list was looked at */ }
    else if (dim != 2 && dim != 3) FUZZ_CHECK(rc == -1);
    else if (n < 2 || !ids_ok) FUZZ_CHECK(rc == -2);
    else if (!with_params && total == 0.0) FUZZ_CHECK(rc == -2);
    else if (with_params && !params_ok) FUZZ_CHECK(rc == -3);
    else if (aniso && (fcols < n || frows != width)) FUZZ_CHECK(rc == -4 + shift);
    else if (!aniso && fcols < n) FUZZ_CHECK(rc == -4 + shift);
    if (rc == -6 + shift) FUZZ_CHECK(nmin == 0 || nmax < nmin);
    if (rc == -11 + shift) FUZZ_CHECK(aniso && !om0.v.empty() && om0.rows != width);

    // out params is emptied first, except by the early refusals of the forms without parameters.
    const bool early = !with_params && (rc == -1 || rc == -2 || own_memory);
    if (rc != 0) {
        FUZZ_CHECK(X0.same_as(X) && out0.same_as(out) && os0.same_as(os) && om0.same_as(om));
        FUZZ_CHECK(early ? op0.same_as(op) : op.size() == 0);
        return;
    }
    if (memory.short_of_memory()) { // a failed growth of an output leaves it short, unreported
        FUZZ_CHECK(out0.prefix_of(out) && kept_columns(X0, X));
        return;
    }
    check_chain(line, X0, X, out0, out, &op, with_params ? &params : nullptr, chordal > 0.0 && chordal < DBL_MAX);
    const unsigned E = out.size() - out0.v.size() - 1;
    const bool om_empty = om0.rows * om0.cols == 0;
    if (aniso) FUZZ_CHECK(om.rows() == width && (om.cols() == om0.cols + E + 1 || (om_empty && om.cols() == E + 1)));
    else FUZZ_CHECK(os0.prefix_of(os) && os.size() == os0.v.size() + E + 1);
    if (chordal > 0.0 && chordal < DBL_MAX) return; // refinement may pass nmax on purpose
    FUZZ_CHECK(E >= nmin && (E <= nmax || (even && E == nmax + 1ull)));
    if (even) FUZZ_CHECK(E % 2 == 0);
    // Isotropic sizes on one segment (one pass; longer polylines are meshed again until the
    // count settles): the count follows the metric length.
    if (aniso || chordal < 0.0 || n != 2) return;
    double L = 0.0;
    for (unsigned i = 1; i < n; ++i) {
        const double M = log_mean(sizes[i - 1], sizes[i]);
        L += distance(X0, line[i - 1], line[i]) / M;
    }
    if (!std::isfinite(L)) return;
    if (L >= 4294967296.0) FUZZ_CHECK(nmax < kNoBound && E >= nmax); // saturated, then clamped
    else FUZZ_CHECK(E + 1.0 >= std::min<double>(nmax, std::floor(L * (1 - 1e-6))));
}

void straight_case(input& in) {
    dense2D<double> X = polyline_coords(in, in.small(5) == 0 ? in.small(4) : 2 + in.small(1), in.small(8));
    const unsigned dim = X.rows(), cols = X.cols();
    const unsigned form = in.small(5);
    const unsigned n = in.small(5);
    const dense1D<unsigned> chain = in.indices(n, cols);
    const unsigned width = dim == 3 ? 6 : 3;
    const dense2D<double> metrics = metric_field(in, in.small(9) == 0 ? in.small(7) : width, in.small(9) == 0 ? in.small(7) : n);
    const dense1D<double> sizes = in.vector<double>(in.small(9) == 0 ? in.small(7) : n, [&] { return in.size(); });
    const unsigned frows = metrics.rows(), fcols = metrics.cols();
    const unsigned a = in.index(cols), b = in.index(cols), d = in.index(cols);
    const unsigned count = in.count(30);
    const double ha = in.size(), hb = in.size();
    const bool even = in.flag();
    dense1D<unsigned> out = in.out_indices();
    const auto X0 = snap(X);
    const auto out0 = snap(out);
    const long fail = in.failure_point();
    const input::memory_watch memory;
    int rc;
    {
        input::alloc_guard guard(fail);
        using tessora1d::mesh_straight;
        switch (form) {
        case 0: rc = mesh_straight(X, chain, metrics, even, out); break;
        case 1: rc = mesh_straight(X, chain, sizes, even, out); break;
        case 2: rc = mesh_straight(X, chain, count, even, out); break;
        case 3: rc = mesh_straight(X, a, b, count, out); break;
        case 4: rc = mesh_straight(X, a, b, d, count, out); break;
        default: rc = mesh_straight(X, a, b, ha, hb, even, out); break;
        }
    }
    FUZZ_CHECK(is_code(rc, {0, -1, -2, -3, -4, -5, -199}));
    bool ids_ok = true;
    for (unsigned i : chain) ids_ok = ids_ok && i < cols;
    const bool chain_form = form <= 2;
    if (chain_form && (form == 2 ? count == 0 : n == 0)) FUZZ_CHECK(rc == 0 && X0.same_as(X) && out0.same_as(out));
    if (!chain_form && form != 5 && count == 0) FUZZ_CHECK(rc == 0 && X0.same_as(X) && out0.same_as(out));
    if ((chain_form && (form == 2 ? count == 0 : n == 0)) || (!chain_form && form != 5 && count == 0)) return;
    if (chain_form && (n < 2 || !ids_ok)) FUZZ_CHECK(rc == -2);
    if (!chain_form && a >= cols) FUZZ_CHECK(rc == -2);
    else if (!chain_form && b >= cols) FUZZ_CHECK(rc == -3);
    else if (form == 4 && d >= cols) FUZZ_CHECK(rc == -4);
    else if (form == 5 && ha <= 0.0) FUZZ_CHECK(rc == -4);
    else if (form == 5 && hb <= 0.0) FUZZ_CHECK(rc == -5);
    if (form == 0 && n >= 2 && ids_ok && (fcols < n || (dim == 2 && frows != 3) || (dim == 3 && frows != 6)))
        FUZZ_CHECK(rc == -3);
    if (rc != 0) {
        // Every node made by the call removed again; out back to its former size.
        FUZZ_CHECK(X.cols() == X0.cols && out.size() == out0.v.size());
        if (X0.rows * X0.cols != 0) FUZZ_CHECK(X0.same_as(X));
        return;
    }
    // The stitched chain: each chain entry once, in order, new nodes numbered consecutively.
    dense1D<unsigned> nodes = chain;
    if (form == 3 || form == 5) nodes = dense1D<unsigned>{a, b};
    if (form == 4) nodes = dense1D<unsigned>{a, b, d};
    // A local list that could not be built is not reported: the call may then do nothing, and
    // its drop of each segment's end node may then reach the former content.
    if (memory.short_of_memory()) return;
    FUZZ_CHECK(out0.prefix_of(out));
    unsigned next_new = X0.cols, entry = 0;
    for (unsigned k = out0.v.size(); k < out.size(); ++k) {
        if (entry < nodes.size() && out[k] == nodes[entry]) ++entry;
        else FUZZ_CHECK(out[k] == next_new++);
    }
    FUZZ_CHECK(entry == nodes.size() && X.cols() == next_new && kept_columns(X0, X));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    if (in.flag()) line_case(in);
    else straight_case(in);
    return 0;
}
