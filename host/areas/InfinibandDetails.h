// What a port of an InfiniBand adapter says of itself below /sys/class/infiniband: by its driver, or by the firmware.
#pragma once

#include "host/Infiniband.h"
#include "host/source/HostDirectory.h"

#include <bitset>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

inline constexpr const char *INFINIBAND_DIRECTORY = "sys/class/infiniband";

/// Which port of which adapter.
struct InfinibandPlace {
    std::string device;
    std::uint64_t port = 0;
};

/// Which of the counters of the standard a port is asked for, by their place in the list of all.
inline constexpr std::size_t INFINIBAND_COUNTERS = 30;
using InfinibandCounters = std::bitset<INFINIBAND_COUNTERS>;
using InfinibandNames = std::vector<std::string>;

/// What a port is asked for beside its state and rate.
struct InfinibandScope {
    InfinibandCounters counters = InfinibandCounters().set();
    std::shared_ptr<const InfinibandNames> names; // of its driver's counters; null: they are looked up, with what
                                                  // describes the port
};

/// What it said. `names` and `values` go together.
struct InfinibandReading {
    InfinibandPort port;
    std::shared_ptr<const InfinibandNames> names;
    std::vector<Count> values;
};

/// Reads what `scope` says; nothing else of `reading`. ENOENT when there is no such port, and nothing counts then.
int readInfinibandPort(const HostDirectory &root, const InfinibandPlace &place, const InfinibandScope &scope,
                       InfinibandReading &reading);

/// Takes the same of another reading.
void assignInfiniband(const InfinibandReading &from, const InfinibandScope &scope, InfinibandReading &to);

/// The next scope of a port: without the counters that it does not support.
InfinibandScope supportedCounters(const InfinibandReading &reading);

/// The ports of an adapter, in ascending order; none when they cannot be listed.
std::vector<std::uint64_t> infinibandPorts(const HostDirectory &root, const std::string &device);

/// The bytes per second of a rate such as "2.5 Gb/sec (1X SDR)"; malformed when it is none.
Count infinibandRate(const char *text);

} // namespace zel
