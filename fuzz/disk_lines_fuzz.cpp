// The lines of /proc/diskstats and /proc/partitions and of the partitions script: the scanners give what sscanf gives
// with the required formats.
#include "Ensure.h"
#include "FuzzTarget.h"
#include "disk/MM_IO_Lines.h"

#include <cstdio>
#include <cstring>

namespace {

bool blankOnly(const char *line) {
    return line[std::strspn(line, " \t\n\v\f\r")] == '\0';
}

// What sscanf returns, but 0 for a line with nothing in it.
int counted(int fields) {
    return fields < 0 ? 0 : fields;
}

void ensureSame(int fields, int expectedFields, const _ST_DISKSTATS_ &disk, const _ST_DISKSTATS_ &expected) {
    fuzz::ensure(fields == expectedFields, "another number of conversions than sscanf");
    fuzz::ensure(std::strcmp(disk.name, expected.name) == 0, "another name than sscanf");
    fuzz::ensure(disk.rd_ios == expected.rd_ios && disk.rd_merges == expected.rd_merges &&
                     disk.rd_sectors == expected.rd_sectors && disk.rd_ticks == expected.rd_ticks &&
                     disk.wr_ios == expected.wr_ios && disk.wr_merges == expected.wr_merges &&
                     disk.wr_sectors == expected.wr_sectors && disk.wr_ticks == expected.wr_ticks &&
                     disk.ticks == expected.ticks && disk.aveq == expected.aveq,
                 "another counter than sscanf");
}

void ensureDiskstats(const char *line) {
    _ST_DISKSTATS_ disk;
    const int fields = zel::DiskLine(zel::diskstatsRules, line).take(disk);
    _ST_DISKSTATS_ expected{};
    int major = 0;
    int minor = 0;
    const int found =
        std::sscanf(line, "%4d %4d %1023s %u %u %llu %u %u %u %llu %u %*u %llu %u", &major, &minor, expected.name,
                    &expected.rd_ios, &expected.rd_merges, &expected.rd_sectors, &expected.rd_ticks, &expected.wr_ios,
                    &expected.wr_merges, &expected.wr_sectors, &expected.wr_ticks, &expected.ticks, &expected.aveq);
    ensureSame(fields, counted(found), disk, expected);
}

void ensurePartitions(const char *line) {
    _ST_DISKSTATS_ disk;
    const int fields = zel::DiskLine(zel::partitionsRules, line).take(disk);
    _ST_DISKSTATS_ expected{};
    int major = 0;
    int minor = 0;
    unsigned ticks = 0;
    const int found =
        std::sscanf(line, "%4d %4d %*d %1023s %u %u %llu %u %u %u %llu %u %*u %u %u", &major, &minor, expected.name,
                    &expected.rd_ios, &expected.rd_merges, &expected.rd_sectors, &expected.rd_ticks, &expected.wr_ios,
                    &expected.wr_merges, &expected.wr_sectors, &expected.wr_ticks, &ticks, &expected.aveq);
    expected.ticks = ticks;
    ensureSame(fields, counted(found), disk, expected);
}

void ensureSizes(const char *line) {
    unsigned long blocks = 0;
    char name[64];
    const int fields = zel::scanPartitionSizeLine(line, blocks, name);
    unsigned long expectedBlocks = 0;
    char expectedName[64] = {};
    const int found = std::sscanf(line, "%*d %*d %lu %63s ", &expectedBlocks, expectedName);
    fuzz::ensure(fields == counted(found), "another number of conversions than sscanf");
    fuzz::ensure(blocks == expectedBlocks && std::strcmp(name, expectedName) == 0, "another size than sscanf");
}

void ensureDiscovered(const char *line) {
    const zel::DiscoveredDisk disk = zel::scanDiscoveredDisk(line);
    int major = 0;
    int minor = 0;
    int accepted = 1;
    unsigned long blocks = 0;
    char name[64] = {};
    const int found =
        std::strstr(line, "rio") != nullptr
            ? std::sscanf(line, "%*d %d %lu %63s %*d %*d %*d %*d %*d %d", &minor, &blocks, name, &accepted)
            : std::sscanf(line, "%d %d %lu %63s", &major, &minor, &blocks, name);
    fuzz::ensure(disk.conversions == counted(found), "another number of conversions than sscanf");
    fuzz::ensure(disk.minor == minor && disk.blocks == blocks && disk.accepted == accepted &&
                     std::strcmp(disk.name, name) == 0,
                 "another disk than sscanf");
    fuzz::ensure(!zel::isReportedDisk(disk) || (disk.blocks >= 1000000 && disk.minor % 16 == 0),
                 "a small disk or a partition is reported");
}

} // namespace

FUZZ_TARGET(disk_lines_fuzz) {
    while (!input.atEnd()) {
        const std::string line = input.text();
        if (blankOnly(line.c_str()))
            continue;
        ensureDiskstats(line.c_str());
        ensurePartitions(line.c_str());
        ensureSizes(line.c_str());
        ensureDiscovered(line.c_str());
        zel::DiskLine(zel::diskstatsRules, line.c_str()).isPartition();
        zel::DiskLine(zel::partitionsRules, line.c_str()).isPartition();
    }
}
