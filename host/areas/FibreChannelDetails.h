// What a Fibre Channel port says of itself below /sys/class/fc_host: by its driver, or by the firmware of the adapter.
#pragma once

#include "host/FibreChannel.h"
#include "host/source/HostDirectory.h"

#include <bitset>
#include <string_view>

namespace zel {

inline constexpr const char *FC_HOST_DIRECTORY = "sys/class/fc_host";

/// The values of one port.
struct FibreChannelReading {
    FibreChannelPort port;
    FibreChannelEvents events;
};

/// Which of the statistics a port was asked for, by their place in the list of all.
inline constexpr std::size_t FC_STATISTICS = 51;
using FibreChannelScope = std::bitset<FC_STATISTICS>;

/// Reads state and speed, the statistics of `scope`, and with `names` what hardly ever changes; nothing else of
/// `reading`. ENOENT when there is no such port, and nothing counts then.
int readFibreChannelPort(const HostDirectory &root, std::string_view name, FibreChannelScope scope, bool names,
                         FibreChannelReading &reading);

/// Takes the same of another reading.
void assignFibreChannel(const FibreChannelReading &from, FibreChannelScope scope, bool names, FibreChannelReading &to);

/// The statistics that the port supports, as far as is known: all but the unsupported ones.
FibreChannelScope supportedStatistics(const FibreChannelReading &reading);

/// The bytes per second of a speed such as "16 Gbit", and the highest of a list of them; unsupported when none is
/// named.
Count fibreChannelSpeed(std::string_view text);

} // namespace zel
