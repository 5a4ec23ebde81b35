// Reads a part of the inventory.
#include "host/hardware/PartReader.h"

namespace zel {

namespace {

void readPart(HardwareRead &, const std::string &) {}

} // namespace

const PartReader &machinePart() {
    static constexpr PartReader reader{
        .directory = "sys/class/dmi/id", .list = nullptr, .read = readPart, .lose = nullptr};
    return reader;
}

} // namespace zel
