// The processor lines of /proc/stat: ticks since boot by what a processor did with them.
#pragma once

#include "MM_CPU_Info.h"

#include <string_view>

namespace zel {

enum class CpuLayout {
    FourFields, // user nice system idle: consumers expect the nice ticks in the wait column too
    FiveFields  // user nice system idle iowait
};

/// Fills `ticks` from the text of /proc/stat and returns the rows written, 0 when there is no "cpu " in it. A number
/// that is missing reads as 0, one that does not fit as all ones.
int parseCpuTicks(std::string_view text, CpuLayout layout, CpuRow *ticks);

} // namespace zel
