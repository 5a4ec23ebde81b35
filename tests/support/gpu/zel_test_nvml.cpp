// Stands in for NVIDIA's management library: functions of the same names, whose answers a test writes into the file
// that ZEL_TEST_NVML names. Each line of it is a function and what it gives instead of what stands here:
//
//   nvmlDeviceGetPowerUsage 251000       numbers in the order of the arguments
//   nvmlDeviceGetClockInfo/2 1593        of one kind: the argument after the device
//   nvmlDeviceGetPowerUsage@1 !15        of the device with index 1: a result
//   nvmlDeviceGetName #NVIDIA A1         a text
//   nvmlInit_v2 hang                     does not return while the line is there
//
// Built with ZEL_TEST_NVML_OLD it has no function with a version and fewer functions altogether.
#include "host/gpu/Nvml.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace nvml = zel::nvml;

namespace {

using Number = unsigned long long;

struct Answer {
    int result = nvml::Success;
    std::vector<Number> numbers;
    std::string text;
};

// The lines of the file. A test puts another file in its place: only then it is read anew.
std::vector<std::string> linesNow() {
    static std::mutex lock;
    static std::vector<std::string> lines;
    static struct stat known {};
    const std::lock_guard held(lock);
    const char *path = std::getenv("ZEL_TEST_NVML");
    struct stat now {};
    if (path == nullptr || stat(path, &now) != 0)
        return {};
    if (now.st_ino != known.st_ino || now.st_mtim.tv_nsec != known.st_mtim.tv_nsec ||
        now.st_mtim.tv_sec != known.st_mtim.tv_sec) {
        known = now;
        lines.clear();
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
    }
    return lines;
}

// The rest of the line that begins with the key and a blank; false without one.
bool lineOf(const std::string &key, std::string &rest) {
    for (const std::string &line : linesNow()) {
        if (line.rfind(key + ' ', 0) == 0) {
            rest = line.substr(key.size() + 1);
            return true;
        }
    }
    return false;
}

bool settingOf(const std::string &function, int device, std::string &rest) {
    return (device >= 0 && lineOf(function + '@' + std::to_string(device), rest)) || lineOf(function, rest);
}

Answer answer(const std::string &function, int device, Answer otherwise) {
    std::string rest;
    while (settingOf(function, device, rest) && rest == "hang")
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (!settingOf(function, device, rest))
        return otherwise;
    if (rest[0] == '!')
        return {std::atoi(rest.c_str() + 1), {}, ""};
    if (rest[0] == '#')
        return {nvml::Success, {}, rest.substr(1)};
    std::istringstream words(rest);
    Answer written;
    for (Number number = 0; words >> number;)
        written.numbers.push_back(number);
    return written;
}

constexpr std::size_t devicesAtMost = 300;
std::array<char, devicesAtMost> devices; // a handle is the address of its byte

int indexOf(nvml::Device device) {
    return static_cast<int>(reinterpret_cast<char *>(device) - devices.data());
}

// Into the arguments, as many as there are.
template<class... Value> int give(const Answer &from, Value *...values) {
    std::size_t index = 0;
    const auto next = [&](auto *value) {
        if (index < from.numbers.size() && value != nullptr)
            *value = static_cast<std::remove_pointer_t<decltype(value)>>(from.numbers[index]);
        ++index;
    };
    if (from.result == nvml::Success)
        (next(values), ...);
    return from.result;
}

// A name without an end, when it is as long as the room.
int giveText(const Answer &from, char *text, unsigned length) {
    if (from.result == nvml::Success)
        std::strncpy(text, from.text.c_str(), length);
    return from.result;
}

// Lists of processes: numbers are pid, bytes and instance of each.
template<class Process, class Fill> int giveProcesses(const Answer &from, unsigned *count, void *room, Fill fill) {
    if (from.result != nvml::Success)
        return from.result;
    const auto size = static_cast<unsigned>(from.numbers.size() / 3);
    const unsigned capacity = *count;
    *count = size;
    if (size > capacity)
        return nvml::InsufficientSize;
    for (unsigned index = 0; index < size; ++index) {
        Process process{};
        fill(process, &from.numbers[index * 3]);
        std::memcpy(static_cast<char *>(room) + index * sizeof process, &process, sizeof process);
    }
    return nvml::Success;
}

#ifndef ZEL_TEST_NVML_OLD
void fillV2(nvml::ProcessV2 &process, const Number *numbers) {
    process.pid = static_cast<unsigned>(numbers[0]);
    process.usedBytes = numbers[1];
    process.gpuInstance = static_cast<unsigned>(numbers[2]);
    process.computeInstance = 0;
}
#endif

} // namespace

#define OF_NONE(name, ...)                                                                                             \
    extern "C" int name() {                                                                                            \
        return answer(#name, -1, {__VA_ARGS__}).result;                                                                \
    }
#define TEXT_OF_DEVICE(name, text)                                                                                     \
    extern "C" int name(nvml::Device device, char *room, unsigned length) {                                            \
        return giveText(answer(#name, indexOf(device), {0, {}, text}), room, length);                                  \
    }
#define TEXT_OF_SYSTEM(name, text)                                                                                     \
    extern "C" int name(char *room, unsigned length) {                                                                 \
        return giveText(answer(#name, -1, {0, {}, text}), room, length);                                               \
    }
#define NUMBER_OF_DEVICE(name, Type, number)                                                                           \
    extern "C" int name(nvml::Device device, Type *value) {                                                            \
        return give(answer(#name, indexOf(device), {0, {number}, ""}), value);                                         \
    }
#define TWO_OF_DEVICE(name, first, second)                                                                             \
    extern "C" int name(nvml::Device device, unsigned *one, unsigned *other) {                                         \
        return give(answer(#name, indexOf(device), {0, {first, second}, ""}), one, other);                             \
    }
#define NUMBER_OF_KIND(name, Type, ...)                                                                                \
    extern "C" int name(nvml::Device device, unsigned kind, Type *value) {                                             \
        const std::vector<Number> numbers{__VA_ARGS__};                                                                \
        return give(answer(#name "/" + std::to_string(kind), indexOf(device), {0, {numbers.at(kind)}, ""}), value);    \
    }

#ifdef ZEL_TEST_NVML_OLD
#define nvmlInit_v2 nvmlInit
#define nvmlDeviceGetCount_v2 nvmlDeviceGetCount
#define nvmlDeviceGetHandleByIndex_v2 nvmlDeviceGetHandleByIndex
#define nvmlDeviceGetPciInfo_v3 nvmlDeviceGetPciInfo
#define nvmlDeviceGetCurrentClocksEventReasons nvmlDeviceGetCurrentClocksThrottleReasons
#define nvmlDeviceGetSupportedClocksEventReasons nvmlDeviceGetSupportedClocksThrottleReasons
#endif

OF_NONE(nvmlInit_v2)
OF_NONE(nvmlShutdown)
extern "C" int nvmlDeviceGetCount_v2(unsigned *count) {
    return give(answer("nvmlDeviceGetCount", -1, {0, {2}, ""}), count);
}
extern "C" int nvmlDeviceGetHandleByIndex_v2(unsigned index, nvml::Device *device) {
    *device = reinterpret_cast<nvml::Device>(&devices.at(index));
    return answer("nvmlDeviceGetHandleByIndex", static_cast<int>(index), {}).result;
}
TEXT_OF_SYSTEM(nvmlSystemGetDriverVersion, "570.1.2")
TEXT_OF_SYSTEM(nvmlSystemGetNVMLVersion, "12.570.1.2")
TEXT_OF_DEVICE(nvmlDeviceGetName, "Stand-In 9000")
TEXT_OF_DEVICE(nvmlDeviceGetVbiosVersion, "96.00.01")
extern "C" int nvmlDeviceGetUUID(nvml::Device device, char *room, unsigned length) {
    const std::string uuid = "GPU-" + std::to_string(indexOf(device));
    return giveText(answer("nvmlDeviceGetUUID", indexOf(device), {0, {}, uuid}), room, length);
}
extern "C" int nvmlDeviceGetPciInfo_v3(nvml::Device device, nvml::PciInfo *info) {
    const Number bus = 0x3b + static_cast<Number>(indexOf(device));
    const Answer from = answer("nvmlDeviceGetPciInfo", indexOf(device), {0, {0, bus, 0, 0x233010de}, ""});
    return give(from, &info->domain, &info->bus, &info->device, &info->vendorAndDevice);
}
extern "C" int nvmlDeviceGetUtilizationRates(nvml::Device device, nvml::Utilization *use) {
    return give(answer("nvmlDeviceGetUtilizationRates", indexOf(device), {0, {87, 12}, ""}), &use->gpu, &use->memory);
}
extern "C" int nvmlDeviceGetMemoryInfo(nvml::Device device, nvml::Memory *memory) {
    const Answer from = answer("nvmlDeviceGetMemoryInfo", indexOf(device), {0, {80000, 50000, 30000}, ""});
    return give(from, &memory->total, &memory->free, &memory->used);
}
NUMBER_OF_KIND(nvmlDeviceGetTemperature, unsigned, 41)
NUMBER_OF_KIND(nvmlDeviceGetTemperatureThreshold, unsigned, 95, 90)
NUMBER_OF_DEVICE(nvmlDeviceGetFanSpeed, unsigned, 30)
NUMBER_OF_DEVICE(nvmlDeviceGetPowerUsage, unsigned, 250500)
NUMBER_OF_DEVICE(nvmlDeviceGetEnforcedPowerLimit, unsigned, 650000)
NUMBER_OF_DEVICE(nvmlDeviceGetPowerManagementDefaultLimit, unsigned, 700000)
NUMBER_OF_KIND(nvmlDeviceGetClockInfo, unsigned, 1410, 1410, 2619, 1275)
NUMBER_OF_KIND(nvmlDeviceGetMaxClockInfo, unsigned, 1980, 1981, 2619, 1545)
NUMBER_OF_DEVICE(nvmlDeviceGetPerformanceState, unsigned, 2)
NUMBER_OF_DEVICE(nvmlDeviceGetCurrentClocksEventReasons, Number, nvml::ReasonPowerCap | nvml::ReasonThermalHardware)
NUMBER_OF_DEVICE(nvmlDeviceGetSupportedClocksEventReasons, Number, 0x1ff & ~Number{nvml::ReasonDisplay})
TWO_OF_DEVICE(nvmlDeviceGetEccMode, 1, 1)
extern "C" int nvmlDeviceGetTotalEccErrors(nvml::Device device, unsigned error, unsigned counter, Number *count) {
    const std::string kind = "/" + std::to_string(error) + std::to_string(counter);
    const Number number = 10 * error + counter + 5;
    return give(answer("nvmlDeviceGetTotalEccErrors" + kind, indexOf(device), {0, {number}, ""}), count);
}
NUMBER_OF_DEVICE(nvmlDeviceGetCurrPcieLinkGeneration, unsigned, 4)
NUMBER_OF_DEVICE(nvmlDeviceGetCurrPcieLinkWidth, unsigned, 8)
NUMBER_OF_DEVICE(nvmlDeviceGetMaxPcieLinkGeneration, unsigned, 5)
NUMBER_OF_DEVICE(nvmlDeviceGetMaxPcieLinkWidth, unsigned, 16)
NUMBER_OF_DEVICE(nvmlDeviceGetComputeMode, unsigned, 3)
NUMBER_OF_DEVICE(nvmlDeviceGetPersistenceMode, unsigned, 1)

#ifdef ZEL_TEST_NVML_OLD
extern "C" int nvmlDeviceGetComputeRunningProcesses(nvml::Device device, unsigned *count, void *room) {
    const Answer from =
        answer("nvmlDeviceGetComputeRunningProcesses", indexOf(device), {0, {71, 4096, 0, 72, 8192, 0}, ""});
    return giveProcesses<nvml::ProcessV1>(from, count, room, [](nvml::ProcessV1 &process, const Number *numbers) {
        process = {static_cast<unsigned>(numbers[0]), numbers[1]};
    });
}
#else
extern "C" int nvmlDeviceGetMemoryInfo_v2(nvml::Device device, nvml::MemoryV2 *memory) {
    if (memory->version != nvml::MEMORY_V2)
        return nvml::ArgumentVersionMismatch;
    const Answer from = answer("nvmlDeviceGetMemoryInfo_v2", indexOf(device), {0, {81000, 1000, 50000, 30000}, ""});
    return give(from, &memory->total, &memory->reserved, &memory->free, &memory->used);
}
extern "C" int nvmlDeviceGetBAR1MemoryInfo(nvml::Device device, nvml::Bar1Memory *memory) {
    const Answer from = answer("nvmlDeviceGetBAR1MemoryInfo", indexOf(device), {0, {131072, 131000, 72}, ""});
    return give(from, &memory->total, &memory->free, &memory->used);
}
TWO_OF_DEVICE(nvmlDeviceGetEncoderUtilization, 7, 1000)
TWO_OF_DEVICE(nvmlDeviceGetDecoderUtilization, 9, 1000)
NUMBER_OF_DEVICE(nvmlDeviceGetTotalEnergyConsumption, Number, 123456789)
extern "C" int nvmlDeviceGetFieldValues(nvml::Device device, int count, nvml::FieldValue *fields) {
    for (int index = 0; index < count; ++index) {
        const std::string kind = "/" + std::to_string(fields[index].field);
        const Answer from = answer("nvmlDeviceGetFieldValues" + kind, indexOf(device), {0, {52}, ""});
        fields[index].result = give(from, &fields[index].value.number);
    }
    return nvml::Success;
}
extern "C" int nvmlDeviceGetRetiredPages(nvml::Device device, unsigned cause, unsigned *count, Number *pages) {
    const std::string kind = "/" + std::to_string(cause);
    const int result = give(answer("nvmlDeviceGetRetiredPages" + kind, indexOf(device), {0, {cause * 2}, ""}), count);
    return result == nvml::Success && *count > 0 && pages == nullptr ? static_cast<int>(nvml::InsufficientSize)
                                                                     : result;
}
NUMBER_OF_DEVICE(nvmlDeviceGetRetiredPagesPendingStatus, unsigned, 0)
extern "C" int nvmlDeviceGetRemappedRows(nvml::Device device, unsigned *corrected, unsigned *uncorrected,
                                         unsigned *pending, unsigned *failed) {
    const Answer from = answer("nvmlDeviceGetRemappedRows", indexOf(device), {0, {3, 4, 1, 0}, ""});
    return give(from, corrected, uncorrected, pending, failed);
}
NUMBER_OF_DEVICE(nvmlDeviceGetPcieReplayCounter, unsigned, 6)
TWO_OF_DEVICE(nvmlDeviceGetMigMode, 0, 0)
NUMBER_OF_DEVICE(nvmlDeviceGetMaxMigDeviceCount, unsigned, 7)
extern "C" int nvmlDeviceGetMigDeviceHandleByIndex(nvml::Device device, unsigned index, nvml::Device *instance) {
    *instance = device;
    return answer("nvmlDeviceGetMigDeviceHandleByIndex/" + std::to_string(index), indexOf(device),
                  {index < 2 ? nvml::Success : nvml::NotFound, {}, ""})
        .result;
}
extern "C" int nvmlDeviceGetComputeRunningProcesses_v3(nvml::Device device, unsigned *count, void *room) {
    const Answer from =
        answer("nvmlDeviceGetComputeRunningProcesses", indexOf(device), {0, {71, 4096, 0, 72, 8192, 0}, ""});
    std::string longer;
    if (lineOf("long_processes", longer))
        return giveProcesses<nvml::ProcessLong>(
            from, count, room,
            [](nvml::ProcessLong &process, const Number *numbers) { fillV2(process.process, numbers); });
    return giveProcesses<nvml::ProcessV2>(from, count, room, fillV2);
}
extern "C" int nvmlDeviceGetGraphicsRunningProcesses_v3(nvml::Device device, unsigned *count, void *room) {
    const Answer from = answer("nvmlDeviceGetGraphicsRunningProcesses", indexOf(device), {0, {}, ""});
    return giveProcesses<nvml::ProcessV2>(from, count, room, fillV2);
}
#endif
