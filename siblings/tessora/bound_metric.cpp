#include <vx4/tessora.h>

#include "metrics/metric_algebra.h"

#include <climits>

namespace vx4 {
namespace tessora {

namespace {

namespace algebra = tessora1d::detail;

template <unsigned N>
int bound(symmetric_fixed<double, N>& metric, double hmin, double hmax) {
    const bool valid = N == 2 ? algebra::is_valid_metric_2d(metric.v) : algebra::is_valid_metric_3d(metric.v);
    if (!valid) return -1;
    // Work on a copy: a clamp that would lose definiteness to rounding must not leak out.
    symmetric_fixed<double, N> clamped = metric;
    const bool changed = N == 2 ? algebra::bound_metric_sizes_2d(clamped.v, hmin, hmax)
                                : algebra::bound_metric_sizes_3d(clamped.v, hmin, hmax);
    if (!changed) return 0;
    metric = clamped;
    return 1;
}

} // namespace

int bound_metric(symmetric_fixed<double, 2>& metric, double hmin, double hmax) { return bound(metric, hmin, hmax); }

int bound_metric(symmetric_fixed<double, 3>& metric, double hmin, double hmax) { return bound(metric, hmin, hmax); }

int bound_metrics(dense1D<double>& sizes, double hmin, double hmax) {
    // Same order as the metric form: the lower bound first, so hmax wins when hmin > hmax.
    int changed = 0;
    for (unsigned k = 0; k < sizes.size(); ++k) {
        const double h = sizes[k];
        double clamped = h;
        if (hmin > 0.0 && clamped < hmin) clamped = hmin;
        if (hmax > 0.0 && clamped > hmax) clamped = hmax;
        if (clamped < h || clamped > h) {
            sizes[k] = clamped;
            if (changed < INT_MAX) ++changed;
        }
    }
    return changed;
}

} // namespace tessora
} // namespace vx4
