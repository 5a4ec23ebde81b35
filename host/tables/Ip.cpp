// The fields of the Internet protocol and its control messages.
#include "host/Ip.h"

namespace zel {

namespace {

constexpr Entries<Ip> ip{Area::Protocols, "ip", "/proc/net/snmp, /proc/net/snmp6"};
constexpr Entries<Ip> ext = ip.from("/proc/net/netstat, /proc/net/snmp6");
constexpr Field<Ip> ipFields[] = {
    ip.label("protocol", &Ip::protocol, "ip or ip6."),
    ip.state("forwarding", &Ip::forwarding, "1 when packets are forwarded, 2 when not."),
    ip.info("default_ttl", &Ip::defaultTtl,
            "Time to live of the packets that the host sends, unless a program says otherwise."),
    ip.counter("in_receives_total", &Ip::inReceives, Unit::None, "Packets received, with those in error."),
    ip.counter("in_hdr_errors_total", &Ip::inHdrErrors, Unit::None, "Packets dropped for an error of their header."),
    ip.counter("in_too_big_errors_total", &Ip::inTooBigErrors, Unit::None,
               "Packets dropped because they were too big to be forwarded."),
    ext.counter("in_no_routes_total", &Ip::inNoRoutes, Unit::None, "Packets received and dropped for want of a route."),
    ip.counter("in_addr_errors_total", &Ip::inAddrErrors, Unit::None,
               "Packets dropped for an address that is not the host's."),
    ip.counter("in_unknown_protos_total", &Ip::inUnknownProtos, Unit::None,
               "Packets dropped for a protocol that the host does not know."),
    ext.counter("in_truncated_pkts_total", &Ip::inTruncatedPkts, Unit::None,
                "Packets dropped because they were cut short."),
    ip.counter("in_discards_total", &Ip::inDiscards, Unit::None,
               "Packets received and dropped though nothing was wrong with them, for want of memory say."),
    ip.counter("in_delivers_total", &Ip::inDelivers, Unit::None, "Packets handed to their protocol."),
    ip.counter("forw_datagrams_total", &Ip::forwDatagrams, Unit::None, "Packets forwarded (IPv4)."),
    ip.counter("out_forw_datagrams_total", &Ip::outForwDatagrams, Unit::None, "Packets forwarded (IPv6)."),
    ip.counter("out_requests_total", &Ip::outRequests, Unit::None,
               "Packets that protocols of the host wanted to be sent."),
    ip.counter("out_discards_total", &Ip::outDiscards, Unit::None,
               "Packets dropped before sending though nothing was wrong with them."),
    ip.counter("out_no_routes_total", &Ip::outNoRoutes, Unit::None, "Packets not sent for want of a route."),
    ip.counter("out_transmits_total", &Ip::outTransmits, Unit::None, "Packets handed to an interface."),
    ip.counter("reasm_timeout_total", &Ip::reasmTimeout, Unit::None,
               "Packets whose fragments did not all come in time."),
    ip.counter("reasm_reqds_total", &Ip::reasmReqds, Unit::None, "Fragments received."),
    ip.counter("reasm_oks_total", &Ip::reasmOks, Unit::None, "Packets made of their fragments."),
    ip.counter("reasm_fails_total", &Ip::reasmFails, Unit::None, "Failures to make a packet of its fragments."),
    ext.counter("reasm_overlaps_total", &Ip::reasmOverlaps, Unit::None, "Fragments that overlapped others."),
    ip.counter("frag_oks_total", &Ip::fragOks, Unit::None, "Packets cut into fragments."),
    ip.counter("frag_fails_total", &Ip::fragFails, Unit::None,
               "Packets that had to be cut into fragments and could not be."),
    ip.counter("frag_creates_total", &Ip::fragCreates, Unit::None, "Fragments made."),
    ext.counter("in_mcast_pkts_total", &Ip::inMcastPkts, Unit::None, "Multicast packets received."),
    ext.counter("out_mcast_pkts_total", &Ip::outMcastPkts, Unit::None, "Multicast packets sent."),
    ext.counter("in_bcast_pkts_total", &Ip::inBcastPkts, Unit::None, "Broadcast packets received."),
    ext.counter("out_bcast_pkts_total", &Ip::outBcastPkts, Unit::None, "Broadcast packets sent."),
    ext.counter("in_bytes_total", &Ip::inBytes, Unit::Bytes, "Bytes of packets received."),
    ext.counter("out_bytes_total", &Ip::outBytes, Unit::Bytes, "Bytes of packets sent."),
    ext.counter("in_mcast_bytes_total", &Ip::inMcastBytes, Unit::Bytes, "Bytes of multicast packets received."),
    ext.counter("out_mcast_bytes_total", &Ip::outMcastBytes, Unit::Bytes, "Bytes of multicast packets sent."),
    ext.counter("in_bcast_bytes_total", &Ip::inBcastBytes, Unit::Bytes, "Bytes of broadcast packets received."),
    ext.counter("out_bcast_bytes_total", &Ip::outBcastBytes, Unit::Bytes, "Bytes of broadcast packets sent."),
    ext.counter("in_csum_errors_total", &Ip::inCsumErrors, Unit::None,
                "Packets dropped for a wrong checksum of their header."),
    ext.counter("in_no_ect_pkts_total", &Ip::inNoEctPkts, Unit::None,
                "Packets received whose sender does not know congestion marks."),
    ext.counter("in_ect1_pkts_total", &Ip::inEct1Pkts, Unit::None, "Packets received with ECT(1)."),
    ext.counter("in_ect0_pkts_total", &Ip::inEct0Pkts, Unit::None, "Packets received with ECT(0)."),
    ext.counter("in_ce_pkts_total", &Ip::inCePkts, Unit::None, "Packets received with the mark of congestion."),
};

constexpr Entries<Icmp> icmp{Area::Protocols, "icmp", "/proc/net/snmp, /proc/net/snmp6"};
constexpr Field<Icmp> icmpFields[] = {
    icmp.label("protocol", &Icmp::protocol, "icmp or icmp6."),
    icmp.counter("in_msgs_total", &Icmp::inMsgs, Unit::None, "Messages received, with those in error."),
    icmp.counter("in_errors_total", &Icmp::inErrors, Unit::None, "Messages received and dropped."),
    icmp.counter("in_csum_errors_total", &Icmp::inCsumErrors, Unit::None, "Messages dropped for a wrong checksum."),
    icmp.counter("out_msgs_total", &Icmp::outMsgs, Unit::None, "Messages sent."),
    icmp.counter("out_errors_total", &Icmp::outErrors, Unit::None, "Messages that could not be sent."),
    icmp.counter("out_rate_limit_global_total", &Icmp::outRateLimitGlobal, Unit::None,
                 "Messages not sent for the rate limit of the host."),
    icmp.counter("out_rate_limit_host_total", &Icmp::outRateLimitHost, Unit::None,
                 "Messages not sent for the rate limit of their receiver."),
    icmp.counter("in_dest_unreachs_total", &Icmp::inDestUnreachs, Unit::None,
                 "Messages received: destination unreachable."),
    icmp.counter("in_pkt_too_bigs_total", &Icmp::inPktTooBigs, Unit::None, "Messages received: packet too big."),
    icmp.counter("in_time_excds_total", &Icmp::inTimeExcds, Unit::None, "Messages received: time exceeded."),
    icmp.counter("in_parm_probs_total", &Icmp::inParmProbs, Unit::None, "Messages received: parameter problem (IPv4)."),
    icmp.counter("in_parm_problems_total", &Icmp::inParmProblems, Unit::None,
                 "Messages received: parameter problem (IPv6)."),
    icmp.counter("in_src_quenchs_total", &Icmp::inSrcQuenchs, Unit::None, "Messages received: source quench."),
    icmp.counter("in_redirects_total", &Icmp::inRedirects, Unit::None, "Messages received: redirect."),
    icmp.counter("in_echos_total", &Icmp::inEchos, Unit::None, "Messages received: echo request."),
    icmp.counter("in_echo_reps_total", &Icmp::inEchoReps, Unit::None, "Messages received: echo reply (IPv4)."),
    icmp.counter("in_echo_replies_total", &Icmp::inEchoReplies, Unit::None, "Messages received: echo reply (IPv6)."),
    icmp.counter("in_timestamps_total", &Icmp::inTimestamps, Unit::None, "Messages received: timestamp request."),
    icmp.counter("in_timestamp_reps_total", &Icmp::inTimestampReps, Unit::None, "Messages received: timestamp reply."),
    icmp.counter("in_addr_masks_total", &Icmp::inAddrMasks, Unit::None, "Messages received: address mask request."),
    icmp.counter("in_addr_mask_reps_total", &Icmp::inAddrMaskReps, Unit::None,
                 "Messages received: address mask reply."),
    icmp.counter("in_group_memb_queries_total", &Icmp::inGroupMembQueries, Unit::None,
                 "Messages received: query of multicast groups."),
    icmp.counter("in_group_memb_responses_total", &Icmp::inGroupMembResponses, Unit::None,
                 "Messages received: report of a multicast group."),
    icmp.counter("in_group_memb_reductions_total", &Icmp::inGroupMembReductions, Unit::None,
                 "Messages received: a multicast group was left."),
    icmp.counter("in_router_solicits_total", &Icmp::inRouterSolicits, Unit::None,
                 "Messages received: router solicitation."),
    icmp.counter("in_router_advertisements_total", &Icmp::inRouterAdvertisements, Unit::None,
                 "Messages received: router advertisement."),
    icmp.counter("in_neighbor_solicits_total", &Icmp::inNeighborSolicits, Unit::None,
                 "Messages received: neighbour solicitation."),
    icmp.counter("in_neighbor_advertisements_total", &Icmp::inNeighborAdvertisements, Unit::None,
                 "Messages received: neighbour advertisement."),
    icmp.counter("in_mldv2_reports_total", &Icmp::inMldv2Reports, Unit::None,
                 "Messages received: report of multicast groups, version 2."),
    icmp.counter("out_dest_unreachs_total", &Icmp::outDestUnreachs, Unit::None,
                 "Messages sent: destination unreachable."),
    icmp.counter("out_pkt_too_bigs_total", &Icmp::outPktTooBigs, Unit::None, "Messages sent: packet too big."),
    icmp.counter("out_time_excds_total", &Icmp::outTimeExcds, Unit::None, "Messages sent: time exceeded."),
    icmp.counter("out_parm_probs_total", &Icmp::outParmProbs, Unit::None, "Messages sent: parameter problem (IPv4)."),
    icmp.counter("out_parm_problems_total", &Icmp::outParmProblems, Unit::None,
                 "Messages sent: parameter problem (IPv6)."),
    icmp.counter("out_src_quenchs_total", &Icmp::outSrcQuenchs, Unit::None, "Messages sent: source quench."),
    icmp.counter("out_redirects_total", &Icmp::outRedirects, Unit::None, "Messages sent: redirect."),
    icmp.counter("out_echos_total", &Icmp::outEchos, Unit::None, "Messages sent: echo request."),
    icmp.counter("out_echo_reps_total", &Icmp::outEchoReps, Unit::None, "Messages sent: echo reply (IPv4)."),
    icmp.counter("out_echo_replies_total", &Icmp::outEchoReplies, Unit::None, "Messages sent: echo reply (IPv6)."),
    icmp.counter("out_timestamps_total", &Icmp::outTimestamps, Unit::None, "Messages sent: timestamp request."),
    icmp.counter("out_timestamp_reps_total", &Icmp::outTimestampReps, Unit::None, "Messages sent: timestamp reply."),
    icmp.counter("out_addr_masks_total", &Icmp::outAddrMasks, Unit::None, "Messages sent: address mask request."),
    icmp.counter("out_addr_mask_reps_total", &Icmp::outAddrMaskReps, Unit::None, "Messages sent: address mask reply."),
    icmp.counter("out_group_memb_queries_total", &Icmp::outGroupMembQueries, Unit::None,
                 "Messages sent: query of multicast groups."),
    icmp.counter("out_group_memb_responses_total", &Icmp::outGroupMembResponses, Unit::None,
                 "Messages sent: report of a multicast group."),
    icmp.counter("out_group_memb_reductions_total", &Icmp::outGroupMembReductions, Unit::None,
                 "Messages sent: a multicast group was left."),
    icmp.counter("out_router_solicits_total", &Icmp::outRouterSolicits, Unit::None,
                 "Messages sent: router solicitation."),
    icmp.counter("out_router_advertisements_total", &Icmp::outRouterAdvertisements, Unit::None,
                 "Messages sent: router advertisement."),
    icmp.counter("out_neighbor_solicits_total", &Icmp::outNeighborSolicits, Unit::None,
                 "Messages sent: neighbour solicitation."),
    icmp.counter("out_neighbor_advertisements_total", &Icmp::outNeighborAdvertisements, Unit::None,
                 "Messages sent: neighbour advertisement."),
    icmp.counter("out_mldv2_reports_total", &Icmp::outMldv2Reports, Unit::None,
                 "Messages sent: report of multicast groups, version 2."),
};

constexpr Entries<IcmpType> type{Area::Protocols, "icmp_types", "/proc/net/snmp, /proc/net/snmp6"};
constexpr Field<IcmpType> typeFields[] = {
    type.label("protocol", &IcmpType::protocol, "icmp or icmp6."),
    type.label("type", &IcmpType::type, "Number of the type."),
    type.counter("received_total", &IcmpType::received, Unit::None, "Messages of this type received."),
    type.counter("sent_total", &IcmpType::sent, Unit::None, "Messages of this type sent."),
};

} // namespace

template<> std::span<const Field<Ip>> fieldsOf<Ip>() {
    return ipFields;
}

template<> std::span<const Field<Icmp>> fieldsOf<Icmp>() {
    return icmpFields;
}

template<> std::span<const Field<IcmpType>> fieldsOf<IcmpType>() {
    return typeFields;
}

} // namespace zel
