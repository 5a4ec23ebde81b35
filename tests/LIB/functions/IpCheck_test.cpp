// Which texts count as IP addresses.
#include "NGFunctions.h"

#include <gtest/gtest.h>

namespace {

TEST(IpCheck, AcceptsDottedAddresses) {
    for (const char *text : {"10.0.0.1", "0.0.0.0", "255.255.255.255", "001.002.003.004"})
        EXPECT_EQ(fgIPCheck(text), 1) << text;
}

TEST(IpCheck, RefusesAPartAbove255) {
    for (const char *text : {"256.1.1.1", "1.256.1.1", "1.1.256.1", "1.1.1.256", "4294967297..."})
        EXPECT_EQ(fgIPCheck(text), 0) << text;
}

TEST(IpCheck, NeedsExactlyThreeDots) {
    for (const char *text : {"", "1", "1.2.3", "1.2.3.4.5", "1.2.3.4.", "...."})
        EXPECT_EQ(fgIPCheck(text), 0) << text;
}

TEST(IpCheck, RefusesALetterAmongTheFirstThreeCharactersOfAPart) {
    for (const char *text : {"a.b.c.d", "a.1.1.1", "1.2b.1.1", "1.1.25c.1", "1.1.1.d", "1.1.1.1Z", "1.1.1.12z"})
        EXPECT_EQ(fgIPCheck(text), 0) << text;
}

TEST(IpCheck, LetterBehindTheThirdCharacterIsNotSeen) {
    EXPECT_EQ(fgIPCheck("001a.1.1.1"), 1);
    EXPECT_EQ(fgIPCheck("1.1.1.001a"), 1);
}

TEST(IpCheck, RefusesMoreThanFifteenCharacters) {
    EXPECT_EQ(fgIPCheck("100.100.100.100"), 1); // 15
    EXPECT_EQ(fgIPCheck("100.100.100.0100"), 0);
    EXPECT_EQ(fgIPCheck(std::string(100000, '1').c_str()), 0);
}

TEST(IpCheck, EmptyPartCountsAsZero) {
    EXPECT_EQ(fgIPCheck("1..2.3"), 1);
    EXPECT_EQ(fgIPCheck("..."), 1);
}

TEST(IpCheck, RefusesNull) {
    EXPECT_EQ(fgIPCheck(nullptr), 0);
}

TEST(IpValidCheck, AcceptsDottedAddresses) {
    for (const char *text : {"10.0.0.1", "0.0.0.0", "255.255.255.255", "0255.001.0.0009"})
        EXPECT_EQ(fgIPVaildCheck(text), 1) << text;
}

TEST(IpValidCheck, RefusesAPartAbove255) {
    for (const char *text : {"256.1.1.1", "1.256.1.1", "1.1.256.1", "1.1.1.256", "9999.1.1.1"})
        EXPECT_EQ(fgIPVaildCheck(text), 0) << text;
}

TEST(IpValidCheck, RefusesAPartOfMoreThanFourDigits) {
    EXPECT_EQ(fgIPVaildCheck("00001.1.1.1"), 0);
    EXPECT_EQ(fgIPVaildCheck("1.1.1.00001"), 0);
    EXPECT_EQ(fgIPVaildCheck(std::string(100000, '1').c_str()), 0);
}

TEST(IpValidCheck, AllowsDigitsAndDotsOnly) {
    for (const char *text : {"a.b.c.d", "1.1.1.1a", "001a.1.1.1", "1.1.1.1 ", " 1.1.1.1", "-1.1.1.1", "1,1.1.1"})
        EXPECT_EQ(fgIPVaildCheck(text), 0) << text;
}

TEST(IpValidCheck, NeedsExactlyThreeDotsAndALastPart) {
    for (const char *text : {"", "1", "1.2.3", "1.2.3.", "1.2.3.4.5", "1.2.3.4.", "...", "...."})
        EXPECT_EQ(fgIPVaildCheck(text), 0) << text;
}

TEST(IpValidCheck, EmptyPartBeforeADotCountsAsZero) {
    EXPECT_EQ(fgIPVaildCheck("1..2.3"), 1);
    EXPECT_EQ(fgIPVaildCheck("...1"), 1);
}

TEST(IpValidCheck, RefusesNull) {
    EXPECT_EQ(fgIPVaildCheck(nullptr), 0);
}

} // namespace
