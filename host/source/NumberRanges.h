// Lists of processors or memory nodes as the kernel writes them: "0-1,4".
#pragma once

#include "host/source/LineScan.h"

#include <cstdint>
#include <vector>

namespace zel {

/// Appends the numbers of a line; false when they do not ascend, reach `end`, or are none. An empty line is an empty
/// list.
inline bool takeNumberRanges(const char *cursor, std::uint64_t end, std::vector<std::uint64_t> &numbers) {
    const auto take = [&cursor] {
        unsigned long long value = 0;
        return scanPlain(cursor, value) ? Count(value) : Count(Absence::Malformed);
    };
    if (endsLine(*cursor))
        return true;
    for (;; ++cursor) {
        const Count first = take();
        Count last = first;
        if (*cursor == '-') {
            ++cursor;
            last = take();
        }
        const bool follows = numbers.empty() || first.valueOr(0) > numbers.back();
        if (!first || !last || !follows || *last < *first || *last >= end)
            return false;
        for (std::uint64_t number = *first; number <= *last; ++number)
            numbers.push_back(number);
        if (*cursor != ',')
            return endsLine(*cursor);
    }
}

} // namespace zel
