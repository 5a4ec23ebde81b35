// Numbers and words from text, against the functions of the C library.
#include "text/NumberScan.h"

#include "CommaLocale.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

constexpr unsigned long long allOnes = 18446744073709551615ULL;

TEST(NumberScan, ReadsNumbersOneAfterTheOther) {
    const char *cursor = "  603280 612\t161995\n7509510";

    EXPECT_EQ(zel::takeUnsigned(cursor), 603280U);
    EXPECT_EQ(zel::takeUnsigned(cursor), 612U);
    EXPECT_EQ(zel::takeUnsigned(cursor), 161995U);
    EXPECT_EQ(zel::takeUnsigned(cursor), 7509510U);
    EXPECT_EQ(*cursor, '\0');
    EXPECT_EQ(zel::takeUnsigned(cursor), 0U);
}

TEST(NumberScan, WithoutADigitNothingMoves) {
    for (const char *text : {"", "   ", "abc", " -", "+ 5", "--5", "0x"}) {
        const char *cursor = text;
        unsigned long long value = 77;
        const bool isZeroBeforeX = std::string(text) == "0x";
        EXPECT_EQ(zel::scanUnsigned(cursor, value), isZeroBeforeX) << text;
        EXPECT_EQ(cursor, isZeroBeforeX ? text + 1 : text) << text;
        EXPECT_EQ(value, isZeroBeforeX ? 0U : 77U) << text;
    }
}

TEST(NumberScan, LimitsAreKeptAndNumbersBeyondThemSaturate) {
    const auto asUnsigned = [](const char *text) { return zel::takeUnsigned(text); };
    const auto asSigned = [](const char *text) { return zel::takeSigned(text); };

    EXPECT_EQ(asUnsigned("18446744073709551615"), allOnes);
    EXPECT_EQ(asUnsigned("18446744073709551616"), allOnes);
    EXPECT_EQ(asUnsigned("99999999999999999999999999"), allOnes);
    EXPECT_EQ(asUnsigned("-1"), allOnes);
    EXPECT_EQ(asUnsigned("-99999999999999999999999999"), allOnes);
    EXPECT_EQ(asSigned("9223372036854775807"), 9223372036854775807LL);
    EXPECT_EQ(asSigned("9223372036854775808"), 9223372036854775807LL);
    EXPECT_EQ(asSigned("-9223372036854775807"), -9223372036854775807LL);
    EXPECT_EQ(asSigned("-9223372036854775808"), -9223372036854775807LL - 1);
    EXPECT_EQ(asSigned("-9223372036854775809"), -9223372036854775807LL - 1);
}

TEST(NumberScan, NumbersOfAnyLengthBehindAnyNumberOfSpaces) {
    for (std::size_t spaces = 0; spaces < 20; ++spaces) {
        for (std::size_t digits = 0; digits < 25; ++digits) {
            for (const char *behind : {"", " 5", "x", "-", "\n"}) {
                const std::string text = std::string(spaces, ' ') + std::string(digits, '9') + behind;
                char *end = nullptr;
                const char *cursor = text.c_str();
                ASSERT_EQ(zel::takeUnsigned(cursor), std::strtoull(text.c_str(), &end, 10)) << text;
                ASSERT_EQ(cursor, end) << text;
                cursor = text.c_str();
                ASSERT_EQ(zel::takeSigned(cursor), std::strtoll(text.c_str(), &end, 10)) << text;
                ASSERT_EQ(cursor, end) << text;
                cursor = text.c_str();
                ASSERT_EQ(zel::skipNumber(cursor), end != text.c_str()) << text;
                ASSERT_EQ(cursor, end) << text;
            }
        }
    }
}

TEST(NumberScan, WordsEndAtBlanksAndAtTheEnd) {
    const char *cursor = " 12 (comm)\tS";

    EXPECT_TRUE(zel::skipNumber(cursor));
    EXPECT_TRUE(zel::skipWord(cursor));
    EXPECT_STREQ(cursor, "\tS");
    EXPECT_FALSE(zel::skipNumber(cursor));
    EXPECT_STREQ(cursor, "\tS");
    EXPECT_TRUE(zel::skipWord(cursor));
    EXPECT_FALSE(zel::skipWord(cursor));
    EXPECT_EQ(*cursor, '\0');
}

TEST(NumberScan, HexadecimalWithAndWithoutPrefix) {
    const auto read = [](const char *text) {
        unsigned long long value = 77;
        return zel::scanHexadecimal(text, value) ? value : 77;
    };

    EXPECT_EQ(read(" 1f"), 0x1FU);
    EXPECT_EQ(read("0x1F "), 0x1FU);
    EXPECT_EQ(read("0XfFg"), 0xFFU);
    EXPECT_EQ(read("65536"), 0x65536U);
    EXPECT_EQ(read("-1"), allOnes);
    EXPECT_EQ(read("ffffffffffffffff"), allOnes);
    EXPECT_EQ(read("18446744073709551615"), allOnes) << "20 hexadecimal digits do not fit";
    EXPECT_EQ(read("-18446744073709551615"), allOnes);
    EXPECT_EQ(read("0000000000000000000000000000a"), 10U);
    EXPECT_EQ(read("0x"), 0U);
    EXPECT_EQ(read("g"), 77U);
    EXPECT_EQ(read("+"), 77U);
    EXPECT_EQ(read(""), 77U);
}

TEST(NumberScan, HexadecimalAgreesWithScanfOnRandomText) {
    std::mt19937 random(20240608);
    const std::string alphabet = "0123456789abcdefABCDEF01234567890123456789 \t\n-+xXg.\xff";
    for (int round = 0; round < 50000; ++round) {
        std::string text;
        for (auto length = random() % 30; length > 0; --length)
            text += alphabet[random() % alphabet.size()];

        unsigned long long expected = 77;
        unsigned long long actual = 77;
        int taken = 0;
        const bool converted = std::sscanf(text.c_str(), "%llX%n", &expected, &taken) == 1;
        const char *cursor = text.c_str();
        ASSERT_EQ(zel::scanHexadecimal(cursor, actual), converted) << text;
        ASSERT_EQ(actual, expected) << text;
        ASSERT_EQ(cursor, text.c_str() + taken) << text;
    }
}

// The library functions are the reference: same value, same end, on thousands of random texts.
TEST(NumberScan, AgreesWithTheLibraryFunctionsOnRandomText) {
    std::mt19937 random(20240607);
    const std::string alphabet = "0123456789012345678901234567890123456789 \t\n-+x.\xff";
    for (int round = 0; round < 50000; ++round) {
        std::string text;
        for (auto length = random() % 30; length > 0; --length)
            text += alphabet[random() % alphabet.size()];

        char *end = nullptr;
        const char *cursor = text.c_str();
        ASSERT_EQ(zel::takeUnsigned(cursor), std::strtoull(text.c_str(), &end, 10)) << text;
        ASSERT_EQ(cursor, end) << text;

        cursor = text.c_str();
        ASSERT_EQ(zel::takeSigned(cursor), std::strtoll(text.c_str(), &end, 10)) << text;
        ASSERT_EQ(cursor, end) << text;

        unsigned long long expected = 77;
        unsigned long long actual = 77;
        cursor = text.c_str();
        const bool converted = std::sscanf(text.c_str(), "%llu", &expected) == 1;
        ASSERT_EQ(zel::scanUnsigned(cursor, actual), converted) << text;
        ASSERT_EQ(actual, expected) << text;
    }
}

double read(const char *text) {
    double value = 77.0;
    zel::scanDouble(text, value);
    return value;
}

TEST(RealNumberScan, ReadsTheFormsOfStrtod) {
    EXPECT_EQ(read(" 45.30"), 45.3);
    EXPECT_EQ(read("\t-0.5x"), -0.5);
    EXPECT_EQ(read("+.25"), 0.25);
    EXPECT_EQ(read("1e3"), 1000.0);
    EXPECT_EQ(read("0x1.8p3"), 12.0);
    EXPECT_EQ(read("1e999"), HUGE_VAL);
    EXPECT_EQ(read("-infinity"), -HUGE_VAL);
    EXPECT_TRUE(std::isnan(read("nan")));
    for (const char *text : {"", "  ", ".", "-", "e3", "x", ",5"}) {
        const char *cursor = text;
        double value = 77.0;
        EXPECT_FALSE(zel::scanDouble(cursor, value)) << text;
        EXPECT_EQ(cursor, text);
        EXPECT_EQ(value, 77.0);
    }
}

TEST(RealNumberScan, AgreesWithTheLibraryFunctionsOnRandomText) {
    std::mt19937 random(20240609);
    const std::string alphabet = "0123456789012345678901234567890.... \t-+eExXpaAinfINF,\xff";
    for (int round = 0; round < 50000; ++round) {
        std::string text;
        for (auto length = random() % 20; length > 0; --length)
            text += alphabet[random() % alphabet.size()];

        char *end = nullptr;
        const double expected = std::strtod(text.c_str(), &end);
        const char *cursor = text.c_str();
        double value = 0.0;
        ASSERT_EQ(zel::scanDouble(cursor, value), end != text.c_str()) << text;
        ASSERT_TRUE(value == expected || (std::isnan(value) && std::isnan(expected))) << text;
        ASSERT_EQ(cursor, end) << text;

        const float narrow = std::strtof(text.c_str(), &end);
        float found = 0.0F;
        cursor = text.c_str();
        ASSERT_EQ(zel::scanFloat(cursor, found), end != text.c_str()) << text;
        ASSERT_TRUE(found == narrow || (std::isnan(found) && std::isnan(narrow))) << text;
    }
}

TEST(RealNumberScan, DecimalPointIsAPointUnderEveryLocale) {
    const CommaLocale locale;
    if (locale.whyNot() != nullptr)
        GTEST_SKIP() << locale.whyNot();
    EXPECT_EQ(std::strtod("2,5", nullptr), 2.5); // the locale is in force

    const char *cursor = "2.5 7,5";
    double value = 0.0;
    ASSERT_TRUE(zel::scanDouble(cursor, value));
    EXPECT_EQ(value, 2.5);
    ASSERT_TRUE(zel::scanDouble(cursor, value));
    EXPECT_EQ(value, 7.0);
    EXPECT_STREQ(cursor, ",5");

    cursor = "2.5";
    float narrow = 0.0F;
    ASSERT_TRUE(zel::scanFloat(cursor, narrow));
    EXPECT_EQ(narrow, 2.5F);
}

} // namespace
