// Graphics cards and other accelerators: PCI devices of the classes 03 and 12. Names are those of the PCI tables; what
// a driver knows beyond them comes from sysfs (amdgpu) or /proc/driver/nvidia. Any user.
#pragma once

#include "host/Schema.h"

namespace zel {

struct GpuCard {
    std::string address; // of the PCI device: "0000:01:00.0"
    Reading<std::string> vendorId, vendorName, deviceId, deviceName;
    Reading<std::string> classId; // "0x030000"
    Reading<std::string> driver;
    Reading<std::string> model; // as the driver has it
    Reading<std::string> videoBios;
    Reading<std::string> serial;
    Count memoryBytes;
    Count bootDisplay;            // 1 when the firmware's messages are on it
    Reading<std::string> devices; // its devices below /dev/dri: "card0 renderD128"
    Count node;                   // NUMA
};

template<> std::span<const Field<GpuCard>> fieldsOf<GpuCard>();

} // namespace zel
