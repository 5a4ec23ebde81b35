// The command lines of the home kit, byte by byte, and where their results are read.
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "SystemHooks.h"
#include "scripts/HomeScripts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using zel::Script;

class HomeScripts : public testing::Test {
protected:
    HomeScripts() {
        systemHooks().system = [this](const char *command) {
            m_commands.emplace_back(command);
            return 0;
        };
    }

    std::string lineOf(Script script, const zel::ScriptArgument &argument = {}, const char *name = "") {
        m_commands.clear();
        EXPECT_EQ(zel::runScript(script, argument, name), 0);
        return m_commands.empty() ? "" : m_commands.front();
    }

    ScratchHome m_home;
    std::vector<std::string> m_commands;
};

TEST_F(HomeScripts, CommandLinesAreThoseThatConsumersKnow) {
    EXPECT_EQ(lineOf(Script::PhysicalProcessors),
              "../../utils/ETC/ShCmd 5 ./shell/LINUX/cpu_info > ../aproc/shell/CpuCntPhysical.dat 2>&1");
    EXPECT_EQ(lineOf(Script::Partitions),
              "../../utils/ETC/ShCmd 5 ./shell/LINUX/partitions.sh > ../aproc/shell/partitions.dat 2>&1");
    EXPECT_EQ(lineOf(Script::MemoryModules), "../../utils/ETC/ShCmd 5 ./shell/LINUX/MemCntInfoLIN.sh");
    EXPECT_EQ(lineOf(Script::Datastores),
              "../../utils/ETC/ShCmd 5 ./shell/LINUX/VMWare_FS.sh ../aproc/shell/vmware_fs_inv.dat 2> /dev/null");
    EXPECT_EQ(lineOf(Script::InterfaceNames),
              "../../utils/ETC/ShCmd 10 ./shell/LINUX/IFName.sh > ../aproc/shell/IFName.dat 2> /dev/null");
    EXPECT_EQ(
        lineOf(Script::Bandwidth, "eth0", "bond0"),
        "../../utils/ETC/ShCmd 5 ./shell/LINUX/BandWidth.sh eth0 ../aproc/shell/BandWidth_bond0.dat 2> /dev/null");
    EXPECT_EQ(lineOf(Script::Bandwidths), "../../utils/ETC/ShCmd 10 ./shell/LINUX/ifname_bandwidth.sh > "
                                          "../aproc/shell/IFName_bandwidth.dat 2> /dev/null");
    EXPECT_EQ(lineOf(Script::BandwidthsAndDuplex),
              "../../utils/ETC/ShCmd 30 ./shell/LINUX/ifname_bandwidth_duplex.sh > "
              "../aproc/shell/IFName_bandwidth.dat 2> /dev/null");
    EXPECT_EQ(lineOf(Script::Duplex, "eth0"), "../../utils/ETC/ShCmd 5 ./shell/LINUX/NICDuplexInfoLinux.sh eth0 "
                                              "../aproc/shell/DuplexLinuxTmp.dat ../aproc/shell/DuplexLinux.dat");
    EXPECT_EQ(lineOf(Script::ProcessList),
              "../../utils/ETC/ShCmd 5 ./shell/LINUX/PSInfoLIN.sh > ../aproc/shell/PSInfoLin.dat");
    EXPECT_EQ(lineOf(Script::TopOfAll), "../../utils/ETC/ShCmd 5 ./shell/LINUX/top_info > ../aproc/shell/top_info.dat");
    EXPECT_EQ(lineOf(Script::ProcessCpu, 4711),
              "../../utils/ETC/ShCmd 5 ./shell/LINUX/ProcCpuUseTop.sh 4711 > ../aproc/shell/ProcessPCPU.dat 2>&1");
    EXPECT_EQ(lineOf(Script::CpuInventory, 1), "../../utils/ETC/ShCmd 1200 ./libinvinfo 1 1");
    EXPECT_EQ(lineOf(Script::AdapterInventory, 1), "../../utils/ETC/ShCmd 600 ./libinvinfo 4 1");
}

TEST_F(HomeScripts, ScheduledOnesEndAsConsumersKnow) {
    std::vector<std::string> saved;
    systemHooks().saveCommand = [&saved](const char *key, const char *command) {
        saved.emplace_back(std::string(key) + ": " + command);
        return 7;
    };
    EXPECT_EQ(zel::scheduleScript("none", Script::CpuInventory, 2), -1) << "without a scheduler";
    CCmdScheduler scheduler;
    g_pclCCmdScheduler = &scheduler;
    EXPECT_EQ(zel::scheduleScript("cpu", Script::CpuInventory, 2), 7);
    zel::scheduleScript("disk", Script::DiskInventory, -1);
    zel::scheduleScript("nic", Script::InterfaceInventory, 3);
    zel::scheduleScript("hba", Script::AdapterInventory, 1);
    g_pclCCmdScheduler = nullptr;
    EXPECT_EQ(saved, (std::vector<std::string>{"cpu: ../../utils/ETC/ShCmd 1200 ./libinvinfo 1 2&",
                                               "disk: ./shell/libinvdiskexe.sh 2 -1 &",
                                               "nic: ../../utils/ETC/ShCmd 1200 ./libinvinfo 3 3 &",
                                               "hba: ../../utils/ETC/ShCmd 600 ./libinvinfo 4 1&"}));
}

TEST_F(HomeScripts, LineThatDoesNotFitIsNotRun) {
    const std::string tooLong(zel::SCRIPT_LINE_SIZE, 'a');
    EXPECT_EQ(lineOf(Script::Duplex, tooLong.c_str()), "");
    EXPECT_EQ(lineOf(Script::Bandwidth, "eth0", tooLong.c_str()), "");
}

TEST_F(HomeScripts, ResultIsReadWhereTheScriptWritesIt) {
    m_home.write("agent/aproc/shell/BandWidth_bond0.dat", "1000\n");
    EXPECT_STREQ(zel::namedResultPath(Script::Bandwidth, "bond0").text, "../aproc/shell/BandWidth_bond0.dat");
    EXPECT_NE(zel::openResult(Script::Bandwidth, "bond0"), nullptr);
    EXPECT_EQ(zel::openResult(Script::Bandwidth, "eth0"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(HomeScripts, ScriptWhoseResultWouldMakeTheShellWaitIsNotRun) {
    const auto pipe = m_home.path() / "agent/aproc/shell/partitions.dat";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    systemHooks().unlink = [](const char *) {
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(lineOf(Script::Partitions), "");
    systemHooks().unlink = nullptr;
    EXPECT_NE(lineOf(Script::Partitions), "");
    EXPECT_FALSE(m_home.exists("agent/aproc/shell/partitions.dat"));
}

// Every program of the table is part of the kit.
TEST_F(HomeScripts, KitHasEveryScript) {
    m_home.installKit();
    for (const zel::HomeScript &script : zel::HOME_SCRIPTS) {
        const std::string program = script.program;
        EXPECT_EQ(access(program.substr(0, program.find(' ')).c_str(), X_OK), 0) << program;
    }
}

} // namespace
