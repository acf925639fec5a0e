#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include <limits>
#include <utility>

namespace vx4 {
namespace tessora1d {

namespace {

// Per-call state of the breadth-first walk: one visited bit per element and a first-in
// first-out queue. An element is marked when taken from the queue, so it may be queued more
// than once; each element queues at most one entry per neighbour slot, which bounds the queue.
class reorient_walk {
public:
    reorient_walk(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors)
        : connect_(connect), neighbors_(neighbors), E_(connect.cols()), slots_(neighbors.rows()) {}

    // Reserves the visited bits and the queue; false when memory is short.
    bool prepare() {
        const unsigned long long queue_room = static_cast<unsigned long long>(slots_) * E_ + 1;
        if (queue_room > std::numeric_limits<unsigned>::max()) return false;
        return visited_.resize(E_ / 32 + 1, 0u) && queue_.resize(static_cast<unsigned>(queue_room));
    }

    bool is_visited(unsigned e) const { return (visited_[e / 32] >> (e % 32)) & 1u; }

    // Orients the component of `s` after s's own orientation, updating the turn counter `r`.
    void traverse(unsigned s, int& r) {
        unsigned head = 0, tail = 0;
        queue_[tail++] = s;
        while (head < tail) {
            const unsigned e = queue_[head++];
            if (is_visited(e)) continue;
            visited_[e / 32] |= 1u << (e % 32);
            for (unsigned i = 0; i < slots_; ++i) {
                const unsigned n = neighbors_(i, e);
                if (n >= E_ || is_visited(n)) continue;
                // Slot 0 lies across e's end node, every other slot across its start node.
                const unsigned shared = i == 0 ? connect_(1, e) : connect_(0, e);
                if (shared == connect_(0, n)) turn_unless(n, 0, i, r);
                else if (shared == connect_(1, n)) turn_unless(n, 1, i, r);
                else r = -2; // the neighbour data do not match the connectivity
                queue_[tail++] = n;
                if (r < 0) break;
            }
        }
    }

private:
    // Turns n around when the row j holding the shared node is not the slot's own index;
    // only the end nodes and their neighbour slots move, interior nodes stay put.
    void turn_unless(unsigned n, unsigned j, unsigned slot, int& r) {
        if (j == slot) return;
        std::swap(connect_(0, n), connect_(1, n));
        std::swap(neighbors_(0, n), neighbors_(1, n));
        ++r;
    }

    dense2D<unsigned>& connect_;
    dense2D<unsigned>& neighbors_;
    const unsigned E_;
    const unsigned slots_;
    dense1D<unsigned> visited_;
    dense1D<unsigned> queue_;
};

} // namespace

int mesh_reorient(dense2D<unsigned>& connect, dense2D<unsigned>& neighbors, unsigned start, int all) {
    const unsigned E = connect.cols();
    if (E == 0) return 0;
    if (!tessora::check_IDs(connect, edge2, std::numeric_limits<unsigned>::max())) return -1;
    if (neighbors.rows() != connect.rows() || neighbors.cols() != E) return -2;
    if (start >= E) return -3;

    int r = 0;
    reorient_walk walk(connect, neighbors);
    // Without room for the walk nothing is oriented; the count of turns (none) is the result.
    if (!walk.prepare()) return r;
    for (unsigned s = start;;) {
        while (s < E && walk.is_visited(s)) ++s;
        if (s == E) break;
        walk.traverse(s, r);
        if (all == 0) break;
    }
    return r;
}

} // namespace tessora1d
} // namespace vx4
