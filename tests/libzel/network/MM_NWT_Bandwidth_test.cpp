// Bandwidth discovery of the interface collector: the scripts' files, bonds, refused names.
#include "LogCapture.h"
#include "MM_NWT_Info.h"
#include "NetworkScene.h"
#include "Settings.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *DUPLEX_COMMAND = "../../utils/ETC/ShCmd 30 ./shell/LINUX/ifname_bandwidth_duplex.sh > "
                                       "../aproc/shell/IFName_bandwidth.dat 2> /dev/null";
constexpr const char *NAMES_COMMAND =
    "../../utils/ETC/ShCmd 10 ./shell/LINUX/IFName.sh > ../aproc/shell/IFName.dat 2> /dev/null";
constexpr const char *PLAIN_COMMAND = "../../utils/ETC/ShCmd 10 ./shell/LINUX/ifname_bandwidth.sh > "
                                      "../aproc/shell/IFName_bandwidth.dat 2> /dev/null";

std::string measureCommand(const std::string &measured, const std::string &listed) {
    return "../../utils/ETC/ShCmd 5 ./shell/LINUX/BandWidth.sh " + measured + " ../aproc/shell/BandWidth_" + listed +
           ".dat 2> /dev/null";
}

class NetworkBandwidth : public testing::Test {
protected:
    /// "name bandwidth duplex" of every entry.
    static std::vector<std::string> entries(const CMM_NWT_Info &collector) {
        std::vector<std::string> list;
        for (const _ST_BANDWIDTH_LIST *node = collector.m_pclBandwidthList->fGetHeadNode(); node != nullptr;
             node = node->m_pstNext)
            list.push_back(std::string(node->m_strIFName) + " " + std::to_string(node->m_lBandwidth) + " " +
                           std::to_string(node->m_nDuplex));
        return list;
    }

    void names(const std::string &lines) const { scene.home.write("agent/aproc/shell/IFName.dat", lines); }
    void measured(const std::string &name, const std::string &text) const {
        scene.home.write("agent/aproc/shell/BandWidth_" + name + ".dat", text);
    }

    struct PrintedFill {
        std::unique_ptr<CMM_NWT_Info> collector;
        std::string out;
        std::string err;
    };

    /// What `fill`, which gives a collector, printed on the way.
    template<typename Fill> static PrintedFill printedBy(Fill fill) {
        const StreamCapture streams;
        auto collector = fill();
        std::fflush(stdout);
        return {std::move(collector), streams.out(), streams.err()};
    }

    NetworkScene scene{0};
};

// --- One script for bandwidth and duplex ---------------------------------------------------------------------------

TEST_F(NetworkBandwidth, ConstructorAsksOneScriptForBandwidthAndDuplex) {
    scene.bandwidths("TORVSC|eth0|1000000|2\nTORVSC|eth1|100000|1\n");
    const CMM_NWT_Info collector;
    EXPECT_THAT(scene.commands, ElementsAre(DUPLEX_COMMAND));
    EXPECT_THAT(entries(collector), ElementsAre("eth0 1000000 2", "eth1 100000 1"));
    EXPECT_TRUE(scene.home.exists("agent/aproc/shell/IFName_bandwidth.dat")) << "the file is left in place";
}

TEST_F(NetworkBandwidth, OnlyMarkedLinesOfFourFieldsCount) {
    scene.bandwidths("TORVSC|eth0|1000000\n"
                     "TORVSC|eth1|1000000|2|x\n"
                     "TORVSC|eth2|1000000|2|\n"
                     "TORVSCX|eth3|1|2\n"
                     "torvsc|eth4|1|2\n"
                     " TORVSC|eth5|1|2\n"
                     "TORVSC\n"
                     "\n"
                     "TORVSC||1|2\n"
                     "|TORVSC|eth6|1|2\n"
                     "TORVSC|eth7|5|2");
    const CMM_NWT_Info collector;
    EXPECT_THAT(entries(collector), ElementsAre("eth7 5 2"));
}

TEST_F(NetworkBandwidth, MarkedLineWithoutANameIsRefusedByTheListAloud) {
    scene.bandwidths("TORVSC||1|2\nTORVSC||1\nTORVSCX||1|2\nTORVSC|eth0|1|2\n");
    const PrintedFill fill = printedBy([] { return std::make_unique<CMM_NWT_Info>(); });
    EXPECT_THAT(entries(*fill.collector), ElementsAre("eth0 1 2"));
    EXPECT_EQ(fill.out, "l_pstrIFName is null or length <= 0 \n") << "the other lines are none of four fields";
    EXPECT_EQ(fill.err, "");
}

TEST_F(NetworkBandwidth, FirstEntryOfANameStays) {
    scene.bandwidths("TORVSC|eth0|1|1\nTORVSC|eth0|2|2\n");
    const CMM_NWT_Info collector;
    EXPECT_THAT(entries(collector), ElementsAre("eth0 1 1"));
}

TEST_F(NetworkBandwidth, NumbersAreDecimalAndKept) {
    scene.bandwidths("TORVSC|eth0|x|y\nTORVSC|eth1|010|-3\nTORVSC|eth2| 7x|+9\nTORVSC|eth3|9000000000000|0\n");
    const CMM_NWT_Info collector;
    EXPECT_THAT(entries(collector), ElementsAre("eth0 0 0", "eth1 10 -3", "eth2 7 9", "eth3 9000000000000 0"));
}

TEST_F(NetworkBandwidth, LineThatDoesNotFitGivesNoEntryAndForgesNone) {
    const std::string tooLong = "TORVSC|eth0|1|2" + std::string(240, ' ') + "TORVSC|forged|1|2\n";
    scene.bandwidths(tooLong + "TORVSC|" + std::string(240, 'n') + "|1|2\n" + "TORVSC|eth1|1|2\n");
    const CMM_NWT_Info collector;
    EXPECT_THAT(entries(collector), ElementsAre(std::string(31, 'n') + " 1 2", "eth1 1 2"));
}

TEST_F(NetworkBandwidth, OutputGoneWildEnds) {
    std::string lines;
    for (int i = 0; i < 30000; ++i)
        lines += "TORVSC|e" + std::to_string(i) + "|1|2\n";
    scene.bandwidths(lines);
    const CMM_NWT_Info collector;
    EXPECT_EQ(collector.m_pclBandwidthList->fGetNodeCnt(), 10000);
}

TEST_F(NetworkBandwidth, BinaryOutputIsPassedOver) {
    std::string binary = "TORVSC|eth0|1|2\n";
    for (int i = 0; i < 2000; ++i)
        binary += static_cast<char>(i * 7);
    binary += "\nTORVSC|eth1|1|2\n";
    scene.bandwidths(binary);
    const CMM_NWT_Info collector;
    EXPECT_EQ(entries(collector).front(), "eth0 1 2");
    EXPECT_EQ(entries(collector).back(), "eth1 1 2");
}

TEST_F(NetworkBandwidth, MessagesOfTheOneScriptNeedNoGate) {
    scene.bandwidths("TORVSC|eth0|1000000|2\n");
    std::vector<std::string> found;
    std::vector<std::string> missing;
    {
        const LogCapture log(0, 0);
        const CMM_NWT_Info collector;
        found = log.messages();
    }
    scene.home.remove("agent/aproc/shell/IFName_bandwidth.dat");
    {
        const LogCapture log(0, 0);
        CMM_NWT_Info collector;
        EXPECT_EQ(collector.fGetNewBandwidthDuplex(), 1);
        missing = log.messages();
    }
    EXPECT_THAT(found, ElementsAre("Bandwidth Duplex START", "Bandwidth Duplex-add-set[eth0][1000000][2]",
                                   "Bandwidth Duplex END"));
    EXPECT_THAT(missing, ElementsAre("Bandwidth Duplex START",
                                     "Bandwidth GTR failed(../aproc/shell/IFName_bandwidth.dat not found)",
                                     "Bandwidth Duplex START",
                                     "Bandwidth GTR failed(../aproc/shell/IFName_bandwidth.dat not found)"));
}

TEST_F(NetworkBandwidth, WithoutMemoryTheFillGoesOn) {
    CMM_NWT_Info collector;
    scene.bandwidths("TORVSC|eth0|1|2\nTORVSC|eth1|1|2\n");
    systemHooks().failAllocationAfter = 0;
    collector.fGetNewBandwidthDuplex();
    EXPECT_THAT(entries(collector), ElementsAre("eth1 1 2"));
    EXPECT_STREQ(collector.m_pclBandwidthList->fGetErrorMsg(), "new node malloc error [12]");
}

// --- Measured interface by interface -------------------------------------------------------------------------------

TEST_F(NetworkBandwidth, OtherwiseEveryInterfaceIsMeasured) {
    g_nLinuxBandwidthFlag = 0;
    names("eth0\neth1\neth2\n");
    measured("eth0", "1000\n");
    measured("eth1", "100"); // eth2 has no file
    const CMM_NWT_Info collector;
    EXPECT_THAT(scene.commands, ElementsAre(NAMES_COMMAND, measureCommand("eth0", "eth0"),
                                            measureCommand("eth1", "eth1"), measureCommand("eth2", "eth2")));
    EXPECT_THAT(entries(collector), ElementsAre("eth0 1000000 1", "eth1 100000 1"));
    EXPECT_TRUE(scene.home.exists("agent/aproc/shell/BandWidth_eth0.dat"));
}

TEST_F(NetworkBandwidth, MeasuredValueIsMultipliedIn32Bits) {
    g_nLinuxBandwidthFlag = 2;
    names("eth0\neth1\neth2\neth3\n");
    measured("eth0", "4294968\n"); // 4294968000 - 2^32 = 704
    measured("eth1", "unknown\n");
    measured("eth2", "");
    measured("eth3", "-1\n");
    const CMM_NWT_Info collector;
    EXPECT_THAT(entries(collector), ElementsAre("eth0 704 1", "eth1 0 1", "eth3 -1000 1"));
}

TEST_F(NetworkBandwidth, BondIsMeasuredThroughItsActiveMember) {
    g_nLinuxBandwidthFlag = 0;
    scene.host.write("proc/net/bonding/bond0", "Ethernet Channel Bonding Driver: v3.7.1 (April 27, 2011)\n\n"
                                               "Bonding Mode: fault-tolerance (active-backup)\n"
                                               "Primary Slave: None\nCurrently Active Slave: eth4\nMII Status: up\n");
    names("bond0\nbond0.100\nbond1\nmybond.7\n");
    for (const char *name : {"bond0", "bond0.100", "bond1", "mybond.7"})
        measured(name, "10000\n");
    const CMM_NWT_Info collector;
    EXPECT_THAT(scene.commands,
                ElementsAre(NAMES_COMMAND, measureCommand("eth4", "bond0"), measureCommand("eth4", "bond0.100"),
                            measureCommand("bond1", "bond1"), measureCommand("mybond", "mybond.7")));
    EXPECT_THAT(entries(collector),
                ElementsAre("bond0 10000000 1", "bond0.100 10000000 1", "bond1 10000000 1", "mybond.7 10000000 1"));
}

TEST_F(NetworkBandwidth, NamesThatAreNoNamesNeverReachAShell) {
    g_nLinuxBandwidthFlag = 0;
    scene.host.write("proc/net/bonding/bond0", "Currently Active Slave: eth0;reboot\n");
    names("eth0;reboot\n$(reboot)\neth`reboot`\na b\n\n\"x\n'x\n../../x\nbond0\n.bond\neth\x03\x1f|\n"
          "bond;x.1\n" +
          std::string(300, 'x') + "\neth1\n");
    std::vector<std::string> messages;
    {
        const LogCapture log;
        const CMM_NWT_Info collector;
        messages = log.messages();
    }
    EXPECT_THAT(scene.commands, ElementsAre(NAMES_COMMAND, measureCommand("eth1", "eth1")));
    EXPECT_THAT(messages, testing::Contains("Bandwidth refused for interface name[$(reboot)]"));
    EXPECT_THAT(messages, testing::Contains("Bandwidth refused for interface name[bond0]"));
}

TEST_F(NetworkBandwidth, MessagesOfTheMeasuringNeedTheirGate) {
    g_nLinuxBandwidthFlag = 0;
    names("eth0\neth1\n");
    measured("eth0", "1000\n");
    std::vector<std::string> messages;
    std::vector<std::string> missing;
    std::vector<std::string> closed;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        const CMM_NWT_Info collector;
        messages = log.messages();
    }
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB5);
        const CMM_NWT_Info collector;
        closed = log.messages();
    }
    scene.home.remove("agent/aproc/shell/IFName.dat");
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        const CMM_NWT_Info collector;
        missing = log.messages();
    }
    EXPECT_THAT(messages, ElementsAre("Bandwidth GTR START", "Bandwidth [eth0] GTR1",
                                      "Bandwidth success[eth0][1000000]KB", "Bandwidth [eth1] GTR1",
                                      "Bandwidth failed(../aproc/shell/BandWidth_eth1.dat not "
                                      "found)"));
    EXPECT_THAT(closed, IsEmpty());
    EXPECT_THAT(missing,
                ElementsAre("Bandwidth GTR START", "Bandwidth GTR failed(../aproc/shell/IFName.dat not found)"));
}

// --- Name, blank, bandwidth ----------------------------------------------------------------------------------------

TEST_F(NetworkBandwidth, PlainLinesHoldNameAndBandwidth) {
    CMM_NWT_Info collector;
    scene.commands.clear();
    scene.bandwidths("eth0 1000000\neth1  100000 rest\neth2\neth3 \n 5\n\neth4 x\neth0 7\neth5 10");
    EXPECT_EQ(collector.fGetNewBandwidth(), 1);
    EXPECT_THAT(scene.commands, ElementsAre(PLAIN_COMMAND));
    EXPECT_THAT(entries(collector), ElementsAre("eth0 1000000 1", "eth1 100000 1", "eth4 0 1", "eth5 10 1"));
}

TEST_F(NetworkBandwidth, PlainLineWithoutANameIsLeftOutInSilence) {
    scene.bandwidths(" 5\n  7\n \neth0 1\n");
    g_nLinuxBandwidthFlag = 0; // the constructor reads another file
    const PrintedFill fill = printedBy([] {
        auto collector = std::make_unique<CMM_NWT_Info>();
        collector->fGetNewBandwidth();
        return collector;
    });
    EXPECT_THAT(entries(*fill.collector), ElementsAre("eth0 1 1"));
    EXPECT_EQ(fill.out, "") << "the list is not asked to take an empty name";
}

TEST_F(NetworkBandwidth, MessagesOfPlainLinesEndOnlyWhenTheFileOpened) {
    CMM_NWT_Info collector;
    std::vector<std::string> missing;
    std::vector<std::string> found;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        EXPECT_EQ(collector.fGetNewBandwidth(), 1);
        missing = log.messages();
    }
    scene.bandwidths("eth0 1\n");
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        collector.fGetNewBandwidth();
        found = log.messages();
    }
    EXPECT_THAT(missing, ElementsAre("Bandwidth GTR START",
                                     "Bandwidth GTR failed(../aproc/shell/IFName_bandwidth.dat not found)"));
    EXPECT_THAT(found, ElementsAre("Bandwidth GTR START", "Bandwidth GTR END"));
}

// --- Bonds and look-ups --------------------------------------------------------------------------------------------

class BondInfo : public NetworkBandwidth {
protected:
    std::string member(const std::string &text, int result = 1) {
        scene.host.write("proc/net/bonding/bond0", text);
        char slave[NAMED_LIST_NAME_SIZE] = "untouched";
        EXPECT_EQ(collector.fGetBondInfo("bond0", slave), result) << text;
        return slave;
    }

    CMM_NWT_Info collector;
};

TEST_F(BondInfo, ActiveMemberStandsBehindTheColon) {
    EXPECT_EQ(member("x\nCurrently Active Slave: eth1\nCurrently Active Slave: eth2\n"), "eth1");
    EXPECT_EQ(member("Currently Active Slave:eth1\n"), "eth1");
    EXPECT_EQ(member("Currently Active Slave:  eth1\n"), " eth1") << "one blank is dropped";
    EXPECT_EQ(member("Currently Active Slave: eth1"), "eth1") << "a last line needs no line feed";
    EXPECT_EQ(member("Currently Active Slave: None\n"), "None");
    EXPECT_EQ(member(std::string(1000, 'x') + "\nCurrently Active Slave: eth1\n"), "eth1");
}

TEST_F(BondInfo, WithoutAnActiveMemberItFails) {
    EXPECT_EQ(member("", -1), "untouched");
    EXPECT_EQ(member("MII Status: up\n Currently Active Slave: eth1\n", -1), "untouched");
    EXPECT_EQ(member("Currently Active Slave\n", -1), "untouched");
    EXPECT_EQ(member("Currently Active Slave:\n", -1), "untouched");
    EXPECT_EQ(member("Currently Active Slave: " + std::string(32, 'x') + "\n", -1), "untouched");
    EXPECT_EQ(member("Currently Active Slave: " + std::string(31, 'x') + "\n"), std::string(31, 'x'));
    EXPECT_EQ(member(std::string(256, 'x') + "Currently Active Slave: eth1\n", -1), "untouched");
}

TEST_F(BondInfo, OtherFilesAreNoBonds) {
    scene.host.write("proc/net/other", "Currently Active Slave: eth1\n");
    char slave[NAMED_LIST_NAME_SIZE];
    EXPECT_EQ(collector.fGetBondInfo("bond9", slave), -1);
    EXPECT_EQ(collector.fGetBondInfo("../other", slave), -1);
    EXPECT_EQ(collector.fGetBondInfo(std::string(5000, 'b').c_str(), slave), -1);
}

TEST_F(NetworkBandwidth, LookUpLeavesAnUnknownNameUntouched) {
    scene.bandwidths("TORVSC|eth0|1000000|2\n");
    CMM_NWT_Info collector;
    long bandwidth = 5;
    int duplex = 6;
    std::vector<std::string> messages;
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6);
        EXPECT_EQ(collector.fReturnBand("eth1", &bandwidth, &duplex), 1);
        EXPECT_EQ(bandwidth, 5);
        EXPECT_EQ(duplex, 6);
        EXPECT_EQ(collector.fReturnBand("eth0", &bandwidth, &duplex), 1);
        messages = log.messages();
    }
    EXPECT_EQ(bandwidth, 1000000);
    EXPECT_EQ(duplex, 2);
    EXPECT_THAT(messages, ElementsAre("ifname[eth1] bw is null", "fReturnBand ifname[eth0] Band[1000000], Duplex[2]"));
    {
        const LogCapture log(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB14);
        collector.fReturnBand("eth0", &bandwidth, &duplex);
        messages = log.messages();
    }
    EXPECT_THAT(messages, IsEmpty());
}

// A real shell and real scripts, so that redirection and arguments are as the commands say.
TEST_F(NetworkBandwidth, ScriptsAreReallyRun) {
    systemHooks().system = nullptr;
    scene.home.plainCommandRunner();
    scene.home.script("agent/bin/shell/LINUX/ifname_bandwidth_duplex.sh",
                      "echo 'TORVSC|eth0|1000000|2'; echo noise >&2\n");
    scene.home.script("agent/bin/shell/LINUX/IFName.sh", "echo eth1\n");
    scene.home.script("agent/bin/shell/LINUX/BandWidth.sh", "[ \"$1\" = eth1 ] && echo 2500 > \"$2\"\n");
    const CMM_NWT_Info whole;
    EXPECT_THAT(entries(whole), ElementsAre("eth0 1000000 2"));
    g_nLinuxBandwidthFlag = 0;
    const CMM_NWT_Info measuring;
    EXPECT_THAT(entries(measuring), ElementsAre("eth1 2500000 1"));
}

// Programs are started anywhere: a shell that cannot write its result would say so on their standard error.
TEST_F(NetworkBandwidth, ConstructorIsSilentWhereThereIsNoHome) {
    systemHooks().system = nullptr;
    scene.home.remove("agent/aproc");
    for (const int flag : {0, 1}) {
        g_nLinuxBandwidthFlag = flag;
        const PrintedFill fill = printedBy([] { return std::make_unique<CMM_NWT_Info>(); });
        EXPECT_EQ(fill.err, "") << flag;
        EXPECT_EQ(fill.out, "") << flag;
        EXPECT_THAT(entries(*fill.collector), IsEmpty());
    }
}

} // namespace
