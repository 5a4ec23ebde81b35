// Replaces the allocation functions by ones that count.
#include "Allocations.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<long> allocations;

void count() {
    allocations.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

long bench::allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

extern "C" {
void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);
void *__libc_realloc(void *, std::size_t);
void *__libc_memalign(std::size_t, std::size_t);

void *malloc(std::size_t size) {
    count();
    return __libc_malloc(size);
}

void *calloc(std::size_t number, std::size_t size) {
    count();
    return __libc_calloc(number, size);
}

void *realloc(void *memory, std::size_t size) {
    count();
    return __libc_realloc(memory, size);
}

void *aligned_alloc(std::size_t alignment, std::size_t size) {
    count();
    return __libc_memalign(alignment, size);
}
}
