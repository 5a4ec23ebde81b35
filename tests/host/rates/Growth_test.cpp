// What counters grew by.
#include "host/rates/Growth.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

using zel::Absence;
using zel::Count;
using zel::growthOf;
using zel::Number;

constexpr std::uint64_t wrap = std::uint64_t{1} << 32;

TEST(Growth, IsTheDifference) {
    EXPECT_EQ(*growthOf(Count(5), Count(12)), 7);
    EXPECT_EQ(*growthOf(Count(5), Count(5)), 0);
    EXPECT_EQ(*growthOf(Number(1.5), Number(2.0)), 0.5);
    EXPECT_EQ(*growthOf(Count(0), Count(std::numeric_limits<std::uint64_t>::max())), 18446744073709551615.0);
}

TEST(Growth, CounterOf32BitsWraps) {
    EXPECT_EQ(*growthOf(Count(wrap - 3), Count(4), 32), 7);
    EXPECT_EQ(growthOf(Count(wrap - 3), Count(4), 64).absence(), Absence::NotYet);
}

TEST(Growth, SumOfCountersOf32BitsLosesAMultiple) {
    // Two of eight counters wrapped: 10 * 2^32 + 100 became 8 * 2^32 + 150.
    EXPECT_EQ(*growthOf(Count(10 * wrap + 100), Count(8 * wrap + 150), 32), 50);
}

TEST(Growth, CounterThatFellByLittleWasReset) {
    EXPECT_EQ(growthOf(Count(5000000), Count(3), 32).absence(), Absence::NotYet) << "it would have grown by 2^32 - 5e6";
    EXPECT_EQ(growthOf(Count(5000000), Count(3)).absence(), Absence::NotYet);
    EXPECT_EQ(growthOf(Number(5.0), Number(4.9)).absence(), Absence::NotYet);
}

TEST(Growth, CounterThatWrapsAtItsOwnRange) {
    const Number range(1000.0);
    EXPECT_EQ(*zel::wrappingGrowth(Number(950.0), Number(30.0), range), 80);
    EXPECT_EQ(*zel::wrappingGrowth(Number(100.0), Number(900.0), range), 800);
    EXPECT_EQ(zel::wrappingGrowth(Number(400.0), Number(30.0), range).absence(), Absence::NotYet) << "it was reset";
    EXPECT_EQ(zel::wrappingGrowth(Number(950.0), Number(30.0), Number()).absence(), Absence::NotYet) << "no range";
    EXPECT_EQ(zel::wrappingGrowth(Number(5000.0), Number(30.0), range).absence(), Absence::NotYet) << "beyond it";
    EXPECT_EQ(zel::wrappingGrowth(Number(1.0), Number(Absence::Denied), range).absence(), Absence::Denied);
}

TEST(Growth, WithoutBothValuesItHasTheReason) {
    EXPECT_EQ(growthOf(Count(1), Count(Absence::Denied)).absence(), Absence::Denied);
    EXPECT_EQ(growthOf(Count(Absence::TimedOut), Count(1)).absence(), Absence::TimedOut);
    EXPECT_EQ(growthOf(Count(), Count(1)).absence(), Absence::NotYet) << "it has a value for the first time";
    EXPECT_EQ(growthOf(Number(), Number(1.0)).absence(), Absence::NotYet);
    EXPECT_EQ(growthOf(Number(1.0), Number(Absence::Malformed)).absence(), Absence::Malformed);
}

TEST(Growth, QuotientOfNothingIsTheOther) {
    EXPECT_EQ(*zel::quotient(Number(6.0), Number(3.0)), 2);
    EXPECT_EQ(*zel::quotient(Number(0.0), Number(0.0)), 0);
    EXPECT_EQ(*zel::quotient(Number(0.0), Number(0.0), 9), 9);
    EXPECT_EQ(zel::quotient(Number(Absence::Denied), Number(1.0)).absence(), Absence::Denied);
    EXPECT_EQ(zel::quotient(Number(1.0), Number(Absence::NotYet)).absence(), Absence::NotYet);
}

} // namespace
