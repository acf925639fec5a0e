#include <vx4/tessora.h>

#include "metrics/metric_algebra.h"

#include <cmath>

namespace vx4 {
namespace tessora {

namespace {

namespace algebra = tessora1d::detail;

template <unsigned N>
bool is_all_zero(const symmetric_fixed<double, N>& m) {
    for (unsigned k = 0; k < m.packed_size; ++k)
        if (m[k] != 0.0) return false;
    return true;
}

template <unsigned N>
bool is_all_finite(const symmetric_fixed<double, N>& m) {
    for (unsigned k = 0; k < m.packed_size; ++k)
        if (!std::isfinite(m[k])) return false;
    return true;
}

template <unsigned N>
struct common_frame;
template <>
struct common_frame<2> {
    algebra::reduced_metric_pair_2d pair;
    bool reduce(const double* a, const double* b) { return algebra::reduce_metric_pair_2d(a, b, pair); }
    void rebuild(const double* lambda, double* out) const { algebra::metric_from_eigen_2d(pair.Q, lambda, out); }
};
template <>
struct common_frame<3> {
    algebra::reduced_metric_pair_3d pair;
    bool reduce(const double* a, const double* b) { return algebra::reduce_metric_pair_3d(a, b, pair); }
    void rebuild(const double* lambda, double* out) const { algebra::metric_from_eigen_3d(pair.Q, lambda, out); }
};

// In the frame where both metrics are diagonal, the finer of the two eigenvalues along each
// common direction gives the largest metric whose unit ball lies inside both.
template <unsigned N>
bool intersect(const symmetric_fixed<double, N>& a, const symmetric_fixed<double, N>& b,
               symmetric_fixed<double, N>& result) {
    if (is_all_zero(a)) {
        result = b;
        return true;
    }
    if (is_all_zero(b)) {
        result = a;
        return true;
    }
    common_frame<N> frame;
    // The reduction needs its first metric definite; a merely semi-definite one can go second.
    if (!is_all_finite(a) || !is_all_finite(b) || (!frame.reduce(a.v, b.v) && !frame.reduce(b.v, a.v))) {
        result = b;
        return false;
    }
    double lambda[N];
    for (unsigned k = 0; k < N; ++k)
        lambda[k] = frame.pair.lambda0[k] > frame.pair.lambda1[k] ? frame.pair.lambda0[k] : frame.pair.lambda1[k];
    symmetric_fixed<double, N> out;
    frame.rebuild(lambda, out.v);
    result = out;
    return true;
}

} // namespace

bool minimum_metric(const symmetric_fixed<double, 2>& a, const symmetric_fixed<double, 2>& b,
                    symmetric_fixed<double, 2>& result) {
    return intersect(a, b, result);
}

bool minimum_metric(const symmetric_fixed<double, 3>& a, const symmetric_fixed<double, 3>& b,
                    symmetric_fixed<double, 3>& result) {
    return intersect(a, b, result);
}

} // namespace tessora
} // namespace vx4
