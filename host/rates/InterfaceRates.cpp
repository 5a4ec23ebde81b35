// Makes rates of the interfaces.
#include "host/rates/Growth.h"
#include "host/rates/Matching.h"

namespace zel {

namespace {

bool sameInterface(const Interface &left, const Interface &right) {
    return left.name == right.name && sameReading(left.index, right.index);
}

// A driver that starts anew begins its counters anew. One of the others, such as drops, may be a difference that falls
// for a moment: it says nothing of the rest.
bool goesOn(const Interface &before, const Interface &now) {
    for (Count Interface::*count : {&Interface::receiveBytes, &Interface::receivePackets, &Interface::transmitBytes,
                                    &Interface::transmitPackets}) {
        if (before.*count && now.*count && *(now.*count) < *(before.*count))
            return false;
    }
    return true;
}

// Without a word on the duplex a link counts as full: only drivers of before know half.
void takeUtilisation(const Interface &now, InterfaceRates &rates) {
    const Number speed = now.speedBytesPerSecond ? Number(static_cast<double>(*now.speedBytesPerSecond))
                                                 : Number(now.speedBytesPerSecond.absence());
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

} // namespace

void takeInterfaces(const Sample &before, const Sample &now, Rates &rates) {
    const double seconds = secondsBetween(before, now, Area::Interfaces);
    Earlier earlier(before.interfaces, sameInterface,
                    [](const Interface &interface) { return std::hash<std::string_view>{}(interface.name); });
    for (const Interface &interface : now.interfaces) {
        static const Interface none{};
        const Interface *old = earlier.of(interface);
        InterfaceRates &row = rates.interfaces.append();
        row.name = interface.name;
        takeInterface(old != nullptr && goesOn(*old, interface) ? *old : none, interface, seconds, row);
    }
}

} // namespace zel
