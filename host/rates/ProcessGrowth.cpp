// Makes the rates of processes.
#include "host/rates/ProcessGrowth.h"

#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

namespace zel {

namespace {

Number sumOf(const Number &left, const Number &right) {
    if (!left)
        return left;
    return right ? Number(*left + *right) : right;
}

void takeProcess(const Process &before, const Process &now, double seconds, ProcessRates &rates) {
    const auto rate = [&](auto counter) { return perSecond(growthOf(before.*counter, now.*counter), seconds); };
    rates.user = rate(&Process::userSeconds);
    rates.system = rate(&Process::systemSeconds);
    rates.cpu = sumOf(rates.user, rates.system);
    rates.guest = rate(&Process::guestSeconds);
    rates.minorFaults = rate(&Process::minorFaults);
    rates.majorFaults = rate(&Process::majorFaults);
    rates.readBytes = rate(&Process::readBytes);
    rates.writtenBytes = rate(&Process::writtenBytes);
    rates.cancelledWriteBytes = rate(&Process::cancelledWriteBytes);
    rates.readCharacters = rate(&Process::readCharacters);
    rates.writtenCharacters = rate(&Process::writtenCharacters);
    rates.readCalls = rate(&Process::readCalls);
    rates.writeCalls = rate(&Process::writeCalls);
    rates.delay = rate(&Process::delaySeconds);
}

bool isSame(const Process &before, const Process &now) {
    return before.pid == now.pid && before.startSeconds && now.startSeconds &&
           *before.startSeconds == *now.startSeconds;
}

} // namespace

void takeProcessRates(const Rows<Process> &before, const Rows<Process> &now, double seconds,
                      Rows<ProcessRates> &rates) {
    static const Process none{};
    const Process *earlier = before.begin();
    for (const Process &process : now) {
        while (earlier != before.end() && earlier->pid < process.pid)
            ++earlier;
        const bool known = earlier != before.end() && isSame(*earlier, process);
        ProcessRates &row = rates.append();
        row.pid = process.pid;
        row.name = process.name;
        takeProcess(known ? *earlier : none, process, seconds, row);
    }
}

} // namespace zel
