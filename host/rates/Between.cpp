// Makes rates of two samples.
#include "host/Rates.h"
#include "host/rates/Growth.h"
#include "host/rates/ProcessGrowth.h"

#include <algorithm>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

double secondsBetween(const Sample &before, const Sample &now, Area area) {
    const AreaState &earlier = before.area(area);
    if (!earlier.asked)
        return 0;
    return static_cast<double>(now.area(area).monotonicNanoseconds - earlier.monotonicNanoseconds) /
           nanosecondsPerSecond;
}

// Finds the earlier row of each later one. The kernel lists things in an order that lasts: the row after the one found
// last is tried first.
template<class Row, class Same> class Earlier {
public:
    Earlier(const Rows<Row> &rows, Same same) : m_rows(rows), m_same(same) {}

    const Row *of(const Row &row) {
        if (m_next < m_rows.size() && m_same(m_rows[m_next], row))
            return &m_rows[m_next++];
        const Row *found =
            std::find_if(m_rows.begin(), m_rows.end(), [&](const Row &each) { return m_same(each, row); });
        if (found == m_rows.end())
            return nullptr;
        m_next = static_cast<std::size_t>(found - m_rows.begin()) + 1;
        return found;
    }

private:
    const Rows<Row> &m_rows;
    Same m_same;
    std::size_t m_next = 0;
};

template<class T> bool sameReading(const Reading<T> &left, const Reading<T> &right) {
    return left.absence() == right.absence() && (!left || *left == *right);
}

// Processors
// -----------------------------------------------------------------------------------------------------------

// A mode's growth; the kernel's idle and iowait may step back a little, which counts as none.
Number modeGrowth(const Number &before, const Number &now) {
    if (!now || !before)
        return now ? Number(Absence::NotYet) : now;
    return std::max(0.0, *now - *before);
}

Number without(const Number &whole, const Number &part) {
    return whole && part ? Number(std::max(0.0, *whole - *part)) : whole;
}

template<class Times, class Shares> void takeShares(const Times &before, const Times &now, Shares &shares) {
    shares.guest = modeGrowth(before.guestSeconds, now.guestSeconds);
    shares.guestNice = modeGrowth(before.guestNiceSeconds, now.guestNiceSeconds);
    shares.user = without(modeGrowth(before.userSeconds, now.userSeconds), shares.guest);
    shares.nice = without(modeGrowth(before.niceSeconds, now.niceSeconds), shares.guestNice);
    shares.system = modeGrowth(before.systemSeconds, now.systemSeconds);
    shares.idle = modeGrowth(before.idleSeconds, now.idleSeconds);
    shares.iowait = modeGrowth(before.iowaitSeconds, now.iowaitSeconds);
    shares.irq = modeGrowth(before.irqSeconds, now.irqSeconds);
    shares.softirq = modeGrowth(before.softirqSeconds, now.softirqSeconds);
    shares.steal = modeGrowth(before.stealSeconds, now.stealSeconds);

    Number *const parts[] = {&shares.user, &shares.nice,    &shares.system, &shares.idle,  &shares.iowait,
                             &shares.irq,  &shares.softirq, &shares.steal,  &shares.guest, &shares.guestNice};
    double total = 0;
    for (const Number *part : parts)
        total += part->valueOr(0);
    for (Number *part : parts) {
        if (*part)
            *part = total > 0 ? Number(**part / total) : Number(Absence::NotYet);
    }
    shares.busy = shares.idle ? Number(1 - *shares.idle - shares.iowait.valueOr(0)) : shares.idle;
}

void takeProcessors(const Sample &before, const Sample &now, Rates &rates) {
    takeShares(before.cpu, now.cpu, rates.cpu);
    Earlier earlier(before.processors,
                    [](const Processor &left, const Processor &right) { return left.cpu == right.cpu; });
    for (const Processor &processor : now.processors) {
        static const Processor none{};
        const Processor *old = earlier.of(processor);
        ProcessorRates &row = rates.processors.append();
        row.cpu = processor.cpu;
        takeShares(old == nullptr ? none : *old, processor, row);
    }
}

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

// Every other counter
// ----------------------------------------------------------------------------------------------------

constexpr bool hasStructOfRates(std::string_view section) {
    return section == "cpu" || section == "processors" || section == "disks" || section == "interfaces" ||
           section == "processes";
}

template<class Row> bool sameLabels(const Row &left, const Row &right) {
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (field.family.kind != Kind::Label)
            continue;
        const Value one = field.of(left), other = field.of(right);
        if (one.asText() != other.asText() || one.asUnsigned() != other.asUnsigned())
            return false;
    }
    return true;
}

template<class Row> Number counterGrowth(const Field<Row> &field, const Row &before, const Row &now) {
    return std::visit(
        [&](auto place) -> Number {
            if constexpr (std::is_same_v<decltype(place), Count Row::*>)
                return growthOf(before.*place, now.*place, field.family.counterBits);
            else if constexpr (std::is_same_v<decltype(place), Number Row::*>)
                return growthOf(before.*place, now.*place);
            else
                return Absence::Unsupported;
        },
        field.member);
}

template<class Row> void takeCounters(const Row *before, const Row &now, double seconds, Rates &rates) {
    static const Row none{};
    const Labels labels = labelsOf(now);
    for (const Field<Row> &field : fieldsOf<Row>()) {
        if (field.family.kind != Kind::Counter)
            continue;
        CounterRate &rate = rates.counters.append();
        rate.family = &field.family;
        rate.labels = labels;
        rate.perSecond = perSecond(counterGrowth(field, before == nullptr ? none : *before, now), seconds);
    }
}

template<class Row>
void takeSection(const Section<Row> &section, const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, section.area);
    if (section.one != nullptr)
        return takeCounters(&(before.*section.one), now.*section.one, seconds, rates);
    Earlier earlier(before.*section.many, sameLabels<Row>);
    for (const Row &row : now.*section.many)
        takeCounters(earlier.of(row), row, seconds, rates);
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
    forEachSection([&]<class Row>(const Section<Row> &section) {
        if (now.area(section.area).asked && !hasStructOfRates(section.name))
            takeSection(section, before, now, rates);
    });
}

Rates between(const Sample &before, const Sample &now) {
    Rates rates;
    between(before, now, rates);
    return rates;
}

Number Rates::perSecond(std::string_view section, std::string_view name, std::string_view label) const {
    for (const CounterRate &rate : counters) {
        const bool labelled = label.empty() ? rate.labels.size() == 0
                                            : rate.labels.size() > 0 && rate.labels.begin()->value.asText() == label;
        if (rate.family->section == section && rate.family->name == name && labelled)
            return rate.perSecond;
    }
    return Absence::Unsupported;
}

} // namespace zel
