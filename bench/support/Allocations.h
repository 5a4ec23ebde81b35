// Counts the heap allocations of the whole program: every call of malloc, calloc, realloc and aligned_alloc, those of
// operator new and of the C library's own streams and directories included.
#pragma once

namespace bench {

/// Calls so far.
long allocationCount();

} // namespace bench
