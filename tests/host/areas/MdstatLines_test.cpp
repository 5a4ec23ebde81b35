// The arrays of /proc/mdstat: states, disks by role, sizes and what is done with their redundancy, whole and broken.
#include "host/areas/MdstatLines.h"

#include "SampledHost.h"

namespace {

using zel::Absence;
using zel::MdArray;

struct Parsed {
    bool whole = false;
    std::vector<MdArray> arrays;
};

Parsed parsed(const std::string &lines) {
    Parsed result;
    const std::string text = "Personalities : [raid1] [raid6] [raid5] [raid4]\n" + lines + "\nunused devices: <none>\n";
    result.whole = zel::parseMdstat(text.c_str(), result.arrays);
    return result;
}

MdArray one(const std::string &lines) {
    const auto [whole, arrays] = parsed(lines);
    EXPECT_TRUE(whole) << lines;
    EXPECT_EQ(arrays.size(), 1U) << lines;
    return arrays.empty() ? MdArray{} : arrays[0];
}

TEST(MdstatLines, ACompleteArrayHasItsDisksByRole) {
    const MdArray array = one("md3 : active raid6 sda1[8] sdh1[7] sdg1[6] sdf1[5](W) sde1[11] sdd1[10](S) sdc1[9](J)\n"
                              "      5853468288 blocks super 1.2 level 6, 64k chunk, algorithm 2 [5/5] [UUUUU]\n"
                              "      bitmap: 0/30 pages [0KB], 65536KB chunk\n");
    EXPECT_EQ(array.name, "md3");
    EXPECT_TRUE(holds(array.state, "active"));
    EXPECT_TRUE(holds(array.level, "raid6"));
    EXPECT_TRUE(holds(array.readOnly, 0));
    EXPECT_TRUE(holds(array.disks, 7));
    EXPECT_TRUE(holds(array.required, 5));
    EXPECT_TRUE(holds(array.active, 5));
    EXPECT_TRUE(holds(array.failed, 0));
    EXPECT_TRUE(holds(array.spare, 1));
    EXPECT_TRUE(holds(array.journals, 1));
    EXPECT_TRUE(holds(array.sizeBytes, 5853468288.0 * 1024));
    EXPECT_TRUE(holds(array.syncedBytes, 5853468288.0 * 1024));
    EXPECT_TRUE(holds(array.action, "none"));
    EXPECT_TRUE(holds(array.wait, "none"));
    EXPECT_TRUE(lacks(array.syncTargetBytes, Absence::Unsupported));
}

TEST(MdstatLines, ADegradedArrayLacksADisk) {
    const MdArray array = one("md7 : active raid6 sdb1[0] sde1[3] sdd1[2] sdc1[1](F)\n"
                              "      9825698282 blocks super 1.2 level 6, 512k chunk, algorithm 2 [4/3] [U_UU]\n");
    EXPECT_TRUE(holds(array.required, 4));
    EXPECT_TRUE(holds(array.active, 3));
    EXPECT_TRUE(holds(array.failed, 1));
}

TEST(MdstatLines, ARecoveryHasProgressSpeedAndWhatIsLeft) {
    const MdArray array = one("md6 : active raid1 sdb2[2](F) sdc[1](S) sda2[0]\n"
                              "      266828397 blocks [2/1] [U_]\n"
                              "      [=>...................]  recovery = 20.6% (54860247/266828397) finish=17.5min "
                              "speed=259783K/sec\n      \n");
    EXPECT_TRUE(holds(array.action, "recovery"));
    EXPECT_TRUE(holds(array.wait, "none"));
    EXPECT_TRUE(holds(array.syncedBytes, 54860247.0 * 1024));
    EXPECT_TRUE(holds(array.syncTargetBytes, 266828397.0 * 1024));
    EXPECT_TRUE(holds(array.syncSpeed, 259783.0 * 1024));
    EXPECT_TRUE(holds(array.syncRemaining, 17.5 * 60));
}

TEST(MdstatLines, EveryActionHasItsName) {
    for (const std::string name : {"resync", "recovery", "check", "reshape"}) {
        const MdArray array = one("md8 : active raid1 sdb1[1] sda1[0]\n      1000 blocks [2/2] [UU]\n      [>....]  " +
                                  name + " =100.0% (1000/1000) finish=0.0min speed=0K/sec\n");
        EXPECT_TRUE(holds(array.action, name));
        EXPECT_TRUE(holds(array.syncSpeed, 0));
    }
}

TEST(MdstatLines, AnActionThatWaitsSaysWhyAndIsAtItsBeginning) {
    const std::initializer_list<std::array<const char *, 3>> cases{
        {"resync=DELAYED", "resync", "delayed"},     {"resync=PENDING", "resync", "pending"},
        {"recovery=PENDING", "recovery", "pending"}, {"recover=REMOTE", "recovery", "remote"},
        {"reshape=REMOTE", "reshape", "remote"},
    };
    for (const auto &[text, action, wait] : cases) {
        const MdArray array = one(std::string("md9 : active raid1 sdc2[2] sdd2[3]\n      1000 blocks super 1.2 [2/2] "
                                              "[UU]\n      \t") +
                                  text + "\n");
        EXPECT_TRUE(holds(array.action, action)) << text;
        EXPECT_TRUE(holds(array.wait, wait)) << text;
        EXPECT_TRUE(holds(array.syncedBytes, 0)) << text;
    }
}

TEST(MdstatLines, LevelsWithoutRedundancyNeedAllOfTheirDisks) {
    const MdArray array = one("md101 : active (read-only) raid0 sdb[2] sdd[1] sdc[0]\n"
                              "      322560 blocks super 1.2 512k chunks\n      \n");
    EXPECT_TRUE(holds(array.level, "raid0"));
    EXPECT_TRUE(holds(array.readOnly, 1));
    EXPECT_TRUE(holds(array.required, 3));
    EXPECT_TRUE(holds(array.active, 3));
}

TEST(MdstatLines, AnInactiveArrayDoesNotSayWhatItNeeds) {
    const MdArray array = one("md219 : inactive sdb[2](S) sdc[1](S) sda[0](S)\n"
                              "        7932 blocks super external:imsm\n       \n");
    EXPECT_TRUE(holds(array.state, "inactive"));
    EXPECT_TRUE(lacks(array.level, Absence::Unsupported));
    EXPECT_TRUE(holds(array.disks, 3));
    EXPECT_TRUE(holds(array.spare, 3));
    EXPECT_TRUE(lacks(array.required, Absence::Unsupported));
    EXPECT_TRUE(lacks(array.active, Absence::Unsupported));
    EXPECT_TRUE(holds(array.sizeBytes, 7932.0 * 1024));
}

TEST(MdstatLines, ArraysFollowOneAnotherWithoutMixing) {
    const auto [whole, arrays] = parsed("md0 : active raid1 sdi1[0] sdj1[1]\n      248896 blocks [2/2] [UU]\n\n"
                                        "md_d1 : broken raid0 sda[0]\n      10 blocks 64k chunks\n");
    EXPECT_TRUE(whole);
    ASSERT_EQ(arrays.size(), 2U);
    EXPECT_TRUE(holds(arrays[0].required, 2));
    EXPECT_EQ(arrays[1].name, "md_d1");
    EXPECT_TRUE(holds(arrays[1].state, "broken"));
    EXPECT_TRUE(holds(arrays[1].disks, 1));
}

TEST(MdstatLines, WithoutArraysThereAreNone) {
    for (const char *text : {"", "\n", "Personalities : \nunused devices: <none>\n"}) {
        std::vector<MdArray> arrays;
        EXPECT_TRUE(zel::parseMdstat(text, arrays)) << text;
        EXPECT_TRUE(arrays.empty()) << text;
    }
}

TEST(MdstatLines, WhatIsNotTheKernelsIsSaid) {
    for (const char *text :
         {"md0\n", "md0 :\n", "md0 : active raid1 sda[0]\n      many blocks [1/1] [U]\n",
          "md0 : active raid1 sda[0]\n      10 blocks [1/x] [U]\n",
          "md0 : active raid1 sda[0]\n      10 blocks [99999999999999999999999/1] [U]\n",
          "md0 : active raid1 sda[0]\n      10 blocks [1/1] [U]\n      [=>..]  resync = 5% (7 of 9)\n",
          "md0 : active raid1 sda[0]\n      10 blocks [1/1] [U]\n      resync=MAYBE\n"})
        EXPECT_FALSE(parsed(text).whole) << text;
}

TEST(MdstatLines, NumbersThatAreNoneAreMalformed) {
    const MdArray array = parsed("md0 : active raid1 sda[0]\n      10 blocks [2/1] [U_]\n      [=>..]  resync = 5% "
                                 "(7/9) finish=soon speed=99999999999999999999999999999999999K/sec\n")
                              .arrays.at(0);
    EXPECT_TRUE(holds(array.syncedBytes, 7 * 1024));
    EXPECT_TRUE(lacks(array.syncRemaining, Absence::Malformed));
    EXPECT_TRUE(lacks(array.syncSpeed, Absence::Malformed));
}

TEST(MdstatLines, MoreArraysThanAreBelievedAreLeftOut) {
    std::string text;
    for (std::size_t number = 0; number < zel::MD_ARRAYS_AT_MOST + 10; ++number)
        text += "md" + std::to_string(number) + " : active raid1 sda[0]\n      1 blocks [1/1] [U]\n";
    EXPECT_EQ(parsed(text).arrays.size(), zel::MD_ARRAYS_AT_MOST);
}

} // namespace
