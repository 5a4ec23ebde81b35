// Gathers of the Fibre Channel ports and their rates.
#include "MM_HBA_Info.h"

#include "FcHost.h"
#include "FrozenClock.h"
#include "LogCapture.h"
#include "Mutation.h"
#include "NGFunctions.h"
#include "Separators.h"

#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

// Separators as consumers split on them.

std::string fields(const std::vector<std::string> &values) {
    std::string text;
    for (const std::string &value : values)
        text += value + C;
    return text;
}

const std::string header = fields({"INDEX", "PORT_WWN", "NAME", "PORT_STATUS", "INPUT_REQUESTS", "OUTPUT_REQUESTS",
                                   "INPUT_MEGABYTES", "OUTPUT_MEGABYTES", "IO_MEGABYTES", "IOPS"});

const FcPort firstReading{
    .inputMegabytes = "0x64", .outputMegabytes = "0xc8", .inputRequests = "0x10", .outputRequests = "0x20"};
// Over 2 seconds: requests 0x30 - 0x10 = 32 and 0x40 - 0x20 = 32, megabytes 0x6a - 0x64 = 6 and 0xcb - 0xc8 = 3.
const FcPort secondReading{
    .inputMegabytes = "0x6a", .outputMegabytes = "0xcb", .inputRequests = "0x30", .outputRequests = "0x40"};
const std::vector<std::string> ratesOfSecondReading = {"16.00", "16.00", "3.00", "1.50", "4.50", "32.00"};

std::string portRow(int index, const std::string &wwn, const std::string &name, const std::string &state,
                    const std::vector<std::string> &rates) {
    return R + fields({std::to_string(index), wwn, name, state}) + fields(rates);
}

// A collector that has made its first gather over the ports of the host.
class HbaGather : public testing::Test {
protected:
    // Gathers again after `seconds`.
    std::string gather(std::time_t seconds) {
        m_clock.advance(seconds);
        EXPECT_EQ(m_ports.fGatherHBAZel(), -1);
        return m_ports.m_const_pstrHBAZelInfo == nullptr ? "none" : m_ports.m_const_pstrHBAZelInfo;
    }

    FrozenClock m_clock;
    HostFixture m_host;
    CMM_HBA_Info m_ports;
};

TEST_F(HbaGather, StartsWithoutTableAndInterval) {
    EXPECT_EQ(m_ports.m_nHBACount, 0);
    EXPECT_EQ(m_ports.m_nInsertFirst, 0);
    EXPECT_EQ(m_ports.m_dElapsedTime, 0);
    EXPECT_EQ(m_ports.m_stOldIoTime.tv_sec, 1700000000);
    EXPECT_EQ(m_ports.m_const_pstrHBAZelInfo, nullptr);
    EXPECT_STREQ(m_ports.m_strSplit[0], R.c_str());
    EXPECT_STREQ(m_ports.m_strSplit[1], C.c_str());
    EXPECT_EQ(m_ports.m_nZelLen, 512);
    EXPECT_EQ(m_ports.m_nHBACardINVSize, 10240);
    EXPECT_EQ(m_ports.m_nHBAPortINVSize, 10240);
    EXPECT_STREQ(m_ports.m_strCardDataPath, "../aproc/shell/HBACardINVStrInfo.dat");
    EXPECT_STREQ(m_ports.m_strPortDataPath, "../aproc/shell/HBAPortINVStrInfo.dat");
}

TEST_F(HbaGather, FirstGatherGivesTheHeaderAlone) {
    writeFcPort(m_host, "host3", firstReading);

    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_nHBACount, 0);
    EXPECT_EQ(m_ports.m_nInsertFirst, 1);
    const _ST_HBA_OLD_LIST *previous = m_ports.m_HBA_Map.at(ELFHash("host3"));
    EXPECT_STREQ(previous->l_strDevName, "host3");
    EXPECT_EQ(previous->l_ulInputMB, 100U);
    EXPECT_EQ(previous->l_ulOutputMB, 200U);
    EXPECT_EQ(previous->l_ulInputCnt, 16U);
    EXPECT_EQ(previous->l_ulOutputCnt, 32U);
}

TEST_F(HbaGather, SecondGatherGivesTheExactRowOfAPort) {
    writeFcPort(m_host, "host3", firstReading);
    gather(1);
    writeFcPort(m_host, "host3", secondReading);

    EXPECT_EQ(gather(2), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online", ratesOfSecondReading));
    EXPECT_EQ(m_ports.m_nHBACount, 1);
    EXPECT_EQ(m_ports.m_dElapsedTime, 2.0);
}

TEST_F(HbaGather, TwoPortsHaveIndexesOneAndTwo) {
    writeFcPort(m_host, "host3", firstReading);
    writeFcPort(m_host, "host4", {.portName = "0x10000090fa0b0c0d", .portState = "Linkdown"});
    gather(1);
    writeFcPort(m_host, "host3", secondReading);

    const std::string table = gather(2);

    const bool host3First = fcPortsInOrder(m_host).front() == "host3";
    const std::vector<std::string> idle(6, "0.00");
    const std::string host3 =
        portRow(host3First ? 1 : 2, "21-00-00-24-FF-12-34-56", "host3", "Online", ratesOfSecondReading);
    const std::string host4 = portRow(host3First ? 2 : 1, "10-00-00-90-FA-0B-0C-0D", "host4", "Linkdown", idle);
    EXPECT_EQ(table, header + (host3First ? host3 + host4 : host4 + host3));
    EXPECT_EQ(m_ports.m_nHBACount, 2);
}

TEST_F(HbaGather, ThirdGatherCountsFromTheSecond) {
    writeFcPort(m_host, "host3", firstReading);
    gather(1);
    writeFcPort(m_host, "host3", secondReading);
    gather(2);

    EXPECT_EQ(gather(2), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                          {"0.00", "0.00", "0.00", "0.00", "0.00", "0.00"}));
}

TEST_F(HbaGather, CounterThatFellGivesZeroInItsColumnOnly) {
    writeFcPort(m_host, "host3", {.inputMegabytes = "0x10", .inputRequests = "0x100", .outputRequests = "0x0"});
    gather(1);
    writeFcPort(m_host, "host3", {.inputMegabytes = "0x12", .inputRequests = "0x1", .outputRequests = "0x4"});

    // Megabytes (0x12 - 0x10) / 2 = 1, requests out 4 / 2 = 2.
    EXPECT_EQ(gather(2), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                          {"0.00", "2.00", "1.00", "0.00", "1.00", "2.00"}));
    // The fallen counter is the new base: (0x3 - 0x1) / 2 = 1.
    writeFcPort(m_host, "host3", {.inputMegabytes = "0x12", .inputRequests = "0x3", .outputRequests = "0x4"});
    EXPECT_EQ(gather(2), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                          {"1.00", "0.00", "0.00", "0.00", "0.00", "1.00"}));
}

TEST_F(HbaGather, ClockThatWasSetBackGivesMinusOneForEveryRateThatIsNegative) {
    writeFcPort(m_host, "host3", firstReading);
    gather(100);
    FcPort moved = firstReading;
    moved.inputRequests = "0x30";
    writeFcPort(m_host, "host3", moved);

    // Over -50 seconds: requests in, and with them their sum, are negative; what stood still stays 0.
    EXPECT_EQ(gather(-50), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                            {"-1.00", "0.00", "0.00", "0.00", "0.00", "-1.00"}));
    EXPECT_EQ(m_ports.m_pstIO->l_fInputCnt, -1);
}

TEST_F(HbaGather, NoTimeBetweenGathersIsNoNumberOnlyForWhatMoved) {
    writeFcPort(m_host, "host3", firstReading);
    gather(1);
    FcPort moved = firstReading;
    moved.inputRequests = "0x30";
    writeFcPort(m_host, "host3", moved);

    EXPECT_EQ(gather(0), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                          {"inf", "0.00", "0.00", "0.00", "0.00", "inf"}));
}

TEST_F(HbaGather, CountersOfAllOnesAreUnsigned) {
    writeFcPort(m_host, "host3", {.inputRequests = "0xffffffffffffffff", .outputRequests = "0xfffffffffffffff0"});
    gather(1);
    EXPECT_EQ(m_ports.m_HBA_Map.at(ELFHash("host3"))->l_ulInputCnt, ~0ULL);

    writeFcPort(m_host, "host3", {.inputRequests = "0xffffffffffffffff", .outputRequests = "0xffffffffffffffff"});
    // 15 requests over 3 seconds.
    EXPECT_EQ(gather(3), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                          {"0.00", "5.00", "0.00", "0.00", "0.00", "5.00"}));
}

TEST_F(HbaGather, PortThatShowsUpLaterGetsItsRowOneGatherLater) {
    writeFcPort(m_host, "host3", firstReading);
    gather(1);
    writeFcPort(m_host, "host4", {.inputRequests = "8"});
    EXPECT_EQ(gather(1),
              header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online", std::vector<std::string>(6, "0.00")));
    m_host.remove("sys/class/fc_host/host3");
    writeFcPort(m_host, "host4", {.inputRequests = "a"});

    EXPECT_EQ(gather(1), header + portRow(1, "21-00-00-24-FF-12-34-56", "host4", "Online",
                                          {"2.00", "0.00", "0.00", "0.00", "0.00", "2.00"}));
}

TEST_F(HbaGather, PortThatCameBackIsRatedAgainstItsOldReading) {
    writeFcPort(m_host, "host3", {.inputRequests = "0"});
    gather(1);
    m_host.remove("sys/class/fc_host/host3");
    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_HBA_Map.size(), 1U);
    writeFcPort(m_host, "host3", {.inputRequests = "6"});

    // Six requests since the reading that was kept, over the two seconds since the last gather.
    EXPECT_EQ(gather(2), header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online",
                                          {"3.00", "0.00", "0.00", "0.00", "0.00", "3.00"}));
}

TEST_F(HbaGather, WithoutTheDirectoryNothingIsReportedAndTheFirstGatherIsStillToCome) {
    EXPECT_EQ(gather(1), "none");
    EXPECT_EQ(m_ports.m_nHBACount, 0);
    EXPECT_EQ(m_ports.m_nInsertFirst, 0);
    EXPECT_EQ(m_ports.m_stringHBAZel, header);

    writeFcPort(m_host, "host3", firstReading);
    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_nInsertFirst, 1);
}

TEST_F(HbaGather, DirectoryThatVanishesLeavesTheTextPointerValid) {
    writeFcPort(m_host, "host3", firstReading);
    gather(1);
    EXPECT_EQ(gather(1),
              header + portRow(1, "21-00-00-24-FF-12-34-56", "host3", "Online", std::vector<std::string>(6, "0.00")));
    m_host.remove("sys/class/fc_host");

    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_nHBACount, 0);
    EXPECT_EQ(m_ports.m_nInsertFirst, 1);
}

TEST_F(HbaGather, EmptyDirectoryIsAFinishedGather) {
    std::filesystem::create_directories(m_host.path() / "sys/class/fc_host");
    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_nInsertFirst, 1);
}

// --- Walks that break off --------------------------------------------------------------------------------------------

class HbaBrokenWalk : public HbaGather, public testing::WithParamInterface<const char *> {};

TEST_P(HbaBrokenWalk, ReportsThePortsBeforeTheMissingFileAndNoneAfterIt) {
    for (const char *name : {"host1", "host2", "host3"})
        writeFcPort(m_host, name, firstReading);
    const std::vector<std::string> order = fcPortsInOrder(m_host);
    gather(1);
    m_host.remove("sys/class/fc_host/" + order[1] + "/" + GetParam());

    EXPECT_EQ(gather(1),
              header + portRow(1, "21-00-00-24-FF-12-34-56", order[0], "Online", std::vector<std::string>(6, "0.00")));
    EXPECT_EQ(m_ports.m_nHBACount, 1);
}

INSTANTIATE_TEST_SUITE_P(EveryFile, HbaBrokenWalk,
                         testing::Values("port_name", "port_state", "statistics/fcp_input_megabytes",
                                         "statistics/fcp_output_megabytes", "statistics/fcp_input_requests",
                                         "statistics/fcp_output_requests"));

TEST_F(HbaGather, FirstGatherThatBrokeOffCountsAsTheFirst) {
    for (const char *name : {"host1", "host2", "host3"})
        writeFcPort(m_host, name, firstReading);
    const std::vector<std::string> order = fcPortsInOrder(m_host);
    m_host.write("sys/class/fc_host/" + order[1] + "/statistics/fcp_input_requests", "");

    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_nInsertFirst, 1);
    EXPECT_EQ(m_ports.m_HBA_Map.size(), 1U);

    writeFcPort(m_host, order[1], firstReading);
    // The other two are new to the second gather and have their rows in the third.
    gather(1);
    EXPECT_EQ(m_ports.m_nHBACount, 1);
    gather(1);
    EXPECT_EQ(m_ports.m_nHBACount, 3);
}

TEST_F(HbaGather, FileThatCannotBeReadEndsTheWalkLikeAMissingOne) {
    writeFcPort(m_host, "host1", firstReading);
    gather(1);
    // The kernel refuses to read a counter that the driver does not keep; a directory refuses as well.
    m_host.remove("sys/class/fc_host/host1/statistics/fcp_output_requests");
    std::filesystem::create_directories(m_host.path() / "sys/class/fc_host/host1/statistics/fcp_output_requests");

    EXPECT_EQ(gather(1), header);
}

// --- Hostile names ---------------------------------------------------------------------------------------------------

TEST_F(HbaGather, LongNamesAreCutToTheirFields) {
    const std::string directory(200, 'd');
    writeFcPort(m_host, directory, {.portName = std::string(300, 'n'), .portState = std::string(300, 's')});
    gather(1);

    EXPECT_EQ(gather(1), header + portRow(1, std::string(127, 'n'), std::string(127, 'd'), std::string(127, 's'),
                                          std::vector<std::string>(6, "0.00")));
    EXPECT_EQ(m_ports.m_HBA_Map.begin()->first, ELFHash(directory.c_str()));
}

TEST_F(HbaGather, NamesOf127CharactersAreWhole) {
    writeFcPort(m_host, std::string(127, 'd'), {.portName = std::string(127, 'n'), .portState = std::string(127, 's')});
    gather(1);

    EXPECT_EQ(gather(1), header + portRow(1, std::string(127, 'n'), std::string(127, 'd'), std::string(127, 's'),
                                          std::vector<std::string>(6, "0.00")));
}

TEST_F(HbaGather, RowLongerThanItsFirstBufferIsWhole) {
    const std::string name(127, 'x');
    FcPort port{.portName = name, .portState = name};
    writeFcPort(m_host, name, port);
    gather(1);
    port.inputMegabytes = port.outputMegabytes = port.inputRequests = port.outputRequests = "ffffffffffffffff";
    writeFcPort(m_host, name, port);
    // 2^64 / 1e-6 seconds is a number of 26 digits; the sum of two of them likewise.
    m_clock.advance(0, 1);
    m_ports.fGatherHBAZel();

    EXPECT_GT(std::string(m_ports.m_const_pstrHBAZelInfo).size(), header.size() + 512);
    EXPECT_GT(m_ports.m_nZelLen, 512);
    EXPECT_TRUE(std::string(m_ports.m_const_pstrHBAZelInfo).ends_with(C));
}

TEST_F(HbaGather, SeparatorBytesInNamesForgeNoRow) {
    writeFcPort(m_host, "host\x03\x1F|9",
                {.portName = "a\x03\x1F~b",
                 .portState = "c\x1F"
                              "d"});
    gather(1);

    EXPECT_EQ(gather(1), header + portRow(1, "a  ~b", "host  |9", "c d", std::vector<std::string>(6, "0.00")));
}

TEST_F(HbaGather, OnlyTheFirstLineOfAFileCounts) {
    writeFcPort(m_host, "host1", {.portName = "0x1234\nsecond", .portState = "Online\n", .inputRequests = "4\n9"});
    gather(1);

    // A short name keeps the "-" after its last pair.
    EXPECT_EQ(gather(1), header + portRow(1, "12-34-", "host1", "Online", std::vector<std::string>(6, "0.00")));
    EXPECT_EQ(m_ports.m_HBA_Map.at(ELFHash("host1"))->l_ulInputCnt, 4U);
}

TEST_F(HbaGather, NamesWithTheSameHashShareOneEntry) {
    // h = h * 131 + c over signed characters: 67 * 131 - 10 = 66 * 131 + 121 = 8767.
    const std::string left = "C\xF6";
    const std::string right = "By";
    ASSERT_EQ(ELFHash(left.c_str()), 8767);
    ASSERT_EQ(ELFHash(right.c_str()), 8767);
    writeFcPort(m_host, left, firstReading);
    writeFcPort(m_host, right, firstReading);

    EXPECT_EQ(gather(1), header);
    EXPECT_EQ(m_ports.m_HBA_Map.size(), 1U);
}

TEST_F(HbaGather, DamagedFilesGiveWholeRows) {
    Mutation mutation(2);
    for (int i = 0; i < 50; ++i) {
        writeFcPort(m_host, "host1",
                    {.portName = mutation.of("0x21000024ff123456"),
                     .portState = mutation.of("Online\x03\x1F|"),
                     .inputMegabytes = mutation.of("0xffffffffffffffff"),
                     .outputMegabytes = mutation.of("0x1f4"),
                     .inputRequests = mutation.of("0x6590"),
                     .outputRequests = mutation.of("a028")});
        const std::string table = gather(1);

        // Only whole rows: as many column separators as ten per row and ten of the header.
        std::size_t columns = 0;
        for (std::size_t at = table.find(C); at != std::string::npos; at = table.find(C, at + 1))
            ++columns;
        EXPECT_EQ(columns, 10U * static_cast<unsigned>(1 + m_ports.m_nHBACount));
    }
}

// --- Log -------------------------------------------------------------------------------------------------------------

TEST_F(HbaGather, TextFileThatCannotBeOpenedIsLoggedWheneverALoggerIsInstalled) {
    const LogCapture log(0, 0);
    writeFcPort(m_host, "host1", firstReading);
    m_host.remove("sys/class/fc_host/host1/port_state");
    gather(1);

    EXPECT_THAT(log.messages(), ElementsAre("fGetFileInfoChar open failed[/sys/class/fc_host/host1/port_state]"));
}

TEST_F(HbaGather, MissingCounterAndMissingDirectoryAreNotLogged) {
    const LogCapture log;
    gather(1);
    writeFcPort(m_host, "host1", firstReading);
    m_host.remove("sys/class/fc_host/host1/statistics/fcp_input_megabytes");
    gather(1);

    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

} // namespace
