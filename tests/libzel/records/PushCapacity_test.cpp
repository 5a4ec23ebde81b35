// The capacity of push lists.
#include "records/PushCapacity.h"

#include <gtest/gtest.h>

namespace {

TEST(PushCapacity, GrowsWhenTheRowsDidNotFit) {
    EXPECT_EQ(zel::nextPushCapacity(10000, 10001, true, 9000), 11001);
    EXPECT_EQ(zel::nextPushCapacity(20000, 15000, false, 9000), 20000) << "it fits: nothing changes";
}

TEST(PushCapacity, ReturnsToTheFirstOneAfterAPassOfFewRows) {
    EXPECT_EQ(zel::nextPushCapacity(20000, 8999, false, 9000), 10000);
    EXPECT_EQ(zel::nextPushCapacity(20000, 9000, false, 9000), 20000);
    EXPECT_EQ(zel::nextPushCapacity(100, 101, true, 9000), 10000) << "few rows, though they did not fit";
}

} // namespace
