// The interface collector and the driver with the real home kit on real interfaces: veth pairs of a namespace, whose
// speed the kernel states as 10000 Mb/s, beside the kernel's own counters.
#include "DriverRun.h"
#include "HomeWatch.h"
#include "MM_NWT_Info.h"
#include "NCmdScheduler.h"
#include "NetworkNamespace.h"
#include "OrdinaryUser.h"
#include "Paths.h"
#include "PerfTextReader.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr double bytesPerSecond = 10000.0 * 1000000 / 8; // of a veth

PerfTable tableOf(const char *text) {
    PerfTable table;
    PerfTextError error;
    EXPECT_TRUE(fgReadPerfTable(text, table, error)) << error.reason << " at " << error.offset;
    return table;
}

struct Bytes {
    unsigned long long in = 0;
    unsigned long long out = 0;
};

// Sample:   zv0:     420       7    0    0    0     0          0         0   100000     100 ...
Bytes countersOf(const std::string &name) {
    std::ifstream table("/proc/net/dev");
    for (std::string line; std::getline(table, line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || line.substr(0, colon).find_last_of(' ') + name.size() + 1 != colon ||
            line.compare(colon - name.size(), name.size(), name) != 0)
            continue;
        std::istringstream fields(line.substr(colon + 1));
        Bytes bytes;
        unsigned long long skipped = 0;
        fields >> bytes.in;
        for (int field = 0; field < 7; ++field)
            fields >> skipped;
        fields >> bytes.out;
        return bytes;
    }
    ADD_FAILURE() << "no interface " << name;
    return {};
}

class HomeInterfaces : public testing::Test {
protected:
    HomeInterfaces() {
        g_nInterfaceStrType = g_nLinuxBandwidthFlag = g_nNetworkExtGather = 1;
        m_home.installKit();
    }

    // Runs `body` where /sys shows the interfaces of its namespace. Returns why that could not be.
    static std::string amongOwnInterfaces(const std::function<void()> &body) {
        std::string refused;
        const std::string reason = inNetworkNamespace([&] {
            if (showOwnInterfaces())
                body();
            else
                std::ofstream("refused") << "x";
        });
        return fs::exists("refused") ? "no sysfs of an own namespace" : reason;
    }

    // Has the inventory written anew, at once.
    static void takeInventory(CMM_NWT_Info &collector) {
        collector.fINVFileRemove();
        CCmdScheduler scheduler;
        scheduler.m_nCmdSchedulerType = 0;
        scheduler.fSetCmdSchedulerHomePath("../scheduler");
        g_pclCCmdScheduler = &scheduler;
        EXPECT_EQ(scheduler.fCmdSchedulerStart(), 1);
        EXPECT_EQ(collector.fCommandINV(1), 0);
        EXPECT_TRUE(soon([&] { return fs::exists(collector.m_strDataNewPath); }));
        EXPECT_EQ(scheduler.fCmdSchedulerStop(), 1);
        g_pclCCmdScheduler = nullptr;
    }

    ScratchHome m_home;
};

void expectKnownSpeeds() {
    makePair("zv0", "zv1");
    CMM_NWT_Info collector; // asks the script for both
    for (const char *name : {"zv0", "zv1"}) {
        const _ST_BANDWIDTH_LIST *entry = collector.m_pclBandwidthList->fGetNode(name);
        ASSERT_NE(entry, nullptr) << name;
        EXPECT_EQ(entry->m_lBandwidth, 10000000) << "kilobits";
        EXPECT_EQ(entry->m_nDuplex, 2);
    }
    EXPECT_EQ(collector.m_pclBandwidthList->fGetNode("lo"), nullptr);
    collector.m_pclBandwidthList->fFreeAll();
    collector.fGetNewBandwidth();
    EXPECT_EQ(collector.m_pclBandwidthList->fGetNodeCnt(), 2);
    collector.m_pclBandwidthList->fFreeAll();
    collector.fGetBandwidth(); // one script for the names, one per interface
    ASSERT_EQ(collector.m_pclBandwidthList->fGetNodeCnt(), 2);
    EXPECT_EQ(collector.m_pclBandwidthList->fGetNode("zv1")->m_lBandwidth, 10000000);

    char text[32] = "";
    EXPECT_EQ(fGetDuplex("zv0", text), 1);
    EXPECT_STREQ(text, "Full Duplex");
}

TEST_F(HomeInterfaces, SpeedsAndDuplexAreThoseOfTheKernel) {
    const std::string reason = amongOwnInterfaces(expectKnownSpeeds);
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(HomeInterfaces, AnOrdinaryUserIsToldTheSame) {
    std::string reason;
    asOrdinaryUser(m_home, [&] {
        reason = amongOwnInterfaces(expectKnownSpeeds);
        if (!reason.empty())
            std::ofstream("skipped") << reason;
    });
    if (fs::exists("skipped"))
        GTEST_SKIP() << m_home.read("agent/bin/skipped");
}

TEST_F(HomeInterfaces, DuplexThroughEveryModeOfTheScheduler) {
    const std::string reason = amongOwnInterfaces([] {
        makePair("zv0", "zv1");
        // The list's ten seconds between two looks pass at once.
        systemHooks().select = [](int, fd_set *, fd_set *, fd_set *, timeval *) { return usleep(5000); };
        for (int mode = 0; mode <= 2; ++mode) {
            fs::remove("../aproc/shell/DuplexLinux.dat");
            CCmdScheduler scheduler;
            scheduler.m_nCmdSchedulerType = mode;
            scheduler.fSetCmdSchedulerHomePath("../scheduler");
            g_pclCCmdScheduler = &scheduler;
            scheduler.fCmdSchedulerStart();
            char text[32] = "";
            EXPECT_EQ(fGetDuplex("zv1", text), -1) << "asked for, not there yet";
            EXPECT_TRUE(soon([&] { return fGetDuplex("zv1", text) == 1; })) << "mode " << mode;
            EXPECT_STREQ(text, "Full Duplex");
            if (mode == 0)
                scheduler.fCmdSchedulerStop();
            g_pclCCmdScheduler = nullptr;
        }
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(HomeInterfaces, InventoryChangesWithTheSetAndFillsTheExtraRows) {
    const std::string reason = amongOwnInterfaces([] {
        makePair("zv0", "zv1");
        CMM_NWT_Info collector;
        collector.fMGetNetworkStat(1.0, 0);
        takeInventory(collector);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 0) << "the first is no change";
        takeInventory(collector);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 0) << "the same interfaces, the same text";

        makePair("zx0", "zx1");
        takeInventory(collector);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 1);
        EXPECT_EQ(collector.fInterfaceChangeCheck(), 0);

        ASSERT_EQ(collector.fGetInterfaceINV(), 1);
        const PerfTable inventory = tableOf(collector.m_pStrInterfaceINV);
        EXPECT_EQ(inventory.columns.size(), 9U);
        ASSERT_EQ(inventory.rows.size(), 4U);
        std::set<std::string> names;
        for (std::size_t row = 0; row < 4; ++row) {
            const std::string name(inventory.rows[row][1]);
            names.insert(name);
            std::string address;
            std::ifstream("/sys/class/net/" + name + "/address") >> address;
            EXPECT_EQ(inventory.value(row, "MAC"), address);
            EXPECT_EQ(inventory.value(row, "SPEED"), "10000");
        }
        EXPECT_EQ(names, (std::set<std::string>{"zv0", "zv1", "zx0", "zx1"}));

        // Two of the four are gone: they are in the inventory, and not in the kernel's table.
        ASSERT_EQ(runIp({"link", "del", "zx0"}), 0);
        ASSERT_NE(collector.fMGetNetworkStat(1.0, 0), nullptr);
        const PerfTable table = tableOf(collector.m_pstrNetworkInfo);
        ASSERT_EQ(table.rows.size(), 4U);
        for (std::size_t row = 0; row < 4; ++row) {
            const bool extra = table.value(row, "NAME").substr(0, 2) == "zx";
            EXPECT_EQ(extra, row >= 2);
            EXPECT_EQ(table.value(row, "INDEX"), std::to_string(row + 1));
            for (std::size_t column = 3; column < table.columns.size(); ++column)
                EXPECT_EQ(table.rows[row][column] == "-", extra);
        }
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(HomeInterfaces, AddressesAreThoseOfTheInterfaceWithTheNameAndTheIndex) {
    const std::string reason = amongOwnInterfaces([this] {
        makePair("zv0", "zv1");
        ASSERT_EQ(runIp({"addr", "add", "192.0.2.7/24", "dev", "zv0"}), 0);
        const auto addresses = [] {
            EXPECT_EQ(std::system("./libinvinfo 3 1"), 0);
            CMM_NWT_Info collector;
            EXPECT_EQ(collector.fGetInterfaceINV(), 1);
            const PerfTable table = tableOf(collector.m_pStrInterfaceINV);
            return std::string(table.value(0, "NAME")) + " " + std::string(table.value(0, "ADDRESSES"));
        };
        EXPECT_EQ(addresses(), "zv0 192.0.2.7");
        // Another host's interface of that name.
        m_home.write("host/sys/class/net/zv0/ifindex", "999999\n");
        setenv("ZEL_HOST_ROOT", (m_home.path() / "host").c_str(), 1);
        EXPECT_EQ(addresses(), "zv0 -");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(HomeInterfaces, NamesWithShellCharactersRunNothing) {
    const std::string reason = amongOwnInterfaces([] {
        makePair(";>pwned;", "$(touch${IFS}x)");
        makePair("`>pwned`", "|id>pwned&");
        makePair("zv0", "zv1");
        const auto before = std::distance(fs::directory_iterator("."), fs::directory_iterator());
        CMM_NWT_Info collector;
        EXPECT_EQ(collector.m_pclBandwidthList->fGetNodeCnt(), 2);
        collector.fGetNewBandwidth();
        collector.fGetBandwidth();
        EXPECT_EQ(collector.m_pclBandwidthList->fGetNodeCnt(), 2) << "zv0 and zv1 alone";
        char text[32] = "";
        EXPECT_EQ(fGetDuplex(";>pwned;", text), -1);
        takeInventory(collector);
        ASSERT_EQ(collector.fGetInterfaceINV(), 1);
        EXPECT_EQ(tableOf(collector.m_pStrInterfaceINV).rows.size(), 6U) << "they are in the inventory all the same";
        collector.fMGetNetworkStat(1.0, 0);
        collector.fMGetNetworkStat(1.0, 0);
        EXPECT_EQ(tableOf(collector.m_pstrNetworkInfo).rows.size(), 6U);
        EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), before);
        EXPECT_FALSE(fs::exists("../scheduler/pwned"));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

// --- The driver ------------------------------------------------------------------------------------------------------

// The rows of an interface in the driver's report: bytes in and out and the three utilisations, summed over the cycles.
struct Reported {
    int rows = 0;
    double in = 0;
    double out = 0;
    double rate = 0;
    double received = 0;
    double sent = 0;
};

// Sample: 1|zv0|LINKUP|0.00|2000.00|0.00|18000000.00|0.00|0.00|0.00|0.00|0.00|0.00|1.440000|0.000000|1.440000
Reported reported(const std::string &text, const std::string &name) {
    Reported sum;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;
        std::istringstream rest(line);
        for (std::string field; std::getline(rest, field, '|');)
            fields.push_back(field);
        if (fields.size() != 16 || fields[1] != name)
            continue;
        ++sum.rows;
        sum.in += std::stod(fields[5]);
        sum.out += std::stod(fields[6]);
        sum.rate += std::stod(fields[13]);
        sum.received += std::stod(fields[14]);
        sum.sent += std::stod(fields[15]);
    }
    return sum;
}

void expectReported(const std::string &text, const std::string &name, const Bytes &before) {
    const Bytes after = countersOf(name);
    const auto in = static_cast<double>(after.in - before.in);
    const auto out = static_cast<double>(after.out - before.out);
    const Reported found = reported(text, name);
    constexpr double rounding = 0.000003; // an idle cycle counts one byte, and six places are printed
    EXPECT_EQ(found.rows, 2) << text;
    EXPECT_DOUBLE_EQ(found.in, in);
    EXPECT_DOUBLE_EQ(found.out, out);
    EXPECT_NEAR(found.rate, (in + out) / bytesPerSecond * 100, rounding) << "full duplex: both directions";
    EXPECT_NEAR(found.received, in / bytesPerSecond * 100, rounding);
    EXPECT_NEAR(found.sent, out / bytesPerSecond * 100, rounding);
}

TEST_F(HomeInterfaces, DriverReportsTheUtilisationOfTheCounters) {
    const std::string reason = amongOwnInterfaces([] {
        makePair("zv0", "zv1");
        const DriverRun driver;
        driver.home().installKit();
        const Bytes before0 = countersOf("zv0");
        const Bytes before1 = countersOf("zv1");
        // Three samples one second apart: what is sent in the middle of the first second is between two of them.
        std::thread sender([&driver] {
            const fs::path answer = driver.home().path() / "agent/aproc/shell/IFName_bandwidth.dat";
            EXPECT_TRUE(soon([&] { return fs::exists(answer) && fs::file_size(answer) > 0; }));
            usleep(600000);
            sendFrames("zv0", 20000, 1500);
            sendFrames("zv1", 1000, 1000);
        });
        const DriverResult result = driver.run({"6", "1", "3"});
        sender.join();
        EXPECT_EQ(result.status, 0);
        EXPECT_GE(countersOf("zv0").out - before0.out, 30000000U);
        expectReported(result.err, "zv0", before0);
        expectReported(result.err, "zv1", before1);
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

} // namespace
