// Makes rates of the disks, by the definitions of iostat.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

namespace zel {

namespace {

constexpr Count Disk::*counts[] = {&Disk::reads,        &Disk::writes,        &Disk::discards,       &Disk::flushes,
                                   &Disk::readBytes,    &Disk::writtenBytes,  &Disk::discardedBytes, &Disk::readsMerged,
                                   &Disk::writesMerged, &Disk::discardsMerged};

bool sameDisk(const Disk &left, const Disk &right) {
    return left.major == right.major && left.minor == right.minor && left.name == right.name &&
           sameReading(left.sequence, right.sequence);
}

// The counters of a disk start anew together: one that fell says that none of them goes on, also where a kernel has no
// sequence to tell another disk by.
bool goesOn(const Disk &before, const Disk &now) {
    return std::none_of(std::begin(counts), std::end(counts), [&](Count Disk::*count) {
        return before.*count && now.*count && *(now.*count) < *(before.*count);
    });
}

// Requests that were merged, of all that were queued.
Number mergedShare(const Number &merged, const Number &completed) {
    if (!merged || !completed)
        return merged ? completed : merged;
    return quotient(merged, *merged + *completed);
}

void takeDisk(const Disk &before, const Disk &now, double seconds, DiskRates &rates) {
    const Number reads = growthOf(before.reads, now.reads);
    const Number writes = growthOf(before.writes, now.writes);
    const Number discards = growthOf(before.discards, now.discards);
    const Number flushes = growthOf(before.flushes, now.flushes);
    const Number readBytes = growthOf(before.readBytes, now.readBytes);
    const Number writtenBytes = growthOf(before.writtenBytes, now.writtenBytes);
    const Number discardedBytes = growthOf(before.discardedBytes, now.discardedBytes);
    const Number readsMerged = growthOf(before.readsMerged, now.readsMerged);
    const Number writesMerged = growthOf(before.writesMerged, now.writesMerged);
    const Number discardsMerged = growthOf(before.discardsMerged, now.discardsMerged);
    rates.reads = perSecond(reads, seconds);
    rates.writes = perSecond(writes, seconds);
    rates.discards = perSecond(discards, seconds);
    rates.flushes = perSecond(flushes, seconds);
    rates.readBytes = perSecond(readBytes, seconds);
    rates.writtenBytes = perSecond(writtenBytes, seconds);
    rates.discardedBytes = perSecond(discardedBytes, seconds);
    rates.readsMerged = perSecond(readsMerged, seconds);
    rates.writesMerged = perSecond(writesMerged, seconds);
    rates.discardsMerged = perSecond(discardsMerged, seconds);
    rates.readMergedShare = mergedShare(readsMerged, reads);
    rates.writeMergedShare = mergedShare(writesMerged, writes);
    rates.discardMergedShare = mergedShare(discardsMerged, discards);
    rates.readWaitSeconds = quotient(wrappingSeconds(before.readSeconds, now.readSeconds), reads);
    rates.writeWaitSeconds = quotient(wrappingSeconds(before.writeSeconds, now.writeSeconds), writes);
    rates.discardWaitSeconds = quotient(wrappingSeconds(before.discardSeconds, now.discardSeconds), discards);
    rates.flushWaitSeconds = quotient(wrappingSeconds(before.flushSeconds, now.flushSeconds), flushes);
    rates.readRequestBytes = quotient(readBytes, reads);
    rates.writeRequestBytes = quotient(writtenBytes, writes);
    rates.discardRequestBytes = quotient(discardedBytes, discards);
    rates.queueLength = perSecond(wrappingSeconds(before.weightedSeconds, now.weightedSeconds), seconds);
    rates.utilisation = perSecond(wrappingSeconds(before.ioSeconds, now.ioSeconds), seconds);
    if (rates.utilisation)
        rates.utilisation = std::min(1.0, *rates.utilisation); // the kernel's ticks are coarser than the interval
}

} // namespace

void takeDisks(const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, Area::Disks);
    Earlier earlier(before.disks, sameDisk, [](const Disk &disk) { return std::hash<std::string_view>{}(disk.name); });
    for (const Disk &disk : now.disks) {
        static const Disk none{};
        const Disk *old = earlier.of(disk);
        DiskRates &row = rates.disks.append();
        row.name = disk.name;
        takeDisk(old != nullptr && seconds > 0 && goesOn(*old, disk) ? *old : none, disk, seconds, row);
    }
}

} // namespace zel
