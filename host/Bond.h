// Bonds, which are several interfaces that work as one, and their ports. Any user.
//
// On this host what a bond says is read together with its speed (host/Interface.h): when the kernel announced a change
// of the bond or of one of its ports, and after 30 seconds. Kernels before 4.6 do not announce what the bond itself
// finds out about a port, such as that nobody answers its ARP requests.
#pragma once

#include "host/Schema.h"

namespace zel {

struct Bond {
    std::string name;
    Reading<std::string> mode;       // "active-backup", "802.3ad"
    Reading<std::string> linkState;  // "up", "down"
    Reading<std::string> activePort; // of the modes that have one
    Count ports;
    Count portsUp; // those whose link the bond holds for up
};

/// A port as its bond sees it, which may be another state than its carrier says.
struct BondPort {
    std::string bond;
    std::string name;
    Reading<std::string> state;     // "active", "backup"
    Reading<std::string> linkState; // "up", "going down", "down", "going back"
    Count linkFailures;
};

template<> std::span<const Field<Bond>> fieldsOf<Bond>();
template<> std::span<const Field<BondPort>> fieldsOf<BondPort>();

} // namespace zel
