// The collectors with the real home kit, no script replaced: what they tell beside what this file reads from /proc and
// /sys by itself, as the user who runs the tests and as one without rights.
#include "HomeWatch.h"
#include "HostFixture.h"
#include "MM_CPU_Info.h"
#include "MM_FS_Info.h"
#include "MM_HBA_Info.h"
#include "MM_IO_Info.h"
#include "MM_MEM_Info.h"
#include "MM_PROC_Info.h"
#include "NCmdScheduler.h"
#include "OrdinaryUser.h"
#include "PerfTextReader.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "ThreadWatch.h"
#include "VornLog.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

std::string firstLine(const fs::path &path) {
    std::string line;
    std::getline(std::ifstream(path) >> std::ws, line);
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

bool begins(const std::string &text, const char *with) {
    return text.rfind(with, 0) == 0;
}

// Package of every processor that is online.
std::vector<std::string> packages() {
    std::vector<std::string> found;
    for (const std::string &name : namesIn("/sys/devices/system/cpu")) {
        const std::string package = firstLine("/sys/devices/system/cpu/" + name + "/topology/physical_package_id");
        if (begins(name, "cpu") && !package.empty())
            found.push_back(package);
    }
    return found;
}

PerfTable tableOf(const char *text) {
    PerfTable table;
    PerfTextError error;
    EXPECT_TRUE(fgReadPerfTable(text, table, error)) << error.reason << " at " << error.offset;
    return table;
}

void expectPhysicalProcessors() {
    const std::vector<std::string> all = packages();
    if (all.empty())
        return; // a host that knows no sockets; HomeKit tells what the script makes of it
    const auto count = static_cast<int>(std::set<std::string>(all.begin(), all.end()).size());
    CMM_CPU_Info collector;
    EXPECT_EQ(collector.fMGetPhyCpuCnt(), count < 10 ? count : 0);
}

void expectDeviceNames() {
    std::vector<std::pair<std::string, unsigned long long>> expected;
    std::ifstream table("/proc/partitions");
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        int major = 0;
        int minor = 0;
        unsigned long long blocks = 0;
        std::string name;
        if (fields >> major >> minor >> blocks >> name && blocks >= 1000000 && minor % 16 == 0)
            expected.emplace_back("/dev/" + name, blocks);
    }
    CMM_IO_Info collector;
    ASSERT_EQ(collector.fMGetDevNames(1), static_cast<int>(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(collector.m_pstDevName[i].m_pstrName, expected[i].first);
        EXPECT_EQ(collector.m_pstDevName[i].m_lTotalSize, expected[i].second);
    }
    collector.fMGetDevNames(0);
    EXPECT_EQ(collector.m_nNDevINV, static_cast<int>(expected.size()));
}

// What the memory controllers say; the firmware's records are root's, and few hosts of tests have either.
void expectMemoryModules() {
    std::vector<int> expected;
    bool records = false;
    for (const std::string &entry : namesIn("/sys/firmware/dmi/entries"))
        records = records ||
                  (begins(entry, "17-") && access(("/sys/firmware/dmi/entries/" + entry + "/raw").c_str(), R_OK) == 0);
    for (const std::string &controller : namesIn("/sys/devices/system/edac/mc")) {
        for (const std::string &module : namesIn("/sys/devices/system/edac/mc/" + controller)) {
            const int size =
                std::atoi(firstLine("/sys/devices/system/edac/mc/" + controller + "/" + module + "/size").c_str());
            if (size > 0 && (begins(module, "dimm") || begins(module, "rank")))
                expected.push_back(size);
        }
    }
    CMM_MEM_Info collector;
    ASSERT_NE(collector.fMGetMemCnt(), nullptr);
    if (!records) {
        EXPECT_THAT(std::vector<int>(collector.m_pnMemCnt, collector.m_pnMemCnt + collector.fMGetMemTotCnt()),
                    testing::UnorderedElementsAreArray(expected));
    }
}

void expectCpuInventory(CMM_CPU_Info &collector) {
    ASSERT_EQ(collector.fGetCpuINV(), 1);
    const PerfTable table = tableOf(collector.m_pStrCpuINV);
    const std::vector<std::string> all = packages();
    EXPECT_EQ(table.columns.size(), 11U);
    ASSERT_EQ(table.rows.size(), std::set<std::string>(all.begin(), all.end()).size());
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
        const auto threads = std::count(all.begin(), all.end(), std::string(table.value(row, "SOCKET")));
        EXPECT_EQ(table.value(row, "THREADS"), std::to_string(threads));
    }
}

void expectDiskInventory(CMM_IO_Info &collector) {
    std::set<std::string> expected;
    for (const std::string &name : namesIn("/sys/block")) {
        const std::string size = firstLine("/sys/block/" + name + "/size");
        if (size != "0" && !begins(name, "loop") && !begins(name, "ram") && !begins(name, "zram"))
            expected.insert("/dev/" + name + " " + std::to_string(std::stoull(size) / 2));
    }
    ASSERT_EQ(collector.fGetDiskINV(), expected.empty() ? -1 : 1);
    if (expected.empty())
        return;
    const PerfTable table = tableOf(collector.m_pStrDiskINV);
    EXPECT_EQ(table.columns.size(), 9U);
    std::set<std::string> found;
    for (std::size_t row = 0; row < table.rows.size(); ++row)
        found.insert(std::string(table.value(row, "DEVICE")) + " " + std::string(table.value(row, "SIZEKB")));
    EXPECT_EQ(found, expected);
    EXPECT_EQ(collector.fDiskChangeCheck(), 0) << "the first is no change";
    EXPECT_EQ(collector.fDiskChangeCheck(), 0);
}

// Requests to both collectors through the scheduler, until their files are there; then the scheduler is ended.
void requestInventories(CCmdScheduler &scheduler, CMM_CPU_Info &cpu, CMM_IO_Info &disks) {
    g_pclCCmdScheduler = &scheduler;
    EXPECT_EQ(cpu.fCommandINV(2), 1);
    EXPECT_EQ(disks.fCommandINV(1), 0);
    EXPECT_TRUE(soon([&] { return fs::exists(cpu.m_strDataPath) && fs::exists(disks.m_strDataPath); }));
    g_pclCCmdScheduler = nullptr;
}

// Nothing works for the home any more, and no temporary file is left.
void expectNothingLeft(const fs::path &home) {
    EXPECT_TRUE(everyWorkerEnds(home)) << workersOf(home);
    for (const char *directory : {"../aproc/shell", "../aproc/inv"})
        for (const std::string &name : namesIn(directory))
            EXPECT_EQ(fs::path(name).extension(), ".dat") << name;
}

class HomeCollectors : public testing::Test {
protected:
    HomeCollectors() {
        g_nCpuStrType = g_nDiskStrType = 1;
        m_home.installKit();
    }
    ~HomeCollectors() override { unsetenv("ZEL_HOST_ROOT"); }
    // The directory that serves as "/" to the scripts and the inventory program.
    void hostRoot(const fs::path &root) const { setenv("ZEL_HOST_ROOT", root.c_str(), 1); }

    ScratchHome m_home;
    TempDirectory m_host;
};

void expectAllAgree(const fs::path &home) {
    expectPhysicalProcessors();
    expectDeviceNames();
    expectMemoryModules();
    CMM_CPU_Info cpu;
    EXPECT_EQ(cpu.fCommandINV(1), 1);
    expectCpuInventory(cpu);
    expectNothingLeft(home);
}

TEST_F(HomeCollectors, TellWhatTheKernelTells) {
    expectAllAgree(m_home.path());
}

TEST_F(HomeCollectors, TellItToAnOrdinaryUserToo) {
    asOrdinaryUser(m_home, [this] { expectAllAgree(m_home.path()); });
}

// --- Scheduler modes -------------------------------------------------------------------------------------------------

TEST_F(HomeCollectors, InventoriesThroughTheDaemonOfAHome) {
    asOrdinaryUser(m_home, [this] {
        CMM_CPU_Info cpu;
        CMM_IO_Info disks;
        CCmdScheduler scheduler;
        scheduler.fSetCmdSchedulerHomePath("../scheduler");
        ASSERT_EQ(scheduler.fCmdSchedulerStart(), 1);
        const std::string pid = firstLine("../scheduler/cmd_scd.pid");
        EXPECT_TRUE(fs::exists("/proc/" + pid + "/cwd"));
        requestInventories(scheduler, cpu, disks);
        EXPECT_EQ(scheduler.fCmdSchedulerStop(), 1);
        expectCpuInventory(cpu);
        expectDiskInventory(disks);
        EXPECT_TRUE(soon([&] { return !fs::exists("/proc/" + pid + "/cwd"); }));
        expectNothingLeft(m_home.path());
        EXPECT_EQ(namesIn("../scheduler").size(), 4U) << "the four scripts alone";
    });
}

TEST_F(HomeCollectors, InventoriesThroughTheQueue) {
    const ThreadWatch threads;
    CMM_CPU_Info cpu;
    CMM_IO_Info disks;
    CCmdScheduler scheduler;
    scheduler.m_nCmdSchedulerType = 2;
    ASSERT_EQ(scheduler.fCmdSchedulerStart(), 1);
    requestInventories(scheduler, cpu, disks);
    expectCpuInventory(cpu);
    expectDiskInventory(disks);
    expectNothingLeft(m_home.path());
    EXPECT_EQ(disks.fINVFileRemove(), 0);
    EXPECT_EQ(disks.fGetDiskINV(), -1);
}

TEST_F(HomeCollectors, InventoriesThroughTheList) {
    const ThreadWatch threads;
    // The list's ten seconds between two looks pass at once.
    systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return usleep(5000); };
    CMM_CPU_Info cpu;
    CMM_IO_Info disks;
    {
        CCmdScheduler scheduler;
        scheduler.m_nCmdSchedulerType = 1;
        scheduler.fSetCmdSchedulerHomePath("../scheduler");
        ASSERT_EQ(scheduler.fCmdSchedulerStart(), 1);
        requestInventories(scheduler, cpu, disks);
        EXPECT_TRUE(soon([] { return namesIn("../scheduler").size() == 4; })) << "the result files are gone again";
    }
    expectCpuInventory(cpu);
    expectDiskInventory(disks);
    expectNothingLeft(m_home.path());
}

// --- What this host may not have, on a host root ---------------------------------------------------------------------

TEST_F(HomeCollectors, PortsOfAHostRootAreInventoried) {
    for (const char *port : {"host3", "host11"}) {
        m_host.write(std::string("sys/class/fc_host/") + port + "/port_name", "0x21000024ff123456\n");
        m_host.write(std::string("sys/class/fc_host/") + port + "/speed", "16 Gbit\n");
    }
    hostRoot(m_host.path());
    CMM_HBA_Info collector;
    collector.fCommandINV(1);
    ASSERT_EQ(collector.fGatherHBACardInv(), 1);
    ASSERT_EQ(collector.fGatherHBAPortInv(), 1);
    EXPECT_EQ(tableOf(collector.m_pStrHBACardINV).rows.size(), 2U);
    const PerfTable ports = tableOf(collector.m_pStrHBAPortINV);
    ASSERT_EQ(ports.rows.size(), 2U);
    EXPECT_EQ(ports.columns.size(), 9U);
    EXPECT_EQ(ports.value(0, "NAME"), "host3");
    EXPECT_EQ(ports.value(1, "NAME"), "host11");
    EXPECT_EQ(ports.value(1, "SPEED"), "16 Gbit");
    EXPECT_EQ(collector.fINVFileRemove(), 0);
    expectNothingLeft(m_home.path());
}

TEST_F(HomeCollectors, MemoryModulesOfAHostRootAreRead) {
    m_host.write("sys/devices/system/edac/mc/mc0/dimm0/size", "16384\n");
    m_host.write("sys/devices/system/edac/mc/mc1/dimm2/size", "8192\n");
    hostRoot(m_host.path());
    CMM_MEM_Info collector;
    const int *sizes = collector.fMGetMemCnt();
    ASSERT_NE(sizes, nullptr);
    ASSERT_EQ(collector.fMGetMemTotCnt(), 2);
    EXPECT_EQ(sizes[0], 16384);
    EXPECT_EQ(sizes[1], 8192);
}

TEST_F(HomeCollectors, DatastoreHasTheSizesOfItsFilesystem) {
    fs::create_directories(m_host.path() / "vmfs/volumes/ds1");
    m_host.write("proc/mounts", "/vmfs/devices/naa.1:1 /vmfs/volumes/ds1 vmfs rw 0 0\n");
    hostRoot(m_host.path());
    struct statvfs status {};
    ASSERT_EQ(statvfs(m_host.path().c_str(), &status), 0);
    const HostFixture mounts;
    mounts.write("etc/mtab", "");
    CMM_FS_Info collector;
    collector.fSetVMFlag(1, 1);
    ASSERT_NE(collector.fMGetFileSys(), nullptr);
    const _ST_FS *found = nullptr;
    while (const _ST_FS *record = collector.fMGetFileSysNext())
        found = std::string(record->l_strFSname) == "/vmfs/volumes/ds1" ? record : found;
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->l_strDEVname, "/vmfs/devices/naa.1:1");
    EXPECT_EQ(found->l_ulTotDskSize, status.f_blocks * (status.f_frsize / 1024));
}

// --- Processes and logs ----------------------------------------------------------------------------------------------

TEST_F(HomeCollectors, ProcessesOfAnOldKernelComeFromTheScripts) {
    const pid_t java = fork();
    if (java == 0) {
        execl("/bin/sleep", "java", "98721", nullptr);
        _exit(127);
    }
    g_nGetProcessType = 1;
    pretendKernelRelease("2.4.20");
    CMM_PROC_Info collector;
    collector.fMGetProc(0);
    g_nGetProcessJAVA = 1; // one run of the script that measures for a second is enough
    const char *text = collector.fMGetProc(0);
    g_nGetProcessType = g_nGetProcessJAVA = 0;
    ASSERT_NE(text, nullptr);
    const PerfTable table = tableOf(text);
    std::set<std::string> pids;
    for (std::size_t row = 0; row < table.rows.size(); ++row)
        pids.insert(std::string(table.value(row, "PID")));
    EXPECT_EQ(pids.count(std::to_string(getpid())), 1U);
    EXPECT_EQ(pids.count(std::to_string(java)), 1U);
    EXPECT_NE(m_home.read("agent/aproc/shell/top_info.dat").find("\n" + std::to_string(java) + " 0.00\n"),
              std::string::npos);
    EXPECT_FALSE(firstLine("../aproc/shell/ProcessPCPU.dat").empty());
    kill(java, SIGKILL);
    waitpid(java, nullptr, 0);
    expectNothingLeft(m_home.path());
}

TEST_F(HomeCollectors, LoggerGoesOnInTheNewestFileOfTheDay) {
    char today[16];
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::strftime(today, sizeof(today), "%Y%m%d", localtime_r(&now, &local));
    for (const char *end : {"_agent.log", "_agent_2.log", "_agent_1.log"})
        m_home.write("agent/bin/" + std::string(today) + end, "before\n");
    CVornLog log(2, "agent", 2);
    EXPECT_EQ(log.fGetRecentLogFile(today), 1);
    EXPECT_EQ(std::string(log.m_pstrLogFile), "./" + std::string(today) + "_agent_1.log");
}

} // namespace
