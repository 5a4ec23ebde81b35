// What came, went or changed between an earlier inventory, as `zel hardware --format json` wrote it, and one of now.
//
//   + disk unit sdb (SAMSUNG MZ7L3960)
//   - memory module DIMM_A2 (Samsung)
//   ~ pci device 0000:00:1f.0 driver: ahci -> (none)
//
// Rows are matched by their labels. Infos and states are compared; counters and gauges move by themselves. What could
// not be read in one of the two (denied, timed out, not asked for) is no change, nor is a name that comes from a table
// of names: that table may be another.
#pragma once

#include "host/Hardware.h"

#include <string>
#include <string_view>
#include <vector>

namespace zel {

inline constexpr std::size_t EARLIER_INVENTORY_LIMIT = std::size_t{16} << 20U;

/// The text of a file, of standard input for "-". `problem` says why there is none.
std::string readEarlierInventory(const std::string &file, std::string &problem);

struct HardwareChanges {
    std::string text;                 // a line for each change, or one JSON object and a line feed
    std::vector<std::string> remarks; // what could not be compared, and that it is another host
    bool hasCompared = false;         // at least one part
    bool isPartial = false;           // not every part
    std::string problem;              // why nothing could be compared: the text is no inventory
};

enum class ChangeFormat { Lines, Json };

/// Compares the parts that `now` was asked for. `earlier` may hold anything; messages call it `file`.
HardwareChanges changesSince(std::string_view earlier, const std::string &file, const Hardware &now,
                             ChangeFormat format);

} // namespace zel
