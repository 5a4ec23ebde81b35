// The home kit in a bad way: a runner or a script that is missing, silent, noisy or hangs, and pipes and directories
// where results belong. Every call ends with a plain result, soon, and leaves nothing behind.
#include "HomeWatch.h"
#include "MM_CPU_Info.h"
#include "MM_FS_Info.h"
#include "MM_IO_Info.h"
#include "MM_MEM_Info.h"
#include "MM_NWT_Info.h"
#include "MM_PROC_Info.h"
#include "NGFunctions.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "StreamCapture.h"
#include "SystemHooks.h"
#include "VornLog.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// One call of everything that reads what a script wrote.
struct Results {
    int processors;
    int devices;
    bool modules;
    long bandwidths;
    long namedBandwidths;
    int duplex;
    bool processes;
    int logFile;
};

// As a kernel that is too old for anything but the scripts' list; alone, for collectors share what they know of it.
bool listProcesses() {
    pretendKernelRelease("2.4.20");
    CMM_PROC_Info processes;
    processes.fSetVMFlag(1, 1);
    processes.fMGetProc(0);
    const bool found = processes.fMGetProc(0) != nullptr;
    systemHooks().uname = nullptr;
    return found;
}

Results callEverything() {
    const StreamCapture noise; // what the shell says of missing commands
    Results results{};
    results.processes = listProcesses();
    CMM_CPU_Info cpu;
    results.processors = cpu.fMGetPhyCpuCnt();
    CMM_IO_Info disks;
    results.devices = disks.fMGetDevNames(1);
    CMM_MEM_Info memory;
    results.modules = memory.fMGetMemCnt() != nullptr;
    CMM_NWT_Info network;
    results.bandwidths = network.m_pclBandwidthList->fGetNodeCnt();
    network.m_pclBandwidthList->fFreeAll();
    network.fGetBandwidth();
    results.namedBandwidths = network.m_pclBandwidthList->fGetNodeCnt();
    char text[32] = "";
    results.duplex = fGetDuplex("eth0", text);
    CMM_FS_Info filesystems;
    filesystems.fSetVMFlag(1, 1);
    filesystems.fMGetFileSys();
    CVornLog log(2, "agent", 2);
    results.logFile = log.fGetRecentLogFile("20261121");
    fStrOidWrite("value", "text");
    return results;
}

const std::vector<const char *> scripts = {"shell/LINUX/cpu_info",
                                           "shell/LINUX/partitions.sh",
                                           "shell/LINUX/MemCntInfoLIN.sh",
                                           "shell/LINUX/IFName.sh",
                                           "shell/LINUX/BandWidth.sh",
                                           "shell/LINUX/ifname_bandwidth_duplex.sh",
                                           "shell/LINUX/VMWare_FS.sh",
                                           "shell/LINUX/PSInfoLIN.sh",
                                           "shell/LINUX/NICDuplexInfoLinux.sh",
                                           "shell/libinvdiskexe.sh",
                                           "../../utils/INSTALL/recentlogfile.sh"};

const std::vector<const char *> resultFiles = {
    "CpuCntPhysical.dat",    "partitions.dat",    "MemCntInfo.dat",     "MemCntInfo.dat.tmp",
    "IFName_bandwidth.dat",  "IFName.dat",        "DuplexLinux.dat",    "BandWidth_eth0.dat",
    "DuplexLinuxTmp.dat",    "vmware_fs_inv.dat", "vmware_fs_inv.dat_", "PSInfoLin.dat",
    "vmware_fs_inv.dat.tmp", "recentlogfile.dat", "vmware_proc.dat",    "recentlogfile.dat.tmp",
    "NFSList.dat",           "vmware_proc.dat_",  "DiskINVStrInfo.dat"};

class HomeTrouble : public testing::Test {
protected:
    HomeTrouble() {
        g_nLinuxBandwidthFlag = g_nGetProcessType = 1;
        m_home.installKit();
        m_host.write("proc/cpuinfo", "processor\t: 0\n");
        m_host.write("proc/partitions", "   8        0  976762584 sda\n");
        m_host.write("sys/devices/system/edac/mc/mc0/dimm0/size", "16384\n");
        for (const char *file : {"ifindex", "speed"})
            m_host.write(std::string("sys/class/net/eth0/") + file, "1000\n");
        m_host.write("sys/class/net/eth0/duplex", "full\n");
        m_host.write("proc/" + std::to_string(getpid()) + "/stat", "x\n");
        setenv("ZEL_HOST_ROOT", m_host.path().c_str(), 1);
    }
    ~HomeTrouble() override { unsetenv("ZEL_HOST_ROOT"); }

    void replaceScripts(const std::string &text) const {
        for (const char *script : scripts)
            m_home.script("agent/bin/" + std::string(script), text);
    }

    // Everything is unknown, and was so within the time of a healthy call.
    void expectNothingIsKnown() const {
        const auto start = std::chrono::steady_clock::now();
        const Results results = callEverything();
        EXPECT_EQ(results.processors, 0);
        EXPECT_EQ(results.devices, 0);
        EXPECT_EQ(results.bandwidths, 0);
        EXPECT_EQ(results.namedBandwidths, 0);
        EXPECT_EQ(results.duplex, -1);
        EXPECT_FALSE(results.processes);
        EXPECT_EQ(results.logFile, -1);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        EXPECT_TRUE(everyWorkerEnds(m_home.path())) << workersOf(m_home.path());
    }

    ScratchHome m_home;
    TempDirectory m_host;
};

TEST_F(HomeTrouble, HealthyHomeKnowsEverything) {
    m_home.write("agent/bin/20261121_agent.log", "x\n");
    const Results results = callEverything();
    EXPECT_EQ(results.processors, 1);
    EXPECT_EQ(results.devices, 1);
    EXPECT_TRUE(results.modules);
    EXPECT_EQ(results.bandwidths, 1);
    EXPECT_EQ(results.namedBandwidths, 1);
    EXPECT_EQ(results.duplex, 1);
    EXPECT_TRUE(results.processes);
    EXPECT_EQ(results.logFile, 1);
    EXPECT_EQ(m_home.read("agent/aproc/inv/value.inv"), "text");
}

TEST_F(HomeTrouble, MissingRunnerTellsNothing) {
    m_home.remove("utils");
    expectNothingIsKnown();
}

TEST_F(HomeTrouble, MissingScriptsTellNothing) {
    for (const char *script : scripts)
        m_home.remove("agent/bin/" + std::string(script));
    expectNothingIsKnown();
}

TEST_F(HomeTrouble, ScriptsThatMayNotBeRunTellNothing) {
    for (const char *script : scripts)
        fs::permissions(script, fs::perms::none);
    expectNothingIsKnown();
}

TEST_F(HomeTrouble, SilentScriptsTellNothing) {
    replaceScripts("exit 0\n");
    expectNothingIsKnown();
}

TEST_F(HomeTrouble, GarbageAtLengthTellsNothing) {
    // Four megabytes without a line feed, zero bytes among them, then lines of every reader's shape gone wrong.
    m_home.write("agent/garbage", std::string(4000000, '\xff') + std::string(1000, '\0') + "\nTORVSC|||\n|\n - \n" +
                                      std::string(100000, '\n') +
                                      "x rio \n99999999999999999999 99999999999999999999 -1 \xff\n");
    replaceScripts(
        "cat ../garbage\n[ -z \"$2\" ] || cat ../garbage >\"$2\"\n[ -z \"$3\" ] || cat ../garbage >\"$3\"\n");
    expectNothingIsKnown();
}

TEST_F(HomeTrouble, ScriptThatHangsIsEndedInTime) {
    m_home.script("agent/bin/shell/LINUX/cpu_info", "sleep 98722 & sleep 98722\n");
    const auto start = std::chrono::steady_clock::now();
    CMM_CPU_Info cpu;
    EXPECT_EQ(cpu.fMGetPhyCpuCnt(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(9)) << "5 seconds, and the grace of two";
    EXPECT_TRUE(everyWorkerEnds(m_home.path())) << workersOf(m_home.path());
}

TEST_F(HomeTrouble, PipesWhereResultsBelongMakeNobodyWait) {
    const auto plant = [this](const std::string &path) {
        ASSERT_EQ(mkfifo((m_home.path() / "agent/aproc" / path).c_str(), 0600), 0) << path;
    };
    for (const char *name : resultFiles)
        plant(std::string("shell/") + name);
    plant("inv/value.inv");
    const Results results = callEverything();
    // The scripts' own results are as good as ever.
    EXPECT_EQ(results.processors, 1);
    EXPECT_EQ(results.devices, 1);
    EXPECT_TRUE(results.modules);
    EXPECT_EQ(results.bandwidths, 1);
    EXPECT_EQ(results.namedBandwidths, 1);
    EXPECT_EQ(results.duplex, 1);
    EXPECT_TRUE(results.processes);
    EXPECT_TRUE(everyWorkerEnds(m_home.path())) << workersOf(m_home.path());
}

TEST_F(HomeTrouble, DirectoriesWhereResultsBelongTellNothing) {
    for (const char *name : resultFiles)
        fs::create_directory(fs::path("../aproc/shell") / name);
    expectNothingIsKnown();
    for (const auto &entry : fs::recursive_directory_iterator("../aproc/shell"))
        EXPECT_EQ(entry.path().parent_path(), "../aproc/shell") << "nothing is moved into them";
}

} // namespace
