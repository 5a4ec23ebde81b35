// How many rows the push list of a collector has room for.
#pragma once

namespace zel {

inline constexpr int PUSH_CAPACITY = 10000; // at first, and after a pass of few rows
inline constexpr int PUSH_CAPACITY_MARGIN = 1000;

/// The capacity for the next pass after one of `rows` rows: larger when they did not fit (`outgrown`), and the first
/// one again when they were fewer than `few`.
inline int nextPushCapacity(int capacity, int rows, bool outgrown, int few) {
    if (rows < few)
        return PUSH_CAPACITY;
    return outgrown ? rows + PUSH_CAPACITY_MARGIN : capacity;
}

} // namespace zel
