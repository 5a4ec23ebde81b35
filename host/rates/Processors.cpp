// How processors spent the time between two samples.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

namespace zel {

namespace {

// The modes that share the time out. Guests are part of user and nice.
template<class Times>
constexpr Number Times::*modes[] = {&Times::userSeconds,    &Times::niceSeconds,   &Times::systemSeconds,
                                    &Times::idleSeconds,    &Times::iowaitSeconds, &Times::irqSeconds,
                                    &Times::softirqSeconds, &Times::stealSeconds};

template<class Times> double totalOf(const Times &times) {
    double total = 0;
    for (Number Times::*mode : modes<Times>)
        total += (times.*mode).valueOr(0);
    return total;
}

// A mode's growth. The kernel's idle and iowait may step back a little, which counts as none.
Number modeGrowth(const Number &before, const Number &now) {
    if (!now || !before)
        return now ? Number(Absence::NotYet) : now;
    return std::max(0.0, *now - *before);
}

Number without(const Number &whole, const Number &part) {
    return whole && part ? Number(std::max(0.0, *whole - *part)) : whole;
}

template<class Shares>
constexpr Number Shares::*parts[] = {&Shares::user,   &Shares::nice,     &Shares::system,  &Shares::idle,
                                     &Shares::iowait, &Shares::irq,      &Shares::softirq, &Shares::steal,
                                     &Shares::guest,  &Shares::guestNice};

template<class Times, class Shares> void takeGrowths(const Times &before, const Times &now, Shares &shares) {
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
}

// Shares of the time that was counted, so that they add up to 1 whatever the clock says. Time that fell in all was
// counted anew.
template<class Times, class Shares> void takeShares(const Times &before, const Times &now, Shares &shares) {
    takeGrowths(before, now, shares);
    double total = 0;
    for (Number Shares::*part : parts<Shares>)
        total += (shares.*part).valueOr(0);
    const bool counted = total > 0 && totalOf(now) > totalOf(before);
    for (Number Shares::*part : parts<Shares>) {
        if (shares.*part)
            shares.*part = counted ? Number(*(shares.*part) / total) : Number(Absence::NotYet);
    }
    shares.busy = shares.idle ? Number(std::max(0.0, 1 - *shares.idle - shares.iowait.valueOr(0))) : shares.idle;
}

} // namespace

void takeProcessors(const Sample &before, const Sample &now, Rates &rates) {
    static const Processor none{};
    const double seconds = secondsBetween(before, now, Area::Cpu);
    takeShares(before.cpu, now.cpu, rates.cpu);
    Earlier earlier(
        before.processors, [](const Processor &left, const Processor &right) { return left.cpu == right.cpu; },
        [](const Processor &each) { return static_cast<std::size_t>(each.cpu); });
    for (const Processor &processor : now.processors) {
        const Processor *found = earlier.of(processor);
        const Processor &old = found == nullptr ? none : *found;
        ProcessorRates &row = rates.processors.append();
        row.cpu = processor.cpu;
        takeShares(old, processor, row);
        row.coreThrottles = perSecond(growthOf(old.coreThrottles, processor.coreThrottles), seconds);
        row.packageThrottles = perSecond(growthOf(old.packageThrottles, processor.packageThrottles), seconds);
    }
}

} // namespace zel
