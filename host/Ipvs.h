// The load balancer of the kernel (IPVS): what it passed on, and the servers behind each of its services. Any user.
// Whose network namespace it is of: host/Ip.h.
#pragma once

#include "host/Schema.h"

namespace zel {

/// /proc/net/ip_vs_stats. Kernels before 4.1 count connections and packets in 32 bits.
struct Ipvs {
    Count connections;
    Count incomingPackets, outgoingPackets;
    Count incomingBytes, outgoingBytes;
};

/// A server of a service. A service without servers has no row.
struct IpvsBackend {
    std::string protocol; // "TCP", "UDP", "SCTP"; "FWM" of a service that is a mark of the firewall
    std::string service;  // "192.0.2.1:80", "[2001:db8::1]:80"; the mark in hexadecimal digits
    std::string server;   // as an address of a service
    Reading<std::string> scheduler;
    Reading<std::string> forwarding; // "Masq", "Tunnel", "Route", "Local"
    Count weight;
    Count activeConnections;
    Count inactiveConnections;
};

template<> std::span<const Field<Ipvs>> fieldsOf<Ipvs>();
template<> std::span<const Field<IpvsBackend>> fieldsOf<IpvsBackend>();

} // namespace zel
