// The extra interfaces: the list from the inventory table, the marks of a pass, the placeholder rows.
#include "LogCapture.h"
#include "MM_NWT_Info.h"
#include "NetworkScene.h"
#include "PerfTextReader.h"
#include "Separators.h"
#include "Settings.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string inventoryRow(int index, const std::string &name) {
    return R + std::to_string(index) + C + name + C + "00:16:3e:00:00:01" + C;
}

class ExtraInterfaces : public testing::Test {
protected:
    ExtraInterfaces() {
        g_nNetworkExtGather = 1;
        systemHooks().ioctl = [](int, unsigned long, void *argument) {
            auto *request = static_cast<ifreq *>(argument);
            request->ifr_flags = std::strncmp(request->ifr_name, "down", 4) == 0 ? 0 : IFF_UP;
            return 0;
        };
    }

    std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const _ST_NETWORKEXT_LIST *node = collector.m_pclNetworkExtList->fGetHeadNode(); node != nullptr;
             node = node->m_pstNext)
            list.push_back(node->m_strIFName + std::string(node->m_nZELFlag == 1 ? " seen" : ""));
        return list;
    }

    std::vector<std::string> namesOf(const std::string &text) {
        EXPECT_EQ(collector.fSetExtNetwork(text.c_str()), 0);
        return names();
    }

    /// Index, name, link and all values of each row, joined by blanks.
    std::vector<std::string> rows(int push = 0) {
        collector.fMGetNetworkStat(1.0, push);
        PerfTable table;
        PerfTextError error;
        EXPECT_TRUE(fgReadPerfTable(collector.m_pstrNetworkInfo, table, error));
        std::vector<std::string> list;
        for (const auto &fields : table.rows) {
            std::string text;
            for (const auto field : fields)
                text += (text.empty() ? "" : " ") + std::string(field);
            list.push_back(text);
        }
        return list;
    }

    NetworkScene scene{1};
    CMM_NWT_Info collector;
};

TEST_F(ExtraInterfaces, SecondFieldOfEveryRowIsAName) {
    EXPECT_THAT(namesOf("INDEX" + C + "NAME" + C + "MAC" + C + inventoryRow(1, "eth0") + inventoryRow(2, "eth9")),
                ElementsAre("eth0", "eth9"));
}

TEST_F(ExtraInterfaces, TextWithoutRowsEmptiesTheList) {
    namesOf(inventoryRow(1, "eth0"));
    EXPECT_THAT(namesOf("INDEX" + C + "NAME" + C), IsEmpty());
    namesOf(inventoryRow(1, "eth0"));
    EXPECT_THAT(namesOf(""), IsEmpty());
    EXPECT_EQ(collector.fSetExtNetwork(nullptr), 0);
}

TEST_F(ExtraInterfaces, RebuildingClearsTheMarks) {
    namesOf(inventoryRow(1, "eth0"));
    EXPECT_EQ(collector.fMatchNicName("eth0"), 0);
    EXPECT_EQ(collector.fMatchNicName("eth1"), 0);
    EXPECT_THAT(names(), ElementsAre("eth0 seen"));
    EXPECT_THAT(namesOf(inventoryRow(1, "eth0")), ElementsAre("eth0"));
}

TEST_F(ExtraInterfaces, OddRowsGiveNoNames) {
    std::vector<std::string> found;
    std::string out;
    {
        const StreamCapture streams;
        found = namesOf("x" + R + R + "1" + R + "2" + C + R + "3" + C + C + R + "4" + C + "eth4" + R +
                        inventoryRow(5, "eth4") + R + "|" + C + "a|~b" + C);
        std::fflush(stdout);
        out = streams.out();
    }
    EXPECT_THAT(found, ElementsAre("eth4", "a|~b"));
    EXPECT_EQ(out, "") << "an empty name is no name";
}

TEST_F(ExtraInterfaces, LongNamesAreCutAndTheListIsBounded) {
    std::string text = inventoryRow(1, std::string(100, 'x'));
    for (int i = 0; i < 30000; ++i)
        text += inventoryRow(i, "e" + std::to_string(i));
    const std::vector<std::string> found = namesOf(text);
    EXPECT_EQ(found.front(), std::string(31, 'x'));
    EXPECT_EQ(found.size(), 10000U);
}

TEST_F(ExtraInterfaces, NamesAreToldWithoutAGate) {
    std::vector<std::string> messages;
    {
        const LogCapture log(0, 0);
        collector.fSetExtNetwork((inventoryRow(1, "eth0") + inventoryRow(2, "eth9")).c_str());
        messages = log.messages();
    }
    EXPECT_THAT(messages, ElementsAre("fSetExtNetwork[eth0]", "fSetExtNetwork[eth9]"));
}

TEST_F(ExtraInterfaces, UnseenOnesGetPlaceholderRows) {
    scene.show({{"eth0"}});
    namesOf(inventoryRow(1, "eth0") + inventoryRow(2, "eth9") + inventoryRow(3, "down0"));
    collector.fMGetNetworkStat(1.0, 0);
    EXPECT_THAT(rows(), ElementsAre("1 eth0 1 0.00 0.00 0.00 0.00 0.00 0.00 0.00 0.00 0.00 0.00 0.00 0.00 0.00",
                                    "2 eth9 1 - - - - - - - - - - - - -", "3 down0 0 - - - - - - - - - - - - -"));
    EXPECT_EQ(collector.m_nIfCnt, 1);
    EXPECT_EQ(collector.m_nInterfaceZELCnt, 3);
    EXPECT_EQ(
        std::string(collector.m_pstrNetworkInfo).substr(std::string(collector.m_pstrNetworkInfo).find(R + "3" + C)),
        R + "3" + C + "down0" + C + "0" + C + "-" + C + "-" + C + "-" + C + "-" + C + "-" + C + "-" + C + "-" + C +
            "-" + C + "-" + C + "-" + C + "-" + C + "-" + C + "-" + C);
}

// The walk's own socket is closed by then: a closed one would make every link look up.
TEST_F(ExtraInterfaces, LinksOfPlaceholderRowsAreAskedOfAnOpenSocket) {
    systemHooks().ioctl = [](int descriptor, unsigned long, void *argument) {
        if (fcntl(descriptor, F_GETFD) < 0)
            return -1;
        static_cast<ifreq *>(argument)->ifr_flags = 0;
        return 0;
    };
    scene.show({});
    namesOf(inventoryRow(1, "down0"));
    collector.fMGetNetworkStat(1.0, 0);
    EXPECT_THAT(rows(), ElementsAre("1 down0 0 - - - - - - - - - - - - -"));
}

TEST_F(ExtraInterfaces, FirstPassMarksNothingAndReturnsNoRows) {
    scene.show({{"eth0"}});
    namesOf(inventoryRow(1, "eth0"));
    EXPECT_EQ(collector.fMGetNetworkStat(1.0, 0), nullptr);
    EXPECT_THAT(names(), ElementsAre("eth0"));
    EXPECT_EQ(collector.m_nInterfaceZELCnt, 0);
}

TEST_F(ExtraInterfaces, OnlyPassesWithPushZeroAndTheSettingAddRows) {
    scene.show({});
    namesOf(inventoryRow(1, "eth9"));
    collector.fMGetNetworkStat(1.0, 0);
    EXPECT_THAT(rows(-1), IsEmpty());
    EXPECT_THAT(rows(0), testing::SizeIs(1));
    g_nNetworkExtGather = 0;
    EXPECT_THAT(rows(0), IsEmpty());
    g_nNetworkExtGather = 2;
    EXPECT_THAT(rows(0), IsEmpty());
    g_nNetworkExtGather = 1;
    collector.fMGetNetworkStat(1.0, 1);
    EXPECT_EQ(std::string(collector.m_pstrNetworkInfo).find("eth9"), std::string::npos);
}

TEST_F(ExtraInterfaces, InterfaceSeenOnceGetsNoPlaceholderUntilTheListIsRebuilt) {
    scene.show({{"eth0"}});
    namesOf(inventoryRow(1, "eth0"));
    collector.fMGetNetworkStat(1.0, -1);
    collector.fMGetNetworkStat(1.0, -1);
    scene.show({});
    EXPECT_THAT(rows(), IsEmpty());
    namesOf(inventoryRow(1, "eth0"));
    EXPECT_THAT(rows(), ElementsAre("1 eth0 1 - - - - - - - - - - - - -"));
}

TEST_F(ExtraInterfaces, WithoutTheSettingNothingIsMarked) {
    g_nNetworkExtGather = 0;
    scene.show({{"eth0"}});
    namesOf(inventoryRow(1, "eth0"));
    collector.fMGetNetworkStat(1.0, 0);
    collector.fMGetNetworkStat(1.0, 0);
    EXPECT_THAT(names(), ElementsAre("eth0"));
}

TEST_F(ExtraInterfaces, RowsCanBeAppendedOutsideAPass) {
    scene.show({});
    collector.fMGetNetworkStat(1.0, 0);
    std::string text;
    for (int i = 0; i < 200; ++i)
        text += inventoryRow(i, "eth" + std::to_string(i));
    namesOf(text);
    int sockets = 0;
    systemHooks().socket = [&sockets](int, int, int) {
        ++sockets;
        return dup(2);
    };
    EXPECT_EQ(collector.fAddExtNicZEL(), 0);
    EXPECT_EQ(sockets, 1);
    EXPECT_EQ(collector.m_pstrNetworkInfo, collector.g_stringNetwork.c_str());
    EXPECT_NE(std::strstr(collector.m_pstrNetworkInfo, "eth199"), nullptr);
}

TEST_F(ExtraInterfaces, HostileNameForgesNoRow) {
    scene.show({});
    // Single separator bytes pass the split on whole separators.
    namesOf(inventoryRow(1, "a\x03" + std::string("\x1f") + "b\x03\x03~"));
    collector.fMGetNetworkStat(1.0, 0);
    EXPECT_THAT(rows(), ElementsAre("1 a  b  ~ 1 - - - - - - - - - - - - -"));
}

} // namespace
