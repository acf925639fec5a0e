#include <vx4/tessora.h>

#include <cmath>

namespace vx4 {
namespace tessora {

namespace {

// Writes the isotropic metric 1/h^2 I of each size into a 3-row (2-D) or 6-row (3-D) field.
template <unsigned Dim>
int iso_to_aniso(const dense1D<double>& sizes, dense2D<double>& metrics) {
    constexpr unsigned rows = Dim * (Dim + 1) / 2;
    const unsigned n = sizes.size();
    for (unsigned k = 0; k < n; ++k)
        if (!(sizes[k] > 0.0) || !std::isfinite(sizes[k])) return -1;
    dense2D<double> fresh;
    if (n > 0 && !fresh.resize(rows, n, 0.0)) return -199;
    for (unsigned k = 0; k < n; ++k) {
        const double lambda = 1.0 / (sizes[k] * sizes[k]);
        for (unsigned i = 0; i < Dim; ++i) fresh(i * (i + 1) / 2 + i, k) = lambda;
    }
    if (n == 0) fresh.resize(rows, 0);
    metrics = std::move(fresh);
    return 0;
}

} // namespace

int metrics_iso_to_aniso2d(const dense1D<double>& sizes, dense2D<double>& metrics) {
    return iso_to_aniso<2>(sizes, metrics);
}

int metrics_iso_to_aniso3d(const dense1D<double>& sizes, dense2D<double>& metrics) {
    return iso_to_aniso<3>(sizes, metrics);
}

} // namespace tessora
} // namespace vx4
