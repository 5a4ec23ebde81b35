// The known names of what interfaces say of themselves, the loopback included, and of bonds.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownLabel<Interface> labels[] = {{"device", &Interface::name}};
constexpr KnownField<Interface> fields[] = {
    {&Interface::index, "node_network_iface_id", gauge, "Number of the interface."},
    {&Interface::speedBytesPerSecond, "node_network_speed_bytes", gauge, "Speed of the link in bytes per second."},
    {&Interface::carrier, "node_network_carrier", gauge, "1 when the link has a carrier."},
    {&Interface::carrierChanges, "node_network_carrier_changes_total", counter, "How often the carrier came or went."},
    {&Interface::carrierUpChanges, "node_network_carrier_up_changes_total", counter, "How often the carrier came."},
    {&Interface::carrierDownChanges, "node_network_carrier_down_changes_total", counter, "How often the carrier went."},
    {&Interface::dormant, "node_network_dormant", gauge, "1 when it waits for another event, such as a log-in."},
    {&Interface::mtuBytes, "node_network_mtu_bytes", gauge, "Largest packet that it sends."},
    {&Interface::queueLength, "node_network_transmit_queue_length", gauge, "Packets that its queue holds at most."},
    {&Interface::type, "node_network_protocol_type", gauge, "Kind of hardware (ARPHRD_*)."},
    {&Interface::flags, "node_network_flags", gauge, "Flags of the interface (IFF_*)."},
    {&Interface::linkIndex, "node_network_iface_link", gauge,
     "Number of the interface that it stands on, or of its other end."},
    {&Interface::linkMode, "node_network_iface_link_mode", gauge,
     "1 when it is dormant after it was switched on, 0 when not."},
    {&Interface::group, "node_network_net_dev_group", gauge, "Group that an administrator put it in."},
    {&Interface::deviceId, "node_network_device_id", gauge,
     "Tells interfaces apart that share a device and an address."},
    {&Interface::nameAssignment, "node_network_name_assign_type", gauge, "Who chose the name (NET_NAME_*)."},
    {&Interface::addressAssignment, "node_network_address_assign_type", gauge, "Who chose the address (NET_ADDR_*)."},
};
constexpr KnownTable<Interface> table{.rows = &Sample::interfaces, .labels = labels, .fields = fields};

// One without a state has no attributes here: it is a stranger of the same name in another network namespace.
bool isOwn(const Interface &interface) {
    return interface.operationalState.has();
}

std::string_view duplexOf(const Interface &interface) {
    if (interface.duplexKnown.valueOr(1) == 0)
        return "unknown";
    return interface.duplex ? std::string_view(*interface.duplex) : std::string_view();
}

void writeInfo(const Sample &sample, MetricSink &sink) {
    sink.family("node_network_info", gauge, "What describes an interface.");
    for (const Interface &interface : sample.interfaces) {
        if (!isOwn(interface))
            continue;
        sink.label("address", interface.address).label("broadcast", interface.broadcast);
        sink.label("device", interface.name).label("duplex", duplexOf(interface));
        sink.label("ifalias", interface.alias).label("operstate", interface.operationalState).one();
    }
    sink.family("node_network_up", gauge, "1 when the operational state of the interface is up.");
    for (const Interface &interface : sample.interfaces) {
        if (isOwn(interface))
            sink.label("device", interface.name).value(std::uint64_t{*interface.operationalState == "up"});
    }
}

constexpr KnownLabel<Bond> bondLabels[] = {{"master", &Bond::name}};
constexpr KnownField<Bond> bondFields[] = {
    {&Bond::ports, "node_bonding_slaves", gauge, "Interfaces that belong to a bond."},
    {&Bond::portsUp, "node_bonding_active", gauge, "Those of them whose link the bond holds for up."},
};
constexpr KnownTable<Bond> bondTable{.rows = &Sample::bonds, .labels = bondLabels, .fields = bondFields};

void write(const Sample &sample, MetricSink &sink) {
    writeInfo(sample, sink);
    writeKnown(table, sample, sink);
    writeKnown(bondTable, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add(bondTable);
    known.add<Interface>({&Interface::address, &Interface::broadcast, &Interface::duplex, &Interface::duplexKnown,
                          &Interface::alias, &Interface::operationalState});
}

} // namespace

const KnownMetrics knownInterfaceAttributes{Area::Interfaces, write, listFields};

} // namespace zel
