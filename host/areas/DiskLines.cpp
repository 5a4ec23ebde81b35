// Parses the lines of /proc/diskstats.
#include "host/areas/DiskLines.h"

#include "host/source/LineScan.h"

#include <array>

namespace zel {

namespace {

constexpr std::uint64_t bytesPerSector = 512; // of the kernel's counters, whatever the disk has
constexpr double millisecondsPerSecond = 1000;

// Where a column goes: a count, which is that many units, or a time in milliseconds.
struct Column {
    Count Disk::*count;
    Number Disk::*seconds;
    std::uint64_t unit;
};
constexpr Column counted(Count Disk::*member) {
    return {member, nullptr, 1};
}
constexpr Column sectors(Count Disk::*member) {
    return {member, nullptr, bytesPerSector};
}
constexpr Column milliseconds(Number Disk::*member) {
    return {nullptr, member, 1};
}

// The columns after the name, in the kernel's order.
constexpr Column columns[] = {counted(&Disk::reads),
                              counted(&Disk::readsMerged),
                              sectors(&Disk::readBytes),
                              milliseconds(&Disk::readSeconds), //
                              counted(&Disk::writes),
                              counted(&Disk::writesMerged),
                              sectors(&Disk::writtenBytes),
                              milliseconds(&Disk::writeSeconds), //
                              counted(&Disk::inFlight),
                              milliseconds(&Disk::ioSeconds),
                              milliseconds(&Disk::weightedSeconds),
                              counted(&Disk::discards),
                              counted(&Disk::discardsMerged),
                              sectors(&Disk::discardedBytes),
                              milliseconds(&Disk::discardSeconds), //
                              counted(&Disk::flushes),
                              milliseconds(&Disk::flushSeconds)};

// Those of a partition before 2.6.25.
constexpr Column columnsOfOldPartition[] = {counted(&Disk::reads), sectors(&Disk::readBytes), counted(&Disk::writes),
                                            sectors(&Disk::writtenBytes)};

// The columns that every other line has: one that ends before is cut.
constexpr std::size_t columnsOfEveryDisk = 11;

void store(const Column &column, const Count &raw, Disk &disk) {
    if (column.seconds == nullptr)
        disk.*column.count = scaledCount(raw, column.unit);
    else
        disk.*column.seconds = raw ? Number(static_cast<double>(*raw) / millisecondsPerSecond) : Number(raw.absence());
}

} // namespace

// Samples:    8       0 sda 14736022 29050850 9498447189 92336954 52212730 50576474 758268592 47649451 0 9132569
// 93241454
//             8       1 sda1 35486 38030 38030 38030
bool parseDiskLine(const char *line, Disk &disk, std::uint64_t &sum) {
    const char *cursor = line;
    const Count major = takeCount(cursor), minor = takeCount(cursor);
    const std::string_view name = takeWord(cursor);
    if (!major || !minor || name.empty())
        return false;
    disk.major = *major;
    disk.minor = *minor;
    disk.name = name;

    std::array<Count, std::size(columns)> raw;
    std::size_t found = 0;
    sum = 0;
    // What is no number is malformed, and the cursor stays before it; so is the rest of the line then.
    for (; found < raw.size() && !endsLine(*skipSpaces(cursor)); ++found) {
        raw[found] = takeCount(cursor);
        sum += raw[found].valueOr(0);
    }
    const bool oldPartition = found == std::size(columnsOfOldPartition);
    const bool cut = found < columnsOfEveryDisk && !oldPartition;
    for (std::size_t index = 0; index < raw.size(); ++index) {
        const Count missing = cut ? Absence::Malformed : Absence::Unsupported;
        store(columns[index], index < found && !oldPartition ? raw[index] : missing, disk);
    }
    for (std::size_t index = 0; oldPartition && index < found; ++index)
        store(columnsOfOldPartition[index], raw[index], disk);
    return true;
}

} // namespace zel
