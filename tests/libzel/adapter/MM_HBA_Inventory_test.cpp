// The card and port inventories, and who asks for them.
#include "LogCapture.h"
#include "MM_HBA_Info.h"
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "SystemHooks.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

constexpr const char *cardFile = "agent/aproc/shell/HBACardINVStrInfo.dat";
constexpr const char *portFile = "agent/aproc/shell/HBAPortINVStrInfo.dat";

// The same behaviour over the two files, each with its own operation, marker and members.
struct Inventory {
    const char *name;
    const char *file;
    const char *marker;
    int (CMM_HBA_Info::*gather)();
    char *CMM_HBA_Info::*text;
    int CMM_HBA_Info::*size;
    int CMM_HBA_Info::*count;
};

void PrintTo(const Inventory &inventory, std::ostream *stream) {
    *stream << inventory.name;
}

class HbaInventory : public testing::TestWithParam<Inventory> {
protected:
    int gather() { return (m_ports.*GetParam().gather)(); }
    void write(const std::string &text) const { m_home.write(GetParam().file, text); }
    std::string text() const { return m_ports.*GetParam().text; }
    int size() const { return m_ports.*GetParam().size; }
    int count() const { return m_ports.*GetParam().count; }
    std::string marked(const std::string &rest) const { return GetParam().marker + rest; }

    const ScratchHome m_home;
    CMM_HBA_Info m_ports;
};

INSTANTIATE_TEST_SUITE_P(CardAndPort, HbaInventory,
                         testing::Values(Inventory{"card", cardFile, "TORVHBACARD", &CMM_HBA_Info::fGatherHBACardInv,
                                                   &CMM_HBA_Info::m_pStrHBACardINV, &CMM_HBA_Info::m_nHBACardINVSize,
                                                   &CMM_HBA_Info::m_nHBAINVCardCnt},
                                         Inventory{"port", portFile, "TORVHBAPORT", &CMM_HBA_Info::fGatherHBAPortInv,
                                                   &CMM_HBA_Info::m_pStrHBAPortINV, &CMM_HBA_Info::m_nHBAPortINVSize,
                                                   &CMM_HBA_Info::m_nHBAINVPortCnt}),
                         [](const auto &instance) { return std::string(instance.param.name); });

TEST_P(HbaInventory, TextAfterTheMarkerIsTaken) {
    write("\nALL UPPER CASE\n" + marked("|model|QLE2672|two\n"));
    EXPECT_EQ(gather(), 1);
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(text(), "model|QLE2672|two");
    EXPECT_EQ(size(), 10240);
}

TEST_P(HbaInventory, LineWithNothingAfterTheBarIsAnEmptyText) {
    write(marked("|a text\n"));
    EXPECT_EQ(gather(), 1);
    write(marked("x|\n"));
    EXPECT_EQ(gather(), 1);
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(text(), "");
}

TEST_P(HbaInventory, ShorterTextLeavesNothingOfTheLongerOne) {
    write(marked("|a long inventory text\n"));
    EXPECT_EQ(gather(), 1);
    write(marked("|short\n"));
    EXPECT_EQ(gather(), 1);
    EXPECT_EQ(text(), "short");
}

TEST_P(HbaInventory, LineLongerThanTheBufferReplacesIt) {
    const std::string inventory(20000, 'i');
    write(marked("|" + inventory + "\n"));
    EXPECT_EQ(gather(), 1);
    EXPECT_EQ(text(), inventory);
    // Old size + length of the line + 16: 10240 + (11 + 1 + 20000) + 16.
    EXPECT_EQ(size(), 30268);
}

TEST_P(HbaInventory, FailuresClearTheCountAndAreLoggedWheneverALoggerIsInstalled) {
    const LogCapture log(0, 0);
    write(marked("|text\n"));
    EXPECT_EQ(gather(), 1);

    EXPECT_EQ(std::filesystem::remove(m_home.path() / GetParam().file), true);
    EXPECT_EQ(gather(), -1);
    EXPECT_EQ(count(), 0);
    write("");
    EXPECT_EQ(gather(), -1);
    write("another marker|text\n");
    EXPECT_EQ(gather(), -1);
    write(marked(" without a separator\n"));
    EXPECT_EQ(gather(), -1);
    EXPECT_EQ(count(), 0);

    EXPECT_THAT(log.messages(), ElementsAre("fopen failed(" + std::to_string(ENOENT) + ")", "inv file size zero",
                                            "fgets not contents", "inv not contents"));
}

TEST_P(HbaInventory, MarkerOfTheOtherFileIsNotTaken) {
    write(std::string(GetParam().file == cardFile ? "TORVHBAPORT" : "TORVHBACARD") + "|text\n");
    EXPECT_EQ(gather(), -1);
    EXPECT_EQ(count(), 0);
}

TEST(HbaInventoryRequest, ModeOneRunsTheProgramAtOnce) {
    const ScratchHome home;
    std::vector<std::string> commands;
    systemHooks().system = [&](const char *command) {
        commands.emplace_back(command);
        return 0;
    };
    CMM_HBA_Info ports;

    EXPECT_EQ(ports.fCommandINV(1), 1);
    EXPECT_THAT(commands, ElementsAre("../../utils/ETC/ShCmd 600 ./libinvinfo 4 1"));
}

TEST(HbaInventoryRequest, ProgramThatCannotBeStartedGivesZero) {
    const ScratchHome home;
    systemHooks().system = [](const char *) { return -1; };
    CMM_HBA_Info ports;
    EXPECT_EQ(ports.fCommandINV(1), 0);
}

TEST(HbaInventoryRequest, OtherModesAreHandedToTheSchedulerUnderTheProcessorKey) {
    const ScratchHome home;
    bool ran = false;
    systemHooks().system = [&](const char *) {
        ran = true;
        return 0;
    };
    std::vector<std::string> requests;
    systemHooks().saveCommand = [&](const char *key, const char *command) {
        requests.push_back(std::string(key) + ": " + command);
        return requests.size() < 3 ? 0 : -1;
    };
    CCmdScheduler scheduler;
    g_pclCCmdScheduler = &scheduler;
    CMM_HBA_Info ports;

    EXPECT_EQ(ports.fCommandINV(0), 1);
    EXPECT_EQ(ports.fCommandINV(2), 1);
    EXPECT_EQ(ports.fCommandINV(-1), 0) << "the scheduler refused it";

    // The mode is not part of the command.
    EXPECT_THAT(requests, testing::AllOf(testing::SizeIs(3),
                                         testing::Each("cpu_inv_1: ../../utils/ETC/ShCmd 600 ./libinvinfo 4 1&")));
    EXPECT_FALSE(ran);
}

TEST(HbaInventoryRequest, WithoutSchedulerNothingIsRun) {
    const ScratchHome home;
    bool ran = false;
    systemHooks().system = [&](const char *) {
        ran = true;
        return 0;
    };
    ASSERT_EQ(g_pclCCmdScheduler, nullptr);
    CMM_HBA_Info ports;
    EXPECT_EQ(ports.fCommandINV(0), 0);
    EXPECT_EQ(ports.fCommandINV(2), 0);
    EXPECT_FALSE(ran);
}

TEST(HbaInventoryFiles, BothAreRemovedAndTheSecondDecides) {
    const ScratchHome home;
    CMM_HBA_Info ports;
    home.write(cardFile, "a");
    home.write(portFile, "b");
    EXPECT_EQ(ports.fINVFileRemove(), 0);
    EXPECT_FALSE(home.exists(cardFile));
    EXPECT_FALSE(home.exists(portFile));

    EXPECT_EQ(ports.fINVFileRemove(), -1);
    home.write(portFile, "b");
    EXPECT_EQ(ports.fINVFileRemove(), 0);
    home.write(cardFile, "a");
    EXPECT_EQ(ports.fINVFileRemove(), -1);
    EXPECT_FALSE(home.exists(cardFile));
}

} // namespace
