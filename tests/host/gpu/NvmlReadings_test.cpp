// What NVIDIA's library says, as readings: every value, older libraries, functions that fail, numbers that cannot be.
#include "NvmlStandIn.h"
#include "Paths.h"
#include "SampledHost.h"
#include "host/Rates.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;
using zel::Gpu;
using zel::GpuProcess;
using zel::Sample;

// More than a machine needs that does other things too.
zel::Options gpusOf(const char *library) {
    return {.areas = {Area::Gpus}, .deadline = std::chrono::seconds(60), .gpuLibrary = library};
}

class NvmlReadings : public testing::Test {
protected:
    // The first GPU of a sample that is taken while the library answers `lines`.
    const Gpu &gpuWith(const std::string &lines, const char *library = paths::nvml) {
        m_library.answers(lines);
        take(library);
        if (m_sample.gpus.empty()) {
            ADD_FAILURE() << "no GPU";
            m_sample.gpus.append();
        }
        return m_sample.gpus[0];
    }
    const Sample &sampleWith(const std::string &lines) {
        m_library.answers(lines);
        take(paths::nvml);
        return m_sample;
    }

private:
    void take(const char *library) {
        zel::Sampler sampler(gpusOf(library));
        sampler.take(m_sample);
    }

    NvmlStandIn m_library;
    Sample m_sample;
};

TEST_F(NvmlReadings, TellWhichGpuItIs) {
    const Gpu &gpu = gpuWith("");
    EXPECT_EQ(gpu.gpu, "nvidia0");
    EXPECT_EQ(gpu.address, "0000:3b:00.0");
    EXPECT_EQ(gpu.uuid, "GPU-0");
    EXPECT_TRUE(holds(gpu.name, "Stand-In 9000"));
    EXPECT_TRUE(holds(gpu.pciId, "10de:2330"));
    EXPECT_TRUE(holds(gpu.driver, "nvidia"));
    EXPECT_TRUE(holds(gpu.driverVersion, "570.1.2"));
    EXPECT_TRUE(holds(gpu.libraryVersion, "12.570.1.2"));
    EXPECT_TRUE(holds(gpu.firmware, "96.00.01"));
    EXPECT_TRUE(lacks(gpu.powerState, Absence::Unsupported));
}

TEST_F(NvmlReadings, AreInBaseUnits) {
    const Gpu &gpu = gpuWith("");
    EXPECT_DOUBLE_EQ(gpu.utilisation.valueOr(0), 0.87);
    EXPECT_DOUBLE_EQ(gpu.memoryUtilisation.valueOr(0), 0.12);
    EXPECT_DOUBLE_EQ(gpu.encoderUtilisation.valueOr(0), 0.07);
    EXPECT_DOUBLE_EQ(gpu.decoderUtilisation.valueOr(0), 0.09);
    EXPECT_TRUE(holds(gpu.temperatureCelsius, 41));
    EXPECT_TRUE(holds(gpu.memoryCelsius, 52));
    EXPECT_TRUE(holds(gpu.slowdownCelsius, 90));
    EXPECT_TRUE(holds(gpu.shutdownCelsius, 95));
    EXPECT_DOUBLE_EQ(gpu.fanRatio.valueOr(0), 0.3);
    EXPECT_DOUBLE_EQ(gpu.powerWatts.valueOr(0), 250.5);
    EXPECT_DOUBLE_EQ(gpu.powerLimitWatts.valueOr(0), 650);
    EXPECT_DOUBLE_EQ(gpu.powerLimitDefaultWatts.valueOr(0), 700);
    EXPECT_DOUBLE_EQ(gpu.energyJoules.valueOr(0), 123456.789);
    EXPECT_TRUE(holds(gpu.graphicsHertz, 1410e6));
    EXPECT_TRUE(holds(gpu.smHertz, 1410e6));
    EXPECT_TRUE(holds(gpu.memoryHertz, 2619e6));
    EXPECT_TRUE(holds(gpu.videoHertz, 1275e6));
    EXPECT_TRUE(holds(gpu.graphicsMostHertz, 1980e6));
    EXPECT_TRUE(holds(gpu.smMostHertz, 1981e6));
    EXPECT_TRUE(holds(gpu.memoryMostHertz, 2619e6));
    EXPECT_TRUE(holds(gpu.videoMostHertz, 1545e6));
}

TEST_F(NvmlReadings, HaveMemoryErrorsAndTheLink) {
    const Gpu &gpu = gpuWith("");
    EXPECT_TRUE(holds(gpu.memoryTotalBytes, 81000));
    EXPECT_TRUE(holds(gpu.memoryReservedBytes, 1000));
    EXPECT_TRUE(holds(gpu.memoryFreeBytes, 50000));
    EXPECT_TRUE(holds(gpu.memoryUsedBytes, 30000));
    EXPECT_TRUE(holds(gpu.visibleTotalBytes, 131072));
    EXPECT_TRUE(holds(gpu.visibleUsedBytes, 72));
    EXPECT_TRUE(holds(gpu.eccEnabled, 1));
    EXPECT_TRUE(holds(gpu.eccCorrected, 5));
    EXPECT_TRUE(holds(gpu.eccCorrectedEver, 6));
    EXPECT_TRUE(holds(gpu.eccUncorrected, 15));
    EXPECT_TRUE(holds(gpu.eccUncorrectedEver, 16));
    EXPECT_TRUE(holds(gpu.retiredPagesCorrected, 0));
    EXPECT_TRUE(holds(gpu.retiredPagesUncorrected, 2));
    EXPECT_TRUE(holds(gpu.retiredPagesPending, 0));
    EXPECT_TRUE(holds(gpu.remappedRowsCorrected, 3));
    EXPECT_TRUE(holds(gpu.remappedRowsUncorrected, 4));
    EXPECT_TRUE(holds(gpu.remappedRowsPending, 1));
    EXPECT_TRUE(holds(gpu.remappedRowsFailed, 0));
    EXPECT_TRUE(holds(gpu.pcieGeneration, 4));
    EXPECT_TRUE(holds(gpu.pcieWidth, 8));
    EXPECT_TRUE(holds(gpu.pcieGenerationMost, 5));
    EXPECT_TRUE(holds(gpu.pcieWidthMost, 16));
    EXPECT_TRUE(holds(gpu.pcieReplays, 6));
}

TEST_F(NvmlReadings, TellWhatSlowsItDown) {
    const Gpu &gpu = gpuWith(""); // the power limit and heat; the setting for displays is not known to this GPU
    EXPECT_TRUE(holds(gpu.performanceState, 2));
    EXPECT_TRUE(holds(gpu.throttledPowerCap, 1));
    EXPECT_TRUE(holds(gpu.throttledThermalHardware, 1));
    EXPECT_TRUE(holds(gpu.throttledThermalSoftware, 0));
    EXPECT_TRUE(holds(gpu.throttledPowerBrake, 0));
    EXPECT_TRUE(holds(gpu.throttledHardware, 0));
    EXPECT_TRUE(holds(gpu.clocksIdle, 0));
    EXPECT_TRUE(holds(gpu.clocksApplication, 0));
    EXPECT_TRUE(holds(gpu.clocksSyncBoost, 0));
    EXPECT_TRUE(lacks(gpu.clocksDisplay, Absence::Unsupported));
    // Bits of the library's documents, one by one.
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 1").clocksIdle, 1));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 2").clocksApplication, 1));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 8").throttledHardware, 1));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 16").clocksSyncBoost, 1));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 32").throttledThermalSoftware, 1));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 128").throttledPowerBrake, 1));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetCurrentClocksEventReasons 256").clocksDisplay, 1));
}

TEST_F(NvmlReadings, HaveModesAndInstances) {
    EXPECT_TRUE(holds(gpuWith("").computeMode, "exclusive_process"));
    EXPECT_TRUE(holds(gpuWith("").persistence, 1));
    EXPECT_TRUE(holds(gpuWith("").migEnabled, 0));
    EXPECT_TRUE(holds(gpuWith("").migDevices, 0));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetComputeMode 0").computeMode, "default"));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetComputeMode 4").computeMode, Absence::Malformed));
    const Gpu &split = gpuWith("nvmlDeviceGetMigMode 1 1");
    EXPECT_TRUE(holds(split.migEnabled, 1));
    EXPECT_TRUE(holds(split.migDevices, 2)); // the stand-in has the first two of seven
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetMigMode !3").migDevices, Absence::Unsupported));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetMigMode 1 1\nnvmlDeviceGetMaxMigDeviceCount 4294967295").migDevices, 2));
}

TEST_F(NvmlReadings, OfAnOldLibraryLackWhatCameLater) {
    const Gpu &gpu = gpuWith("", paths::nvmlOld);
    EXPECT_EQ(gpu.gpu, "nvidia0");
    EXPECT_EQ(gpu.address, "0000:3b:00.0");
    EXPECT_TRUE(holds(gpu.memoryTotalBytes, 80000)); // of the function without a version
    EXPECT_TRUE(holds(gpu.memoryFreeBytes, 50000));
    EXPECT_TRUE(holds(gpu.memoryUsedBytes, 30000));
    EXPECT_TRUE(lacks(gpu.memoryReservedBytes, Absence::Unsupported));
    EXPECT_TRUE(holds(gpu.throttledPowerCap, 1)); // under the function's old name
    EXPECT_TRUE(lacks(gpu.visibleTotalBytes, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.encoderUtilisation, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.energyJoules, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.memoryCelsius, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.remappedRowsPending, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.migEnabled, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.pcieReplays, Absence::Unsupported));
    EXPECT_DOUBLE_EQ(gpu.powerWatts.valueOr(0), 250.5);
}

TEST_F(NvmlReadings, HaveTheReasonOfTheFunctionThatFailed) {
    const auto power = [this](const char *result) {
        const Gpu &gpu = gpuWith(std::string("nvmlDeviceGetPowerUsage ") + result);
        EXPECT_DOUBLE_EQ(gpu.powerLimitWatts.valueOr(0), 650) << result; // the others are there
        EXPECT_TRUE(holds(gpu.memoryTotalBytes, 81000)) << result;
        return gpu.powerWatts.absence();
    };
    EXPECT_EQ(power("!3"), Absence::Unsupported);  // not supported
    EXPECT_EQ(power("!4"), Absence::Denied);       // no permission
    EXPECT_EQ(power("!6"), Absence::Vanished);     // not found
    EXPECT_EQ(power("!10"), Absence::TimedOut);    // timeout
    EXPECT_EQ(power("!13"), Absence::Unsupported); // function not found
    EXPECT_EQ(power("!14"), Absence::Malformed);   // corrupted inforom
    EXPECT_EQ(power("!15"), Absence::Vanished);    // GPU is lost
    EXPECT_EQ(power("!16"), Absence::Vanished);    // reset required
    EXPECT_EQ(power("!19"), Absence::TimedOut);    // in use
    EXPECT_EQ(power("!21"), Absence::Unsupported); // no data
    EXPECT_EQ(power("!25"), Absence::Unsupported); // version of the argument
    EXPECT_EQ(power("!999"), Absence::Malformed);  // unknown
    EXPECT_EQ(power("!-77"), Absence::Malformed);  // none that is documented
}

TEST_F(NvmlReadings, FallBackWhereTheNewFunctionRefuses) {
    const Gpu &gpu = gpuWith("nvmlDeviceGetMemoryInfo_v2 !13");
    EXPECT_TRUE(holds(gpu.memoryTotalBytes, 80000));
    EXPECT_TRUE(lacks(gpu.memoryReservedBytes, Absence::Unsupported));
}

TEST_F(NvmlReadings, RefuseNumbersThatCannotBe) {
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetUtilizationRates 101 4294967295").utilisation, Absence::Malformed));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetUtilizationRates 101 4294967295").memoryUtilisation, Absence::Malformed));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetPersistenceMode 2").persistence, Absence::Malformed));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetPerformanceState 32").performanceState, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetPowerUsage 4294967295").powerWatts, Absence::Unsupported));
    EXPECT_TRUE(
        lacks(gpuWith("nvmlDeviceGetTotalEnergyConsumption 18446744073709551615").energyJoules, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetFieldValues/82 0").memoryCelsius, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetFieldValues/82 !3").memoryCelsius, Absence::Unsupported));
    EXPECT_EQ(gpuWith("nvmlDeviceGetPciInfo 0 4294967295 0 0").address, "");
    EXPECT_EQ(gpuWith("nvmlDeviceGetPciInfo 4294967295 255 31 0").address, "ffffffff:ff:1f.0");
    EXPECT_GT(gpuWith("nvmlDeviceGetFanSpeed 120").fanRatio.valueOr(0), 1.1); // a fan may be faster than its highest
}

TEST_F(NvmlReadings, EndTextsThatTheLibraryDidNotEnd) {
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetName #" + std::string(500, 'x')).name, std::string(96, 'x')));
    EXPECT_TRUE(holds(gpuWith("nvmlDeviceGetName # \x01\"' ").name, "\x01\"'"));
    EXPECT_TRUE(lacks(gpuWith("nvmlDeviceGetName #").name, Absence::Unsupported));
    EXPECT_EQ(gpuWith("nvmlDeviceGetUUID !3").uuid, "");
}

TEST_F(NvmlReadings, OfALostGpuAreVanishedAndTheOthersWhole) {
    const Sample &sample = sampleWith("nvmlDeviceGetHandleByIndex@1 !15");
    ASSERT_EQ(sample.gpus.size(), 2U);
    EXPECT_TRUE(holds(sample.gpus[0].memoryTotalBytes, 81000));
    EXPECT_EQ(sample.gpus[1].gpu, "nvidia1");
    EXPECT_TRUE(lacks(sample.gpus[1].memoryTotalBytes, Absence::Vanished));
    EXPECT_TRUE(lacks(sample.gpus[1].name, Absence::Vanished));
    EXPECT_EQ(sample.area(Area::Gpus).error, ENODEV);
    EXPECT_EQ(sample.area(Area::Gpus).absence, Absence::None);
}

TEST_F(NvmlReadings, AreOfNoMoreGpusThanCanBe) {
    const Sample &sample = sampleWith("nvmlDeviceGetCount 4294967295");
    EXPECT_EQ(sample.gpus.size(), 256U);
    EXPECT_EQ(failureOf(sample, Area::Gpus), std::pair(E2BIG, std::string(paths::nvml)));
}

TEST_F(NvmlReadings, OfNoGpuAreAnAreaThatThisHostHasNot) {
    const Sample &sample = sampleWith("nvmlDeviceGetCount 0");
    EXPECT_TRUE(sample.gpus.empty());
    EXPECT_EQ(sample.area(Area::Gpus).absence, Absence::Unsupported);
}

TEST_F(NvmlReadings, HaveARateOfEnergy) {
    const NvmlStandIn library;
    zel::Sampler sampler(gpusOf(paths::nvml));
    library.answers("nvmlDeviceGetTotalEnergyConsumption 1000000");
    const Sample before = sampler.take();
    library.answers("nvmlDeviceGetTotalEnergyConsumption 1500000");
    Sample now = sampler.take();
    now.area(Area::Gpus).monotonicNanoseconds = before.area(Area::Gpus).monotonicNanoseconds + 2000000000;
    EXPECT_TRUE(holds(zel::between(before, now).perSecond("gpus", "energy_joules_total", "nvidia0"), 250)); // 500 J
}

// Processes

TEST_F(NvmlReadings, ListProcessesOfBothKinds) {
    const Sample &sample = sampleWith("nvmlDeviceGetCount 1\nnvmlDeviceGetGraphicsRunningProcesses 73 100 0");
    ASSERT_EQ(sample.gpuProcesses.size(), 3U);
    const GpuProcess &first = sample.gpuProcesses[0];
    EXPECT_EQ(first.gpu, "nvidia0");
    EXPECT_EQ(first.pid, 71U);
    EXPECT_EQ(first.kind, "compute");
    EXPECT_TRUE(holds(first.usedBytes, 4096));
    EXPECT_TRUE(lacks(first.engineSeconds, Absence::Unsupported));
    EXPECT_EQ(sample.gpuProcesses[1].pid, 72U);
    EXPECT_TRUE(holds(sample.gpuProcesses[1].usedBytes, 8192));
    EXPECT_EQ(sample.gpuProcesses[2].pid, 73U);
    EXPECT_EQ(sample.gpuProcesses[2].kind, "graphics");
    EXPECT_TRUE(holds(sample.gpuProcesses[2].usedBytes, 100));
}

TEST_F(NvmlReadings, ListProcessesInEveryLayout) {
    const NvmlStandIn library;
    Sample sample;
    zel::Sampler(gpusOf(paths::nvmlOld)).take(sample);
    ASSERT_EQ(sample.gpuProcesses.size(), 4U);
    EXPECT_EQ(sample.gpuProcesses[1].pid, 72U);
    EXPECT_TRUE(holds(sample.gpuProcesses[1].usedBytes, 8192));
    library.answers("long_processes 1");
    zel::Sampler(gpusOf(paths::nvml)).take(sample);
    ASSERT_EQ(sample.gpuProcesses.size(), 4U);
    EXPECT_EQ(sample.gpuProcesses[1].pid, 72U);
    EXPECT_TRUE(holds(sample.gpuProcesses[1].usedBytes, 8192));
}

TEST_F(NvmlReadings, AddUpAProcessWithSeveralInstances) {
    const Sample &sample =
        sampleWith("nvmlDeviceGetCount 1\nnvmlDeviceGetComputeRunningProcesses 71 1000 1 72 5 1 71 234 2");
    ASSERT_EQ(sample.gpuProcesses.size(), 2U);
    EXPECT_EQ(sample.gpuProcesses[0].pid, 71U);
    EXPECT_TRUE(holds(sample.gpuProcesses[0].usedBytes, 1234));
}

TEST_F(NvmlReadings, OfAProcessWhoseMemoryIsNotKnownAreUnsupported) {
    const Sample &sample =
        sampleWith("nvmlDeviceGetCount 1\nnvmlDeviceGetComputeRunningProcesses 71 18446744073709551615 0");
    ASSERT_EQ(sample.gpuProcesses.size(), 1U);
    EXPECT_TRUE(lacks(sample.gpuProcesses[0].usedBytes, Absence::Unsupported));
}

TEST_F(NvmlReadings, ListMoreProcessesThanThereIsRoomForAtFirst) {
    std::string lines = "nvmlDeviceGetCount 1\nnvmlDeviceGetComputeRunningProcesses";
    for (int pid = 1; pid <= 700; ++pid)
        lines += ' ' + std::to_string(pid) + ' ' + std::to_string(pid * 10) + " 0";
    const Sample &sample = sampleWith(lines);
    ASSERT_EQ(sample.gpuProcesses.size(), 700U);
    EXPECT_TRUE(holds(sample.gpuProcesses[699].usedBytes, 7000));
}

TEST_F(NvmlReadings, LackProcessesWhoseListHasNoEnd) {
    const Sample &sample = sampleWith("nvmlDeviceGetComputeRunningProcesses !7");
    EXPECT_TRUE(sample.gpuProcesses.empty());
    EXPECT_EQ(sample.area(Area::Gpus).error, E2BIG);
    EXPECT_EQ(sample.gpus.size(), 2U);
}

} // namespace
