// Numbers as every format writes them.
#include "export/Text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

std::string textOf(double number) {
    std::string out = "=";
    zel::appendNumber(out, number);
    return out.substr(1);
}

// The shortest text that gives the number again, an exponent only where it is shorter.
std::string shortest(double number) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof(text), number).ptr};
}

TEST(Text, NumbersAreTheShortestTextThatReadsBack) {
    EXPECT_EQ(textOf(0), "0");
    EXPECT_EQ(textOf(-0.0), "-0");
    EXPECT_EQ(textOf(0.25), "0.25");
    EXPECT_EQ(textOf(8942.02), "8942.02");
    EXPECT_EQ(textOf(-1.5), "-1.5");
    EXPECT_EQ(textOf(459.384924), "459.384924");
    EXPECT_EQ(textOf(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(textOf(100000), "1e+05");
    EXPECT_EQ(textOf(100001), "100001");
    EXPECT_EQ(textOf(0.001), "0.001");
    EXPECT_EQ(textOf(0.0001), "1e-04");
}

TEST(Text, EveryKindOfNumberIsWhatTheLibraryGives) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 200000; ++round) {
        const auto bits = random();
        const double decimals = std::pow(10, static_cast<int>(random() % 10));
        const double hundredths = static_cast<double>(bits >> (20 + random() % 40)) / decimals;
        ASSERT_EQ(textOf(hundredths), shortest(hundredths));
        const double beside = std::nextafter(hundredths, 0);
        ASSERT_EQ(textOf(beside), shortest(beside));
        double any = 0;
        std::memcpy(&any, &bits, sizeof(any));
        if (std::isfinite(any)) {
            ASSERT_EQ(textOf(any), shortest(any));
        }
    }
    for (const double number : {1e9, 999999999.999999, 999999999.9999999, 1e15, 0.000999, 1e-300,
                                std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min()})
        EXPECT_EQ(textOf(number), shortest(number));
}

} // namespace
