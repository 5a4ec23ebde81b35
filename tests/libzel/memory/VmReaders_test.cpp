// The scanners of the VM collector against sscanf.
#include "memory/VmReaders.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

constexpr const char *requiredFormat =
    "%*d %*s %*s %*d %*d %*d %*d %*d %*u %lu %*u %lu %*u %*u %*u %*u %*u %*d %*d %*u %*u %*d %*u %*u %*u %*u %*u %*u "
    "%*u %*u %*u %*u %*u %*u %*u %*u %*u %*u %*u\n";

constexpr const char *sampleLine =
    "26231 (vim) R 5392 7446 5392 34835 7446 4218880 32533 309516 26 82 1677 44 158 99 20 0 1 0 82375 56274944 1981 "
    "18446744073709551615 4194304 6294284 140736914091744 140736914087944 139965136429984 0 0 12288 1870679807 0 0 0 "
    "17 "
    "0 0 0 31 0 0 8391624 8481048 16420864 140736914093252 140736914093279 140736914093279 140736914096107 0\n";

TEST(ProcessFaults, AreFieldsTenAndTwelve) {
    unsigned long long minor = 0;
    unsigned long long major = 0;

    EXPECT_TRUE(zel::parseProcessFaults(sampleLine, minor, major));

    EXPECT_EQ(minor, 32533U);
    EXPECT_EQ(major, 26U);
}

TEST(ProcessFaults, CommandNameWithABlankIsRefused) {
    unsigned long long minor = 0;
    unsigned long long major = 0;

    EXPECT_FALSE(zel::parseProcessFaults("7 (two words) S 1 7 7 0 -1 256 30 0 5 0\n", minor, major));
    EXPECT_FALSE(zel::parseProcessFaults("7 (1 2 3 4 5 6 7) S 1 7 7 0 -1 256 30 0 5 0\n", minor, major));
}

TEST(ProcessFaults, LineThatEndsTooEarlyIsRefused) {
    unsigned long long minor = 0;
    unsigned long long major = 0;
    const std::string line = "7 (cron) S 1 7 7 0 -1 256 30 0 5";

    EXPECT_TRUE(zel::parseProcessFaults(line.c_str(), minor, major));
    for (std::size_t length = 0; length < line.size() - 1; ++length)
        EXPECT_FALSE(zel::parseProcessFaults(line.substr(0, length).c_str(), minor, major)) << length;
}

// The scanner against the scanf format that states which texts are accepted.
TEST(ProcessFaults, AgreeWithTheScanFormatOnMutatedLines) {
    std::mt19937 random(1011);
    const std::string alphabet = "0123456789 -+()\n\tab9999999999";
    int accepted = 0;
    for (int round = 0; round < 30000; ++round) {
        std::string line = sampleLine;
        line.resize(40 + random() % 60);
        for (auto changes = random() % 6; changes > 0; --changes) {
            const std::size_t position = random() % line.size();
            if (random() % 3 == 0)
                line.insert(position, 1, alphabet[random() % alphabet.size()]);
            else
                line[position] = alphabet[random() % alphabet.size()];
        }
        unsigned long expectedMinor = 0;
        unsigned long expectedMajor = 0;
        const bool expected = std::sscanf(line.c_str(), requiredFormat, &expectedMinor, &expectedMajor) >= 2;
        unsigned long long minor = 0;
        unsigned long long major = 0;

        ASSERT_EQ(zel::parseProcessFaults(line.c_str(), minor, major), expected) << line;
        if (!expected)
            continue;
        ++accepted;
        ASSERT_EQ(minor, expectedMinor) << line;
        ASSERT_EQ(major, expectedMajor) << line;
    }
    EXPECT_GT(accepted, 5000);
    EXPECT_LT(accepted, 29000);
}

TEST(RunningTasks, FollowTheThreeAverages) {
    int running = 0;

    EXPECT_TRUE(zel::parseRunningTasks("12.34 5.67 0.89 3/456 7890\n", running));
    EXPECT_EQ(running, 3);
    EXPECT_TRUE(zel::parseRunningTasks("0.00 0.01 0.05 1/123", running));
    EXPECT_EQ(running, 1);
    EXPECT_FALSE(zel::parseRunningTasks("0.00 0.01 0.05 1/", running));
    EXPECT_FALSE(zel::parseRunningTasks("0.00 0.01 1/123 4567", running));
    EXPECT_FALSE(zel::parseRunningTasks("", running));
}

TEST(RunningTasks, AgreeWithTheScanFormatOnMutatedLines) {
    std::mt19937 random(87);
    const std::string alphabet = "0123456789 .-+/\n\tx9";
    int accepted = 0;
    for (int round = 0; round < 30000; ++round) {
        std::string line = "0.52 0.31 0.10 3/140 4567\n";
        for (auto changes = random() % 4; changes > 0; --changes) {
            const std::size_t position = random() % line.size();
            if (random() % 2 == 0)
                line.insert(position, random() % 20, alphabet[random() % alphabet.size()]);
            else
                line[position] = alphabet[random() % alphabet.size()];
        }
        int expectedRunning = 0;
        int tasks = 0;
        const bool expected =
            std::sscanf(line.c_str(), "%*d.%*d %*d.%*d %*d.%*d %d/%d %*d\n", &expectedRunning, &tasks) >= 2;
        int running = 0;

        ASSERT_EQ(zel::parseRunningTasks(line.c_str(), running), expected) << line;
        if (!expected)
            continue;
        ++accepted;
        ASSERT_EQ(running, expectedRunning) << line;
    }
    EXPECT_GT(accepted, 5000);
    EXPECT_LT(accepted, 29000);
}

} // namespace
