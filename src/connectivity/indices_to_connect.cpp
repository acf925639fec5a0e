#include <vx4/tessora1d.h>

#include <limits>

namespace vx4 {
namespace tessora1d {

namespace {

// Makes room for `added` more columns of `rows` rows after the existing ones and sets the new
// shape, `first` being the first new column. False, unchanged, when the room cannot be had.
bool grow_columns(dense2D<unsigned>& connect, unsigned rows, unsigned added, unsigned& first) {
    first = connect.empty() ? 0u : connect.cols();
    const unsigned long long total = static_cast<unsigned long long>(first) + added;
    if (total > std::numeric_limits<unsigned>::max()) return false;
    // The resize is checked too: an empty matrix that kept a wider leading dimension from an
    // earlier shape is laid out with it and may need more than the reserve gave.
    const unsigned cols = static_cast<unsigned>(total);
    return connect.reserve(rows, cols, 2) && connect.resize(rows, cols);
}

} // namespace

int indices_to_connectE2(const dense1D<unsigned>& indices, dense2D<unsigned>& connect) {
    const unsigned n = indices.size();
    if (n == 0) return 0;
    if (n == 1) return -1;
    if (!connect.empty() && connect.rows() != 2) return -2;
    unsigned p = 0;
    if (!grow_columns(connect, 2, n - 1, p)) return -199;
    for (unsigned k = 0; k + 1 < n; ++k) {
        connect(0, p + k) = indices[k];
        connect(1, p + k) = indices[k + 1];
    }
    return 0;
}

int indices_to_connectE3(const dense1D<unsigned>& indices, dense2D<unsigned>& connect) {
    const unsigned n = indices.size();
    if (n == 0) return 0;
    if (n < 3 || n % 2 == 0) return -1;
    if (!connect.empty() && connect.rows() != 3) return -2;
    const unsigned m = (n - 1) / 2;
    unsigned p = 0;
    if (!grow_columns(connect, 3, m, p)) return -199;
    for (unsigned k = 0; k < m; ++k) {
        connect(0, p + k) = indices[2 * k];
        connect(1, p + k) = indices[2 * k + 2];
        connect(2, p + k) = indices[2 * k + 1];
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
