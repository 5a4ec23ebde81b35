// Stands in for the message bus where the tool is built without libsystemd: there are no units.
#include "zel/systemd/UnitBus.h"

#include <cerrno>

namespace zel {

struct UnitBus::Bus {};

bool isStartedBySystemd() {
    return false;
}

UnitBus::UnitBus(std::size_t) {}
UnitBus::~UnitBus() = default;

UnitsRead UnitBus::read(std::chrono::milliseconds) {
    return {ENOSYS, {}, {}};
}

} // namespace zel
