// Replaces the allocation functions by ones that book what is held.
#include "MemoryLedger.h"

#include "Faults.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <malloc.h>

namespace {

std::atomic<long> heldBlocks;
std::atomic<long> heldBytes;

} // namespace

HeapHoldings heapHoldings() {
    return {heldBlocks, heldBytes};
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// NOLINTBEGIN(bugprone-reserved-identifier): the C library's own names of what is replaced here
extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

void *taken(void *block) {
    if (block != nullptr) {
        heldBlocks.fetch_add(1, std::memory_order_relaxed);
        heldBytes.fetch_add(static_cast<long>(malloc_usable_size(block)), std::memory_order_relaxed);
    }
    return block;
}

void released(long bytes) {
    heldBlocks.fetch_sub(1, std::memory_order_relaxed);
    heldBytes.fetch_sub(bytes, std::memory_order_relaxed);
}

long sizeOf(void *block) {
    return block == nullptr ? 0 : static_cast<long>(malloc_usable_size(block));
}

} // namespace

extern "C" {

void *malloc(std::size_t size) {
    return faultIsDue(Call::Allocation) ? nullptr : taken(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size) {
    return faultIsDue(Call::Allocation) ? nullptr : taken(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size) {
    if (faultIsDue(Call::Allocation))
        return nullptr;
    const long before = sizeOf(block);
    void *moved = __libc_realloc(block, size);
    if (block != nullptr && (moved != nullptr || size == 0))
        released(before);
    return taken(moved);
}

void free(void *block) {
    if (block != nullptr)
        released(sizeOf(block));
    __libc_free(block);
}

void *memalign(std::size_t alignment, std::size_t size) {
    return taken(__libc_memalign(alignment, size));
}

void *aligned_alloc(std::size_t alignment, std::size_t size) {
    return taken(__libc_memalign(alignment, size));
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) {
    void *aligned = taken(__libc_memalign(alignment, size));
    if (aligned == nullptr)
        return ENOMEM;
    *block = aligned;
    return 0;
}

} // extern "C"

#endif
