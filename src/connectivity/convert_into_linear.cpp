#include <vx4/tessora1d.h>

namespace vx4 {
namespace tessora1d {

int convert_into_linear(dense2D<unsigned>& connect) {
    if (connect.empty()) return 0;
    // Linear input is refused rather than passed through, so callers notice a wrong matrix.
    if (connect.rows() <= 2) return -1;
    // Dropping trailing rows keeps each column's leading entries (the end nodes) in place.
    connect.resize(2, connect.cols());
    return 0;
}

} // namespace tessora1d
} // namespace vx4
