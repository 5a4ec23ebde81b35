// The fields of disks, NVMe controllers, Fibre Channel adapters and graphics cards.
#include "host/hardware/Devices.h"

namespace zel {

namespace {

constexpr Entries<DiskUnit> disk{Area::Hardware, "disk_units", "/sys/class/block"};
constexpr Field<DiskUnit> diskFields[] = {
    disk.label("name", &DiskUnit::name, "Name of the device as the kernel has it."),
};

constexpr Entries<NvmeHealth> nvme{Area::Hardware, "nvme_health", "/sys/class/nvme"};
constexpr Field<NvmeHealth> nvmeFields[] = {
    nvme.label("name", &NvmeHealth::name, "Name of the controller."),
};

constexpr Entries<FibreChannelAdapter> fibre{Area::Hardware, "fibre_channel_adapters", "/sys/class/fc_host"};
constexpr Field<FibreChannelAdapter> fibreFields[] = {
    fibre.label("name", &FibreChannelAdapter::name, "Name of the port."),
};

constexpr Entries<GpuCard> gpu{Area::Hardware, "gpu_cards", "/sys/bus/pci/devices"};
constexpr Field<GpuCard> gpuFields[] = {
    gpu.label("address", &GpuCard::address, "Address of its PCI device."),
};

} // namespace

template<> std::span<const Field<DiskUnit>> fieldsOf<DiskUnit>() {
    return diskFields;
}
template<> std::span<const Field<NvmeHealth>> fieldsOf<NvmeHealth>() {
    return nvmeFields;
}
template<> std::span<const Field<FibreChannelAdapter>> fieldsOf<FibreChannelAdapter>() {
    return fibreFields;
}
template<> std::span<const Field<GpuCard>> fieldsOf<GpuCard>() {
    return gpuFields;
}

} // namespace zel
