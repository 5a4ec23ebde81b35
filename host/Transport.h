// TCP and UDP: the counters of /proc/net/snmp and snmp6, and what no field holds of those files. Any user.
//
// The names are the kernel's, in words. host/TcpExtended.h and host/MultipathTcp.h have the rest of what the kernel
// counts of TCP. Whose files they are: host/Ip.h.
#pragma once

#include "host/Schema.h"

namespace zel {

/// TCP over either version of IP.
struct Tcp {
    Count rtoAlgorithm;
    Number rtoMinSeconds;
    Number rtoMaxSeconds;
    Number maxConn;
    Count activeOpens;
    Count passiveOpens;
    Count attemptFails;
    Count estabResets;
    Count currEstab;
    Count inSegs;
    Count outSegs;
    Count retransSegs;
    Count inErrs;
    Count outRsts;
    Count inCsumErrors;
};

struct Udp {
    std::string protocol; // "udp", "udplite", "udp6", "udplite6"
    Count inDatagrams;
    Count noPorts;
    Count inErrors;
    Count outDatagrams;
    Count rcvbufErrors;
    Count sndbufErrors;
    Count inCsumErrors;
    Count ignoredMulti;
    Count memErrors;
    Count receiveQueueBytes;  // of all sockets together; none of UDP-Lite
    Count transmitQueueBytes; // alike
};

/// A key that is newer than this library, so that nothing that the kernel counts is lost. Whether such a value only
/// grows is not known. At most 1024 of them.
struct ProtocolOther {
    std::string file;     // of /proc/net: "snmp", "snmp6", "netstat", "sockstat" or "sockstat6"
    std::string protocol; // as the kernel names it: "TcpExt"
    std::string key;
    Number value;
};

template<> std::span<const Field<Tcp>> fieldsOf<Tcp>();
template<> std::span<const Field<Udp>> fieldsOf<Udp>();
template<> std::span<const Field<ProtocolOther>> fieldsOf<ProtocolOther>();

} // namespace zel
