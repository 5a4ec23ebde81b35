// The files of a Fibre Channel port: lines, numbers, port names.
#include "HostFixture.h"
#include "LogCapture.h"
#include "MM_HBA_Info.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

std::string formatted(const char *wwn) {
    char text[HBA_TEXT_SIZE] = {};
    CMM_HBA_Info::fWWNtoString(wwn, text);
    return text;
}

TEST(PortName, PairsAreJoinedAndInUpperCase) {
    EXPECT_EQ(formatted("0x21000024ff123456"), "21-00-00-24-FF-12-34-56");
    EXPECT_EQ(formatted("0x10003c5a907be412"), "10-00-3C-5A-90-7B-E4-12");
}

TEST(PortName, WithoutPrefixIsShownAsRead) {
    EXPECT_EQ(formatted("21000024ff123456"), "21000024ff123456");
    EXPECT_EQ(formatted("0X2100"), "0X2100");
    EXPECT_EQ(formatted("unknown"), "unknown");
    EXPECT_EQ(formatted(""), "");
}

TEST(PortName, TextBeforeThePrefixIsDropped) {
    EXPECT_EQ(formatted("wwpn 0xab"), "AB-");
    EXPECT_EQ(formatted("0x0xab"), "0X-AB-");
}

TEST(PortName, PairsAfterTheSeventhAreNotJoined) {
    // Seven "-" after the positions 2, 4 ... 14; none after 16 and 18.
    EXPECT_EQ(formatted("0x001122334455667788"), "00-11-22-33-44-55-66-7788");
    EXPECT_EQ(formatted("0xabc"), "AB-C");
    EXPECT_EQ(formatted("0x"), "");
}

TEST(PortName, LongNamesAreCutToTheField) {
    EXPECT_EQ(formatted(std::string(127, 'n').c_str()), std::string(127, 'n'));
    EXPECT_EQ(formatted(std::string(300, 'n').c_str()), std::string(127, 'n'));
    // Seven joined pairs take 21 characters, 106 more fit.
    EXPECT_EQ(formatted(("0x" + std::string(300, 'a')).c_str()), "AA-AA-AA-AA-AA-AA-AA-" + std::string(106, 'A'));
}

TEST(PortName, IsAppendedWithinTheField) {
    char text[HBA_TEXT_SIZE] = "wwn ";
    CMM_HBA_Info::fWWNtoString("0xab", text);
    EXPECT_STREQ(text, "wwn AB-");
    CMM_HBA_Info::fWWNtoString("cd", text);
    EXPECT_STREQ(text, "wwn AB-cd");
    std::memset(text, 'x', sizeof(text) - 1);
    CMM_HBA_Info::fWWNtoString("0xab", text);
    EXPECT_EQ(std::string(text), std::string(127, 'x'));
}

TEST(PortFile, TextLosesOneLineFeed) {
    HostFixture host;
    CMM_HBA_Info ports;
    char text[HBA_LINE_SIZE] = "old";

    host.write("sys/f", "Online\n");
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/f", text), 1);
    EXPECT_STREQ(text, "Online");
    host.write("sys/f", " Link down \t\nnext\n");
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/f", text), 1);
    EXPECT_STREQ(text, " Link down \t");
    host.write("sys/f", "no end");
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/f", text), 1);
    EXPECT_STREQ(text, "no end");
    host.write("sys/f", "\n");
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/f", text), 1);
    EXPECT_STREQ(text, "");
}

TEST(PortFile, TextIsCutToTheLineOrToASmallerArea) {
    HostFixture host;
    CMM_HBA_Info ports;
    host.write("sys/f", std::string(300, 'a'));

    char line[HBA_LINE_SIZE + 1];
    std::memset(line, '#', sizeof(line));
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/f", line), 1);
    EXPECT_EQ(std::string(line), std::string(255, 'a'));
    EXPECT_EQ(line[HBA_LINE_SIZE], '#');

    char small[9];
    std::memset(small, '#', sizeof(small));
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/f", small, 8), 1);
    EXPECT_STREQ(small, "aaaaaaa");
    EXPECT_EQ(small[8], '#');
}

TEST(PortFile, MissingFileIsLoggedEmptyAndUnreadableOnesAreNot) {
    HostFixture host;
    host.write("sys/empty", "");
    host.write("sys/directory/entry", "");
    const LogCapture log(0, 0);
    CMM_HBA_Info ports;
    char text[HBA_LINE_SIZE] = "kept";
    unsigned long long value = 7;

    EXPECT_EQ(ports.fGetFileInfoChar("/sys/missing", text), -1);
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/empty", text), -1);
    EXPECT_EQ(ports.fGetFileInfoChar("/sys/directory", text), -1);
    EXPECT_EQ(ports.fGetFileInfoLong("/sys/missing", &value), -1);
    EXPECT_EQ(ports.fGetFileInfoLong("/sys/empty", &value), -1);
    EXPECT_EQ(ports.fGetFileInfoLong("/sys/directory", &value), -1);

    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(value, 7U);
    EXPECT_THAT(log.messages(), testing::ElementsAre("fGetFileInfoChar open failed[/sys/missing]"));
}

TEST(PortFile, LongPathInTheLogIsCut) {
    const LogCapture log;
    CMM_HBA_Info ports;
    char text[HBA_LINE_SIZE];
    const std::string path = "/" + std::string(2000, 'p');

    EXPECT_EQ(ports.fGetFileInfoChar(path.c_str(), text), -1);
    EXPECT_THAT(log.messages(),
                testing::ElementsAre(("fGetFileInfoChar open failed[" + path).substr(0, HBA_LOG_MESSAGE_SIZE - 1)));
}

TEST(PortFile, NumberIsHexadecimalWithAndWithoutPrefix) {
    HostFixture host;
    CMM_HBA_Info ports;
    const auto valueOf = [&](const char *text) {
        unsigned long long value = 99;
        host.write("sys/n", text);
        EXPECT_EQ(ports.fGetFileInfoLong("/sys/n", &value), 1) << text;
        return value;
    };
    EXPECT_EQ(valueOf("0x10\n"), 16U);
    EXPECT_EQ(valueOf("10\n"), 16U);
    EXPECT_EQ(valueOf("0XfF\n"), 255U);
    EXPECT_EQ(valueOf("  1a2B"), 0x1a2bU);
    EXPECT_EQ(valueOf("0x0\n"), 0U);
    EXPECT_EQ(valueOf("0xffffffffffffffff\n"), ~0ULL);
    EXPECT_EQ(valueOf("0x12 MB\n"), 0x12U);
    // More than 64 bits saturate; what is no number is 0.
    EXPECT_EQ(valueOf("0x1ffffffffffffffff\n"), ~0ULL);
    EXPECT_EQ(valueOf("none\n"), 0U);
    EXPECT_EQ(valueOf("\n"), 0U);
    EXPECT_EQ(valueOf("\x01\xff"), 0U);
}

TEST(PortRates, AreDifferencesPerSecondWithTheirSums) {
    CMM_HBA_Info ports;
    ports.m_dElapsedTime = 4;
    const _ST_HBA_OLD_LIST previous{"old", "Offline", "old-wwn", 10, 20, 100, 200};
    const _ST_HBA_OLD_LIST reading{"host0", "Online", "wwn", 12, 19, 106, 200};

    EXPECT_EQ(ports.fMComputeIo(&reading, &previous), 1);
    EXPECT_STREQ(ports.m_pstIO->l_strDevName, "host0");
    EXPECT_STREQ(ports.m_pstIO->l_strState, "Online");
    EXPECT_STREQ(ports.m_pstIO->l_strPWWN, "wwn");
    EXPECT_EQ(ports.m_pstIO->l_fInputMB, 0.5);   // (12 - 10) / 4
    EXPECT_EQ(ports.m_pstIO->l_fOutputMB, 0.0);  // fell
    EXPECT_EQ(ports.m_pstIO->l_fInputCnt, 1.5);  // (106 - 100) / 4
    EXPECT_EQ(ports.m_pstIO->l_fOutputCnt, 0.0); // stood still
    EXPECT_EQ(ports.m_pstIO->l_fIOMega, 0.5);
    EXPECT_EQ(ports.m_pstIO->l_fIOPS, 1.5);
}

TEST(PortRates, BothNamesOfTheResultRecordExist) {
    EXPECT_TRUE((std::is_same_v<_ST_HBA_IO, ST_HBA_IO>));
}

} // namespace
