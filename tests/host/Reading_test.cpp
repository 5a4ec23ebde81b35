// A reading holds a value or the reason why there is none.
#include "host/Reading.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

using zel::Absence;
using zel::Reading;

TEST(Reading, HoldsItsValueAndNoReason) {
    const Reading<int> reading = 0;
    EXPECT_TRUE(reading.has());
    EXPECT_EQ(*reading, 0);
    EXPECT_EQ(reading.absence(), Absence::None);
}

TEST(Reading, GivesTheOtherValueInThePlaceOfAReason) {
    const Reading<int> reading = Absence::Denied;
    EXPECT_FALSE(reading);
    EXPECT_EQ(reading.valueOr(7), 7);
    EXPECT_EQ(reading.absence(), Absence::Denied);
}

TEST(Reading, ReasonsHaveTheNamesThatTheFormatsWrite) {
    EXPECT_EQ(zel::absenceName(Absence::NotYet), "not_yet");
    EXPECT_EQ(zel::absenceName(Absence::Unsupported), "unsupported");
    EXPECT_EQ(zel::absenceName(Absence::Denied), "denied");
    EXPECT_EQ(zel::absenceName(Absence::Vanished), "vanished");
    EXPECT_EQ(zel::absenceName(Absence::TimedOut), "timed_out");
    EXPECT_EQ(zel::absenceName(Absence::Malformed), "malformed");
}

TEST(Reading, ErrorNumbersOfFailedReadsHaveAReason) {
    EXPECT_EQ(zel::absenceOf(0), Absence::None);
    EXPECT_EQ(zel::absenceOf(EACCES), Absence::Denied);
    EXPECT_EQ(zel::absenceOf(ESRCH), Absence::Vanished);
    EXPECT_EQ(zel::absenceOf(ENOENT), Absence::Unsupported);
    EXPECT_EQ(zel::absenceOf(ETIMEDOUT), Absence::TimedOut);
    EXPECT_EQ(zel::absenceOf(EAGAIN), Absence::TimedOut);
    EXPECT_EQ(zel::absenceOf(EIO), Absence::Malformed);
}

} // namespace
