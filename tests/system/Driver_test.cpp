// The driver as a program: its arguments, its cycles and what it prints.
#include "DriverRun.h"
#include "Paths.h"
#include "Separators.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int killed = 128 + 9;

std::string banner(int cycle) {
    return "////////////////[ " + std::to_string(cycle) + " ]/////////////////// \n";
}

std::string banners(int count) {
    std::string text;
    for (int cycle = 1; cycle <= count; ++cycle)
        text += banner(cycle);
    return text;
}

// An empty host directory, or one with a single file.
class OneFileHost {
public:
    OneFileHost() = default;
    OneFileHost(const std::string &file, const std::string &text) { write(file, text); }

    void write(const std::string &file, const std::string &text) const { m_directory.write(file, text); }
    void remove(const std::string &file) const { m_directory.remove(file); }
    std::string path() const { return m_directory.path().string(); }

private:
    TempDirectory m_directory;
};

const std::string memoryWithoutSwap = "MemTotal: 1000 kB\nMemFree: 200 kB\nBuffers: 30 kB\nCached: 400 kB\n";
// Free counts MemFree + Buffers + Cached = 630, used is 1000 - 630.
const std::string memoryReport =
    " mem :    1000 (T)KB     370 (U)KB     630 (F)KB       30 (Buf)KB,     400 (Cache)KB\n";
// Used is 500 - 300; the counters are those of vmstat.
const std::string swapReport = " swp :     500 (T)KB     200 (U)KB     300 (F)KB,       7(in),       8(out)\n";
const std::string loadAverageReport = " 1Min:  0.05, 5Min: 12.34, 15Min:  1.50\n";

// A host with the files of the CPU, load-average, memory and VM groups. Nothing moves on it.
class WholeHost : public OneFileHost {
public:
    WholeHost() {
        write("proc/loadavg", "0.05 12.34 1.50 1/123 4567\n");
        write("proc/meminfo", memoryWithoutSwap + "SwapTotal: 500 kB\nSwapFree: 300 kB\n");
        write("proc/vmstat", "pgpgin 1\npgpgout 2\npswpin 7\npswpout 8\npgfault 3\npgmajfault 4\n");
        write("proc/stat", "cpu  100 0 50 800 50 0 0 0 0\ncpu0 100 0 50 800 50 0 0 0 0\nintr 1000 1 2\nctxt 2000\n");
    }
};

// A host with the files of every group: the fixture of kernel 6.1, to be changed. Nothing moves on it.
class EveryGroupHost : public OneFileHost {
public:
    EveryGroupHost() {
        std::filesystem::copy(std::string(paths::fixtures) + "/linux-6.1.0/t0", path(),
                              std::filesystem::copy_options::recursive);
    }
};

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// The pauses between cycles of a minute; collectors may pause for moments of their own.
long longPauses(const DriverResult &result) {
    return std::count(result.pauses.begin(), result.pauses.end(), 60000000);
}

// The text contains the pieces one after the other.
MATCHER_P(containsInOrder, pieces, "contains the pieces in their order") {
    std::size_t position = 0;
    for (const std::string &piece : pieces) {
        position = arg.find(piece, position);
        if (position == std::string::npos) {
            *result_listener << "no \"" << piece << "\" in its place";
            return false;
        }
        position += piece.size();
    }
    return true;
}

// The cycle `number` of a run.
std::string cycleOf(const std::string &text, int number) {
    const std::size_t begin = text.find(banner(number));
    return begin == std::string::npos ? "" : text.substr(begin, text.find(banner(number + 1)) - begin);
}

auto inOrder(const std::vector<std::string> &pieces) {
    return containsInOrder(pieces);
}

// A driver whose clock is stopped, in a home whose command runner runs nothing but leaves a mark.
class Driver : public testing::Test {
protected:
    Driver() {
        m_driver.frozenClock();
        m_driver.home().script("utils/ETC/ShCmd", "echo \"$@\" >> ../../commands\n");
    }

    bool ranCommands() const { return m_driver.home().exists("commands"); }

    DriverRun m_driver;
};

TEST_F(Driver, WithoutArgumentsPrintsTheUsageAndBuildsNoCollector) {
    const DriverResult result = m_driver.run({});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "Usage: ./libzelinfo [option select][execute cycle time(sec)]\n"
                          "option: 1-[cpu performance]\n"
                          "      : 2-[Loadaverage performance]\n"
                          "      : 3-[Memory performance]\n"
                          "      : 4-[Filesystem performance]\n"
                          "      : 5-[DiskIO performance]\n"
                          "      : 6-[Network traffic performance]\n"
                          "      : 7-[Process performance]\n"
                          "      : 8-[VM performance]\n"
                          "      : 9-[All performance]\n"
                          "      : 10-[other performance]\n"
                          "      : 11-[hba]\n"
                          "      : 12-[gpu]\n");
    EXPECT_EQ(result.out, "");
    // The network collector would have asked its scripts.
    EXPECT_FALSE(ranCommands());
    EXPECT_THAT(result.pauses, IsEmpty());
}

class DriverWithoutGroup : public Driver, public testing::WithParamInterface<const char *> {};

TEST_P(DriverWithoutGroup, PrintsBannersOnly) {
    const DriverResult result = m_driver.run({GetParam(), "1", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banners(2));
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.pauses, ElementsAre(1000000, 1000000));
}

INSTANTIATE_TEST_SUITE_P(Options, DriverWithoutGroup, testing::Values("0", "13", "cpu", "-1", ""));

TEST_F(Driver, CountGivesThatManyNumberedCycles) {
    const DriverResult result = m_driver.run({"0", "5", "3"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + banner(2) + banner(3));
    EXPECT_THAT(result.pauses, ElementsAre(5000000, 5000000, 5000000));
}

TEST_F(Driver, OptionAloneRunsEverySecondUntilKilled) {
    const DriverResult result = m_driver.killAtPause(50).run({"0"});

    EXPECT_EQ(result.status, killed);
    EXPECT_EQ(result.err, banners(50));
    EXPECT_THAT(result.pauses, testing::AllOf(SizeIs(50), Each(1000000)));
}

TEST_F(Driver, MissingCountRunsUntilKilled) {
    const DriverResult result = m_driver.killAtPause(50).run({"0", "3"});

    EXPECT_EQ(result.status, killed);
    EXPECT_EQ(result.err, banners(50));
    EXPECT_THAT(result.pauses, testing::AllOf(SizeIs(50), Each(3000000)));
}

TEST_F(Driver, CountThatIsZeroNegativeOrNoNumberNeverEnds) {
    for (const char *count : {"0", "-1", "-3", "many"}) {
        const DriverResult result = m_driver.killAtPause(50).run({"0", "1", count});

        EXPECT_EQ(result.status, killed) << count;
        EXPECT_EQ(result.err, banners(50)) << count;
    }
}

// A pause of nothing is the runtime's shortest sleep of a millisecond.
TEST_F(Driver, CycleOfZeroOrNoNumberDoesNotPause) {
    for (const char *cycle : {"0", "fast"}) {
        const DriverResult result = m_driver.run({"0", cycle, "3"});

        EXPECT_EQ(result.status, 0) << cycle;
        EXPECT_EQ(result.err, banners(3)) << cycle;
        EXPECT_THAT(result.pauses, ElementsAre(1000, 1000, 1000)) << cycle;
    }
}

TEST_F(Driver, LongestCycleIsPausedWhole) {
    const DriverResult result = m_driver.run({"0", "2147", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.pauses, ElementsAre(2147000000));
}

// --- Load average ----------------------------------------------------------------------------------------------------

TEST_F(Driver, LoadAveragesArePrintedInTheirExactFormat) {
    const OneFileHost first("proc/loadavg", "0.05 12.34 1.50 1/123 4567\n");
    const OneFileHost second("proc/loadavg", "123.45 0.00 100.00 9/999 4568\n");
    const DriverResult result = m_driver.hostDirectories({first.path(), second.path()}).run({"2", "1", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + " 1Min:  0.05, 5Min: 12.34, 15Min:  1.50\n" + banner(2) +
                              " 1Min: 123.45, 5Min:  0.00, 15Min: 100.00\n");
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.pauses, SizeIs(2));
}

TEST_F(Driver, LoadAverageFailureIsReportedEveryCycleWithoutAnyPause) {
    const OneFileHost host;
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"2", "60", "3"});

    const std::string failure = "Load Average Gather failed\n";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + failure + banner(2) + failure + banner(3) + failure);
    EXPECT_THAT(result.pauses, IsEmpty());
}

TEST_F(Driver, LoadAverageFileThatIsShortIsAFailureToo) {
    const OneFileHost broken("proc/loadavg", "0.05 12.34\n");
    const DriverResult failed = m_driver.hostDirectories({broken.path()}).run({"2", "1", "1"});
    EXPECT_EQ(failed.err, banner(1) + "Load Average Gather failed\n");
    EXPECT_THAT(failed.pauses, IsEmpty());
}

// --- Inventory and adapters ------------------------------------------------------------------------------------------

TEST_F(Driver, InventoryOfTheHostIsListed) {
    const DriverResult result = m_driver.hosts({"linux-2.4.21/t0"}).run({"10", "1", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err,
              banner(1) + " nic number = [2]\n"
                          " nic model name[0]=[Intel Corp.|82546EB Gigabit Ethernet Controller (Copper)]\n"
                          " nic model name[1]=[Intel Corp.|82546EB Gigabit Ethernet Controller (Copper)]\n"
                          " cdrom model name[0]=[LITE-ON LTN-489S 48x Max]\n"
                          " pci module type [0]=[Host bridge]\n"
                          " pci module name [0]=[Intel Corp. E7501 Memory Controller Hub (rev 1).]\n"
                          " pci module type [1]=[IDE interface]\n"
                          " pci module name [1]=[Intel Corp. 82801CA Ultra ATA Storage Controller (rev 2).]\n"
                          " pci module type [2]=[Ethernet controller]\n"
                          " pci module name [2]=[Intel Corp. 82546EB Gigabit Ethernet Controller (Copper) (rev 1).]\n");
    EXPECT_EQ(result.out, "");
}

TEST_F(Driver, InventoryNamesDoNotDriveTheTerminal) {
    const OneFileHost host("etc/sysconfig/hwconf", "-\nclass: NETWORK\ndesc: \"a\x1b[2J\x9b\xc2\x9b\xc3\x9b\"\n-\n"
                                                   "class: CDROM\ndesc: \"b\x1b\x7f\"\n-\n");
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"10", "1", "1"});

    EXPECT_EQ(result.err, banner(1) + " nic number = [1]\n nic model name[0]=[a [2J   \xc3\x9b]\n"
                                      " cdrom model name[0]=[b  ]\n");
}

TEST_F(Driver, InventoryOfAHostWithoutTheFilesIsEmpty) {
    const OneFileHost host;
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"10", "1", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + " nic number = [0]\n" + banner(2) + " nic number = [0]\n");
}

TEST_F(Driver, HbaPortsAreRatedFromTheSecondCycleOn) {
    const DriverResult result = m_driver.hosts({"linux-2.6.32/t0", "linux-2.6.32/t1"}).run({"11", "10", "2"});

    // host3 over 10 seconds: requests 0x6590 - 0x5dc0 = 2000 and 0xa028 - 0x9c40 = 1000, megabytes 0x212 - 0x1f4 = 30
    // and 0x2be - 0x2a0 = 30. The ports are in the order of their directory.
    const std::string host3 = C + "21-00-00-24-FF-4D-8F-9A" + C + "host3" + C + "Online" + C + "200.00" + C + "100.00" +
                              C + "3.00" + C + "3.00" + C + "6.00" + C + "300.00" + C;
    const std::string host4 = C + "21-00-00-24-FF-4D-8F-9B" + C + "host4" + C + "Linkdown" + C + "0.00" + C + "0.00" +
                              C + "0.00" + C + "0.00" + C + "0.00" + C + "0.00" + C;
    const std::string header = "HBAZEL= INDEX" + C + "PORT_WWN" + C + "NAME" + C + "PORT_STATUS" + C +
                               "INPUT_REQUESTS" + C + "OUTPUT_REQUESTS" + C + "INPUT_MEGABYTES" + C +
                               "OUTPUT_MEGABYTES" + C + "IO_MEGABYTES" + C + "IOPS" + C;
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, testing::AnyOf(banners(2) + header + R + "1" + host3 + R + "2" + host4 + "\n",
                                           banners(2) + header + R + "1" + host4 + R + "2" + host3 + "\n"));
    EXPECT_EQ(result.out, "");
}

TEST_F(Driver, HbaHostWithoutPortsPrintsNothing) {
    const OneFileHost host;
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"11", "1", "3"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banners(3));
}

TEST_F(Driver, GpuFourEmptyTextsArePrinted) {
    const DriverResult result = m_driver.run({"12", "1", "1"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + "INV= \nINV= \nZEL= \nPRO= \n");
    EXPECT_EQ(result.out, "");
}

// --- Memory and VM ---------------------------------------------------------------------------------------------------

TEST_F(Driver, MemoryFailureIsReportedEveryCycleWithoutAnyPause) {
    const OneFileHost host;
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"3", "60", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + "Memory Gather failed\n" + banner(2) + "Memory Gather failed\n");
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.pauses, IsEmpty());
}

TEST_F(Driver, SwapFailureStandsBehindTheMemoryReportAndSkipsThePause) {
    const OneFileHost host("proc/meminfo", memoryWithoutSwap);
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"3", "60", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + "Swap Gather failed\n");
    EXPECT_EQ(result.out, memoryReport);
    EXPECT_THAT(result.pauses, IsEmpty());
}

TEST_F(Driver, VmFailureOfTheFirstSampleSkipsThePauseOnce) {
    const WholeHost host;
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"8", "60", "3"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + "VM Gather failed\n" + banner(2) + banner(3));
    EXPECT_THAT(linesOf(result.out), testing::AllOf(SizeIs(2), Each(testing::StartsWith("vm stat : "))));
    EXPECT_THAT(result.pauses, ElementsAre(60000000, 60000000));
}

TEST_F(Driver, VmFailureIsReportedEveryCycleWithoutAnyPause) {
    const OneFileHost host;
    const DriverResult result = m_driver.kernelRelease("6.1.0").hostDirectories({host.path()}).run({"8", "60", "3"});

    const std::string failure = "VM Gather failed\n";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + failure + banner(2) + failure + banner(3) + failure);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.pauses, IsEmpty());
}

TEST_F(Driver, KilledRunHasLostNothingOfItsFinishedCycles) {
    const WholeHost host;
    const DriverResult result = m_driver.killAtPause(3).hostDirectories({host.path()}).run({"3"});

    EXPECT_EQ(result.status, killed);
    EXPECT_EQ(result.err, banners(3));
    EXPECT_EQ(result.out, memoryReport + swapReport + memoryReport + swapReport + memoryReport + swapReport);
}

// --- CPU and all groups ----------------------------------------------------------------------------------------------

TEST_F(Driver, DiscardedCpuSampleDoesNotCutTheCycleShort) {
    const WholeHost host;
    const DriverResult result = m_driver.kernelRelease("2.6.32").hostDirectories({host.path()}).run({"1", "60", "1"});

    EXPECT_EQ(result.err, banner(1) + "CPU string is NULL\n");
    EXPECT_THAT(result.pauses, ElementsAre(60000000));
}

TEST_F(Driver, OptionNineRunsEveryGroupInOrderOnBothStreams) {
    const WholeHost host;
    const DriverResult result = m_driver.kernelRelease("2.6.32").hostDirectories({host.path()}).run({"9", "60", "2"});

    EXPECT_EQ(result.status, 0);
    // The first VM sample fails: no pause, and the second cycle follows at once.
    EXPECT_THAT(result.err, inOrder({banner(1), "CPU string is NULL\n", loadAverageReport, "VM Gather failed\n",
                                     banner(2), "CPU string[", loadAverageReport}));
    EXPECT_THAT(result.out, inOrder({memoryReport + swapReport, memoryReport + swapReport, "vm stat : "}));
    EXPECT_EQ(longPauses(result), 1);
}

TEST_F(Driver, OptionNineRunsTheStepsOneToEightInOrder) {
    const EveryGroupHost host;
    const DriverResult result =
        m_driver.oneStream().kernelRelease("6.1.0").hostDirectories({host.path()}).run({"9", "60", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(cycleOf(result.err, 2),
                inOrder({banner(2), "CPU string[", " cpu interrupt : ", " 1Min:  0.52, 5Min:  0.34, 15Min:  0.25\n",
                         " mem : 8000000 ", " swp : 2000000 ", " Fs  000: ", " Io  000: ", "InterfaceName|", "1|eth0|",
                         "INDEX\x03\x1F~PID\x03\x1F~", "[kthreadd]", "torv_token_end\n", "vm stat : "}));
    for (const char *once : {"CPU string[", " cpu interrupt : ", " 1Min:", " mem :", " swp :", " Fs  000", " Io  000",
                             "InterfaceName|", "torv_token_end", "vm stat :"}) {
        const std::string cycle = cycleOf(result.err, 2);
        EXPECT_EQ(cycle.find(once), cycle.rfind(once)) << once;
    }
    // Nothing of the groups that have options of their own.
    EXPECT_THAT(result.err, testing::Not(testing::ContainsRegex("nic number|HBAZEL|INV=")));
}

TEST_F(Driver, FirstVmSampleOfOptionNineFailsBehindEveryOtherGroup) {
    const EveryGroupHost host;
    const DriverResult result =
        m_driver.oneStream().kernelRelease("6.1.0").hostDirectories({host.path()}).run({"9", "60", "2"});

    const std::string first = cycleOf(result.err, 1);
    EXPECT_THAT(first, inOrder({"CPU string is NULL\n", " 1Min:", " mem :", " swp :", " Fs  000: ", " Io  000: ",
                                "torv_token_end\n", "VM Gather failed\n"}));
    EXPECT_TRUE(first.ends_with("VM Gather failed\n")) << first;
    EXPECT_THAT(cycleOf(result.err, 2), testing::Not(testing::HasSubstr("failed")));
    EXPECT_EQ(longPauses(result), 1);
}

TEST_F(Driver, SwapFailureOfOptionNineAbandonsTheRestOfTheCycle) {
    const EveryGroupHost host;
    host.write("proc/meminfo", memoryWithoutSwap);
    const DriverResult result =
        m_driver.oneStream().kernelRelease("6.1.0").hostDirectories({host.path()}).run({"9", "60", "2"});

    EXPECT_EQ(result.status, 0);
    for (const int cycle : {1, 2}) {
        EXPECT_THAT(cycleOf(result.err, cycle), inOrder({"CPU string", " 1Min:", memoryReport})) << cycle;
        EXPECT_TRUE(cycleOf(result.err, cycle).ends_with(memoryReport + "Swap Gather failed\n")) << cycle;
    }
    EXPECT_EQ(longPauses(result), 0);
}

TEST_F(Driver, MemoryFailureOfOptionNineAbandonsTheRestOfTheCycle) {
    const WholeHost host;
    host.remove("proc/meminfo");
    const DriverResult result = m_driver.kernelRelease("2.6.32").hostDirectories({host.path()}).run({"9", "60", "2"});

    const std::string failure = loadAverageReport + "Memory Gather failed\n";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err.substr(0, result.err.find(banner(2))), banner(1) + "CPU string is NULL\n" + failure);
    EXPECT_TRUE(result.err.ends_with(failure)) << result.err;
    EXPECT_THAT(result.out, testing::Not(testing::HasSubstr("vm stat")));
    EXPECT_EQ(longPauses(result), 0);
}

TEST_F(Driver, LoadAverageFailureOfOptionNineAbandonsTheRestOfTheCycle) {
    const WholeHost host;
    host.remove("proc/loadavg");
    const DriverResult result = m_driver.kernelRelease("2.6.32").hostDirectories({host.path()}).run({"9", "60", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + "CPU string is NULL\nLoad Average Gather failed\n");
    EXPECT_THAT(result.out, testing::Not(testing::HasSubstr(" mem :")));
    EXPECT_EQ(longPauses(result), 0);
}

} // namespace
