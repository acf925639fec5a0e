// Euclidean distance between two node columns, over every row of the coordinate matrix.
// Shared by the length queries, the straight-line mesher and the gradation service.
#pragma once

#include <vx4/math1.h>

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

inline double column_distance(const dense2D<double>& coords, unsigned a, unsigned b) {
    double sq = 0.0;
    for (unsigned r = 0; r < coords.rows(); ++r) {
        const double d = coords(r, b) - coords(r, a);
        sq += d * d;
    }
    return std::sqrt(sq);
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
