#include <vx4/tessora.h>

namespace vx4 {
namespace tessora {

namespace {

bool is_edge_kind(element_type kind) { return kind == edge2 || kind == edge3; }

} // namespace

bool check_IDs(const dense2D<unsigned>& connectivity, element_type kind, unsigned n) {
    if (connectivity.empty()) return true;
    // Edge kinds are read through rows 0 and 1 by every caller.
    if (is_edge_kind(kind) && connectivity.rows() < 2) return false;
    // No shortcut for the no-bound count: its own value is the neighbours' "none" marker and
    // is never a node, so "every index below n" is checked literally.
    for (unsigned j = 0; j < connectivity.cols(); ++j)
        for (unsigned i = 0; i < connectivity.rows(); ++i)
            if (connectivity(i, j) >= n) return false;
    return true;
}

bool check_IDs(const dense1D<unsigned>& indices, unsigned n) {
    for (unsigned k = 0; k < indices.size(); ++k)
        if (indices[k] >= n) return false;
    return true;
}

} // namespace tessora
} // namespace vx4
