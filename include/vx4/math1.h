// Dense containers of namespace vx4: vectors and column-major matrices that are views over
// shared, reference-counted storage, plus small fixed-size vectors and symmetric matrices.
//
// Copying a dense1D or dense2D shares its storage (a view); `copy` makes a deep copy.
// Every operation that can allocate returns false when memory cannot be had and leaves the
// container usable. Reference counts are atomic; the entries themselves are not locked.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace vx4 {
namespace math1 {

// The containers are header-only: the raw storage below is inline, so a program that includes
// this header links nothing for it, and each shared library keeps its own copy of the test hook.

namespace detail {
// Allocations left before failures start; negative means never fail.
inline std::atomic<long> allocations_before_failure{-1};

// Allocations that returned null so far, refused by the hook or by the system.
inline std::atomic<long> allocations_refused{0};

inline bool allocation_refused() noexcept {
    long left = allocations_before_failure.load(std::memory_order_relaxed);
    while (left >= 0) {
        if (left == 0) {
            allocations_refused.fetch_add(1, std::memory_order_relaxed);
            return true;
        }
        if (allocations_before_failure.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return false;
    }
    return false;
}

// Counts a null from the system allocator and passes it on.
inline void* counted(void* p) noexcept {
    if (!p) allocations_refused.fetch_add(1, std::memory_order_relaxed);
    return p;
}

// Blocks from this size up are filled by huge pages where the system offers them on request
// (Linux with transparent huge pages in "madvise" mode). A block of a million nodes is touched
// once per 2 MiB instead of once per 4 KiB, and each first touch of a fresh page costs a fault
// that, on virtual machines especially, outweighs the work done on the page. Smaller blocks keep
// ordinary pages so that little arrays do not hold 2 MiB each.
constexpr std::size_t huge_page_threshold = std::size_t(4) << 20;

// Asks for huge pages over every page that [p, p + bytes) touches; a hint, so its failure is
// ignored. The pages at the ends are included: a block the system allocator maps on its own
// starts a page before its data, and advice that left that page out would split the mapping in
// two, which the remapping that grows a block in place cannot cross.
inline void* advise_huge_pages(void* p, std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (p && bytes >= huge_page_threshold) {
        constexpr std::uintptr_t page = 4096; // where pages are larger the call is refused: no harm in a hint
        const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(p) & ~(page - 1);
        const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(p) + bytes + page - 1) & ~(page - 1);
        ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
    }
#else
    (void)bytes;
#endif
    return p;
}
} // namespace detail

// Raw storage for every vector_num block. Returns null when memory is short, never throws.
inline void* __vector_num_alloc(std::size_t bytes, std::size_t alignment = alignof(std::max_align_t)) {
    if (detail::allocation_refused()) return nullptr;
    if (bytes == 0) bytes = 1;
    if (alignment <= alignof(std::max_align_t))
        return detail::advise_huge_pages(detail::counted(std::malloc(bytes)), bytes);
    // aligned_alloc wants a size that is a multiple of the alignment.
    const std::size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    return detail::advise_huge_pages(detail::counted(std::aligned_alloc(alignment, rounded)), rounded);
}

inline void __vector_num_free(void* p) noexcept { std::free(p); }

// True when __vector_num_realloc can serve blocks of this alignment.
constexpr bool __vector_num_reallocates(std::size_t alignment) noexcept {
    return alignment <= alignof(std::max_align_t);
}

// Resizes storage from __vector_num_alloc to `bytes`, in place when the system allocator can
// (large blocks are remapped, not copied), keeping the leading min(old, bytes) bytes. Null, with
// `p` untouched, when memory is short or when `alignment` is one that only a fresh block can
// honour; the caller then allocates and copies.
inline void* __vector_num_realloc(void* p, std::size_t bytes,
                                  std::size_t alignment = alignof(std::max_align_t)) noexcept {
    if (!__vector_num_reallocates(alignment) || detail::allocation_refused()) return nullptr;
    return detail::advise_huge_pages(detail::counted(std::realloc(p, bytes == 0 ? 1 : bytes)), bytes);
}

// Test hook: the allocation `n` calls from now (0 = the next one) and every later one fail,
// until `allow_all_allocations` is called. Lets tests reach every out-of-memory path. It acts
// on the allocations made by code of the calling program or library (the hook is per binary).
inline void fail_allocations_after(long n) noexcept { detail::allocations_before_failure.store(n < 0 ? 0 : n); }
inline void allow_all_allocations() noexcept { detail::allocations_before_failure.store(-1); }
// Test hook: how many allocations of this binary have failed so far, refused by the hook above or
// by the system. A caller that sees it move knows that a silent memory-short path was taken.
inline long refused_allocations() noexcept { return detail::allocations_refused.load(std::memory_order_relaxed); }

// Base of every storage block: an atomic reference count and a virtual destructor.
class ref_counted {
public:
    ref_counted() noexcept : count_(0) {}
    ref_counted(const ref_counted&) = delete;
    ref_counted& operator=(const ref_counted&) = delete;
    virtual ~ref_counted() = default;

    void __add_ref() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
    // Drops one reference; the thread that brings the count to zero destroys the block.
    void __destroy() noexcept {
        if (count_.fetch_add(-1, std::memory_order_acq_rel) == 1) delete this;
    }
    long use_count() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
    std::atomic<long> count_;
};

} // namespace math1

// Intrusive pointer to a storage block.
template <class B>
class Ptr {
public:
    Ptr() noexcept = default;
    explicit Ptr(B* b) noexcept : p_(b) { if (p_) p_->__add_ref(); }
    Ptr(const Ptr& o) noexcept : p_(o.p_) { if (p_) p_->__add_ref(); }
    Ptr(Ptr&& o) noexcept : p_(o.p_) { o.p_ = nullptr; }
    ~Ptr() { if (p_) p_->__destroy(); }
    Ptr& operator=(const Ptr& o) noexcept { return *this = o.p_; }
    Ptr& operator=(Ptr&& o) noexcept {
        if (this != &o) { B* old = p_; p_ = o.p_; o.p_ = nullptr; if (old) old->__destroy(); }
        return *this;
    }
    // Takes a reference to the new block before dropping the old one (self-assignment safe).
    Ptr& operator=(B* b) noexcept {
        if (b) b->__add_ref();
        B* old = p_;
        p_ = b;
        if (old) old->__destroy();
        return *this;
    }
    B* get() const noexcept { return p_; }
    B* operator->() const noexcept { return p_; }
    B& operator*() const noexcept { return *p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }

private:
    B* p_ = nullptr;
};

// Storage block of `capacity` entries of T. A is the alignment of the entries in bytes
// (raised to alignof(T) when smaller).
template <class T, unsigned A = 8>
class vector_num : public math1::ref_counted {
    static_assert(std::is_trivially_copyable<T>::value, "vector_num holds trivially copyable values");
    static constexpr std::size_t alignment = A > alignof(T) ? A : alignof(T);

public:
    T* data = nullptr;
    unsigned capacity = 0;

    // A new block of exactly `n` entries, or null when memory is short.
    static vector_num* create(unsigned n) noexcept {
        void* mem = math1::__vector_num_alloc(sizeof(vector_num), alignof(vector_num));
        if (!mem) return nullptr;
        vector_num* b = ::new (mem) vector_num();
        if (n > 0 && !b->__grow(n, 0, 1)) { b->~vector_num(); math1::__vector_num_free(mem); return nullptr; }
        return b;
    }
    static void operator delete(void* p) noexcept { math1::__vector_num_free(p); }

    ~vector_num() override { math1::__vector_num_free(data); }

    // Enlarges the block to at least max(min_capacity, factor * capacity) entries, keeping
    // the first `keep` entries. False (block unchanged) when memory cannot be had.
    bool __grow(unsigned min_capacity, unsigned keep, unsigned factor) noexcept {
        if (min_capacity <= capacity) return true;
        unsigned long long want = static_cast<unsigned long long>(capacity) * (factor ? factor : 1);
        if (want < min_capacity) want = min_capacity;
        if (want > std::numeric_limits<unsigned>::max()) want = std::numeric_limits<unsigned>::max();
        const std::size_t bytes = static_cast<std::size_t>(want) * sizeof(T);
        keep = std::min(keep, capacity);
        T* fresh;
        if (math1::__vector_num_reallocates(alignment) && 2ull * keep >= capacity) {
            // Growing in place (or by remapping) keeps a large block's pages as they are, where a
            // copy would touch every one of them again. Worth it when most of the block is kept.
            fresh = static_cast<T*>(math1::__vector_num_realloc(data, bytes, alignment));
            if (!fresh) return false;
        } else {
            fresh = static_cast<T*>(math1::__vector_num_alloc(bytes, alignment));
            if (!fresh) return false;
            if (keep) std::memcpy(static_cast<void*>(fresh), data, std::size_t(keep) * sizeof(T));
            math1::__vector_num_free(data);
        }
        // Views reach the entries through this block, so they follow the data wherever it went.
        data = fresh;
        capacity = static_cast<unsigned>(want);
        return true;
    }

private:
    vector_num() noexcept = default;
};

// A vector view: entry i is storage entry offset + i. A is the storage alignment in bytes.
template <class T, unsigned A = 8>
class dense1D {
public:
    using block = vector_num<T, A>;

    dense1D() noexcept = default;
    // n entries (left empty when memory is short).
    explicit dense1D(unsigned n) { resize(n, T()); }
    dense1D(unsigned n, const T& value) { resize(n, value); }
    dense1D(std::initializer_list<T> values) {
        if (reserve(static_cast<unsigned>(values.size())))
            for (const T& v : values) data_at(size_++) = v;
    }

    unsigned size() const noexcept { return size_; }
    unsigned offset() const noexcept { return offset_; }
    bool empty() const noexcept { return size_ == 0; }
    // Entries available from this view's offset to the end of its storage.
    unsigned capacity() const noexcept { return storage_ ? storage_->capacity - offset_ : 0; }
    const Ptr<block>& storage() const noexcept { return storage_; }

    T& operator[](unsigned i) noexcept { return storage_->data[offset_ + i]; }
    const T& operator[](unsigned i) const noexcept { return storage_->data[offset_ + i]; }
    T* data() noexcept { return storage_ ? storage_->data + offset_ : nullptr; }
    const T* data() const noexcept { return storage_ ? storage_->data + offset_ : nullptr; }
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + size_; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + size_; }

    // Sets the size; entries already present keep their values.
    bool resize(unsigned n) {
        if (!reserve(n)) return false;
        size_ = n;
        return true;
    }
    bool resize(unsigned n, const T& fill) {
        unsigned old = size_;
        if (!resize(n)) return false;
        for (unsigned i = old; i < n; ++i) data_at(i) = fill;
        return true;
    }
    // Room for n entries without changing the content. Mode 1 reserves exactly n; mode 2
    // grows geometrically (at least doubling) so that repeated reserves stay linear.
    bool reserve(unsigned n, int mode = 1) {
        if (n <= capacity()) return true;
        if (!storage_) {
            block* b = block::create(n);
            if (!b) return false;
            storage_ = b;
            offset_ = 0;
            return true;
        }
        unsigned long long need = static_cast<unsigned long long>(offset_) + n;
        if (need > std::numeric_limits<unsigned>::max()) return false;
        // Keep the whole block: other views of the same storage may reach past this one.
        return storage_->__grow(static_cast<unsigned>(need), storage_->capacity, mode == 2 ? 2u : 1u);
    }
    // Appends one entry, doubling the storage when it is full. False (entry skipped) when
    // memory is short.
    bool push_back(const T& v) {
        if (!storage_ || offset_ + size_ >= storage_->capacity) {
            if (!storage_) {
                block* b = block::create(4);
                if (!b) return false;
                storage_ = b;
                offset_ = 0;
            } else if (offset_ + size_ == std::numeric_limits<unsigned>::max() ||
                       !storage_->__grow(offset_ + size_ + 1, offset_ + size_, 2)) {
                return false;
            }
        }
        storage_->data[offset_ + size_++] = v;
        return true;
    }
    bool push_back_n(const T& v, unsigned count) {
        unsigned long long need = static_cast<unsigned long long>(size_) + count;
        if (need > std::numeric_limits<unsigned>::max()) return false;
        if (need > capacity() && !reserve(std::max(static_cast<unsigned>(need), 2 * size_), 1)) return false;
        for (unsigned i = 0; i < count; ++i) data_at(size_++) = v;
        return true;
    }
    // Deep copy into storage of its own; false (unchanged) when memory is short.
    bool copy(const dense1D& other) {
        if (&other == this) return true;
        dense1D fresh;
        if (other.size_ && !fresh.reserve(other.size_)) return false;
        if (other.size_) std::memcpy(static_cast<void*>(fresh.data()), other.data(), std::size_t(other.size_) * sizeof(T));
        fresh.size_ = other.size_;
        *this = std::move(fresh);
        return true;
    }
    // A view of `count` entries from `first`, sharing storage. The block is cut at the end of
    // this view: entries past size() are never part of it.
    dense1D sub_vector(unsigned first, unsigned count) const {
        dense1D v;
        if (first >= size_) return v;
        v.storage_ = storage_;
        v.offset_ = offset_ + first;
        v.size_ = std::min(count, size_ - first);
        return v;
    }
    // Drops the storage; size and offset become 0.
    void clear() noexcept { storage_ = nullptr; size_ = 0; offset_ = 0; }

    // Used by dense2D to build vector views of its storage.
    static dense1D view(const Ptr<block>& s, unsigned offset, unsigned size) {
        dense1D v;
        v.storage_ = s;
        v.offset_ = offset;
        v.size_ = size;
        return v;
    }

private:
    T& data_at(unsigned i) noexcept { return storage_->data[offset_ + i]; }

    Ptr<block> storage_;
    unsigned size_ = 0;
    unsigned offset_ = 0;
};

// A column-major matrix view: entry (i, j) is storage entry offset + j * ld + i.
template <class T>
class dense2D {
public:
    using block = vector_num<T, 8>;

    dense2D() noexcept = default;
    dense2D(unsigned rows, unsigned cols) { resize(rows, cols); }
    dense2D(unsigned rows, unsigned cols, const T& fill) { resize(rows, cols, fill); }

    unsigned rows() const noexcept { return rows_; }
    unsigned cols() const noexcept { return cols_; }
    unsigned size() const noexcept { return size_; }
    unsigned ld() const noexcept { return ld_; }
    unsigned offset() const noexcept { return offset_; }
    bool empty() const noexcept { return size_ == 0; }
    const Ptr<block>& storage() const noexcept { return storage_; }
    // Columns that fit in the storage from this view's offset: (capacity - offset) / ld, the
    // entry count itself when ld is 0.
    unsigned column_capacity() const noexcept {
        if (!storage_) return 0;
        unsigned room = storage_->capacity - offset_;
        return ld_ ? room / ld_ : room;
    }

    T& operator()(unsigned i, unsigned j) noexcept { return storage_->data[offset_ + std::size_t(j) * ld_ + i]; }
    const T& operator()(unsigned i, unsigned j) const noexcept { return storage_->data[offset_ + std::size_t(j) * ld_ + i]; }
    T* data() noexcept { return storage_ ? storage_->data + offset_ : nullptr; }
    const T* data() const noexcept { return storage_ ? storage_->data + offset_ : nullptr; }

    // Sets the shape. With the row count unchanged, existing columns stay in place; with fewer
    // rows and the same columns every column keeps its leading entries (the leading dimension
    // is kept). Any other change repacks the leading block that fits into the new shape.
    // New entries are left as they are, or set to `fill`. False (unchanged) when memory is short.
    bool resize(unsigned rows, unsigned cols) { return reshape(rows, cols, nullptr); }
    bool resize(unsigned rows, unsigned cols, const T& fill) { return reshape(rows, cols, &fill); }

    // Room for `cols` columns of `rows` rows without changing the content, so that any later
    // resize to `rows` rows and at most `cols` columns succeeds. Mode 1 reserves exactly, mode 2
    // at least doubles the storage.
    bool reserve(unsigned rows, unsigned cols, int mode = 1) {
        if (!empty() && rows != rows_) return true; // a relayout allocates anyway; nothing to promise
        unsigned ld = empty() ? rows : ld_;
        unsigned long long need = static_cast<unsigned long long>(ld) * cols;
        if (!storage_) {
            if (need > std::numeric_limits<unsigned>::max()) return false;
            if (need == 0) return true;
            block* b = block::create(static_cast<unsigned>(need));
            if (!b) return false;
            storage_ = b;
            offset_ = 0;
            return true;
        }
        need += offset_;
        if (need <= storage_->capacity) return true;
        if (need > std::numeric_limits<unsigned>::max()) return false;
        return storage_->__grow(static_cast<unsigned>(need), storage_->capacity, mode == 2 ? 2u : 1u);
    }

    // Deep copy into contiguous storage of its own (ld = rows); false (unchanged) when short.
    bool copy(const dense2D& other) {
        if (&other == this) return true;
        dense2D fresh;
        if (!other.empty()) {
            if (!fresh.reshape(other.rows_, other.cols_, nullptr)) return false;
            for (unsigned j = 0; j < other.cols_; ++j)
                std::memcpy(static_cast<void*>(&fresh(0, j)), &other(0, j), std::size_t(other.rows_) * sizeof(T));
        } else {
            fresh.rows_ = other.rows_;
            fresh.cols_ = other.cols_;
            fresh.ld_ = other.rows_;
        }
        *this = std::move(fresh);
        return true;
    }
    void shallow_copy(const dense2D& other) { *this = other; }
    // Size, rows, columns and leading dimension become 0; the storage is released.
    void clear() noexcept { storage_ = nullptr; size_ = rows_ = cols_ = ld_ = offset_ = 0; }

    // A view of the block of `nrows` rows and `ncols` columns from (row, col), sharing storage.
    // The block is cut at the matrix's last row and column: a block that runs past them has
    // fewer rows or columns (none when it starts past them), so a view never reaches entries
    // outside the matrix.
    dense2D sub_matrix(unsigned row, unsigned col, unsigned nrows, unsigned ncols) const {
        dense2D v;
        if (row >= rows_ || col >= cols_) return v;
        v.storage_ = storage_;
        v.rows_ = std::min(nrows, rows_ - row);
        v.cols_ = std::min(ncols, cols_ - col);
        v.ld_ = ld_;
        v.offset_ = offset_ + col * ld_ + row;
        v.size_ = v.rows_ * v.cols_;
        return v;
    }
    // A vector view of the entries in storage order, from (0, 0) to (rows - 1, cols - 1); when
    // ld exceeds rows the gaps between columns are part of it.
    dense1D<T> as_vector() const {
        if (empty()) return dense1D<T>();
        return dense1D<T>::view(storage_, offset_, (cols_ - 1) * ld_ + rows_);
    }

private:
    bool reshape(unsigned rows, unsigned cols, const T* fill) {
        unsigned long long total = static_cast<unsigned long long>(rows) * cols;
        if (total > std::numeric_limits<unsigned>::max()) return false;
        // An empty matrix stores nothing, so its layout is free: lay it out as reserve assumes.
        if (size_ == 0) ld_ = rows_;
        if (rows == rows_ && rows_ != 0 && ld_ >= rows) {
            // Same rows: grow or shrink the column count in place.
            if (cols > column_capacity()) {
                unsigned long long need = offset_ + static_cast<unsigned long long>(ld_) * cols;
                if (need > std::numeric_limits<unsigned>::max()) return false;
                if (!storage_) {
                    block* b = block::create(static_cast<unsigned>(need));
                    if (!b) return false;
                    storage_ = b;
                } else if (!storage_->__grow(static_cast<unsigned>(need), storage_->capacity, 1)) {
                    return false;
                }
            }
            if (fill)
                for (unsigned j = cols_; j < cols; ++j)
                    for (unsigned i = 0; i < rows; ++i) (*this)(i, j) = *fill;
            cols_ = cols;
            size_ = rows * cols;
            return true;
        }
        if (rows < rows_ && cols == cols_) {
            // Fewer rows: every column keeps its leading entries where it is.
            if (size_ == 0) ld_ = rows;
            rows_ = rows;
            size_ = rows * cols;
            return true;
        }
        if (empty()) {
            // Nothing to keep: lay the new shape out in the storage already held when it fits.
            if (total == 0) {
                rows_ = rows; cols_ = cols; ld_ = rows; size_ = 0;
                return true;
            }
            if (!storage_ || storage_->capacity - offset_ < total) {
                block* b = block::create(static_cast<unsigned>(total));
                if (!b) return false;
                storage_ = b;
                offset_ = 0;
            }
            rows_ = rows; cols_ = cols; ld_ = rows; size_ = static_cast<unsigned>(total);
            if (fill) std::fill(data(), data() + size_, *fill);
            return true;
        }
        // General relayout into fresh contiguous storage, keeping the leading block.
        block* b = total ? block::create(static_cast<unsigned>(total)) : nullptr;
        if (total && !b) return false;
        Ptr<block> fresh(b);
        unsigned kr = std::min(rows, rows_), kc = std::min(cols, cols_);
        for (unsigned j = 0; j < cols; ++j)
            for (unsigned i = 0; i < rows; ++i) {
                if (i < kr && j < kc) b->data[std::size_t(j) * rows + i] = (*this)(i, j);
                else if (fill) b->data[std::size_t(j) * rows + i] = *fill;
            }
        storage_ = std::move(fresh);
        offset_ = 0;
        rows_ = rows; cols_ = cols; ld_ = rows; size_ = static_cast<unsigned>(total);
        return true;
    }

    Ptr<block> storage_;
    unsigned size_ = 0;
    unsigned offset_ = 0;
    unsigned rows_ = 0;
    unsigned cols_ = 0;
    unsigned ld_ = 0;
};

// A point or vector by value: vector_fixed<double, 2> p{1.0, 2.0};
template <class T, unsigned N>
struct vector_fixed {
    T v[N];
    T& operator[](unsigned i) noexcept { return v[i]; }
    const T& operator[](unsigned i) const noexcept { return v[i]; }
    static constexpr unsigned size() noexcept { return N; }
};

// A symmetric N x N matrix by value, upper triangle packed by column: entry (i, j), i <= j,
// at j (j + 1) / 2 + i. symmetric_fixed<double, 2> m{m00, m01, m11};
template <class T, unsigned N>
struct symmetric_fixed {
    static constexpr unsigned packed_size = N * (N + 1) / 2;
    T v[packed_size];
    T& operator[](unsigned k) noexcept { return v[k]; }
    const T& operator[](unsigned k) const noexcept { return v[k]; }
    T& operator()(unsigned i, unsigned j) noexcept { return i <= j ? v[j * (j + 1) / 2 + i] : v[i * (i + 1) / 2 + j]; }
    const T& operator()(unsigned i, unsigned j) const noexcept {
        return i <= j ? v[j * (j + 1) / 2 + i] : v[i * (i + 1) / 2 + j];
    }
};

} // namespace vx4
