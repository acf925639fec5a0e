// Element construction, order conversion and reorientation: codes in argument order, outputs
// untouched on refusal, appended columns after the kept ones, node indices that exist.
#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "fuzz_support.h"

#include <algorithm>
#include <map>

using namespace vx4;
using namespace vx4fuzz;

namespace {

dense2D<unsigned> connectivity(input& in, unsigned nodes) {
    const unsigned rows = in.small(5) == 0 ? in.small(4) : 2 + in.small(1);
    return in.matrix<unsigned>(rows, in.small(8), [&] { return in.index(nodes); });
}

void element_construction(input& in) {
    const unsigned n = in.small(9);
    const dense1D<unsigned> I = in.indices(n, 30);
    dense2D<unsigned> out = in.out_connect(in.flag() ? 2 : 3);
    const auto before = snap(out);
    // An empty output holds no columns to keep, whatever its shape.
    const unsigned p = out.empty() ? 0 : out.cols();
    const long fail = in.failure_point();
    const unsigned which = in.small(1);
    int rc;
    {
        input::alloc_guard guard(fail);
        rc = which == 0 ? tessora1d::indices_to_connectE2(I, out) : tessora1d::indices_to_connectE3(I, out);
    }
    const unsigned rows = which == 0 ? 2 : 3;
    const bool bad_list = which == 0 ? n == 1 : (n < 3 || n % 2 == 0);
    FUZZ_CHECK(is_code(rc, {0, -1, -2, -199}));
    if (n == 0) FUZZ_CHECK(rc == 0);
    else if (bad_list) FUZZ_CHECK(rc == -1);
    else if (before.rows * before.cols != 0) FUZZ_CHECK((rc == -2) == (before.rows != rows));
    if (rc != 0 || n == 0) {
        FUZZ_CHECK(before.same_as(out));
        return;
    }
    const unsigned m = which == 0 ? n - 1 : (n - 1) / 2;
    FUZZ_CHECK(out.rows() == rows && out.cols() == p + m);
    FUZZ_CHECK(kept_columns(before, out));
    for (unsigned k = 0; k < m; ++k) {
        if (which == 0) FUZZ_CHECK(out(0, p + k) == I[k] && out(1, p + k) == I[k + 1]);
        else FUZZ_CHECK(out(0, p + k) == I[2 * k] && out(1, p + k) == I[2 * k + 2] && out(2, p + k) == I[2 * k + 1]);
    }
}

void simple_conversions(input& in) {
    dense2D<unsigned> c = connectivity(in, 30);
    const auto before = snap(c);
    switch (in.small(2)) {
    case 0: {
        dense2D<unsigned> out = in.out_connect(2);
        const auto out0 = snap(out);
        const long fail = in.failure_point();
        int rc;
        {
            input::alloc_guard guard(fail);
            rc = tessora1d::split_into_linear(c, out);
        }
        FUZZ_CHECK(is_code(rc, {0, -1, -2, -199}));
        if (c.empty()) FUZZ_CHECK(rc == 0);
        else if (c.rows() != 3) FUZZ_CHECK(rc == -1);
        else if (out0.rows != 0 && out0.rows != 2) FUZZ_CHECK(rc == -2);
        if (rc != 0 || c.empty()) {
            FUZZ_CHECK(out0.same_as(out));
            return;
        }
        FUZZ_CHECK(out.rows() == 2);
        FUZZ_CHECK(kept_columns(out0, out));
        if (fail < 0) { // the pairs (a, m), (m, b) close the output
            const unsigned E = c.cols(), q = out.cols();
            FUZZ_CHECK(q >= 2 * E);
            for (unsigned e = 0; e < E; ++e) {
                const unsigned j = q - 2 * E + 2 * e;
                FUZZ_CHECK(out(0, j) == c(0, e) && out(1, j) == c(2, e));
                FUZZ_CHECK(out(0, j + 1) == c(2, e) && out(1, j + 1) == c(1, e));
            }
        }
        break;
    }
    case 1: {
        const int rc = tessora1d::convert_into_linear(c);
        if (before.rows * before.cols == 0) FUZZ_CHECK(rc == 0 && before.same_as(c));
        else if (before.rows <= 2) FUZZ_CHECK(rc == -1 && before.same_as(c));
        else {
            FUZZ_CHECK(rc == 0 && c.rows() == 2 && c.cols() == before.cols);
            for (unsigned j = 0; j < c.cols(); ++j)
                FUZZ_CHECK(c(0, j) == before.v[j * before.rows] && c(1, j) == before.v[j * before.rows + 1]);
        }
        break;
    }
    default: {
        FUZZ_CHECK(tessora1d::flip(c) == 0);
        FUZZ_CHECK(c.rows() == before.rows && c.cols() == before.cols);
        for (unsigned j = 0; j < c.cols(); ++j)
            for (unsigned i = 0; i < c.rows(); ++i) {
                const unsigned from = before.rows >= 2 ? before.rows - 1 - i : i;
                FUZZ_CHECK(c(i, j) == before.v[j * before.rows + from]);
            }
    }
    }
}

void high_order(input& in) {
    dense2D<double> X = in.coords(in.small(4) == 0 ? in.small(5) : 1 + in.small(2), in.small(10));
    const unsigned N = X.cols(), dim = X.rows();
    dense2D<unsigned> c = connectivity(in, N);
    const unsigned k = in.count(4);
    const unsigned form = in.small(2);
    dense2D<unsigned> out = in.out_connect(k + 2);
    const auto X0 = snap(X);
    const auto c0 = snap(c);
    const auto out0 = snap(out);
    const long fail = in.failure_point();
    int rc;
    {
        input::alloc_guard guard(fail);
        if (form == 0) rc = tessora1d::convert_into_high_order(X, c, k, out);
        else if (form == 1) rc = tessora1d::convert_into_high_order(X, c, k);
        else rc = tessora1d::convert_into_quadratic(X, c);
    }
    const unsigned kk = form == 2 ? 1 : k;
    dense2D<unsigned>& result = form == 0 ? out : c;
    FUZZ_CHECK(is_code(rc, {0, -1, -2, -199}));
    // The in-place forms copy the connectivity first: without memory for it, -199 and no change.
    if (form != 0 && rc == -199 && c0.same_as(c) && X0.same_as(X)) return;
    if (rc == -1) FUZZ_CHECK(dim < 1 || dim > 3);
    if (dim < 1 || dim > 3) {
        FUZZ_CHECK(rc == -1 && X0.same_as(X) && c0.same_as(c) && out0.same_as(out));
        return;
    }
    if (form == 0) FUZZ_CHECK(c0.same_as(c)); // the input connectivity is only read
    if (rc != 0) {
        FUZZ_CHECK(X.rows() == X0.rows && X.cols() == N);
        FUZZ_CHECK(X0.same_as(X));
        if (rc == -2) FUZZ_CHECK(result.empty());
        return;
    }
    if (c0.rows * c0.cols == 0 || kk == 0) {
        FUZZ_CHECK(result.empty() && X0.same_as(X));
        return;
    }
    // Every node named in rows 0 and 1 exists; the new nodes follow edge by edge.
    const unsigned E = c0.cols;
    FUZZ_CHECK(X.cols() == N + E * kk && result.rows() == kk + 2 && result.cols() == E);
    FUZZ_CHECK(kept_columns(X0, X));
    for (unsigned e = 0; e < E; ++e) {
        const unsigned a = c0.v[e * c0.rows], b = c0.v[e * c0.rows + 1];
        FUZZ_CHECK(a < N && b < N && result(0, e) == a && result(1, e) == b);
        for (unsigned i = 1; i <= kk; ++i) {
            const unsigned node = result(1 + i, e);
            FUZZ_CHECK(node == N + e * kk + i - 1);
            for (unsigned r = 0; r < dim; ++r) {
                const double pa = X(r, a), pb = X(r, b), p = X(r, node);
                if (!std::isfinite(pa) || !std::isfinite(pb) || !std::isfinite(pb - pa)) continue;
                const double lo = std::min(pa, pb), hi = std::max(pa, pb);
                const double tol = 1e-12 * (std::fabs(lo) + std::fabs(hi));
                FUZZ_CHECK(p >= lo - tol && p <= hi + tol);
            }
        }
    }
}

void reorientation(input& in) {
    const unsigned N = 2 + in.small(12);
    dense2D<unsigned> c = connectivity(in, N);
    dense2D<unsigned> nb;
    const bool from_service = in.flag();
    if (from_service) vx4::tessora::get_neighbors(c.sub_matrix(0, 0, 2, c.cols()), edge2, false, nb);
    if (!from_service || nb.rows() != c.rows()) {
        const unsigned rows = in.small(5) == 0 ? in.small(3) : c.rows();
        const unsigned cols = in.small(5) == 0 ? in.small(8) : c.cols();
        nb = in.matrix<unsigned>(rows, cols, [&] { return in.index(cols); });
    }
    const unsigned E = c.cols();
    const unsigned start = in.index(E);
    const int all = in.pick<int>({0, 1, -7});
    const auto c0 = snap(c);
    const auto nb0 = snap(nb);
    const long fail = in.failure_point();
    const input::memory_watch memory;
    int rc;
    {
        input::alloc_guard guard(fail);
        rc = tessora1d::mesh_reorient(c, nb, start, all);
    }
    // The node check has no bound, yet the "none" marker is never a node index.
    bool ids_ok = c0.rows >= 2 || c0.rows * c0.cols == 0;
    for (unsigned x : c0.v) ids_ok = ids_ok && x != kNoBound;
    if (E == 0) FUZZ_CHECK(rc == 0);
    else if (!ids_ok) FUZZ_CHECK(rc == -1);
    else if (nb0.rows != c0.rows || nb0.cols != E) FUZZ_CHECK(rc == -2);
    else if (start >= E) FUZZ_CHECK(rc == -3);
    const bool refused = E != 0 && (!ids_ok || nb0.rows != c0.rows || nb0.cols != E || start >= E);
    if (E == 0 || refused || c0.rows < 2) {
        FUZZ_CHECK(c0.same_as(c) && nb0.same_as(nb));
        return;
    }
    // Only rows 0 and 1 move, together with neighbour slots 0 and 1.
    for (unsigned e = 0; e < E; ++e) {
        const unsigned R = c0.rows;
        const unsigned a = c0.v[e * R], b = c0.v[e * R + 1];
        const bool turn = c(0, e) == b && c(1, e) == a && a != b;
        FUZZ_CHECK((c(0, e) == a && c(1, e) == b) || turn);
        for (unsigned i = 2; i < R; ++i) FUZZ_CHECK(c(i, e) == c0.v[e * R + i]);
        const unsigned n0 = nb0.v[e * R], n1 = nb0.v[e * R + 1];
        if (a != b) FUZZ_CHECK(turn ? (nb(0, e) == n1 && nb(1, e) == n0) : (nb(0, e) == n0 && nb(1, e) == n1));
        for (unsigned i = 2; i < R; ++i) FUZZ_CHECK(nb(i, e) == nb0.v[e * R + i]);
    }
    // A simple chain or loop with true neighbours, oriented whole from element 0 (the walk
    // never goes back below its start), ends consistent.
    if (!from_service || rc < 0 || all == 0 || start != 0 || c0.rows != 2 || memory.short_of_memory()) return;
    std::map<unsigned, int> degree;
    bool simple = true;
    for (unsigned e = 0; e < E; ++e) {
        simple = simple && c(0, e) != c(1, e);
        simple = simple && ++degree[c(0, e)] <= 2 && ++degree[c(1, e)] <= 2;
    }
    if (!simple) return;
    for (unsigned e = 0; e < E; ++e) {
        const unsigned n = nb(0, e);
        if (n < E) FUZZ_CHECK(c(1, e) == c(0, n));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    switch (in.small(3)) {
    case 0: element_construction(in); break;
    case 1: simple_conversions(in); break;
    case 2: high_order(in); break;
    default: reorientation(in); break;
    }
    return 0;
}
