// The known names of protocols, of sockets and of what packets meet.
#include "tests/support/KnownText.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

zel::Udp &addUdp(zel::Sample &sample, const char *protocol, std::uint64_t errors) {
    zel::Udp &udp = sample.udp.append();
    udp.protocol = protocol;
    udp.inErrors = errors;
    return udp;
}

TEST(KnownProtocols, BytesOfBothVersionsHaveTheNamesOfTheirFiles) {
    zel::Sample sample;
    for (const char *protocol : {"ip6", "ip"}) {
        zel::Ip &ip = sample.ip.append();
        ip.protocol = protocol;
        ip.inBytes = std::uint64_t{protocol == std::string("ip") ? 4U : 6U};
    }
    sample.ip[1].forwarding = std::uint64_t{2};
    const KnownText text(zel::knownProtocols, sample);
    EXPECT_EQ(text.series(),
              (Lines{"node_netstat_Ip_Forwarding 2", "node_netstat_IpExt_InOctets 4", "node_netstat_Ip6_InOctets 6"}));
    EXPECT_EQ(text.type("node_netstat_IpExt_InOctets"), "untyped");
}

TEST(KnownProtocols, UdpLiteHasItsErrorsAlone) {
    zel::Sample sample;
    addUdp(sample, "udplite", 1).inDatagrams = std::uint64_t{5};
    addUdp(sample, "udplite6", 2).inDatagrams = std::uint64_t{6};
    addUdp(sample, "udp", 3).inDatagrams = std::uint64_t{7};
    addUdp(sample, "udp6", 4).sndbufErrors = std::uint64_t{8};
    EXPECT_EQ(KnownText(zel::knownProtocols, sample).series(),
              (Lines{"node_netstat_Udp_InDatagrams 7", "node_netstat_Udp_InErrors 3", "node_netstat_Udp6_InErrors 4",
                     "node_netstat_Udp6_SndbufErrors 8", "node_netstat_UdpLite_InErrors 1",
                     "node_netstat_UdpLite6_InErrors 2"}));
}

TEST(KnownProtocols, TcpHasNamesOfTwoFiles) {
    zel::Sample sample;
    sample.tcp.currEstab = std::uint64_t{31};
    sample.tcp.estabResets = std::uint64_t{1};
    sample.tcpExtended.tcpSynRetrans = std::uint64_t{116};
    EXPECT_EQ(KnownText(zel::knownProtocols, sample).series(),
              (Lines{"node_netstat_Tcp_CurrEstab 31", "node_netstat_TcpExt_TCPSynRetrans 116"}));
}

TEST(KnownSockets, MemoryIsBytesAndPages) {
    zel::Sample sample;
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    sample.sockets.used = std::uint64_t{229};
    sample.sockets.tcpMemoryBytes = 3 * page;
    sample.sockets.fragmentMemoryBytes = std::uint64_t{8192};
    const KnownText text(zel::knownSockets, sample);
    EXPECT_EQ(text.series(),
              (Lines{"node_sockstat_sockets_used 229", "node_sockstat_TCP_mem_bytes " + std::to_string(3 * page),
                     "node_sockstat_FRAG_memory 8192", "node_sockstat_TCP_mem 3"}));
    EXPECT_EQ(text.type("node_sockstat_TCP_mem"), "gauge");
}

// Of a protocol that is newer than the program the exporter has the keys that it knows of others.
TEST(KnownSockets, NewerProtocolsHaveTheKeysOfTheOthers) {
    zel::Sample sample;
    const auto add = [&sample](const char *file, const char *protocol, const char *key, double value) {
        zel::ProtocolOther &other = sample.protocolOthers.append();
        other.file = file, other.protocol = protocol, other.key = key, other.value = value;
    };
    add("sockstat", "FOO", "inuse", 4);
    add("sockstat", "FOO", "bar", 5);
    add("sockstat", "FOO", "mem", 6);
    add("sockstat6", "FOO6", "memory", 7);
    add("netstat", "FOO", "inuse", 8);
    EXPECT_EQ(KnownText(zel::knownSockets, sample).series(),
              (Lines{"node_sockstat_FOO_inuse 4", "node_sockstat_FOO_mem 6",
                     "node_sockstat_FOO_mem_bytes " + std::to_string(6 * sysconf(_SC_PAGESIZE)),
                     "node_sockstat_FOO6_memory 7"}));
}

TEST(KnownPacketPath, QueuesAreOfProcessors) {
    zel::Sample sample;
    zel::Softnet &queue = sample.softnet.append();
    queue.processor = 5;
    queue.processed = std::uint64_t{299641};
    queue.dropped = std::uint64_t{1};
    queue.timesSqueezed = std::uint64_t{3};
    const KnownText text(zel::knownPacketPath, sample);
    EXPECT_EQ(text.series(),
              (Lines{R"(node_softnet_processed_total{cpu="5"} 299641)", R"(node_softnet_dropped_total{cpu="5"} 1)",
                     R"(node_softnet_times_squeezed_total{cpu="5"} 3)"}));
    EXPECT_EQ(text.type("node_softnet_processed_total"), "counter");
}

TEST(KnownPacketPath, ConnectionTrackingIsGauges) {
    zel::Sample sample;
    sample.conntrack.entries = std::uint64_t{123};
    sample.conntrack.entriesLimit = std::uint64_t{65536};
    sample.conntrack.ignored = std::uint64_t{44846};
    sample.conntrack.searched = std::uint64_t{7};
    const KnownText text(zel::knownPacketPath, sample);
    EXPECT_EQ(text.series(), (Lines{"node_nf_conntrack_entries 123", "node_nf_conntrack_entries_limit 65536",
                                    "node_nf_conntrack_stat_ignore 44846"}));
    EXPECT_EQ(text.type("node_nf_conntrack_stat_ignore"), "gauge");
}

TEST(KnownPacketPath, ArpHasTheInterfacesThatKnowSomebody) {
    zel::Sample sample;
    struct Row {
        const char *interface, *protocol;
        std::uint64_t entries;
    };
    for (const Row &row : {Row{"eth0", "arp", 3}, Row{"eth0", "ndisc", 4}, Row{"eth1", "arp", 0}}) {
        zel::Neighbours &neighbours = sample.neighbours.append();
        neighbours.interface = row.interface;
        neighbours.protocol = row.protocol;
        neighbours.entries = row.entries;
    }
    EXPECT_EQ(KnownText(zel::knownPacketPath, sample).series(), (Lines{R"(node_arp_entries{device="eth0"} 3)"}));
}

} // namespace
