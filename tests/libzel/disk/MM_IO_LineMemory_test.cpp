// The lines of a disk file over the passes: what is remembered of a line is what parsing it anew gives.
#include "disk/MM_IO_LineMemory.h"

#include "HostFixture.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

std::string described(const zel::DiskReading &reading) {
    if (reading.kind == zel::DiskLineKind::Ignored)
        return "ignored";
    if (reading.kind == zel::DiskLineKind::Short)
        return "short";
    std::string text(reading.name);
    for (const unsigned long long value : {reading.readRequests, reading.writeRequests, reading.readSectors,
                                           reading.writeSectors, reading.busyMilliseconds})
        text += " " + std::to_string(value);
    return text + " key " + std::to_string(reading.key);
}

class DiskLineMemoryTest : public testing::Test {
protected:
    /// The readings of a pass, of which `limit` are taken.
    std::vector<std::string> pass(zel::DiskLineMemory &memory, std::size_t limit = 1000000,
                                  const zel::DiskLineRules &rules = zel::diskstatsRules) {
        std::vector<std::string> readings;
        EXPECT_TRUE(memory.read(rules));
        zel::LineWalk lines = memory.lines();
        while (readings.size() < limit) {
            const zel::DiskReading *reading = memory.next(lines);
            if (reading == nullptr)
                break;
            readings.push_back(described(*reading));
        }
        return readings;
    }
    std::vector<std::string> freshPass(const zel::DiskLineRules &rules = zel::diskstatsRules) {
        zel::DiskLineMemory memory;
        return pass(memory, 1000000, rules);
    }
    void show(const std::string &diskstats) const { host.write("proc/diskstats", diskstats); }

    static std::string line(const std::string &name, int reads, int minor = 0) {
        return "   8 " + std::to_string(minor) + " " + name + " " + std::to_string(reads) + " 2 3 4 5 6 7 8 9 10 11\n";
    }

    HostFixture host;
};

TEST_F(DiskLineMemoryTest, EachKindOfLine) {
    show(line("sda", 1) + line("sda1", 1, 1) + "8 0 sdb 1\n" + line("md0", 1));
    zel::DiskLineMemory memory;
    const auto first = pass(memory);
    ASSERT_EQ(first.size(), 4U);
    EXPECT_EQ(first[0].substr(0, 14), "sda 1 5 3 7 10"); // reads, writes, sectors of each, busy
    EXPECT_EQ(first[1], "ignored");
    EXPECT_EQ(first[2], "short");
    EXPECT_EQ(first[3], "ignored");
    EXPECT_EQ(pass(memory), first);
}

TEST_F(DiskLineMemoryTest, LineThatChangedIsReadAnew) {
    zel::DiskLineMemory memory;
    show(line("sda", 1) + line("sdb", 10) + line("sdc", 1));
    pass(memory);
    show(line("sda", 1) + line("sdb", 11) + line("sdc", 1));
    EXPECT_EQ(pass(memory), freshPass());
    EXPECT_EQ(pass(memory)[1].substr(0, 6), "sdb 11");
}

// The last line has no line feed: more of it may have come.
TEST_F(DiskLineMemoryTest, LineThatWentOnIsReadAnew) {
    zel::DiskLineMemory memory;
    show("8 0 sda 1 2 3 4 5 6 7 8 9 10 11");
    EXPECT_EQ(pass(memory)[0].substr(0, 14), "sda 1 5 3 7 10");
    show("8 0 sda 1 2 3 4 5 6 7 8 9 109 11\n");
    EXPECT_EQ(pass(memory)[0].substr(0, 15), "sda 1 5 3 7 109");
    show("8 0 sda 1 2 3 4 5 6 7 8 9 10 11 12\n");
    EXPECT_EQ(pass(memory), freshPass());
}

TEST_F(DiskLineMemoryTest, NextPassAfterOneThatEndedEarlyOrFailed) {
    zel::DiskLineMemory memory;
    show(line("sda", 1) + line("sdb", 2) + line("sdc", 3));
    pass(memory);
    pass(memory, 1);
    EXPECT_EQ(pass(memory), freshPass());

    host.remove("proc/diskstats");
    EXPECT_FALSE(memory.read(zel::diskstatsRules));
    show(line("sdb", 2) + line("sda", 1));
    EXPECT_EQ(pass(memory), freshPass());
}

// The same bytes are another disk by the rules of another file.
TEST_F(DiskLineMemoryTest, OtherRulesForgetWhatWasKnown) {
    const std::string text = line("md0", 1) + "8 0 100 sda 1 2 3 4 5 6 7 8 9 10 11\n";
    show(text);
    host.write("proc/partitions", text);
    zel::DiskLineMemory memory;
    pass(memory);
    EXPECT_EQ(pass(memory, 1000000, zel::partitionsRules), freshPass(zel::partitionsRules));
    EXPECT_EQ(pass(memory), freshPass());
}

// Two hundred passes over a host whose lines change, come and go, of all lengths, with junk between.
TEST_F(DiskLineMemoryTest, RandomHistoryGivesWhatParsingAnewGives) {
    std::mt19937 random(20240610);
    std::vector<std::string> lines;
    for (int i = 0; i < 30; ++i)
        lines.push_back(line("sd" + std::to_string(i), i, i % 20));
    zel::DiskLineMemory memory;
    for (int round = 0; round < 200; ++round) {
        for (auto edits = random() % 4; edits > 0; --edits) {
            const auto at = random() % lines.size();
            switch (random() % 6) {
            case 0:
                lines[at] = line("vd" + std::to_string(random() % 9), static_cast<int>(random() % 3));
                break;
            case 1:
                lines.insert(lines.begin() + static_cast<long>(at), line("nvme0n1", round));
                break;
            case 2:
                if (lines.size() > 2)
                    lines.erase(lines.begin() + static_cast<long>(at));
                break;
            case 3:
                lines[at] = "8 16 " + std::string(random() % 3000, 'n') + "\n";
                break;
            case 4:
                lines[at].insert(random() % lines[at].size(), 1, "0 \nx"[random() % 4]);
                break;
            default:
                std::swap(lines[at], lines[0]);
                break;
            }
        }
        std::string text;
        for (const std::string &one : lines)
            text += one;
        if (round % 5 == 0)
            text.pop_back();
        show(text);
        if (round % 7 == 0)
            pass(memory, 10);
        ASSERT_EQ(pass(memory), freshPass()) << round;
        ASSERT_EQ(pass(memory), freshPass()) << round;
    }
}

TEST_F(DiskLineMemoryTest, SteadyPassesAllocateNothing) {
    std::string text;
    for (int i = 0; i < 500; ++i)
        text += line("sd" + std::to_string(i), i);
    show(text);
    zel::DiskLineMemory memory;
    pass(memory);
    systemHooks().failAllocationAfter = 0;
    EXPECT_TRUE(memory.read(zel::diskstatsRules));
    zel::LineWalk lines = memory.lines();
    int count = 0;
    while (memory.next(lines) != nullptr)
        ++count;
    EXPECT_EQ(systemHooks().failAllocationAfter, 0);
    systemHooks().failAllocationAfter = -1;
    EXPECT_EQ(count, 500);
}

} // namespace
