// What the model says of graphics cards by sysfs: amdgpu, i915, xe, adapters without measurements, suspended ones, and
// files that hold something else.
#include "SampledHost.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::Gpu;
using zel::Sample;

// The files of a card, as its driver writes them.
class CardHost : public SampledHost {
public:
    CardHost() : SampledHost(std::vector{Area::Gpus}) {}

    void device(const std::string &file, const std::string &text) const { card("device/" + file, text); }
    void card(const std::string &file, const std::string &text) const { write("sys/class/drm/card0/" + file, text); }
    void sensor(const std::string &file, const std::string &text) const { device("hwmon/hwmon4/" + file, text); }
    const Gpu &gpu() {
        const Sample &sample = take();
        if (sample.gpus.size() != 1) {
            ADD_FAILURE() << sample.gpus.size() << " GPUs";
            return none;
        }
        return sample.gpus[0];
    }

private:
    Gpu none; // in the place of one that is missing
};

class AmdHost : public CardHost {
public:
    AmdHost() {
        device("uevent", "DRIVER=amdgpu\nPCI_CLASS=30000\nPCI_ID=1002:73BF\nPCI_SUBSYS_ID=1002:0E3A\n"
                         "PCI_SLOT_NAME=0000:03:00.0\n");
        device("power/runtime_status", "active\n");
        device("gpu_busy_percent", "47\n");
        device("mem_busy_percent", "13\n");
        device("mem_info_vram_total", "17163091968\n");
        device("mem_info_vram_used", "4000000000\n");
        device("mem_info_vis_vram_total", "268435456\n");
        device("mem_info_vis_vram_used", "1000000\n");
        device("mem_info_gtt_total", "16777216\n");
        device("mem_info_gtt_used", "4096\n");
        device("unique_id", "7a4bf5e1c6f0c5d2\n");
        device("vbios_version", "113-D4120100-100\n");
        device("product_name", "Some Accelerator\n");
        device("pp_dpm_sclk", "0: 500Mhz\n1: 1200Mhz *\n2: 2475Mhz\n");
        device("pp_dpm_mclk", "0: 96Mhz\n1: 1000Mhz *\n");
        device("current_link_speed", "16.0 GT/s PCIe\n");
        device("current_link_width", "8\n");
        device("max_link_speed", "32.0 GT/s PCIe\n");
        device("max_link_width", "16\n");
        device("pcie_replay_count", "3\n");
        device("ras/umc_err_count", "ue: 2\nce: 11\n");
        sensor("temp1_input", "54000\n");
        sensor("temp1_label", "edge\n");
        sensor("temp1_crit", "100000\n");
        sensor("temp1_emergency", "105000\n");
        sensor("temp2_input", "61000\n");
        sensor("temp2_label", "junction\n");
        sensor("temp3_input", "70000\n");
        sensor("temp3_label", "mem\n");
        sensor("power1_average", "120000000\n");
        sensor("power1_cap", "203000000\n");
        sensor("power1_cap_default", "211000000\n");
        sensor("pwm1", "51\n");
        sensor("freq1_input", "1185000000\n");
        sensor("freq1_label", "sclk\n");
        sensor("freq2_input", "1000000000\n");
        sensor("freq2_label", "mclk\n");
    }
};

TEST(DrmCard, OfAmdgpuHasWhatItsDriverShows) {
    AmdHost host;
    const Gpu &gpu = host.gpu();
    EXPECT_EQ(gpu.gpu, "card0");
    EXPECT_EQ(gpu.address, "0000:03:00.0");
    EXPECT_EQ(gpu.uuid, "7a4bf5e1c6f0c5d2");
    EXPECT_TRUE(holds(gpu.name, "Some Accelerator"));
    EXPECT_TRUE(holds(gpu.pciId, "1002:73bf"));
    EXPECT_TRUE(holds(gpu.driver, "amdgpu"));
    EXPECT_TRUE(holds(gpu.firmware, "113-D4120100-100"));
    EXPECT_TRUE(holds(gpu.powerState, "active"));
    EXPECT_DOUBLE_EQ(gpu.utilisation.valueOr(0), 0.47);
    EXPECT_DOUBLE_EQ(gpu.memoryUtilisation.valueOr(0), 0.13);
    EXPECT_TRUE(holds(gpu.memoryTotalBytes, 17163091968));
    EXPECT_TRUE(holds(gpu.memoryUsedBytes, 4000000000));
    EXPECT_TRUE(holds(gpu.memoryFreeBytes, 13163091968));
    EXPECT_TRUE(lacks(gpu.memoryReservedBytes, Absence::Unsupported));
    EXPECT_TRUE(holds(gpu.visibleTotalBytes, 268435456));
    EXPECT_TRUE(holds(gpu.visibleUsedBytes, 1000000));
    EXPECT_TRUE(holds(gpu.systemTotalBytes, 16777216));
    EXPECT_TRUE(holds(gpu.systemUsedBytes, 4096));
    EXPECT_TRUE(holds(gpu.pcieGeneration, 4));
    EXPECT_TRUE(holds(gpu.pcieWidth, 8));
    EXPECT_TRUE(holds(gpu.pcieGenerationMost, 5));
    EXPECT_TRUE(holds(gpu.pcieWidthMost, 16));
    EXPECT_TRUE(holds(gpu.pcieReplays, 3));
    EXPECT_TRUE(holds(gpu.eccCorrected, 11));
    EXPECT_TRUE(holds(gpu.eccUncorrected, 2));
    EXPECT_TRUE(lacks(gpu.performanceState, Absence::Unsupported));
}

TEST(DrmCard, OfAmdgpuHasItsSensors) {
    AmdHost host;
    const Gpu &gpu = host.gpu();
    EXPECT_DOUBLE_EQ(gpu.temperatureCelsius.valueOr(0), 54);
    EXPECT_DOUBLE_EQ(gpu.hotspotCelsius.valueOr(0), 61);
    EXPECT_DOUBLE_EQ(gpu.memoryCelsius.valueOr(0), 70);
    EXPECT_DOUBLE_EQ(gpu.slowdownCelsius.valueOr(0), 100);
    EXPECT_DOUBLE_EQ(gpu.shutdownCelsius.valueOr(0), 105);
    EXPECT_DOUBLE_EQ(gpu.powerWatts.valueOr(0), 120);
    EXPECT_DOUBLE_EQ(gpu.powerLimitWatts.valueOr(0), 203);
    EXPECT_DOUBLE_EQ(gpu.powerLimitDefaultWatts.valueOr(0), 211);
    EXPECT_DOUBLE_EQ(gpu.fanRatio.valueOr(0), 0.2); // 51 of 255
    EXPECT_TRUE(holds(gpu.graphicsHertz, 1185e6));
    EXPECT_TRUE(holds(gpu.memoryHertz, 1000e6));
    EXPECT_TRUE(holds(gpu.graphicsMostHertz, 2475e6));
    EXPECT_TRUE(holds(gpu.memoryMostHertz, 1000e6));
}

TEST(DrmCard, WithoutASensorOfTheClockTakesTheLevelInUse) {
    AmdHost host;
    host.remove("sys/class/drm/card0/device/hwmon");
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(holds(gpu.graphicsHertz, 1200e6));
    EXPECT_TRUE(holds(gpu.memoryHertz, 1000e6));
    EXPECT_TRUE(lacks(gpu.temperatureCelsius, Absence::Unsupported));
}

TEST(DrmCard, OfI915HasClocksIdleTimeAndEnergy) {
    CardHost host;
    host.device("uevent", "DRIVER=i915\nPCI_ID=8086:56C0\nPCI_SLOT_NAME=0000:4d:00.0\n");
    host.card("gt/gt0/rps_act_freq_mhz", "1150\n");
    host.card("gt/gt0/rps_RP0_freq_mhz", "2050\n");
    host.card("gt/gt0/rc6_residency_ms", "123456\n");
    host.card("gt/gt0/throttle_reason_pl1", "0\n");
    host.card("gt/gt0/throttle_reason_pl2", "1\n");
    host.card("gt/gt0/throttle_reason_thermal", "0\n");
    host.sensor("energy1_input", "987654321\n");
    host.sensor("power1_max", "120000000\n");
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(holds(gpu.graphicsHertz, 1150e6));
    EXPECT_TRUE(holds(gpu.graphicsMostHertz, 2050e6));
    EXPECT_DOUBLE_EQ(gpu.idleSeconds.valueOr(0), 123.456);
    EXPECT_DOUBLE_EQ(gpu.energyJoules.valueOr(0), 987.654321);
    EXPECT_DOUBLE_EQ(gpu.powerLimitWatts.valueOr(0), 120);
    EXPECT_TRUE(holds(gpu.throttledPowerCap, 1));
    EXPECT_TRUE(holds(gpu.throttledThermalHardware, 0));
    EXPECT_TRUE(lacks(gpu.utilisation, Absence::Unsupported));
}

TEST(DrmCard, OfAnOlderI915HasItsFilesInAnotherPlace) {
    CardHost host;
    host.card("gt_act_freq_mhz", "350\n");
    host.card("gt_RP0_freq_mhz", "1100\n");
    host.card("power/rc6_residency_ms", "5000\n");
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(holds(gpu.graphicsHertz, 350e6));
    EXPECT_TRUE(holds(gpu.graphicsMostHertz, 1100e6));
    EXPECT_DOUBLE_EQ(gpu.idleSeconds.valueOr(0), 5);
    EXPECT_TRUE(lacks(gpu.throttledPowerCap, Absence::Unsupported));
}

TEST(DrmCard, OfXeHasItsFilesBelowTheDevice) {
    CardHost host;
    host.device("uevent", "DRIVER=xe\nPCI_ID=8086:E20B\nPCI_SLOT_NAME=0000:03:00.0\n");
    host.device("tile0/gt0/freq0/act_freq", "2400\n");
    host.device("tile0/gt0/freq0/rp0_freq", "2850\n");
    host.device("tile0/gt0/freq0/throttle/reason_prochot", "1\n");
    host.device("tile0/gt0/gtidle/idle_residency_ms", "1500\n");
    host.sensor("temp2_input", "44000\n");
    host.sensor("temp2_label", "pkg\n");
    host.sensor("temp3_input", "48000\n");
    host.sensor("temp3_label", "vram\n");
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(holds(gpu.graphicsHertz, 2400e6));
    EXPECT_TRUE(holds(gpu.graphicsMostHertz, 2850e6));
    EXPECT_TRUE(holds(gpu.throttledThermalHardware, 1));
    EXPECT_DOUBLE_EQ(gpu.idleSeconds.valueOr(0), 1.5);
    EXPECT_DOUBLE_EQ(gpu.temperatureCelsius.valueOr(0), 44);
    EXPECT_DOUBLE_EQ(gpu.memoryCelsius.valueOr(0), 48);
}

TEST(DrmCard, ThatIsSuspendedIsNotAskedAndKeepsWhatDescribesIt) {
    AmdHost host;
    host.take();
    host.device("power/runtime_status", "suspended\n");
    host.device("gpu_busy_percent", "99\n");
    host.device("mem_info_vram_total", "1\n");
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(holds(gpu.powerState, "suspended"));
    EXPECT_TRUE(lacks(gpu.utilisation, Absence::NotYet));
    EXPECT_TRUE(lacks(gpu.temperatureCelsius, Absence::NotYet));
    EXPECT_TRUE(holds(gpu.driver, "amdgpu"));
    EXPECT_TRUE(holds(gpu.memoryTotalBytes, 17163091968));
    EXPECT_EQ(gpu.uuid, "7a4bf5e1c6f0c5d2");
    host.device("power/runtime_status", "active\n");
    EXPECT_DOUBLE_EQ(host.gpu().utilisation.valueOr(0), 0.99);
    EXPECT_TRUE(holds(host.gpu().memoryTotalBytes, 1));
}

TEST(DrmCard, ThatIsSuspendedFromTheStartSaysOnlyWhatItIs) {
    AmdHost host;
    host.device("power/runtime_status", "suspended\n");
    const Gpu &gpu = host.gpu();
    EXPECT_EQ(gpu.address, "0000:03:00.0");
    EXPECT_TRUE(holds(gpu.driver, "amdgpu"));
    EXPECT_TRUE(holds(gpu.pciId, "1002:73bf"));
    EXPECT_TRUE(lacks(gpu.memoryTotalBytes, Absence::NotYet));
    EXPECT_TRUE(lacks(gpu.firmware, Absence::NotYet));
}

TEST(DrmCard, UnderAnOldNameHasNothingOfTheOneBefore) {
    AmdHost host;
    host.take();
    host.device("uevent", "DRIVER=amdgpu\nPCI_ID=1002:744C\nPCI_SLOT_NAME=0000:44:00.0\n");
    host.device("power/runtime_status", "suspended\n");
    const Gpu &gpu = host.gpu();
    EXPECT_EQ(gpu.address, "0000:44:00.0");
    EXPECT_EQ(gpu.uuid, "");
    EXPECT_TRUE(lacks(gpu.memoryTotalBytes, Absence::NotYet));
}

TEST(DrmCard, IsNotItsConnectors) {
    AmdHost host;
    host.write("sys/class/drm/card0-DP-1/status", "connected\n");
    host.write("sys/class/drm/card1/device/uevent", "DRIVER=ast\nPCI_ID=1A03:2000\nPCI_SLOT_NAME=0000:05:00.0\n");
    host.write("sys/class/drm/card1-VGA-1/status", "connected\n");
    host.write("sys/class/drm/renderD128/dev", "226:128\n");
    host.write("sys/class/drm/version", "drm 1.1.0 20060810\n");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.gpus.size(), 2U);
    EXPECT_EQ(sample.gpus[0].gpu, "card0");
    EXPECT_EQ(sample.gpus[1].gpu, "card1");
    EXPECT_TRUE(lacks(sample.gpus[1].utilisation, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Gpus), NO_FAILURE);
}

TEST(DrmCard, OnNoBusHasNoAddress) {
    CardHost host;
    host.device("uevent", "DRIVER=v3d\nOF_NAME=gpu\n");
    const Gpu &gpu = host.gpu();
    EXPECT_EQ(gpu.address, "");
    EXPECT_TRUE(lacks(gpu.pciId, Absence::Unsupported));
    EXPECT_TRUE(holds(gpu.driver, "v3d"));
}

TEST(DrmCard, WithFilesThatHoldSomethingElseHasTheReason) {
    AmdHost host;
    host.device("gpu_busy_percent", "101\n");
    host.device("mem_busy_percent", "many\n");
    host.device("mem_info_vram_used", "99999999999999999999999\n");
    host.device("pp_dpm_sclk", "S: \n1\n:::\n");
    host.device("current_link_speed", "Unknown\n");
    host.device("ras/umc_err_count", "ue\nce: x\n");
    host.sensor("temp1_input", "\n");
    host.sensor("pwm1", std::string(9000, '7'));
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(lacks(gpu.utilisation, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.memoryUtilisation, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.memoryUsedBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.memoryFreeBytes, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.graphicsMostHertz, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.pcieGeneration, Absence::Unsupported));
    EXPECT_TRUE(lacks(gpu.eccCorrected, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.eccUncorrected, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.temperatureCelsius, Absence::Malformed));
    EXPECT_TRUE(lacks(gpu.fanRatio, Absence::Malformed));
}

TEST(DrmCard, WithMoreMemoryUsedThanItHasLacksTheFree) {
    AmdHost host;
    host.device("mem_info_vram_used", "17163091969\n");
    const Gpu &gpu = host.gpu();
    EXPECT_TRUE(holds(gpu.memoryUsedBytes, 17163091969));
    EXPECT_TRUE(lacks(gpu.memoryFreeBytes, Absence::Malformed));
}

TEST(DrmCard, OfNoKindIsAnAreaThatThisHostHasNot) {
    SampledHost host({Area::Gpus});
    EXPECT_EQ(host.take().area(Area::Gpus).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(host.take(), Area::Gpus), std::pair(ENOENT, std::string("sys/class/drm")));
}

} // namespace
