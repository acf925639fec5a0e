#include <vx4/tessora.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace vx4 {
namespace tessora {

namespace {

constexpr unsigned none = std::numeric_limits<unsigned>::max();

// One end of one edge: the node, the element and which end (0 start, 1 end).
struct incidence {
    unsigned node;
    unsigned element;
    unsigned end;
};

// Slot of the neighbour across an end: slot 0 holds the element across the end node.
unsigned slot_of(unsigned end) { return end == 1 ? 0u : 1u; }

} // namespace

int get_neighbors(const dense2D<unsigned>& connectivity, element_type kind, bool manifold_only,
                  dense2D<unsigned>& neighbours) {
    if (kind != edge2 && kind != edge3) return -1;
    const unsigned E = connectivity.empty() ? 0u : connectivity.cols();
    if (E > 0 && connectivity.rows() < 2) return -1;
    if (!neighbours.resize(2, E, none)) return -199;
    for (unsigned e = 0; e < E; ++e) neighbours(0, e) = neighbours(1, e) = none;
    if (E == 0) return 0;

    // Sorting the 2E incidences by node groups the edges meeting at each node in O(E log E),
    // whatever the range of the node indices.
    std::vector<incidence> ends;
    try {
        ends.reserve(2 * static_cast<std::size_t>(E));
    } catch (...) {
        return -199;
    }
    for (unsigned e = 0; e < E; ++e) {
        ends.push_back({connectivity(0, e), e, 0});
        ends.push_back({connectivity(1, e), e, 1});
    }
    std::sort(ends.begin(), ends.end(), [](const incidence& a, const incidence& b) {
        return a.node != b.node ? a.node < b.node : (a.element != b.element ? a.element < b.element : a.end < b.end);
    });

    for (std::size_t first = 0; first < ends.size();) {
        std::size_t last = first;
        while (last < ends.size() && ends[last].node == ends[first].node) ++last;
        const std::size_t count = last - first;
        if (count > 1 && !(manifold_only && count > 2)) {
            for (std::size_t a = first; a < last; ++a) {
                unsigned head_to_tail = none, any_other = none;
                for (std::size_t b = first; b < last && head_to_tail == none; ++b) {
                    if (ends[b].element == ends[a].element) continue;
                    if (any_other == none) any_other = ends[b].element;
                    if (ends[b].end != ends[a].end) head_to_tail = ends[b].element;
                }
                neighbours(slot_of(ends[a].end), ends[a].element) = head_to_tail != none ? head_to_tail : any_other;
            }
        }
        first = last;
    }
    return 0;
}

} // namespace tessora
} // namespace vx4
