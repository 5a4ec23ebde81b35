// The known names of the kernel's load balancer, and of what waits in the queues of UDP sockets.
#include "export/known/Known.h"

namespace zel {

namespace {

constexpr MetricType counter = MetricType::Counter, gauge = MetricType::Gauge;

constexpr KnownField<Ipvs> fields[] = {
    {&Ipvs::connections, "node_ipvs_connections_total", counter, "Connections that were passed on."},
    {&Ipvs::incomingPackets, "node_ipvs_incoming_packets_total", counter, "Packets from clients."},
    {&Ipvs::outgoingPackets, "node_ipvs_outgoing_packets_total", counter,
     "Packets from servers, where they come back through the host."},
    {&Ipvs::incomingBytes, "node_ipvs_incoming_bytes_total", counter, "Bytes from clients."},
    {&Ipvs::outgoingBytes, "node_ipvs_outgoing_bytes_total", counter,
     "Bytes from servers, where they come back through the host."},
};
constexpr KnownTable<Ipvs> table{.one = &Sample::ipvs, .fields = fields};

// "192.0.2.1:80", "[2001:db8::1]:80"
struct Endpoint {
    std::string_view address, port;

    explicit Endpoint(std::string_view text) {
        const std::size_t colon = text.rfind(':');
        if (colon == text.npos)
            return;
        address = text.substr(0, colon);
        port = text.substr(colon + 1);
        if (address.size() > 1 && address.front() == '[')
            address = address.substr(1, address.size() - 2);
    }
};

// A service that is a mark of the firewall has no address, and the port 0.
void labelBackend(const IpvsBackend &backend, MetricSink &sink) {
    const bool isMark = backend.protocol == "FWM";
    const Endpoint local(isMark ? std::string_view() : backend.service), remote(backend.server);
    sink.label("local_address", local.address).label("local_mark", isMark ? backend.service : std::string_view());
    sink.label("local_port", isMark ? std::string_view("0") : local.port).label("proto", backend.protocol);
    sink.label("remote_address", remote.address).label("remote_port", remote.port);
}

constexpr KnownField<IpvsBackend> backendFields[] = {
    {&IpvsBackend::activeConnections, "node_ipvs_backend_connections_active", gauge,
     "Connections to a server that are open."},
    {&IpvsBackend::inactiveConnections, "node_ipvs_backend_connections_inactive", gauge,
     "Connections to a server that are closed and still kept."},
    {&IpvsBackend::weight, "node_ipvs_backend_weight", gauge,
     "Share of a server in the connections of its service, beside the others."},
};

void writeBackends(const Sample &sample, MetricSink &sink) {
    sink.clearRows();
    for (const IpvsBackend &backend : sample.ipvsBackends) {
        labelBackend(backend, sink);
        sink.keepRow();
    }
    for (const KnownField<IpvsBackend> &field : backendFields) {
        sink.family(field.name, field.type, field.help);
        const auto member = std::get<Count IpvsBackend::*>(field.member);
        for (std::size_t index = 0; index < sample.ipvsBackends.size(); ++index)
            sink.row(index).value(sample.ipvsBackends[index].*member);
    }
}

void writeUdpQueues(const Sample &sample, MetricSink &sink) {
    sink.family("node_udp_queues", gauge, "Bytes that wait in the queues of UDP sockets.");
    for (const Udp &udp : sample.udp) {
        if (udp.protocol != "udp" && udp.protocol != "udp6")
            continue;
        const std::string_view ip = udp.protocol == "udp" ? "v4" : "v6";
        sink.label("ip", ip).label("queue", "rx").value(udp.receiveQueueBytes);
        sink.label("ip", ip).label("queue", "tx").value(udp.transmitQueueBytes);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    writeKnown(table, sample, sink);
    writeBackends(sample, sink);
    writeUdpQueues(sample, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
    known.add<IpvsBackend>({&IpvsBackend::protocol, &IpvsBackend::service, &IpvsBackend::server, &IpvsBackend::weight,
                            &IpvsBackend::activeConnections, &IpvsBackend::inactiveConnections});
    known.add<Udp>({&Udp::receiveQueueBytes, &Udp::transmitQueueBytes});
}

} // namespace

const KnownMetrics knownIpvs{Area::Protocols, write, listFields};

} // namespace zel
