// Opens NVIDIA's management library and finds its functions by name: a newer version of a function first.
#include "host/gpu/NvmlLibrary.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <initializer_list>
#include <utility>

namespace zel {

namespace {

// The first of the names that the library has.
template<class Function> bool find(void *library, Function *&function, std::initializer_list<const char *> names) {
    function = nullptr;
    for (const char *name : names) {
        function = reinterpret_cast<Function *>(dlsym(library, name));
        if (function != nullptr)
            return true;
    }
    return false;
}

void findDescriptions(void *library, nvml::Functions &to) {
    find(library, to.driverVersion, {"nvmlSystemGetDriverVersion"});
    find(library, to.libraryVersion, {"nvmlSystemGetNVMLVersion"});
    find(library, to.name, {"nvmlDeviceGetName"});
    find(library, to.uuid, {"nvmlDeviceGetUUID"});
    find(library, to.firmware, {"nvmlDeviceGetVbiosVersion"});
    find(library, to.pciInfo, {"nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetPciInfo_v2", "nvmlDeviceGetPciInfo"});
    find(library, to.computeMode, {"nvmlDeviceGetComputeMode"});
    find(library, to.persistence, {"nvmlDeviceGetPersistenceMode"});
    find(library, to.migMode, {"nvmlDeviceGetMigMode"});
    find(library, to.migDevicesMost, {"nvmlDeviceGetMaxMigDeviceCount"});
    find(library, to.migDevice, {"nvmlDeviceGetMigDeviceHandleByIndex"});
}

void findUse(void *library, nvml::Functions &to) {
    find(library, to.utilization, {"nvmlDeviceGetUtilizationRates"});
    find(library, to.encoderUtilization, {"nvmlDeviceGetEncoderUtilization"});
    find(library, to.decoderUtilization, {"nvmlDeviceGetDecoderUtilization"});
    find(library, to.memoryV2, {"nvmlDeviceGetMemoryInfo_v2"});
    find(library, to.memory, {"nvmlDeviceGetMemoryInfo"});
    find(library, to.bar1Memory, {"nvmlDeviceGetBAR1MemoryInfo"});
    to.computeIsV1 = !find(library, to.computeProcesses,
                           {"nvmlDeviceGetComputeRunningProcesses_v3", "nvmlDeviceGetComputeRunningProcesses_v2"}) &&
                     find(library, to.computeProcesses, {"nvmlDeviceGetComputeRunningProcesses"});
    to.graphicsIsV1 = !find(library, to.graphicsProcesses,
                            {"nvmlDeviceGetGraphicsRunningProcesses_v3", "nvmlDeviceGetGraphicsRunningProcesses_v2"}) &&
                      find(library, to.graphicsProcesses, {"nvmlDeviceGetGraphicsRunningProcesses"});
}

void findHeatAndClocks(void *library, nvml::Functions &to) {
    find(library, to.temperature, {"nvmlDeviceGetTemperature"});
    find(library, to.temperatureV, {"nvmlDeviceGetTemperatureV"});
    find(library, to.temperatureThreshold, {"nvmlDeviceGetTemperatureThreshold"});
    find(library, to.fieldValues, {"nvmlDeviceGetFieldValues"});
    find(library, to.fanSpeed, {"nvmlDeviceGetFanSpeed"});
    find(library, to.powerUsage, {"nvmlDeviceGetPowerUsage"});
    find(library, to.powerLimit, {"nvmlDeviceGetEnforcedPowerLimit"});
    find(library, to.powerLimitDefault, {"nvmlDeviceGetPowerManagementDefaultLimit"});
    find(library, to.totalEnergy, {"nvmlDeviceGetTotalEnergyConsumption"});
    find(library, to.clock, {"nvmlDeviceGetClockInfo"});
    find(library, to.clockMost, {"nvmlDeviceGetMaxClockInfo"});
    find(library, to.performanceState, {"nvmlDeviceGetPerformanceState"});
    find(library, to.clocksReasons,
         {"nvmlDeviceGetCurrentClocksEventReasons", "nvmlDeviceGetCurrentClocksThrottleReasons"});
    find(library, to.clocksReasonsSupported,
         {"nvmlDeviceGetSupportedClocksEventReasons", "nvmlDeviceGetSupportedClocksThrottleReasons"});
}

void findErrorsAndLink(void *library, nvml::Functions &to) {
    find(library, to.eccMode, {"nvmlDeviceGetEccMode"});
    find(library, to.eccErrors, {"nvmlDeviceGetTotalEccErrors"});
    find(library, to.retiredPages, {"nvmlDeviceGetRetiredPages"});
    find(library, to.retiredPagesPending, {"nvmlDeviceGetRetiredPagesPendingStatus"});
    find(library, to.remappedRows, {"nvmlDeviceGetRemappedRows"});
    find(library, to.pcieGeneration, {"nvmlDeviceGetCurrPcieLinkGeneration"});
    find(library, to.pcieWidth, {"nvmlDeviceGetCurrPcieLinkWidth"});
    find(library, to.pcieGenerationMost, {"nvmlDeviceGetMaxPcieLinkGeneration"});
    find(library, to.pcieWidthMost, {"nvmlDeviceGetMaxPcieLinkWidth"});
    find(library, to.pcieReplays, {"nvmlDeviceGetPcieReplayCounter"});
}

} // namespace

int NvmlLibrary::load() {
    m_handle = dlopen(m_name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) {
        // The loader has an errno for nobody, but its text ends with what that means, in the language of the program.
        const char *reason = dlerror();
        return reason == nullptr || std::strstr(reason, std::strerror(ENOENT)) != nullptr ? ENOENT : ELIBACC;
    }
    m_functions = {};
    const bool usable =
        find(m_handle, m_functions.init, {"nvmlInit_v2", "nvmlInit"}) &&
        find(m_handle, m_functions.deviceCount, {"nvmlDeviceGetCount_v2", "nvmlDeviceGetCount"}) &&
        find(m_handle, m_functions.deviceByIndex, {"nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetHandleByIndex"});
    if (!usable)
        return ELIBBAD;
    find(m_handle, m_functions.shutdown, {"nvmlShutdown"});
    findDescriptions(m_handle, m_functions);
    findUse(m_handle, m_functions);
    findHeatAndClocks(m_handle, m_functions);
    findErrorsAndLink(m_handle, m_functions);
    return 0;
}

int NvmlLibrary::open() {
    if (m_initialized)
        return 0;
    int error = load();
    if (error == 0)
        error = nvmlError(m_functions.init());
    m_initialized = error == 0;
    if (error != 0)
        close();
    return error;
}

void NvmlLibrary::close() {
    if (std::exchange(m_initialized, false) && m_functions.shutdown != nullptr)
        m_functions.shutdown();
    if (m_handle != nullptr)
        dlclose(m_handle);
    m_handle = nullptr;
}

int nvmlError(int result) {
    switch (result) {
    case nvml::Success:
        return 0;
    case nvml::InvalidArgument:
    case nvml::NotSupported:
    case nvml::DriverNotLoaded:
    case nvml::LibraryNotFound:
    case nvml::FunctionNotFound:
    case nvml::NoData:
    case nvml::VirtualGpuEccNotSupported:
    case nvml::ArgumentVersionMismatch:
    case nvml::Deprecated:
        return EOPNOTSUPP;
    case nvml::NoPermission:
        return EPERM;
    case nvml::NotFound:
    case nvml::GpuIsLost:
    case nvml::ResetRequired:
    case nvml::GpuNotFound:
        return ENODEV;
    case nvml::Timeout:
        return ETIMEDOUT;
    case nvml::InUse:
    case nvml::NotReady:
        return EAGAIN;
    case nvml::NoMemory:
    case nvml::InsufficientResources:
        return ENOMEM;
    case nvml::VersionMismatch:
        return ELIBBAD;
    case nvml::CorruptedInfoRom:
        return EBADMSG;
    default:
        return EIO;
    }
}

} // namespace zel
