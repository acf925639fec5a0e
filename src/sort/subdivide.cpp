#include <vx4/tessora1d.h>

#include "line/size_model.h"

#include <cmath>
#include <limits>

namespace vx4 {
namespace tessora1d {

namespace {

constexpr unsigned max_count = std::numeric_limits<unsigned>::max();

// The support of the interval: abscissa and size of each chain node, read through the chain
// rather than gathered, so that no work storage is needed however long the chain is.
struct interval_support {
    const dense1D<double>& abscissas;
    const dense1D<double>& sizes;
    const dense1D<unsigned>& chain;

    unsigned count() const { return chain.size(); }
    double x(unsigned k) const { return abscissas[chain[k]]; }
    double h(unsigned k) const { return sizes[chain[k]]; }

    // Metric length of support segment k (from node k-1 to node k), sizes varying linearly.
    double segment_length(unsigned k) const {
        const double M = detail::logarithmic_mean(h(k - 1), h(k));
        return M > 0.0 ? std::fabs(x(k) - x(k - 1)) / M : 0.0;
    }
};

double metric_length(const interval_support& support) {
    double L = 0.0;
    for (unsigned k = 1; k < support.count(); ++k) L += support.segment_length(k);
    return L;
}

// Segment count for metric length S: rounded (to an even count with `even`), clamped to
// [nmin, nmax], then raised by one for force_fine and once more for parity, possibly past nmax.
unsigned interval_segment_count(double S, bool even, bool force_fine, unsigned nmin, unsigned nmax) {
    unsigned K = detail::segment_count(S, even ? 2u : 1u);
    if (K == 0) K = 1;
    if (K < nmin) K = nmin;
    if (K > nmax) K = nmax;
    if (force_fine && static_cast<double>(K) < S && K < max_count) ++K;
    if (even && K % 2 == 1 && K < max_count) ++K;
    return K;
}

// Cuts the interval into segments of equal metric length and appends the K - 1 interior
// points to `new_x` and `new_h` (nothing when their room cannot be had). Returns the
// interval's metric length.
double subdivide_interval(const interval_support& support, bool even, bool force_fine, unsigned nmin, unsigned nmax,
                          dense1D<double>& new_x, dense1D<double>& new_h) {
    const double S = metric_length(support);
    const unsigned K = interval_segment_count(S, even, force_fine, nmin, nmax);
    if (K <= 1) return S;

    const unsigned nx = new_x.size(), nh = new_h.size();
    const unsigned long long added = K - 1ull;
    if (nx + added > max_count || nh + added > max_count) return S;
    if (!new_x.reserve(static_cast<unsigned>(nx + added)) || !new_h.reserve(static_cast<unsigned>(nh + added)))
        return S;
    new_x.resize(static_cast<unsigned>(nx + added));
    new_h.resize(static_cast<unsigned>(nh + added));

    // The cumulative lengths are rebuilt segment by segment in the order of metric_length,
    // so the last one equals S exactly; the targets increase, so the search only moves on.
    const unsigned last = support.count() - 1;
    const double step = S / K;
    unsigned k = 1;
    double L0 = 0.0, L1 = support.segment_length(1);
    for (unsigned i = 1; i < K; ++i) {
        const double T = i * step;
        while (!(L1 >= T) && k < last) {
            ++k;
            L0 = L1;
            L1 = L0 + support.segment_length(k);
        }
        const double u = L0 < L1 ? (T - L0) / (L1 - L0) : 0.0;
        const double x0 = support.x(k - 1), x1 = support.x(k);
        const double h0 = support.h(k - 1), h1 = support.h(k);
        const double f = h0 == h1 ? u : detail::progression_fraction(u, h0, h1);
        // Abscissas of opposite signs near the largest double span more than it: then each end
        // takes its share, which keeps the point between them.
        const double span = x1 - x0;
        new_x[nx + i - 1] = std::isfinite(span) ? x0 + span * f : x0 * (1.0 - f) + x1 * f;
        new_h[nh + i - 1] = h0 + (h1 - h0) * f;
    }
    return S;
}

} // namespace

int subdivide(dense1D<double>& abscissas, dense1D<double>& sizes, const dense1D<unsigned>& chain, bool force_fine,
              bool even, unsigned nmin, unsigned nmax, dense1D<unsigned>& out) {
    const unsigned N = abscissas.size();
    const unsigned m = chain.size();
    if (m < 2) return -2;
    unsigned largest = 0;
    for (unsigned k = 0; k < m; ++k) largest = chain[k] > largest ? chain[k] : largest;
    if (largest >= N) return -2;
    // A size list too short for the chain would be read past its end; refuse it with the chain.
    if (largest >= sizes.size()) return -2;
    if (nmin == 0 || nmax < nmin) return -6;

    const unsigned first = chain[0], final_node = chain[m - 1];
    const interval_support support{abscissas, sizes, chain};
    subdivide_interval(support, even, force_fine, nmin, nmax, abscissas, sizes);

    out.push_back(first);
    for (unsigned node = N; node < abscissas.size(); ++node) out.push_back(node);
    out.push_back(final_node);
    return 0;
}

} // namespace tessora1d
} // namespace vx4
