#include "line/chord_parameters.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// Length of the chord between two columns of a matrix, over its `rows` rows.
inline double chord(const double* a, const double* b, unsigned rows) {
    double sq = 0.0;
    for (unsigned r = 0; r < rows; ++r) sq += (b[r] - a[r]) * (b[r] - a[r]);
    return std::sqrt(sq);
}

} // namespace

bool chord_parameters::measure(const dense2D<double>& pos, const unsigned* map, unsigned n) {
    if (n == 0 || !kept_.resize((n - 1) / chord_stride + 1)) return false;
    pos_ = &pos;
    map_ = map;
    n_ = n;
    const double* x = pos.data();
    const std::size_t ld = pos.ld();
    const unsigned rows = pos.rows();
    double* kept = kept_.data();
    double sum = 0.0;
    kept[0] = sum;
    for (unsigned i = 1; i < n; ++i) {
        sum = sum + chord(x + map[i - 1] * ld, x + map[i] * ld, rows);
        if (i % chord_stride == 0) kept[i / chord_stride] = sum;
    }
    total_ = sum;
    last_ = before_ = 0;
    last_sum_ = before_sum_ = 0.0;
    return true;
}

double chord_parameters::running(unsigned i) const {
    if (i == last_) return last_sum_;
    if (i == before_) return before_sum_;
    // Start from the nearest known sum at or before i: its kept sum, or a cached one past it.
    unsigned k = i - i % chord_stride;
    double sum = kept_[i / chord_stride];
    if (last_ < i && last_ > k) {
        k = last_;
        sum = last_sum_;
    }
    if (before_ < i && before_ > k) {
        k = before_;
        sum = before_sum_;
    }
    if (k == i) {
        before_ = last_;
        before_sum_ = last_sum_;
    } else {
        const double* x = pos_->data();
        const std::size_t ld = pos_->ld();
        const unsigned rows = pos_->rows();
        for (; k + 1 < i; ++k) sum = sum + chord(x + map_[k] * ld, x + map_[k + 1] * ld, rows);
        before_ = k;
        before_sum_ = sum;
        sum = sum + chord(x + map_[k] * ld, x + map_[i] * ld, rows);
    }
    last_ = i;
    last_sum_ = sum;
    return sum;
}

unsigned chord_parameters::lower_bound(unsigned from, unsigned to, double s) const {
    // The list is non-decreasing, or, with non-finite coordinates, NaN but for its last entry or
    // zeros, then NaN, then 1. Either way the nodes at or after `from` whose parameter is >= s are
    // the first of them or a run at the end, so any exact search finds the stored list's answer.
    if (from >= to) return to;
    if ((*this)[from] >= s) return from;
    // The last kept node in (from, to) below s: the answer lies after it, within one stride.
    unsigned long long lo = from / chord_stride + 1, hi = (to - 1ull) / chord_stride + 1;
    const unsigned long long first = lo;
    while (lo < hi) {
        const unsigned long long mid = lo + (hi - lo) / 2;
        if (at_checkpoint(mid) >= s) hi = mid;
        else lo = mid + 1;
    }
    unsigned i = lo > first ? static_cast<unsigned>((lo - 1) * chord_stride) : from;
    // Forward from there one edge at a time, remembering the last two sums for the lookups of
    // the bracketing nodes that follow.
    double sum = running(i);
    const double* x = pos_->data();
    const std::size_t ld = pos_->ld();
    const unsigned rows = pos_->rows();
    for (; i + 1 < to; ++i) {
        const double next = sum + chord(x + map_[i] * ld, x + map_[i + 1] * ld, rows);
        const double p = i + 2 == n_ ? 1.0 : next / total_;
        if (p >= s) {
            before_ = i;
            before_sum_ = sum;
            last_ = i + 1;
            last_sum_ = next;
            return i + 1;
        }
        sum = next;
    }
    return to;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
