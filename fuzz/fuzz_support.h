// Shared pieces of the fuzz harnesses: decoding bytes into the odd inputs callers can pass
// (views into larger storage, out-of-range indices, non-finite and huge values, failing
// allocations) and the checks that turn a contract breach into a finding.
#pragma once

#include <vx4/math1.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <type_traits>
#include <vector>

// A breach of a documented property is a finding, exactly like a sanitizer report.
#define FUZZ_CHECK(cond)                                                                          \
    do {                                                                                          \
        if (!(cond)) {                                                                            \
            std::fprintf(stderr, "contract breach: %s (%s:%d)\n", #cond, __FILE__, __LINE__);     \
            std::abort();                                                                         \
        }                                                                                         \
    } while (0)

namespace vx4fuzz {

constexpr unsigned kNoBound = std::numeric_limits<unsigned>::max();
constexpr double kNoLimit = DBL_MAX;

// Small shapes keep each run fast; the interesting faults live in values and layouts.
constexpr unsigned kMaxEntries = 24;

class input {
public:
    input(const uint8_t* data, size_t size) : p_(data, size) {}

    bool flag() { return p_.ConsumeBool(); }
    unsigned small(unsigned most) { return p_.ConsumeIntegralInRange<unsigned>(0, most); }
    template <class T>
    T pick(std::initializer_list<T> values) {
        return values.begin()[p_.ConsumeIntegralInRange<size_t>(0, values.size() - 1)];
    }

    // A real from the values that break arithmetic, or an ordinary one.
    double real() {
        switch (small(5)) {
        case 0:
            return pick<double>({0.0, -0.0, 1.0, -1.0, 0.5, 1e-3, 1e7, 1e10, 4294967296.0, DBL_MAX, -DBL_MAX,
                                 HUGE_VAL, -HUGE_VAL, std::nan(""), 4.9406564584124654e-324, DBL_MIN, 1e-300,
                                 1e300, 1e-154, 1e154});
        case 1:
            return p_.ConsumeFloatingPoint<double>();
        default:
            return p_.ConsumeFloatingPointInRange<double>(-10.0, 10.0);
        }
    }
    // A positive size most of the time, any real otherwise.
    double size() {
        if (small(3) == 0) return real();
        return p_.ConsumeFloatingPointInRange<double>(0.05, 5.0);
    }
    // A count: mostly small, sometimes at the edges of the 32-bit range.
    unsigned count(unsigned usual) {
        if (small(7) == 0) return pick<unsigned>({0u, 1u, 65535u, 65536u, 2147483648u, kNoBound - 1, kNoBound});
        return small(usual);
    }
    // An index into n things: mostly valid, sometimes just past the end or the "none" marker.
    unsigned index(unsigned n) {
        if (small(9) == 0) return pick<unsigned>({n, n + 1, kNoBound - 1, kNoBound});
        return n == 0 ? 0 : small(n - 1);
    }
    // Allocations fail from a decoded point on, for the scope of the returned guard.
    struct alloc_guard {
        explicit alloc_guard(long n) {
            if (n >= 0) vx4::math1::fail_allocations_after(n);
        }
        ~alloc_guard() { vx4::math1::allow_all_allocations(); }
        alloc_guard(const alloc_guard&) = delete;
        alloc_guard& operator=(const alloc_guard&) = delete;
    };
    long failure_point() { return small(7) == 0 ? static_cast<long>(small(12)) : -1; }
    // Whether an allocation failed since it was made: at the decoded failure point, or in the
    // system (one past the run's size cap). Either way the call may have taken a memory-short
    // path that leaves outputs short without a code; otherwise every promise must hold in full.
    struct memory_watch {
        long start = vx4::math1::refused_allocations();
        bool short_of_memory() const { return vx4::math1::refused_allocations() != start; }
    };

    // A matrix of `rows` x `cols`, sometimes a window into a larger one (offset, ld > rows).
    template <class T, class Gen>
    vx4::dense2D<T> matrix(unsigned rows, unsigned cols, Gen gen) {
        const bool window = flag();
        const unsigned r0 = window ? small(2) : 0, c0 = window ? small(2) : 0;
        const unsigned extra = window ? small(2) : 0;
        vx4::dense2D<T> whole(rows + r0 + extra, cols + c0 + extra, T());
        for (unsigned j = 0; j < whole.cols(); ++j)
            for (unsigned i = 0; i < whole.rows(); ++i) whole(i, j) = gen();
        if (!window) return whole;
        return whole.sub_matrix(r0, c0, rows, cols);
    }
    vx4::dense2D<double> reals(unsigned rows, unsigned cols) {
        return matrix<double>(rows, cols, [this] { return real(); });
    }
    // A vector of n entries, sometimes a view into the middle of a larger block.
    template <class T, class Gen>
    vx4::dense1D<T> vector(unsigned n, Gen gen) {
        const unsigned before = flag() ? small(3) : 0;
        vx4::dense1D<T> whole(n + before + small(1), T());
        for (unsigned k = 0; k < whole.size(); ++k) whole[k] = gen();
        if (before == 0) { whole.resize(n); return whole; }
        return whole.sub_vector(before, n);
    }
    vx4::dense1D<unsigned> indices(unsigned n, unsigned bound) {
        return vector<unsigned>(n, [this, bound] { return index(bound); });
    }
    // Values that do not decrease, sometimes with a step back or a NaN.
    vx4::dense1D<double> ascending(unsigned n) {
        double v = p_.ConsumeFloatingPointInRange<double>(-1.0, 1.0);
        return vector<double>(n, [this, &v] {
            const double step = small(15) == 0 ? real() : p_.ConsumeFloatingPointInRange<double>(0.0, 1.0);
            v += step;
            return v;
        });
    }
    // Ordinary coordinates (most runs) or any reals.
    vx4::dense2D<double> coords(unsigned rows, unsigned cols) {
        if (small(3) == 0) return reals(rows, cols);
        return matrix<double>(rows, cols, [this] { return p_.ConsumeFloatingPointInRange<double>(-10.0, 10.0); });
    }
    // An output container: empty, or holding earlier content (sometimes of the wrong shape).
    vx4::dense1D<unsigned> out_indices() { return vector<unsigned>(small(3), [this] { return small(1000); }); }
    vx4::dense1D<double> out_reals() { return vector<double>(small(3), [this] { return real(); }); }
    vx4::dense2D<double> out_matrix(unsigned usual_rows) {
        const unsigned rows = flag() ? usual_rows : small(7);
        return reals(rows, small(2));
    }
    vx4::dense2D<unsigned> out_connect(unsigned usual_rows) {
        const unsigned rows = flag() ? usual_rows : small(4);
        return matrix<unsigned>(rows, small(2), [this] { return small(50); });
    }

    FuzzedDataProvider& raw() { return p_; }

private:
    FuzzedDataProvider p_;
};

// The logical entries of a container, to compare before and after a call.
template <class T>
struct snapshot {
    unsigned rows = 0, cols = 0;
    std::vector<T> v;
    snapshot() = default;
    explicit snapshot(const vx4::dense1D<T>& a) : rows(a.size()), cols(1), v(a.begin(), a.end()) {}
    explicit snapshot(const vx4::dense2D<T>& m) : rows(m.rows()), cols(m.cols()) {
        for (unsigned j = 0; j < m.cols(); ++j)
            for (unsigned i = 0; i < m.rows(); ++i) v.push_back(m(i, j));
    }
    // The container still has these entries bit for bit (so NaN equals NaN), and its shape.
    bool same_as(const vx4::dense1D<T>& now) const {
        return rows == now.size() && (v.empty() || std::memcmp(v.data(), now.data(), v.size() * sizeof(T)) == 0);
    }
    bool same_as(const vx4::dense2D<T>& now) const {
        if (rows != now.rows() || cols != now.cols()) return false;
        for (unsigned j = 0; j < cols; ++j)
            if (rows && std::memcmp(&now(0, j), &v[std::size_t(j) * rows], rows * sizeof(T)) != 0) return false;
        return true;
    }
    // True when `now` starts with these entries (an output that was appended to).
    bool prefix_of(const vx4::dense1D<T>& now) const {
        if (v.size() > now.size()) return false;
        return v.empty() || std::memcmp(v.data(), now.data(), v.size() * sizeof(T)) == 0;
    }
};
template <class C>
auto snap(const C& c) { return snapshot<std::remove_cv_t<std::remove_reference_t<decltype(*c.data())>>>(c); }

// A matrix that grew by columns keeps its former columns unchanged.
template <class T>
bool kept_columns(const snapshot<T>& before, const vx4::dense2D<T>& now) {
    if (before.rows * before.cols == 0) return true;
    if (now.rows() != before.rows || now.cols() < before.cols) return false;
    for (unsigned j = 0; j < before.cols; ++j)
        for (unsigned i = 0; i < before.rows; ++i)
            if (std::memcmp(&now(i, j), &before.v[std::size_t(j) * before.rows + i], sizeof(T)) != 0) return false;
    return true;
}

// Mean size of an edge whose size varies linearly from h0 to h1, computed independently of
// the library (log1p, and its first terms for nearly equal sizes, where the logarithm cancels).
inline double log_mean(double h0, double h1) {
    const double lo = h0 < h1 ? h0 : h1, hi = h0 < h1 ? h1 : h0;
    const double d = (hi - lo) / lo;
    if (!(d >= 1e-6)) return lo * (1.0 + d / 2.0);
    return (hi - lo) / std::log1p(d);
}

inline bool is_code(int rc, std::initializer_list<int> allowed) {
    for (int a : allowed)
        if (rc == a) return true;
    return false;
}

} // namespace vx4fuzz
