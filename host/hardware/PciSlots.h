// The physical slots of PCI devices, /sys/bus/pci/slots: read once for all devices of a part.
#pragma once

#include "host/hardware/PartReader.h"

#include <string_view>

namespace zel {

/// One line each: the address of the slot, without a function, a blank and its name.
void readPciSlots(const HostDirectory &root, PartText &text);

/// The name in such lines of the slot that a device is in ("0000:03:00.1"); unsupported when it is in none.
void takePciSlot(std::string_view lines, std::string_view address, Reading<std::string> &slot);

} // namespace zel
