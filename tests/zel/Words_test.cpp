// The right word for a wrong one.
#include "zel/Words.h"

#include <array>
#include <gtest/gtest.h>

namespace {

constexpr std::array<std::string_view, 6> areas{"cpu", "load", "disks", "filesystems", "interfaces", "processes"};

TEST(Words, DistanceCountsChangesOfOneLetter) {
    EXPECT_EQ(zel::editDistance("disks", "disks"), 0U);
    EXPECT_EQ(zel::editDistance("disk", "disks"), 1U);
    EXPECT_EQ(zel::editDistance("diskss", "disks"), 1U);
    EXPECT_EQ(zel::editDistance("dosks", "disks"), 1U);
    EXPECT_EQ(zel::editDistance("disk", "dikss"), 2U);
    EXPECT_EQ(zel::editDistance("kitten", "sitting"), 3U);
    EXPECT_EQ(zel::editDistance("", "cpu"), 3U);
    EXPECT_EQ(zel::editDistance("cpu", ""), 3U);
}

TEST(Words, SwappedNeighboursAreOneSlip) {
    EXPECT_EQ(zel::editDistance("dikss", "disks"), 1U);
    EXPECT_EQ(zel::editDistance("pcu", "cpu"), 1U);
}

TEST(Words, TheNearestOneIsMeant) {
    EXPECT_EQ(zel::nearestWord("disk", areas), "disks");
    EXPECT_EQ(zel::nearestWord("filesytems", areas), "filesystems");
    EXPECT_EQ(zel::nearestWord("proceses", areas), "processes");
    EXPECT_EQ(zel::nearestWord("pcu", areas), "cpu");
}

TEST(Words, ABeginningIsNear) {
    EXPECT_EQ(zel::nearestWord("proc", areas), "processes");
    EXPECT_EQ(zel::nearestWord("int", areas), "interfaces");
}

TEST(Words, NothingIsNearToNonsense) {
    EXPECT_EQ(zel::nearestWord("xyzzy", areas), "");
    EXPECT_EQ(zel::nearestWord("", areas), "");
    EXPECT_EQ(zel::nearestWord(std::string(100000, 'c'), areas), "");
    EXPECT_EQ(zel::nearestWord("cpu", {}), "");
}

TEST(Words, AreListedWithCommas) {
    EXPECT_EQ(zel::listed(std::span(areas).first(2)), "cpu, load");
    EXPECT_EQ(zel::listed({}), "");
}

} // namespace
