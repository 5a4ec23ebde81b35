// Makes rates of two samples.
#include "host/Rates.h"
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"
#include "host/rates/ProcessGrowth.h"

#include <algorithm>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

// Disks
// ----------------------------------------------------------------------------------------------------------------

bool sameDisk(const Disk &left, const Disk &right) {
    return left.major == right.major && left.minor == right.minor && left.name == right.name &&
           sameReading(left.sequence, right.sequence);
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
    rates.readWaitSeconds = quotient(growthOf(before.readSeconds, now.readSeconds), reads);
    rates.writeWaitSeconds = quotient(growthOf(before.writeSeconds, now.writeSeconds), writes);
    rates.discardWaitSeconds = quotient(growthOf(before.discardSeconds, now.discardSeconds), discards);
    rates.flushWaitSeconds = quotient(growthOf(before.flushSeconds, now.flushSeconds), flushes);
    rates.readRequestBytes = quotient(readBytes, reads);
    rates.writeRequestBytes = quotient(writtenBytes, writes);
    rates.discardRequestBytes = quotient(discardedBytes, discards);
    rates.queueLength = perSecond(growthOf(before.weightedSeconds, now.weightedSeconds), seconds);
    rates.utilisation = perSecond(growthOf(before.ioSeconds, now.ioSeconds), seconds);
    if (rates.utilisation)
        rates.utilisation = std::min(1.0, *rates.utilisation); // the kernel's ticks are coarser than the interval
}

void takeDisks(const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, Area::Disks);
    Earlier earlier(before.disks, sameDisk);
    for (const Disk &disk : now.disks) {
        static const Disk none{};
        const Disk *old = earlier.of(disk);
        DiskRates &row = rates.disks.append();
        row.name = disk.name;
        takeDisk(old == nullptr ? none : *old, disk, seconds, row);
    }
}

// Interfaces
// -----------------------------------------------------------------------------------------------------------

bool sameInterface(const Interface &left, const Interface &right) {
    return left.name == right.name && sameReading(left.index, right.index);
}

void takeUtilisation(const Interface &now, InterfaceRates &rates) {
    const Number speed = now.speedBytesPerSecond && *now.speedBytesPerSecond > 0
                             ? Number(static_cast<double>(*now.speedBytesPerSecond))
                             : Number(Absence::Unsupported);
    rates.receiveUtilisation = quotient(rates.receiveBytes, speed);
    rates.transmitUtilisation = quotient(rates.transmitBytes, speed);
    if (!rates.receiveUtilisation || !rates.transmitUtilisation) {
        rates.utilisation = rates.receiveUtilisation ? rates.transmitUtilisation : rates.receiveUtilisation;
        return;
    }
    const bool shared = now.duplex && *now.duplex == "half";
    rates.utilisation = shared ? *rates.receiveUtilisation + *rates.transmitUtilisation
                               : std::max(*rates.receiveUtilisation, *rates.transmitUtilisation);
}

void takeInterface(const Interface &before, const Interface &now, double seconds, InterfaceRates &rates) {
    const auto rate = [&](Count Interface::*counter) {
        return perSecond(growthOf(before.*counter, now.*counter), seconds);
    };
    rates.receiveBytes = rate(&Interface::receiveBytes);
    rates.receivePackets = rate(&Interface::receivePackets);
    rates.receiveErrors = rate(&Interface::receiveErrors);
    rates.receiveDrops = rate(&Interface::receiveDrops);
    rates.receiveMulticast = rate(&Interface::receiveMulticast);
    rates.transmitBytes = rate(&Interface::transmitBytes);
    rates.transmitPackets = rate(&Interface::transmitPackets);
    rates.transmitErrors = rate(&Interface::transmitErrors);
    rates.transmitDrops = rate(&Interface::transmitDrops);
    rates.transmitCollisions = rate(&Interface::transmitCollisions);
    takeUtilisation(now, rates);
}

void takeInterfaces(const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, Area::Interfaces);
    Earlier earlier(before.interfaces, sameInterface);
    for (const Interface &interface : now.interfaces) {
        static const Interface none{};
        const Interface *old = earlier.of(interface);
        InterfaceRates &row = rates.interfaces.append();
        row.name = interface.name;
        takeInterface(old == nullptr ? none : *old, interface, seconds, row);
    }
}

} // namespace

void between(const Sample &before, const Sample &now, Rates &rates) {
    rates.seconds = static_cast<double>(now.monotonicNanoseconds - before.monotonicNanoseconds) / nanosecondsPerSecond;
    rates.processors.clear();
    rates.disks.clear();
    rates.interfaces.clear();
    rates.processes.clear();
    rates.counters.clear();
    for (std::size_t area = 0; area < AREA_COUNT; ++area)
        rates.asked[area] = now.areas[area].asked;
    takeProcessors(before, now, rates);
    takeDisks(before, now, rates);
    takeInterfaces(before, now, rates);
    takeProcessRates(before.processes, now.processes, secondsBetween(before, now, Area::Processes), rates.processes);
    takeCounters(before, now, rates);
}

Rates between(const Sample &before, const Sample &now) {
    Rates rates;
    between(before, now, rates);
    return rates;
}

} // namespace zel
