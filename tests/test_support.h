// Shared helpers of the unit tests.
#pragma once

#include <vx4/math1.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace vx4test {

// Makes the container allocator refuse every allocation from the n-th one on, for one scope.
class failing_allocations {
public:
    explicit failing_allocations(long n = 0) { vx4::math1::fail_allocations_after(n); }
    ~failing_allocations() { vx4::math1::allow_all_allocations(); }
    failing_allocations(const failing_allocations&) = delete;
    failing_allocations& operator=(const failing_allocations&) = delete;
};

// A matrix of `rows` rows from its entries given column by column.
template <class T>
vx4::dense2D<T> columns(unsigned rows, std::initializer_list<T> entries) {
    vx4::dense2D<T> m(rows, static_cast<unsigned>(entries.size()) / rows);
    unsigned k = 0;
    for (const T& v : entries) {
        m(k % rows, k / rows) = v;
        ++k;
    }
    return m;
}

// The indices 0 .. n-1.
inline vx4::dense1D<unsigned> iota(unsigned n) {
    vx4::dense1D<unsigned> v(n);
    for (unsigned i = 0; i < n; ++i) v[i] = i;
    return v;
}

// The entries of a matrix column by column.
template <class T>
std::vector<T> entries(const vx4::dense2D<T>& m) {
    std::vector<T> v;
    for (unsigned j = 0; j < m.cols(); ++j)
        for (unsigned i = 0; i < m.rows(); ++i) v.push_back(m(i, j));
    return v;
}

// A line whose chain, re-meshed, grows denser over its first half: 4000 unit edges whose sizes
// alternate 0.3 and 2 (a chord of the chain across a node of size 2 measures longer than the
// polyline beneath it), then 6000 teeth under size 1, whose corners the chords cut, so that the
// count still falls. The second pass's nodes run hundreds of nodes ahead of the ones it reads.
struct lagging_line {
    static constexpr unsigned edges = 4000, teeth = 6000, n = edges + 1 + teeth;
    vx4::dense2D<double> pos;
    vx4::dense1D<double> sizes;

    explicit lagging_line(unsigned dim) : pos(dim, n, 0.0), sizes(n) {
        const double turn = 1.4;
        for (unsigned i = 0; i < n; ++i) {
            sizes[i] = i > edges ? 1.0 : (i % 2 ? 2.0 : 0.3);
            pos(0, i) = i <= edges ? i : edges + (i - edges) * std::cos(turn);
            pos(1, i) = i > edges && (i - edges) % 2 ? std::sin(turn) : 0.0;
        }
    }
};

// FNV-1a over the raw bytes of a run's codes and outputs: any changed bit changes the value.
class output_hash {
public:
    void bytes(const void* p, std::size_t n) {
        const unsigned char* b = static_cast<const unsigned char*>(p);
        for (std::size_t i = 0; i < n; ++i) value_ = (value_ ^ b[i]) * 1099511628211ull;
    }
    void add(int code) { bytes(&code, sizeof code); }
    void add(double x) { bytes(&x, sizeof x); }
    template <class T>
    void add(const vx4::dense1D<T>& v) {
        add(static_cast<int>(v.size()));
        for (unsigned i = 0; i < v.size(); ++i) bytes(&v[i], sizeof(T));
    }
    template <class T>
    void add(const vx4::dense2D<T>& m) {
        add(static_cast<int>(m.rows()));
        add(static_cast<int>(m.cols()));
        for (unsigned j = 0; j < m.cols(); ++j)
            for (unsigned i = 0; i < m.rows(); ++i) bytes(&m(i, j), sizeof(T));
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037ull;
};

} // namespace vx4test
