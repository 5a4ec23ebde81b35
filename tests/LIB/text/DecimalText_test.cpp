// Numbers as decimal text, against printf.
#include "text/DecimalText.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

std::string written(unsigned long long value) {
    char text[zel::LONGEST_DECIMAL];
    return {text, zel::writeDecimal(text, value)};
}

std::string writtenSigned(long long value) {
    char text[zel::LONGEST_DECIMAL + 1];
    return {text, zel::writeSignedDecimal(text, value)};
}

std::string printed(const char *format, auto value) {
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

} // namespace

TEST(DecimalText, SmallNumbersAndThoseAroundEveryPowerOfTenAreThoseOfPrintf) {
    for (unsigned long long value = 0; value < 12000; ++value)
        ASSERT_EQ(written(value), printed("%llu", value));
    for (unsigned long long power = 10; power != 0 && power <= 10000000000000000000ULL; power *= 10) {
        for (unsigned long long value = power - 2; value != power + 3; ++value)
            ASSERT_EQ(written(value), printed("%llu", value));
        if (power == 10000000000000000000ULL)
            break;
    }
    EXPECT_EQ(written(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
}

TEST(DecimalText, RandomNumbersOfEveryLengthAreThoseOfPrintf) {
    std::mt19937_64 random(11);
    for (int round = 0; round < 20000; ++round) {
        const unsigned long long value = random() >> (random() % 64);
        ASSERT_EQ(written(value), printed("%llu", value));
        ASSERT_EQ(writtenSigned(static_cast<long long>(value)), printed("%lld", static_cast<long long>(value)));
    }
    EXPECT_EQ(writtenSigned(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(writtenSigned(-1), "-1");
    EXPECT_EQ(writtenSigned(0), "0");
}
