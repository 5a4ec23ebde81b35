// Mount tables: lines of both kinds, escapes, and which mounts are hidden by others.
#include "host/areas/MountTable.h"

#include <chrono>
#include <gtest/gtest.h>
#include <map>

namespace {

using zel::Absence;
using zel::Mount;
using zel::MountTable;

Mount parsed(const std::string &line) {
    Mount mount;
    EXPECT_TRUE(zel::parseMountInfo(line, mount)) << line;
    return mount;
}

std::map<std::uint64_t, std::uint64_t> hiddenOf(const std::string &text) {
    MountTable table;
    table.parse(text, MountTable::Format::MountInfo);
    std::map<std::uint64_t, std::uint64_t> hidden;
    for (const Mount &mount : table.mounts())
        hidden[*mount.id] = mount.hidden.valueOr(9);
    return hidden;
}

std::string line(int id, int parent, const std::string &mountPoint) {
    return std::to_string(id) + " " + std::to_string(parent) + " 8:1 / " + mountPoint + " rw - ext4 /dev/sda1 rw\n";
}

using Hidden = std::map<std::uint64_t, std::uint64_t>;

TEST(MountTable, ALineOfMountInfoHasEveryField) {
    const Mount mount =
        parsed("36 35 98:0 /mnt1 /mnt2 rw,noatime shared:7 master:1 - ext3 /dev/root rw,errors=continue");
    EXPECT_EQ(*mount.id, 36U);
    EXPECT_EQ(*mount.parent, 35U);
    EXPECT_EQ(*mount.major, 98U);
    EXPECT_EQ(*mount.minor, 0U);
    EXPECT_EQ(*mount.root, "/mnt1");
    EXPECT_EQ(mount.mountPoint, "/mnt2");
    EXPECT_EQ(*mount.options, "rw,noatime");
    EXPECT_EQ(*mount.propagation, "shared:7 master:1");
    EXPECT_EQ(mount.type, "ext3");
    EXPECT_EQ(mount.device, "/dev/root");
    EXPECT_EQ(*mount.superOptions, "rw,errors=continue");
    EXPECT_EQ(*mount.readOnly, 0U);
}

TEST(MountTable, APrivateMountHasNoPropagation) {
    EXPECT_EQ(parsed("36 35 98:0 / /mnt rw - ext3 /dev/root rw").propagation.absence(), Absence::Unsupported);
}

TEST(MountTable, NamesHaveTheirEscapesResolvedAndOptionsDoNot) {
    const Mount mount = parsed("36 35 98:0 /a\\040b /m\\011\\012\\134x rw - fuse.a\\040b //s/a\\040b rw,dir=a\\054b");
    EXPECT_EQ(*mount.root, "/a b");
    EXPECT_EQ(mount.mountPoint, "/m\t\n\\x");
    EXPECT_EQ(mount.type, "fuse.a b");
    EXPECT_EQ(mount.device, "//s/a b");
    EXPECT_EQ(*mount.superOptions, "rw,dir=a\\054b"); // a comma of a value is none between options
}

TEST(MountTable, AnEmptyDeviceIsAField) {
    const Mount mount = parsed("36 35 0:40 / /mnt rw - tmpfs  rw,size=4k");
    EXPECT_EQ(mount.device, "");
    EXPECT_EQ(*mount.superOptions, "rw,size=4k");
}

TEST(MountTable, ReadOnlyIsTheMountsOrItsFilesystemsOption) {
    EXPECT_EQ(*parsed("36 35 98:0 / /mnt ro,noatime - ext3 /dev/root rw").readOnly, 1U);
    EXPECT_EQ(*parsed("36 35 98:0 / /mnt rw - ext3 /dev/root ro,data=ordered").readOnly, 1U);
    EXPECT_EQ(*parsed("36 35 98:0 / /mnt rw,root=x - ext3 /dev/root rw,errors=remount-ro,pro").readOnly, 0U);
}

TEST(MountTable, WhatIsNoLineOfMountInfoIsRefused) {
    Mount mount;
    for (const char *text :
         {"", " ", "36", "36 35 98:0 / /mnt rw", "36 35 98:0 / /mnt rw - ", "x 35 98:0 / /mnt rw - ext3 a rw",
          "36 -1 98:0 / /mnt rw - ext3 a rw", "36 35 98 / /mnt rw - ext3 a rw", "36 35 98: / /mnt rw - ext3 a rw",
          "36 35 98:0x / /mnt rw - ext3 a rw", "36 35 98:0 /  rw - ext3 a rw",
          "99999999999999999999 35 98:0 / /mnt rw - ext3 a rw", "/dev/sda1 / ext4 rw 0 0"})
        EXPECT_FALSE(zel::parseMountInfo(text, mount)) << text;
}

TEST(MountTable, ALineOfMountsHasNoNumbers) {
    Mount mount;
    ASSERT_TRUE(zel::parseMount("/dev/root /mnt\\0402 ext3 ro,noatime 0 0", mount));
    EXPECT_EQ(mount.device, "/dev/root");
    EXPECT_EQ(mount.mountPoint, "/mnt 2");
    EXPECT_EQ(mount.type, "ext3");
    EXPECT_EQ(*mount.options, "ro,noatime");
    EXPECT_EQ(*mount.readOnly, 1U);
    EXPECT_EQ(mount.id.absence(), Absence::Unsupported);
    EXPECT_EQ(mount.hidden.absence(), Absence::Unsupported);
    EXPECT_FALSE(zel::parseMount("/dev/root /mnt2", mount));
    EXPECT_FALSE(zel::parseMount("", mount));
}

TEST(MountTable, TheSameTextIsNotParsedAgain) {
    MountTable table;
    EXPECT_TRUE(table.parse(line(1, 0, "/"), MountTable::Format::MountInfo));
    EXPECT_FALSE(table.parse(line(1, 0, "/"), MountTable::Format::MountInfo));
    EXPECT_EQ(table.mounts().size(), 1U);
    EXPECT_TRUE(table.parse(line(1, 0, "/") + line(2, 1, "/a"), MountTable::Format::MountInfo));
    EXPECT_EQ(table.mounts().size(), 2U);
}

TEST(MountTable, MalformedLinesAreCountedAndTheOthersStay) {
    MountTable table;
    table.parse(line(1, 0, "/") + "nonsense\n\n" + line(2, 1, "/a"), MountTable::Format::MountInfo);
    EXPECT_EQ(table.mounts().size(), 2U);
    EXPECT_EQ(table.malformedLines(), 1U);
}

TEST(MountTable, MountsBesideAndBelowOneAnotherAreNotHidden) {
    EXPECT_EQ(hiddenOf(line(1, 0, "/") + line(2, 1, "/a") + line(3, 2, "/a/b") + line(4, 1, "/ab")),
              (Hidden{{1, 0}, {2, 0}, {3, 0}, {4, 0}}));
}

TEST(MountTable, AMountOnTheRootOfAnotherHidesItAndWhatIsBelowIt) {
    EXPECT_EQ(hiddenOf(line(1, 0, "/") + line(2, 1, "/a") + line(3, 2, "/a/b") + line(4, 2, "/a") + line(5, 4, "/a/b")),
              (Hidden{{1, 0}, {2, 1}, {3, 1}, {4, 0}, {5, 0}}));
}

TEST(MountTable, AMountOnTheWayHidesWhatIsBelow) {
    EXPECT_EQ(hiddenOf(line(1, 0, "/") + line(2, 1, "/a/b") + line(3, 2, "/a/b/c") + line(4, 1, "/a")),
              (Hidden{{1, 0}, {2, 1}, {3, 1}, {4, 0}}));
}

TEST(MountTable, ANewRootHidesTheOldOne) {
    EXPECT_EQ(hiddenOf(line(1, 1, "/") + line(27, 1, "/") + line(28, 27, "/proc") + line(29, 1, "/dev")),
              (Hidden{{1, 1}, {27, 0}, {28, 0}, {29, 1}}));
}

TEST(MountTable, ParentsMayComeAfterTheirChildren) {
    EXPECT_EQ(hiddenOf(line(3, 2, "/a/b") + line(4, 2, "/a") + line(2, 1, "/a") + line(1, 0, "/")),
              (Hidden{{1, 0}, {2, 1}, {3, 1}, {4, 0}}));
}

TEST(MountTable, NamesThatOnlyBeginAlikeHideNothing) {
    EXPECT_EQ(
        hiddenOf(line(1, 0, "/") + line(2, 1, "/a") + line(3, 1, "/a-b") + line(4, 1, "/a/c") + line(5, 1, "/ab")),
        (Hidden{{1, 0}, {2, 0}, {3, 0}, {4, 1}, {5, 0}}));
}

TEST(MountTable, OfTwoAtOnePlaceTheLastOneIsSeen) {
    EXPECT_EQ(hiddenOf(line(1, 0, "/") + line(2, 1, "/a") + line(3, 1, "/a")), (Hidden{{1, 0}, {2, 1}, {3, 0}}));
}

// A file that a stranger wrote costs no more than its length.
TEST(MountTable, LongWaysAndManyMountsTakeNoLongTime) {
    std::string text = line(1, 0, "/"), way;
    for (int depth = 0; depth < 100000; ++depth)
        way += "/a";
    for (int id = 2; id < 40; ++id)
        text += line(id, 1, way);
    for (int id = 100; id < 20000; ++id)
        text += line(id, id - 1, "/b"); // each on the one before
    for (int id = 30000; id < 60000; ++id)
        text += line(70000, 1, "/c") + line(80000 + id, 70000, "/c/d");
    MountTable table;
    const auto start = std::chrono::steady_clock::now();
    table.parse(text, MountTable::Format::MountInfo);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(table.mounts().size(), 39U + 19900U + 60000U);
}

// No kernel writes it.
TEST(MountTable, MountsThatAreOnOneAnotherInACircleAreNotKnownToBeHidden) {
    EXPECT_EQ(hiddenOf(line(1, 0, "/") + line(2, 3, "/a") + line(3, 2, "/b")), (Hidden{{1, 0}, {2, 9}, {3, 9}}));
}

} // namespace
