// The interface collector on real interfaces: veth pairs in a network namespace of the test's own, real frames through
// them, and what ip says about both ends before and after.
#include "MM_NWT_Info.h"
#include "NetworkNamespace.h"
#include "PerfTextReader.h"
#include "ScratchHome.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "kernel/KeptFile.h"
#include "network.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <sched.h>

namespace {

struct Counters {
    unsigned long long inBytes;
    unsigned long long inPackets;
    unsigned long long outBytes;
    unsigned long long outPackets;
};

std::string outputOf(const std::string &command) {
    std::string text;
    std::FILE *pipe = popen(command.c_str(), "r");
    char piece[4096];
    for (std::size_t count; (count = std::fread(piece, 1, sizeof(piece), pipe)) > 0;)
        text.append(piece, count);
    pclose(pipe);
    return text;
}

// Sample: ... "stats64":{"rx":{"bytes":0,"packets":0,...},"tx":{"bytes":0,"packets":0,...}}}]
Counters countersOfIp(const std::string &name) {
    const std::string text = outputOf("ip -s -j link show dev " + name);
    const auto number = [&text](std::size_t from, const char *key) {
        const std::size_t at = text.find(key, from);
        EXPECT_NE(at, std::string::npos) << text;
        return std::strtoull(text.c_str() + at + std::strlen(key), nullptr, 10);
    };
    const std::size_t rx = text.find("\"rx\":");
    const std::size_t tx = text.find("\"tx\":");
    return {number(rx, "\"bytes\":"), number(rx, "\"packets\":"), number(tx, "\"bytes\":"), number(tx, "\"packets\":")};
}

std::map<std::string, _ST_NETWORK> results(CMM_NWT_Info &collector, double elapsed) {
    std::map<std::string, _ST_NETWORK> found;
    EXPECT_NE(collector.fMGetNetworkStat(elapsed, -1), nullptr);
    while (const _ST_NETWORK *result = collector.fMGetNetworkStatNext())
        found[result->l_strIfName] = *result;
    return found;
}

void expectRates(const _ST_NETWORK &result, const Counters &before, const Counters &after, double elapsed) {
    EXPECT_DOUBLE_EQ(result.l_dInByte, static_cast<double>(after.inBytes - before.inBytes) / elapsed);
    EXPECT_DOUBLE_EQ(result.l_dInPkt, static_cast<double>(after.inPackets - before.inPackets) / elapsed);
    EXPECT_DOUBLE_EQ(result.l_dOutByte, static_cast<double>(after.outBytes - before.outBytes) / elapsed);
    EXPECT_DOUBLE_EQ(result.l_dOutPkt, static_cast<double>(after.outPackets - before.outPackets) / elapsed);
}

class RealInterfaces : public testing::Test {
protected:
    static void noScripts(int mode, std::vector<std::string> &commands) {
        g_nInterfaceStrType = mode;
        g_nLinuxBandwidthFlag = 1;
        systemHooks().system = [&commands](const char *command) {
            commands.emplace_back(command);
            return 0;
        };
    }
};

TEST_F(RealInterfaces, RatesAreWhatIpCounts) {
    const std::string reason = inNetworkNamespace([] {
        const ScratchHome home;
        std::vector<std::string> commands;
        noScripts(0, commands);
        home.write("agent/aproc/shell/IFName_bandwidth.dat", "TORVSC|zv0|10000|2\n"); // 1250000 bytes per second
        makePair("zv0", "zv1");
        CMM_NWT_Info collector;
        results(collector, 1.0);
        const Counters before0 = countersOfIp("zv0");
        const Counters before1 = countersOfIp("zv1");

        sendFrames("zv0", 100, 1000);
        sendFrames("zv1", 7, 60);

        std::map<std::string, _ST_NETWORK> found = results(collector, 4.0);
        const Counters after0 = countersOfIp("zv0");
        const Counters after1 = countersOfIp("zv1");
        ASSERT_EQ(found.size(), 2U) << "both ends, not the loopback";
        expectRates(found["zv0"], before0, after0, 4.0);
        expectRates(found["zv1"], before1, after1, 4.0);
        EXPECT_DOUBLE_EQ(found["zv0"].l_dOutPkt, 25.0);     // 100 / 4
        EXPECT_DOUBLE_EQ(found["zv0"].l_dOutByte, 25000.0); // 100000 / 4
        EXPECT_DOUBLE_EQ(found["zv0"].l_dInByte, 105.0);    // 420 / 4
        EXPECT_DOUBLE_EQ(found["zv1"].l_dInByte, 25000.0);
        EXPECT_DOUBLE_EQ(found["zv0"].l_dPortTxRate, 2.0);  // 25000 / 1250000
        EXPECT_DOUBLE_EQ(found["zv0"].l_dPortRate, 2.0084); // 25105 / 1250000
        EXPECT_DOUBLE_EQ(found["zv1"].l_dPortRate, -1.0);
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(RealInterfaces, TextTellsTheLinkOfTheMoment) {
    const std::string reason = inNetworkNamespace([] {
        const ScratchHome home;
        std::vector<std::string> commands;
        noScripts(1, commands);
        makePair("zv0", "zv1");
        CMM_NWT_Info collector;
        collector.fMGetNetworkStat(1.0, -1);
        ASSERT_EQ(runIp({"link", "set", "zv1", "down"}), 0);
        ASSERT_NE(collector.fMGetNetworkStat(1.0, -1), nullptr);
        PerfTable table;
        PerfTextError error;
        ASSERT_TRUE(fgReadPerfTable(collector.m_pstrNetworkInfo, table, error));
        ASSERT_EQ(table.rows.size(), 2U);
        for (std::size_t row = 0; row < 2; ++row)
            EXPECT_EQ(table.value(row, "LINK"), table.value(row, "NAME") == "zv0" ? "1" : "0");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(RealInterfaces, HostileNamesReachNoShellAndForgeNoRow) {
    const std::string reason = inNetworkNamespace([] {
        const ScratchHome home;
        std::vector<std::string> commands;
        noScripts(1, commands);
        const std::string shell = "a;b$(x)\"'`&";
        const std::string control = "q\x03\x1f|2\x03\x1f~z";
        makePair(shell, control);
        CMM_NWT_Info collector;
        collector.fMGetNetworkStat(1.0, -1);
        ASSERT_NE(collector.fMGetNetworkStat(1.0, -1), nullptr);
        PerfTable table;
        PerfTextError error;
        ASSERT_TRUE(fgReadPerfTable(collector.m_pstrNetworkInfo, table, error)) << error.reason;
        ASSERT_EQ(table.rows.size(), 2U);
        for (std::size_t row = 0; row < 2; ++row)
            EXPECT_TRUE(table.value(row, "NAME") == shell || table.value(row, "NAME") == "q  |2  ~z");

        commands.clear();
        home.write("agent/aproc/shell/IFName.dat", shell + "\n" + control + "\n");
        collector.fGetBandwidth();
        char text[12];
        EXPECT_EQ(fGetDuplex(shell.c_str(), text), -1);
        EXPECT_EQ(commands.size(), 1U) << "only the script that lists names";
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(RealInterfaces, InterfacesComeAndGo) {
    const std::string reason = inNetworkNamespace([] {
        const ScratchHome home;
        std::vector<std::string> commands;
        noScripts(0, commands);
        CMM_NWT_Info collector;
        EXPECT_TRUE(results(collector, 1.0).empty());
        makePair("zv0", "zv1");
        EXPECT_EQ(results(collector, 1.0).size(), 2U);
        sendFrames("zv0", 3, 100);
        EXPECT_DOUBLE_EQ(results(collector, 1.0)["zv0"].l_dOutByte, 300.0);
        ASSERT_EQ(runIp({"link", "del", "zv0"}), 0);
        EXPECT_TRUE(results(collector, 1.0).empty());
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

// Every interface of a walk with its counters.
std::vector<std::string> walked() {
    std::vector<std::string> found;
    EXPECT_EQ(init_netinfo(), 0);
    char name[256] = "";
    char link[16] = "";
    unsigned long long counters[8] = {};
    while (get_next_netinfo(name, link, &counters[0], &counters[1], &counters[2], &counters[3], &counters[4],
                            &counters[5], &counters[6], &counters[7]) == 0) {
        std::string text = name;
        for (const unsigned long long counter : counters)
            text += " " + std::to_string(counter);
        found.push_back(text);
    }
    fin_netinfo();
    return found;
}

TEST_F(RealInterfaces, TableThatStaysOpenGivesWhatAFreshOneGives) {
    const std::string reason = inNetworkNamespace([] {
        const auto compare = [](std::size_t count) {
            g_nKeptFileLimit = -1;
            const std::vector<std::string> kept = walked();
            EXPECT_EQ(zel::keptPlacesTaken(), 1);
            g_nKeptFileLimit = 0;
            EXPECT_EQ(walked(), kept);
            EXPECT_EQ(zel::keptPlacesTaken(), 0);
            EXPECT_EQ(kept.size(), count);
            g_nKeptFileLimit = -1;
            walked(); // kept again, for what comes next
        };
        compare(1);
        constexpr int pairs = 60; // more than one page of the table
        for (int pair = 0; pair < pairs; ++pair)
            makePair("zv" + std::to_string(pair) + "a", "zv" + std::to_string(pair) + "b");
        compare(1 + 2 * pairs);
        for (int round = 0; round < 5; ++round) {
            sendFrames("zv" + std::to_string(7 * round) + "a", 10 + round, 100);
            compare(static_cast<std::size_t>(1 + 2 * pairs - 2 * round));
            ASSERT_EQ(runIp({"link", "del", "zv" + std::to_string(10 * round) + "b"}), 0);
        }
        ASSERT_EQ(unshare(CLONE_NEWNET), 0);
        compare(1);
    });
    g_nKeptFileLimit = -1;
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(RealInterfaces, QuestionsAboutOneInterfaceAreAnsweredByTheKernel) {
    const std::string reason = inNetworkNamespace([] {
        ASSERT_EQ(runIp({"link", "add", "zv0", "address", "02:16:3e:01:02:ff", "type", "veth", "peer", "name", "zv1"}),
                  0);
        char type[33] = "";
        char address[14] = {};
        unsigned long long speed = 0;
        EXPECT_EQ(get_net_type("zv0", type), 1);
        EXPECT_STREQ(type, "Ethernet");
        EXPECT_EQ(get_net_type("lo", type), 1);
        EXPECT_STREQ(type, "Loopback");
        EXPECT_EQ(get_net_type("none0", type), -1);
        EXPECT_EQ(get_net_mac("zv0", address), 1);
        EXPECT_EQ(std::memcmp(address, "\x02\x16\x3e\x01\x02\xff", 6), 0);
        fGetSpeed("lo", &speed);
        EXPECT_EQ(speed, 9999U) << "the loopback has no speed";
        fGetSpeed("zv0", &speed);
        EXPECT_EQ(speed, 1410065408U) << "a veth says 10000 Mb/s";
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

} // namespace
