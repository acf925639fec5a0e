// sort and subdivide: ordered results, untouched lists on refusal, segment counts within the
// bounds (saturated, never collapsed, for huge metric lengths).
#include <vx4/tessora1d.h>

#include "fuzz_support.h"

#include <algorithm>
#include <utility>

using namespace vx4;
using namespace vx4fuzz;

namespace {

void sort_case(input& in) {
    const unsigned n = in.small(kMaxEntries);
    const unsigned m = in.small(7) == 0 ? in.small(kMaxEntries) : n;
    dense1D<double> values = in.vector<double>(n, [&] { return in.small(3) == 0 ? in.real() : double(in.small(4)); });
    dense1D<unsigned> ids = in.indices(m, 10);
    const auto v0 = snap(values);
    const auto i0 = snap(ids);
    bool nan = false;
    for (double v : values) nan = nan || std::isnan(v);
    int rc;
    {
        input::alloc_guard guard(in.failure_point());
        rc = tessora1d::sort(values, ids);
    }
    FUZZ_CHECK(is_code(rc, {0, -1, -199}));
    FUZZ_CHECK((rc == -1) == (n != m));
    if (rc != 0) {
        FUZZ_CHECK(v0.same_as(values) && i0.same_as(ids));
        return;
    }
    FUZZ_CHECK(values.size() == n && ids.size() == n);
    std::vector<unsigned> a(i0.v), b(ids.begin(), ids.end());
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    FUZZ_CHECK(a == b);
    if (nan) return; // the order of NaN values is not defined
    std::vector<std::pair<double, unsigned>> pairs;
    for (unsigned k = 0; k < n; ++k) pairs.emplace_back(v0.v[k], i0.v[k]);
    std::sort(pairs.begin(), pairs.end());
    for (unsigned k = 0; k < n; ++k) FUZZ_CHECK(values[k] == pairs[k].first && ids[k] == pairs[k].second);
}

// Metric length of the support, computed independently of the library's size model.
double support_length(const std::vector<double>& X, const std::vector<double>& H) {
    double S = 0.0;
    for (size_t k = 1; k < X.size(); ++k) {
        const double M = log_mean(H[k - 1], H[k]);
        if (M > 0.0) S += std::fabs(X[k] - X[k - 1]) / M;
    }
    return S;
}

void subdivide_case(input& in) {
    const unsigned N = in.small(kMaxEntries);
    const unsigned nsizes = in.small(7) == 0 ? in.small(kMaxEntries) : N;
    const bool wide = in.flag(); // abscissas far apart: metric lengths past 2^32
    dense1D<double> x = in.vector<double>(N, [&] { return wide ? in.pick<double>({0.0, 1e7, 1e12, -1e9}) : in.real(); });
    dense1D<double> h = in.vector<double>(nsizes, [&] { return wide ? in.pick<double>({1e-3, 2e-3, 1.0}) : in.size(); });
    dense1D<unsigned> chain = in.indices(in.small(6), N);
    const bool force_fine = in.flag(), even = in.flag();
    const unsigned nmin = in.count(12), nmax = in.count(40);
    dense1D<unsigned> out = in.out_indices();
    const auto x0 = snap(x);
    const auto h0 = snap(h);
    const auto out0 = snap(out);
    const long fail = in.failure_point();
    const input::memory_watch memory;
    int rc;
    {
        input::alloc_guard guard(fail);
        rc = tessora1d::subdivide(x, h, chain, force_fine, even, nmin, nmax, out);
    }
    const unsigned m = chain.size();
    unsigned largest = 0;
    for (unsigned c : chain) largest = std::max(largest, c);
    const bool bad_chain = m < 2 || largest >= N || largest >= nsizes;
    FUZZ_CHECK(is_code(rc, {0, -2, -6}));
    FUZZ_CHECK((rc == -2) == bad_chain);
    FUZZ_CHECK((rc == -6) == (!bad_chain && (nmin == 0 || nmax < nmin)));
    if (rc != 0) {
        FUZZ_CHECK(x0.same_as(x) && h0.same_as(h) && out0.same_as(out));
        return;
    }
    // The lists grew by the same number of new points; the chain runs first, new, last.
    const unsigned added = x.size() - N;
    FUZZ_CHECK(x.size() >= N && h.size() == nsizes + added);
    FUZZ_CHECK(out0.prefix_of(out));
    if (memory.short_of_memory()) return; // an append to the output chain may be skipped when memory is short
    FUZZ_CHECK(out.size() == out0.v.size() + 2 + added);
    const unsigned o = out0.v.size();
    FUZZ_CHECK(out[o] == chain[0] && out[o + added + 1] == chain[m - 1]);
    for (unsigned k = 0; k < added; ++k) FUZZ_CHECK(out[o + 1 + k] == N + k);
    const unsigned K = added + 1;
    if (added > 0) {
        FUZZ_CHECK(K >= nmin && (!even || K % 2 == 0));
        FUZZ_CHECK(K <= nmax || K - nmax <= 2u);
    }
    // Without injected failures and with a count that fits in memory, the count follows the
    // metric length: at least min(nmax, its whole part), nmin at the least.
    std::vector<double> X, H;
    for (unsigned c : chain) X.push_back(x0.v[c]), H.push_back(h0.v[c]);
    const double S = support_length(X, H);
    bool sizes_ok = true;
    for (double v : H) sizes_ok = sizes_ok && std::isfinite(v) && v > 0.0; // a size that is no size counts 0
    if (fail < 0 && nmax <= 100000 && sizes_ok && std::isfinite(S)) {
        const double whole = std::floor(S * (1.0 - 1e-6));
        const unsigned lower = whole >= double(nmax) ? nmax : static_cast<unsigned>(whole);
        FUZZ_CHECK(K >= std::max(lower, nmin));
    }
    // New points lie within the interval and new sizes within the support's sizes.
    double xlo = X[0], xhi = X[0], hlo = H[0], hhi = H[0];
    for (size_t k = 1; k < X.size(); ++k)
        xlo = std::min(xlo, X[k]), xhi = std::max(xhi, X[k]), hlo = std::min(hlo, H[k]), hhi = std::max(hhi, H[k]);
    const bool finite = sizes_ok && std::isfinite(xlo) && std::isfinite(xhi) && std::isfinite(hlo) && std::isfinite(hhi) &&
                        std::isfinite(S) && hlo > 0.0;
    for (unsigned k = 0; finite && k < added; ++k) {
        const double tol = 1e-9 * (std::fabs(xlo) + std::fabs(xhi)) + 1e-300;
        FUZZ_CHECK(x[N + k] >= xlo - tol && x[N + k] <= xhi + tol);
        // Linear in the fraction, so rounding is relative to the larger size.
        FUZZ_CHECK(h[nsizes + k] >= hlo - 1e-9 * hhi && h[nsizes + k] <= hhi * (1 + 1e-9));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input in(data, size);
    if (in.flag()) sort_case(in);
    else subdivide_case(in);
    return 0;
}
