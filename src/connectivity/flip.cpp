#include <vx4/tessora1d.h>

#include <algorithm>

namespace vx4 {
namespace tessora1d {

int flip(dense2D<unsigned>& connect) {
    if (connect.rows() < 2 || connect.cols() == 0) return 0;
    // The whole column is reversed, interior nodes included: (a, b, m) becomes (m, b, a).
    const unsigned rows = connect.rows();
    for (unsigned e = 0; e < connect.cols(); ++e) {
        unsigned* column = &connect(0, e);
        std::reverse(column, column + rows);
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
