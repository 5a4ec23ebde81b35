// Asks NVML about one GPU.
#include "host/gpu/NvmlReadings.h"

#include "host/gpu/NvmlLibrary.h"
#include "host/source/AttributeText.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zel {

namespace {

constexpr double perPercent = 0.01, perMilli = 1e-3, perMega = 1e6;
constexpr unsigned textSize = 96; // the longest that the library documents
constexpr unsigned sensorOfChip = 0;
constexpr unsigned busesAtMost = 256, devicesAtMost = 32; // of a PCI domain, and of a bus
constexpr unsigned migDevicesAtMost = 64;

template<class... Argument> int call(int (*function)(Argument...), std::type_identity_t<Argument>... argument) {
    return function == nullptr ? static_cast<int>(nvml::FunctionNotFound) : function(argument...);
}

// A function of a device that gives one number, after the arguments `before`.
template<class Value = unsigned, class Function, class... Before>
Count number(const NvmlGpu &from, Function function, Before... before) {
    Value value = 0;
    if (const int result = call(function, from.device, before..., &value); result != nvml::Success)
        return nvmlAbsence(result);
    return value == static_cast<Value>(-1) ? Count(Absence::Unsupported) : Count(std::uint64_t{value});
}

Number scaled(const Count &count, double factor) {
    return count ? Number(static_cast<double>(*count) * factor) : Number(count.absence());
}

// A share of time.
Number shareOf(const Count &percent) {
    return percent && *percent > 100 ? Number(Absence::Malformed) : scaled(percent, perPercent);
}

Count flag(const Count &count) {
    return count && *count > 1 ? Count(Absence::Malformed) : count;
}

// A text that may lack its end.
template<class Function, class... Before>
void text(Reading<std::string> &reading, Function function, Before... before) {
    std::array<char, textSize + 1> room{};
    const int result = call(function, before..., room.data(), textSize);
    if (result != nvml::Success)
        return reading.clear(nvmlAbsence(result));
    takeAttributeText(std::string_view(room.data()), reading);
}

void describeAddress(const NvmlGpu &from, Gpu &gpu) {
    nvml::PciInfo info{};
    const int result = call(from.functions.pciInfo, from.device, &info);
    gpu.address.clear();
    gpu.pciId.clear(nvmlAbsence(result));
    if (result != nvml::Success)
        return;
    std::array<char, 32> room{};
    if (info.bus < busesAtMost && info.device < devicesAtMost) {
        std::snprintf(room.data(), room.size(), "%04x:%02x:%02x.0", info.domain, info.bus, info.device);
        gpu.address = room.data();
    }
    std::snprintf(room.data(), room.size(), "%04x:%04x", info.vendorAndDevice & 0xFFFFU, info.vendorAndDevice >> 16U);
    gpu.pciId.set(std::string_view(room.data()));
}

void describeTexts(const NvmlGpu &from, Gpu &gpu) {
    Reading<std::string> uuid;
    text(uuid, from.functions.uuid, from.device);
    gpu.uuid = uuid.valueOr("");
    describeAddress(from, gpu);
    text(gpu.name, from.functions.name, from.device);
    text(gpu.firmware, from.functions.firmware, from.device);
    text(gpu.driverVersion, from.functions.driverVersion);
    text(gpu.libraryVersion, from.functions.libraryVersion);
    gpu.driver.set("nvidia");
    const Count mode = number(from, from.functions.computeMode);
    constexpr std::array<std::string_view, 4> names{"default", "exclusive_thread", "prohibited", "exclusive_process"};
    if (mode && *mode < names.size())
        gpu.computeMode.set(names[*mode]);
    else
        gpu.computeMode.clear(mode ? Absence::Malformed : mode.absence());
}

void describeInstances(const NvmlGpu &from, Gpu &gpu) {
    unsigned current = 0, pending = 0, most = 0;
    const int result = call(from.functions.migMode, from.device, &current, &pending);
    gpu.migEnabled = result == nvml::Success ? flag(std::uint64_t{current}) : Count(nvmlAbsence(result));
    gpu.migDevices = gpu.migEnabled ? Count(std::uint64_t{0}) : gpu.migEnabled;
    if (gpu.migEnabled.valueOr(0) == 0)
        return;
    if (const int error = call(from.functions.migDevicesMost, from.device, &most); error != nvml::Success) {
        gpu.migDevices = nvmlAbsence(error);
        return;
    }
    std::uint64_t instances = 0;
    for (unsigned index = 0; index < most && index < migDevicesAtMost; ++index) {
        nvml::Device instance = nullptr;
        instances += call(from.functions.migDevice, from.device, index, &instance) == nvml::Success;
    }
    gpu.migDevices = instances;
}

void describeMemoryFaults(const NvmlGpu &from, Gpu &gpu) {
    unsigned current = 0, pending = 0;
    const int mode = call(from.functions.eccMode, from.device, &current, &pending);
    gpu.eccEnabled = mode == nvml::Success ? flag(std::uint64_t{current}) : Count(nvmlAbsence(mode));

    // Without room for the pages it says how many there are.
    const auto pages = [&from](unsigned cause) {
        unsigned count = 0;
        const int result = call(from.functions.retiredPages, from.device, cause, &count, nullptr);
        return result == nvml::Success || result == nvml::InsufficientSize ? Count(std::uint64_t{count})
                                                                           : Count(nvmlAbsence(result));
    };
    gpu.retiredPagesCorrected = pages(nvml::RetiredForManyCorrected);
    gpu.retiredPagesUncorrected = pages(nvml::RetiredForUncorrected);
    gpu.retiredPagesPending = flag(number(from, from.functions.retiredPagesPending));

    unsigned corrected = 0, uncorrected = 0, waiting = 0, failed = 0;
    const int rows = call(from.functions.remappedRows, from.device, &corrected, &uncorrected, &waiting, &failed);
    const auto row = [rows](unsigned count) {
        return rows == nvml::Success ? Count(std::uint64_t{count}) : Count(nvmlAbsence(rows));
    };
    gpu.remappedRowsCorrected = row(corrected);
    gpu.remappedRowsUncorrected = row(uncorrected);
    gpu.remappedRowsPending = flag(row(waiting));
    gpu.remappedRowsFailed = flag(row(failed));
}

void readUse(const NvmlGpu &from, Gpu &gpu) {
    nvml::Utilization use{};
    const int result = call(from.functions.utilization, from.device, &use);
    const Absence reason = nvmlAbsence(result);
    gpu.utilisation = shareOf(result == nvml::Success ? Count(std::uint64_t{use.gpu}) : reason);
    gpu.memoryUtilisation = shareOf(result == nvml::Success ? Count(std::uint64_t{use.memory}) : reason);
    const auto engine = [&from](int (*function)(nvml::Device, unsigned *, unsigned *)) {
        unsigned percent = 0, period = 0;
        const int error = call(function, from.device, &percent, &period);
        return shareOf(error == nvml::Success ? Count(std::uint64_t{percent}) : Count(nvmlAbsence(error)));
    };
    gpu.encoderUtilisation = engine(from.functions.encoderUtilization);
    gpu.decoderUtilisation = engine(from.functions.decoderUtilization);
}

Count bytes(int result, unsigned long long value) {
    if (result != nvml::Success)
        return nvmlAbsence(result);
    return value == nvml::NOT_AVAILABLE ? Count(Absence::Unsupported) : Count(std::uint64_t{value});
}

// The second version takes what is reserved out of what is used; the first one counts it as used.
void readMemory(const NvmlGpu &from, Gpu &gpu) {
    nvml::MemoryV2 memory{nvml::MEMORY_V2, 0, nvml::NOT_AVAILABLE, 0, 0};
    int result = call(from.functions.memoryV2, from.device, &memory);
    if (result == nvml::FunctionNotFound || result == nvml::ArgumentVersionMismatch) {
        nvml::Memory first{};
        result = call(from.functions.memory, from.device, &first);
        memory = {0, first.total, nvml::NOT_AVAILABLE, first.free, first.used};
    }
    gpu.memoryTotalBytes = bytes(result, memory.total);
    gpu.memoryUsedBytes = bytes(result, memory.used);
    gpu.memoryFreeBytes = bytes(result, memory.free);
    gpu.memoryReservedBytes = bytes(result, memory.reserved);
    nvml::Bar1Memory visible{};
    const int seen = call(from.functions.bar1Memory, from.device, &visible);
    gpu.visibleTotalBytes = bytes(seen, visible.total);
    gpu.visibleUsedBytes = bytes(seen, visible.used);
}

Number chipTemperature(const NvmlGpu &from) {
    if (from.functions.temperature != nullptr || from.functions.temperatureV == nullptr)
        return scaled(number(from, from.functions.temperature, sensorOfChip), 1);
    nvml::TemperatureV1 temperature{nvml::TEMPERATURE_V1, sensorOfChip, 0};
    const int result = call(from.functions.temperatureV, from.device, &temperature);
    return result == nvml::Success ? Number(temperature.celsius) : Number(nvmlAbsence(result));
}

// 0 is what cards without such a sensor say.
Number memoryTemperature(const NvmlGpu &from) {
    nvml::FieldValue field{};
    field.field = nvml::FieldMemoryTemperature;
    int result = call(from.functions.fieldValues, from.device, 1, &field);
    if (result == nvml::Success)
        result = field.result;
    if (result != nvml::Success)
        return nvmlAbsence(result);
    return field.value.number == 0 ? Number(Absence::Unsupported) : Number(field.value.number);
}

void readHeatAndPower(const NvmlGpu &from, Gpu &gpu) {
    gpu.temperatureCelsius = chipTemperature(from);
    gpu.memoryCelsius = memoryTemperature(from);
    gpu.fanRatio = scaled(number(from, from.functions.fanSpeed), perPercent);
    gpu.powerWatts = scaled(number(from, from.functions.powerUsage), perMilli);
    gpu.powerLimitWatts = scaled(number(from, from.functions.powerLimit), perMilli);
    gpu.energyJoules = scaled(number<unsigned long long>(from, from.functions.totalEnergy), perMilli);
}

void readClocks(const NvmlGpu &from, Gpu &gpu) {
    const auto clock = [&from](nvml::Clock which) {
        return scaled(number(from, from.functions.clock, static_cast<unsigned>(which)), perMega);
    };
    gpu.graphicsHertz = clock(nvml::ClockGraphics);
    gpu.smHertz = clock(nvml::ClockSm);
    gpu.memoryHertz = clock(nvml::ClockMemory);
    gpu.videoHertz = clock(nvml::ClockVideo);
    gpu.performanceState = number(from, from.functions.performanceState);
    if (gpu.performanceState.valueOr(0) == nvml::UNKNOWN_PERFORMANCE_STATE)
        gpu.performanceState = Absence::Unsupported;
}

void readReasons(const NvmlGpu &from, Gpu &gpu) {
    unsigned long long reasons = 0, supported = 0;
    const int result = call(from.functions.clocksReasons, from.device, &reasons);
    if (call(from.functions.clocksReasonsSupported, from.device, &supported) != nvml::Success)
        supported = ~0ULL;
    constexpr std::pair<Count Gpu::*, unsigned long long> members[] = {
        {&Gpu::clocksIdle, nvml::ReasonIdle},
        {&Gpu::clocksApplication, nvml::ReasonApplication},
        {&Gpu::clocksDisplay, nvml::ReasonDisplay},
        {&Gpu::clocksSyncBoost, nvml::ReasonSyncBoost},
        {&Gpu::throttledPowerCap, nvml::ReasonPowerCap},
        {&Gpu::throttledPowerBrake, nvml::ReasonPowerBrake},
        {&Gpu::throttledThermalSoftware, nvml::ReasonThermalSoftware},
        {&Gpu::throttledThermalHardware, nvml::ReasonThermalHardware},
        {&Gpu::throttledHardware, nvml::ReasonHardware},
    };
    for (const auto &[member, bit] : members) {
        if (result != nvml::Success)
            gpu.*member = nvmlAbsence(result);
        else if (((supported | reasons) & bit) == 0)
            gpu.*member = Absence::Unsupported;
        else
            gpu.*member = std::uint64_t{(reasons & bit) != 0};
    }
}

void readErrorsAndLink(const NvmlGpu &from, Gpu &gpu) {
    const auto errors = [&from](nvml::EccError error, nvml::EccCounter counter) {
        return number<unsigned long long>(from, from.functions.eccErrors, static_cast<unsigned>(error),
                                          static_cast<unsigned>(counter));
    };
    gpu.eccCorrected = errors(nvml::EccCorrected, nvml::EccVolatile);
    gpu.eccUncorrected = errors(nvml::EccUncorrected, nvml::EccVolatile);
    gpu.eccCorrectedEver = errors(nvml::EccCorrected, nvml::EccAggregate);
    gpu.eccUncorrectedEver = errors(nvml::EccUncorrected, nvml::EccAggregate);
    gpu.pcieGeneration = number(from, from.functions.pcieGeneration);
    gpu.pcieWidth = number(from, from.functions.pcieWidth);
    gpu.pcieReplays = number(from, from.functions.pcieReplays);
}

} // namespace

void describeNvmlGpu(const NvmlGpu &from, Gpu &gpu) {
    describeTexts(from, gpu);
    describeInstances(from, gpu);
    describeMemoryFaults(from, gpu);
    const auto threshold = [&from](nvml::Threshold which) {
        return scaled(number(from, from.functions.temperatureThreshold, static_cast<unsigned>(which)), 1);
    };
    gpu.slowdownCelsius = threshold(nvml::ThresholdSlowdown);
    gpu.shutdownCelsius = threshold(nvml::ThresholdShutdown);
    gpu.powerLimitDefaultWatts = scaled(number(from, from.functions.powerLimitDefault), perMilli);
    const auto clock = [&from](nvml::Clock which) {
        return scaled(number(from, from.functions.clockMost, static_cast<unsigned>(which)), perMega);
    };
    gpu.graphicsMostHertz = clock(nvml::ClockGraphics);
    gpu.smMostHertz = clock(nvml::ClockSm);
    gpu.memoryMostHertz = clock(nvml::ClockMemory);
    gpu.videoMostHertz = clock(nvml::ClockVideo);
    gpu.pcieGenerationMost = number(from, from.functions.pcieGenerationMost);
    gpu.pcieWidthMost = number(from, from.functions.pcieWidthMost);
    gpu.persistence = flag(number(from, from.functions.persistence));
}

int readNvmlGpu(const NvmlGpu &from, Gpu &gpu) {
    readUse(from, gpu);
    readMemory(from, gpu);
    readHeatAndPower(from, gpu);
    readClocks(from, gpu);
    readReasons(from, gpu);
    readErrorsAndLink(from, gpu);
    const bool lost = gpu.memoryTotalBytes.absence() == Absence::Vanished;
    return lost ? ENODEV : 0;
}

} // namespace zel
