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
    for (const int error : {EACCES, EPERM})
        EXPECT_EQ(zel::absenceOf(error), Absence::Denied) << error;
    for (const int error : {ESRCH, ENODEV, ENXIO})
        EXPECT_EQ(zel::absenceOf(error), Absence::Vanished) << error;
    for (const int error : {ENOENT, ENOTDIR, ELOOP, EOPNOTSUPP, ENOSYS, EINVAL})
        EXPECT_EQ(zel::absenceOf(error), Absence::Unsupported) << error;
    for (const int error : {ETIMEDOUT, EAGAIN})
        EXPECT_EQ(zel::absenceOf(error), Absence::TimedOut) << error;
    for (const int error : {EIO, EBADMSG, EMFILE})
        EXPECT_EQ(zel::absenceOf(error), Absence::Malformed) << error;
}

} // namespace
