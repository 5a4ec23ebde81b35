// Counts processes by their states.
#include "host/areas/ProcessCount.h"

namespace zel {

namespace {

struct StateCounter {
    char state;
    Count ProcessTotals::*counter;
};

constexpr StateCounter stateCounters[] = {
    {'R', &ProcessTotals::running}, {'S', &ProcessTotals::sleeping}, {'D', &ProcessTotals::diskSleeping},
    {'T', &ProcessTotals::stopped}, {'t', &ProcessTotals::traced},   {'Z', &ProcessTotals::zombies},
    {'X', &ProcessTotals::dead},    {'x', &ProcessTotals::dead},     {'I', &ProcessTotals::idle},
    {'P', &ProcessTotals::parked},
};

Count ProcessTotals::*counterOf(char state) {
    for (const StateCounter &each : stateCounters) {
        if (each.state == state)
            return each.counter;
    }
    return &ProcessTotals::other;
}

} // namespace

void countProcesses(const Rows<Process> &processes, std::uint64_t unread, ProcessTotals &totals) {
    for (const Field<ProcessTotals> &field : fieldsOf<ProcessTotals>())
        totals.*std::get<Count ProcessTotals::*>(field.member) = 0;
    for (const Process &process : processes) {
        totals.threads = *totals.threads + process.threads.valueOr(0);
        if (!process.state)
            continue;
        Count &counter = totals.*counterOf((*process.state)[0]);
        counter = *counter + 1;
    }
    totals.total = processes.size();
    totals.unread = unread;
}

} // namespace zel
