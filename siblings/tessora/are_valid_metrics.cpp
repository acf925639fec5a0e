#include <vx4/tessora.h>

#include "metrics/metric_algebra.h"

#include <cmath>

namespace vx4 {
namespace tessora {

namespace {

bool is_usable_size(double h) { return h > 0.0 && std::isfinite(h); }

} // namespace

bool are_valid_metrics(const dense1D<double>& sizes) {
    for (unsigned k = 0; k < sizes.size(); ++k)
        if (!is_usable_size(sizes[k])) return false;
    return true;
}

bool are_valid_metrics(const dense2D<double>& metrics) {
    const unsigned rows = metrics.rows();
    if (rows != 1 && rows != 3 && rows != 6) return false;
    double column[6];
    for (unsigned j = 0; j < metrics.cols(); ++j) {
        for (unsigned i = 0; i < rows; ++i) column[i] = metrics(i, j);
        const bool ok = rows == 1   ? is_usable_size(column[0])
                        : rows == 3 ? tessora1d::detail::is_valid_metric_2d(column)
                                    : tessora1d::detail::is_valid_metric_3d(column);
        if (!ok) return false;
    }
    return true;
}

} // namespace tessora
} // namespace vx4
