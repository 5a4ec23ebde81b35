// Errors of memory as its controllers count them.
#include "SampledHost.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;

// Two controllers: one with rows and modules, one that knows ranks alone.
class EdacHost : public SampledHost {
public:
    EdacHost() : SampledHost({Area::Memory}) {
        write("proc/meminfo", "MemTotal: 1000 kB\n");
        controller("mc0", "1");
        controller("mc1", "2");
        mc("mc0/mc_name", "skx_edac#mc0\n");
        mc("mc0/size_mb", "32768\n");
        mc("mc0/seconds_since_reset", "3600\n");
        mc("mc0/csrow0/ce_count", "5\n");
        mc("mc0/csrow0/ue_count", "6\n");
        mc("mc0/csrow10/ce_count", "7\n");
        mc("mc0/csrow10/ue_count", "8\n");
        mc("mc0/csrowx/ce_count", "9\n");
        module("mc0/dimm2", "CPU0#C0#S0", "channel 0 slot 0 \n", "16384\n");
        mc("mc0/dimm2/dimm_ce_count", "3\n");
        mc("mc0/dimm2/dimm_ue_count", "4\n");
        module("mc1/rank0", "", "csrow 0 channel 1 \n", "8192\n");
        write("sys/devices/system/edac/mc/power/control", "auto\n");
    }
    void mc(const std::string &file, const std::string &text) const {
        write("sys/devices/system/edac/mc/" + file, text);
    }

private:
    void controller(const std::string &name, const std::string &digit) const {
        int number = 0;
        for (const char *file : {"/ce_count", "/ue_count", "/ce_noinfo_count", "/ue_noinfo_count"})
            mc(name + file, digit + std::to_string(number++) + '\n');
    }
    void module(const std::string &name, const std::string &label, const char *location, const char *size) const {
        mc(name + "/dimm_label", label + '\n');
        mc(name + "/dimm_location", location);
        mc(name + "/dimm_mem_type", "Registered-DDR4\n");
        mc(name + "/size", size);
    }
};

TEST(EdacErrors, ControllersRowsAndModules) {
    EdacHost host;
    const zel::Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Memory), NO_FAILURE);
    ASSERT_EQ(sample.edacControllers.size(), 2U);
    const zel::EdacController &first = sample.edacControllers[0];
    EXPECT_EQ(first.controller, 0U);
    EXPECT_TRUE(holds(first.name, std::string("skx_edac#mc0")));
    EXPECT_TRUE(holds(first.sizeBytes, 34359738368U));
    EXPECT_TRUE(holds(first.sinceResetSeconds, 3600U));
    EXPECT_TRUE(holds(first.correctedErrors, 10U));
    EXPECT_TRUE(holds(first.uncorrectedErrors, 11U));
    EXPECT_TRUE(holds(first.correctedPlaceless, 12U));
    EXPECT_TRUE(holds(first.uncorrectedPlaceless, 13U));
    EXPECT_TRUE(holds(sample.edacControllers[1].correctedErrors, 20U));
    EXPECT_TRUE(lacks(sample.edacControllers[1].sinceResetSeconds, Absence::Unsupported));

    ASSERT_EQ(sample.edacRows.size(), 2U);
    EXPECT_EQ(sample.edacRows[1].row, 10U);
    EXPECT_TRUE(holds(sample.edacRows[1].correctedErrors, 7U));
    EXPECT_TRUE(holds(sample.edacRows[1].uncorrectedErrors, 8U));
}

TEST(EdacErrors, ModulesAndRanksWithWhatTheyAreCalled) {
    EdacHost host;
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.edacModules.size(), 2U);
    const zel::EdacModule &module = sample.edacModules[0];
    EXPECT_EQ(module.module, "dimm2");
    EXPECT_TRUE(holds(module.label, std::string("CPU0#C0#S0")));
    EXPECT_TRUE(holds(module.location, std::string("channel 0 slot 0")));
    EXPECT_TRUE(holds(module.type, std::string("Registered-DDR4")));
    EXPECT_TRUE(holds(module.sizeBytes, 17179869184U));
    EXPECT_TRUE(holds(module.correctedErrors, 3U));
    EXPECT_TRUE(holds(module.uncorrectedErrors, 4U));
    const zel::EdacModule &rank = sample.edacModules[1];
    EXPECT_EQ(rank.controller, 1U);
    EXPECT_EQ(rank.module, "rank0");
    EXPECT_TRUE(lacks(rank.label, Absence::Unsupported));
    EXPECT_TRUE(lacks(rank.correctedErrors, Absence::Unsupported)) << "before kernel 4.10";
}

TEST(EdacErrors, WhatIsNoNumberIsMalformed) {
    EdacHost host;
    host.mc("mc0/ue_count", "-1x\n");
    host.mc("mc0/csrow0/ce_count", "\n");
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.edacRows[0].correctedErrors, Absence::Malformed));
    EXPECT_FALSE(sample.edacControllers[0].uncorrectedErrors);
    EXPECT_EQ(failureOf(sample, Area::Memory).first, EBADMSG);
}

TEST(EdacErrors, AControllerThatGoesHasNoRowsAndOneThatComesHas) {
    EdacHost host;
    host.take();
    std::filesystem::remove_all(host.path() + "/sys/devices/system/edac/mc/mc0");
    host.mc("mc7/ce_count", "1\n");
    const zel::Sample &sample = host.take();
    ASSERT_EQ(sample.edacControllers.size(), 2U);
    EXPECT_EQ(sample.edacControllers[0].controller, 1U);
    EXPECT_EQ(sample.edacControllers[1].controller, 7U);
    EXPECT_TRUE(holds(sample.edacControllers[1].correctedErrors, 1U));
    EXPECT_TRUE(sample.edacRows.empty());
    EXPECT_EQ(failureOf(sample, Area::Memory), NO_FAILURE);
}

TEST(EdacErrors, AHostWithoutThemHasNone) {
    SampledHost host(Area::Memory, {{"proc/meminfo", "MemTotal: 1000 kB\n"}});
    const zel::Sample &sample = host.take();
    EXPECT_TRUE(sample.edacControllers.empty());
    EXPECT_EQ(failureOf(sample, Area::Memory), NO_FAILURE);
}

} // namespace
