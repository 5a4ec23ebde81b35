// The known names of what interfaces receive and send: of all but the loopback, whose traffic never leaves the host.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter;

constexpr KnownLabel<Interface> labels[] = {{"device", &Interface::name}};
constexpr KnownField<Interface> fields[] = {
    {&Interface::receiveBytes, "node_network_receive_bytes_total", counter, "Bytes received."},
    {&Interface::receivePackets, "node_network_receive_packets_total", counter, "Packets received."},
    {&Interface::receiveErrors, "node_network_receive_errs_total", counter, "Packets received with an error."},
    {&Interface::receiveDrops, "node_network_receive_drop_total", counter, "Packets received and dropped."},
    {&Interface::receiveFifoErrors, "node_network_receive_fifo_total", counter,
     "Packets lost because a buffer of the device ran over."},
    {&Interface::receiveFrameErrors, "node_network_receive_frame_total", counter,
     "Packets received with a wrong length, checksum or frame."},
    {&Interface::receiveCompressed, "node_network_receive_compressed_total", counter, "Compressed packets received."},
    {&Interface::receiveMulticast, "node_network_receive_multicast_total", counter, "Multicast packets received."},
    {&Interface::transmitBytes, "node_network_transmit_bytes_total", counter, "Bytes sent."},
    {&Interface::transmitPackets, "node_network_transmit_packets_total", counter, "Packets sent."},
    {&Interface::transmitErrors, "node_network_transmit_errs_total", counter, "Packets that could not be sent."},
    {&Interface::transmitDrops, "node_network_transmit_drop_total", counter, "Packets dropped before sending."},
    {&Interface::transmitFifoErrors, "node_network_transmit_fifo_total", counter,
     "Packets not sent because a buffer of the device ran empty."},
    {&Interface::transmitCollisions, "node_network_transmit_colls_total", counter, "Collisions while sending."},
    {&Interface::transmitCarrierErrors, "node_network_transmit_carrier_total", counter,
     "Packets not sent because the carrier was lost or the other side did not listen."},
    {&Interface::transmitCompressed, "node_network_transmit_compressed_total", counter, "Compressed packets sent."},
};

bool isShown(const Interface &interface) {
    return interface.name != "lo";
}

constexpr KnownTable<Interface> table{
    .rows = &Sample::interfaces, .labels = labels, .fields = fields, .isShown = isShown};

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownInterfaceTraffic{Area::Interfaces, write, listFields};

} // namespace zel
