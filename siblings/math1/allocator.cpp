// Raw storage of the container blocks, with a switch that lets tests make it fail.
#include <vx4/math1.h>

#include <atomic>
#include <cstdlib>

namespace vx4 {
namespace math1 {
namespace {

// Allocations left before failures start; negative means never fail.
std::atomic<long> allocations_before_failure{-1};

bool allocation_refused() noexcept {
    long left = allocations_before_failure.load(std::memory_order_relaxed);
    while (left >= 0) {
        if (left == 0) return true;
        if (allocations_before_failure.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return false;
    }
    return false;
}

} // namespace

void* __vector_num_alloc(std::size_t bytes, std::size_t alignment) {
    if (allocation_refused()) return nullptr;
    if (bytes == 0) bytes = 1;
    if (alignment <= alignof(std::max_align_t)) return std::malloc(bytes);
    // aligned_alloc wants a size that is a multiple of the alignment.
    std::size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    return std::aligned_alloc(alignment, rounded);
}

void __vector_num_free(void* p) noexcept { std::free(p); }

void* __vector_num_realloc(void* p, std::size_t bytes, std::size_t alignment) noexcept {
    if (!__vector_num_reallocates(alignment) || allocation_refused()) return nullptr;
    return std::realloc(p, bytes == 0 ? 1 : bytes);
}

void fail_allocations_after(long n) noexcept { allocations_before_failure.store(n < 0 ? 0 : n); }

void allow_all_allocations() noexcept { allocations_before_failure.store(-1); }

} // namespace math1
} // namespace vx4
