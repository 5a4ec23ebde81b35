// The fields of graphics cards and other accelerators.
#include "host/hardware/GpuCard.h"

namespace zel {

namespace {

constexpr Entries<GpuCard> card{Area::Hardware, "gpu_cards", "/sys/bus/pci/devices",
                                "a PCI device of class 03 (display) or 12 (accelerator)"};
constexpr Entries<GpuCard> names = card.from("/usr/share/misc/pci.ids", "the package pci.ids or hwdata");
constexpr Entries<GpuCard> driver =
    card.from("/sys/bus/pci/devices, /proc/driver/nvidia/gpus", "the driver amdgpu or nvidia");
constexpr Entries<GpuCard> amd = card.from("/sys/bus/pci/devices", "the driver amdgpu");

constexpr Field<GpuCard> fields[] = {
    card.label("address", &GpuCard::address, "Address of its PCI device."),
    card.info("vendor_id", &GpuCard::vendorId, "Number of the vendor."),
    names.info("vendor_name", &GpuCard::vendorName, "Name of the vendor."),
    card.info("device_id", &GpuCard::deviceId, "Number of the device."),
    names.info("device_name", &GpuCard::deviceName, "Name of the device."),
    card.info("class_id", &GpuCard::classId, "Class, subclass and programming interface."),
    card.info("driver", &GpuCard::driver, "Driver."),
    driver.info("model", &GpuCard::model, "Model, as the driver has it."),
    driver.info("video_bios", &GpuCard::videoBios, "Version of its firmware."),
    amd.needing(Rights::Root, amd.info("serial", &GpuCard::serial, "Serial number, when asked for.")),
    amd.info("memory_bytes", &GpuCard::memoryBytes, Unit::Bytes, "Memory of its own."),
    card.info("boot_display", &GpuCard::bootDisplay, "1 when the firmware's messages are on it."),
    card.info("devices", &GpuCard::devices, "Its devices below /dev/dri."),
    card.info("node", &GpuCard::node, "NUMA node that it is connected to."),
};

} // namespace

template<> std::span<const Field<GpuCard>> fieldsOf<GpuCard>() {
    return fields;
}

} // namespace zel
