// The known names of sockets: those of /proc/net/sockstat and sockstat6.
#include "export/known/BuiltName.h"
#include "export/known/Known.h"

#include <algorithm>

#include <unistd.h>

namespace zel {

namespace {

constexpr MetricType gauge = MetricType::Gauge;

constexpr KnownField<Sockets> fields[] = {
    {&Sockets::used, "node_sockstat_sockets_used", gauge, "Sockets of every kind."},
    {&Sockets::tcpInUse, "node_sockstat_TCP_inuse", gauge, "TCP sockets that are connected or listen."},
    {&Sockets::tcpOrphans, "node_sockstat_TCP_orphan", gauge, "TCP sockets that no program has any more."},
    {&Sockets::tcpTimeWaits, "node_sockstat_TCP_tw", gauge, "TCP sockets that wait for late segments."},
    {&Sockets::tcpAllocated, "node_sockstat_TCP_alloc", gauge, "TCP sockets of every state."},
    {&Sockets::tcpMemoryBytes, "node_sockstat_TCP_mem_bytes", gauge, "Memory of what TCP sockets hold."},
    {&Sockets::udpInUse, "node_sockstat_UDP_inuse", gauge, "UDP sockets with a port."},
    {&Sockets::udpMemoryBytes, "node_sockstat_UDP_mem_bytes", gauge, "Memory of what UDP sockets hold."},
    {&Sockets::udpLiteInUse, "node_sockstat_UDPLITE_inuse", gauge, "UDP-Lite sockets with a port."},
    {&Sockets::rawInUse, "node_sockstat_RAW_inuse", gauge, "Raw sockets."},
    {&Sockets::fragmentQueues, "node_sockstat_FRAG_inuse", gauge, "Packets whose fragments are not all there."},
    {&Sockets::fragmentMemoryBytes, "node_sockstat_FRAG_memory", gauge, "Memory of their fragments in bytes."},
    {&Sockets::tcp6InUse, "node_sockstat_TCP6_inuse", gauge, "TCP sockets of IPv6 that are connected or listen."},
    {&Sockets::udp6InUse, "node_sockstat_UDP6_inuse", gauge, "UDP sockets of IPv6 with a port."},
    {&Sockets::udpLite6InUse, "node_sockstat_UDPLITE6_inuse", gauge, "UDP-Lite sockets of IPv6 with a port."},
    {&Sockets::raw6InUse, "node_sockstat_RAW6_inuse", gauge, "Raw sockets of IPv6."},
    {&Sockets::fragment6Queues, "node_sockstat_FRAG6_inuse", gauge,
     "Packets of IPv6 whose fragments are not all there."},
    {&Sockets::fragment6MemoryBytes, "node_sockstat_FRAG6_memory", gauge, "Memory of their fragments in bytes."},
};
constexpr KnownTable<Sockets> table{.one = &Sample::sockets, .fields = fields};

// A series for each of those keys that are known of some protocol, of protocols that are newer than this program.
void writeOthers(const Sample &sample, double bytesPerPage, MetricSink &sink) {
    constexpr std::string_view pages = "mem", keys[] = {"inuse", "orphan", "tw", "alloc", pages, "memory"};
    BuiltName name;
    const auto write = [&](const ProtocolOther &other, std::string_view ending, double factor) {
        name.clear();
        name.add("node_sockstat_").add(other.protocol).add("_").add(other.key).add(ending);
        sink.family(name.text(), gauge, "A count that is newer than this program.");
        sink.value(other.value, factor);
    };
    for (const ProtocolOther &other : sample.protocolOthers) {
        if (!other.file.starts_with("sockstat") || std::ranges::find(keys, other.key) == std::end(keys))
            continue;
        write(other, "", 1);
        if (other.key == pages)
            write(other, "_bytes", bytesPerPage);
    }
}

void write(const Sample &sample, MetricSink &sink) {
    static const auto bytesPerPage = static_cast<double>(sysconf(_SC_PAGESIZE));
    writeKnown(table, sample, sink);
    sink.family("node_sockstat_TCP_mem", gauge, "The same in pages.");
    sink.value(sample.sockets.tcpMemoryBytes, 1 / bytesPerPage);
    sink.family("node_sockstat_UDP_mem", gauge, "The same in pages.");
    sink.value(sample.sockets.udpMemoryBytes, 1 / bytesPerPage);
    writeOthers(sample, bytesPerPage, sink);
}

void listFields(KnownFields &known) {
    known.add(table);
}

} // namespace

const KnownMetrics knownSockets{Area::Protocols, write, listFields};

} // namespace zel
