// PCI devices: /sys/bus/pci/devices, with names from the tables of the packages pci.ids or hwdata. Any user.
//
// Nothing is asked that would wake a device: the state of its link only while it runs.
#pragma once

#include "host/Schema.h"

namespace zel {

struct PciDevice {
    std::string address;                       // "0000:00:1f.0"
    Reading<std::string> classId;              // "0x010601": class, subclass, programming interface
    Reading<std::string> className;            // "SATA controller"
    Reading<std::string> vendorId, vendorName; // "0x8086"
    Reading<std::string> deviceId, deviceName;
    Reading<std::string> subsystemVendorId, subsystemVendorName;
    Reading<std::string> subsystemId, subsystemName;
    Reading<std::string> revision; // "0x31"
    Reading<std::string> driver;
    Reading<std::string> slot;   // physical slot, where the firmware names it
    Reading<std::string> parent; // the bridge that it is connected to
    Count node;                  // NUMA
    Count iommuGroup;
    Count enabled;                           // 1 or 0
    Reading<std::string> runtimeStatus;      // "active", "suspended"
    Number linkTransfers, linkTransfersMost; // per second and lane
    Count linkWidth, linkWidthMost;          // lanes
};

template<> std::span<const Field<PciDevice>> fieldsOf<PciDevice>();

} // namespace zel
