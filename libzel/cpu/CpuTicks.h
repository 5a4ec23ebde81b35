// The processor lines of /proc/stat: ticks since boot by what a processor did with them.
#pragma once

#include <string_view>

namespace zel {

/// Columns of a row in the order in which embedding programs read them.
enum CpuColumn { CPU_SYSTEM, CPU_USER, CPU_IDLE, CPU_WAIT, CPU_NICE, CPU_COLUMNS };

/// Row 0 is the whole machine, the others are processors in file order; further processors are left out.
inline constexpr int CPU_ROWS = 513;

using CpuRow = unsigned long long[CPU_COLUMNS];

enum class CpuLayout {
    FourFields, // user nice system idle: the nice ticks stand in the wait column too, consumers know them there
    FiveFields  // user nice system idle iowait
};

/// Fills `ticks` from the text of /proc/stat and returns the rows written, 0 when there is no "cpu " in it. A number
/// that is missing reads as 0, one that does not fit as all ones.
int parseCpuTicks(std::string_view text, CpuLayout layout, CpuRow *ticks);

} // namespace zel
