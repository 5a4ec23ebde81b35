// The known names of md arrays, NVMe controllers and tape drives.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>

namespace {

zel::MdArray array(const char *state, const char *action) {
    zel::MdArray md;
    md.name = "md6";
    md.state.set(state);
    md.action.set(action);
    md.required = std::uint64_t{2};
    md.active = std::uint64_t{1};
    md.failed = std::uint64_t{3};
    md.spare = std::uint64_t{4};
    md.sizeBytes = 266828397.0 * 1024;
    md.syncedBytes = 54860247.0 * 1024;
    return md;
}

KnownText textOf(const zel::MdArray &md) {
    zel::Sample sample;
    sample.mdArrays.append() = md;
    return KnownText(zel::knownStorageDevices, sample);
}

TEST(KnownArrays, DisksAreByStateAndSizesInBlocks) {
    const KnownText text = textOf(array("active", "recovery"));
    EXPECT_EQ(text.series("node_md_disks"), (Lines{R"(node_md_disks{device="md6",state="active"} 1)",
                                                   R"(node_md_disks{device="md6",state="failed"} 3)",
                                                   R"(node_md_disks{device="md6",state="spare"} 4)"}));
    EXPECT_EQ(text.series("node_md_disks_required"), (Lines{R"(node_md_disks_required{device="md6"} 2)"}));
    EXPECT_EQ(text.series("node_md_blocks"), (Lines{R"(node_md_blocks{device="md6"} 266828397)"}));
    EXPECT_EQ(text.series("node_md_blocks_synced"), (Lines{R"(node_md_blocks_synced{device="md6"} 54860247)"}));
    EXPECT_EQ(text.type("node_md_blocks"), "gauge");
}

TEST(KnownArrays, OneStateOfFiveHolds) {
    struct Case {
        const char *state, *action, *holds;
    };
    for (const Case &each : {Case{"active", "none", "active"}, Case{"active", "resync", "resync"},
                             Case{"active", "recovery", "recovering"}, Case{"active", "check", "check"},
                             Case{"active", "reshape", "active"}, Case{"inactive", "none", "inactive"}}) {
        Lines holding;
        const Lines all = textOf(array(each.state, each.action)).series("node_md_state");
        EXPECT_EQ(all.size(), 5U);
        for (const std::string &line : all) {
            if (line.ends_with(" 1"))
                holding.push_back(line);
        }
        EXPECT_EQ(holding, (Lines{std::string("node_md_state{device=\"md6\",state=\"") + each.holds + "\"} 1"}));
    }
    for (const std::string &line : textOf(array("broken", "none")).series("node_md_state"))
        EXPECT_TRUE(line.ends_with(" 0")) << line;
}

TEST(KnownArrays, AnInactiveOneNeedsAndUsesNoDisk) {
    zel::MdArray md = array("inactive", "none");
    md.required = md.active = zel::Absence::Unsupported;
    const KnownText text = textOf(md);
    EXPECT_EQ(text.series("node_md_disks").front(), R"(node_md_disks{device="md6",state="active"} 0)");
    EXPECT_EQ(text.series("node_md_disks_required"), (Lines{R"(node_md_disks_required{device="md6"} 0)"}));
}

TEST(KnownArrays, AReshapeIsNotKnownToThem) {
    EXPECT_EQ(textOf(array("active", "reshape")).series("node_md_blocks_synced"),
              (Lines{R"(node_md_blocks_synced{device="md6"} 266828397)"}));
}

TEST(KnownTapes, CountersHaveTheirFamilies) {
    zel::Sample sample;
    zel::Tape &tape = sample.tapes.append();
    tape.name = "st0";
    tape.reads = std::uint64_t{3741};
    tape.ioSeconds = 9247.01108772;
    const KnownText text(zel::knownStorageDevices, sample);
    EXPECT_EQ(text.series(), (Lines{R"(node_tape_reads_completed_total{device="st0"} 3741)",
                                    R"(node_tape_io_time_seconds_total{device="st0"} 9247.01108772)"}));
    EXPECT_EQ(text.type("node_tape_io_time_seconds_total"), "counter");
}

TEST(KnownControllers, NamesAndStateAreLabels) {
    zel::Sample sample;
    zel::NvmeState &controller = sample.nvmeStates.append();
    controller.name = "nvme0";
    controller.state.set("live");
    controller.model.set("Disk 9");
    EXPECT_EQ(
        KnownText(zel::knownStorageDevices, sample).series(),
        (Lines{R"(node_nvme_info{device="nvme0",firmware_revision="",model="Disk 9",serial="",state="live"} 1)"}));
}

} // namespace
