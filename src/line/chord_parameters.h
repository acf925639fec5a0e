// Chord-length parameters of a polyline produced on demand: node i gets its running chord length
// over the total (the last node exactly 1), the parameters the mesher gives a line that comes
// without any. Stored, they would be the largest array a one-shot call touches.
#pragma once

#include <vx4/math1.h>

namespace vx4 {
namespace tessora1d {
namespace detail {

// The running chord length is kept every `chord_stride` nodes by the one sweep that measures the
// total; a value between is summed forward from there in the sweep's order, so it has the bits of
// a stored list at half a byte per node instead of eight. A lookup that lands far from the last
// one sums up to 15 edges (a square root and a division each), which keeps the searches of a
// chain's nodes on a long polyline well below the cost of measuring it.
constexpr unsigned chord_stride = 16;

class chord_parameters {
public:
    // Sweeps the polyline whose node i is column map[i] of *pos (all rows). The matrix is read
    // through `pos` at every lookup, so it may grow (and its block move) in between. False when the
    // kept sums cannot be allocated.
    bool measure(const dense2D<double>& pos, const unsigned* map, unsigned n);

    // The polyline's chord length: the divisor of every parameter.
    double total() const { return total_; }
    // The parameter of node i < n.
    double operator[](unsigned i) const { return i + 1 == n_ ? 1.0 : running(i) / total_; }
    // First i in [from, to) whose parameter is >= s, or `to` when there is none: the answer of
    // lower_bound_from over the stored list, found through the kept sums.
    unsigned lower_bound(unsigned from, unsigned to, double s) const;

private:
    double running(unsigned i) const;
    double at_checkpoint(unsigned long long k) const {
        const unsigned long long i = k * chord_stride;
        return i + 1 == n_ ? 1.0 : kept_[static_cast<unsigned>(k)] / total_;
    }

    const dense2D<double>* pos_ = nullptr;
    const unsigned* map_ = nullptr;
    unsigned n_ = 0;
    double total_ = 0.0;
    dense1D<double> kept_;
    // The last two running sums computed; lookups along a sweep mostly ask for these again.
    mutable unsigned last_ = 0, before_ = 0;
    mutable double last_sum_ = 0.0, before_sum_ = 0.0;
};

} // namespace detail
} // namespace tessora1d
} // namespace vx4
