// Durations of the command line.
#include "zel/Duration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

zel::ReadDuration read(std::string_view text) {
    return zel::readDuration(text, 10ms, 24h);
}

TEST(Duration, HasAWholeNumberAndAUnit) {
    EXPECT_EQ(read("500ms").value, 500ms);
    EXPECT_EQ(read("1s").value, 1s);
    EXPECT_EQ(read("2m").value, 2min);
    EXPECT_EQ(read("24h").value, 24h);
    EXPECT_EQ(read("10ms").value, 10ms);
    for (const char *text : {"500ms", "1s", "2m", "24h", "10ms"})
        EXPECT_EQ(read(text).problem, "") << text;
}

TEST(Duration, IsRefusedOutsideItsLimits) {
    EXPECT_EQ(read("0s").problem, "the least is 10ms");
    EXPECT_EQ(read("9ms").problem, "the least is 10ms");
    EXPECT_EQ(read("25h").problem, "the most is 24h");
    EXPECT_EQ(read("86401s").problem, "the most is 24h");
    EXPECT_EQ(read("99999999999999999999s").problem, "the most is 24h");
    EXPECT_EQ(read("9223372036854775807h").problem, "the most is 24h");
}

TEST(Duration, IsNotNegative) {
    EXPECT_THAT(read("-1s").problem, HasSubstr("not negative"));
    EXPECT_THAT(read("-").problem, HasSubstr("not negative"));
}

TEST(Duration, WithoutAUnitIsAskedForIt) {
    EXPECT_EQ(read("5").problem, "the unit is missing; did you mean 5s?");
    EXPECT_EQ(read("0").problem, "the unit is missing; the least is 10ms") << "0s would be refused too";
    EXPECT_EQ(read("86401").problem, "the unit is missing; the most is 24h");
}

TEST(Duration, OfAnotherFormIsShownTheRightOne) {
    for (const char *text : {"", "s", "abc", "1 s", "1.5s", "1sec", "1s2", "+1s", " 1s", "1S", "1d"})
        EXPECT_THAT(read(text).problem, HasSubstr("such as 500ms, 1s, 2m or 1h")) << text;
}

TEST(Duration, IsWrittenInTheLargestUnitThatIsExact) {
    EXPECT_EQ(zel::durationText(1500ms), "1500ms");
    EXPECT_EQ(zel::durationText(60s), "1m");
    EXPECT_EQ(zel::durationText(90s), "90s");
    EXPECT_EQ(zel::durationText(2h), "2h");
}

} // namespace
