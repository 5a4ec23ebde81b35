// Collectors in a home that is not trusted: nothing of it is run or read, one line says why, and every call ends as
// with a missing script.
#include "LogCapture.h"
#include "MM_CPU_Info.h"
#include "MM_IO_Info.h"
#include "MM_MEM_Info.h"
#include "MM_NWT_Info.h"
#include "NCmdScheduler.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "StreamCapture.h"
#include "SystemHooks.h"
#include "scripts/HomeScripts.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zel::Script;

constexpr const char *planted = "touch \"${0%/*}/CANARY\"\n";

// A home whose every script leaves a mark when it runs.
class HomeTrust : public testing::Test {
protected:
    HomeTrust() {
        g_nLinuxBandwidthFlag = 1;
        g_nCpuStrType = 1; // with an inventory file
        m_home.script("utils/ETC/ShCmd", std::string(planted) + "shift\nexec \"$@\"\n");
        m_home.script("utils/INSTALL/recentlogfile.sh", planted);
        for (const char *script : {"cpu_info", "partitions.sh", "MemCntInfoLIN.sh", "ifname_bandwidth_duplex.sh"})
            m_home.script(std::string("agent/bin/shell/LINUX/") + script, planted);
        for (const char *script : {"agent/bin/libinvinfo", "agent/bin/shell/libinvdiskexe.sh"})
            m_home.script(script, planted);
        m_home.write("agent/aproc/shell/CpuINVStrInfo.dat", "TORVCPU|planted\n");
        m_home.write("agent/aproc/shell/DiskINVStrInfo.dat", "TORVDISK|planted\n");
        m_home.write("agent/aproc/shell/CpuCntPhysical.dat", "4\n");
        m_home.write("agent/aproc/shell/IFName_bandwidth.dat", "TORVSC|eth0|1000000|2\n");
        m_home.write("agent/aproc/shell/disk_sar_d.txt", "sda 45.5\n");
        m_home.write("agent/aproc/shell/MemCntInfo.dat", "1024\n");
        m_home.write("agent/aproc/shell/partitions.dat", "8 0 1000 sda\n");
    }

    std::string at(const std::string &path) const { return (m_home.path() / path).string(); }
    void openToOthers(const std::string &path) const { ASSERT_EQ(chmod(at(path).c_str(), 0777), 0) << path; }

    bool somethingRan() const {
        const auto all = fs::recursive_directory_iterator(m_home.path());
        return std::any_of(begin(all), end(all), [](const auto &entry) { return entry.path().filename() == "CANARY"; });
    }

    // Every collector as with a home that has no script and no result.
    static void expectNothingTaken() {
        CMM_CPU_Info cpu;
        EXPECT_EQ(cpu.fMGetPhyCpuCnt(), 0);
        EXPECT_EQ(cpu.fGetCpuINV(), -1);
        EXPECT_EQ(cpu.fCommandINV(1), 1);
        CMM_IO_Info disks;
        EXPECT_EQ(disks.fMGetDevNames(1), 0);
        EXPECT_EQ(disks.fGetDiskINV(), -1);
        EXPECT_EQ(disks.fDiskChangeCheck(), -1);
        float rate = 1;
        EXPECT_EQ(disks.fGetDiskIoRate("sda", &rate), -1);
        CMM_MEM_Info memory;
        EXPECT_EQ(memory.fMGetMemCnt(), nullptr);
        const CMM_NWT_Info network;
        EXPECT_EQ(network.m_pclBandwidthList->fGetNodeCnt(), 0);
    }

    ScratchHome m_home;
};

TEST_F(HomeTrust, PlantedScriptsWouldRunInATrustedHome) {
    CMM_CPU_Info cpu;
    cpu.fMGetPhyCpuCnt();
    EXPECT_TRUE(somethingRan()) << "else the other tests see nothing";
    EXPECT_EQ(cpu.fGetCpuINV(), 1);
}

TEST_F(HomeTrust, NothingOfAHomeThatOthersWriteIsRunOrRead) {
    openToOthers(".");
    const StreamCapture streams;
    expectNothingTaken();
    EXPECT_FALSE(somethingRan());
    EXPECT_EQ(streams.err(), "home not trusted, its scripts are not run and their results not read: " +
                                 m_home.path().string() + " can be written by others (mode 0777)\n");
}

TEST_F(HomeTrust, NothingOfAHomeOfSomebodyElseIsRunOrRead) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    for (const auto &entry : fs::recursive_directory_iterator(m_home.path()))
        ASSERT_EQ(lchown(entry.path().c_str(), 65534, 65534), 0);
    const StreamCapture streams;
    expectNothingTaken();
    EXPECT_FALSE(somethingRan());
    EXPECT_THAT(streams.err(), HasSubstr("home not trusted"));
    EXPECT_THAT(streams.err(), HasSubstr("belongs to user 65534"));
}

TEST_F(HomeTrust, ReasonGoesToTheLoggerWhereThereIsOne) {
    openToOthers("utils");
    const LogCapture log;
    zel::runScript(Script::Partitions);
    zel::runScript(Script::Partitions);
    EXPECT_THAT(log.messages(), ElementsAre("home not trusted, its scripts are not run and their results not read: " +
                                            at("utils") + " can be written by others (mode 0777)"));
}

// One script of many, and the file that it uses, decide for themselves alone.
TEST_F(HomeTrust, EveryFileOfACommandCounts) {
    const StreamCapture streams;
    m_home.write("agent/bin/shell/LINUX/net_lib.sh", "");
    ASSERT_EQ(chmod(at("agent/bin/shell/LINUX/net_lib.sh").c_str(), 0666), 0);
    zel::runScript(Script::BandwidthsAndDuplex);
    openToOthers("agent/bin/shell/LINUX/partitions.sh");
    zel::runScript(Script::Partitions);
    EXPECT_FALSE(somethingRan());
    zel::runScript(Script::PhysicalProcessors);
    EXPECT_TRUE(somethingRan());
}

TEST_F(HomeTrust, ScriptIsNotRunForAResultThatOthersMayReplace) {
    const StreamCapture streams;
    openToOthers("agent/aproc/shell");
    zel::runScript(Script::Partitions);
    EXPECT_FALSE(somethingRan());
}

TEST_F(HomeTrust, RequestForAnUntrustedProgramIsDropped) {
    std::vector<std::string> saved;
    systemHooks().saveCommand = [&saved](const char *, const char *command) {
        saved.emplace_back(command);
        return 0;
    };
    CCmdScheduler scheduler;
    g_pclCCmdScheduler = &scheduler;
    const StreamCapture streams;
    CMM_CPU_Info cpu;
    CMM_IO_Info disks;
    EXPECT_EQ(cpu.fCommandINV(2), 1);
    EXPECT_EQ(disks.fCommandINV(1), 0);
    EXPECT_EQ(saved.size(), 2U);
    openToOthers("agent/bin/libinvinfo");
    EXPECT_EQ(cpu.fCommandINV(2), 1) << "as a missing program is requested";
    EXPECT_EQ(disks.fCommandINV(1), 0) << "its script starts that program";
    g_pclCCmdScheduler = nullptr;
    EXPECT_EQ(saved.size(), 2U);
}

TEST_F(HomeTrust, ResultThatOthersMayWriteIsMadeAnew) {
    m_home.plainCommandRunner();
    m_home.script("agent/bin/shell/LINUX/cpu_info", "echo 2\n");
    ASSERT_EQ(chmod(at("agent/aproc/shell/CpuCntPhysical.dat").c_str(), 0666), 0);
    CMM_CPU_Info cpu;
    EXPECT_EQ(cpu.fMGetPhyCpuCnt(), 2);
    struct stat status {};
    ASSERT_EQ(stat(at("agent/aproc/shell/CpuCntPhysical.dat").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644U);
}

TEST_F(HomeTrust, WithoutAHomeNoConstructorSpeaks) {
    for (const char *directory : {"agent/aproc", "agent/bin/shell", "utils"})
        m_home.remove(directory);
    const StreamCapture streams;
    for (const int flag : {0, 1}) {
        g_nLinuxBandwidthFlag = flag;
        const CMM_CPU_Info cpu;
        const CMM_IO_Info disks;
        const CMM_MEM_Info memory;
        const CMM_NWT_Info network;
    }
    EXPECT_EQ(streams.out(), "");
    EXPECT_EQ(streams.err(), "");
}

TEST_F(HomeTrust, LoggerLeavesAnUntrustedHomeAlone) {
    m_home.write("agent/aproc/shell/recentlogfile.dat", "20240101_planted.log\n");
    openToOthers("utils/INSTALL");
    openToOthers("utils/ETC");
    const StreamCapture streams;
    CVornLog log(2, const_cast<char *>("agent"), 2);
    EXPECT_EQ(log.fGetRecentLogFile(const_cast<char *>("20240101")), -1);
    log.m_nCompressChk = 1;
    log.fLogCompress();
    EXPECT_FALSE(somethingRan());
    EXPECT_THAT(streams.err(), HasSubstr(at("utils/INSTALL") + " can be written by others (mode 0777)"));
}

TEST_F(HomeTrust, SchedulersScriptsFollowTheRule) {
    m_home.script("scheduler/cmd_scd_start.sh", planted);
    CCmdScheduler scheduler;
    scheduler.fSetCmdSchedulerHomePath(at("scheduler").c_str());
    openToOthers("scheduler");
    EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1) << "as when the script is missing";
    EXPECT_FALSE(somethingRan());
    ASSERT_EQ(chmod(at("scheduler").c_str(), 0755), 0);
    scheduler.fCmdSchedulerStart();
    EXPECT_TRUE(somethingRan());
}

// The start script sources the one and starts the other.
TEST_F(HomeTrust, SchedulersOtherScriptsFollowTheRuleToo) {
    for (const char *other : {"cmd_scd_lib.sh", "cmd_scd.sh"}) {
        m_home.script("scheduler/cmd_scd_start.sh", planted);
        m_home.script(std::string("scheduler/") + other, "");
        const std::string path = at(std::string("scheduler/") + other);
        ASSERT_EQ(chmod(path.c_str(), 0766), 0);
        CCmdScheduler scheduler;
        scheduler.fSetCmdSchedulerHomePath(at("scheduler").c_str());
        EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1) << "as when the script is missing";
        EXPECT_FALSE(somethingRan()) << other;
        ASSERT_EQ(chmod(path.c_str(), 0755), 0);
    }
}

} // namespace
