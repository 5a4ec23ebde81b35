// The passes of the interface collector in list mode, its clocks, its messages and its lists.
#include "FrozenClock.h"
#include "LogCapture.h"
#include "MM_NWT_Info.h"
#include "NetworkScene.h"
#include "Settings.h"
#include "SystemHooks.h"
#include "network.h"
#include "push_network.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>

namespace {

using testing::ElementsAre;

std::vector<std::string> resultNames(CMM_NWT_Info &collector) {
    std::vector<std::string> names;
    while (const _ST_NETWORK *result = collector.fMGetNetworkStatNext())
        names.emplace_back(result->l_strIfName);
    return names;
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

TEST(NetworkList, FirstPassGivesZerosAndTheSecondRates) {
    NetworkScene scene(0);
    scene.bandwidths("TORVSC|eth0|100000|2\n"); // 100000000 bits: 12500000 bytes per second
    scene.show({{"eth0", 1000, 10, 2000, 20, 1, 2, 3}});
    CMM_NWT_Info collector;

    CSSList *list = collector.fMGetNetworkStat(5.0, -1);
    ASSERT_EQ(list, collector.m_pclList);
    ASSERT_NE(list, nullptr);
    const _ST_NETWORK *first = collector.fMGetNetworkStatNext();
    ASSERT_NE(first, nullptr);
    EXPECT_STREQ(first->l_strIfName, "eth0");
    EXPECT_STREQ(first->l_strLinkAlive, "LINKUP");
    for (const double value : {first->l_dInPkt, first->l_dOutPkt, first->l_dInByte, first->l_dOutByte, first->l_dInErr,
                               first->l_dOutErr, first->l_dInErrRate, first->l_dOutErrRate, first->l_dCollisions,
                               first->l_dCollisionRate, first->l_dPortRate, first->l_dPortRxRate, first->l_dPortTxRate})
        EXPECT_EQ(value, 0.0);

    scene.show({{"eth0", 6251000, 60, 12502000, 120, 6, 12, 63}});
    ASSERT_NE(collector.fMGetNetworkStat(5.0, -1), nullptr);
    const _ST_NETWORK *second = collector.fMGetNetworkStatNext();
    ASSERT_NE(second, nullptr);
    EXPECT_DOUBLE_EQ(second->l_dInPkt, 10.0);       // 50 / 5
    EXPECT_DOUBLE_EQ(second->l_dOutPkt, 20.0);      // 100 / 5
    EXPECT_DOUBLE_EQ(second->l_dInByte, 1250000.0); // 6250000 / 5
    EXPECT_DOUBLE_EQ(second->l_dOutByte, 2500000.0);
    EXPECT_DOUBLE_EQ(second->l_dInErr, 1.0);
    EXPECT_DOUBLE_EQ(second->l_dOutErr, 2.0);
    EXPECT_DOUBLE_EQ(second->l_dCollisions, 12.0);
    EXPECT_DOUBLE_EQ(second->l_dPortRate, 30.0); // (1250000 + 2500000) / 12500000
    EXPECT_DOUBLE_EQ(second->l_dPortRxRate, 10.0);
    EXPECT_DOUBLE_EQ(second->l_dPortTxRate, 20.0);
    EXPECT_EQ(collector.fMGetNetworkStatNext(), nullptr);
    EXPECT_EQ(collector.fMGetNetworkStatNext(), nullptr) << "the end stays the end";
}

TEST(NetworkList, LoopbackAloneIsLeftOut) {
    NetworkScene scene(0);
    scene.show({{"lo"}, {"lo0"}, {"lo:1"}, {""}, {"eth0"}});
    CMM_NWT_Info collector;

    collector.fMGetNetworkStat(1.0, -1);

    EXPECT_THAT(resultNames(collector), ElementsAre("lo0", "lo:1", "eth0"));
    EXPECT_EQ(collector.m_nIfCnt, 3);
}

TEST(NetworkList, EveryPassStartsWithAnEmptyListInModeZeroOnly) {
    for (const int mode : {0, 2}) {
        NetworkScene scene(mode);
        scene.show({{"eth0"}, {"eth1"}});
        CMM_NWT_Info collector;
        collector.fMGetNetworkStat(1.0, -1);
        collector.fMGetNetworkStat(1.0, -1);
        EXPECT_EQ(resultNames(collector).size(), mode == 0 ? 2U : 4U);
        EXPECT_EQ(collector.m_nIfCnt, 2);
    }
}

TEST(NetworkList, InterfacesComeAndGo) {
    NetworkScene scene(0);
    scene.bandwidths("TORVSC|eth0|100000|2\nTORVSC|eth1|100000|2\n");
    scene.show({{"eth0", 100}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);

    scene.show({{"eth1", 500}, {"eth0", 300}});
    collector.fMGetNetworkStat(1.0, -1);
    const _ST_NETWORK *fresh = collector.fMGetNetworkStatNext();
    EXPECT_STREQ(fresh->l_strIfName, "eth1");
    EXPECT_EQ(fresh->l_dInByte, 0.0);
    EXPECT_EQ(fresh->l_dPortRate, 0.0);
    EXPECT_EQ(collector.fMGetNetworkStatNext()->l_dInByte, 200.0);

    scene.show({{"eth1", 700}});
    collector.fMGetNetworkStat(1.0, -1);
    const _ST_NETWORK *known = collector.fMGetNetworkStatNext();
    EXPECT_EQ(known->l_dInByte, 200.0);
    EXPECT_EQ(known->l_dPortRate, -1.0) << "bandwidth is attached on the first pass only";
    EXPECT_EQ(collector.fMGetNetworkStatNext(), nullptr);

    scene.show({{"eth0", 1300}, {"eth1", 700}});
    collector.fMGetNetworkStat(1.0, -1);
    EXPECT_EQ(collector.fMGetNetworkStatNext()->l_dInByte, 1000.0) << "a previous reading is never removed";
}

TEST(NetworkList, BandwidthOfTheFirstPassStays) {
    NetworkScene scene(0);
    scene.bandwidths("TORVSC|eth0|8|2\n"); // 8000 bits: 1000 bytes per second
    scene.show({{"eth0", 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);
    collector.m_pclBandwidthList->fFreeAll();
    collector.m_pclBandwidthList->fAddLinkedList("eth0", 16, 1);
    for (const unsigned long long bytes : {500ULL, 1000ULL}) {
        scene.show({{"eth0", bytes}});
        collector.fMGetNetworkStat(1.0, -1);
        EXPECT_DOUBLE_EQ(collector.fMGetNetworkStatNext()->l_dPortRxRate, 50.0) << bytes;
    }
}

TEST(NetworkList, ManyInterfacesInAnyOrderFindTheirOwnPreviousReading) {
    NetworkScene scene(0);
    std::vector<InterfaceLine> lines;
    for (unsigned i = 0; i < 60; ++i)
        lines.push_back({"eth" + std::to_string(i), 1000 * i});
    scene.show(lines);
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat(1.0, -1);

    for (int round = 0; round < 3; ++round) {
        if (round == 1)
            std::reverse(lines.begin(), lines.end());
        if (round == 2)
            std::swap(lines[3], lines[40]);
        for (std::size_t i = 0; i < lines.size(); ++i)
            lines[i].inBytes += i + 1;
        scene.show(lines);
        collector.fMGetNetworkStat(1.0, -1);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const _ST_NETWORK *result = collector.fMGetNetworkStatNext();
            ASSERT_NE(result, nullptr);
            EXPECT_EQ(result->l_strIfName, lines[i].name);
            EXPECT_EQ(result->l_dInByte, static_cast<double>(i + 1)) << round << " " << lines[i].name;
        }
    }
}

TEST(NetworkList, MissingTableFailsAndChangesNothing) {
    NetworkScene scene(0);
    scene.show({{"eth0", 100}});
    CMM_NWT_Info collector;
    ASSERT_NE(collector.fMGetNetworkStat(1.0, -1), nullptr);
    scene.host.remove("proc/net/dev");
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        EXPECT_EQ(collector.fMGetNetworkStat(1.0, -1), nullptr);
        messages = log.messages();
    }
    EXPECT_THAT(messages, ElementsAre("init_netinfo failed"));
    EXPECT_EQ(collector.m_nIfCnt, 1);
    EXPECT_THAT(resultNames(collector), ElementsAre("eth0"));
    {
        const LogCapture closedGate(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        EXPECT_EQ(collector.fMGetNetworkStat(1.0, 1), nullptr);
        messages = closedGate.messages();
    }
    EXPECT_TRUE(messages.empty());
}

TEST(NetworkList, FailureBeforeTheFirstPassKeepsItTheFirst) {
    NetworkScene scene(0);
    CMM_NWT_Info collector;
    EXPECT_EQ(collector.fMGetNetworkStat(1.0, -1), nullptr);
    EXPECT_EQ(collector.fMGetNetworkStatNext(), nullptr);
    EXPECT_EQ(collector.m_nFirstFlag, 0);
}

TEST(NetworkList, FailedInsertionEndsThePassAndLeavesTheTableOpen) {
    NetworkScene scene(0);
    scene.show({{"eth0", 100}});
    CMM_NWT_Info collector;
    ASSERT_NE(collector.fMGetNetworkStat(1.0, -1), nullptr);
    scene.show({{"eth1", 100}});
    ASSERT_NE(collector.fMGetNetworkStat(1.0, -1), nullptr);
    scene.show({{"eth0", 100}, {"eth1", 100}});
    const std::size_t before = openDescriptors();

    systemHooks().failAllocationAfter = 1; // record of the walk; eth0 takes a node that is there, eth1 needs one more
    EXPECT_EQ(collector.fMGetNetworkStat(1.0, -1), nullptr);
    systemHooks().failAllocationAfter = -1;

    EXPECT_EQ(openDescriptors(), before + 2) << "table and socket of the walk";
    EXPECT_THAT(resultNames(collector), ElementsAre("eth0"));
    ASSERT_NE(collector.fMGetNetworkStat(1.0, -1), nullptr);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(NetworkList, PushFlagChoosesTheWalk) {
    NetworkScene scene(0);
    scene.show({{"eth0"}});
    CMM_NWT_Info collector;
    fin_netinfo();
    fin_push_netinfo();
    procnetdev_vsn = push_procnetdev_vsn = 0;
    collector.fMGetNetworkStat(1.0, 0);
    EXPECT_EQ(procnetdev_vsn, 3);
    EXPECT_EQ(push_procnetdev_vsn, 0);
    procnetdev_vsn = 0;
    collector.fMGetNetworkStat(1.0, 1);
    EXPECT_EQ(procnetdev_vsn, 0);
    EXPECT_EQ(push_procnetdev_vsn, 3);
}

// --- Clocks --------------------------------------------------------------------------------------------------------

TEST(NetworkClocks, PassWithoutArgumentsMeasuresSinceItsOwnLastCall) {
    NetworkScene scene(0);
    FrozenClock clock(1000, 900000);
    scene.show({{"eth0", 0}});
    CMM_NWT_Info collector;
    collector.fMGetNetworkStat();
    clock.advance(1, 600000);
    collector.fSetElapsedTime(); // another clock
    clock.advance(1, 0);         // 2.6 seconds: 3 s and -400000 us
    scene.show({{"eth0", 2600}});
    collector.fMGetNetworkStat();
    EXPECT_DOUBLE_EQ(collector.fMGetNetworkStatNext()->l_dInByte, 1000.0);
}

TEST(NetworkClocks, OtherPassMeasuresSinceTheLastSetting) {
    NetworkScene scene(0);
    FrozenClock clock(1000, 0);
    scene.show({{"eth0", 0}});
    CMM_NWT_Info collector; // sets the origin
    clock.advance(4);
    collector.fMGetVelmorNetworkStat(-1);
    EXPECT_DOUBLE_EQ(collector.m_dElapsedTime, 4.0);
    clock.advance(1);
    EXPECT_EQ(collector.fSetElapsedTime(), 1);
    clock.advance(2, 500000);
    scene.show({{"eth0", 5000}});
    collector.fMGetVelmorNetworkStat(1);
    EXPECT_DOUBLE_EQ(collector.m_dElapsedTime, 2.5);
    EXPECT_DOUBLE_EQ(collector.fMGetNetworkStatNext()->l_dInByte, 2000.0);
}

TEST(NetworkClocks, MicrosecondsPassThroughSinglePrecision) {
    NetworkScene scene(0);
    FrozenClock clock(1000, 0);
    CMM_NWT_Info collector;
    clock.advance(1, 123457);
    collector.fSetElapsedTime();
    EXPECT_EQ(collector.m_dElapsedTime, 1.0 + static_cast<double>(123457.0F) * 0.000001);
}

// --- Messages ------------------------------------------------------------------------------------------------------

TEST(NetworkMessages, FirstPassTellsBandwidthWithoutAGate) {
    NetworkScene scene(0);
    scene.bandwidths("TORVSC|eth0|1000000|2\n");
    scene.show({{"eth0"}, {"eth1"}});
    std::vector<std::string> first;
    std::vector<std::string> second;
    std::vector<std::string> lines;
    {
        const LogCapture log(0, 0);
        CMM_NWT_Info collector;
        const std::size_t before = log.messages().size();
        collector.fMGetNetworkStat(1.0, -1);
        first = log.messages();
        first.erase(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(before));
        collector.fMGetNetworkStat(1.0, -1);
        second = log.messages();
        lines = log.lines();
    }
    EXPECT_THAT(first, ElementsAre("ifname[eth0] Band(1000000000) Duplex(2)", "ifname[eth1] bw is null"));
    EXPECT_THAT(lines.back(), testing::StartsWith("[INFO][MM_NWT_Info]["));
    EXPECT_EQ(second.back(), "ifname[eth1] bw is null") << "the second pass tells nothing";
}

TEST(NetworkMessages, CountersAreToldWithTheGateOpen) {
    NetworkScene scene(0);
    CMM_NWT_Info collector;
    _ST_STATIC_NETWORK before{"eth0", "LINKUP", 1, 2, 3, 4, 0, 0, 0, 0, 0};
    _ST_STATIC_NETWORK now{"eth0", "LINKUP", 11, 12, 13, 14, 0, 0, 0, 0, 0};
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        collector.fMComputeNetwork(&before, 1.0);
        collector.fMSetOldCompNetwork(&before);
        collector.fMComputeNetwork(&now, 1.0);
        messages = log.messages();
    }
    EXPECT_THAT(messages, ElementsAre("fMComputeNetwork end", "OLD_InPkt[1]---> New_InPkt[11]",
                                      "OLD_OutPkt[2]---> New_OutPkt[12]", "OLD_InBytes[3]---> New_InBytes[13]",
                                      "OLD_OutBytes[4]---> New_OutBytes[14]", "fMComputeNetwork end"));
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        collector.fMComputeNetwork(&now, 1.0);
        messages = log.messages();
    }
    EXPECT_TRUE(messages.empty());
}

TEST(NetworkMessages, ComputationOfTextModeTellsTheSameCountersWithoutAnEnd) {
    NetworkScene scene(0);
    CMM_NWT_Info collector;
    const _ST_NETWORK_OLD_LIST before{{"eth0", "LINKUP", 1, 2, 3, 4, 0, 0, 0, 0, 0}};
    const _ST_STATIC_NETWORK now{"eth0", "LINKUP", 11, 12, 13, 14, 0, 0, 0, 0, 0};
    std::vector<std::string> messages;
    {
        const LogCapture log;
        EXPECT_EQ(collector.fMNetComputeIo(&now, &before, 10.0), collector.m_pstNetworkInfo);
        messages = log.messages();
    }
    EXPECT_EQ(messages.size(), 4U);
    EXPECT_EQ(messages.back(), "OLD_OutBytes[4]---> New_OutBytes[14]");
    EXPECT_DOUBLE_EQ(collector.m_pstNetworkInfo->l_dInPkt, 1.0);
    EXPECT_STREQ(collector.m_pstNetworkInfo->l_strIfName, "eth0");
}

// --- Previous readings, comparison, link ---------------------------------------------------------------------------

TEST(NetworkReadings, StoredReadingKeepsItsBandwidth) {
    NetworkScene scene(0);
    CMM_NWT_Info collector;
    const _ST_STATIC_NETWORK first{"eth0", "LINKUP", 1, 2, 3, 4, 5, 6, 7, 8, 2};
    const _ST_STATIC_NETWORK second{"eth0", "other", 11, 12, 13, 14, 15, 16, 17, 18, 1};
    const _ST_STATIC_NETWORK other{"eth1", "LINKUP", 0, 0, 0, 0, 0, 0, 0, 0, 0};

    EXPECT_EQ(collector.fMGetOldCompNetwork(&first), nullptr);
    EXPECT_EQ(collector.fMSetOldCompNetwork(&first), 1);
    EXPECT_EQ(collector.fMSetOldCompNetwork(&second), 1);

    const _ST_STATIC_NETWORK *stored = collector.fMGetOldCompNetwork(&first);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->l_ulInPkt, 11U);
    EXPECT_EQ(stored->l_ulCollisions, 17U);
    EXPECT_EQ(stored->l_ulBandWidth, 8U);
    EXPECT_EQ(stored->l_nDuplexFlag, 2U);
    EXPECT_STREQ(stored->l_strLinkAlive, "LINKUP");
    EXPECT_EQ(collector.fMGetOldCompNetwork(&other), nullptr);
    EXPECT_EQ(collector.m_pclList_Old->fSlNList(), 1);
}

TEST(NetworkReadings, NamesAreComparedExactly) {
    EXPECT_EQ(CMM_NWT_Info::fCMPInterfaceName("eth0", "eth0"), 1);
    EXPECT_EQ(CMM_NWT_Info::fCMPInterfaceName("eth0", "eth1"), 0);
    EXPECT_EQ(CMM_NWT_Info::fCMPInterfaceName("eth0", "eth"), 0);
}

class InterfaceLink : public testing::Test {
protected:
    NetworkScene scene{0};
    CMM_NWT_Info collector;
};

TEST_F(InterfaceLink, UpAndDownComeFromTheFlags) {
    std::string asked;
    short flags = IFF_UP | IFF_BROADCAST;
    systemHooks().ioctl = [&](int, unsigned long request, void *argument) {
        EXPECT_EQ(request, static_cast<unsigned long>(SIOCGIFFLAGS));
        asked = static_cast<ifreq *>(argument)->ifr_name;
        static_cast<ifreq *>(argument)->ifr_flags = flags;
        return 0;
    };
    const std::size_t before = openDescriptors();
    EXPECT_EQ(collector.fGetLinkAlive("eth0"), 1);
    flags = IFF_BROADCAST;
    EXPECT_EQ(collector.fGetLinkAlive("abcdefghijklmno"), 0);
    EXPECT_EQ(asked, "abcdefghijklmno");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(InterfaceLink, FailuresCountAsUp) {
    systemHooks().ioctl = [](int, unsigned long, void *) { return -1; };
    EXPECT_EQ(collector.fGetLinkAlive("eth0"), 1);
    systemHooks().ioctl = [](int, unsigned long, void *argument) {
        static_cast<ifreq *>(argument)->ifr_flags = 0;
        return 0;
    };
    EXPECT_EQ(collector.fGetLinkAlive("abcdefghijklmnop"), 1) << "no kernel name: cut, it could be another interface";
    systemHooks().socket = [](int, int, int) { return -1; };
    EXPECT_EQ(collector.fGetLinkAlive("eth0"), 1);
}

// --- Construction --------------------------------------------------------------------------------------------------

TEST(NetworkCollector, StartsWithEverythingInPlace) {
    NetworkScene scene(0);
    CMM_NWT_Info collector;
    EXPECT_NE(collector.m_pclList, nullptr);
    EXPECT_NE(collector.m_pclList_Old, nullptr);
    EXPECT_NE(collector.m_pclUtil, nullptr);
    EXPECT_NE(collector.m_pclNetworkExtList, nullptr);
    EXPECT_EQ(collector.m_nFirstFlag, 0);
    EXPECT_EQ(collector.m_nIfCnt, 0);
    EXPECT_EQ(collector.m_nInsertFirst, 0);
    EXPECT_EQ(collector.m_nZELSkipChk, 0);
    EXPECT_EQ(collector.m_nInterfaceINVCnt, 0);
    EXPECT_STREQ(collector.m_strSplit[0], "\x03\x1f|");
    EXPECT_STREQ(collector.m_strSplit[1], "\x03\x1f~");
    EXPECT_STREQ(collector.m_strPushSplit[0], "\x03\x1f]");
    EXPECT_STREQ(collector.m_strPushSplit[1], "\x03\x1f^");
    EXPECT_EQ(collector.m_pStrInterfaceZEL, nullptr) << "list mode has no text buffers";
    EXPECT_STREQ(collector.m_strDataPath, "");
}

TEST(NetworkCollector, TextModeMakesBuffersAndPaths) {
    NetworkScene scene(1);
    CMM_NWT_Info collector;
    EXPECT_EQ(collector.m_nInterfaceZELSize, 10240);
    EXPECT_EQ(collector.m_nInterfaceINVSize, 10240);
    EXPECT_EQ(collector.m_nInterfaceINVNewSize, 10240);
    EXPECT_EQ(collector.m_nInterfaceNameSize, 10240);
    EXPECT_EQ(collector.m_nInterfaceRealZELSize, 10240);
    EXPECT_STREQ(collector.m_pStrRealTimeNICZEL, "");
    EXPECT_STREQ(collector.m_pstrInterfaceName, "1");
    EXPECT_STREQ(collector.m_strDataPath, "../aproc/shell/InterfaceINVStrInfo.dat");
    EXPECT_STREQ(collector.m_strDataNewPath, "../aproc/shell/InterfaceINVNewStrInfo.dat");
}

} // namespace
