// Lower-bound search in a non-decreasing parameter list for queries that arrive in
// non-decreasing order, shared by the coordinate and the metric interpolation.
#pragma once

namespace vx4 {
namespace tessora1d {
namespace detail {

// First position i in [first, n) with p[i] >= s, or n when there is none (also for a NaN s).
// Gallops from `first` before bisecting, so a sweep of sorted queries over a list costs time
// linear in the two lengths instead of one full bisection per query.
inline unsigned lower_bound_from(const double* p, unsigned first, unsigned n, double s) {
    if (first >= n) return n;
    if (p[first] >= s) return first;
    // Invariant: p[lo] < s; the answer lies in (lo, hi].
    unsigned long long lo = first, step = 1, hi = n;
    for (;;) {
        const unsigned long long probe = lo + step;
        if (probe >= n) break;
        if (p[probe] >= s) {
            hi = probe;
            break;
        }
        lo = probe;
        step *= 2;
    }
    ++lo;
    while (lo < hi) {
        const unsigned long long mid = lo + (hi - lo) / 2;
        if (p[mid] >= s) hi = mid;
        else lo = mid + 1;
    }
    return static_cast<unsigned>(lo);
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
