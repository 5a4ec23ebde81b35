// Reads the SMART / Health log of an NVMe controller.
#include "host/hardware/NvmeLog.h"

#include "host/source/LineScan.h"

#include <cerrno>
#include <linux/nvme_ioctl.h>
#include <sys/ioctl.h>

namespace zel {

namespace {

// Where a field of the log is.
struct LogAt {
    enum : std::size_t {
        CriticalWarning = 0,
        Temperature = 1,
        Spare = 3,
        SpareThreshold = 4,
        Used = 5,
        UnitsRead = 32,
        UnitsWritten = 48,
        ReadCommands = 64,
        WriteCommands = 80,
        BusyMinutes = 96,
        PowerCycles = 112,
        PoweredHours = 128,
        UnsafeShutdowns = 144,
        MediaErrors = 160,
        ErrorLogEntries = 176,
        WarningMinutes = 192,
        CriticalMinutes = 196
    };
};

constexpr std::size_t wideNumber = 16; // bytes of the counters

std::uint64_t numberAt(const NvmeHealthLog &log, std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t byte = size; byte > 0; --byte)
        value = value << 8 | log[at + byte - 1];
    return value;
}

// The counters have 128 bits. No device lives to need the upper half: it is malformed.
Count counterAt(const NvmeHealthLog &log, std::size_t at) {
    constexpr std::size_t half = wideNumber / 2;
    return numberAt(log, at + half, half) == 0 ? Count(numberAt(log, at, half)) : Count(Absence::Malformed);
}

Number secondsAt(const NvmeHealthLog &log, std::size_t at, double unit) {
    const Count count = counterAt(log, at);
    return count ? Number(static_cast<double>(*count) * unit) : Number(count.absence());
}

double percentAt(const NvmeHealthLog &log, std::size_t at) {
    return static_cast<double>(log[at]) / 100;
}

} // namespace

void takeNvmeHealth(const NvmeHealthLog &log, NvmeHealth &health) {
    constexpr std::uint64_t bytesPerUnit = 512 * 1000;
    constexpr double secondsPerMinute = 60, secondsPerHour = 3600, freezingPoint = 273.15;
    const unsigned warning = log[LogAt::CriticalWarning];
    const auto bit = [warning](unsigned number) { return std::uint64_t{warning >> number & 1U}; };
    health.criticalWarning = warning;
    health.spareLow = bit(0);
    health.temperatureOutside = bit(1);
    health.unreliable = bit(2);
    health.mediaReadOnly = bit(3);
    health.backupFailed = bit(4);
    health.persistentMemoryUnreliable = bit(5);
    const std::uint64_t kelvin = numberAt(log, LogAt::Temperature, 2);
    health.temperature = kelvin > 0 ? Number(static_cast<double>(kelvin) - freezingPoint) : Absence::Unsupported;
    health.spareRatio = percentAt(log, LogAt::Spare);
    health.spareThresholdRatio = percentAt(log, LogAt::SpareThreshold);
    health.usedRatio = percentAt(log, LogAt::Used);
    health.readBytes = scaledCount(counterAt(log, LogAt::UnitsRead), bytesPerUnit);
    health.writtenBytes = scaledCount(counterAt(log, LogAt::UnitsWritten), bytesPerUnit);
    health.readCommands = counterAt(log, LogAt::ReadCommands);
    health.writeCommands = counterAt(log, LogAt::WriteCommands);
    health.busySeconds = secondsAt(log, LogAt::BusyMinutes, secondsPerMinute);
    health.poweredSeconds = secondsAt(log, LogAt::PoweredHours, secondsPerHour);
    health.powerCycles = counterAt(log, LogAt::PowerCycles);
    health.unsafeShutdowns = counterAt(log, LogAt::UnsafeShutdowns);
    health.mediaErrors = counterAt(log, LogAt::MediaErrors);
    health.errorLogEntries = counterAt(log, LogAt::ErrorLogEntries);
    health.warningTemperatureSeconds = static_cast<double>(numberAt(log, LogAt::WarningMinutes, 4)) * secondsPerMinute;
    health.criticalTemperatureSeconds =
        static_cast<double>(numberAt(log, LogAt::CriticalMinutes, 4)) * secondsPerMinute;
}

int readNvmeHealthLog(int device, NvmeHealthLog &log) {
    constexpr unsigned getLogPage = 0x02, healthLog = 0x02, everyNamespace = 0xFFFFFFFF;
    constexpr unsigned doubleWords = NVME_HEALTH_LOG_SIZE / 4 - 1; // as the command counts them: from 0
    nvme_admin_cmd command{};
    command.opcode = getLogPage;
    command.nsid = everyNamespace;
    command.addr = reinterpret_cast<std::uintptr_t>(log.data());
    command.data_len = NVME_HEALTH_LOG_SIZE;
    command.cdw10 = healthLog | doubleWords << 16;
    // No time limit of our own: a driver resets the controller when one is over.
    const int status = ioctl(device, NVME_IOCTL_ADMIN_CMD, &command);
    if (status < 0)
        return errno;
    return status == 0 ? 0 : EIO;
}

} // namespace zel
