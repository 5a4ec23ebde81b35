// The fields of InfiniBand ports and their counters.
#include "host/Infiniband.h"

namespace zel {

namespace {

using Port = InfinibandPort;

constexpr std::string_view module = "an adapter with remote memory access and its driver";
constexpr Entries<Port> port{Area::Interfaces, "infiniband_ports", "/sys/class/infiniband/*/ports/*", module};
constexpr Entries<Port> device = port.from("/sys/class/infiniband/*", module);
constexpr Entries<Port> standard = port.from("/sys/class/infiniband/*/ports/*/counters", module);
constexpr Entries<Port> extended =
    port.from("/sys/class/infiniband/*/ports/*/counters_ext", "a kernel before 4.5: later ones have all in counters");

constexpr Field<Port> portFields[] = {
    device.label("device", &Port::device, "Name of the adapter."),
    port.label("port", &Port::port, "Number of the port, from 1."),
    port.state("state", &Port::state, "State of the link: DOWN, INIT, ARMED, ACTIVE."),
    port.state("state_number", &Port::stateNumber, "The same as a number."),
    port.state("physical_state", &Port::physicalState, "State of the physical link: Polling, Disabled, LinkUp."),
    port.state("physical_state_number", &Port::physicalStateNumber, "The same as a number."),
    port.gauge("rate_bytes_per_second", &Port::rateBytesPerSecond, Unit::Bytes, "Speed of the link."),
    port.info("rate", &Port::rate, "Speed, width and generation of the link."),
    port.info("link_layer", &Port::linkLayer, "InfiniBand or Ethernet."),
    port.info("local_id", &Port::localId, "Number that the subnet manager gave the port (LID)."),
    device.info("firmware", &Port::firmware, "Version of the adapter's firmware."),
    device.info("board", &Port::board, "Kind of board."),
    device.info("adapter_type", &Port::adapterType, "Model of the adapter."),
    device.info("node_guid", &Port::nodeGuid, "Address of the adapter."),

    standard.counter("receive_bytes_total", &Port::receiveBytes, Unit::Bytes, "Bytes received."),
    standard.counter("receive_packets_total", &Port::receivePackets, Unit::None, "Packets received."),
    standard.counter("receive_unicast_packets_total", &Port::receiveUnicastPackets, Unit::None,
                     "Packets to one receiver that were received."),
    standard.counter("receive_multicast_packets_total", &Port::receiveMulticastPackets, Unit::None,
                     "Packets to several receivers that were received."),
    standard.counter("transmit_bytes_total", &Port::transmitBytes, Unit::Bytes, "Bytes sent."),
    standard.counter("transmit_packets_total", &Port::transmitPackets, Unit::None, "Packets sent."),
    standard.counter("transmit_unicast_packets_total", &Port::transmitUnicastPackets, Unit::None,
                     "Packets to one receiver that were sent."),
    standard.counter("transmit_multicast_packets_total", &Port::transmitMulticastPackets, Unit::None,
                     "Packets to several receivers that were sent."),
    standard.counter("receive_errors_total", &Port::receiveErrors, Unit::None, "Packets received with an error."),
    standard.counter("receive_remote_physical_errors_total", &Port::receiveRemotePhysicalErrors, Unit::None,
                     "Packets received that their sender marked as bad."),
    standard.counter("receive_switch_relay_errors_total", &Port::receiveSwitchRelayErrors, Unit::None,
                     "Packets received that could not be passed on."),
    standard.counter("receive_constraint_errors_total", &Port::receiveConstraintErrors, Unit::None,
                     "Packets received that a rule of the port does not allow."),
    standard.counter("receive_discards_total", &Port::receiveDiscards, Unit::None, "Packets received and dropped."),
    standard.counter("transmit_discards_total", &Port::transmitDiscards, Unit::None,
                     "Packets dropped because the port was down or full."),
    standard.counter("transmit_constraint_errors_total", &Port::transmitConstraintErrors, Unit::None,
                     "Packets not sent because a rule of the port does not allow them."),
    standard.counter("transmit_waits_total", &Port::transmitWaits, Unit::None,
                     "Ticks in which there was something to send and no room at the receiver."),
    standard.counter("symbol_errors_total", &Port::symbolErrors, Unit::None, "Errors of the physical link."),
    standard.counter("link_error_recoveries_total", &Port::linkErrorRecoveries, Unit::None,
                     "Times that the link recovered from errors."),
    standard.counter("link_downed_total", &Port::linkDowned, Unit::None,
                     "Times that the link went down because it could not recover."),
    standard.counter("local_link_integrity_errors_total", &Port::localLinkIntegrityErrors, Unit::None,
                     "Times that physical errors were more than the port allows."),
    standard.counter("buffer_overrun_errors_total", &Port::bufferOverrunErrors, Unit::None,
                     "Times that buffers ran over again and again."),
    standard.counter("management_drops_total", &Port::managementDrops, Unit::None,
                     "Packets of the subnet manager dropped for want of room (VL15)."),

    extended.counter("extended_receive_bytes_total", &Port::extendedReceiveBytes, Unit::Bytes, "Bytes received."),
    extended.counter("extended_receive_packets_total", &Port::extendedReceivePackets, Unit::None, "Packets received."),
    extended.counter("extended_receive_unicast_packets_total", &Port::extendedReceiveUnicastPackets, Unit::None,
                     "Packets to one receiver that were received."),
    extended.counter("extended_receive_multicast_packets_total", &Port::extendedReceiveMulticastPackets, Unit::None,
                     "Packets to several receivers that were received."),
    extended.counter("extended_transmit_bytes_total", &Port::extendedTransmitBytes, Unit::Bytes, "Bytes sent."),
    extended.counter("extended_transmit_packets_total", &Port::extendedTransmitPackets, Unit::None, "Packets sent."),
    extended.counter("extended_transmit_unicast_packets_total", &Port::extendedTransmitUnicastPackets, Unit::None,
                     "Packets to one receiver that were sent."),
    extended.counter("extended_transmit_multicast_packets_total", &Port::extendedTransmitMulticastPackets, Unit::None,
                     "Packets to several receivers that were sent."),
};

constexpr Entries<InfinibandCounter> own{Area::Interfaces, "infiniband_counters",
                                         "/sys/class/infiniband/*/ports/*/hw_counters",
                                         "kernel 4.6 or later, an adapter whose driver counts more"};
constexpr Field<InfinibandCounter> counterFields[] = {
    own.label("device", &InfinibandCounter::device, "Name of the adapter."),
    own.label("port", &InfinibandCounter::port, "Number of the port, from 1."),
    own.label("name", &InfinibandCounter::name, "Name that the driver gives the counter."),
    own.counter("value_total", &InfinibandCounter::value, Unit::None, "Value of the counter."),
};

} // namespace

template<> std::span<const Field<InfinibandPort>> fieldsOf<InfinibandPort>() {
    return portFields;
}

template<> std::span<const Field<InfinibandCounter>> fieldsOf<InfinibandCounter>() {
    return counterFields;
}

} // namespace zel
