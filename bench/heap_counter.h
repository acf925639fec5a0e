// Counts every heap block of the program that includes it (once, in one translation unit):
// bytes held now, their peak and the running total, by wrapping malloc and its relatives.
#pragma once

#include <malloc.h>

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t);
void __libc_free(void*);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace heap {

// Bytes currently held, their peak and the running total, over every heap block.
std::atomic<long long> live_bytes{0}, peak_bytes{0}, total_bytes{0};

void note_alloc(void* p) {
    if (!p) return;
    const long long size = static_cast<long long>(malloc_usable_size(p));
    total_bytes += size;
    const long long now = live_bytes += size;
    long long peak = peak_bytes.load();
    while (now > peak && !peak_bytes.compare_exchange_weak(peak, now)) {
    }
}
void note_free(void* p) {
    if (p) live_bytes -= static_cast<long long>(malloc_usable_size(p));
}

} // namespace heap

extern "C" {
void* malloc(std::size_t n) {
    void* p = __libc_malloc(n);
    heap::note_alloc(p);
    return p;
}
void free(void* p) {
    heap::note_free(p);
    __libc_free(p);
}
void* calloc(std::size_t n, std::size_t size) {
    void* p = __libc_calloc(n, size);
    heap::note_alloc(p);
    return p;
}
void* realloc(void* old, std::size_t n) {
    const long long before = old ? static_cast<long long>(malloc_usable_size(old)) : 0;
    void* p = __libc_realloc(old, n);
    // A failed realloc keeps the old block. A successful one allocates only what it added: a
    // block grown in place (or remapped) is not a new block.
    if (!p) return p;
    const long long after = static_cast<long long>(malloc_usable_size(p));
    if (after > before) heap::total_bytes += after - before;
    const long long now = heap::live_bytes += after - before;
    long long peak = heap::peak_bytes.load();
    while (now > peak && !heap::peak_bytes.compare_exchange_weak(peak, now)) {
    }
    return p;
}
void* aligned_alloc(std::size_t alignment, std::size_t n) {
    void* p = __libc_memalign(alignment, n);
    heap::note_alloc(p);
    return p;
}
void* memalign(std::size_t alignment, std::size_t n) {
    void* p = __libc_memalign(alignment, n);
    heap::note_alloc(p);
    return p;
}
int posix_memalign(void** out, std::size_t alignment, std::size_t n) {
    void* p = __libc_memalign(alignment, n);
    if (!p) return 12; // ENOMEM
    heap::note_alloc(p);
    *out = p;
    return 0;
}
}

