// The fields of the kernel's load balancer.
#include "host/Ipvs.h"

namespace zel {

namespace {

constexpr Entries<Ipvs> total{Area::Protocols, "ipvs", "/proc/net/ip_vs_stats", "module ip_vs"};
constexpr Field<Ipvs> totalFields[] = {
    total.counter("connections_total", &Ipvs::connections, Unit::None, "Connections that were passed on."),
    total.counter("incoming_packets_total", &Ipvs::incomingPackets, Unit::None, "Packets from clients."),
    total.counter("outgoing_packets_total", &Ipvs::outgoingPackets, Unit::None,
                  "Packets from servers, where they come back through the host."),
    total.counter("incoming_bytes_total", &Ipvs::incomingBytes, Unit::Bytes, "Bytes from clients."),
    total.counter("outgoing_bytes_total", &Ipvs::outgoingBytes, Unit::Bytes,
                  "Bytes from servers, where they come back through the host."),
};

using Backend = IpvsBackend;
constexpr Entries<Backend> backend{Area::Protocols, "ipvs_backends", "/proc/net/ip_vs", "module ip_vs"};
constexpr Field<Backend> backendFields[] = {
    backend.label("protocol", &Backend::protocol, "TCP, UDP, SCTP; FWM of a mark of the firewall."),
    backend.label("service", &Backend::service, "Address and port of the service, or the mark."),
    backend.label("server", &Backend::server, "Address and port of the server."),
    backend.info("scheduler", &Backend::scheduler, "How the service chooses a server."),
    backend.info("forwarding", &Backend::forwarding, "How packets reach the server: Masq, Tunnel, Route, Local."),
    backend.gauge("weight", &Backend::weight, Unit::None, "Share of the service's connections, beside the other ones."),
    backend.gauge("active_connections", &Backend::activeConnections, Unit::None, "Connections that are open."),
    backend.gauge("inactive_connections", &Backend::inactiveConnections, Unit::None,
                  "Connections that are closed and still kept."),
};

} // namespace

template<> std::span<const Field<Ipvs>> fieldsOf<Ipvs>() {
    return totalFields;
}

template<> std::span<const Field<IpvsBackend>> fieldsOf<IpvsBackend>() {
    return backendFields;
}

} // namespace zel
