// The scripts and the inventory program of the home kit, run in a staged home against fixture hosts.
#include "ScratchHome.h"
#include "Separators.h"
#include "ShellRun.h"
#include "TempDirectory.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

class HomeKit : public testing::Test {
protected:
    HomeKit() { m_home.installKit(); }

    ShellResult run(const std::string &line) const {
        return runShell("ZEL_HOST_ROOT=" + m_host.path().string() + "; export ZEL_HOST_ROOT; " + line);
    }

    // A host file; its line ends are the caller's.
    void host(const std::string &path, const std::string &text) const { m_host.write(path, text); }

    void interface(const std::string &name, const std::string &speed, const std::string &duplex) const {
        const std::string directory = "sys/class/net/" + name + "/";
        host(directory + "ifindex", "2\n");
        host(directory + "address", "02:00:00:00:00:01\n");
        host(directory + "mtu", "1500\n");
        if (!speed.empty())
            host(directory + "speed", speed + "\n");
        if (!duplex.empty())
            host(directory + "duplex", duplex + "\n");
    }

    std::string result(const std::string &name) const { return m_home.read("agent/aproc/shell/" + name); }

    ScratchHome m_home;
    TempDirectory m_host;
};

// --- Interfaces ------------------------------------------------------------------------------------------------------

TEST_F(HomeKit, InterfacesAreListedWithoutTheLoopback) {
    interface("lo", "", "");
    interface("eth0", "1000", "full");
    interface("bond0.100", "", "");
    EXPECT_EQ(run("./shell/LINUX/IFName.sh").out, "bond0.100\neth0\n");
}

TEST_F(HomeKit, InterfaceNamesThatAShellCouldReadAreLeftOut) {
    interface("eth0", "1000", "full");
    interface("a;reboot", "1000", "full");
    interface("$(id)", "1000", "full");
    interface("a b", "1000", "full");
    interface("quote'", "1000", "full");
    EXPECT_EQ(run("./shell/LINUX/IFName.sh").out, "eth0\n");
    EXPECT_EQ(run("./shell/LINUX/ifname_bandwidth_duplex.sh").out, "TORVSC|eth0|1000000|2\n");
}

TEST_F(HomeKit, InterfaceNameThatLooksLikeAnOptionIsAName) {
    interface("-n", "1000", "full");
    EXPECT_EQ(run("./shell/LINUX/IFName.sh").out, "-n\n");
    EXPECT_EQ(run("./shell/LINUX/ifname_bandwidth_duplex.sh").out, "TORVSC|-n|1000000|2\n");
    run("./shell/LINUX/BandWidth.sh -n ../aproc/shell/BandWidth_-n.dat");
    EXPECT_EQ(result("BandWidth_-n.dat"), "1000\n");
}

TEST_F(HomeKit, BandwidthAndDuplexInKilobitsWithKnownSpeedsOnly) {
    interface("eth0", "1000", "full");
    interface("eth1", "100", "half");
    interface("eth2", "10000", "unknown");
    interface("eth3", "-1", "unknown");
    interface("eth4", "", "");
    EXPECT_EQ(run("./shell/LINUX/ifname_bandwidth_duplex.sh").out, "TORVSC|eth0|1000000|2\n"
                                                                   "TORVSC|eth1|100000|1\n"
                                                                   "TORVSC|eth2|10000000|0\n");
    EXPECT_EQ(run("./shell/LINUX/ifname_bandwidth.sh").out, "eth0 1000000\neth1 100000\neth2 10000000\n");
}

TEST_F(HomeKit, FileOfADriverAmongTheInterfacesIsNone) {
    interface("bond0", "1000", "full");
    host("sys/class/net/bonding_masters", "bond0\n");
    EXPECT_EQ(run("./shell/LINUX/IFName.sh").out, "bond0\n");
}

TEST_F(HomeKit, HostWithoutInterfacesGivesNothing) {
    EXPECT_EQ(run("./shell/LINUX/IFName.sh").out, "");
    EXPECT_EQ(run("./shell/LINUX/ifname_bandwidth_duplex.sh").out, "");
}

TEST_F(HomeKit, SpeedOfOneInterfaceGoesIntoItsFile) {
    interface("eth0", "1000", "full");
    interface("eth3", "-1", "unknown");
    run("./shell/LINUX/BandWidth.sh eth0 ../aproc/shell/BandWidth_eth0.dat");
    EXPECT_EQ(result("BandWidth_eth0.dat"), "1000\n");
    m_home.write("agent/aproc/shell/BandWidth_eth3.dat", "old\n");
    run("./shell/LINUX/BandWidth.sh eth3 ../aproc/shell/BandWidth_eth3.dat");
    EXPECT_FALSE(m_home.exists("agent/aproc/shell/BandWidth_eth3.dat"));
}

TEST_F(HomeKit, DuplexOfOneInterfaceGoesIntoTheResultFile) {
    interface("eth0", "1000", "full");
    interface("eth1", "100", "half");
    interface("eth2", "100", "");
    const auto duplex = [this](const std::string &name) {
        run("./shell/LINUX/NICDuplexInfoLinux.sh " + name + " ../aproc/shell/t.dat ../aproc/shell/d.dat");
        EXPECT_FALSE(m_home.exists("agent/aproc/shell/t.dat"));
        return result("d.dat");
    };
    EXPECT_EQ(duplex("eth0"), "Full\n");
    EXPECT_EQ(duplex("eth1"), "Half\n");
    EXPECT_EQ(duplex("eth2"), "Unknown\n");
}

TEST_F(HomeKit, PathInPlaceOfAnInterfaceNameIsRefused) {
    host("sys/class/speed", "1000\n");
    for (const char *name : {"..", ".", "../net", "''"}) {
        EXPECT_NE(run("./shell/LINUX/NICDuplexInfoLinux.sh " + std::string(name) + " t r 2>/dev/null").status, 0);
        run("./shell/LINUX/BandWidth.sh " + std::string(name) + " b.dat");
        EXPECT_FALSE(m_home.exists("agent/bin/b.dat")) << name;
    }
}

// --- Processors, memory, disks ---------------------------------------------------------------------------------------

TEST_F(HomeKit, PhysicalProcessorsAreTheDistinctPackages) {
    for (int cpu = 0; cpu < 4; ++cpu)
        host("sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/topology/physical_package_id",
             cpu < 2 ? "0\n" : "1\n");
    EXPECT_EQ(run("./shell/LINUX/cpu_info").out, "2\n");
}

TEST_F(HomeKit, PhysicalProcessorsOfAnOldKernelComeFromCpuinfo) {
    host("proc/cpuinfo",
         "processor\t: 0\nphysical id\t: 0\nprocessor\t: 1\nphysical id\t: 3\nprocessor\t: 2\nphysical id\t: 3\n");
    EXPECT_EQ(run("./shell/LINUX/cpu_info").out, "2\n");
}

TEST_F(HomeKit, ProcessorWithoutSocketsCountsAsOne) {
    host("proc/cpuinfo", "processor\t: 0\n");
    EXPECT_EQ(run("./shell/LINUX/cpu_info").out, "1\n");
}

TEST_F(HomeKit, NoProcessorInformationGivesZero) {
    EXPECT_EQ(run("./shell/LINUX/cpu_info").out, "0\n");
}

TEST_F(HomeKit, PartitionsWithoutHeaderAndWithoutForgedLines) {
    host("proc/partitions",
         "major minor  #blocks  name\n\n   8        0  976762584 sda\n   8        1     524288 sda1\nx 1 2 y\n");
    EXPECT_EQ(run("./shell/LINUX/partitions.sh").out, "8 0 976762584 sda\n8 1 524288 sda1\n");
}

// A memory-device record of the firmware: the size at offset 12, the extended size at offset 28.
std::string memoryRecord(unsigned size, unsigned long extended = 0) {
    std::string record(40, '\0');
    record[12] = static_cast<char>(size & 0xFF);
    record[13] = static_cast<char>(size >> 8);
    for (int byte = 0; byte < 4; ++byte)
        record[static_cast<std::size_t>(28 + byte)] = static_cast<char>(extended >> (8 * byte) & 0xFF);
    return record;
}

TEST_F(HomeKit, MemoryModulesOfTheFirmwareInMegabytes) {
    host("sys/firmware/dmi/entries/17-0/raw", memoryRecord(4096));
    host("sys/firmware/dmi/entries/17-1/raw", memoryRecord(0));             // empty slot
    host("sys/firmware/dmi/entries/17-2/raw", memoryRecord(0xFFFF));        // unknown
    host("sys/firmware/dmi/entries/17-3/raw", memoryRecord(0x7FFF, 65536)); // above 32 GB
    host("sys/firmware/dmi/entries/17-4/raw", memoryRecord(0x8000 | 2048)); // kilobytes
    run("./shell/LINUX/MemCntInfoLIN.sh");
    EXPECT_EQ(result("MemCntInfo.dat"), "4096\n0\n0\n65536\n2\n");
}

TEST_F(HomeKit, MemoryModulesOfTheMemoryControllersWithoutFirmwareRecords) {
    host("sys/devices/system/edac/mc/mc0/dimm0/size", "16384\n");
    host("sys/devices/system/edac/mc/mc0/dimm3/size", "16384\n");
    run("./shell/LINUX/MemCntInfoLIN.sh");
    EXPECT_EQ(result("MemCntInfo.dat"), "16384\n16384\n");
}

TEST_F(HomeKit, UnknownMemoryModulesGiveAnEmptyFile) {
    run("./shell/LINUX/MemCntInfoLIN.sh");
    EXPECT_EQ(result("MemCntInfo.dat"), "");
}

TEST_F(HomeKit, DatastoresAreTheMountsOfTypeVmfs) {
    std::filesystem::create_directories(m_host.path() / "vmfs/volumes/ds1");
    host("proc/mounts", "/dev/sda1 / ext4 rw 0 0\n/vmfs/devices/naa.1:1 /vmfs/volumes/ds1 vmfs rw 0 0\n"
                        "/vmfs/x /with\\040blank vmfs rw 0 0\n");
    run("./shell/LINUX/VMWare_FS.sh ../aproc/shell/vmware_fs_inv.dat");
    const std::string line = result("vmware_fs_inv.dat");
    EXPECT_EQ(line.find("/vmfs/devices/naa.1:1 "), 0U);
    EXPECT_EQ(std::count(line.begin(), line.end(), ' '), 5);
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
    EXPECT_NE(line.find(" /vmfs/volumes/ds1\n"), std::string::npos);
}

// --- Processes -------------------------------------------------------------------------------------------------------

std::string processStat(const std::string &name, long userTicks, long systemTicks) {
    return "7 (" + name + ") S 1 7 7 0 -1 0 0 0 0 0 " + std::to_string(userTicks) + " " + std::to_string(systemTicks) +
           " 0 0 20 0 1 0 100 0 0 0\n";
}

TEST_F(HomeKit, ProcessIdsAreListed) {
    host("proc/7/stat", processStat("sh", 1, 1));
    host("proc/12/stat", processStat("sh", 1, 1));
    host("proc/self/stat", processStat("sh", 1, 1));
    EXPECT_EQ(run("./shell/LINUX/PSInfoLIN.sh").out, "12\n7\n");
}

TEST_F(HomeKit, TopTellsTheShareOfEveryProcessOverOneSecond) {
    host("proc/7/stat", processStat("a) b c", 100, 50));
    host("proc/12/stat", processStat("still", 5, 5));
    const std::string later = (m_host.path() / "later").string();
    m_host.write("later", processStat("a) b c", 130, 65)); // 45 ticks more
    const std::string out =
        run("(sleep 0.4; cp " + later + " $ZEL_HOST_ROOT/proc/7/stat) & ./shell/LINUX/top_info").out;
    EXPECT_EQ(out, "12 0.00\n7 45.00\n");
}

TEST_F(HomeKit, TopDividesByTheTimeThatPassed) {
    host("proc/7/stat", processStat("busy", 100, 50));
    host("proc/uptime", "1000.50 7.00\n");
    const std::string later = (m_host.path() / "later").string();
    m_host.write("later/stat", processStat("busy", 130, 65)); // 45 ticks more
    m_host.write("later/uptime", "1002.50 7.00\n");           // in two seconds
    const std::string out = run("(sleep 0.4; cp " + later + "/stat $ZEL_HOST_ROOT/proc/7/stat; cp " + later +
                                "/uptime $ZEL_HOST_ROOT/proc/uptime) & ./shell/LINUX/top_info")
                                .out;
    EXPECT_EQ(out, "7 22.50\n");
}

TEST_F(HomeKit, TopSortsAsItJoinsInEveryLanguage) {
    // With the rules of most languages "123 4" comes before "12 5", for blanks do not count.
    for (const char *tool : {"sort", "join"})
        m_home.script(std::string("agent/tools/") + tool,
                      "echo $LC_ALL >>../languages\nexec /usr/bin/" + std::string(tool) + " \"$@\"\n");
    host("proc/7/stat", processStat("still", 5, 5));
    EXPECT_EQ(run("LC_ALL=en_US.UTF-8 PATH=../tools:$PATH ./shell/LINUX/top_info").out, "7 0.00\n");
    EXPECT_EQ(m_home.read("agent/languages"), "C\nC\nC\n");
}

TEST_F(HomeKit, CpuPercentOfOneProcessComesFromTheLastTop) {
    m_home.write("agent/aproc/shell/top_info.dat", "7 45.00\n70 1.00\n");
    EXPECT_EQ(run("./shell/LINUX/ProcCpuUseTop.sh 70").out, "1.00\n");
    EXPECT_NE(run("./shell/LINUX/ProcCpuUseTop.sh 1").status, 0);
    EXPECT_NE(run("./shell/LINUX/ProcCpuUseTop.sh '7 45'").status, 0);
}

// --- Logs and scheduler ----------------------------------------------------------------------------------------------

TEST_F(HomeKit, NewestLogOfTheDayIsNamed) {
    for (const char *name : {"20261120_agent.log", "20261121_agent.log", "20261121_agent_1.log"})
        m_home.write(std::string("agent/bin/") + name, "x");
    runShell("touch -d 2026-11-21T02:00 20261121_agent_1.log; touch -d 2026-11-21T01:00 20261121_agent.log");
    run("../../utils/INSTALL/recentlogfile.sh 20261121");
    EXPECT_EQ(result("recentlogfile.dat"), "20261121_agent_1.log\n");
    run("../../utils/INSTALL/recentlogfile.sh 20261122");
    EXPECT_EQ(result("recentlogfile.dat"), "");
    EXPECT_NE(run("../../utils/INSTALL/recentlogfile.sh '2026;id' 2>/dev/null").status, 0);
}

class CommandDaemon : public HomeKit {
protected:
    ~CommandDaemon() override { run(m_directory + "cmd_scd_stop.sh " + m_directory); }

    // Waits until the condition holds, a few seconds at most.
    bool soon(const std::string &condition) const {
        return run("for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do " + condition +
                   " && exit 0; sleep 0.2; done; exit 1")
                   .status == 0;
    }

    std::string m_directory = (m_home.path() / "agent/scheduler").string() + "/";
};

TEST_F(CommandDaemon, RunsAndRemovesWhatIsSaved) {
    EXPECT_EQ(run(m_directory + "cmd_scd_start.sh " + m_directory).status, 0);
    m_home.write("agent/scheduler/shcmd_one.cmd", "echo done > " + m_directory + "one.out");
    EXPECT_TRUE(soon("[ -e " + m_directory + "one.out ] && [ ! -e " + m_directory + "shcmd_one.cmd.run ]"));
    EXPECT_FALSE(m_home.exists("agent/scheduler/shcmd_one.cmd"));
}

TEST_F(CommandDaemon, StartsOnceAndStops) {
    run(m_directory + "cmd_scd_start.sh " + m_directory);
    const std::string pid = m_home.read("agent/scheduler/cmd_scd.pid");
    run(m_directory + "cmd_scd_start.sh " + m_directory);
    EXPECT_EQ(m_home.read("agent/scheduler/cmd_scd.pid"), pid);
    run(m_directory + "cmd_scd_stop.sh " + m_directory);
    EXPECT_TRUE(soon("[ ! -e /proc/" + pid.substr(0, pid.size() - 1) + "/cwd ]"));
    EXPECT_FALSE(m_home.exists("agent/scheduler/cmd_scd.pid"));
}

TEST_F(CommandDaemon, StopThatFollowsAtOnceFindsIt) {
    const std::string pids =
        run("for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 30; do " +
            m_directory + "cmd_scd_start.sh " + m_directory + "; cat " + m_directory + "cmd_scd.pid; " + m_directory +
            "cmd_scd_stop.sh " + m_directory + "; done")
            .out;
    std::string all = pids;
    std::replace(all.begin(), all.end(), '\n', ' ');
    EXPECT_EQ(std::count(pids.begin(), pids.end(), '\n'), 30);
    EXPECT_TRUE(soon("[ -z \"$(for p in " + all + "; do [ ! -e /proc/$p/cwd ] || echo $p; done)\" ]"));
}

TEST_F(CommandDaemon, IsTheSameHoweverItsHomeIsWritten) {
    run("../scheduler/cmd_scd_start.sh ../scheduler/");
    const std::string pid = m_home.read("agent/scheduler/cmd_scd.pid");
    run(m_directory + "cmd_scd_start.sh " + m_directory + "/.");
    EXPECT_EQ(m_home.read("agent/scheduler/cmd_scd.pid"), pid) << "once";
    run(m_directory + "cmd_scd_stop.sh " + m_directory);
    EXPECT_TRUE(soon("[ ! -e /proc/" + pid.substr(0, pid.size() - 1) + "/cwd ]"));
}

TEST_F(CommandDaemon, HomeThatIsMissingIsRefused) {
    EXPECT_NE(run(m_directory + "cmd_scd_start.sh /nonexistent/home/ 2>/dev/null").status, 0);
    EXPECT_NE(run(m_directory + "cmd_scd_stop.sh /nonexistent/home/ 2>/dev/null").status, 0);
}

TEST_F(CommandDaemon, RunsInTheDirectoryInWhichItWasStarted) {
    m_home.write("agent/scheduler/shcmd_where.cmd", "pwd > ../aproc/shell/where.dat");
    run(m_directory + "cmd_scd_start.sh " + m_directory);
    EXPECT_TRUE(soon("[ -s ../aproc/shell/where.dat ]"));
    EXPECT_EQ(result("where.dat"), (m_home.path() / "agent/bin").string() + "\n");
}

TEST_F(CommandDaemon, CommandThatIsBeingWrittenIsLeftAlone) {
    m_home.write("agent/scheduler/shcmd_a.cmd", "");
    m_home.write("agent/scheduler/shcmd_b.cmd", "echo > " + m_directory + "b.out");
    run(m_directory + "cmd_scd_start.sh " + m_directory);
    EXPECT_TRUE(soon("[ -e " + m_directory + "b.out ]"));
    EXPECT_TRUE(m_home.exists("agent/scheduler/shcmd_a.cmd"));
}

TEST_F(CommandDaemon, PidFileThatNamesAnotherProcessIsNotBelieved) {
    // A process of this name that works for another home.
    m_home.script("agent/other/cmd_scd.sh", "sleep 98720 & wait $!\nexit\n");
    const std::string other = run("../other/cmd_scd.sh /elsewhere >/dev/null 2>&1 & echo $!").out;
    for (const std::string &text : {other, std::string("self\n"), std::string("-1\n"), std::string("1\n")}) {
        m_home.write("agent/scheduler/cmd_scd.pid", text);
        run(m_directory + "cmd_scd_stop.sh " + m_directory);
        EXPECT_FALSE(m_home.exists("agent/scheduler/cmd_scd.pid"));
    }
    EXPECT_EQ(run("pkill -P " + other.substr(0, other.size() - 1)).status, 0) << "it lived until now";
    runShell("mkfifo " + m_directory + "cmd_scd.pid");
    EXPECT_EQ(run(m_directory + "cmd_scd_start.sh " + m_directory).status, 0);
    EXPECT_EQ(run("[ -f " + m_directory + "cmd_scd.pid ]").status, 0);
}

TEST_F(CommandDaemon, EndsWithItsHome) {
    run(m_directory + "cmd_scd_start.sh " + m_directory);
    const std::string pid = m_home.read("agent/scheduler/cmd_scd.pid");
    runShell("mv " + m_directory + " " + (m_home.path() / "agent/moved").string());
    EXPECT_TRUE(soon("[ ! -e /proc/" + pid.substr(0, pid.size() - 1) + "/cwd ]"));
    runShell("mv " + (m_home.path() / "agent/moved").string() + " " + m_directory);
}

TEST_F(CommandDaemon, LeavesFilesAloneThatOthersCouldHaveWritten) {
    m_home.write("agent/scheduler/shcmd_open.cmd", "echo bad > " + m_directory + "bad.out");
    runShell("chmod 666 " + m_directory + "shcmd_open.cmd; ln -s shcmd_open.cmd " + m_directory + "shcmd_link.cmd");
    m_home.write("agent/scheduler/shcmd_own.cmd", "echo good > " + m_directory + "good.out");
    run(m_directory + "cmd_scd_start.sh " + m_directory);
    EXPECT_TRUE(soon("[ -e " + m_directory + "good.out ]"));
    EXPECT_FALSE(m_home.exists("agent/scheduler/bad.out"));
    EXPECT_TRUE(m_home.exists("agent/scheduler/shcmd_open.cmd"));
}

// --- Inventory program -----------------------------------------------------------------------------------------------

TEST_F(HomeKit, CpuInventoryHasARowPerSocket) {
    host("proc/cpuinfo",
         "processor\t: 0\nvendor_id\t: GenuineIntel\nmodel name\t: Test CPU @ 2GHz\ncpu MHz\t\t: 1999.000\n");
    for (int cpu = 0; cpu < 4; ++cpu) {
        const std::string directory = "sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/";
        host(directory + "topology/physical_package_id", "0\n");
        host(directory + "topology/core_id", cpu % 2 == 0 ? "0\n" : "1\n");
    }
    host("sys/devices/system/cpu/cpu0/cache/index0/level", "1\n");
    host("sys/devices/system/cpu/cpu0/cache/index0/type", "Data\n");
    host("sys/devices/system/cpu/cpu0/cache/index0/size", "32K\n");
    EXPECT_EQ(run("./libinvinfo 1 1").status, 0);
    EXPECT_EQ(result("CpuINVStrInfo.dat"), "TORVCPU|INDEX" + C + "MODEL" + C + "VENDOR" + C + "SOCKET" + C + "CORES" +
                                               C + "THREADS" + C + "MHz" + C + "CACHEL1D" + C + "CACHEL1I" + C +
                                               "CACHEL2" + C + "CACHEL3" + C + R + "1" + C + "Test CPU @ 2GHz" + C +
                                               "GenuineIntel" + C + "0" + C + "2" + C + "4" + C + "1999.000" + C +
                                               "32K" + C + "-" + C + "-" + C + "-" + C + "\n");
}

TEST_F(HomeKit, ProcessorWithoutAModelHasALineThatReadersTake) {
    host("proc/cpuinfo", "processor\t: 0\n");
    host("sys/devices/system/cpu/cpu0/topology/physical_package_id", "0\n");
    host("sys/devices/system/cpu/cpu0/topology/core_id", "0\n");
    EXPECT_EQ(run("./libinvinfo 1 1").status, 0);
    EXPECT_NE(result("CpuINVStrInfo.dat").find_first_of("abcdefghijklmnopqrstuvwxyz"), std::string::npos);
    host("proc/cpuinfo", "processor\t: 0\nHardware\t: BOARD 7\n");
    EXPECT_EQ(run("./libinvinfo 1 1").status, 0);
    EXPECT_NE(result("CpuINVStrInfo.dat").find(C + "BOARD 7" + C), std::string::npos);
}

TEST_F(HomeKit, InterfaceInventoryCarriesTheNameAsSecondField) {
    interface("lo", "", "");
    interface("eth0", "1000", "full");
    EXPECT_EQ(run("./libinvinfo 3 1").status, 0);
    const std::string text = result("InterfaceINVStrInfo.dat");
    EXPECT_EQ(text.substr(text.find(R)), R + "1" + C + "eth0" + C + "02:00:00:00:00:01" + C + "-" + C + "1000" + C +
                                             "full" + C + "1500" + C + text.substr(text.find("1500") + 7));
    EXPECT_EQ(result("InterfaceINVNewStrInfo.dat"), text);
    EXPECT_EQ(text.find("TORVInterface|INDEX"), 0U);
}

TEST_F(HomeKit, DiskInventoryLeavesOutEmptyAndMemoryBackedDevices) {
    host("sys/block/sda/size", "2000\n");
    host("sys/block/sda/device/model", "DISK MODEL   \n");
    host("sys/block/sda/queue/rotational", "1\n");
    host("sys/block/sda/queue/scheduler", "none [mq-deadline] kyber\n");
    host("sys/block/sda/removable", "0\n");
    host("sys/block/sr0/size", "0\n");
    host("sys/block/loop0/size", "2000\n");
    EXPECT_EQ(run("./shell/libinvdiskexe.sh 2 1").status, 0);
    const std::string text = result("DiskINVStrInfo.dat");
    EXPECT_EQ(text.find("TORVDISK|INDEX"), 0U);
    EXPECT_EQ(text.substr(text.find(R)), R + "1" + C + "/dev/sda" + C + "1000" + C + "DISK MODEL" + C + "-" + C + "-" +
                                             C + "1" + C + "mq-deadline" + C + "0" + C + "\n");
}

// The serial number page of a SCSI disk: its code and the length of the text after it.
std::string serialPage(const std::string &text) {
    return std::string("\0\x80\0", 3) + static_cast<char>(text.size()) + text;
}

TEST_F(HomeKit, DiskSerialIsWhatItsDriverTells) {
    for (const char *name : {"nvme0n1", "sda", "sdb", "sdc", "vda"})
        host(std::string("sys/block/") + name + "/size", "2000\n");
    host("sys/block/nvme0n1/device/serial", "S4NVME  \n");
    host("sys/block/sda/device/vpd_pg80", serialPage("  WD-WX12345678"));
    host("sys/block/sdb/device/vpd_pg80", std::string("\0\x80", 2));
    host("sys/block/sdc/device/vpd_pg80", serialPage("SHORT") + "behind the page");
    host("sys/block/vda/serial", "virt-1");
    EXPECT_EQ(run("./libinvinfo 2 1").status, 0);
    const std::string text = result("DiskINVStrInfo.dat");
    for (const char *row :
         {"/dev/nvme0n1 S4NVME", "/dev/sda WD-WX12345678", "/dev/sdb -", "/dev/sdc SHORT", "/dev/vda virt-1"}) {
        const std::string device(row, std::strchr(row, ' '));
        EXPECT_NE(text.find(C + device + C + "1000" + C + "-" + C + "-" + C + (std::strchr(row, ' ') + 1) + C),
                  std::string::npos)
            << row;
    }
}

TEST_F(HomeKit, DiskInADirectoryHasItsPath) {
    host("sys/block/cciss!c0d0/size", "2000\n");
    EXPECT_EQ(run("./libinvinfo 2 1").status, 0);
    EXPECT_NE(result("DiskINVStrInfo.dat").find(C + "/dev/cciss/c0d0" + C), std::string::npos);
}

TEST_F(HomeKit, FibreChannelInventoryOfTwoPortsInTheirOrder) {
    for (const char *name : {"host10", "host2"}) {
        const std::string port = std::string("sys/class/fc_host/") + name + "/";
        host(port + "port_name", "0x21000024ff123456\n");
        host(port + "port_state", "Online\n");
        host(std::string("sys/class/scsi_host/") + name + "/model_name", "QLE2742\n");
    }
    EXPECT_EQ(run("./libinvinfo 4 1").status, 0);
    const std::string cards = result("HBACardINVStrInfo.dat");
    EXPECT_EQ(cards.find("TORVHBACARD|INDEX"), 0U);
    EXPECT_NE(cards.find(R + "1" + C + "host2" + C + "QLE2742" + C), std::string::npos);
    EXPECT_NE(cards.find(R + "2" + C + "host10" + C + "QLE2742" + C), std::string::npos);
    const std::string ports = result("HBAPortINVStrInfo.dat");
    EXPECT_EQ(ports.find("TORVHBAPORT|INDEX"), 0U);
    EXPECT_NE(ports.find(R + "1" + C + "host2" + C + "0x21000024ff123456" + C + "-" + C + "Online" + C),
              std::string::npos);
}

TEST_F(HomeKit, HostileValuesForgeNeitherRowsNorLines) {
    host("sys/block/sda/size", "2000\n");
    host("sys/block/sda/device/model", "x" + R + "2" + C + "forged" + C + "\nTORVDISK|y\n");
    EXPECT_EQ(run("./libinvinfo 2 1").status, 0);
    const std::string text = result("DiskINVStrInfo.dat");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
    EXPECT_EQ(text.find(R), text.rfind(R)) << "one row only";
}

TEST_F(HomeKit, InventoryThatCannotBeWrittenFails) {
    m_home.remove("agent/aproc/shell");
    EXPECT_EQ(run("./libinvinfo 1 1 2>/dev/null").status, 1);
    EXPECT_EQ(run("./libinvinfo 2>/dev/null").status, 2);
    EXPECT_EQ(run("./libinvinfo 5 2>/dev/null").status, 2);
}

TEST_F(HomeKit, InventoryBelowAHostRootThatDoesNotFitFails) {
    const auto below = [this](std::size_t length) {
        return run("ZEL_HOST_ROOT=" + std::string(length, 'r') + " ./libinvinfo 1 2>&1");
    };
    EXPECT_EQ(below(255).status, 0);
    EXPECT_EQ(below(256).status, 1);
    EXPECT_EQ(below(256).out, "ZEL_HOST_ROOT is longer than 255 characters\n");
}

TEST_F(HomeKit, NoTemporaryFileIsLeft) {
    run("./libinvinfo 1 1; ./libinvinfo 3 1; ./libinvinfo 4 1; ./libinvinfo 2 1");
    EXPECT_EQ(runShell("ls ../aproc/shell | wc -l").out, "6\n");
}

} // namespace
