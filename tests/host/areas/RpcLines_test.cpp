// The counters of NFS client and server, as /proc/net/rpc/nfs and /proc/net/rpc/nfsd have them.
#include "SampledHost.h"
#include "host/areas/RpcOperations.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;
using zel::NfsServer;
using zel::Sample;

constexpr const char *clientFile = "proc/net/rpc/nfs", *serverFile = "proc/net/rpc/nfsd";

std::string client(std::size_t count) {
    std::string line = "proc4 " + std::to_string(count);
    for (std::size_t index = 0; index < count; ++index)
        line += " " + std::to_string(1000 + index);
    return "net 1 2 3 4\nrpc 5 6 7\nproc3 22 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22\n" + line + "\n";
}

const char *const server = "rc 1 2 3\n"
                           "fh 4 0 0 0 0\n"
                           "io 5000000000 6\n"
                           "th 8 0 0.000 0.000 0.000 0.000 0.000 0.000 0.000 0.000 0.000 0.000\n"
                           "ra 32 1 2 3 4 5 6 7 8 9 10 11\n"
                           "net 12 13 14 15\n"
                           "rpc 16 17 18 19 20\n"
                           "proc2 18 0 0 0 0 7 0 0 0 0 0 0 0 0 0 0 0 0 0\n"
                           "proc3 22 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22\n"
                           "proc4 2 23 24\n"
                           "proc4ops 76 0 0 0 33 34 35 36 37 38 39 40 41 42 43 44 45 46 47 48 49 50 51 52 53 54 55 56 "
                           "57 58 59 60 61 62 63 64 65 66 67 68 69 70 71 72 73 74 75 76 77 78 79 80 81 82 83 84 85 86 "
                           "87 88 89 90 91 92 93 94 95 96 97 98 99 100 101 102 103 104 105\n"
                           "wdeleg_getattr 21\n";

template<class Row> const Row *callOf(const zel::Rows<Row> &rows, std::uint64_t version, const std::string &name) {
    for (const Row &row : rows) {
        if (row.version == version && row.operation == name)
            return &row;
    }
    return nullptr;
}

template<class Row>
testing::AssertionResult counts(const zel::Rows<Row> &rows, std::uint64_t version, const std::string &name,
                                std::uint64_t expected) {
    const Row *row = callOf(rows, version, name);
    return row == nullptr ? testing::AssertionFailure() << "there is no " << name : holds(row->calls, expected);
}

TEST(NfsClient, TakesItsCountersAndCalls) {
    SampledHost host(Area::Nfs, {{clientFile, client(69).c_str()}});
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    EXPECT_TRUE(holds(sample.nfsClient.packets, 1));
    EXPECT_TRUE(holds(sample.nfsClient.udpPackets, 2));
    EXPECT_TRUE(holds(sample.nfsClient.tcpPackets, 3));
    EXPECT_TRUE(holds(sample.nfsClient.tcpConnections, 4));
    EXPECT_TRUE(holds(sample.nfsClient.calls, 5));
    EXPECT_TRUE(holds(sample.nfsClient.retransmissions, 6));
    EXPECT_TRUE(holds(sample.nfsClient.authenticationRefreshes, 7));
    EXPECT_EQ(sample.nfsClientCalls.size(), 22U + 69U);
    EXPECT_TRUE(counts(sample.nfsClientCalls, 3, "NULL", 1));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 3, "READ", 7));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 3, "READDIRPLUS", 18));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 3, "COMMIT", 22));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 4, "READ", 1001));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 4, "READ_PLUS", 1068));
    EXPECT_TRUE(lacks(sample.nfsServer.threads, Absence::Unsupported));
    EXPECT_TRUE(sample.nfsServerCalls.empty());
}

TEST(NfsClient, ASecondSampleHasTheSameRows) {
    SampledHost host(Area::Nfs, {{clientFile, client(69).c_str()}, {serverFile, server}});
    host.take();
    const Sample &sample = host.take();
    EXPECT_EQ(sample.nfsClientCalls.size(), 22U + 69U);
    EXPECT_EQ(sample.nfsServerCalls.size(), 18U + 22U + 2U + 73U);
}

// FSID_PRESENT came with kernel 3.13, before EXCHANGE_ID.
TEST(NfsClient, NamesFollowTheKernelThatWroteThem) {
    EXPECT_EQ(zel::nfsClientOperation(4, 37, 54), "FSID_PRESENT");
    EXPECT_EQ(zel::nfsClientOperation(4, 38, 54), "EXCHANGE_ID");
    EXPECT_EQ(zel::nfsClientOperation(4, 37, 53), "EXCHANGE_ID");
    EXPECT_EQ(zel::nfsClientOperation(4, 52, 53), "DESTROY_CLIENTID");
    EXPECT_EQ(zel::nfsClientOperation(4, 37, 38), "FSID_PRESENT");
    EXPECT_EQ(zel::nfsClientOperation(4, 36, 37), "SECINFO");
    EXPECT_EQ(zel::nfsClientOperation(4, 58, 59), "CLONE");
    EXPECT_EQ(zel::nfsClientOperation(4, 56, 71), "DEALLOCATE");
    EXPECT_EQ(zel::nfsClientOperation(4, 57, 71), ""); // newer kernels differ from here on
    EXPECT_EQ(zel::nfsClientOperation(2, 17, 18), "FSSTAT");
    EXPECT_EQ(zel::nfsClientOperation(3, 22, 23), "");
    EXPECT_EQ(zel::nfsClientOperation(5, 0, 1), "");
}

TEST(NfsClient, AnOperationWithoutANameHasItsNumber) {
    SampledHost host(Area::Nfs, {{clientFile, client(71).c_str()}});
    const Sample &sample = host.take();
    EXPECT_TRUE(counts(sample.nfsClientCalls, 4, "DEALLOCATE", 1056));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 4, "57", 1057));
    EXPECT_TRUE(counts(sample.nfsClientCalls, 4, "70", 1070));
}

TEST(NfsServer, TakesItsCountersAndCalls) {
    SampledHost host(Area::Nfs, {{serverFile, server}});
    const Sample &sample = host.take();
    const NfsServer &nfsd = sample.nfsServer;
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    EXPECT_TRUE(holds(nfsd.replyCacheHits, 1));
    EXPECT_TRUE(holds(nfsd.replyCacheMisses, 2));
    EXPECT_TRUE(holds(nfsd.uncachedReplies, 3));
    EXPECT_TRUE(holds(nfsd.staleHandles, 4));
    EXPECT_TRUE(holds(nfsd.readBytes, 5000000000));
    EXPECT_TRUE(holds(nfsd.writtenBytes, 6));
    EXPECT_TRUE(holds(nfsd.threads, 8));
    EXPECT_TRUE(holds(nfsd.readAheadBlocks, 32));
    EXPECT_TRUE(holds(nfsd.readAheadHits, 55));
    EXPECT_TRUE(holds(nfsd.readAheadMisses, 11));
    EXPECT_TRUE(holds(nfsd.packets, 12));
    EXPECT_TRUE(holds(nfsd.udpPackets, 13));
    EXPECT_TRUE(holds(nfsd.tcpPackets, 14));
    EXPECT_TRUE(holds(nfsd.tcpConnections, 15));
    EXPECT_TRUE(holds(nfsd.calls, 16));
    EXPECT_TRUE(holds(nfsd.badCalls, 17));
    EXPECT_TRUE(holds(nfsd.badFormats, 18));
    EXPECT_TRUE(holds(nfsd.badAuthentications, 19));
    EXPECT_TRUE(holds(nfsd.badClients, 20));
    EXPECT_TRUE(holds(nfsd.delegationRecalls, 21));
    EXPECT_TRUE(counts(sample.nfsServerCalls, 2, "LOOKUP", 7));
    EXPECT_TRUE(counts(sample.nfsServerCalls, 3, "FSINFO", 20));
    EXPECT_TRUE(counts(sample.nfsServerCalls, 4, "COMPOUND", 24));
    // The numbers of RFC 7530 and 7862: ACCESS is 3, WRITE 38, CLONE 71, REMOVEXATTR (RFC 8276) 75.
    EXPECT_TRUE(counts(sample.nfsServerCalls, 4, "ACCESS", 33));
    EXPECT_TRUE(counts(sample.nfsServerCalls, 4, "WRITE", 68));
    EXPECT_TRUE(counts(sample.nfsServerCalls, 4, "CLONE", 101));
    EXPECT_TRUE(counts(sample.nfsServerCalls, 4, "REMOVEXATTR", 105));
    EXPECT_EQ(callOf(sample.nfsServerCalls, 4, "0"), nullptr); // a number that means nothing
}

TEST(NfsServer, WhatTheKernelDoesNotWriteIsUnsupported) {
    SampledHost host(Area::Nfs, {{serverFile, "rc 1 2 3\nrpc 1 2 3 4 5\n"}});
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    EXPECT_TRUE(holds(sample.nfsServer.calls, 1));
    EXPECT_TRUE(lacks(sample.nfsServer.delegationRecalls, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.nfsServer.readAheadHits, Absence::Unsupported));
}

TEST(NfsServer, BrokenLinesAreMalformedAloneAndTheRestCounts) {
    for (const char *line : {"rc 1 x 3\n", "rc 1 2\n", "rc\n", "ra 32 1 2\n", "proc3 22 1 2 3\n", "proc3 -1\n",
                             "proc3 99999 1 2\n", "proc3\n", "proc4ops 4 0 0 0 18446744073709551616\n"}) {
        SampledHost host(Area::Nfs, {{serverFile, (std::string(line) + "net 12 13 14 15\n").c_str()}});
        const Sample &sample = host.take();
        // A line without a blank behind its word is another line.
        const bool another = std::string(line) == "rc\n" || std::string(line) == "proc3\n";
        EXPECT_EQ(failureOf(sample, Area::Nfs), another ? NO_FAILURE : std::make_pair(EBADMSG, std::string(serverFile)))
            << line;
        EXPECT_TRUE(holds(sample.nfsServer.tcpPackets, 14)) << line;
    }
}

TEST(NfsServer, AFileWithoutItsLinesIsMalformed) {
    for (const char *text : {"", "\n\n", "garbage", "\x01\x02\x03"}) {
        SampledHost host(Area::Nfs, {{serverFile, text}});
        EXPECT_EQ(failureOf(host.take(), Area::Nfs), std::make_pair(EBADMSG, std::string(serverFile))) << text;
    }
}

TEST(NfsServer, BelowARootTheCountersAreThoseOfTheFirstProcess) {
    SampledHost host(Area::Nfs, {{serverFile, "th 8\n"}, {"proc/1/net/rpc/nfsd", "th 9\n"}});
    EXPECT_TRUE(holds(host.take().nfsServer.threads, 9));
}

} // namespace
