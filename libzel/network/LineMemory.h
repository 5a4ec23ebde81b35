// LineMemory: what the lines of the interface table said in the walk before. A line whose bytes are the same says the
// same and is not parsed again.
#pragma once

#include "network.h"

#include <array>
#include <cstddef>
#include <vector>

namespace zel {

class LineMemory {
public:
    /// What a line says.
    struct Entry {
        char name[INTERFACE_NAME_SIZE];
        user_net_device_stats stats;
    };

    /// Starts a walk over the table.
    void start() { m_next = 0; }
    /// What the next line of the table, without its line feed, says in `layout` (INTERFACE_LAYOUT_...). Valid until the
    /// next line.
    const Entry &next(int layout, const char *line, std::size_t length);

private:
    // Longer lines, which no kernel writes, are parsed every time.
    static constexpr std::size_t LONGEST_LINE = 240;

    struct Known {
        std::size_t length = 0; // 0: not remembered
        int layout = 0;
        std::array<char, LONGEST_LINE> line;
        Entry entry;
    };

    Known &place();

    std::size_t m_next = 0;
    std::vector<Known> m_known; // by the number of the line
    Known m_spare;              // of a line that is not remembered
};

} // namespace zel
