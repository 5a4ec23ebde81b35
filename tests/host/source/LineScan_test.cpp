// The strict scanners: what kernels write, and nothing else.
#include "host/source/LineScan.h"

#include <gtest/gtest.h>

namespace {

using zel::takeCount;
using zel::takeDecimal;
using zel::takeInteger;

struct Taken {
    bool has;
    double value;
    std::size_t used;
};

template<class Take> Taken taken(const char *text, Take take) {
    const char *cursor = text;
    const auto reading = take(cursor);
    return {reading.has(), reading ? static_cast<double>(*reading) : 0, static_cast<std::size_t>(cursor - text)};
}

TEST(LineScan, CountIsDigitsUpToABlankOrTheEnd) {
    const auto count = [](const char *&cursor) { return takeCount(cursor); };
    EXPECT_EQ(taken("  42 7", count).value, 42);
    EXPECT_EQ(taken("  42 7", count).used, 4U);
    EXPECT_EQ(taken("\t7\n", count).value, 7);
    EXPECT_EQ(taken("0", count).value, 0);
    for (const char *text : {"", " ", "\n5", "-1", "+1", "5x", "0x5", "1.5", "5,", "\v5", "99999999999999999999"}) {
        EXPECT_FALSE(taken(text, count).has) << text;
        EXPECT_EQ(taken(text, count).used, 0U) << text;
    }
    const char *largest = "18446744073709551615 ";
    EXPECT_EQ(*takeCount(largest), 18446744073709551615U);
    EXPECT_EQ(*largest, ' ');
    EXPECT_FALSE(taken("18446744073709551616", count).has);
    EXPECT_EQ(taken("000000000000000000000000005", count).value, 5) << "as long as it fits";
}

TEST(LineScan, CountMayEndAtAnotherCharacter) {
    const char *text = "2/212";
    EXPECT_EQ(*takeCount(text, '/'), 2U);
    EXPECT_EQ(*text, '/');
}

TEST(LineScan, HexadecimalIsDigitsOfEitherCaseAlone) {
    const auto hexadecimal = [](const char *&cursor) { return zel::takeHexadecimal(cursor); };
    EXPECT_EQ(taken(" 0000588a x", hexadecimal).value, 0x588a);
    EXPECT_EQ(taken(" 0000588a x", hexadecimal).used, 9U);
    EXPECT_EQ(taken("FF\n", hexadecimal).value, 255);
    for (const char *text : {"", " ", "\nff", "0x5", "-1", "fg", "10000000000000000"}) {
        EXPECT_FALSE(taken(text, hexadecimal).has) << text;
        EXPECT_EQ(taken(text, hexadecimal).used, 0U) << text;
    }
    const char *pair = "0000000A:0000000b";
    EXPECT_EQ(*zel::takeHexadecimal(pair, ':'), 10U);
    EXPECT_EQ(*pair, ':');
}

TEST(LineScan, DecimalIsWhatTheTextSays) {
    const auto decimal = [](const char *&cursor) { return takeDecimal(cursor); };
    EXPECT_EQ(taken("0.37 x", decimal).value, 0.37);
    EXPECT_EQ(taken("0.37 x", decimal).used, 4U);
    EXPECT_EQ(taken("12", decimal).value, 12);
    EXPECT_EQ(taken("12.", decimal).value, 12);
    EXPECT_EQ(taken("8182.52", decimal).value, 8182.52);
    EXPECT_EQ(taken("0.1234567890123456789", decimal).value, 0.12345678901234);
    for (const char *text :
         {"", ".5", "nan", "inf", "-0.5", "1e5", "0x1p3", "1.2.3", "1,5", "\n1", "9999999999999999999"})
        EXPECT_FALSE(taken(text, decimal).has) << text;
}

TEST(LineScan, DecimalIsDividedWithoutAnErrorInBetween) {
    const auto percent = [](const char *&cursor) { return takeDecimal(cursor, 2); };
    EXPECT_EQ(taken("43.82", percent).value, 0.4382);
    EXPECT_EQ(taken("100.00", percent).value, 1);
    const auto micro = [](const char *&cursor) { return takeDecimal(cursor, 6); };
    EXPECT_EQ(taken("233938024", micro).value, 233.938024);
}

TEST(LineScan, IntegerMayBeNegative) {
    const auto integer = [](const char *&cursor) { return takeInteger(cursor); };
    EXPECT_EQ(taken(" -2", integer).value, -2);
    EXPECT_EQ(taken("5 ", integer).value, 5);
    for (const char *text : {"", "-", "- 2", "--2", "2-", "\n-2"})
        EXPECT_FALSE(taken(text, integer).has) << text;
}

TEST(LineScan, WordsEndWithTheLine) {
    const char *text = "\tone  two\nthree";
    EXPECT_EQ(zel::takeWord(text), "one");
    EXPECT_EQ(zel::takeWord(text), "two");
    EXPECT_EQ(zel::takeWord(text), "");
    EXPECT_EQ(*text, '\n');
}

TEST(LineScan, OctalNumbersAreCharacters) {
    std::string out;
    zel::unescape("a\\040b\\011\\134\\012", out);
    EXPECT_EQ(out, "a b\t\\\n");
    for (const char *text : {"\\", "\\04", "\\0", "\\999", "\\x20", "a\\"}) {
        zel::unescape(text, out);
        EXPECT_EQ(out, text);
    }
}

TEST(LineScan, ProductThatDoesNotFitIsMalformed) {
    EXPECT_EQ(*zel::scaledCount(zel::Count(3), 1024), 3072U);
    EXPECT_EQ(zel::scaledCount(zel::Count(std::uint64_t{1} << 60), 1024).absence(), zel::Absence::Malformed);
    EXPECT_EQ(zel::scaledCount(zel::Absence::Denied, 1024).absence(), zel::Absence::Denied);
}

} // namespace
