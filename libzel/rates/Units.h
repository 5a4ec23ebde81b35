// Units of the kernel's counters.
#pragma once

namespace zel {

inline constexpr int TICKS_PER_SECOND = 100; // of the counters of processes, on every machine
inline constexpr double KILOBYTES_PER_BYTE = 0.0009765625;

} // namespace zel
