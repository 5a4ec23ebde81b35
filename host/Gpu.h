// Graphics processors. Of NVIDIA what its management library NVML says (libnvidia-ml.so.1, which comes with the driver
// and is opened while the program runs); of amdgpu, i915, xe and others what the kernel shows below /sys/class/drm. Any
// user; memory and engines of other users' processes need root.
//
// A GPU is its name, PCI address and identifier. One that NVML shows is not shown by sysfs a second time.
//
// NVML is asked on this host only, never below a root directory, and only where the NVIDIA driver is loaded. All of it
// is done by one bounded call in a sample: while it does not answer, the NVIDIA GPUs are timed out, and it is not asked
// again. It is initialised once; after a failure, or where it is missing, it is tried again after 30 seconds. What
// describes a GPU is read again after a minute, or when the number of GPUs changed.
//
// The files of a card below /sys/class/drm are answered by its driver: a bounded call for each card. A card that the
// kernel has suspended is not woken: what changes is "not yet" then.
//
// The memory and engine time of processes on cards of the kernel's own drivers are in /proc/<pid>/fdinfo. The
// descriptors are looked for every 10 seconds and only where such a card exists; those that were found are read in each
// sample.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Gpu {
    std::string gpu;     // "nvidia0" by NVML's index, "card0" as the kernel has it
    std::string address; // on the PCI bus, "0000:3b:00.0"; empty for one on no bus
    std::string uuid;    // NVML's UUID, unique_id of amdgpu; empty when there is none
    Reading<std::string> name, pciId, driver, driverVersion, libraryVersion, firmware;
    Reading<std::string> powerState; // of the kernel's power management: "active", "suspended"

    Number utilisation, memoryUtilisation, encoderUtilisation, decoderUtilisation;
    Number idleSeconds;

    Count memoryTotalBytes, memoryUsedBytes, memoryFreeBytes, memoryReservedBytes;
    Count visibleTotalBytes, visibleUsedBytes; // the part that processors can reach
    Count systemTotalBytes, systemUsedBytes;   // memory of the host that it may use

    Number temperatureCelsius, hotspotCelsius, memoryCelsius, slowdownCelsius, shutdownCelsius;
    Number fanRatio;
    Number powerWatts, powerLimitWatts, powerLimitDefaultWatts, energyJoules;

    Number graphicsHertz, smHertz, memoryHertz, videoHertz;
    Number graphicsMostHertz, smMostHertz, memoryMostHertz, videoMostHertz;
    Count performanceState;

    // Why its clocks are what they are: 1 while it is a reason.
    Count clocksIdle, clocksApplication, clocksDisplay, clocksSyncBoost;
    Count throttledPowerCap, throttledPowerBrake, throttledThermalSoftware, throttledThermalHardware;
    Count throttledHardware;

    Count eccEnabled;
    Count eccCorrected, eccUncorrected; // since the driver was loaded
    Count eccCorrectedEver, eccUncorrectedEver;
    Count retiredPagesCorrected, retiredPagesUncorrected, retiredPagesPending;
    Count remappedRowsCorrected, remappedRowsUncorrected, remappedRowsPending, remappedRowsFailed;

    Count pcieGeneration, pcieWidth, pcieGenerationMost, pcieWidthMost, pcieReplays;
    Reading<std::string> computeMode;
    Count persistence, migEnabled, migDevices;
};

/// What one process has of one GPU.
struct GpuProcess {
    std::string gpu; // as in Gpu
    std::uint64_t pid = 0;
    std::string kind; // "compute" and "graphics" of NVML, "drm" of the kernel's own drivers
    Count usedBytes, systemBytes;
    Number engineSeconds; // of all engines together; the four below are parts of it
    Number renderSeconds, computeSeconds, copySeconds, videoSeconds;
};

template<> std::span<const Field<Gpu>> fieldsOf<Gpu>();
template<> std::span<const Field<GpuProcess>> fieldsOf<GpuProcess>();

} // namespace zel
