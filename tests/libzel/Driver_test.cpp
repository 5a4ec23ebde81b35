#include "DriverRun.h"

#include <gtest/gtest.h>

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
    OneFileHost(const std::string &file, const std::string &text) { m_directory.write(file, text); }
    std::string path() const { return m_directory.path().string(); }

private:
    TempDirectory m_directory;
};

// A driver whose clock stands still, in a home whose command runner runs nothing but leaves a mark.
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

TEST_F(Driver, InventoryOfAHostWithoutTheFilesIsEmpty) {
    const OneFileHost host;
    const DriverResult result = m_driver.hostDirectories({host.path()}).run({"10", "1", "2"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, banner(1) + " nic number = [0]\n" + banner(2) + " nic number = [0]\n");
}

TEST_F(Driver, HbaPortsAreRatedFromTheSecondCycleOn) {
    const DriverResult result = m_driver.hosts({"linux-2.6.32/t0", "linux-2.6.32/t1"}).run({"11", "10", "2"});

    // host3 over 10 seconds: requests 0x6590 - 0x5dc0 = 2000 and 0xa028 - 0x9c40 = 1000, megabytes 0x212 - 0x1f4 = 30
    // and 0x2be - 0x2a0 = 30. The ports stand in the order of their directory.
    const std::string c = "\x03\x1F~";
    const std::string host3 = c + "21-00-00-24-FF-4D-8F-9A" + c + "host3" + c + "Online" + c + "200.00" + c + "100.00" +
                              c + "3.00" + c + "3.00" + c + "6.00" + c + "300.00" + c;
    const std::string host4 = c + "21-00-00-24-FF-4D-8F-9B" + c + "host4" + c + "Linkdown" + c + "0.00" + c + "0.00" +
                              c + "0.00" + c + "0.00" + c + "0.00" + c + "0.00" + c;
    const std::string header = "HBAZEL= INDEX" + c + "PORT_WWN" + c + "NAME" + c + "PORT_STATUS" + c +
                               "INPUT_REQUESTS" + c + "OUTPUT_REQUESTS" + c + "INPUT_MEGABYTES" + c +
                               "OUTPUT_MEGABYTES" + c + "IO_MEGABYTES" + c + "IOPS" + c;
    const std::string r = "\x03\x1F|";
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, testing::AnyOf(banners(2) + header + r + "1" + host3 + r + "2" + host4 + "\n",
                                           banners(2) + header + r + "1" + host4 + r + "2" + host3 + "\n"));
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

// --- All groups ------------------------------------------------------------------------------------------------------

// What option 9 prints behind the load averages, which it prints in every complete host.
std::string behindLoadAverage(const std::string &text) {
    const std::string line = " 1Min:  0.05, 5Min: 12.34, 15Min:  1.50\n";
    const std::size_t start = text.find(line);
    return start == std::string::npos ? "no load average in: " + text : text.substr(start + line.size());
}

TEST_F(Driver, MemoryFailureOfOptionNineAbandonsTheRestOfTheCycleAndItsPause) {
    const OneFileHost host("proc/loadavg", "0.05 12.34 1.50 1/123 4567\n");
    const DriverResult result = m_driver.kernelRelease("2.6.32").hostDirectories({host.path()}).run({"9", "60", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(behindLoadAverage(result.err), "Memory Gather failed\n");
    EXPECT_THAT(result.pauses, testing::Not(testing::Contains(60000000)));
}

TEST_F(Driver, LoadAverageFailureOfOptionNineAbandonsTheRestOfTheCycleAndItsPause) {
    const OneFileHost host;
    const DriverResult result = m_driver.kernelRelease("2.6.32").hostDirectories({host.path()}).run({"9", "60", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.err.ends_with("Load Average Gather failed\n")) << result.err;
    EXPECT_THAT(result.pauses, testing::Not(testing::Contains(60000000)));
}

} // namespace
