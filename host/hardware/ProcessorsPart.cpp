// Reads a part of the inventory.
#include "host/hardware/PartReader.h"

namespace zel {

namespace {

void readPart(HardwareRead &, const std::string &) {}

} // namespace

const PartReader &processorsPart() {
    static constexpr PartReader reader{
        .directory = "sys/devices/system/cpu", .list = nullptr, .read = readPart, .lose = nullptr};
    return reader;
}

} // namespace zel
