// Makes rates of the Fibre Channel ports.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

namespace zel {

namespace {

constexpr double bytesPerWord = 4;

using Port = FibreChannelPort;
using Rate = FibreChannelRates;

struct Counted {
    Count Port::*counter;
    Number Rate::*rate;
};
constexpr Counted counters[] = {
    {&Port::transmitFrames, &Rate::transmitFrames},
    {&Port::receiveFrames, &Rate::receiveFrames},
    {&Port::inputRequests, &Rate::inputRequests},
    {&Port::outputRequests, &Rate::outputRequests},
    {&Port::controlRequests, &Rate::controlRequests},
    {&Port::inputMegabytes, &Rate::inputMegabytes},
    {&Port::outputMegabytes, &Rate::outputMegabytes},
    {&Port::loopInitialisations, &Rate::loopInitialisations},
    {&Port::notOperational, &Rate::notOperational},
    {&Port::errorFrames, &Rate::errorFrames},
    {&Port::dumpedFrames, &Rate::dumpedFrames},
    {&Port::linkFailures, &Rate::linkFailures},
    {&Port::lossesOfSync, &Rate::lossesOfSync},
    {&Port::lossesOfSignal, &Rate::lossesOfSignal},
    {&Port::primitiveSequenceErrors, &Rate::primitiveSequenceErrors},
    {&Port::invalidTransmitWords, &Rate::invalidTransmitWords},
    {&Port::invalidCrcs, &Rate::invalidCrcs},
    {&Port::packetAborts, &Rate::packetAborts},
};

bool samePort(const Port &left, const Port &right) {
    const bool otherName = left.portName && right.portName && *left.portName != *right.portName;
    return left.name == right.name && !otherName;
}

bool fell(const Count &before, const Count &now) {
    return before && now && *now < *before;
}

// The statistics of a port start anew together: at a reset of the adapter, or of the statistics, whose clock then
// falls.
bool goesOn(const Port &before, const Port &now) {
    if (fell(before.secondsSinceReset, now.secondsSinceReset))
        return false;
    return std::none_of(std::begin(counters), std::end(counters),
                        [&](const Counted &each) { return fell(before.*each.counter, now.*each.counter); }) &&
           !fell(before.transmitWords, now.transmitWords) && !fell(before.receiveWords, now.receiveWords);
}

Number bytesOf(const Count &before, const Count &now, double seconds) {
    const Number words = perSecond(growthOf(before, now), seconds);
    return words ? Number(*words * bytesPerWord) : words;
}

void takePort(const Port &before, const Port &now, double seconds, Rate &rates) {
    for (const Counted &each : counters)
        rates.*each.rate = perSecond(growthOf(before.*each.counter, now.*each.counter), seconds);
    rates.transmitBytes = bytesOf(before.transmitWords, now.transmitWords, seconds);
    rates.receiveBytes = bytesOf(before.receiveWords, now.receiveWords, seconds);
    const Number speed = now.speedBytesPerSecond ? Number(static_cast<double>(*now.speedBytesPerSecond))
                                                 : Number(now.speedBytesPerSecond.absence());
    rates.transmitUtilisation = quotient(rates.transmitBytes, speed);
    rates.receiveUtilisation = quotient(rates.receiveBytes, speed);
    if (rates.transmitUtilisation && rates.receiveUtilisation)
        rates.utilisation = std::max(*rates.transmitUtilisation, *rates.receiveUtilisation);
    else
        rates.utilisation = rates.transmitUtilisation ? rates.receiveUtilisation : rates.transmitUtilisation;
}

} // namespace

void takeFibreChannel(const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, Area::FibreChannel);
    Earlier earlier(before.fibreChannelPorts, samePort);
    for (const Port &port : now.fibreChannelPorts) {
        static const Port none{};
        const Port *old = earlier.of(port);
        Rate &row = rates.fibreChannelPorts.append();
        row.name = port.name;
        takePort(old != nullptr && goesOn(*old, port) ? *old : none, port, seconds, row);
    }
}

} // namespace zel
