// The outside programs of the CPU collector.
#include "LogCapture.h"
#include "MM_CPU_Info.h"
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CpuPrograms : public testing::Test {
protected:
    CpuPrograms() { g_nCpuStrType = 1; }
    ~CpuPrograms() override { g_pclCCmdScheduler = nullptr; }

    // Commands that would run; they do nothing.
    void catchCommands() {
        systemHooks().system = [this](const char *command) {
            m_commands.emplace_back(command);
            return 0;
        };
    }

    ScratchHome m_home;
    std::vector<std::string> m_commands;
};

class PhysicalCpus : public CpuPrograms {
protected:
    int countTold(const std::string &text) {
        catchCommands();
        m_home.write("agent/aproc/shell/CpuCntPhysical.dat", text);
        CMM_CPU_Info cpu;
        return cpu.fMGetPhyCpuCnt();
    }
};

TEST_F(PhysicalCpus, ComeFromTheScript) {
    m_home.plainCommandRunner();
    m_home.script("agent/bin/shell/LINUX/cpu_info", "echo 4\n");
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fMGetPhyCpuCnt(), 4);

    EXPECT_EQ(m_home.read("agent/aproc/shell/CpuCntPhysical.dat"), "4\n");
}

TEST_F(PhysicalCpus, ScriptRunsUnderTheCommandRunnerWithATimeOut) {
    countTold("");

    EXPECT_THAT(m_commands, ElementsAre("../../utils/ETC/ShCmd 5 ./shell/LINUX/cpu_info > "
                                        "../aproc/shell/CpuCntPhysical.dat 2>&1"));
}

TEST_F(PhysicalCpus, LineOfMoreThanTwoCharactersCountsAsUnknown) {
    EXPECT_EQ(countTold("8\n"), 8);
    EXPECT_EQ(countTold("8\n16\n"), 8);
    EXPECT_EQ(countTold("8"), 8);
    EXPECT_EQ(countTold("16"), 16);
    EXPECT_EQ(countTold("16\n"), 0);
    EXPECT_EQ(countTold("128\n"), 0);
    EXPECT_EQ(countTold(std::string(5000, '7')), 0);
}

TEST_F(PhysicalCpus, EmptyAndTextLinesAreUnknown) {
    EXPECT_EQ(countTold(""), 0);
    EXPECT_EQ(countTold("\n4\n"), 0);
    EXPECT_EQ(countTold("sh"), 0);
    EXPECT_EQ(countTold("sh: cpu_info: not found\n"), 0);
}

TEST_F(PhysicalCpus, WithoutAResultFileTheyAreUnknown) {
    catchCommands();
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fMGetPhyCpuCnt(), 0);
}

TEST_F(PhysicalCpus, WithoutTheCommandRunnerTheyAreUnknown) {
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fMGetPhyCpuCnt(), 0);
}

class CpuInventory : public CpuPrograms {
protected:
    int fetch(CMM_CPU_Info &cpu, const std::string &text) const {
        m_home.write("agent/aproc/shell/CpuINVStrInfo.dat", text);
        return cpu.fGetCpuINV();
    }
};

TEST_F(CpuInventory, IsTheTextAfterTheMarker) {
    CMM_CPU_Info cpu;

    EXPECT_EQ(fetch(cpu, "TORVCPU|2|GenuineIntel|model 85\n"), 1);

    EXPECT_EQ(cpu.m_nCpuINVCnt, 1);
    EXPECT_STREQ(cpu.m_pStrCpuINV, "2|GenuineIntel|model 85");
    EXPECT_EQ(cpu.m_nCpuINVSize, 10240);
}

TEST_F(CpuInventory, LinesThatAreEmptyOrUpperCaseAreReadPast) {
    CMM_CPU_Info cpu;

    EXPECT_EQ(fetch(cpu, "\n\nHEADER 12\nTORVCPU|UPPER\nTORVCPU|the first\nTORVCPU|the second\n"), 1);

    EXPECT_STREQ(cpu.m_pStrCpuINV, "the first");
}

TEST_F(CpuInventory, OfAnotherCollectorIsRefused) {
    CMM_CPU_Info cpu;
    LogCapture log;

    EXPECT_EQ(fetch(cpu, "TORVDISK|sda\nTORVCPU|never reached\n"), -1);

    EXPECT_EQ(cpu.m_nCpuINVCnt, 0);
    EXPECT_THAT(log.messages(), ElementsAre("fgets not contents"));
    EXPECT_THAT(log.lines()[0], testing::StartsWith("[INFO][MM_CPU_Info]["));
}

TEST_F(CpuInventory, WithoutATextThereIsNone) {
    CMM_CPU_Info cpu;
    ASSERT_EQ(fetch(cpu, "TORVCPU|known\n"), 1);
    LogCapture log;

    EXPECT_EQ(fetch(cpu, "TORVCPU of this host\n"), -1);
    EXPECT_EQ(fetch(cpu, "the TORVCPU|\n"), -1);
    EXPECT_EQ(fetch(cpu, "the TORVCPU||\n"), -1);

    EXPECT_EQ(cpu.m_nCpuINVCnt, 0);
    EXPECT_STREQ(cpu.m_pStrCpuINV, "");
    EXPECT_THAT(log.messages(), ElementsAre("inv not contents", "inv not contents", "inv not contents"));
}

TEST_F(CpuInventory, LineStillBeingWrittenIsNotUsed) {
    CMM_CPU_Info cpu;
    LogCapture log;

    EXPECT_EQ(fetch(cpu, "TORVCPU|2|GenuineInt"), -1);

    EXPECT_THAT(log.messages(), ElementsAre("fgets not contents"));
}

TEST_F(CpuInventory, MissingAndEmptyFilesAreLogged) {
    CMM_CPU_Info cpu;
    LogCapture log;

    EXPECT_EQ(cpu.fGetCpuINV(), -1);
    EXPECT_EQ(fetch(cpu, ""), -1);

    EXPECT_THAT(log.messages(), ElementsAre("fopen failed(2)", "inv file size zero"));
}

// "TORVCPU|" and 20000 letters: a line of 20008, longer than the 10240 bytes of the buffer, makes it 10240 + 20008
// + 16.
TEST_F(CpuInventory, BufferGrowsForALongLine) {
    CMM_CPU_Info cpu;
    const std::string text(20000, 'c');

    EXPECT_EQ(fetch(cpu, "TORVCPU|" + text + "\n"), 1);
    EXPECT_EQ(cpu.m_pStrCpuINV, text);
    EXPECT_EQ(cpu.m_nCpuINVSize, 30264);

    EXPECT_EQ(fetch(cpu, "TORVCPU|short again\n"), 1);
    EXPECT_STREQ(cpu.m_pStrCpuINV, "short again");
    EXPECT_EQ(cpu.m_nCpuINVSize, 30264);
}

TEST_F(CpuInventory, WithoutTextSettingThereIsNoFile) {
    g_nCpuStrType = 0;
    CMM_CPU_Info cpu;
    LogCapture log;

    EXPECT_EQ(cpu.fGetCpuINV(), -1);
    EXPECT_EQ(cpu.fINVFileRemove(), -1);

    EXPECT_THAT(log.messages(), ElementsAre("fopen failed(2)"));
}

TEST_F(CpuInventory, FileIsRemoved) {
    CMM_CPU_Info cpu;
    m_home.write("agent/aproc/shell/CpuINVStrInfo.dat", "TORVCPU|x\n");

    EXPECT_EQ(cpu.fINVFileRemove(), 0);
    EXPECT_FALSE(m_home.exists("agent/aproc/shell/CpuINVStrInfo.dat"));
    EXPECT_EQ(cpu.fINVFileRemove(), -1);
}

TEST_F(CpuInventory, AlwaysCountsAsChanged) {
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fCpuChangeCheck(), 1);
    EXPECT_EQ(cpu.fCpuChangeCheck(), 1);
}

TEST_F(CpuInventory, ModeOneRunsTheProgramAtOnce) {
    catchCommands();
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fCommandINV(1), 1);

    EXPECT_THAT(m_commands, ElementsAre("../../utils/ETC/ShCmd 1200 ./libinvinfo 1 1"));
}

TEST_F(CpuInventory, ProgramThatCannotBeStartedGivesZero) {
    systemHooks().system = [](const char *) { return -1; };
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fCommandINV(1), 0);
}

TEST_F(CpuInventory, OtherModesAreHandedToTheScheduler) {
    catchCommands();
    std::vector<std::string> requests;
    systemHooks().saveCommand = [&requests](const char *key, const char *command) {
        requests.push_back(std::string(key) + ": " + command);
        return requests.size() == 1 ? 0 : -1;
    };
    CCmdScheduler scheduler;
    g_pclCCmdScheduler = &scheduler;
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fCommandINV(2), 1);
    EXPECT_EQ(cpu.fCommandINV(0), 0) << "the scheduler refused it";

    EXPECT_THAT(requests, ElementsAre("cpu_inv_1: ../../utils/ETC/ShCmd 1200 ./libinvinfo 1 2&",
                                      "cpu_inv_1: ../../utils/ETC/ShCmd 1200 ./libinvinfo 1 0&"));
    EXPECT_THAT(m_commands, IsEmpty());
}

TEST_F(CpuInventory, WithoutASchedulerNothingIsScheduled) {
    catchCommands();
    CMM_CPU_Info cpu;

    EXPECT_EQ(cpu.fCommandINV(2), 0);

    EXPECT_THAT(m_commands, IsEmpty());
}

} // namespace
