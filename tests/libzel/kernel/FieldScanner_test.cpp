// The field scanner against sscanf.
#include "kernel/FieldScanner.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <random>

namespace {

using zel::FieldScanner;

// Takes one value of each kind from the same text and compares with sscanf.
void expectLikeSscanf(const std::string &text) {
    SCOPED_TRACE(testing::PrintToString(text));
    int scannedInt = 7;
    int expectedInt = 7;
    FieldScanner plain(text.c_str());
    EXPECT_EQ(plain.takeInt(scannedInt), std::sscanf(text.c_str(), "%d", &expectedInt) == 1);
    EXPECT_EQ(scannedInt, expectedInt);

    scannedInt = expectedInt = 7;
    FieldScanner narrow(text.c_str());
    EXPECT_EQ(narrow.takeInt(scannedInt, 4), std::sscanf(text.c_str(), "%4d", &expectedInt) == 1);
    EXPECT_EQ(scannedInt, expectedInt);

    unsigned scannedUnsigned = 7;
    unsigned expectedUnsigned = 7;
    FieldScanner half(text.c_str());
    EXPECT_EQ(half.takeUnsigned(scannedUnsigned), std::sscanf(text.c_str(), "%u", &expectedUnsigned) == 1);
    EXPECT_EQ(scannedUnsigned, expectedUnsigned);

    unsigned long long scannedLong = 7;
    unsigned long long expectedLong = 7;
    FieldScanner whole(text.c_str());
    EXPECT_EQ(whole.takeUnsigned(scannedLong), std::sscanf(text.c_str(), "%llu", &expectedLong) == 1);
    EXPECT_EQ(scannedLong, expectedLong);

    unsigned long scannedNative = 7;
    unsigned long expectedNative = 7;
    FieldScanner native(text.c_str());
    EXPECT_EQ(native.takeUnsigned(scannedNative), std::sscanf(text.c_str(), "%lu", &expectedNative) == 1);
    EXPECT_EQ(scannedNative, expectedNative);

    char scannedWord[6] = "-";
    char expectedWord[6] = "-";
    FieldScanner word(text.c_str());
    EXPECT_EQ(word.takeWord(scannedWord, 5), std::sscanf(text.c_str(), "%5s", expectedWord) == 1);
    EXPECT_STREQ(scannedWord, expectedWord);
}

TEST(FieldScanner, ValuesAreThoseOfSscanf) {
    for (const char *text : {"0",
                             "1",
                             " 12",
                             "\t\n\v\f\r 34 ",
                             "-5",
                             "+6",
                             "-",
                             "+",
                             "+-1",
                             "- 1",
                             "",
                             " ",
                             "x",
                             "1x",
                             "12345",
                             "-12345",
                             "+12345",
                             "00012345",
                             "2147483647",
                             "2147483648",
                             "-2147483648",
                             "-2147483649",
                             "4294967295",
                             "4294967296",
                             "9223372036854775807",
                             "9223372036854775808",
                             "-9223372036854775808",
                             "-9223372036854775809",
                             "18446744073709551615",
                             "18446744073709551616",
                             "-18446744073709551615",
                             "-18446744073709551616",
                             "99999999999999999999",
                             "-99999999999999999999",
                             "123456789012345678901234567890",
                             "00000000000000000000000000000000000000000012",
                             "0x10",
                             "1.5",
                             "1e3",
                             "\xA0"
                             "5",
                             "abcdefgh",
                             " ab cd"})
        expectLikeSscanf(text);
}

TEST(FieldScanner, ValuesAreThoseOfSscanfOverRandomTexts) {
    constexpr std::string_view characters = "0123456789012345678901234567890123456789 \t\n+-x.";
    std::mt19937 random(20240117);
    std::uniform_int_distribution<std::size_t> pick(0, characters.size() - 1);
    std::uniform_int_distribution<int> length(0, 28);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (int i = length(random); i > 0; --i)
            text += characters[pick(random)];
        expectLikeSscanf(text);
        if (testing::Test::HasFailure())
            return;
    }
}

TEST(FieldScanner, ChainCountsWhatItStored) {
    int first = 0;
    char word[8] = {};
    unsigned last = 0;
    FieldScanner fields("8 77 sda 3 rest");

    EXPECT_TRUE(fields.takeInt(first) && fields.skipNumber() && fields.takeWord(word, 7) && fields.takeUnsigned(last));
    EXPECT_EQ(fields.conversions(), 3);
    EXPECT_EQ(first, 8);
    EXPECT_STREQ(word, "sda");
    EXPECT_EQ(last, 3U);
}

TEST(FieldScanner, NumberOfLimitedWidthLeavesItsRest) {
    int major = 0;
    int minor = 0;
    FieldScanner fields("123456");

    EXPECT_TRUE(fields.takeInt(major, 4) && fields.takeInt(minor, 4));
    EXPECT_EQ(major, 1234);
    EXPECT_EQ(minor, 56);
}

} // namespace
