// The lines of the kernel's disk files: the scanners against sscanf, and which disks are reported.
#include "Paths.h"
#include "disk/MM_IO_Lines.h"

#include "kernel/WholeFile.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace {

struct Scan {
    int fields = 0;
    _ST_DISKSTATS_ disk{};
};

Scan referenceDiskstats(const std::string &line) {
    Scan scan;
    int major = 0;
    int minor = 0;
    _ST_DISKSTATS_ &d = scan.disk;
    scan.fields = std::max(0, std::sscanf(line.c_str(), "%4d %4d %s %u %u %llu %u %u %u %llu %u %*u %llu %u", &major,
                                          &minor, d.name, &d.rd_ios, &d.rd_merges, &d.rd_sectors, &d.rd_ticks,
                                          &d.wr_ios, &d.wr_merges, &d.wr_sectors, &d.wr_ticks, &d.ticks, &d.aveq));
    return scan;
}

Scan referencePartitions(const std::string &line) {
    Scan scan;
    int major = 0;
    int minor = 0;
    unsigned ticks = 0;
    _ST_DISKSTATS_ &d = scan.disk;
    scan.fields = std::max(0, std::sscanf(line.c_str(), "%4d %4d %*d %s %u %u %llu %u %u %u %llu %u %*u %u %u", &major,
                                          &minor, d.name, &d.rd_ios, &d.rd_merges, &d.rd_sectors, &d.rd_ticks,
                                          &d.wr_ios, &d.wr_merges, &d.wr_sectors, &d.wr_ticks, &ticks, &d.aveq));
    d.ticks = ticks;
    return scan;
}

Scan scanned(const zel::DiskLineRules &rules, const std::string &line) {
    Scan scan;
    std::memset(&scan.disk, 'x', sizeof(scan.disk));
    zel::DiskLine scanner(rules, line.c_str());
    static_cast<void>(scanner.isPartition()); // looks ahead and takes nothing
    scan.fields = scanner.take(scan.disk);
    return scan;
}

bool isPartition(const zel::DiskLineRules &rules, const std::string &line) {
    return zel::DiskLine(rules, line.c_str()).isPartition();
}

std::string described(const Scan &scan) {
    const _ST_DISKSTATS_ &d = scan.disk;
    char numbers[512];
    std::snprintf(numbers, sizeof(numbers), "%d fields, %u %u %llu %u %u %u %llu %u %llu %u size %llu ", scan.fields,
                  d.rd_ios, d.rd_merges, d.rd_sectors, d.rd_ticks, d.wr_ios, d.wr_merges, d.wr_sectors, d.wr_ticks,
                  d.ticks, d.aveq, d.l_nTotSize);
    return numbers + std::string(d.name);
}

void expectReferenceResults(const std::string &line) {
    ASSERT_EQ(described(scanned(zel::diskstatsRules, line)), described(referenceDiskstats(line))) << line;
    ASSERT_EQ(described(scanned(zel::partitionsRules, line)), described(referencePartitions(line))) << line;

    unsigned long blocks = 0;
    char name[64] = {};
    const int fields = std::max(0, std::sscanf(line.c_str(), "%*d %*d %lu %63s ", &blocks, name));
    unsigned long scannedBlocks = 9;
    char scannedName[64] = "x";
    ASSERT_EQ(zel::scanPartitionSizeLine(line.c_str(), scannedBlocks, scannedName), fields) << line;
    ASSERT_EQ(scannedBlocks, blocks) << line;
    ASSERT_STREQ(scannedName, name) << line;
}

// A minor that is not there counts as 0.
void expectReferencePartition(const std::string &line) {
    int major = 0;
    int minor = 0;
    char name[1024] = {};
    std::sscanf(line.c_str(), "%4d %4d %s", &major, &minor, name);
    const bool partition = minor % 16 != 0;
    const bool nvme = std::strncmp(name, "nvme", 4) == 0;
    ASSERT_EQ(isPartition(zel::diskstatsRules, line), partition && !nvme) << line;
    ASSERT_EQ(isPartition(zel::partitionsRules, line), partition) << line;
}

void expectReferenceDiscovery(const std::string &line) {
    int major = 0;
    zel::DiscoveredDisk expected{};
    expected.accepted = 1;
    if (line.find("rio") != std::string::npos)
        expected.conversions = std::sscanf(line.c_str(), "%*d %d %lu %63s %*d %*d %*d %*d %*d %d", &expected.minor,
                                           &expected.blocks, expected.name, &expected.accepted);
    else
        expected.conversions =
            std::sscanf(line.c_str(), "%d %d %lu %63s", &major, &expected.minor, &expected.blocks, expected.name);
    expected.conversions = std::max(0, expected.conversions);
    const zel::DiscoveredDisk disk = zel::scanDiscoveredDisk(line.c_str());
    ASSERT_EQ(disk.conversions, expected.conversions) << line;
    ASSERT_EQ(disk.minor, expected.minor) << line;
    ASSERT_EQ(disk.blocks, expected.blocks) << line;
    ASSERT_STREQ(disk.name, expected.name) << line;
    ASSERT_EQ(disk.accepted, expected.accepted) << line;
}

std::vector<std::string> fixtureLines() {
    std::vector<std::string> lines;
    for (const char *path : {"linux-2.6.32/t1/proc/diskstats", "linux-6.1.0/t1/proc/diskstats",
                             "linux-2.4.21/t1/proc/partitions", "linux-2.2.26/t1/proc/partitions"}) {
        std::ifstream file(std::string(paths::fixtures) + "/" + path);
        std::string content{std::istreambuf_iterator<char>(file), {}};
        EXPECT_FALSE(content.empty()) << path;
        zel::LineWalk walk(content.data(), content.size(), zel::DISK_LINE_LIMIT);
        while (const char *line = walk.next())
            lines.emplace_back(line);
    }
    return lines;
}

// Overwrites, inserts, removes or cuts a few characters.
std::string mutated(std::string line, std::mt19937 &random) {
    constexpr std::string_view characters = "0123456789  \t\n-+axrio/\x7f\xff";
    const auto below = [&random](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    for (std::size_t edits = 1 + below(4); edits > 0; --edits) {
        const std::size_t at = below(line.size() + 1);
        const char character = characters[below(characters.size())];
        switch (below(5)) {
        case 0:
            if (at < line.size())
                line[at] = character;
            break;
        case 1:
            line.insert(at, 1, character);
            break;
        case 2:
            line.insert(at, std::string(1 + below(24), static_cast<char>('0' + below(10))));
            break;
        case 3:
            line.erase(at, 1 + below(6));
            break;
        default:
            if (below(8) == 0)
                line.resize(at);
            break;
        }
    }
    return line;
}

TEST(DiskLines, ScannersGiveWhatSscanfGivesOverTheFixtures) {
    for (const std::string &line : fixtureLines()) {
        expectReferenceResults(line);
        expectReferencePartition(line);
        expectReferenceDiscovery(line);
    }
}

TEST(DiskLines, ScannersGiveWhatSscanfGivesOverMutations) {
    const std::vector<std::string> lines = fixtureLines();
    std::mt19937 random(4711);
    for (int round = 0; round < 40000; ++round) {
        const std::string line = mutated(lines[static_cast<std::size_t>(round) % lines.size()], random);
        ASSERT_NO_FATAL_FAILURE(expectReferenceResults(line));
        ASSERT_NO_FATAL_FAILURE(expectReferencePartition(line));
        ASSERT_NO_FATAL_FAILURE(expectReferenceDiscovery(line));
    }
}

TEST(DiskLines, LongestPossibleNameFits) {
    const std::string name(zel::DISK_LINE_LIMIT, 'n');
    const Scan scan = scanned(zel::diskstatsRules, "8 0 " + name.substr(4));
    EXPECT_EQ(scan.fields, 3);
    EXPECT_EQ(scan.disk.name, name.substr(4));
}

TEST(DiskLines, FullLineOfDiskstats) {
    const Scan scan = scanned(zel::diskstatsRules, "   8       0 sda 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n");
    EXPECT_EQ(scan.fields, zel::DISK_LINE_FIELDS);
    EXPECT_STREQ(scan.disk.name, "sda");
    EXPECT_EQ(scan.disk.rd_ios, 1U);
    EXPECT_EQ(scan.disk.rd_merges, 2U);
    EXPECT_EQ(scan.disk.rd_sectors, 3U);
    EXPECT_EQ(scan.disk.rd_ticks, 4U);
    EXPECT_EQ(scan.disk.wr_ios, 5U);
    EXPECT_EQ(scan.disk.wr_merges, 6U);
    EXPECT_EQ(scan.disk.wr_sectors, 7U);
    EXPECT_EQ(scan.disk.wr_ticks, 8U);
    EXPECT_EQ(scan.disk.ticks, 10U); // 9 is the number in flight
    EXPECT_EQ(scan.disk.aveq, 11U);
}

TEST(DiskLines, FullLineOfPartitionsHasItsTicksIn32Bits) {
    const Scan scan = scanned(zel::partitionsRules, "8 16 100 sdb 1 2 3 4 5 6 7 8 -1 4294967298 11\n");
    EXPECT_EQ(scan.fields, zel::DISK_LINE_FIELDS);
    EXPECT_EQ(scan.disk.ticks, 2U); // 4294967298 - 2^32
}

TEST(DiskLines, MinorOfFiveDigitsIsCutAfterFour) {
    const Scan scan = scanned(zel::diskstatsRules, "259 10240 nvme9n1 1 2 3 4 5 6 7 8 9 10 11\n");
    EXPECT_STREQ(scan.disk.name, "0");
    EXPECT_EQ(scan.fields, 3);
    EXPECT_FALSE(isPartition(zel::diskstatsRules, "259 10240 sda 1\n"));    // 1024 is a multiple of 16
    EXPECT_TRUE(isPartition(zel::diskstatsRules, "259 10250 nvme9n1 1\n")); // 1025 of a disk named 0
}

TEST(DiskLines, NamesOfDiskstats) {
    for (const char *kept : {"sda", "nvme0n1", "vda", "loop0", "zram0", "ram0", "xvda", "cciss/c0d0", "hda", "d", ""})
        EXPECT_FALSE(zel::diskstatsRules.dropsName(kept)) << kept;
    for (const char *left : {"sr0", "md0", "md127", "dm-0", "sddlmaa", "usr1", "amd0", "nvmesr", "nvme-md", "xdm-1"})
        EXPECT_TRUE(zel::diskstatsRules.dropsName(left)) << left;
}

TEST(DiskLines, KernelsOf24LeaveOutStackedDevicesOnly) {
    EXPECT_TRUE(zel::partitionsRules.dropsName("dm-0"));
    EXPECT_TRUE(zel::partitionsRules.dropsName("sddlmaa"));
    EXPECT_FALSE(zel::partitionsRules.dropsName("md0"));
    EXPECT_FALSE(zel::partitionsRules.dropsName("sr0"));
}

TEST(DiskLines, PartitionsAreToldByTheirMinorButThoseOfNvme) {
    for (int minor = 0; minor < 64; ++minor) {
        const std::string start = "   8 " + std::to_string(minor);
        const bool partition = minor % 16 != 0;
        EXPECT_EQ(isPartition(zel::diskstatsRules, start + " sda1 1 2 3 4 5 6 7 8 9 10 11\n"), partition) << minor;
        EXPECT_EQ(isPartition(zel::diskstatsRules, start + " sda1 1 2\n"), partition) << minor;
        EXPECT_EQ(isPartition(zel::diskstatsRules, start), partition) << minor;
        EXPECT_EQ(isPartition(zel::diskstatsRules, start + " xnvme0 1\n"), partition) << minor;
        EXPECT_FALSE(isPartition(zel::diskstatsRules, start + " nvme0n1p1 1\n")) << minor;
        EXPECT_FALSE(isPartition(zel::diskstatsRules, start + " nvme")) << minor;
        EXPECT_EQ(isPartition(zel::partitionsRules, start + " nvme0n1p1 1\n"), partition) << minor;
        EXPECT_EQ(isPartition(zel::partitionsRules, start + " 512000 nvme0n1p1 1\n"), partition) << minor;
    }
    EXPECT_FALSE(isPartition(zel::diskstatsRules, "8 -16 sdb"));
    EXPECT_TRUE(isPartition(zel::diskstatsRules, "8 -1 sdb"));
    EXPECT_FALSE(isPartition(zel::diskstatsRules, "\n"));
    EXPECT_FALSE(isPartition(zel::diskstatsRules, "8 x sdb"));
}

bool reported(const char *line) {
    return zel::isReportedDisk(zel::scanDiscoveredDisk(line));
}

TEST(DiskLines, DiscoveryTakesWholeDisksOfAMillionBlocks) {
    EXPECT_TRUE(reported("8 0 1000000 sda\n"));
    EXPECT_FALSE(reported("8 0 999999 sda\n"));
    EXPECT_TRUE(reported("8 16 2000000 sdb\n"));
    EXPECT_FALSE(reported("8 17 2000000 sdb1\n"));
    EXPECT_FALSE(reported("259 1 2000000 nvme0n1p1\n"));
    EXPECT_FALSE(reported("major minor  #blocks  name\n"));
    EXPECT_FALSE(reported("\n"));
    EXPECT_FALSE(reported("8 0\n"));
    EXPECT_TRUE(reported("8 0 2000000\n")); // three fields are enough
}

TEST(DiskLines, DiscoveryLineWithRioCarriesAFlag) {
    EXPECT_TRUE(reported("8 0 2000000 rio0 1 2 3 4 5 6\n"));
    EXPECT_FALSE(reported("8 0 2000000 rio0 1 2 3 4 5 0\n"));
    EXPECT_TRUE(reported("8 0 2000000 rio0 1 2 3 4 5\n")); // without the flag
    EXPECT_TRUE(reported("8 0 2000000 sda 1 2 3 4 5 0\n"));
    EXPECT_FALSE(reported("major minor  #blocks  name     rio rmerge rsect ruse wio wmerge wsect wuse running use\n"));
}

} // namespace
