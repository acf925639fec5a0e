#include <vx4/tessora1d.h>

#include <algorithm>
#include <cmath>

namespace vx4 {
namespace tessora1d {

namespace {

// One value with its identifier; a plain struct so that the container blocks can hold it.
struct keyed_id {
    double value;
    unsigned id;
};

// Value order with NaN placed after every number: a NaN compares neither below nor above
// anything, which would make the order cyclic and let the sort run past the array.
bool value_before(double a, double b) { return a < b || (std::isnan(b) && !std::isnan(a)); }

bool comes_before(const keyed_id& a, const keyed_id& b) {
    return value_before(a.value, b.value) || (!value_before(b.value, a.value) && a.id < b.id);
}

// The largest work array whose byte size still fits 32 bits.
constexpr unsigned max_sort_entries = 268435455u;

} // namespace

int sort(dense1D<double>& values, dense1D<unsigned>& ids) {
    const unsigned n = values.size();
    if (ids.size() != n) return -1;
    if (n == 0) return 0;
    if (n > max_sort_entries) return -199;
    // The work array comes from the container allocator and is released with its holder.
    Ptr<vector_num<keyed_id, 8>> work(vector_num<keyed_id, 8>::create(n));
    if (!work) return -199;
    keyed_id* pairs = work->data;
    for (unsigned i = 0; i < n; ++i) pairs[i] = {values[i], ids[i]};
    // Ties are broken by identifier, so the order is total and the method does not matter.
    std::sort(pairs, pairs + n, comes_before);
    for (unsigned i = 0; i < n; ++i) {
        values[i] = pairs[i].value;
        ids[i] = pairs[i].id;
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
