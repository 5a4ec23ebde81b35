// The known names of InfiniBand ports.
#include "export/known/Known.h"

namespace zel {

namespace {

using Port = InfinibandPort;

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownLabel<Port> infoLabels[] = {{"board_id", &Port::board},
                                           {"device", &Port::device},
                                           {"firmware_version", &Port::firmware},
                                           {"hca_type", &Port::adapterType}};
constexpr KnownInfo<Port> infos[] = {{"node_infiniband_info", "What describes an adapter.", infoLabels}};

constexpr KnownLabel<Port> labels[] = {{"device", &Port::device}, {"port", &Port::port}};
constexpr KnownField<Port> fields[] = {
    {&Port::stateNumber, "node_infiniband_state_id", gauge, "State of the link: 1 down, 2 init, 3 armed, 4 active."},
    {&Port::physicalStateNumber, "node_infiniband_physical_state_id", gauge,
     "State of the physical link: 2 polling, 3 disabled, 5 up."},
    {&Port::rateBytesPerSecond, "node_infiniband_rate_bytes_per_second", gauge, "Speed of the link."},
    {&Port::receiveBytes, "node_infiniband_port_data_received_bytes_total", counter, "Bytes received."},
    {&Port::receivePackets, "node_infiniband_port_packets_received_total", counter, "Packets received."},
    {&Port::receiveUnicastPackets, "node_infiniband_unicast_packets_received_total", counter,
     "Packets to one receiver that were received."},
    {&Port::receiveMulticastPackets, "node_infiniband_multicast_packets_received_total", counter,
     "Packets to several receivers that were received."},
    {&Port::transmitBytes, "node_infiniband_port_data_transmitted_bytes_total", counter, "Bytes sent."},
    {&Port::transmitPackets, "node_infiniband_port_packets_transmitted_total", counter, "Packets sent."},
    {&Port::transmitUnicastPackets, "node_infiniband_unicast_packets_transmitted_total", counter,
     "Packets to one receiver that were sent."},
    {&Port::transmitMulticastPackets, "node_infiniband_multicast_packets_transmitted_total", counter,
     "Packets to several receivers that were sent."},
    {&Port::receiveErrors, "node_infiniband_port_errors_received_total", counter, "Packets received with an error."},
    {&Port::receiveRemotePhysicalErrors, "node_infiniband_port_receive_remote_physical_errors_total", counter,
     "Packets received that their sender marked as bad."},
    {&Port::receiveSwitchRelayErrors, "node_infiniband_port_receive_switch_relay_errors_total", counter,
     "Packets received that could not be passed on."},
    {&Port::receiveConstraintErrors, "node_infiniband_port_constraint_errors_received_total", counter,
     "Packets received that a rule of the port does not allow."},
    {&Port::receiveDiscards, "node_infiniband_port_discards_received_total", counter, "Packets received and dropped."},
    {&Port::transmitDiscards, "node_infiniband_port_discards_transmitted_total", counter,
     "Packets dropped because the port was down or full."},
    {&Port::transmitConstraintErrors, "node_infiniband_port_constraint_errors_transmitted_total", counter,
     "Packets not sent because a rule of the port does not allow them."},
    {&Port::transmitWaits, "node_infiniband_port_transmit_wait_total", counter,
     "Ticks in which there was something to send and no room at the receiver."},
    {&Port::symbolErrors, "node_infiniband_symbol_error_total", counter, "Errors of the physical link."},
    {&Port::linkErrorRecoveries, "node_infiniband_link_error_recovery_total", counter,
     "Times that the link recovered from errors."},
    {&Port::linkDowned, "node_infiniband_link_downed_total", counter,
     "Times that the link went down because it could not recover."},
    {&Port::localLinkIntegrityErrors, "node_infiniband_local_link_integrity_errors_total", counter,
     "Times that physical errors were more than the port allows."},
    {&Port::bufferOverrunErrors, "node_infiniband_excessive_buffer_overrun_errors_total", counter,
     "Times that buffers ran over again and again."},
    {&Port::managementDrops, "node_infiniband_vl15_dropped_total", counter,
     "Packets of the subnet manager dropped for want of room."},
    {&Port::extendedReceiveBytes, "node_infiniband_legacy_data_received_bytes_total", counter,
     "Bytes received, by an old kernel in 64 bits."},
    {&Port::extendedReceivePackets, "node_infiniband_legacy_packets_received_total", counter,
     "Packets received, by an old kernel in 64 bits."},
    {&Port::extendedReceiveUnicastPackets, "node_infiniband_legacy_unicast_packets_received_total", counter,
     "Packets to one receiver that were received, by an old kernel in 64 bits."},
    {&Port::extendedReceiveMulticastPackets, "node_infiniband_legacy_multicast_packets_received_total", counter,
     "Packets to several receivers that were received, by an old kernel in 64 bits."},
    {&Port::extendedTransmitBytes, "node_infiniband_legacy_data_transmitted_bytes_total", counter,
     "Bytes sent, by an old kernel in 64 bits."},
    {&Port::extendedTransmitPackets, "node_infiniband_legacy_packets_transmitted_total", counter,
     "Packets sent, by an old kernel in 64 bits."},
    {&Port::extendedTransmitUnicastPackets, "node_infiniband_legacy_unicast_packets_transmitted_total", counter,
     "Packets to one receiver that were sent, by an old kernel in 64 bits."},
    {&Port::extendedTransmitMulticastPackets, "node_infiniband_legacy_multicast_packets_transmitted_total", counter,
     "Packets to several receivers that were sent, by an old kernel in 64 bits."},
};
constexpr KnownTable<Port> table{.rows = &Sample::infinibandPorts, .labels = labels, .fields = fields, .infos = infos};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownInfiniband{Area::Interfaces, write, listFields};

} // namespace zel
