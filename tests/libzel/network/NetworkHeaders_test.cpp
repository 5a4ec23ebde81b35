// The constants of the public headers keep their values whatever else of the collector's headers is included: no header
// of the kernel may put its own in their place.
#include "Zel.h"

#include <gtest/gtest.h>

namespace {

TEST(NetworkHeaders, DuplexConstantsAreThoseOfTheBandwidthList) {
    EXPECT_EQ(DUPLEX_UNKNOWN, 0);
    EXPECT_EQ(DUPLEX_HALF, 1);
    EXPECT_EQ(DUPLEX_FULL, 2);
}

} // namespace
