// The fields of graphics processors and of the processes that use them.
#include "host/Gpu.h"

namespace zel {

namespace {

constexpr std::string_view byNvml = "the NVIDIA driver's libnvidia-ml.so.1";
constexpr std::string_view byBoth = "the NVIDIA driver's libnvidia-ml.so.1, or a GPU driver of the kernel";
constexpr std::string_view byKernel = "a GPU driver of the kernel (amdgpu, i915, xe)";
constexpr std::string_view byAmd = "the kernel's amdgpu";
constexpr std::string_view byIntel = "the kernel's i915 or xe";

constexpr unsigned char replayBits = 32;

constexpr Entries<Gpu> both{Area::Gpus, "gpus", "NVML, /sys/class/drm/card*/device", byBoth};
constexpr Entries<Gpu> nvml = both.from("NVML", byNvml);
constexpr Entries<Gpu> card = both.from("/sys/class/drm/card*/device", byKernel);
constexpr Entries<Gpu> amd = both.from("/sys/class/drm/card*/device", byAmd);
constexpr Entries<Gpu> nvmlAndAmd = both.from("NVML, /sys/class/drm/card*/device", byBoth);
constexpr Entries<Gpu> sensor = both.from("NVML, /sys/class/drm/card*/device/hwmon", byBoth);
constexpr Entries<Gpu> intel = both.from("/sys/class/drm/card*/gt", byIntel);
constexpr Entries<Gpu> throttle = both.from("NVML, /sys/class/drm/card*/gt", byBoth);

constexpr Field<Gpu> fields[] = {
    both.label("gpu", &Gpu::gpu, "nvidia and the index of NVML, or card and a number as the kernel has it."),
    both.label("address", &Gpu::address, "Address on the PCI bus; empty for one on no bus."),
    both.label("uuid", &Gpu::uuid, "Identifier that lasts, of NVML or amdgpu; empty when there is none."),
    nvmlAndAmd.info("name", &Gpu::name, "Name of the product."),
    both.info("pci_id", &Gpu::pciId, "PCI vendor and device, in hexadecimal."),
    both.info("driver", &Gpu::driver, "Driver of the kernel."),
    nvml.info("driver_version", &Gpu::driverVersion, "Version of the driver."),
    nvml.info("library_version", &Gpu::libraryVersion, "Version of the management library."),
    nvmlAndAmd.info("firmware", &Gpu::firmware, "Version of its firmware (VBIOS)."),
    card.state("power_state", &Gpu::powerState, "State of the kernel's power management: active, suspended."),

    nvmlAndAmd.gauge("utilisation_ratio", &Gpu::utilisation, Unit::Ratio,
                     "Share of the last moments in which it worked, as the driver measures it."),
    nvmlAndAmd.gauge("memory_utilisation_ratio", &Gpu::memoryUtilisation, Unit::Ratio,
                     "Share of the last moments in which its memory was read or written."),
    nvml.gauge("encoder_utilisation_ratio", &Gpu::encoderUtilisation, Unit::Ratio, "Use of the video encoder."),
    nvml.gauge("decoder_utilisation_ratio", &Gpu::decoderUtilisation, Unit::Ratio, "Use of the video decoder."),
    intel.counter("idle_seconds_total", &Gpu::idleSeconds, Unit::Seconds,
                  "Time in its deepest idle state (RC6, idle residency)."),

    nvmlAndAmd.gauge("memory_total_bytes", &Gpu::memoryTotalBytes, Unit::Bytes, "Memory of its own."),
    nvmlAndAmd.gauge("memory_used_bytes", &Gpu::memoryUsedBytes, Unit::Bytes, "Memory of its own in use."),
    nvmlAndAmd.gauge("memory_free_bytes", &Gpu::memoryFreeBytes, Unit::Bytes, "Memory of its own that is free."),
    nvml.gauge("memory_reserved_bytes", &Gpu::memoryReservedBytes, Unit::Bytes,
               "Memory of its own that the driver and firmware keep; not part of what is used."),
    nvmlAndAmd.gauge("visible_memory_total_bytes", &Gpu::visibleTotalBytes, Unit::Bytes,
                     "Part of its memory that processors can reach (BAR1, visible VRAM)."),
    nvmlAndAmd.gauge("visible_memory_used_bytes", &Gpu::visibleUsedBytes, Unit::Bytes, "Of that, in use."),
    amd.gauge("system_memory_total_bytes", &Gpu::systemTotalBytes, Unit::Bytes,
              "Memory of the host that it may use (GTT)."),
    amd.gauge("system_memory_used_bytes", &Gpu::systemUsedBytes, Unit::Bytes, "Memory of the host that it uses (GTT)."),

    sensor.gauge("temperature_celsius", &Gpu::temperatureCelsius, Unit::Celsius, "Temperature of the chip."),
    sensor.gauge("hotspot_celsius", &Gpu::hotspotCelsius, Unit::Celsius, "Temperature of its hottest place."),
    sensor.gauge("memory_celsius", &Gpu::memoryCelsius, Unit::Celsius, "Temperature of its memory."),
    sensor.gauge("slowdown_celsius", &Gpu::slowdownCelsius, Unit::Celsius, "Temperature at which it slows down."),
    sensor.gauge("shutdown_celsius", &Gpu::shutdownCelsius, Unit::Celsius, "Temperature at which it shuts down."),
    sensor.gauge("fan_ratio", &Gpu::fanRatio, Unit::Ratio, "Speed of the fan that is asked for, of the highest."),
    sensor.gauge("power_watts", &Gpu::powerWatts, Unit::Watts, "Power draw."),
    sensor.gauge("power_limit_watts", &Gpu::powerLimitWatts, Unit::Watts, "Power limit in force."),
    sensor.gauge("power_limit_default_watts", &Gpu::powerLimitDefaultWatts, Unit::Watts,
                 "Power limit that it starts with."),
    sensor.counter("energy_joules_total", &Gpu::energyJoules, Unit::Joules, "Energy since the driver was loaded."),

    both.gauge("graphics_hertz", &Gpu::graphicsHertz, Unit::Hertz, "Clock of the graphics engine."),
    nvml.gauge("sm_hertz", &Gpu::smHertz, Unit::Hertz, "Clock of the streaming multiprocessors."),
    nvmlAndAmd.gauge("memory_hertz", &Gpu::memoryHertz, Unit::Hertz, "Clock of the memory."),
    nvml.gauge("video_hertz", &Gpu::videoHertz, Unit::Hertz, "Clock of the video engines."),
    both.gauge("graphics_most_hertz", &Gpu::graphicsMostHertz, Unit::Hertz, "Highest clock of the graphics engine."),
    nvml.gauge("sm_most_hertz", &Gpu::smMostHertz, Unit::Hertz, "Highest clock of the streaming multiprocessors."),
    nvmlAndAmd.gauge("memory_most_hertz", &Gpu::memoryMostHertz, Unit::Hertz, "Highest clock of the memory."),
    nvml.gauge("video_most_hertz", &Gpu::videoMostHertz, Unit::Hertz, "Highest clock of the video engines."),
    nvml.state("performance_state", &Gpu::performanceState, "Number of the performance state: 0 is the fastest."),

    nvml.state("clocks_idle", &Gpu::clocksIdle, "1 when clocks are low because nothing runs."),
    nvml.state("clocks_application", &Gpu::clocksApplication, "1 when clocks are held by the setting of a user."),
    nvml.state("clocks_display", &Gpu::clocksDisplay, "1 when clocks are held by the setting for displays."),
    nvml.state("clocks_sync_boost", &Gpu::clocksSyncBoost, "1 when clocks are held by a group of GPUs."),
    throttle.state("throttled_power_cap", &Gpu::throttledPowerCap, "1 when the power limit slows it down."),
    nvml.state("throttled_power_brake", &Gpu::throttledPowerBrake,
               "1 when the power supply slows it down by a signal."),
    nvml.state("throttled_thermal_software", &Gpu::throttledThermalSoftware,
               "1 when the driver slows it down because it is too hot."),
    throttle.state("throttled_thermal_hardware", &Gpu::throttledThermalHardware,
                   "1 when the hardware slows it down because it is too hot."),
    nvml.state("throttled_hardware", &Gpu::throttledHardware,
               "1 when the hardware slows it down, because it is too hot or for the power supply."),

    nvml.state("ecc_enabled", &Gpu::eccEnabled, "1 when errors of its memory are corrected."),
    nvmlAndAmd.counter("ecc_corrected_total", &Gpu::eccCorrected, Unit::None,
                       "Errors of its memory that were corrected, since the driver was loaded."),
    nvmlAndAmd.counter("ecc_uncorrected_total", &Gpu::eccUncorrected, Unit::None,
                       "Errors of its memory that could not be corrected, since the driver was loaded."),
    nvml.counter("ecc_corrected_ever_total", &Gpu::eccCorrectedEver, Unit::None,
                 "Errors of its memory that were corrected, in its life."),
    nvml.counter("ecc_uncorrected_ever_total", &Gpu::eccUncorrectedEver, Unit::None,
                 "Errors of its memory that could not be corrected, in its life."),
    nvml.gauge("retired_pages_corrected", &Gpu::retiredPagesCorrected, Unit::None,
               "Pages taken out of use for errors that were corrected."),
    nvml.gauge("retired_pages_uncorrected", &Gpu::retiredPagesUncorrected, Unit::None,
               "Pages taken out of use for an error that could not be corrected."),
    nvml.state("retired_pages_pending", &Gpu::retiredPagesPending, "1 when pages leave use at the next restart."),
    nvml.gauge("remapped_rows_corrected", &Gpu::remappedRowsCorrected, Unit::None,
               "Rows of memory replaced for errors that were corrected."),
    nvml.gauge("remapped_rows_uncorrected", &Gpu::remappedRowsUncorrected, Unit::None,
               "Rows of memory replaced for an error that could not be corrected."),
    nvml.state("remapped_rows_pending", &Gpu::remappedRowsPending, "1 when rows are replaced at the next reset."),
    nvml.state("remapped_rows_failed", &Gpu::remappedRowsFailed, "1 when a row could not be replaced."),

    both.gauge("pcie_generation", &Gpu::pcieGeneration, Unit::None, "PCIe generation of the link now."),
    both.gauge("pcie_width", &Gpu::pcieWidth, Unit::None, "PCIe lanes in use."),
    both.gauge("pcie_generation_most", &Gpu::pcieGenerationMost, Unit::None, "Highest PCIe generation of the link."),
    both.gauge("pcie_width_most", &Gpu::pcieWidthMost, Unit::None, "PCIe lanes that the link can have."),
    nvmlAndAmd.counter("pcie_replays_total", &Gpu::pcieReplays, Unit::None, "PCIe packets that were sent again.",
                       replayBits),
    nvml.info("compute_mode", &Gpu::computeMode, "default, exclusive_thread, prohibited or exclusive_process."),
    nvml.state("persistence", &Gpu::persistence, "1 when the driver keeps it ready without a user."),
    nvml.state("mig_enabled", &Gpu::migEnabled, "1 when it is split into instances (MIG)."),
    nvml.gauge("mig_devices", &Gpu::migDevices, Unit::None, "Instances that it is split into."),
};

constexpr Entries<GpuProcess> process{Area::Gpus, "gpu_processes", "NVML, /proc/<pid>/fdinfo", byBoth};
constexpr Entries<GpuProcess> fdinfo = process.from("/proc/<pid>/fdinfo", byKernel);

constexpr Field<GpuProcess> processFields[] = {
    process.label("gpu", &GpuProcess::gpu, "The GPU, as in gpus."),
    process.label("pid", &GpuProcess::pid, "Process id."),
    process.label("kind", &GpuProcess::kind, "compute or graphics (NVML), drm (the kernel's own drivers)."),
    process.gauge("used_bytes", &GpuProcess::usedBytes, Unit::Bytes, "Memory of the GPU that it uses."),
    fdinfo.needing(Rights::Owner, fdinfo.gauge("system_bytes", &GpuProcess::systemBytes, Unit::Bytes,
                                               "Memory of the host that it uses for the GPU.")),
    fdinfo.needing(Rights::Owner, fdinfo.counter("engine_seconds_total", &GpuProcess::engineSeconds, Unit::Seconds,
                                                 "Time of all engines together.")),
    fdinfo.needing(Rights::Owner, fdinfo.counter("render_seconds_total", &GpuProcess::renderSeconds, Unit::Seconds,
                                                 "Time of the graphics engine.")),
    fdinfo.needing(Rights::Owner, fdinfo.counter("compute_seconds_total", &GpuProcess::computeSeconds, Unit::Seconds,
                                                 "Time of the compute engines.")),
    fdinfo.needing(Rights::Owner, fdinfo.counter("copy_seconds_total", &GpuProcess::copySeconds, Unit::Seconds,
                                                 "Time of the copy engines.")),
    fdinfo.needing(Rights::Owner, fdinfo.counter("video_seconds_total", &GpuProcess::videoSeconds, Unit::Seconds,
                                                 "Time of the video engines.")),
};

} // namespace

template<> std::span<const Field<Gpu>> fieldsOf<Gpu>() {
    return fields;
}

template<> std::span<const Field<GpuProcess>> fieldsOf<GpuProcess>() {
    return processFields;
}

} // namespace zel
