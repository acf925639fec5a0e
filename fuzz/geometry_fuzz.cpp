// Curve queries and metric fields: length (2), interpolate_coordinates, curvatures, normals,
// parametric_curvatures, interpolate_metrics (2), metrics_gen_aniso2d (2), metrics_gen_aniso3d (2).
// Codes in argument order, outputs emptied or untouched as promised, one value per node or
// query, columns outside the call's nodes unchanged, and sound values where inputs are finite.
#include <vx4/tessora1d.h>

#include "fuzz_support.h"

#include <algorithm>
#include <set>

using namespace vx4;
using namespace vx4fuzz;

namespace {

bool all_finite(const snapshot<double>& s) {
    for (double v : s.v)
        if (!std::isfinite(v) || std::fabs(v) > 1e150) return false;
    return true;
}

double segment(const snapshot<double>& X, unsigned a, unsigned b) {
    double s = 0.0;
    for (unsigned r = 0; r < X.rows; ++r) {
        const double d = X.v[std::size_t(b) * X.rows + r] - X.v[std::size_t(a) * X.rows + r];
        s += d * d;
    }
    return std::sqrt(s);
}

dense2D<unsigned> edges(input& in, unsigned nodes) {
    const unsigned rows = in.small(6) == 0 ? in.small(3) : 2;
    return in.matrix<unsigned>(rows, in.small(8), [&] { return in.index(nodes); });
}

void lengths(input& in) {
    const dense2D<double> X = in.coords(in.small(5) == 0 ? in.small(4) : 2 + in.small(1), in.small(8));
    const auto X0 = snap(X);
    double len = -1.0;
    if (in.flag()) {
        const dense1D<unsigned> nodes = in.indices(in.small(6), X.cols());
        const int rc = tessora1d::length(X, nodes, len);
        FUZZ_CHECK(is_code(rc, {0, -1, -2}));
        if (X.rows() != 2 && X.rows() != 3) { FUZZ_CHECK(rc == -1 && len == 0.0); return; }
        if (nodes.size() < 2) { FUZZ_CHECK(rc == -2 && len == 0.0); return; }
        // The sum runs up to the first index that names no node; that partial sum is kept.
        double sum = 0.0;
        unsigned k = 0;
        for (; k < nodes.size() && nodes[k] < X.cols(); ++k)
            if (k > 0) sum += segment(X0, nodes[k - 1], nodes[k]);
        FUZZ_CHECK(rc == (k == nodes.size() ? 0 : -2));
        FUZZ_CHECK((std::isnan(sum) && std::isnan(len)) || len == sum);
    } else {
        const dense2D<unsigned> c = edges(in, X.cols());
        const int rc = tessora1d::length(X, c, len);
        FUZZ_CHECK(is_code(rc, {0, -1, -2}));
        if (X.rows() != 2 && X.rows() != 3) { FUZZ_CHECK(rc == -1 && len == 0.0); return; }
        bool ok = c.empty() || c.rows() >= 2;
        for (unsigned j = 0; ok && j < c.cols(); ++j)
            for (unsigned i = 0; i < c.rows(); ++i) ok = ok && c(i, j) < X.cols();
        if (!ok) { FUZZ_CHECK(rc == -2 && len == 0.0); return; }
        FUZZ_CHECK(rc == 0);
        double sum = 0.0;
        for (unsigned j = 0; j < c.cols() && !c.empty(); ++j) sum += segment(X0, c(0, j), c(1, j));
        FUZZ_CHECK((std::isnan(sum) && std::isnan(len)) || len == sum);
    }
    FUZZ_CHECK(X0.same_as(X));
}

void coordinates(input& in) {
    dense2D<double> X = in.coords(in.small(4), in.small(8));
    const unsigned N = X.cols();
    const unsigned n = in.small(6);
    const dense1D<unsigned> nodes = in.indices(in.small(9) == 0 ? in.small(6) : n, N);
    const dense1D<double> params = in.ascending(n);
    const unsigned q = in.small(5);
    const dense1D<unsigned> new_nodes = in.indices(in.small(9) == 0 ? in.small(5) : q, N);
    const dense1D<double> queries = in.ascending(q);
    const auto X0 = snap(X);
    const int rc = tessora1d::interpolate_coordinates(X, nodes, params, new_nodes, queries);
    FUZZ_CHECK(is_code(rc, {0, -2, -3, -4, -5}));
    if (params.size() != nodes.size()) FUZZ_CHECK(rc == -2);
    if (rc != 0) { FUZZ_CHECK(X0.same_as(X)); return; }
    // Only the new nodes' columns change; each lies within the chain's bounding box.
    const std::set<unsigned> written(new_nodes.begin(), new_nodes.end());
    FUZZ_CHECK(X.rows() == X0.rows && X.cols() == N);
    for (unsigned j = 0; j < N; ++j)
        if (!written.count(j))
            for (unsigned r = 0; r < X0.rows; ++r)
                FUZZ_CHECK(std::memcmp(&X(r, j), &X0.v[std::size_t(j) * X0.rows + r], sizeof(double)) == 0);
    if (!all_finite(X0)) return;
    for (double p : params) if (!std::isfinite(p)) return;
    for (double p : queries) if (!std::isfinite(p)) return;
    for (unsigned r = 0; r < X0.rows; ++r) {
        double lo = HUGE_VAL, hi = -HUGE_VAL;
        for (unsigned i : nodes)
            if (i < N) lo = std::min(lo, X0.v[std::size_t(i) * X0.rows + r]), hi = std::max(hi, X0.v[std::size_t(i) * X0.rows + r]);
        const double tol = 1e-9 * (std::fabs(lo) + std::fabs(hi)) + 1e-300;
        for (unsigned j : new_nodes) FUZZ_CHECK(X(r, j) >= lo - tol && X(r, j) <= hi + tol);
    }
}

void curvature_queries(input& in) {
    const unsigned which = in.small(2);
    const dense2D<double> X = in.coords(in.small(5) == 0 ? in.small(4) : 2 + (which == 1 ? 0 : in.small(1)), in.small(8));
    const unsigned N = X.cols();
    const long fail = in.failure_point();
    if (which == 0) {
        const dense1D<unsigned> nodes = in.indices(in.small(7), N);
        dense1D<double> curv = in.out_reals();
        int rc;
        {
            input::alloc_guard guard(fail);
            rc = tessora1d::curvatures(X, nodes, curv);
        }
        FUZZ_CHECK(is_code(rc, {0, -1, -2, -199}));
        bool ids = true;
        for (unsigned i : nodes) ids = ids && i < N;
        if (nodes.empty()) FUZZ_CHECK(rc == 0);
        else if (X.rows() != 2 && X.rows() != 3) FUZZ_CHECK(rc == -1);
        else if (!ids) FUZZ_CHECK(rc == -2);
        if (rc != 0 || nodes.empty()) { FUZZ_CHECK(curv.size() == 0); return; }
        FUZZ_CHECK(curv.size() == nodes.size());
        for (double k : curv) FUZZ_CHECK(!(k < 0.0));
        if (nodes.size() <= 2) for (double k : curv) FUZZ_CHECK(k == 0.0);
    } else if (which == 1) {
        const dense2D<unsigned> c = edges(in, N);
        const double p = in.small(3) == 0 ? in.real() : in.pick<double>({0.0, 1.0, DBL_MAX, -DBL_MAX, -1.0});
        const bool normalise = in.flag();
        dense2D<double> nrm = in.out_matrix(2);
        int rc;
        {
            input::alloc_guard guard(fail);
            rc = tessora1d::normals(X, c, p, normalise, nrm);
        }
        FUZZ_CHECK(is_code(rc, {0, -1, -2, -199}));
        if (X.empty() || c.empty()) { FUZZ_CHECK(rc == 0 && nrm.empty()); return; }
        if (X.rows() != 2) FUZZ_CHECK(rc == -1);
        else if (c.rows() < 2) FUZZ_CHECK(rc == -2);
        if (rc != 0) { FUZZ_CHECK(nrm.empty()); return; }
        FUZZ_CHECK(nrm.rows() == 2 && nrm.cols() == N);
        // Weighted and normalised: unit or zero normals where the coordinates are ordinary.
        if (!normalise || !(p > -DBL_MAX && p < DBL_MAX) || std::fabs(p) > 4.0 || !all_finite(snap(X))) return;
        for (unsigned j = 0; j < N; ++j) {
            const double l = std::hypot(nrm(0, j), nrm(1, j));
            // A normal whose squared length underflows is left as it is.
            FUZZ_CHECK(l < 1e-150 || std::fabs(l - 1.0) < 1e-9 || !std::isfinite(l));
        }
    } else {
        const unsigned n = in.small(8);
        const dense1D<double> params = in.vector<double>(n, [&] { return in.real(); });
        const dense2D<unsigned> c = edges(in, n);
        const dense2D<double> derivs = in.reals(in.small(5) == 0 ? in.small(4) : 2 + in.small(1), in.small(9) == 0 ? in.small(8) : n);
        dense1D<double> curv = in.out_reals();
        int rc;
        {
            input::alloc_guard guard(fail);
            rc = tessora1d::parametric_curvatures(params, c, derivs, curv);
        }
        FUZZ_CHECK(is_code(rc, {0, -2, -3, -199}));
        if (c.empty()) { FUZZ_CHECK(rc == 0 && curv.size() == 0); return; }
        bool ids = c.rows() >= 2;
        for (unsigned j = 0; ids && j < c.cols(); ++j)
            for (unsigned i = 0; i < c.rows(); ++i) ids = ids && c(i, j) < n;
        if (!ids) FUZZ_CHECK(rc == -2);
        else if ((derivs.rows() != 2 && derivs.rows() != 3) || derivs.cols() != n) FUZZ_CHECK(rc == -3);
        if (rc != 0) { FUZZ_CHECK(curv.size() == 0); return; }
        FUZZ_CHECK(curv.size() == n);
        for (double k : curv) FUZZ_CHECK(!(k < 0.0));
    }
}

void metric_interpolation(input& in) {
    const unsigned n = in.small(6);
    const dense1D<double> params = in.ascending(in.small(9) == 0 ? in.small(6) : n);
    const unsigned q = in.small(6);
    dense1D<double> queries = in.ascending(q);
    if (in.flag() && params.size() >= 2 && std::isfinite(params[0]) && std::isfinite(params[params.size() - 1])) {
        // Queries spread over the parameter range (in order), the usual call.
        const double a = params[0], b = params[params.size() - 1];
        for (unsigned k = 0; k < q; ++k) queries[k] = a + (b - a) * (q > 1 ? k / (q - 1.0) : 0.0);
        if (q) queries[q - 1] = b;
    }
    const long fail = in.failure_point();
    const bool p_ok = params.size() >= 2 && [&] {
        for (unsigned k = 1; k < params.size(); ++k) if (params[k] < params[k - 1]) return false;
        return true;
    }();
    bool q_ok = true;
    for (unsigned k = 1; k < q; ++k) q_ok = q_ok && !(queries[k] < queries[k - 1]);
    if (q && p_ok) q_ok = q_ok && !(queries[0] < params[0]) && !(queries[q - 1] > params[params.size() - 1]);
    if (in.flag()) {
        const dense1D<double> sizes = in.vector<double>(in.small(9) == 0 ? in.small(6) : params.size(), [&] { return in.size(); });
        dense1D<double> out = in.out_reals();
        int rc;
        {
            input::alloc_guard guard(fail);
            rc = tessora1d::interpolate_metrics(params, sizes, queries, out);
        }
        FUZZ_CHECK(is_code(rc, {0, -1, -2, -3, -199}));
        if (q == 0) { FUZZ_CHECK(rc == 0 && out.size() == 0); return; }
        if (!p_ok) FUZZ_CHECK(rc == -1);
        else if (sizes.size() != params.size()) FUZZ_CHECK(rc == -2);
        if (rc != 0) { FUZZ_CHECK(out.size() == 0); return; }
        FUZZ_CHECK(out.size() == q);
        // A size between the bracketing ones, or the 0 that marks an undefined one.
        double lo = HUGE_VAL, hi = -HUGE_VAL;
        bool finite = true;
        for (double h : sizes) lo = std::min(lo, h), hi = std::max(hi, h), finite = finite && std::isfinite(h);
        for (double p : params) finite = finite && std::isfinite(p);
        for (double v : out)
            FUZZ_CHECK(!finite || v == 0.0 || (v >= lo - 1e-12 * std::fabs(lo) && v <= hi + 1e-12 * std::fabs(hi)));
    } else {
        const unsigned rows = in.pick<unsigned>({0, 1, 3, 6, 3, 6, 2});
        const dense2D<double> metrics = in.small(3) == 0
            ? in.reals(rows, in.small(9) == 0 ? in.small(6) : params.size())
            : in.matrix<double>(rows, in.small(9) == 0 ? in.small(6) : params.size(), [&] {
                  return std::pow(10.0, in.raw().ConsumeFloatingPointInRange<double>(-2.0, 2.0));
              });
        dense2D<double> out = in.out_matrix(rows);
        int rc;
        {
            input::alloc_guard guard(fail);
            rc = tessora1d::interpolate_metrics(params, metrics, queries, out);
        }
        FUZZ_CHECK(is_code(rc, {0, -1, -2, -3, -199}));
        if (q == 0) { FUZZ_CHECK(rc == 0 && out.empty() && out.rows() == 0); return; }
        const unsigned r = metrics.rows();
        if (!p_ok) FUZZ_CHECK(rc == -1);
        else if (metrics.cols() != params.size() || (r != 0 && r != 1 && r != 3 && r != 6)) FUZZ_CHECK(rc == -2);
        else if (!q_ok) FUZZ_CHECK(rc == -3);
        if (rc != 0) { FUZZ_CHECK(out.empty() && out.rows() == 0 && out.cols() == 0); return; }
        FUZZ_CHECK(out.rows() == r && out.cols() == q);
    }
}

// A packed metric column (3 or 6 rows) that is positive semi-definite up to rounding.
bool semi_definite(const double* m, unsigned rows) {
    const double scale = std::fabs(m[0]) + std::fabs(m[2]) + (rows == 6 ? std::fabs(m[5]) : 0.0);
    const double tol = 1e-9 * scale * scale + 1e-300;
    if (m[0] < -1e-9 * scale || m[2] < -1e-9 * scale) return false;
    if (m[0] * m[2] - m[1] * m[1] < -tol) return false;
    if (rows == 6 && m[5] < -1e-9 * scale) return false;
    return true;
}

void metric_generation(input& in) {
    const unsigned form = in.small(3);
    const unsigned width = form <= 1 ? 3 : 6;
    const dense2D<double> X = in.coords(in.small(5) == 0 ? in.small(4) : (form == 0 ? 2 : 2 + in.small(1)), in.small(8));
    const unsigned N = X.cols();
    const dense1D<unsigned> nodes = in.indices(in.small(6), N);
    const dense2D<unsigned> c = edges(in, N);
    const double a = in.size(), b = in.small(3) == 0 ? in.real() : in.pick<double>({0.0, 0.5, -0.5, 2.0});
    dense2D<double> metrics = in.small(3) == 0 ? dense2D<double>() : in.out_matrix(width);
    const auto M0 = snap(metrics);
    const long fail = in.failure_point();
    int rc;
    {
        input::alloc_guard guard(fail);
        switch (form) {
        case 0: rc = tessora1d::metrics_gen_aniso2d(X, nodes, a, b, metrics); break;
        case 1: rc = tessora1d::metrics_gen_aniso2d(X, c, b, metrics); break;
        case 2: rc = tessora1d::metrics_gen_aniso3d(X, c, b, metrics); break;
        default: rc = tessora1d::metrics_gen_aniso3d(X, c, a, b, metrics); break;
        }
    }
    FUZZ_CHECK(is_code(rc, {0, -1, -2, -3, -4, -5, -199}));
    // The nodes the call may touch, and the largest of them.
    std::set<unsigned> touched;
    if (form == 0) touched.insert(nodes.begin(), nodes.end());
    else if (!c.empty())
        for (unsigned j = 0; j < c.cols(); ++j)
            for (unsigned i = 0; i < c.rows(); ++i) touched.insert(c(i, j));
    const bool nothing = form == 0 ? nodes.empty() : c.empty();
    if (nothing) { FUZZ_CHECK(rc == 0 && M0.same_as(metrics)); return; }
    const unsigned largest = *touched.rbegin();
    if (form == 0) {
        if (X.rows() != 2) FUZZ_CHECK(rc == -1);
        else if (largest >= N) FUZZ_CHECK(rc == -2);
        else if (a <= 0.0) FUZZ_CHECK(rc == -3);
        else if (b <= 0.0) FUZZ_CHECK(rc == -4);
        else if (!M0.v.empty() && M0.rows != 3) FUZZ_CHECK(rc == -5);
    } else {
        if (X.rows() < (form == 1 ? 2u : 3u)) FUZZ_CHECK(rc == -1);
        else if (c.rows() != 2 || largest >= N) FUZZ_CHECK(rc == -2);
        else if (!M0.v.empty() && M0.rows != width) FUZZ_CHECK(rc == -4);
        FUZZ_CHECK(rc != -3 && rc != -5);
    }
    if (rc != 0) { FUZZ_CHECK(M0.same_as(metrics)); return; }
    // Grown to the largest node, never shrunk; untouched columns keep their values.
    const unsigned grown = std::max(M0.cols, largest + 1);
    FUZZ_CHECK(metrics.rows() == width && (metrics.cols() == grown || (M0.v.empty() && metrics.cols() == largest + 1)));
    for (unsigned j = 0; !M0.v.empty() && j < M0.cols; ++j)
        if (!touched.count(j))
            for (unsigned i = 0; i < width; ++i)
                FUZZ_CHECK(std::memcmp(&metrics(i, j), &M0.v[std::size_t(j) * width + i], sizeof(double)) == 0);
    // Built from nothing on ordinary input, every column is a semi-definite metric.
    if (!M0.v.empty() || !all_finite(snap(X)) || !std::isfinite(a) || !std::isfinite(b)) return;
    if (std::fabs(a) < 1e-3 || std::fabs(b) < 1e-3 || std::fabs(a) > 1e3 || std::fabs(b) > 1e3) return;
    for (unsigned j = 0; j < metrics.cols(); ++j) FUZZ_CHECK(semi_definite(&metrics(0, j), width));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    switch (in.small(4)) {
    case 0: lengths(in); break;
    case 1: coordinates(in); break;
    case 2: curvature_queries(in); break;
    case 3: metric_interpolation(in); break;
    default: metric_generation(in); break;
    }
    return 0;
}
