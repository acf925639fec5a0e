// Extrusion by translation and rotation, all sixteen overloads: codes in argument order, the
// chain start node first then consecutive new columns, counts that follow the sizes (never one
// element for a huge metric length), new nodes on the segment or on the circle.
#include <vx4/tessora1d.h>

#include "fuzz_support.h"

#include <algorithm>

using namespace vx4;
using namespace vx4fuzz;

namespace {

template <unsigned D>
vector_fixed<double, D> point(input& in, bool ordinary) {
    vector_fixed<double, D> p;
    for (unsigned k = 0; k < D; ++k)
        p[k] = ordinary ? in.raw().ConsumeFloatingPointInRange<double>(-5.0, 5.0) : in.real();
    return p;
}

template <unsigned D>
double norm(const double* v) {
    double s = 0.0;
    for (unsigned k = 0; k < D; ++k) s += v[k] * v[k];
    return std::sqrt(s);
}

template <unsigned D>
void extrude(input& in) {
    const bool rotate = in.flag(), from_point = in.flag(), sized = in.flag(), ordinary = in.small(3) != 0;
    dense2D<double> X = in.coords(in.small(5) == 0 ? in.small(4) : D, in.small(6));
    const unsigned rows = X.rows();
    dense1D<unsigned> chain = in.out_indices();
    const unsigned start = in.index(X.cols());
    const vector_fixed<double, D> P = point<D>(in, ordinary), C = point<D>(in, ordinary);
    const vector_fixed<double, D> V = point<D>(in, ordinary); // translation or rotation vector
    const double angle = ordinary ? in.raw().ConsumeFloatingPointInRange<double>(-7.0, 7.0) : in.real();
    const double h0 = in.size(), h1 = in.size();
    const bool even = in.flag();
    const unsigned n = in.count(40);
    const auto X0 = snap(X);
    const auto chain0 = snap(chain);
    const long fail = in.failure_point();
    const input::memory_watch memory;
    int rc;
    {
        input::alloc_guard guard(fail);
        using namespace tessora1d;
        if (!rotate) {
            if (from_point) rc = sized ? extrude_translate(X, P, V, h0, h1, even, chain) : extrude_translate(X, P, V, n, chain);
            else rc = sized ? extrude_translate(X, start, V, h0, h1, even, chain) : extrude_translate(X, start, V, n, chain);
        } else if constexpr (D == 2) {
            if (from_point)
                rc = sized ? extrude_rotate(X, P, C, angle, h0, h1, even, chain) : extrude_rotate(X, P, C, angle, n, chain);
            else
                rc = sized ? extrude_rotate(X, start, C, angle, h0, h1, even, chain)
                           : extrude_rotate(X, start, C, angle, n, chain);
        } else {
            if (from_point) rc = sized ? extrude_rotate(X, P, C, V, h0, h1, even, chain) : extrude_rotate(X, P, C, V, n, chain);
            else rc = sized ? extrude_rotate(X, start, C, V, h0, h1, even, chain) : extrude_rotate(X, start, C, V, n, chain);
        }
    }
    const unsigned N = X0.cols;
    const bool x_empty = X0.rows * X0.cols == 0;
    // The start node as the worker sees it: column `start`, or the point appended as column N.
    const unsigned j = from_point ? N : start;
    const unsigned columns = from_point ? N + 1 : N;
    double P0[D];
    for (unsigned k = 0; k < D; ++k) P0[k] = from_point ? P[k] : (start < N && rows == D ? X0.v[start * D + k] : 0.0);
    double R[D] = {}, arc = 0.0;
    if (rotate) {
        for (unsigned k = 0; k < D; ++k) R[k] = P0[k] - C[k];
        if constexpr (D == 2) arc = std::fabs(angle) * norm<2>(R);
        else {
            const double w[3] = {V[1] * R[2] - V[2] * R[1], V[2] * R[0] - V[0] * R[2], V[0] * R[1] - V[1] * R[0]};
            arc = norm<3>(w);
        }
    } else {
        arc = norm<D>(&V[0]);
    }
    const int h0_code = rotate ? -5 : -4;

    FUZZ_CHECK(is_code(rc, {0, -1, -2, -3, -4, -5, -6, -199}));
    const bool wrong_rows = from_point ? (!x_empty && rows != D) : rows != D;
    if (!sized && n == 0) FUZZ_CHECK(rc == 0 && X0.same_as(X) && chain0.same_as(chain));
    if (!sized && n == 0) return;
    if (wrong_rows) FUZZ_CHECK(rc == -1);
    else if (!from_point && start >= N) FUZZ_CHECK(rc == -2);
    else if (sized && rc == -3) FUZZ_CHECK(arc == 0.0 || arc < 1e-290 || std::isnan(arc)); // the worker's own rounding
    else if (from_point && memory.short_of_memory() && (rc == -1 || rc == -2)) { /* no memory for the start column */ }
    else if (sized && arc > 1e-290 && !(h0 > 0.0) && !std::isnan(h0)) FUZZ_CHECK(rc == h0_code);
    else if (sized && arc > 1e-290 && !(h1 > 0.0) && !std::isnan(h1)) FUZZ_CHECK(rc == h0_code - 1); // NaN h0 passes
    else if (!sized || (arc > 1e-290 && std::isfinite(arc))) FUZZ_CHECK(rc == 0 || rc == -199);
    if (!rotate) FUZZ_CHECK(rc != -6);
    else FUZZ_CHECK(rc != -4);

    if (rc != 0) {
        // Refused or short of memory: nothing appended, the temporary start column removed.
        FUZZ_CHECK(chain0.same_as(chain));
        FUZZ_CHECK(X.cols() == N);
        if (!x_empty) FUZZ_CHECK(X0.same_as(X));
        return;
    }
    // The chain: earlier entries, the start node, then the new columns in order.
    FUZZ_CHECK(chain0.prefix_of(chain));
    const unsigned added = chain.size() - chain0.v.size();
    FUZZ_CHECK(added >= 2);
    const unsigned count = added - 1;
    FUZZ_CHECK(chain[chain0.v.size()] == j);
    for (unsigned i = 0; i < count; ++i) FUZZ_CHECK(chain[chain0.v.size() + 1 + i] == columns + i);
    FUZZ_CHECK(X.rows() == D && X.cols() == columns + count);
    if (!x_empty) FUZZ_CHECK(kept_columns(X0, X.sub_matrix(0, 0, D, N)));
    if (!sized) FUZZ_CHECK(count == n);
    else {
        FUZZ_CHECK(count == 1 || !even || count % 2 == 0);
        // With a NaN size the metric length is NaN and one element is made.
        const double L = std::isfinite(h0) && std::isfinite(h1) ? arc / log_mean(h0, h1) : NAN;
        if (std::isfinite(L) && L < 1e6) {
            FUZZ_CHECK(count + 0.0 >= std::floor(L * (1 - 1e-6)) && count + 0.0 <= std::ceil(L * (1 + 1e-6)) + 2.0);
        } else if (L >= 4294967296.0 && std::isfinite(L)) {
            FUZZ_CHECK(false); // a count past 32 bits cannot be stored: it must have been refused
        }
    }
    // Every new node lies on the segment, or as far from the centre as the start node.
    bool finite = true;
    for (unsigned k = 0; k < D; ++k) finite = finite && std::isfinite(P0[k]) && std::fabs(P0[k]) < 1e100;
    for (unsigned k = 0; k < D; ++k) finite = finite && std::isfinite(V[k]) && std::fabs(V[k]) < 1e100;
    for (unsigned k = 0; k < D; ++k) finite = finite && std::isfinite(C[k]) && std::fabs(C[k]) < 1e100;
    finite = finite && std::isfinite(angle) && std::fabs(angle) < 1e6;
    // A size ratio past the double range has no finite progression (the node is NaN).
    if (!finite || (sized && !(std::isfinite(h0 / h1) && std::isfinite(h1 / h0)))) return;
    const double radius = norm<D>(R);
    for (unsigned i = 0; i < count; ++i) {
        const double* p = &X(0, columns + i);
        if (!rotate) {
            for (unsigned k = 0; k < D; ++k) {
                const double lo = std::min(P0[k], P0[k] + V[k]), hi = std::max(P0[k], P0[k] + V[k]);
                const double tol = 1e-12 * (std::fabs(lo) + std::fabs(hi));
                FUZZ_CHECK(p[k] >= lo - tol && p[k] <= hi + tol);
            }
        } else {
            double d[D];
            for (unsigned k = 0; k < D; ++k) d[k] = p[k] - C[k];
            const double scale = radius + 1e-300;
            double size_c = 0.0;
            for (unsigned k = 0; k < D; ++k) size_c = std::max(size_c, std::fabs(C[k]) + std::fabs(P0[k]));
            FUZZ_CHECK(std::fabs(norm<D>(d) - radius) <= 1e-9 * scale + 1e-12 * size_c);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    if (in.flag()) extrude<2>(in);
    else extrude<3>(in);
    return 0;
}
