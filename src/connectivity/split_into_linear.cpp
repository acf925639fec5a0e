#include <vx4/tessora1d.h>

#include "connectivity/push_back_edge.h"

#include <limits>

namespace vx4 {
namespace tessora1d {

int split_into_linear(const dense2D<unsigned>& connectE3, dense2D<unsigned>& connectE2) {
    if (connectE3.empty()) return 0;
    if (connectE3.rows() != 3) return -1;
    // The row count alone decides here: a 3-row output without columns is still refused.
    if (connectE2.rows() != 0 && connectE2.rows() != 2) return -2;
    const unsigned p = connectE2.empty() ? 0u : connectE2.cols();
    const unsigned long long total = p + 2ull * connectE3.cols();
    if (total > std::numeric_limits<unsigned>::max()) return -199;
    if (!connectE2.reserve(2, static_cast<unsigned>(total), 1)) return -199;
    for (unsigned e = 0; e < connectE3.cols(); ++e) {
        const unsigned a = connectE3(0, e), b = connectE3(1, e), mid = connectE3(2, e);
        detail::push_back_edge(a, mid, connectE2);
        detail::push_back_edge(mid, b, connectE2);
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
