#include <vx4/tessora1d.h>

#include "spline/spline_cubic.h"

namespace vx4 {
namespace tessora1d {

namespace {

template <unsigned D>
int spline_point_worker(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3, double t,
                        vector_fixed<double, D>& point) {
    if (coords.rows() != D) return -1;
    const unsigned n = coords.cols();
    if (P0 >= n) return -2;
    if (P1 >= n) return -3;
    if (P2 >= n) return -4;
    if (P3 >= n) return -5;
    detail::spline_segment<D> segment;
    detail::spline_coefficients<D>(coords, P0, P1, P2, P3, segment);
    for (unsigned i = 0; i < D; ++i) point[i] = detail::spline_coordinate<D>(segment, i, t);
    return 0;
}

} // namespace

int spline_point(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3, double t,
                 vector_fixed<double, 2>& point) {
    return spline_point_worker<2>(coords, P0, P1, P2, P3, t, point);
}

int spline_point(const dense2D<double>& coords, unsigned P0, unsigned P1, unsigned P2, unsigned P3, double t,
                 vector_fixed<double, 3>& point) {
    return spline_point_worker<3>(coords, P0, P1, P2, P3, t, point);
}

} // namespace tessora1d
} // namespace vx4
