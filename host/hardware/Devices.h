// Disks, the health of NVMe controllers, Fibre Channel adapters and graphics cards.
#pragma once

#include "host/Schema.h"

namespace zel {

struct DiskUnit {
    std::string name; // "sda", as the kernel has it
};

struct NvmeHealth {
    std::string name; // of the controller: "nvme0"
};

struct FibreChannelAdapter {
    std::string name; // of the port: "host3"
};

struct GpuCard {
    std::string address; // of the PCI device
};

template<> std::span<const Field<DiskUnit>> fieldsOf<DiskUnit>();
template<> std::span<const Field<NvmeHealth>> fieldsOf<NvmeHealth>();
template<> std::span<const Field<FibreChannelAdapter>> fieldsOf<FibreChannelAdapter>();
template<> std::span<const Field<GpuCard>> fieldsOf<GpuCard>();

} // namespace zel
