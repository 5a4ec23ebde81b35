// The lines of the kernel's disk files: which fields they have and which disks they are about. No state of a pass.
#pragma once

#include "MM_IO_Info.h"
#include "kernel/FieldScanner.h"

#include <string_view>

namespace zel {

/// Characters of a line that are looked at together; a longer line counts as several.
inline constexpr std::size_t DISK_LINE_LIMIT = 1023;
/// Conversions of a line with all counters. Any other number is a short line, which is counted and not reported.
inline constexpr int DISK_LINE_FIELDS = 13;
/// Sizes are stated in kilobyte blocks and reported in units of so many.
inline constexpr unsigned long DISK_SIZE_UNIT = 1000;

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

/// The rules of one kernel generation's file with a line per disk.
struct DiskLineRules {
    const char *file;
    bool (*takeDisk)(FieldScanner &fields, _ST_DISKSTATS_ &disk); // what follows the device number, false when short
    bool (*dropsName)(std::string_view name);                     // true: a full line is neither counted nor reported
    bool keepsNvmePartitions;
    bool keyedInTextForm; // old samples by hash, first sample swallowed
};

/// /proc/diskstats: "%4d %4d %s %u %u %llu %u %u %u %llu %u %*u %llu %u"
extern const DiskLineRules diskstatsRules;
/// /proc/partitions of 2.4: "%4d %4d %*d %s %u %u %llu %u %u %u %llu %u %*u %u %u"
extern const DiskLineRules partitionsRules;

/// A line of such a file, scanned once from left to right. A device number beyond four digits is cut after them, and
/// its rest is the next field.
class DiskLine {
public:
    /// Takes the device number.
    DiskLine(const DiskLineRules &rules, const char *line);

    /// True for the line of a partition, by its minor number: neither counted nor reported, also when it is short.
    bool isPartition() const;
    /// Takes the rest. Returns the conversions of the whole line; fields that it does not have are 0.
    int take(_ST_DISKSTATS_ &disk);

private:
    const DiskLineRules &m_rules;
    FieldScanner m_fields;
    int m_minor = 0;
    bool m_numbered;
};

/// The numbers after one key of the 2.2 /proc/stat, a number per disk.
class DiskValues {
public:
    DiskValues(const char *statText, const char *key);

    bool present() const { return m_next != nullptr; }
    /// The next number, 0 at the end of the line.
    unsigned long long take();

private:
    const char *m_next;
};

} // namespace zel
