// The Internet protocol and its control messages: the counters of /proc/net/snmp and netstat for IPv4, of snmp6 for
// IPv6. Any user.
//
// The names are the kernel's, in words; octets are bytes here. Each version has what its kernel counts; the rest is
// unsupported. On this host the files are those of the network namespace of the thread that takes the sample, opened in
// each sample; below a root directory those of its first process where its proc is a live one.
#pragma once

#include "host/Schema.h"

namespace zel {

/// One version of the protocol.
struct Ip {
    std::string protocol; // "ip", "ip6"
    Count forwarding;
    Count defaultTtl;
    Count inReceives;
    Count inHdrErrors;
    Count inTooBigErrors;
    Count inNoRoutes;
    Count inAddrErrors;
    Count inUnknownProtos;
    Count inTruncatedPkts;
    Count inDiscards;
    Count inDelivers;
    Count forwDatagrams;
    Count outForwDatagrams;
    Count outRequests;
    Count outDiscards;
    Count outNoRoutes;
    Count outTransmits;
    Count reasmTimeout;
    Count reasmReqds;
    Count reasmOks;
    Count reasmFails;
    Count reasmOverlaps;
    Count fragOks;
    Count fragFails;
    Count fragCreates;
    Count inMcastPkts;
    Count outMcastPkts;
    Count inBcastPkts;
    Count outBcastPkts;
    Count inBytes;
    Count outBytes;
    Count inMcastBytes;
    Count outMcastBytes;
    Count inBcastBytes;
    Count outBcastBytes;
    Count inCsumErrors;
    Count inNoEctPkts;
    Count inEct1Pkts;
    Count inEct0Pkts;
    Count inCePkts;
};

/// The control messages of one version.
struct Icmp {
    std::string protocol; // "icmp", "icmp6"
    Count inMsgs;
    Count inErrors;
    Count inCsumErrors;
    Count outMsgs;
    Count outErrors;
    Count outRateLimitGlobal;
    Count outRateLimitHost;
    Count inDestUnreachs;
    Count inPktTooBigs;
    Count inTimeExcds;
    Count inParmProbs;
    Count inParmProblems;
    Count inSrcQuenchs;
    Count inRedirects;
    Count inEchos;
    Count inEchoReps;
    Count inEchoReplies;
    Count inTimestamps;
    Count inTimestampReps;
    Count inAddrMasks;
    Count inAddrMaskReps;
    Count inGroupMembQueries;
    Count inGroupMembResponses;
    Count inGroupMembReductions;
    Count inRouterSolicits;
    Count inRouterAdvertisements;
    Count inNeighborSolicits;
    Count inNeighborAdvertisements;
    Count inMldv2Reports;
    Count outDestUnreachs;
    Count outPktTooBigs;
    Count outTimeExcds;
    Count outParmProbs;
    Count outParmProblems;
    Count outSrcQuenchs;
    Count outRedirects;
    Count outEchos;
    Count outEchoReps;
    Count outEchoReplies;
    Count outTimestamps;
    Count outTimestampReps;
    Count outAddrMasks;
    Count outAddrMaskReps;
    Count outGroupMembQueries;
    Count outGroupMembResponses;
    Count outGroupMembReductions;
    Count outRouterSolicits;
    Count outRouterAdvertisements;
    Count outNeighborSolicits;
    Count outNeighborAdvertisements;
    Count outMldv2Reports;
};

/// The messages of one type, of those types that were seen: the kernel leaves the others out.
struct IcmpType {
    std::string protocol; // "icmp", "icmp6"
    std::uint64_t type = 0;
    Count received, sent;
};

template<> std::span<const Field<Ip>> fieldsOf<Ip>();
template<> std::span<const Field<Icmp>> fieldsOf<Icmp>();
template<> std::span<const Field<IcmpType>> fieldsOf<IcmpType>();

} // namespace zel
