// What the program holds of the heap, to the byte: every allocation and release, also those inside the C and C++
// libraries, is booked. Sanitizers bring an allocator of their own, which keeps its own books: there is no ledger then.
#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool HAS_MEMORY_LEDGER = false;
#else
inline constexpr bool HAS_MEMORY_LEDGER = true;
#endif

struct HeapHoldings {
    long blocks = 0;
    long bytes = 0; // as the allocator rounds them

    bool operator==(const HeapHoldings &) const = default;
};

/// What is held now; nothing without a ledger.
HeapHoldings heapHoldings();
