// Numbers and names of PCI devices, for the parts of the inventory that have such devices.
#pragma once

#include "host/hardware/PartReader.h"
#include "host/hardware/PciIds.h"

#include <cstdint>
#include <optional>

namespace zel {

/// Reads the table of names, pci.ids, from where the packages pci.ids and hwdata have it.
void readPciIds(const HostDirectory &root, PartText &text);
/// Where it is first looked for.
inline constexpr const char *PCI_IDS_FILE = "usr/share/misc/pci.ids";

/// A number of `bits` bits as sysfs writes it: "0x8086". None when it is none.
std::optional<std::uint32_t> pciNumber(const Reading<std::string> &text, std::size_t bits);
/// The same of a vendor or a device.
std::optional<std::uint16_t> pciId(const Reading<std::string> &text);

} // namespace zel
