// Growth per second, the floor of 0, and conversions at their limits.
#include "rates/Growth.h"
#include "rates/Saturate.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
const double notANumber = std::nan("");

TEST(Growth, IsDividedByTheTime) {
    EXPECT_DOUBLE_EQ(zel::perSecond(10, 4.0), 2.5);
    EXPECT_DOUBLE_EQ(zel::perSecond(1, 4.0), 0.25);
}

TEST(Growth, NoneGivesZeroInNoTime) {
    EXPECT_EQ(zel::perSecond(0, 0.0), 0.0);
    EXPECT_EQ(zel::perSecond(1, 0.0), infinite);
}

TEST(Growth, CounterThatFellDidNotRise) {
    EXPECT_DOUBLE_EQ(zel::risePerSecond(10, 4.0), 2.5);
    EXPECT_EQ(zel::risePerSecond(-10, 4.0), 0.0);
    EXPECT_EQ(zel::risePerSecond(0, 0.0), 0.0);
    EXPECT_EQ(zel::risePerSecond(10, -4.0), 0.0) << "the clock was set back";
    EXPECT_EQ(zel::risePerSecond(1, 0.0), infinite);
}

TEST(Growth, WhatIsNotAboveZeroIsZero) {
    for (const double value : {-0.0, 0.0, -1.0, -infinite, notANumber}) {
        EXPECT_EQ(zel::notBelowZero(value), 0.0) << value;
        EXPECT_FALSE(std::signbit(zel::notBelowZero(value))) << value;
    }
    EXPECT_EQ(zel::notBelowZero(0.001), 0.001);
}

TEST(Saturate, IntEndsAtItsLimits) {
    EXPECT_EQ(zel::saturatedInt(2147483646.9), 2147483646);
    EXPECT_EQ(zel::saturatedInt(2147483647.0), 2147483647);
    EXPECT_EQ(zel::saturatedInt(1e300), 2147483647);
    EXPECT_EQ(zel::saturatedInt(infinite), 2147483647);
    EXPECT_EQ(zel::saturatedInt(-2147483647.9), -2147483647);
    EXPECT_EQ(zel::saturatedInt(-2147483648.0), -2147483647 - 1);
    EXPECT_EQ(zel::saturatedInt(-1e300), -2147483647 - 1);
    EXPECT_EQ(zel::saturatedInt(notANumber), 0);
    EXPECT_EQ(zel::saturatedInt(-1.9), -1);
}

TEST(Saturate, UnsignedEndsAtItsLimits) {
    EXPECT_EQ(zel::saturatedUnsigned(18446744073709551616.0), 18446744073709551615ULL);
    EXPECT_EQ(zel::saturatedUnsigned(infinite), 18446744073709551615ULL);
    EXPECT_EQ(zel::saturatedUnsigned(9223372036854775808.0), 9223372036854775808ULL);
    EXPECT_EQ(zel::saturatedUnsigned(2.9), 2ULL);
    EXPECT_EQ(zel::saturatedUnsigned(-0.5), 0ULL);
    EXPECT_EQ(zel::saturatedUnsigned(notANumber), 0ULL);
}

} // namespace
