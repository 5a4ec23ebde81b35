// What the place of a device in /sys says of it: its controller and its PCI device. A plain function over the path.
#pragma once

#include <string_view>

namespace zel {

/// Parts of a path such as ../devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda. Empty where it
/// has none; each refers to the path.
struct DevicePath {
    std::string_view pciAddress;  // the last one: that of the controller
    std::string_view scsiHost;    // "host0"
    std::string_view scsiAddress; // "0:0:0:0"
    std::string_view nvme;        // "nvme0": the controller
    std::string_view virtio;      // "virtio1"
    std::string_view mmc;         // "mmc0"
    bool usb = false;
    bool isVirtual = false; // made by the kernel alone
};

DevicePath parseDevicePath(std::string_view path);

/// "0000:00:1f.2": a domain of 4 digits or more, bus, device and function.
bool isPciAddress(std::string_view text);

} // namespace zel
