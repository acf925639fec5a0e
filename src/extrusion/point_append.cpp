#include "extrusion/point_append.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

template <unsigned D>
bool push_back_point(dense2D<double>& coords, const vector_fixed<double, D>& point) {
    if (!coords.empty() && coords.rows() != D) return false;
    const unsigned p = coords.cols();
    if (p == std::numeric_limits<unsigned>::max()) return false;
    // Doubling keeps a run of appends linear; a failed reserve is caught by the resize below.
    if (p == coords.column_capacity()) {
        const unsigned doubled = p > std::numeric_limits<unsigned>::max() / 2 ? std::numeric_limits<unsigned>::max()
                                                                              : 2 * p;
        coords.reserve(D, std::max(doubled, 4u), 1);
    }
    if (!coords.resize(D, p + 1)) return false;
    double* column = coords.data() + std::size_t(p) * coords.ld();
    for (unsigned k = 0; k < D; ++k) column[k] = point[k];
    return true;
}

} // namespace

bool push_back_point2d(dense2D<double>& coords, const vector_fixed<double, 2>& point) {
    return push_back_point<2>(coords, point);
}

bool push_back_point3d(dense2D<double>& coords, const vector_fixed<double, 3>& point) {
    return push_back_point<3>(coords, point);
}

column_span column_view(dense2D<double>& coords, unsigned j) {
    double* first = coords.data();
    if (first) first += std::size_t(j) * coords.ld();
    return column_span{first, coords.rows(), coords.ld(), coords.cols()};
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
