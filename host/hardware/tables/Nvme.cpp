// The fields of NVMe controllers and of their health.
#include "host/hardware/Nvme.h"

#include "host/hardware/RootFields.h"

namespace zel {

namespace {

constexpr Entries<NvmeController> nvme{Area::Hardware, "nvme_controllers", "/sys/class/nvme", "an NVMe controller"};

constexpr Field<NvmeController> controllerFields[] = {
    nvme.label("name", &NvmeController::name, "Name of the controller."),
    nvme.info("model", &NvmeController::model, "Model."),
    nvme.needing(Rights::Root, nvme.info("serial", &NvmeController::serial, "Serial number, when asked for.")),
    nvme.info("firmware", &NvmeController::firmware, "Revision of its firmware."),
    nvme.info("transport", &NvmeController::transport, "By what it is connected: pcie, tcp, rdma, fc or loop."),
    nvme.info("address", &NvmeController::address, "Its address there."),
    nvme.state("state", &NvmeController::state, "State: live, resetting, connecting, dead, ..."),
    nvme.info("type", &NvmeController::type, "What the controller is for: io, discovery or admin."),
    nvme.needing(Rights::Root, nvme.info("subsystem_name", &NvmeController::subsystemName,
                                         "Qualified name (NQN) of its subsystem, when asked for.")),
    nvme.info("driver", &NvmeController::driver, "Driver of its PCI device."),
    nvme.info("controller_id", &NvmeController::controllerId, "Number of the controller in its subsystem."),
    nvme.info("node", &NvmeController::node, "NUMA node that it is connected to."),
    nvme.info("queues", &NvmeController::queues, "Queues that the driver has set up, with that for administration."),
    nvme.info("queue_entries", &NvmeController::queueEntries, "Commands that each queue takes."),
    nvme.info("namespaces", &NvmeController::namespaces, "Namespaces that it shows."),
};

constexpr Entries<NvmeHealth> health{Area::Hardware, "nvme_health", "SMART / Health log of /dev/nvme*",
                                     "root, on a host with an NVMe controller"};

constexpr std::array healthFields = rootFields<NvmeHealth>({
    health.label("name", &NvmeHealth::name, "Name of the controller."),
    health.state("critical_warning", &NvmeHealth::criticalWarning,
                 "The bits of the next six, as the controller has them."),
    health.state("spare_low", &NvmeHealth::spareLow, "1 when the spare is below its threshold."),
    health.state("temperature_outside", &NvmeHealth::temperatureOutside, "1 when a temperature is beyond a threshold."),
    health.state("unreliable", &NvmeHealth::unreliable, "1 when errors have made it unreliable."),
    health.state("media_read_only", &NvmeHealth::mediaReadOnly, "1 when its media can only be read."),
    health.state("backup_failed", &NvmeHealth::backupFailed, "1 when the backup of its volatile memory has failed."),
    health.state("persistent_memory_unreliable", &NvmeHealth::persistentMemoryUnreliable,
                 "1 when its persistent memory region has become read-only or unreliable."),
    health.gauge("temperature_celsius", &NvmeHealth::temperature, Unit::Celsius, "Temperature of the whole."),
    health.gauge("spare_ratio", &NvmeHealth::spareRatio, Unit::Ratio, "Spare capacity that is left."),
    health.gauge("spare_threshold_ratio", &NvmeHealth::spareThresholdRatio, Unit::Ratio,
                 "Spare below which it gives a warning."),
    health.gauge("used_ratio", &NvmeHealth::usedRatio, Unit::Ratio,
                 "Part of its expected life that is used up; above 1 when it lives longer."),
    health.counter("read_bytes_total", &NvmeHealth::readBytes, Unit::Bytes, "Bytes read, rounded up to 512000."),
    health.counter("written_bytes_total", &NvmeHealth::writtenBytes, Unit::Bytes,
                   "Bytes written, rounded up to 512000."),
    health.counter("read_commands_total", &NvmeHealth::readCommands, Unit::None, "Read commands completed."),
    health.counter("write_commands_total", &NvmeHealth::writeCommands, Unit::None, "Write commands completed."),
    health.counter("busy_seconds_total", &NvmeHealth::busySeconds, Unit::Seconds,
                   "Time with commands in progress, in minutes."),
    health.counter("powered_seconds_total", &NvmeHealth::poweredSeconds, Unit::Seconds, "Time switched on, in hours."),
    health.counter("power_cycles_total", &NvmeHealth::powerCycles, Unit::None, "Times that it was switched on."),
    health.counter("unsafe_shutdowns_total", &NvmeHealth::unsafeShutdowns, Unit::None,
                   "Times that it lost its power without notice."),
    health.counter("media_errors_total", &NvmeHealth::mediaErrors, Unit::None,
                   "Errors of data that it could not correct."),
    health.counter("error_log_entries_total", &NvmeHealth::errorLogEntries, Unit::None, "Entries of its error log."),
    health.counter("warning_temperature_seconds_total", &NvmeHealth::warningTemperatureSeconds, Unit::Seconds,
                   "Time above the warning threshold of the temperature, in minutes."),
    health.counter("critical_temperature_seconds_total", &NvmeHealth::criticalTemperatureSeconds, Unit::Seconds,
                   "Time above the critical threshold of the temperature, in minutes."),
});

} // namespace

template<> std::span<const Field<NvmeController>> fieldsOf<NvmeController>() {
    return controllerFields;
}

template<> std::span<const Field<NvmeHealth>> fieldsOf<NvmeHealth>() {
    return healthFields;
}

} // namespace zel
