// Makes rates of two samples.
#include "host/Rates.h"
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

#include <algorithm>

namespace zel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

// Processes
// ------------------------------------------------------------------------------------------------------------

// Both lists are in the order of the pids.
const Process *earlierProcess(const Rows<Process> &rows, const Process &process) {
    const Process *found = std::lower_bound(rows.begin(), rows.end(), process.pid,
                                            [](const Process &each, std::uint64_t pid) { return each.pid < pid; });
    const bool same =
        found != rows.end() && found->pid == process.pid && sameReading(found->startSeconds, process.startSeconds);
    return same ? found : nullptr;
}

void takeProcess(const Process &before, const Process &now, double seconds, ProcessRates &rates) {
    const auto rate = [&](auto counter) { return perSecond(growthOf(before.*counter, now.*counter), seconds); };
    rates.user = rate(&Process::userSeconds);
    rates.system = rate(&Process::systemSeconds);
    rates.cpu = rates.user && rates.system ? Number(*rates.user + *rates.system)
                : rates.user               ? rates.system
                                           : rates.user;
    rates.minorFaults = rate(&Process::minorFaults);
    rates.majorFaults = rate(&Process::majorFaults);
    rates.readBytes = rate(&Process::readBytes);
    rates.writtenBytes = rate(&Process::writtenBytes);
    rates.readCharacters = rate(&Process::readCharacters);
    rates.writtenCharacters = rate(&Process::writtenCharacters);
    rates.delay = rate(&Process::delaySeconds);
}

void takeProcesses(const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, Area::Processes);
    static const Process none{};
    for (const Process &process : now.processes) {
        const Process *old = earlierProcess(before.processes, process);
        ProcessRates &row = rates.processes.append();
        row.pid = process.pid;
        row.name = process.name;
        takeProcess(old == nullptr ? none : *old, process, seconds, row);
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
    takeProcesses(before, now, rates);
    takeCounters(before, now, rates);
}

Rates between(const Sample &before, const Sample &now) {
    Rates rates;
    between(before, now, rates);
    return rates;
}

} // namespace zel
