// What an interface says of itself below /sys/class/net.
#pragma once

#include "host/Interface.h"
#include "host/areas/BondDetails.h"
#include "host/source/HostDirectory.h"

#include <array>

namespace zel {

/// What the kernel may have to ask the driver for.
struct LinkDetails {
    Count speedBytesPerSecond;
    Reading<std::string> duplex;
    Count duplexKnown;
    Count carrier;
    BondDetails bond;
};

/// All of it but for the bond.
void readLinkDetails(const HostDirectory &root, std::string_view name, LinkDetails &link);
/// All the rest.
void readInterfaceDetails(const HostDirectory &root, std::string_view name, Interface &interface);

/// Of an interface: what it received and dropped because its bond or team does not use it.
inline constexpr std::string_view NO_HANDLER_FILE = "statistics/rx_nohandler";
/// Whether that may change without an announcement: of a port that is not one of a bridge, and of a bond.
bool mayLackHandler(const Interface &interface);

/// Asks the network namespace of the calling thread. It takes a socket of that namespace, so it is made for one sample.
class OwnNamespace {
public:
    OwnNamespace();

    /// The index of the interface; unsupported where nothing can be asked, vanished where there is none.
    Count indexOf(const std::string &name) const;
    /// Whether `interface`, as sysfs shows it, is the one that the namespace has under its name.
    bool holds(const std::string &name, const Interface &interface) const;

private:
    ScopedDescriptor m_socket;
};

inline constexpr std::array<Count Interface::*, 17> INTERFACE_COUNTS{&Interface::index,
                                                                     &Interface::receiveNoHandler,
                                                                     &Interface::up,
                                                                     &Interface::carrierChanges,
                                                                     &Interface::carrierUpChanges,
                                                                     &Interface::carrierDownChanges,
                                                                     &Interface::dormant,
                                                                     &Interface::mtuBytes,
                                                                     &Interface::queueLength,
                                                                     &Interface::type,
                                                                     &Interface::flags,
                                                                     &Interface::linkIndex,
                                                                     &Interface::linkMode,
                                                                     &Interface::group,
                                                                     &Interface::deviceId,
                                                                     &Interface::nameAssignment,
                                                                     &Interface::addressAssignment};
inline constexpr std::array<Reading<std::string> Interface::*, 8> INTERFACE_TEXTS{
    &Interface::operationalState, &Interface::address, &Interface::broadcast, &Interface::alias,
    &Interface::driver,           &Interface::kind,    &Interface::master,    &Interface::role};

} // namespace zel
