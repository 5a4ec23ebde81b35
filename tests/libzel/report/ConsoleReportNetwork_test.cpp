// The console report of the interfaces, from the collector and from the real driver.
#include "ConsoleReport.h"
#include "DriverRun.h"
#include "MM_NWT_Info.h"
#include "NetworkScene.h"
#include "StreamCapture.h"

#include <gtest/gtest.h>

namespace {

constexpr const char *HEADER = "InterfaceName|LinkAlive|InPkt|OutPkt|InByte|OutByte|InErr|OutErr|InErrRate|OutErrRate|"
                               "Collisions|CollisionRate|PortRate\n";

struct Report {
    int result;
    std::string out;
    std::string err;
};

Report report(CMM_NWT_Info &collector, double elapsed) {
    const StreamCapture streams;
    const int result = print_nwt_info(&collector, elapsed);
    std::fflush(stdout);
    return {result, streams.out(), streams.err()};
}

TEST(NetworkReport, RowsGoToStandardError) {
    NetworkScene scene(0);
    scene.bandwidths("TORVSC|eth0|100000|2\n");
    scene.show({{"eth0", 0, 0}, {"eth1"}});
    CMM_NWT_Info collector;
    const Report first = report(collector, 5.0);
    scene.show({{"eth0", 6250000, 50, 12500000, 100, 5, 10, 60}, {"eth1"}});
    const Report second = report(collector, 5.0);

    EXPECT_EQ(first.result, 1);
    EXPECT_EQ(first.err,
              std::string(HEADER) +
                  "1|eth0|LINKUP|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.000000|0.000000|0.000000\n"
                  "2|eth1|LINKUP|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.000000|0.000000|0.000000\n");
    EXPECT_EQ(first.out, "");
    // eth0: 50/5, 100/5, 6250000/5, 12500000/5, 5/5, 10/5, 60/5; 3750000, 1250000, 2500000 of 12500000 bytes
    EXPECT_EQ(second.err,
              std::string(HEADER) +
                  "1|eth0|LINKUP|10.00|20.00|1250000.00|2500000.00|1.00|2.00|0.00|0.00|12.00|0.00|30.000000|10.000000|"
                  "20.000000\n"
                  "2|eth1|LINKUP|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|-1.000000|-1.000000|-1.000000\n");
}

TEST(NetworkReport, NamesKeepWithinTheirLine) {
    NetworkScene scene(0);
    scene.show({{"a\x1b[2J\x9b\xc2\x9b\xc3\x9b", 0, 0}});
    CMM_NWT_Info collector;
    EXPECT_EQ(
        report(collector, 5.0).err,
        std::string(HEADER) +
            "1|a [2J   \xc3\x9b|LINKUP|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.000000|0.000000|0.000000\n");
}

TEST(NetworkReport, FailedPassPrintsNothing) {
    NetworkScene scene(0);
    CMM_NWT_Info collector;
    const Report failed = report(collector, 1.0);
    EXPECT_EQ(failed.result, -1);
    EXPECT_EQ(failed.err, "");
}

TEST(NetworkReport, TextModePrintsRowsFromItsSecondPass) {
    NetworkScene scene(1);
    scene.show({{"eth0", 0}});
    CMM_NWT_Info collector;
    const Report first = report(collector, 1.0);
    scene.show({{"eth0", 100}});
    const Report second = report(collector, 1.0);
    EXPECT_EQ(first.result, -1);
    EXPECT_EQ(first.err, "");
    EXPECT_EQ(second.result, 1);
    EXPECT_EQ(second.err, std::string(HEADER) +
                              "1|eth0|LINKUP|0.00|0.00|100.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|-1.000000|-1.000000|"
                              "-1.000000\n");
}

TEST(NetworkDriver, OptionSixPrintsTheRowsOfEveryCycleButTheFirst) {
    const TempDirectory hosts;
    hosts.write("t0/proc/net/dev", netDevTable({{"lo", 7}, {"eth0", 1000, 10, 2000, 20}}));
    hosts.write("t1/proc/net/dev", netDevTable({{"lo", 70}, {"eth0", 26000000, 110, 2000, 20}}));
    DriverRun driver;
    driver.hostDirectories({(hosts.path() / "t0").string(), (hosts.path() / "t1").string()}).frozenClock();
    driver.home().script("agent/bin/shell/LINUX/ifname_bandwidth_duplex.sh", "echo 'TORVSC|eth0|100000|2'\n");
    driver.home().plainCommandRunner();

    const DriverResult result = driver.run({"6", "2", "3"});

    EXPECT_EQ(result.status, 0);
    // cycle 2: 100/2 packets, 25999000/2 bytes; 12999500 of 12500000 bytes per second is 103.996 percent (the console
    // has no ceiling), nothing sent counts as one byte: 0.5 / 12500000
    EXPECT_EQ(
        result.err,
        std::string("////////////////[ 1 ]/////////////////// \n////////////////[ 2 ]/////////////////// \n") + HEADER +
            "1|eth0|LINKUP|50.00|0.00|12999500.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|103.996000|103.996000|0.000004\n"
            "////////////////[ 3 ]/////////////////// \n" +
            HEADER + "1|eth0|LINKUP|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.00|0.000004|0.000004|0.000004\n");
}

} // namespace
