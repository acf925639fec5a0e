#include <vx4/tessora.h>

#include <algorithm>
#include <limits>

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

// The two lowest distinct elements offered, in increasing order of offer.
struct lowest_two {
    unsigned first = none, second = none;
    void offer(unsigned e) {
        if (first == none) first = e;
        else if (second == none && e != first) second = e;
    }
    unsigned other_than(unsigned e) const { return first != e ? first : second; }
};

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
    if (E > std::numeric_limits<unsigned>::max() / 2) return -199;
    dense1D<incidence> ends;
    if (!ends.resize(2 * E)) return -199;
    for (unsigned e = 0; e < E; ++e) {
        ends[2 * e] = {connectivity(0, e), e, 0};
        ends[2 * e + 1] = {connectivity(1, e), e, 1};
    }
    std::sort(ends.begin(), ends.end(), [](const incidence& a, const incidence& b) {
        return a.node != b.node ? a.node < b.node : (a.element != b.element ? a.element < b.element : a.end < b.end);
    });

    for (unsigned first = 0; first < ends.size();) {
        unsigned last = first;
        while (last < ends.size() && ends[last].node == ends[first].node) ++last;
        const unsigned count = last - first;
        if (count > 1 && !(manifold_only && count > 2)) {
            // The incidences are sorted by element, so the two lowest candidates of each kind
            // (any end, start ends, end ends) answer every query at the node in linear time.
            lowest_two any, at_end[2];
            for (unsigned a = first; a < last; ++a) {
                any.offer(ends[a].element);
                at_end[ends[a].end].offer(ends[a].element);
            }
            for (unsigned a = first; a < last; ++a) {
                const unsigned self = ends[a].element;
                const unsigned head_to_tail = at_end[1 - ends[a].end].other_than(self);
                neighbours(slot_of(ends[a].end), self) = head_to_tail != none ? head_to_tail : any.other_than(self);
            }
        }
        first = last;
    }
    return 0;
}

} // namespace tessora
} // namespace vx4
