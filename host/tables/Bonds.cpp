// The fields of bonds and their ports.
#include "host/Bond.h"

namespace zel {

namespace {

constexpr Entries<Bond> bond{Area::Interfaces, "bonds", "/sys/class/net/*/bonding"};
constexpr Field<Bond> bondFields[] = {
    bond.label("name", &Bond::name, "Name of the bond."),
    bond.info("mode", &Bond::mode, "How it shares the traffic among its ports."),
    bond.state("link_state", &Bond::linkState, "up or down, as the bond sees its link."),
    bond.from("/sys/class/net/*/bonding", "a mode in which one port is active")
        .state("active_port", &Bond::activePort, "The port that has the traffic."),
    bond.gauge("ports", &Bond::ports, Unit::None, "Interfaces that belong to it."),
    bond.from("/sys/class/net/*/bonding_slave", "kernel 3.14 or later")
        .gauge("ports_up", &Bond::portsUp, Unit::None, "Ports whose link the bond holds for up."),
};

constexpr Entries<BondPort> port{Area::Interfaces, "bond_ports", "/sys/class/net/*/bonding_slave",
                                 "kernel 3.14 or later"};
constexpr Field<BondPort> portFields[] = {
    port.from("/sys/class/net/*/bonding").label("bond", &BondPort::bond, "Name of the bond."),
    port.from("/sys/class/net/*/bonding").label("name", &BondPort::name, "Name of the port."),
    port.state("state", &BondPort::state, "active or backup."),
    port.state("link_state", &BondPort::linkState, "up, going down, down or going back, as the bond sees the link."),
    port.counter("link_failures_total", &BondPort::linkFailures, Unit::None, "How often the link failed.", 32),
};

} // namespace

template<> std::span<const Field<Bond>> fieldsOf<Bond>() {
    return bondFields;
}

template<> std::span<const Field<BondPort>> fieldsOf<BondPort>() {
    return portFields;
}

} // namespace zel
