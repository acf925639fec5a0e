#include "extrusion/rotation_from_vector.h"

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

rodrigues_factors rodrigues_factors_of(double theta) {
    if (theta <= 0.1) {
        // Taylor series in s = theta^2, Horner form; the switch point is a fixed constant.
        const double s = theta * theta;
        const double a =
            1.0 + s * (-1.0 / 6.0 + s * (1.0 / 120.0 + s * (-1.0 / 5040.0 + s * (1.0 / 362880.0 - s / 39916800.0))));
        const double b = 0.5 + s * (-1.0 / 24.0 + s * (1.0 / 720.0 + s * (-1.0 / 40320.0 + s / 3628800.0)));
        return {a, b};
    }
    return {std::sin(theta) / theta, (1.0 - std::cos(theta)) * (1.0 / (theta * theta))};
}

rotation_matrix rotation_from_vector(const vector_fixed<double, 3>& w) {
    const double theta = std::sqrt(w[0] * w[0] + w[1] * w[1] + w[2] * w[2]);
    const rodrigues_factors f = rodrigues_factors_of(theta);

    const double K[3][3] = {{0.0, -w[2], w[1]}, {w[2], 0.0, -w[0]}, {-w[1], w[0], 0.0}};
    rotation_matrix rot;
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j < 3; ++j) {
            double k2 = 0.0;
            for (unsigned k = 0; k < 3; ++k) k2 += K[i][k] * K[k][j];
            rot.m[i][j] = f.a * K[i][j] + f.b * k2;
        }
    for (unsigned i = 0; i < 3; ++i) rot.m[i][i] += 1.0;
    return rot;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
