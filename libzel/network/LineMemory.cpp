// Parses the lines of the interface table that are not those of the walk before.
#include "network/LineMemory.h"

#include "network/InterfaceLine.h"

#include <cstring>
#include <new>

namespace zel {

// The place of the next line. Without memory for it the line is not remembered.
LineMemory::Known &LineMemory::place() {
    const std::size_t number = m_next++;
    if (number < m_known.size())
        return m_known[number];
    m_spare.length = 0;
    if (number > m_known.size())
        return m_spare;
    try {
        return m_known.emplace_back();
    } catch (const std::bad_alloc &) {
        return m_spare;
    }
}

const LineMemory::Entry &LineMemory::next(int layout, const char *line, std::size_t length) {
    Known &known = place();
    if (length > 0 && known.length == length && known.layout == layout &&
        std::memcmp(known.line.data(), line, length) == 0)
        return known.entry;
    known.entry = {};
    parseInterfaceCounters(layout, takeInterfaceName(line, known.entry.name), known.entry.stats);
    known.layout = layout;
    known.length = length <= LONGEST_LINE ? length : 0;
    std::memcpy(known.line.data(), line, known.length);
    return known.entry;
}

} // namespace zel
