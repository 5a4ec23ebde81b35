// Sockets, packet queues, tracked connections and neighbours, as kernels of several ages write them.
#include "SampledHost.h"

#include <cerrno>
#include <unistd.h>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;

TEST(SocketStatistics, PagesAreBytes) {
    SampledHost host(Area::Protocols,
                     {{"proc/net/sockstat", "sockets: used 229\nTCP: inuse 4 orphan 1 tw 5 alloc 17 mem 3\n"
                                            "UDP: inuse 2 mem 1\nUDPLITE: inuse 6\nRAW: inuse 7\n"
                                            "FRAG: inuse 8 memory 9000\n"},
                      {"proc/net/sockstat6", "TCP6: inuse 17\nUDP6: inuse 9\nUDPLITE6: inuse 1\nRAW6: inuse 2\n"
                                             "FRAG6: inuse 3 memory 4000\n"},
                      {"proc/sys/net/ipv4/tcp_mem", "10\t20\t30\n"},
                      {"proc/sys/net/ipv4/tcp_max_orphans", "131072\n"}});
    const Sample &sample = host.take();
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    EXPECT_TRUE(holds(sample.sockets.used, 229U));
    EXPECT_TRUE(holds(sample.sockets.tcpInUse, 4U));
    EXPECT_TRUE(holds(sample.sockets.tcpOrphans, 1U));
    EXPECT_TRUE(holds(sample.sockets.tcpTimeWaits, 5U));
    EXPECT_TRUE(holds(sample.sockets.tcpAllocated, 17U));
    EXPECT_TRUE(holds(sample.sockets.tcpMemoryBytes, 3 * page));
    EXPECT_TRUE(holds(sample.sockets.udpMemoryBytes, page));
    EXPECT_TRUE(holds(sample.sockets.fragmentMemoryBytes, 9000U));
    EXPECT_TRUE(holds(sample.sockets.raw6InUse, 2U));
    EXPECT_TRUE(holds(sample.sockets.fragment6MemoryBytes, 4000U));
    EXPECT_TRUE(holds(sample.sockets.tcpMemoryLimitBytes, 30 * page));
    EXPECT_TRUE(holds(sample.sockets.tcpOrphansLimit, 131072U));
    EXPECT_TRUE(lacks(sample.sockets.udpMemoryLimitBytes, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(SocketStatistics, LimitsThatAreNoNumbersAreFailures) {
    for (const char *path : {"proc/sys/net/ipv4/tcp_max_orphans", "proc/sys/net/ipv4/udp_mem"}) {
        SampledHost host(Area::Protocols, {{"proc/net/sockstat", "TCP: inuse 4\n"}, {path, "many of them\n"}});
        EXPECT_EQ(failureOf(host.take(), Area::Protocols), std::pair(EBADMSG, std::string(path)));
    }
}

TEST(SocketStatistics, WhatIsDamagedOrNew) {
    SampledHost host(Area::Protocols,
                     {{"proc/net/sockstat", "sockets: used x\nTCP: inuse 4 news 5 mem 9999999999999999999\n"
                                            "no colon 5\nUDP: inuse"}});
    const Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.sockets.used, Absence::Malformed));
    EXPECT_TRUE(holds(sample.sockets.tcpInUse, 4U));
    EXPECT_TRUE(lacks(sample.sockets.tcpMemoryBytes, Absence::Malformed)) << "no number of bytes";
    EXPECT_TRUE(lacks(sample.sockets.udpInUse, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.sockets.tcp6InUse, Absence::Unsupported)) << "a kernel without IPv6";
    ASSERT_EQ(sample.protocolOthers.size(), 1U);
    EXPECT_EQ(sample.protocolOthers[0].file, "sockstat");
    EXPECT_EQ(sample.protocolOthers[0].key, "news");
    EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/sockstat")));
}

TEST(Softnet, EachKernelHasItsColumns) {
    SampledHost host({Area::Protocols});
    const std::string eight = "0000000a 0000000b 0000000c 00000000 00000000 00000000 00000000 00000000";
    host.write("proc/net/softnet_stat", eight + " 0000000d 0000000e\n" + eight + " 0000000d 0000000e"); // 2.6.36
    const Sample &old = host.take();
    ASSERT_EQ(old.softnet.size(), 2U);
    EXPECT_EQ(old.softnet[1].processor, 1U) << "the place of the line";
    EXPECT_TRUE(holds(old.softnet[1].processed, 10U));
    EXPECT_TRUE(holds(old.softnet[1].dropped, 11U));
    EXPECT_TRUE(holds(old.softnet[1].timesSqueezed, 12U));
    EXPECT_TRUE(holds(old.softnet[1].cpuCollisions, 13U));
    EXPECT_TRUE(holds(old.softnet[1].receivedRps, 14U));
    EXPECT_TRUE(lacks(old.softnet[1].flowLimits, Absence::Unsupported));
    EXPECT_EQ(failureOf(old, Area::Protocols), NO_FAILURE);

    host.write("proc/net/softnet_stat", eight + " 00000000 0000000e 0000000f 00000010 00000007\n"); // 5.10
    EXPECT_EQ(host.take().softnet[0].processor, 7U);
    EXPECT_TRUE(holds(host.take().softnet[0].flowLimits, 15U));
    EXPECT_TRUE(holds(host.take().softnet[0].backlog, 16U));
    EXPECT_TRUE(lacks(host.take().softnet[0].inputQueue, Absence::Unsupported));

    host.write("proc/net/softnet_stat", eight + " 00000000 0000000e 0000000f 00000010 00000007 00000011 00000012 99\n");
    EXPECT_TRUE(holds(host.take().softnet[0].inputQueue, 17U));
    EXPECT_TRUE(holds(host.take().softnet[0].processQueue, 18U)) << "and what a newer kernel appends";
    EXPECT_EQ(failureOf(host.take(), Area::Protocols), NO_FAILURE);
}

TEST(Softnet, DamagedLines) {
    for (const char *text : {"", "\n", "0000000a 0000000b\n", "0000000a x\n", "10000000000000000 0 0 0 0 0 0 0 0\n"}) {
        SampledHost host(Area::Protocols, {{"proc/net/softnet_stat", text}});
        const Sample &sample = host.take();
        EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/softnet_stat"))) << text;
        for (const zel::Softnet &row : sample.softnet)
            EXPECT_TRUE(lacks(row.receivedRps, Absence::Malformed)) << text;
    }
}

constexpr const char *conntrackText =
    "entries  searched found new invalid ignore delete delete_list insert insert_failed drop early_drop icmp_error  "
    "expect_new expect_create expect_delete search_restart\n"
    "00000021  00000000 00000001 00000002 00000003 0000588a 00000000 00000000 00000000 00000004 00000005 00000006 "
    "00000000  00000000 00000000 00000000 00000007\n"
    "00000021  00000000 ffffffff 00000002 00000003 000056a4 00000000 00000000 00000000 00000004 00000005 00000006 "
    "00000000  00000000 00000000 00000000 00000008\n";

TEST(Conntrack, ProcessorsAreAddedUpUnderTheNamesOfTheHeading) {
    SampledHost host(Area::Protocols, {{"proc/net/softnet_stat", "0 0 0 0 0 0 0 0 0\n"},
                                       {"proc/net/stat/nf_conntrack", conntrackText},
                                       {"proc/sys/net/netfilter/nf_conntrack_count", "123\n"},
                                       {"proc/sys/net/netfilter/nf_conntrack_max", "65536\n"}});
    const zel::Conntrack &conntrack = host.take().conntrack;
    EXPECT_TRUE(holds(conntrack.entries, 123U));
    EXPECT_TRUE(holds(conntrack.entriesLimit, 65536U));
    EXPECT_TRUE(holds(conntrack.found, 4294967296U));
    EXPECT_TRUE(holds(conntrack.created, 4U));
    EXPECT_TRUE(holds(conntrack.invalid, 6U));
    EXPECT_TRUE(holds(conntrack.ignored, 0x588aU + 0x56a4U));
    EXPECT_TRUE(holds(conntrack.insertFailed, 8U));
    EXPECT_TRUE(holds(conntrack.dropped, 10U));
    EXPECT_TRUE(holds(conntrack.earlyDropped, 12U));
    EXPECT_TRUE(holds(conntrack.searchRestarts, 15U));
    EXPECT_TRUE(lacks(conntrack.clashResolutions, Absence::Unsupported)) << "a name of newer kernels";
    EXPECT_EQ(failureOf(host.take(), Area::Protocols), NO_FAILURE);
}

TEST(Conntrack, WithoutItsModuleThereIsNone) {
    SampledHost host(Area::Protocols, {{"proc/net/softnet_stat", "0 0 0 0 0 0 0 0 0\n"}});
    const Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.conntrack.entries, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.conntrack.found, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(Conntrack, DamagedTables) {
    for (const char *text : {"entries found\n", "entries found\n00000001\n", "entries found\n00000001 x\n",
                             "entries found\n00000001 100000000\n"}) {
        SampledHost host(Area::Protocols,
                         {{"proc/net/softnet_stat", "0 0 0 0 0 0 0 0 0\n"}, {"proc/net/stat/nf_conntrack", text}});
        const Sample &sample = host.take();
        EXPECT_TRUE(lacks(sample.conntrack.found, Absence::Malformed)) << text;
        EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/stat/nf_conntrack")))
            << text;
    }
}

TEST(Arp, LinesAreCountedByInterface) {
    SampledHost host(
        Area::Protocols,
        {{"proc/net/softnet_stat", "0 0 0 0 0 0 0 0 0\n"},
         {"proc/net/arp", "IP address       HW type     Flags       HW address            Mask     Device\n"
                          "192.0.2.1        0x1         0x2         02:fc:00:00:00:05     *        eth0\n"
                          "192.0.2.2        0x1         0x6         02:fc:00:00:00:06     *        eth0\n"
                          "192.0.2.3        0x1         0x0         00:00:00:00:00:00     *        eth1\n"}});
    const Sample &sample = host.take();
    ASSERT_EQ(sample.neighbours.size(), 2U);
    EXPECT_EQ(sample.neighbours[0].interface, "eth0");
    EXPECT_EQ(sample.neighbours[0].protocol, "arp");
    EXPECT_TRUE(holds(sample.neighbours[0].entries, 2U));
    EXPECT_TRUE(holds(sample.neighbours[0].permanent, 1U));
    EXPECT_TRUE(lacks(sample.neighbours[0].stale, Absence::Unsupported)) << "the text does not tell";
    EXPECT_TRUE(holds(sample.neighbours[1].entries, 1U));
    EXPECT_TRUE(holds(sample.neighbours[1].permanent, 0U));
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(Arp, DamagedLinesAreLeftOut) {
    SampledHost host({Area::Protocols});
    host.write("proc/net/softnet_stat", "0 0 0 0 0 0 0 0 0\n");
    host.write("proc/net/arp", "heading\n1.2.3.4 0x1 2 aa * eth0\n1.2.3.4 0x1 0xzz aa * eth0\n1.2.3.4 0x1 0x2 aa *\n\n"
                               "1.2.3.4 0x1 0x2 aa * " +
                                   std::string(200, 'n') + "\n1.2.3.4 0x1 0x2 aa * eth1");
    const Sample &sample = host.take();
    ASSERT_EQ(sample.neighbours.size(), 1U);
    EXPECT_EQ(sample.neighbours[0].interface, "eth1");
    EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/arp")));
}

} // namespace
