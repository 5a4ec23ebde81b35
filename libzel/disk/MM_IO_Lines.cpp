// The fields of the kernel's disk files.
#include "disk/MM_IO_Lines.h"

#include <cstring>

namespace zel {

namespace {

constexpr int minorsPerDisk = 16;
constexpr int minorDigits = 4;
constexpr std::size_t longestRawName = DISK_RAW_NAME_SIZE - 1;
constexpr std::size_t longestShortName = 63;

constexpr unsigned long smallestReportedSize = 1000; // in size units
constexpr int discoveryFields = 4;
constexpr int discoveryFieldsNeeded = 3;

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

void clear(_ST_DISKSTATS_ &disk) {
    disk.name[0] = '\0';
    disk.rd_ios = disk.rd_merges = disk.rd_ticks = 0;
    disk.wr_ios = disk.wr_merges = disk.wr_ticks = 0;
    disk.rd_sectors = disk.wr_sectors = disk.ticks = disk.l_nTotSize = 0;
    disk.aveq = 0;
}

// rio rmerge rsect ruse wio wmerge wsect wuse running
bool takeCounters(FieldScanner &fields, _ST_DISKSTATS_ &disk) {
    return fields.takeUnsigned(disk.rd_ios) && fields.takeUnsigned(disk.rd_merges) &&
           fields.takeUnsigned(disk.rd_sectors) && fields.takeUnsigned(disk.rd_ticks) &&
           fields.takeUnsigned(disk.wr_ios) && fields.takeUnsigned(disk.wr_merges) &&
           fields.takeUnsigned(disk.wr_sectors) && fields.takeUnsigned(disk.wr_ticks) && fields.skipNumber();
}

// Sample:    8       0 sda 49701 2922 3195598 624070 12280 9884 821188 117209 0 32962 714508
bool takeDiskstats(FieldScanner &fields, _ST_DISKSTATS_ &disk) {
    return fields.takeWord(disk.name, longestRawName) && takeCounters(fields, disk) &&
           fields.takeUnsigned(disk.ticks) && fields.takeUnsigned(disk.aveq);
}

// Sample:    8     0   17921835 sda 2714 5421 64632 13520 1610 2921 36280 70910 0 11020 84430
bool takePartitions(FieldScanner &fields, _ST_DISKSTATS_ &disk) {
    unsigned ticks = 0;
    const bool complete = fields.skipNumber() && fields.takeWord(disk.name, longestRawName) &&
                          takeCounters(fields, disk) && fields.takeUnsigned(ticks) && fields.takeUnsigned(disk.aveq);
    disk.ticks = ticks;
    return complete;
}

// Logical volumes and the paths of a multipath disk: their disks are reported.
bool isStackedDevice(std::string_view name) {
    return contains(name, "dm-") || contains(name, "sddlma");
}

// Optical drives and software RAID as well. Consumers know that every name with these letters in it is left out.
bool isLeftOut(std::string_view name) {
    for (std::size_t place = 0; place < name.size(); ++place) {
        const char first = name[place];
        if (first != 's' && first != 'm' && first != 'd')
            continue;
        const std::string_view rest = name.substr(place);
        if (rest.starts_with("sr") || rest.starts_with("md") || rest.starts_with("dm-") || rest.starts_with("sddlma"))
            return true;
    }
    return false;
}

} // namespace

// Sample:    3     0    8257032 hda
int scanPartitionSizeLine(const char *line, unsigned long &blocks, char (&name)[64]) {
    blocks = 0;
    name[0] = '\0';
    FieldScanner fields(line);
    static_cast<void>(fields.skipNumber() && fields.skipNumber() && fields.takeUnsigned(blocks) &&
                      fields.takeWord(name, longestShortName));
    return fields.conversions();
}

// Sample:    8     0   17921835 sda
DiscoveredDisk scanDiscoveredDisk(const char *line) {
    DiscoveredDisk disk{};
    disk.accepted = 1;
    int major = 0;
    FieldScanner fields(line);
    if (contains(line, "rio"))
        static_cast<void>(fields.skipNumber() && fields.takeInt(disk.minor) && fields.takeUnsigned(disk.blocks) &&
                          fields.takeWord(disk.name, longestShortName) && fields.skipNumber() && fields.skipNumber() &&
                          fields.skipNumber() && fields.skipNumber() && fields.skipNumber() &&
                          fields.takeInt(disk.accepted));
    else
        static_cast<void>(fields.takeInt(major) && fields.takeInt(disk.minor) && fields.takeUnsigned(disk.blocks) &&
                          fields.takeWord(disk.name, longestShortName));
    disk.conversions = fields.conversions();
    return disk;
}

bool isReportedDisk(const DiscoveredDisk &disk) {
    if (disk.blocks / DISK_SIZE_UNIT < smallestReportedSize)
        return false;
    if (disk.conversions == discoveryFields && disk.accepted == 0)
        return false;
    return disk.conversions >= discoveryFieldsNeeded && disk.minor % minorsPerDisk == 0;
}

const DiskLineRules diskstatsRules{"/proc/diskstats", takeDiskstats, isLeftOut, true, true};
const DiskLineRules partitionsRules{"/proc/partitions", takePartitions, isStackedDevice, false, false};

DiskLine::DiskLine(const DiskLineRules &rules, const char *line) : m_rules(rules), m_fields(line) {
    int major = 0;
    m_numbered = m_fields.takeInt(major, minorDigits) && m_fields.takeInt(m_minor, minorDigits);
}

bool DiskLine::isPartition() const {
    if (m_minor % minorsPerDisk == 0)
        return false;
    char name[sizeof("nvme")];
    FieldScanner ahead = m_fields;
    return !m_rules.keepsNvmePartitions || !ahead.takeWord(name, sizeof(name) - 1) || std::string_view(name) != "nvme";
}

int DiskLine::take(_ST_DISKSTATS_ &disk) {
    clear(disk);
    static_cast<void>(m_numbered && m_rules.takeDisk(m_fields, disk));
    return m_fields.conversions();
}

// Sample: disk_rblk 26604 0 0 0
DiskValues::DiskValues(const char *statText, const char *key) : m_next(statText) {
    const std::size_t length = std::strlen(key);
    while (m_next != nullptr && std::strncmp(m_next, key, length) != 0) {
        m_next = std::strchr(m_next, '\n');
        if (m_next != nullptr)
            ++m_next;
    }
    if (m_next != nullptr)
        m_next += length;
}

unsigned long long DiskValues::take() {
    m_next += std::strspn(m_next, " \t");
    return *m_next == '\n' ? 0 : takeUnsigned(m_next);
}

} // namespace zel
