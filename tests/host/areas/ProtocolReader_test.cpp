// The counters of the protocols, as kernels from 3.10 to 6.18 write them.
#include "Paths.h"
#include "SampledHost.h"
#include "host/Rates.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;

template<class Row> const Row &rowOf(const zel::Rows<Row> &rows, const std::string &protocol) {
    static const Row none{};
    for (const Row &row : rows) {
        if (row.protocol == protocol)
            return row;
    }
    ADD_FAILURE() << "there is no " << protocol;
    return none;
}

// As kernel 3.10 writes them.
constexpr const char *oldSnmp =
    "Ip: Forwarding DefaultTTL InReceives InHdrErrors InAddrErrors ForwDatagrams InUnknownProtos InDiscards InDelivers "
    "OutRequests OutDiscards OutNoRoutes ReasmTimeout ReasmReqds ReasmOKs ReasmFails FragOKs FragFails FragCreates\n"
    "Ip: 1 64 65795803 1 25 190197 2 3 10172744 78926626 4 54 5 6 7 8 9 10 11\n"
    "Icmp: InMsgs InErrors InCsumErrors InDestUnreachs InTimeExcds InParmProbs InSrcQuenchs InRedirects InEchos "
    "InEchoReps InTimestamps InTimestampReps InAddrMasks InAddrMaskReps OutMsgs OutErrors OutDestUnreachs OutTimeExcds "
    "OutParmProbs OutSrcQuenchs OutRedirects OutEchos OutEchoReps OutTimestamps OutTimestampReps OutAddrMasks "
    "OutAddrMaskReps\n"
    "Icmp: 104 1 2 103 0 0 0 0 3 4 0 0 0 0 120 5 119 0 0 0 0 6 7 0 0 0 8\n"
    "IcmpMsg: InType3 OutType3 OutType8\n"
    "IcmpMsg: 104 120 6\n"
    "Tcp: RtoAlgorithm RtoMin RtoMax MaxConn ActiveOpens PassiveOpens AttemptFails EstabResets CurrEstab InSegs "
    "OutSegs "
    "RetransSegs InErrs OutRsts InCsumErrors\n"
    "Tcp: 1 200 120000 -1 3556 230 341 161 12 44549685 57680508 227 5 1003 6\n"
    "Udp: InDatagrams NoPorts InErrors OutDatagrams RcvbufErrors SndbufErrors InCsumErrors\n"
    "Udp: 88542 120 1 53028 9 8 2\n"
    "UdpLite: InDatagrams NoPorts InErrors OutDatagrams RcvbufErrors SndbufErrors InCsumErrors\n"
    "UdpLite: 3 0 0 4 0 0 0\n";
constexpr const char *oldNetstat =
    "TcpExt: SyncookiesSent TWRecycled PAWSPassive TCPPrequeued TCPDirectCopyFromPrequeue TCPHPHitsToUser "
    "TCPFACKReorder "
    "TCPForwardRetrans TCPSchedulerFailed ListenOverflows ListenDrops TCPTimeouts\n"
    "TcpExt: 1 2 3 4 5 6 7 8 9 10 11 115\n"
    "IpExt: InNoRoutes InTruncatedPkts InMcastPkts OutMcastPkts InBcastPkts OutBcastPkts InOctets OutOctets "
    "InMcastOctets OutMcastOctets InBcastOctets OutBcastOctets\n"
    "IpExt: 1 2 3 4 5 6 8202639294 18446744073709551615 7 8 9 10\n";

TEST(ProtocolReader, KernelsOf2013) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", oldSnmp}, {"proc/net/netstat", oldNetstat}});
    const Sample &sample = host.take();
    const zel::Ip &ip = rowOf(sample.ip, "ip");
    EXPECT_TRUE(holds(ip.forwarding, 1U));
    EXPECT_TRUE(holds(ip.defaultTtl, 64U));
    EXPECT_TRUE(holds(ip.inReceives, 65795803U));
    EXPECT_TRUE(holds(ip.fragCreates, 11U));
    EXPECT_TRUE(holds(ip.inBytes, 8202639294U));
    EXPECT_TRUE(holds(ip.outBytes, 18446744073709551615U));
    EXPECT_TRUE(holds(ip.outBcastBytes, 10U));
    EXPECT_TRUE(lacks(ip.outTransmits, Absence::Unsupported)) << "of kernel 6.5";
    const zel::Icmp &icmp = rowOf(sample.icmp, "icmp");
    EXPECT_TRUE(holds(icmp.inMsgs, 104U));
    EXPECT_TRUE(holds(icmp.outAddrMaskReps, 8U));
    EXPECT_TRUE(lacks(icmp.outRateLimitHost, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.tcp.rtoMinSeconds, 0.2));
    EXPECT_TRUE(holds(sample.tcp.rtoMaxSeconds, 120));
    EXPECT_TRUE(holds(sample.tcp.maxConn, -1)) << "no fixed limit";
    EXPECT_TRUE(holds(sample.tcp.currEstab, 12U));
    EXPECT_TRUE(holds(sample.tcp.inCsumErrors, 6U));
    EXPECT_TRUE(holds(rowOf(sample.udp, "udp").sndbufErrors, 8U));
    EXPECT_TRUE(holds(rowOf(sample.udp, "udplite").outDatagrams, 4U));
    EXPECT_TRUE(lacks(rowOf(sample.udp, "udp").memErrors, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.tcpExtended.twRecycled, 2U));
    EXPECT_TRUE(holds(sample.tcpExtended.tcpDirectCopyFromPrequeue, 5U));
    EXPECT_TRUE(holds(sample.tcpExtended.tcpSchedulerFailed, 9U));
    EXPECT_TRUE(holds(sample.tcpExtended.tcpTimeouts, 115U));
    EXPECT_TRUE(lacks(sample.tcpExtended.tcpAoBad, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.multipathTcp.mpCurrEstab, Absence::Unsupported));
    EXPECT_TRUE(sample.protocolOthers.empty());
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(ProtocolReader, TypesOfMessagesAreRows) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", oldSnmp}, {"proc/net/snmp6", "Icmp6OutType135\t12\n"}});
    const Sample &sample = host.take();
    ASSERT_EQ(sample.icmpTypes.size(), 3U);
    EXPECT_EQ(sample.icmpTypes[0].protocol, "icmp");
    EXPECT_EQ(sample.icmpTypes[0].type, 3U);
    EXPECT_TRUE(holds(sample.icmpTypes[0].received, 104U));
    EXPECT_TRUE(holds(sample.icmpTypes[0].sent, 120U));
    EXPECT_EQ(sample.icmpTypes[1].type, 8U);
    EXPECT_TRUE(holds(sample.icmpTypes[1].received, 0U)) << "the kernel leaves a count of 0 out";
    EXPECT_EQ(sample.icmpTypes[2].protocol, "icmp6");
    EXPECT_EQ(sample.icmpTypes[2].type, 135U);
    EXPECT_TRUE(holds(sample.icmpTypes[2].sent, 12U));
}

TEST(ProtocolReader, SixHasKeysOfItsOwn) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp6", "Ip6InReceives                   \t27\n"
                                                          "Ip6OutForwDatagrams             \t5\n"
                                                          "Ip6InOctets                     \t4294967297\n"
                                                          "Icmp6InEchoReplies              \t6\n"
                                                          "Icmp6InMLDv2Reports             \t7\n"
                                                          "Udp6InDatagrams                 \t8\n"
                                                          "UdpLite6SndbufErrors            \t9\n"
                                                          "Sctp6Thing                      \t10\n"}});
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(rowOf(sample.ip, "ip6").inReceives, 27U));
    EXPECT_TRUE(holds(rowOf(sample.ip, "ip6").outForwDatagrams, 5U));
    EXPECT_TRUE(holds(rowOf(sample.ip, "ip6").inBytes, 4294967297U));
    EXPECT_TRUE(lacks(rowOf(sample.ip, "ip6").forwarding, Absence::Unsupported));
    EXPECT_TRUE(holds(rowOf(sample.icmp, "icmp6").inEchoReplies, 6U));
    EXPECT_TRUE(holds(rowOf(sample.icmp, "icmp6").inMldv2Reports, 7U));
    EXPECT_TRUE(holds(rowOf(sample.udp, "udp6").inDatagrams, 8U));
    EXPECT_TRUE(holds(rowOf(sample.udp, "udplite6").sndbufErrors, 9U));
    ASSERT_EQ(sample.protocolOthers.size(), 1U);
    EXPECT_EQ(sample.protocolOthers[0].file, "snmp6");
    EXPECT_EQ(sample.protocolOthers[0].protocol, "Sctp6");
    EXPECT_EQ(sample.protocolOthers[0].key, "Thing");
    EXPECT_TRUE(holds(sample.protocolOthers[0].value, 10));
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(ProtocolReader, KeysOfTomorrowAreRows) {
    SampledHost host(Area::Protocols,
                     {{"proc/net/netstat", "TcpExt: ListenDrops TCPNewThing TCPTimeouts\nTcpExt: 1 -2 3\n"
                                           "NewExt: One Two\nNewExt: 4 5\n"}});
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.tcpExtended.listenDrops, 1U));
    EXPECT_TRUE(holds(sample.tcpExtended.tcpTimeouts, 3U));
    ASSERT_EQ(sample.protocolOthers.size(), 3U);
    EXPECT_EQ(sample.protocolOthers[0].file, "netstat");
    EXPECT_EQ(sample.protocolOthers[0].protocol, "TcpExt");
    EXPECT_EQ(sample.protocolOthers[0].key, "TCPNewThing");
    EXPECT_TRUE(holds(sample.protocolOthers[0].value, -2)) << "it may be no counter";
    EXPECT_EQ(sample.protocolOthers[2].protocol, "NewExt");
    EXPECT_TRUE(holds(sample.protocolOthers[2].value, 5));
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
}

TEST(ProtocolReader, AnotherOrderOfKeysIsNoticedInTheNextSample) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", "Tcp: InSegs OutSegs InErrs\nTcp: 1 2 3\n"}});
    host.take();
    host.write("proc/net/snmp", "Tcp: OutSegs RetransSegs InSegs InErrs\nTcp: 5 6 7 8\n");
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.tcp.outSegs, 5U));
    EXPECT_TRUE(holds(sample.tcp.retransSegs, 6U));
    EXPECT_TRUE(holds(sample.tcp.inSegs, 7U));
    EXPECT_TRUE(holds(sample.tcp.inErrs, 8U));
}

TEST(ProtocolReader, DamagedValuesAreMalformedAlone) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", "Tcp: RtoMin MaxConn InSegs OutSegs InErrs OutRsts\n"
                                                         "Tcp: x - 99999999999999999999 4 -5\n"
                                                         "Udp: InDatagrams\nUdp: 1 2\n"}});
    const Sample &sample = host.take();
    EXPECT_TRUE(lacks(sample.tcp.rtoMinSeconds, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.tcp.maxConn, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.tcp.inSegs, Absence::Malformed));
    EXPECT_TRUE(holds(sample.tcp.outSegs, 4U));
    EXPECT_TRUE(lacks(sample.tcp.inErrs, Absence::Malformed));
    EXPECT_TRUE(lacks(sample.tcp.outRsts, Absence::Malformed)) << "there is no value";
    EXPECT_TRUE(holds(rowOf(sample.udp, "udp").inDatagrams, 1U));
    EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/snmp")));
}

TEST(ProtocolReader, TextsThatAreNoneOfTheKernelAreFailures) {
    const std::string longKey(100, 'k');
    for (const std::string &text :
         {std::string(), std::string("\n"), std::string("Tcp: InSegs\n"), std::string("Tcp: InSegs\nUdp: 1\n"),
          std::string("no colon\n"), "Tcp: " + longKey + "\nTcp: 1\n", std::string("\0Tcp", 4)}) {
        SampledHost host({Area::Protocols});
        host.write("proc/net/snmp", text);
        const Sample &sample = host.take();
        EXPECT_FALSE(sample.tcp.inSegs.has()) << text;
        EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EBADMSG, std::string("proc/net/snmp"))) << text;
    }
}

TEST(ProtocolReader, MoreKeysThanAnyKernelHasAreLeftOut) {
    std::string keys = "TcpExt:", values = "TcpExt:";
    for (int key = 0; key < 5000; ++key) {
        keys += " Key" + std::to_string(key);
        values += " 1";
    }
    SampledHost host({Area::Protocols});
    host.write("proc/net/netstat", keys + "\n" + values + "\n");
    const Sample &sample = host.take();
    EXPECT_EQ(sample.protocolOthers.size(), 1024U);
    EXPECT_EQ(failureOf(sample, Area::Protocols).first, EBADMSG);
}

TEST(ProtocolReader, FilesOfTheFirstProcessComeFirst) {
    SampledHost host(Area::Protocols, {{"proc/1/net/snmp", "Tcp: InSegs\nTcp: 1\n"},
                                       {"proc/net/snmp", "Tcp: InSegs\nTcp: 2\n"},
                                       {"proc/net/netstat", "TcpExt: ListenDrops\nTcpExt: 3\n"}});
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.tcp.inSegs, 1U));
    EXPECT_TRUE(lacks(sample.tcpExtended.listenDrops, Absence::Unsupported)) << "that is another namespace";
}

TEST(ProtocolReader, AFileThatCannotBeReadGivesItsReasonAndLosesNothingElse) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", oldSnmp}, {"proc/net/netstat/none", ""}});
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(rowOf(sample.ip, "ip").inReceives, 65795803U));
    EXPECT_TRUE(lacks(rowOf(sample.ip, "ip").inBytes, Absence::Malformed)) << "a directory";
    EXPECT_TRUE(lacks(sample.tcpExtended.listenDrops, Absence::Malformed));
    EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(EISDIR, std::string("proc/net/netstat")));
}

TEST(ProtocolReader, WithoutAnyFileTheAreaIsLost) {
    SampledHost host({Area::Protocols});
    const Sample &sample = host.take();
    EXPECT_EQ(sample.area(Area::Protocols).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(sample, Area::Protocols), std::pair(ENOENT, std::string("proc/net/snmp")));
    EXPECT_TRUE(sample.ip.empty());
    EXPECT_TRUE(lacks(sample.tcpStates.listen, Absence::Unsupported));
}

TEST(ProtocolReader, EveryKeyOfACapturedHostHasItsField) {
    zel::Sampler sampler({.root = std::string(paths::fixtures) + "/linux-6.18/t0", .areas = {Area::Protocols}});
    const Sample sample = sampler.take();
    EXPECT_TRUE(sample.protocolOthers.empty());
    EXPECT_EQ(failureOf(sample, Area::Protocols), NO_FAILURE);
    // By hand from the files.
    EXPECT_TRUE(holds(rowOf(sample.ip, "ip").outTransmits, 194141U));
    EXPECT_TRUE(lacks(sample.tcpExtended.pawsPassive, Absence::Unsupported)) << "gone since 4.12";
    EXPECT_TRUE(holds(sample.multipathTcp.mpCurrEstab, 0U));
    EXPECT_TRUE(lacks(sample.multipathTcp.rcvPruned, Absence::Unsupported));
    EXPECT_TRUE(holds(rowOf(sample.icmp, "icmp6").inDestUnreachs, 3U));
}

TEST(ProtocolReader, CountersHaveRates) {
    SampledHost host(Area::Protocols, {{"proc/net/snmp", oldSnmp}});
    Sample before = host.take();
    host.write("proc/net/snmp", "Tcp: InSegs\nTcp: 44549695\nUdp: InDatagrams\nUdp: 88562\n");
    Sample now = host.take();
    now.area(Area::Protocols).monotonicNanoseconds = before.area(Area::Protocols).monotonicNanoseconds + 2000000000;
    const zel::Rates rates = zel::between(before, now);
    EXPECT_TRUE(holds(rates.perSecond("tcp", "in_segs_total"), 5));
    EXPECT_TRUE(holds(rates.perSecond("udp", "in_datagrams_total", "udp"), 10));
}

TEST(ProtocolReader, LinesOfSocketsAreCountedBelowARootDirectory) {
    const char *heading =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n";
    SampledHost host(Area::Protocols, {{"proc/net/snmp", oldSnmp}});
    host.write("proc/net/tcp",
               std::string(heading) +
                   "   0: 0100007F:1F90 00000000:0000 0A 00000000:00000003 00:00000000 00000000     0        0 1\n"
                   "   1: 0100007F:1F90 0100007F:D431 01 00000010:00000020 00:00000000 00000000     0        0 2\n"
                   "   2: 0100007F:1F90 0100007F:D432 06 00000000:00000000 03:00000F7D 00000000     0        0 0\n"
                   "   3: 0100007F:1F90 0100007F:D433 03 00000000:00000000 01:00000063 00000000     0        0 0\n");
    host.write(
        "proc/net/udp",
        std::string(heading) +
            " 1234: 00000000:0016 00000000:0000 07 00000015:00000020 00:00000000 00000000     0        0 2740 2 0 0\n");
    const Sample &sample = host.take();
    EXPECT_TRUE(holds(sample.tcpStates.listen, 1U));
    EXPECT_TRUE(holds(sample.tcpStates.acceptQueue, 3U));
    EXPECT_TRUE(holds(sample.tcpStates.established, 1U));
    EXPECT_TRUE(holds(sample.tcpStates.timeWait, 1U));
    EXPECT_TRUE(holds(sample.tcpStates.synReceived, 1U));
    EXPECT_TRUE(holds(sample.tcpStates.closing, 0U));
    EXPECT_TRUE(holds(rowOf(sample.udp, "udp").transmitQueueBytes, 21U));
    EXPECT_TRUE(holds(rowOf(sample.udp, "udp").receiveQueueBytes, 32U));
    EXPECT_TRUE(lacks(rowOf(sample.udp, "udplite").receiveQueueBytes, Absence::Unsupported));
    host.write("proc/net/tcp6", std::string(heading) + "   0: nonsense\n");
    EXPECT_TRUE(lacks(host.take().tcpStates.listen, Absence::Malformed));
    EXPECT_EQ(failureOf(host.take(), Area::Protocols), std::pair(EBADMSG, std::string("proc/net/tcp6")));
}

} // namespace
