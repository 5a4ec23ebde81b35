// The lines of the kernel's disk files: which fields they have and which disks they stand for. Plain functions.
#pragma once

#include "MM_IO_Info.h"

#include <string_view>

namespace zel {

/// Characters of a line that are looked at together; a longer line counts as several.
inline constexpr std::size_t DISK_LINE_LIMIT = 1023;
/// Conversions of a line with all counters. Any other number is a short line, which is counted and not reported.
inline constexpr int DISK_LINE_FIELDS = 13;

/// Scans a line of /proc/diskstats as "%4d %4d %s %u %u %llu %u %u %u %llu %u %*u %llu %u". Returns the conversions;
/// fields that the line does not have are 0. A minor number beyond four digits is cut after them, and the rest is the
/// name.
int scanDiskstatsLine(const char *line, _ST_DISKSTATS_ &disk);

/// Scans a line of the 2.4 /proc/partitions as "%4d %4d %*d %s %u %u %llu %u %u %u %llu %u %*u %u %u". The same
/// results.
int scanPartitionsLine(const char *line, _ST_DISKSTATS_ &disk);

/// Scans a line of the 2.2 /proc/partitions as "%*d %*d %lu %63s ". Returns the conversions.
int scanPartitionSizeLine(const char *line, unsigned long &blocks, char (&name)[64]);

/// A line of the partitions script.
struct DiscoveredDisk {
    int conversions;
    int minor;
    unsigned long blocks;
    char name[64];
    int accepted; // 0: the line says that it is no disk
};

/// Scans a line of the partitions script: one that contains "rio" as "%*d %d %lu %63s %*d %*d %*d %*d %*d %d", any
/// other as "%d %d %lu %63s".
DiscoveredDisk scanDiscoveredDisk(const char *line);

/// True for a whole disk of a size that is worth reporting.
bool isReportedDisk(const DiscoveredDisk &disk);

/// The rules of one kernel generation's file.
struct DiskLineRules {
    const char *file;
    int (*scan)(const char *line, _ST_DISKSTATS_ &disk);
    bool (*dropsName)(std::string_view name); // true: a full line is neither counted nor reported
    bool keepsNvmePartitions;
    bool keyedInTextForm; // old samples by hash, first sample swallowed

    /// True for the line of a partition, by its minor number: neither counted nor reported, also when it is short.
    /// Looks at the beginning of the line only.
    bool isPartition(const char *line) const;
};

extern const DiskLineRules diskstatsRules;
extern const DiskLineRules partitionsRules;

} // namespace zel
