// The files of /proc/net as the typed model reads them, at two moments, and messages of netlink lists.
#include "FuzzTarget.h"
#include "HostArea.h"
#include "host/areas/NeighbourTable.h"
#include "host/areas/SocketCounts.h"

namespace {

constexpr const char *files[] = {
    "proc/net/snmp",
    "proc/net/netstat",
    "proc/net/snmp6",
    "proc/net/sockstat",
    "proc/net/sockstat6",
    "proc/net/softnet_stat",
    "proc/net/arp",
    "proc/net/stat/nf_conntrack",
    "proc/net/tcp",
    "proc/net/udp",
    "proc/sys/net/netfilter/nf_conntrack_count",
    "proc/sys/net/ipv4/tcp_mem",
    "proc/net/ip_vs_stats",
    "proc/net/ip_vs",
};

} // namespace

FUZZ_TARGET(host_protocols_fuzz) {
    fuzz::HostArea area(zel::Area::Protocols, zel::protocolReader());
    for (int moment = 0; moment < 2; ++moment) {
        for (const char *file : files)
            fuzz::hostFile(file, input);
        area.take();
    }
    const std::string part = input.piece();
    zel::NeighbourTable neighbours;
    zel::TcpCounts counts;
    zel::QueueBytes bytes;
    zel::forEachMessage(part, [&](unsigned short type, std::span<const char> payload) {
        neighbours.take(type, payload);
        zel::takeTcpMessage(payload, counts);
        zel::takeUdpMessage(payload, bytes);
    });
}
