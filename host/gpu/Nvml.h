// The few types, numbers and functions of NVIDIA's management library that are used, layout as the library documents
// it. Nothing of the library is needed to build: its functions are looked for by name when it is opened.
#pragma once

#include <cstdint>

namespace zel::nvml {

using Device = struct Opaque *;
using Text = char *;

enum Result : int {
    Success = 0,
    Uninitialized = 1,
    InvalidArgument = 2,
    NotSupported = 3,
    NoPermission = 4,
    NotFound = 6,
    InsufficientSize = 7,
    DriverNotLoaded = 9,
    Timeout = 10,
    LibraryNotFound = 12,
    FunctionNotFound = 13,
    CorruptedInfoRom = 14,
    GpuIsLost = 15,
    ResetRequired = 16,
    VersionMismatch = 18, // of library and driver
    InUse = 19,
    NoMemory = 20,
    NoData = 21,
    VirtualGpuEccNotSupported = 22,
    InsufficientResources = 23,
    ArgumentVersionMismatch = 25,
    Deprecated = 26,
    NotReady = 27,
    GpuNotFound = 28
};

/// In the place of a number that is not known.
inline constexpr unsigned long long NOT_AVAILABLE = ~0ULL;
inline constexpr unsigned UNKNOWN_PERFORMANCE_STATE = 32;

enum Clock : unsigned { ClockGraphics, ClockSm, ClockMemory, ClockVideo };
enum Threshold : unsigned { ThresholdShutdown, ThresholdSlowdown };
enum EccError : unsigned { EccCorrected, EccUncorrected };
enum EccCounter : unsigned { EccVolatile, EccAggregate };
enum Retirement : unsigned { RetiredForManyCorrected, RetiredForUncorrected };
enum Field : unsigned { FieldMemoryTemperature = 82 };

enum ClocksReason : unsigned long long {
    ReasonIdle = 0x1,
    ReasonApplication = 0x2,
    ReasonPowerCap = 0x4,
    ReasonHardware = 0x8,
    ReasonSyncBoost = 0x10,
    ReasonThermalSoftware = 0x20,
    ReasonThermalHardware = 0x40,
    ReasonPowerBrake = 0x80,
    ReasonDisplay = 0x100
};

struct Utilization {
    unsigned gpu;    // percent
    unsigned memory; // percent
};

struct Memory {
    unsigned long long total, free, used;
};

struct MemoryV2 {
    unsigned version;
    unsigned long long total, reserved, free, used;
};
inline constexpr unsigned MEMORY_V2 = sizeof(MemoryV2) | 2U << 24U;

struct Bar1Memory {
    unsigned long long total, free, used;
};

/// As the third version has it. The earlier ones are shorter and have the same in the places up to the subsystem.
struct PciInfo {
    char shortBusId[16];
    unsigned domain, bus, device;
    unsigned vendorAndDevice; // the device in the upper half
    unsigned subsystem;
    char busId[32];
};

struct TemperatureV1 {
    unsigned version, sensor;
    int celsius;
};
inline constexpr unsigned TEMPERATURE_V1 = sizeof(TemperatureV1) | 1U << 24U;

struct FieldValue {
    unsigned field, scope;
    long long timestamp, latency;
    unsigned type;
    int result;
    union {
        double real;
        unsigned number;
        unsigned long long largeNumber;
    } value;
};

/// Of the functions without a version.
struct ProcessV1 {
    unsigned pid;
    unsigned long long usedBytes;
};
/// Of _v2 and _v3. Some drivers of 2023 have one more number at the end of each.
struct ProcessV2 {
    unsigned pid;
    unsigned long long usedBytes;
    unsigned gpuInstance, computeInstance;
};
struct ProcessLong {
    ProcessV2 process;
    unsigned long long protectedBytes;
};

/// The functions that were found; null when the library has none of that name.
struct Functions {
    int (*init)();
    int (*shutdown)();
    int (*driverVersion)(Text, unsigned);
    int (*libraryVersion)(Text, unsigned);
    int (*deviceCount)(unsigned *);
    int (*deviceByIndex)(unsigned, Device *);

    int (*name)(Device, Text, unsigned);
    int (*uuid)(Device, Text, unsigned);
    int (*firmware)(Device, Text, unsigned);
    int (*pciInfo)(Device, PciInfo *);

    int (*utilization)(Device, Utilization *);
    int (*encoderUtilization)(Device, unsigned *, unsigned *);
    int (*decoderUtilization)(Device, unsigned *, unsigned *);
    int (*memoryV2)(Device, MemoryV2 *);
    int (*memory)(Device, Memory *);
    int (*bar1Memory)(Device, Bar1Memory *);

    int (*temperature)(Device, unsigned, unsigned *);
    int (*temperatureV)(Device, TemperatureV1 *);
    int (*temperatureThreshold)(Device, unsigned, unsigned *);
    int (*fieldValues)(Device, int, FieldValue *);
    int (*fanSpeed)(Device, unsigned *);
    int (*powerUsage)(Device, unsigned *);
    int (*powerLimit)(Device, unsigned *);
    int (*powerLimitDefault)(Device, unsigned *);
    int (*totalEnergy)(Device, unsigned long long *);

    int (*clock)(Device, unsigned, unsigned *);
    int (*clockMost)(Device, unsigned, unsigned *);
    int (*performanceState)(Device, unsigned *);
    int (*clocksReasons)(Device, unsigned long long *);
    int (*clocksReasonsSupported)(Device, unsigned long long *);

    int (*eccMode)(Device, unsigned *, unsigned *);
    int (*eccErrors)(Device, unsigned, unsigned, unsigned long long *);
    int (*retiredPages)(Device, unsigned, unsigned *, unsigned long long *);
    int (*retiredPagesPending)(Device, unsigned *);
    int (*remappedRows)(Device, unsigned *, unsigned *, unsigned *, unsigned *);

    int (*pcieGeneration)(Device, unsigned *);
    int (*pcieWidth)(Device, unsigned *);
    int (*pcieGenerationMost)(Device, unsigned *);
    int (*pcieWidthMost)(Device, unsigned *);
    int (*pcieReplays)(Device, unsigned *);

    int (*computeMode)(Device, unsigned *);
    int (*persistence)(Device, unsigned *);
    int (*migMode)(Device, unsigned *, unsigned *);
    int (*migDevicesMost)(Device, unsigned *);
    int (*migDevice)(Device, unsigned, Device *);

    int (*computeProcesses)(Device, unsigned *, void *);
    int (*graphicsProcesses)(Device, unsigned *, void *);
    bool computeIsV1, graphicsIsV1; // which struct they fill
};

} // namespace zel::nvml
