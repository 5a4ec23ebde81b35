// The passes of the interface collector in text mode: header, rows, clamps, ceilings.
#include "FrozenClock.h"
#include "LogCapture.h"
#include "MM_NWT_Info.h"
#include "NGFunctions.h"
#include "NetworkScene.h"
#include "PerfTextReader.h"
#include "Separators.h"
#include "Settings.h"
#include "SystemHooks.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <net/if.h>
#include <sys/ioctl.h>

namespace {

std::string joined(const std::vector<std::string> &fields) {
    std::string text;
    for (const std::string &field : fields)
        text += field + C;
    return text;
}

const std::string HEADER =
    joined({"INDEX", "NAME", "LINK", "INPKT", "OUTPKT", "INBYTE", "OUTBYTE", "INERR", "OUTERR", "INERRRATE",
            "OUTERRRATE", "COLLISION", "COLLISIONRATE", "RATE", "RXRATE", "TXRATE"});

std::string row(const std::vector<std::string> &fields) {
    return R + joined(fields);
}

class NetworkText : public testing::Test {
protected:
    NetworkText() {
        systemHooks().ioctl = [this](int, unsigned long, void *argument) {
            auto *request = static_cast<ifreq *>(argument);
            ++linkQuestions;
            request->ifr_flags = std::strncmp(request->ifr_name, "down", 4) == 0 ? 0 : IFF_UP;
            return 0;
        };
    }

    std::string pass(CMM_NWT_Info &collector, double elapsed = 1.0, int push = -1) const {
        EXPECT_NE(collector.fMGetNetworkStat(elapsed, push), nullptr);
        return collector.m_pstrNetworkInfo;
    }

    /// The value of a column after an interface went from one line to another within a second.
    std::string value(const InterfaceLine &before, const InterfaceLine &now, const char *column) {
        scene.show({before});
        CMM_NWT_Info collector;
        collector.fMGetNetworkStat(1.0, -1);
        scene.show({now});
        const std::string text = pass(collector);
        PerfTable table;
        PerfTextError error;
        EXPECT_TRUE(fgReadPerfTable(text, table, error)) << text;
        return std::string(table.value(0, column));
    }

    NetworkScene scene{1};
    int linkQuestions = 0;
};

TEST_F(NetworkText, FirstPassGivesNullAndTheHeaderAlone) {
    scene.show({{"eth0", 100}});
    CMM_NWT_Info collector;

    EXPECT_EQ(collector.fMGetNetworkStat(1.0, -1), nullptr);

    EXPECT_EQ(std::string(collector.m_pstrNetworkInfo), HEADER);
    EXPECT_EQ(collector.m_nIfCnt, 0);
    EXPECT_EQ(collector.m_nInterfaceZELCnt, 0);
    EXPECT_EQ(collector.m_nZELSkipChk, 1);
    EXPECT_EQ(collector.m_nInsertFirst, 1);
    EXPECT_EQ(collector.m_nFirstFlag, 1);
    EXPECT_EQ(collector.fMGetNetworkStatNext(), nullptr);
    EXPECT_EQ(linkQuestions, 0);
}

TEST_F(NetworkText, RowsCarryKilobytesAndLinkState) {
    scene.bandwidths("TORVSC|eth0|100000|2\nTORVSC|down0|100000|1\n"); // 12500000 bytes per second
    scene.show({{"lo", 5}, {"eth0", 1000, 10, 2000, 20, 1, 2, 3}, {"down0", 0, 0, 0, 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({{"lo", 50}, {"eth0", 6251000, 60, 12502000, 120, 6, 12, 63}, {"down0", 5120, 5, 10240, 10}});

    const std::string text = pass(collector, 5.0);

    // eth0:  packets 50/5, 100/5; kilobytes 6250000/5/1024 = 1220.70, 12500000/5/1024 = 2441.41; errors 5/5, 10/5;
    //        collisions 60/5; 1250000, 2500000 and 3750000 of 12500000 bytes per second
    // down0: packets 5/5, 10/5; kilobytes 5120/5/1024 = 1, 2; 1024 and 2048 of 12500000: 0.01, 0.02; half: the larger
    EXPECT_EQ(text, HEADER +
                        row({"1", "eth0", "1", "10.00", "20.00", "1220.70", "2441.41", "1.00", "2.00", "0.00", "0.00",
                             "12.00", "0.00", "30.00", "10.00", "20.00"}) +
                        row({"2", "down0", "0", "1.00", "2.00", "1.00", "2.00", "0.00", "0.00", "0.00", "0.00", "0.00",
                             "0.00", "0.02", "0.01", "0.02"}));
    EXPECT_EQ(collector.m_nInterfaceZELCnt, 2);
    EXPECT_EQ(collector.m_nIfCnt, 2);
}

TEST_F(NetworkText, PushTextOpensWithKeyAndMetricCode) {
    std::string key = "agent_key";
    g_ptrAgentKey = key.data();
    scene.show({{"eth0"}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, 1);
    EXPECT_EQ(pass(collector, 1.0, 1), "agent_key" + M + "4.6.7.0" + F + HEADER +
                                           row({"1", "eth0", "1", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00",
                                                "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00"}));
    EXPECT_EQ(pass(collector, 1.0, 0).substr(0, HEADER.size()), HEADER);
    g_ptrAgentKey = nullptr;
    EXPECT_EQ(pass(collector, 1.0, 2).substr(0, 3), M) << "a missing key is empty";
}

TEST_F(NetworkText, ResultsAreLeftInTheListAsComputed) {
    scene.show({{"eth0", 0}, {"eth1", 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({{"eth0", 2048}, {"eth1", 4000000000}});
    for (int round = 0; round < 2; ++round) {
        pass(collector);
        const _ST_NETWORK *first = collector.fMGetNetworkStatNext();
        ASSERT_NE(first, nullptr);
        EXPECT_STREQ(first->l_strIfName, "eth0");
        EXPECT_STREQ(first->l_strLinkAlive, "LINKUP");
        EXPECT_EQ(first->l_dInByte, round == 0 ? 2048.0 : 0.0);
        EXPECT_EQ(first->l_dPortRate, -1.0);
        const _ST_NETWORK *second = collector.fMGetNetworkStatNext();
        ASSERT_NE(second, nullptr);
        EXPECT_EQ(second->l_dInByte, round == 0 ? 4000000000.0 : 0.0) << "no ceiling";
        EXPECT_EQ(collector.fMGetNetworkStatNext(), nullptr);
    }
}

TEST_F(NetworkText, InterfaceThatShowsUpLaterIsReportedFromItsSecondPass) {
    scene.bandwidths("TORVSC|eth0|100000|2\nTORVSC|eth1|100000|2\n");
    scene.show({{"eth0", 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);

    scene.show({{"eth1", 5000}, {"eth0", 1024}});
    const std::string both = pass(collector);
    EXPECT_EQ(collector.m_nIfCnt, 1);
    EXPECT_EQ(both.find("eth1"), std::string::npos);
    EXPECT_NE(both.find(R + "1" + C + "eth0" + C), std::string::npos);

    scene.show({{"eth1", 6024}, {"eth0", 1024}});
    EXPECT_EQ(pass(collector).substr(HEADER.size()),
              row({"1", "eth1", "1", "0.00", "0.00", "1.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00",
                   "0.00", "0.00", "0.00"}) + // bandwidth unknown: -1 raised to 0
                  row({"2", "eth0", "1", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00",
                       "0.00", "0.00", "0.00"}));
}

TEST_F(NetworkText, InterfaceThatWentKeepsItsPreviousReading) {
    scene.show({{"eth0", 0}, {"eth1", 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({{"eth0", 0}});
    EXPECT_EQ(pass(collector).find("eth1"), std::string::npos);
    scene.show({{"eth0", 0}, {"eth1", 3072}});
    EXPECT_NE(pass(collector).find("eth1" + C + "1" + C + "0.00" + C + "0.00" + C + "3.00"), std::string::npos);
}

TEST_F(NetworkText, NamesOfOneHashShareAReading) {
    const std::string one = "eth01a0d";
    const std::string other = "ensb07d0";
    ASSERT_EQ(ELFHash(one.c_str()), ELFHash(other.c_str()));
    scene.show({{one, 1024}, {other, 5120}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    EXPECT_EQ(collector.m_NetworkMap.size(), 1U);

    scene.show({{one, 2048}, {other, 6144}});
    const std::string text = pass(collector);

    // The first is compared with its own 1024, the second with the 2048 that the first left: 1 and 4 kilobytes.
    EXPECT_NE(text.find(one + C + "1" + C + "0.00" + C + "0.00" + C + "1.00"), std::string::npos);
    EXPECT_NE(text.find(other + C + "1" + C + "0.00" + C + "0.00" + C + "4.00"), std::string::npos);
    EXPECT_EQ(collector.m_nIfCnt, 2);
}

TEST_F(NetworkText, EveryCeilingHoldsAtItsLimitAndNotAbove) {
    const auto packets = [this](unsigned long long in, unsigned long long out, const char *column) {
        return value({"eth0"}, {"eth0", 0, in, 0, out}, column);
    };
    EXPECT_EQ(packets(1000000000, 0, "INPKT"), "1000000000.00");
    EXPECT_EQ(packets(1000000001, 0, "INPKT"), "-1.00");
    EXPECT_EQ(packets(0, 1000000000, "OUTPKT"), "1000000000.00");
    EXPECT_EQ(packets(0, 1000000001, "OUTPKT"), "-1.00");

    const auto bytes = [this](unsigned long long in, unsigned long long out, const char *column) {
        return value({"eth0"}, {"eth0", in, 0, out}, column);
    };
    EXPECT_EQ(bytes(1536000000, 0, "INBYTE"), "1500000.00"); // 1500000 * 1024
    EXPECT_EQ(bytes(1536000001, 0, "INBYTE"), "-1.00");
    EXPECT_EQ(bytes(0, 1536000000, "OUTBYTE"), "1500000.00");
    EXPECT_EQ(bytes(0, 1536000001, "OUTBYTE"), "-1.00");
}

TEST_F(NetworkText, UtilisationIsCeiledAtHundredPercent) {
    scene.bandwidths("TORVSC|eth0|8|2\n"); // 8000 bits: 1000 bytes per second
    const auto bytes = [this](unsigned long long in, unsigned long long out, const char *column) {
        return value({"eth0"}, {"eth0", in, 0, out}, column);
    };
    EXPECT_EQ(bytes(400, 600, "RATE"), "100.00");
    EXPECT_EQ(bytes(400, 601, "RATE"), "-1.00");
    EXPECT_EQ(bytes(1000, 0, "RXRATE"), "100.00");
    EXPECT_EQ(bytes(1001, 0, "RXRATE"), "-1.00");
    EXPECT_EQ(bytes(0, 1000, "TXRATE"), "100.00");
    EXPECT_EQ(bytes(0, 1001, "TXRATE"), "-1.00");
}

TEST_F(NetworkText, CollisionRateIsCeiledAtHundred) {
    const auto rate = [this](unsigned long long collisions) {
        return value({"eth0"}, {"eth0", 0, 0, 0, 1, 0, 0, collisions}, "COLLISIONRATE");
    };
    EXPECT_EQ(rate(100), "100.00");
    EXPECT_EQ(rate(101), "-1.00");
}

TEST_F(NetworkText, ErrorRatesAreCeiledAtHundred) {
    constexpr unsigned long long all = std::numeric_limits<unsigned long long>::max();
    // 2^64 - 1 errors and 2 packets: the divisor wraps to 1. 2^63 each: it wraps to 0.
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, 2, 0, 0, all, 0}, "INERRRATE"), "-1.00");
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, 0, 0, 2, 0, all}, "OUTERRRATE"), "-1.00");
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, all / 2 + 1, 0, 0, all / 2 + 1, 0}, "INERRRATE"), "0.00");
    // 2^64 - 1 errors and 2^64 - 1 packets: (2^64 - 1) / (2^64 - 2) = 1, times 100
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, all, 0, 0, all, 0}, "INERRRATE"), "100.00");
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, 0, 0, all, 0, all}, "OUTERRRATE"), "100.00");
}

TEST_F(NetworkText, ErrorsAndCollisionsHaveNoCeiling) {
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, 0, 0, 0, 5000000000, 0, 0}, "INERR"), "5000000000.00");
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, 0, 0, 0, 0, 5000000000, 0}, "OUTERR"), "5000000000.00");
    EXPECT_EQ(value({"eth0"}, {"eth0", 0, 0, 0, 0, 0, 0, 5000000000}, "COLLISION"), "5000000000.00");
}

TEST_F(NetworkText, ClockThatWentBackGivesZeros) {
    scene.show({{"eth0", 0, 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({{"eth0", 4096, 10, 0, 0, 5}});
    EXPECT_EQ(pass(collector, -2.0).substr(HEADER.size()),
              row({"1", "eth0", "1", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00",
                   "0.00", "0.00", "0.00"}));
}

TEST_F(NetworkText, ClockThatWentBackWithoutTrafficNeverPrintsMinusZero) {
    scene.bandwidths("TORVSC|eth0|100000|2\n");
    scene.show({{"eth0", 4096, 10, 8192, 20, 5, 6, 7}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    for (const double elapsed : {-0.0, -1.0, -1e300})
        EXPECT_EQ(pass(collector, elapsed).find("-0.00"), std::string::npos) << elapsed;
}

TEST_F(NetworkText, NoTimeBetweenTwoPassesNeverPrintsNotANumber) {
    scene.bandwidths("TORVSC|eth0|100000|2\n");
    scene.show({{"eth0", 0, 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({{"eth0", 4096, 10}});
    // what moved is infinite and above its ceiling; what did not is 0; the idle direction counts one byte
    EXPECT_EQ(pass(collector, 0.0).substr(HEADER.size()),
              row({"1", "eth0", "1", "-1.00", "0.00", "-1.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00", "0.00",
                   "-1.00", "-1.00", "-1.00"}));
    EXPECT_EQ(pass(collector, std::numeric_limits<double>::quiet_NaN()).find("nan"), std::string::npos);
}

TEST_F(NetworkText, NoTimeBetweenTwoPassesIsInfiniteWhereNoCeilingHolds) {
    scene.show({{"eth0"}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({{"eth0", 0, 0, 0, 0, 1, 2, 3}});
    EXPECT_EQ(pass(collector, 0.0).substr(HEADER.size()),
              row({"1", "eth0", "1", "0.00", "0.00", "0.00", "0.00", "inf", "inf", "0.00", "0.00", "inf", "0.00",
                   "0.00", "0.00", "0.00"}));
}

TEST_F(NetworkText, BandwidthOfTheFirstPassStays) {
    scene.bandwidths("TORVSC|eth0|8|2\n"); // 8000 bits: 1000 bytes per second
    scene.show({{"eth0", 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    collector.m_pclBandwidthList->fFreeAll();
    collector.m_pclBandwidthList->fAddLinkedList("eth0", 16, 1);
    for (const unsigned long long bytes : {500ULL, 1000ULL}) {
        scene.show({{"eth0", bytes}});
        EXPECT_NE(pass(collector).find("50.00" + C + "50.00" + C + "0.10" + C), std::string::npos) << bytes;
    }
}

TEST_F(NetworkText, FirstPassAloneTellsBandwidth) {
    scene.bandwidths("TORVSC|eth0|1000|2\n");
    scene.show({{"eth0"}, {"eth1"}});
    CMM_NWT_Info collector;
    std::vector<std::string> messages;
    {
        const LogCapture log(0, 0);
        collector.fMGetNetworkStat(1.0, -1);
        scene.show({{"eth0"}, {"eth1"}, {"eth2"}});
        pass(collector);
        messages = log.messages();
    }
    EXPECT_THAT(messages, testing::ElementsAre("ifname[eth0] Band(1000000) Duplex(2)", "ifname[eth1] bw is null"));
}

TEST_F(NetworkText, ClockedPassesChooseTheFormOfTheText) {
    FrozenClock clock;
    g_nNetworkExtGather = 1;
    scene.show({{"eth0"}});
    CMM_NWT_Info collector;
    collector.m_pclNetworkExtList->fAddLinkedList("eth9");

    EXPECT_EQ(collector.fMGetVelmorNetworkStat(1), nullptr);
    EXPECT_EQ(std::string(collector.m_pstrNetworkInfo), M + "4.6.7.0" + F + HEADER);
    clock.advance(1);
    EXPECT_NE(collector.fMGetVelmorNetworkStat(0), nullptr);
    EXPECT_NE(std::strstr(collector.m_pstrNetworkInfo, "eth9"), nullptr);
    EXPECT_NE(collector.fMGetNetworkStat(), nullptr);
    EXPECT_EQ(std::string(collector.m_pstrNetworkInfo).substr(0, HEADER.size()), HEADER);
    EXPECT_EQ(std::strstr(collector.m_pstrNetworkInfo, "eth9"), nullptr) << "no extra interfaces: its flag is -1";
}

TEST_F(NetworkText, HostileNameForgesNoRow) {
    // A kernel name may hold anything but blanks, ":" and "/".
    const std::string hostile = "a\x03\x1f|2\x03\x1f~b";
    scene.show({{hostile}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    PerfTable table;
    PerfTextError error;
    const std::string text = pass(collector);
    ASSERT_TRUE(fgReadPerfTable(text, table, error));
    ASSERT_EQ(table.rows.size(), 1U);
    EXPECT_EQ(table.value(0, "NAME"), "a  |2  ~b");
}

TEST_F(NetworkText, OneSocketServesTheLinkStateOfAWholePass) {
    std::vector<InterfaceLine> lines;
    for (int i = 0; i < 20; ++i)
        lines.push_back({"eth" + std::to_string(i)});
    scene.show(lines);
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    int sockets = 0;
    systemHooks().socket = [&sockets](int, int, int) {
        ++sockets;
        return dup(2);
    };
    linkQuestions = 0;

    pass(collector);

    EXPECT_EQ(linkQuestions, 20);
    EXPECT_EQ(sockets, 1) << "the walk's own";
}

TEST_F(NetworkText, FailedPassGivesNullAndKeepsNoDanglingText) {
    scene.show({{"eth0"}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    pass(collector);
    scene.host.remove("proc/net/dev");
    std::string key(100000, 'k');
    g_ptrAgentKey = key.data();
    EXPECT_EQ(collector.fMGetNetworkStat(1.0, 1), nullptr);
    EXPECT_EQ(std::string(collector.m_pstrNetworkInfo).substr(0, key.size()), key);
    EXPECT_EQ(collector.m_nInterfaceZELCnt, 0);
}

TEST_F(NetworkText, SwitchingToTextModeAfterConstructionNeedsNoBuffers) {
    g_nInterfaceStrType = 0;
    scene.show({{"eth0"}});
    CMM_NWT_Info collector;
    g_nInterfaceStrType = 1;
    EXPECT_EQ(collector.fMGetNetworkStat(1.0, -1), nullptr);
    EXPECT_NE(pass(collector).find("eth0"), std::string::npos);
}

TEST_F(NetworkText, FiveHundredInterfacesAreAllReported) {
    std::vector<InterfaceLine> lines;
    for (unsigned i = 0; i < 500; ++i)
        lines.push_back({"veth" + std::to_string(i), i});
    scene.show(lines);
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    const std::string text = pass(collector);
    PerfTable table;
    PerfTextError error;
    ASSERT_TRUE(fgReadPerfTable(text, table, error));
    ASSERT_EQ(table.rows.size(), 500U);
    EXPECT_EQ(table.value(499, "INDEX"), "500");
    EXPECT_EQ(table.value(499, "NAME"), "veth499");
}

} // namespace
