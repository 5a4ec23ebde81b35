// Asks systemd about its units, over the system's message bus (libsystemd's sd-bus): one ListUnits, the properties of
// timers and sockets, and once in a while the types of services. Built without libsystemd, it has nothing to say.
//
// The connection stays open from one reading to the next; after a failure the next reading makes a new one. It belongs
// to one thread at a time.
#pragma once

#include "zel/systemd/SystemdState.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace zel {

inline constexpr std::chrono::seconds SYSTEMD_TYPES_AGE{60}; // of the version and of the types of services, at most
inline constexpr std::size_t SYSTEMD_PROBLEM_BYTES = 200;    // of what a bus says about a failure

struct UnitsRead {
    int error = 0;       // 0, or an error number: ETIMEDOUT when the limit is over
    std::string problem; // what went wrong, in words
    SystemdState state;
};

/// Whether systemd started this host. Where it did not, there are no units and nothing is wrong.
bool isStartedBySystemd();

class UnitBus {
public:
    explicit UnitBus(std::size_t unitsAtMost = SYSTEMD_UNITS_AT_MOST);
    ~UnitBus();
    UnitBus(const UnitBus &) = delete;
    UnitBus &operator=(const UnitBus &) = delete;

    /// Ends within `limit` whatever the bus does, but for the time of a call of the system that hangs.
    UnitsRead read(std::chrono::milliseconds limit);

private:
    struct Bus;
    std::unique_ptr<Bus> m_bus;
};

} // namespace zel
