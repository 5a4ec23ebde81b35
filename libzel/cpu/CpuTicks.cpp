// Parses the processor lines of /proc/stat.
#include "cpu/CpuTicks.h"

#include "text/NumberScan.h"

namespace zel {

namespace {

// Sample: cpu0 61803 39 88749 8948482 458 6 8343 0 5 9
// Reads the line whose name starts at `name`; returns the position after its last number.
const char *parseLine(const char *name, CpuLayout layout, CpuRow &row) {
    const char *cursor = name;
    skipWord(cursor);
    row[CPU_USER] = takeUnsigned(cursor);
    const unsigned long long nice = takeUnsigned(cursor);
    row[CPU_SYSTEM] = takeUnsigned(cursor);
    row[CPU_IDLE] = takeUnsigned(cursor);
    row[CPU_NICE] = nice;
    row[CPU_WAIT] = layout == CpuLayout::FiveFields ? takeUnsigned(cursor) : nice;
    return cursor;
}

} // namespace

int parseCpuTicks(std::string_view text, CpuLayout layout, CpuRow *ticks) {
    std::size_t name = text.find("cpu ");
    int rows = 0;
    while (name != std::string_view::npos && rows < CPU_ROWS) {
        const char *end = parseLine(text.data() + name, layout, ticks[rows++]);
        name = text.find("cpu", static_cast<std::size_t>(end - text.data()));
    }
    return rows;
}

} // namespace zel
