// Makes rates of two samples.
#include "host/Rates.h"
#include "host/rates/Matching.h"
#include "host/rates/ProcessGrowth.h"

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

} // namespace

Rates::Rates() = default;
Rates::~Rates() = default;
Rates::Rates(const Rates &) = default;
Rates::Rates(Rates &&) noexcept = default;
Rates &Rates::operator=(const Rates &) = default;
Rates &Rates::operator=(Rates &&) noexcept = default;

void between(const Sample &before, const Sample &now, Rates &rates) {
    rates.seconds = static_cast<double>(now.monotonicNanoseconds - before.monotonicNanoseconds) / nanosecondsPerSecond;
    rates.processors.clear();
    rates.disks.clear();
    rates.interfaces.clear();
    rates.processes.clear();
    rates.fibreChannelPorts.clear();
    rates.nfsMounts.clear();
    rates.nfsOperations.clear();
    rates.nfsTransports.clear();
    rates.counters.clear();
    for (std::size_t area = 0; area < AREA_COUNT; ++area)
        rates.asked[area] = now.areas[area].asked;
    takeProcessors(before, now, rates);
    takeDisks(before, now, rates);
    takeInterfaces(before, now, rates);
    takeProcessRates(before.processes, now.processes, secondsBetween(before, now, Area::Processes), rates.processes);
    takeFibreChannel(before, now, rates);
    takeNfs(before, now, rates);
    takeCounters(before, now, rates);
}

Rates between(const Sample &before, const Sample &now) {
    Rates rates;
    between(before, now, rates);
    return rates;
}

} // namespace zel
