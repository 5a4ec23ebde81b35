// The fields of the interfaces.
#include "host/Interface.h"

namespace zel {

namespace {

constexpr Entries<Interface> dev{Area::Interfaces, "interfaces", "/proc/net/dev"};
constexpr std::string_view directory = "/sys/class/net";
constexpr Entries<Interface> net = dev.from(directory);
constexpr Entries<Interface> link = dev.from(directory, "a link that is up, of a driver that knows its speed");
constexpr Entries<Interface> changes = dev.from(directory, "kernel 3.15 or later");
constexpr Entries<Interface> eachChange = dev.from(directory, "kernel 4.16 or later");
constexpr Entries<Interface> held = dev.from(directory, "kernel 4.6 or later");
constexpr Entries<Interface> chosen = dev.from(directory, "kernel 3.17 or later, a driver that says it");
constexpr Entries<Interface> grouped = dev.from(directory, "kernel 3.3 or later");
constexpr Entries<Interface> named = dev.from(directory, "ip link set NAME alias TEXT");
constexpr Entries<Interface> device = dev.from(directory, "a device with a driver, not a virtual interface");
constexpr Entries<Interface> typed = dev.from(directory, "an interface of a kind: a bridge, a VLAN, a tunnel");
constexpr Entries<Interface> member = dev.from(directory, "a bond or a bridge");

constexpr Field<Interface> fields[] = {
    dev.label("name", &Interface::name, "Name of the interface."),
    net.info("index", &Interface::index, "Number of the interface."),

    dev.counter("receive_bytes_total", &Interface::receiveBytes, Unit::Bytes, "Bytes received."),
    dev.counter("receive_packets_total", &Interface::receivePackets, Unit::None, "Packets received."),
    dev.counter("receive_errors_total", &Interface::receiveErrors, Unit::None, "Packets received with an error."),
    dev.counter("receive_drops_total", &Interface::receiveDrops, Unit::None, "Packets received and dropped."),
    dev.counter("receive_fifo_errors_total", &Interface::receiveFifoErrors, Unit::None,
                "Packets lost because a buffer of the device ran over."),
    dev.counter("receive_frame_errors_total", &Interface::receiveFrameErrors, Unit::None,
                "Packets received with a wrong length, checksum or frame."),
    dev.counter("receive_compressed_total", &Interface::receiveCompressed, Unit::None, "Compressed packets received."),
    dev.counter("receive_multicast_total", &Interface::receiveMulticast, Unit::None, "Multicast packets received."),
    held.counter("receive_no_handler_total", &Interface::receiveNoHandler, Unit::None,
                 "Packets dropped because the bond or team of this port does not use it."),
    dev.counter("transmit_bytes_total", &Interface::transmitBytes, Unit::Bytes, "Bytes sent."),
    dev.counter("transmit_packets_total", &Interface::transmitPackets, Unit::None, "Packets sent."),
    dev.counter("transmit_errors_total", &Interface::transmitErrors, Unit::None, "Packets that could not be sent."),
    dev.counter("transmit_drops_total", &Interface::transmitDrops, Unit::None, "Packets dropped before sending."),
    dev.counter("transmit_fifo_errors_total", &Interface::transmitFifoErrors, Unit::None,
                "Packets not sent because a buffer of the device ran empty."),
    dev.counter("transmit_collisions_total", &Interface::transmitCollisions, Unit::None, "Collisions while sending."),
    dev.counter("transmit_carrier_errors_total", &Interface::transmitCarrierErrors, Unit::None,
                "Packets not sent because the carrier was lost or the other side did not listen."),
    dev.counter("transmit_compressed_total", &Interface::transmitCompressed, Unit::None, "Compressed packets sent."),

    link.gauge("speed_bytes_per_second", &Interface::speedBytesPerSecond, Unit::Bytes, "Speed of the link."),
    link.info("duplex", &Interface::duplex, "full or half."),
    net.state("duplex_known", &Interface::duplexKnown, "0 when the driver says that it does not know the duplex."),
    net.state("operational_state", &Interface::operationalState, "State as RFC 2863 defines it (operstate)."),
    net.state("up", &Interface::up, "1 when the interface is switched on."),
    net.state("carrier", &Interface::carrier, "1 when the link has a carrier."),
    changes.counter("carrier_changes_total", &Interface::carrierChanges, Unit::None,
                    "How often the carrier came or went.", 32),
    eachChange.counter("carrier_up_total", &Interface::carrierUpChanges, Unit::None, "How often the carrier came.", 32),
    eachChange.counter("carrier_down_total", &Interface::carrierDownChanges, Unit::None, "How often the carrier went.",
                       32),
    net.state("dormant", &Interface::dormant, "1 when it waits for another event, such as a log-in."),
    net.gauge("mtu_bytes", &Interface::mtuBytes, Unit::Bytes, "Largest packet that it sends."),
    net.gauge("queue_length", &Interface::queueLength, Unit::None, "Packets that its queue holds at most."),
    net.info("type", &Interface::type, "Kind of hardware (ARPHRD_*)."),
    net.info("flags", &Interface::flags, "Flags of the interface (IFF_*)."),
    net.info("link_index", &Interface::linkIndex, "Number of the interface that it stands on, or of its other end."),
    net.info("link_mode", &Interface::linkMode, "1 when it is dormant after it was switched on, 0 when not."),
    grouped.info("group", &Interface::group, "Group that an administrator put it in."),
    net.info("device_id", &Interface::deviceId, "Tells interfaces apart that share a device and an address."),
    chosen.info("name_assignment", &Interface::nameAssignment, "Who chose the name (NET_NAME_*)."),
    net.info("address_assignment", &Interface::addressAssignment, "Who chose the address (NET_ADDR_*)."),
    net.info("address", &Interface::address, "Hardware address."),
    net.info("broadcast", &Interface::broadcast, "Hardware address that reaches all of the link."),
    named.info("alias", &Interface::alias, "Text that an administrator gave it."),
    device.info("driver", &Interface::driver, "Driver of the device."),
    typed.info("kind", &Interface::kind, "Kind of interface (DEVTYPE)."),
    member.info("master", &Interface::master, "Bond or bridge that it belongs to."),
    member.info("role", &Interface::role, "bond, bridge, bond_port or bridge_port."),
};

} // namespace

template<> std::span<const Field<Interface>> fieldsOf<Interface>() {
    return fields;
}

} // namespace zel
