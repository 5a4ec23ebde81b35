// The fields of PCI devices.
#include "host/hardware/PciDevice.h"

namespace zel {

namespace {

constexpr Entries<PciDevice> pci{Area::Hardware, "pci_devices", "/sys/bus/pci/devices"};
constexpr Entries<PciDevice> names = pci.from("/usr/share/misc/pci.ids", "package pci.ids");
constexpr Field<PciDevice> fields[] = {
    pci.label("address", &PciDevice::address, "Domain, bus, device and function."),
    pci.info("class_id", &PciDevice::classId, "Class, subclass and programming interface."),
    names.info("class_name", &PciDevice::className, "Name of the subclass, or of the class."),
    pci.info("vendor_id", &PciDevice::vendorId, "Number of the vendor."),
    names.info("vendor_name", &PciDevice::vendorName, "Name of the vendor."),
    pci.info("device_id", &PciDevice::deviceId, "Number of the device."),
    names.info("device_name", &PciDevice::deviceName, "Name of the device."),
    pci.info("subsystem_vendor_id", &PciDevice::subsystemVendorId, "Number of who built the card."),
    names.info("subsystem_vendor_name", &PciDevice::subsystemVendorName, "Name of who built the card."),
    pci.info("subsystem_id", &PciDevice::subsystemId, "Number of the card."),
    names.info("subsystem_name", &PciDevice::subsystemName, "Name of the card."),
    pci.info("revision", &PciDevice::revision, "Revision of the device."),
    pci.info("driver", &PciDevice::driver, "Driver that it is bound to."),
    pci.from("/sys/bus/pci/slots").info("slot", &PciDevice::slot, "Physical slot."),
    pci.info("parent", &PciDevice::parent, "Bridge that it is connected to."),
    pci.info("node", &PciDevice::node, "NUMA node that it is near to."),
    pci.info("iommu_group", &PciDevice::iommuGroup, "Devices of one group cannot be kept apart."),
    pci.info("enabled", &PciDevice::enabled, "1 when it answers to its addresses."),
    pci.gauge("runtime_status", &PciDevice::runtimeStatus, Unit::None, "State of its power management."),
    pci.gauge("link_transfers_per_second", &PciDevice::linkTransfers, Unit::None,
              "Speed of the link now, each lane; of a device that is not asleep."),
    pci.info("highest_link_transfers_per_second", &PciDevice::linkTransfersMost, "Speed that the device can have."),
    pci.state("link_width", &PciDevice::linkWidth, "Lanes in use; of a device that is not asleep."),
    pci.info("highest_link_width", &PciDevice::linkWidthMost, "Lanes that the device can use."),
};

} // namespace

template<> std::span<const Field<PciDevice>> fieldsOf<PciDevice>() {
    return fields;
}

} // namespace zel
