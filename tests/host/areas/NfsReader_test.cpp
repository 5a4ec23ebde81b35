// What the model says of NFS mounts, below a root directory.
#include "NfsHost.h"
#include "SampledHost.h"

#include <cerrno>
#include <filesystem>

namespace {

using zel::Absence;
using zel::Area;
using zel::NfsMount;
using zel::NfsOperation;
using zel::NfsTransport;
using zel::Sample;

class NfsSamples : public SampledHost {
public:
    explicit NfsSamples(const std::string &mountstats) : SampledHost(std::vector{Area::Nfs}) { write(mountstats); }

    using SampledHost::write;
    void write(const std::string &mountstats) const { write("proc/self/mountstats", mountstats); }
};

const std::pair<int, std::string> malformed{EBADMSG, "proc/self/mountstats"};

TEST(NfsReader, TakesWhatAMountIs) {
    NfsSamples host(nfs::others + nfs::mount("server:/srv", "/mnt/a"));
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    ASSERT_EQ(sample.nfsMounts.size(), 1U);
    const NfsMount &mount = sample.nfsMounts[0];
    EXPECT_EQ(mount.device, "server:/srv");
    EXPECT_EQ(mount.mountPoint, "/mnt/a");
    EXPECT_EQ(mount.type, "nfs4");
    EXPECT_TRUE(holds(mount.version, "4.2"));
    EXPECT_TRUE(holds(mount.protocol, "tcp"));
    EXPECT_TRUE(holds(mount.security, "krb5p"));
    EXPECT_TRUE(holds(mount.readOnly, 0));
    EXPECT_TRUE(holds(mount.ageSeconds, 13968));
    EXPECT_TRUE(holds(mount.readSizeBytes, 1048576));
    EXPECT_TRUE(holds(mount.writeSizeBytes, 524288));
    EXPECT_TRUE(holds(mount.capabilities, 0x3ffbffff));
    EXPECT_TRUE(holds(mount.writeMultipleBytes, 512));
    EXPECT_TRUE(holds(mount.directoryReadBytes, 1048576));
    EXPECT_TRUE(holds(mount.blockSizeBytes, 0));
    EXPECT_TRUE(holds(mount.nameLength, 255));
    EXPECT_TRUE(holds(mount.securityFlavour, 6));
    EXPECT_TRUE(holds(mount.securityPseudoFlavour, 390005));
    EXPECT_TRUE(holds(mount.parallel, "not configured"));
    EXPECT_TRUE(holds(mount.leaseSeconds, 90));
    EXPECT_TRUE(holds(mount.leaseExpiredSeconds, 0));
    EXPECT_TRUE(mount.options.valueOr("").starts_with("rw,vers=4.2,"));
}

// The events are 1 to 27 in the text, the bytes 101 to 108, in the order of the struct.
TEST(NfsReader, TakesEveryEventAndTheBytes) {
    NfsSamples host(nfs::mount("server:/srv", "/mnt/a"));
    const NfsMount &mount = host.take().nfsMounts[0];
    double next = 1;
    bool counting = false;
    for (const auto &field : zel::fieldsOf<NfsMount>()) {
        counting |= field.family.name == "inode_revalidations_total";
        if (field.family.name == "operations_total")
            break;
        if (!counting)
            continue;
        next = field.family.name == "read_bytes_total" ? 101 : next;
        EXPECT_EQ(field.of(mount).asReal(), next++) << field.family.name;
    }
    EXPECT_EQ(next, 109);
    EXPECT_TRUE(holds(mount.delays, 25));
    EXPECT_TRUE(holds(mount.serverReadBytes, 105));
}

TEST(NfsReader, AddsTheOperationsUp) {
    NfsSamples host(nfs::mount("server:/srv", "/mnt/a"));
    const NfsMount &mount = host.take().nfsMounts[0];
    EXPECT_TRUE(holds(mount.operations, 111));
    EXPECT_TRUE(holds(mount.transmissions, 114));
    EXPECT_TRUE(holds(mount.retransmissions, 3));
    EXPECT_TRUE(holds(mount.timeouts, 1));
    EXPECT_TRUE(holds(mount.sentBytes, 70100));
    EXPECT_TRUE(holds(mount.receivedBytes, 1002200));
    EXPECT_TRUE(holds(mount.queueSeconds, 0.051));
    EXPECT_TRUE(holds(mount.roundTripSeconds, 2.101));
    EXPECT_TRUE(holds(mount.executeSeconds, 3.202));
    EXPECT_TRUE(holds(mount.errors, 2));
}

TEST(NfsReader, OperationsThatWereUsedHaveARow) {
    NfsSamples host(nfs::mount("server:/srv", "/mnt/a"));
    const Sample &sample = host.take();
    ASSERT_EQ(sample.nfsOperations.size(), 3U);
    const NfsOperation &read = sample.nfsOperations[0];
    EXPECT_EQ(read.operation, "READ");
    EXPECT_EQ(read.device, "server:/srv");
    EXPECT_EQ(read.mountPoint, "/mnt/a");
    EXPECT_EQ(read.type, "nfs4");
    EXPECT_TRUE(holds(read.operations, 100));
    EXPECT_TRUE(holds(read.transmissions, 103));
    EXPECT_TRUE(holds(read.retransmissions, 3));
    EXPECT_TRUE(holds(read.timeouts, 1));
    EXPECT_TRUE(holds(read.sentBytes, 20000));
    EXPECT_TRUE(holds(read.receivedBytes, 1000000));
    EXPECT_TRUE(holds(read.queueSeconds, 0.05));
    EXPECT_TRUE(holds(read.roundTripSeconds, 2));
    EXPECT_TRUE(holds(read.executeSeconds, 3));
    EXPECT_TRUE(holds(read.errors, 2));
    EXPECT_EQ(sample.nfsOperations[2].operation, "75"); // the kernel has no name for it
}

TEST(NfsReader, TakesTheConnectionsOfEachKind) {
    NfsSamples host(nfs::head("s:/a", "/a") + nfs::rpc + nfs::tcp +
                    "\txprt:\tudp 700 2 3 4 5 6 7 8 9 10\n"
                    "\txprt:\trdma 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26\n"
                    "\txprt:\tlocal 1 2 3 4 5 6 7 8 9 10 11 12\n"
                    "\txprt:\tother 1 2 3\n" +
                    nfs::operations);
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    ASSERT_EQ(sample.nfsTransports.size(), 5U);
    const NfsTransport &tcp = sample.nfsTransports[0];
    EXPECT_EQ(tcp.transport, 0U);
    EXPECT_EQ(tcp.device, "s:/a");
    EXPECT_TRUE(holds(tcp.protocol, "tcp"));
    EXPECT_TRUE(holds(tcp.localPort, 832));
    EXPECT_TRUE(holds(tcp.binds, 0));
    EXPECT_TRUE(holds(tcp.connects, 1));
    EXPECT_TRUE(holds(tcp.connectSeconds, 7));
    EXPECT_TRUE(holds(tcp.idleSeconds, 11));
    EXPECT_TRUE(holds(tcp.sends, 6428));
    EXPECT_TRUE(holds(tcp.receives, 6427));
    EXPECT_TRUE(holds(tcp.badTransactions, 3));
    EXPECT_TRUE(holds(tcp.inFlight, 12154));
    EXPECT_TRUE(holds(tcp.backlog, 5));
    EXPECT_TRUE(holds(tcp.slotsAtMost, 24));
    EXPECT_TRUE(holds(tcp.sendingQueue, 26));
    EXPECT_TRUE(holds(tcp.pendingQueue, 5726));
    EXPECT_TRUE(lacks(tcp.readChunks, Absence::Unsupported));
    const NfsTransport &udp = sample.nfsTransports[1];
    EXPECT_EQ(udp.transport, 1U);
    EXPECT_TRUE(holds(udp.localPort, 700));
    EXPECT_TRUE(holds(udp.binds, 2));
    EXPECT_TRUE(lacks(udp.connects, Absence::Unsupported));
    EXPECT_TRUE(lacks(udp.idleSeconds, Absence::Unsupported));
    EXPECT_TRUE(holds(udp.sends, 3));
    EXPECT_TRUE(holds(udp.pendingQueue, 10));
    const NfsTransport &rdma = sample.nfsTransports[2];
    EXPECT_TRUE(holds(rdma.binds, 1));
    EXPECT_TRUE(holds(rdma.backlog, 9));
    EXPECT_TRUE(lacks(rdma.slotsAtMost, Absence::Unsupported));
    EXPECT_TRUE(holds(rdma.readChunks, 10));
    EXPECT_TRUE(holds(rdma.remoteRequestBytes, 13));
    EXPECT_TRUE(holds(rdma.callsWithoutMessage, 20));
    EXPECT_TRUE(holds(rdma.repliesThatWaited, 26));
    const NfsTransport &local = sample.nfsTransports[3];
    EXPECT_TRUE(lacks(local.localPort, Absence::Unsupported));
    EXPECT_TRUE(holds(local.binds, 1));
    EXPECT_TRUE(holds(local.pendingQueue, 12));
    EXPECT_TRUE(holds(sample.nfsTransports[4].protocol, "other"));
    EXPECT_TRUE(lacks(sample.nfsTransports[4].sends, Absence::Unsupported));
}

// Kernel 3.2: a version that counts no errors, connections with fewer columns, no parallel NFS, time in ticks.
TEST(NfsReader, WhatAnOlderKernelDoesNotWriteIsUnsupported) {
    NfsSamples host("device s:/a mounted on /a with fstype nfs statvers=1.0\n"
                    "\topts:\tro,vers=3,rsize=32768,wsize=32768,hard,proto=tcp\n"
                    "\tage:\t5\n"
                    "\tcaps:\tcaps=0x3fe7,wtmult=4096,dtsize=4096,bsize=0,namlen=255\n"
                    "\tsec:\tflavor=1,pseudoflavor=1\n"
                    "\tevents:\t1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 \n"
                    "\tbytes:\t101 102 103 104 105 106 107 108 \n"
                    "\tRPC iostats version: 1.0  p/v: 100003/3 (nfs)\n"
                    "\txprt:\ttcp 832 0 1 700 11 6428 6428 0 12154 0\n"
                    "\tper-op statistics\n"
                    "\t        READ: 4 4 0 100 200 1 2 3\n\n");
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    const NfsMount &mount = sample.nfsMounts[0];
    EXPECT_TRUE(holds(mount.readOnly, 1));
    EXPECT_TRUE(holds(mount.delays, 25));
    EXPECT_TRUE(lacks(mount.parallelReads, Absence::Unsupported));
    EXPECT_TRUE(lacks(mount.security, Absence::Unsupported));
    EXPECT_TRUE(lacks(mount.leaseSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(mount.errors, Absence::Unsupported));
    EXPECT_TRUE(holds(mount.operations, 4));
    EXPECT_TRUE(lacks(sample.nfsOperations[0].errors, Absence::Unsupported));
    EXPECT_TRUE(holds(sample.nfsTransports[0].backlog, 0));
    EXPECT_TRUE(lacks(sample.nfsTransports[0].connectSeconds, Absence::Unsupported)); // 700 ticks of no known length
    EXPECT_TRUE(lacks(sample.nfsTransports[0].slotsAtMost, Absence::Unsupported));
}

TEST(NfsReader, WhatANewerKernelAppendsIsLeftOut) {
    std::string text = nfs::mount("s:/a", "/a");
    for (const auto &[from, to] :
         std::initializer_list<std::pair<std::string, std::string>>{{"26 27 \n", "26 27 28 29 \n"},
                                                                    {"107 108 \n", "107 108 109\n"},
                                                                    {"26 5726\n", "26 5726 9 9 9\n"},
                                                                    {"2000 3000 2\n", "2000 3000 2 77 78\n"},
                                                                    {"\tRPC", "\tnew:\tthings=5\n\tRPC"}})
        text.replace(text.find(from), from.size(), to);
    NfsSamples host(text);
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    EXPECT_TRUE(holds(sample.nfsMounts[0].parallelWrites, 27));
    EXPECT_TRUE(holds(sample.nfsMounts[0].errors, 2));
    EXPECT_TRUE(holds(sample.nfsTransports[0].pendingQueue, 5726));
}

TEST(NfsReader, NamesAreResolved) {
    NfsSamples host(nfs::mount("s:/a\\040b", "/mnt/line\\012feed\\134\\011"));
    const Sample &sample = host.take();
    EXPECT_EQ(sample.nfsMounts[0].device, "s:/a b");
    EXPECT_EQ(sample.nfsMounts[0].mountPoint, "/mnt/line\nfeed\\\t");
    EXPECT_EQ(sample.nfsOperations[0].mountPoint, "/mnt/line\nfeed\\\t");
}

TEST(NfsReader, OfMountsThatAreTheSameTheLastHasARow) {
    std::string last = nfs::mount("s:/a", "/a");
    last.replace(last.find("\tage:\t13968"), 11, "\tage:\t7");
    NfsSamples host(nfs::mount("s:/a", "/a") + nfs::mount("s:/b", "/b") + nfs::others + last +
                    nfs::mount("s:/a", "/a", "nfs"));
    const Sample &sample = host.take();
    ASSERT_EQ(sample.nfsMounts.size(), 3U);
    EXPECT_EQ(sample.nfsMounts[0].mountPoint, "/a");
    EXPECT_TRUE(holds(sample.nfsMounts[0].ageSeconds, 7));
    EXPECT_EQ(sample.nfsMounts[1].mountPoint, "/b");
    EXPECT_EQ(sample.nfsMounts[2].type, "nfs");
    EXPECT_EQ(sample.nfsOperations.size(), 9U);
    EXPECT_EQ(sample.nfsTransports.size(), 3U);
}

// Kernels have computed times below zero, and print them as numbers of 64 bits.
TEST(NfsReader, ATimeBelowZeroIsMalformedAndSoIsItsSum) {
    std::string text = nfs::mount("s:/a", "/a");
    text.replace(text.find("1000000 50 "), 11, "1000000 18446743919241604546 ");
    NfsSamples host(text);
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), malformed);
    EXPECT_TRUE(lacks(sample.nfsOperations[0].queueSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(sample.nfsOperations[0].roundTripSeconds, 2));
    EXPECT_TRUE(lacks(sample.nfsMounts[0].queueSeconds, Absence::Malformed));
    EXPECT_TRUE(holds(sample.nfsMounts[0].roundTripSeconds, 2.101));
}

TEST(NfsReader, FewerRequestsThanOperationsAreNoRetransmission) {
    std::string text = nfs::mount("s:/a", "/a");
    text.replace(text.find("100 103 "), 8, "100 99 ");
    NfsSamples host(text);
    EXPECT_TRUE(holds(host.take().nfsOperations[0].retransmissions, 0));
}

TEST(NfsReader, ABrokenLineIsMalformedAloneAndTheRestCounts) {
    const std::string whole = nfs::mount("s:/a", "/a");
    for (const auto &[from, to] :
         std::initializer_list<std::pair<std::string, std::string>>{{"\tage:\t13968", "\tage:\t-1"},
                                                                    {"\tevents:\t1 2 3", "\tevents:\t1 x 3"},
                                                                    {"\tbytes:\t101", "\tbytes:\t18446744073709551616"},
                                                                    {"caps=0x3ffbffff", "caps=0xzz"},
                                                                    {"wtmult=512", "wtmult="},
                                                                    {"flavor=6", "flavor=six"},
                                                                    {"rw,vers", "vers"},
                                                                    {"lease_time=90", "lease_time=-90"},
                                                                    {"tcp 832 0 1", "tcp 832 0 -1"},
                                                                    {"READ: 100 103", "READ: 100 x"},
                                                                    {"1000000 50 2000", "1000000\n\t x"},
                                                                    {"        READ:", "READ"}}) {
        std::string text = whole;
        text.replace(text.find(from), from.size(), to);
        NfsSamples host(text + nfs::mount("s:/b", "/b"));
        const Sample &sample = host.take();
        EXPECT_EQ(failureOf(sample, Area::Nfs), malformed) << to;
        ASSERT_EQ(sample.nfsMounts.size(), 2U) << to;
        EXPECT_EQ(sample.nfsMounts[0].device, "s:/a") << to;
        EXPECT_TRUE(holds(sample.nfsMounts[1].operations, 111)) << to;
        EXPECT_TRUE(holds(sample.nfsMounts[1].parallelWrites, 27)) << to;
    }
}

TEST(NfsReader, TheColumnsBeforeABrokenOneCount) {
    std::string text = nfs::mount("s:/a", "/a");
    text.replace(text.find("\tevents:\t1 2 3 "), 15, "\tevents:\t1 2 x ");
    NfsSamples host(text);
    const NfsMount &mount = host.take().nfsMounts[0];
    EXPECT_TRUE(holds(mount.entryRevalidations, 2));
    EXPECT_TRUE(lacks(mount.dataInvalidations, Absence::Malformed));
    EXPECT_TRUE(lacks(mount.parallelWrites, Absence::Malformed));
}

TEST(NfsReader, WithoutRpcThereAreNoSums) {
    NfsSamples host(nfs::head("s:/a", "/a"));
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), NO_FAILURE);
    EXPECT_TRUE(lacks(sample.nfsMounts[0].operations, Absence::Unsupported));
    EXPECT_TRUE(lacks(sample.nfsMounts[0].queueSeconds, Absence::Unsupported));
}

TEST(NfsReader, AMountWithoutAnAgeIsNotWhatKernelsWrite) {
    NfsSamples host("device s:/a mounted on /a with fstype nfs statvers=1.1\n");
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), malformed);
    ASSERT_EQ(sample.nfsMounts.size(), 1U);
    EXPECT_TRUE(lacks(sample.nfsMounts[0].ageSeconds, Absence::Unsupported));
}

TEST(NfsReader, MoreOperationsThanAnyKernelHasAreLeftOut) {
    std::string text = nfs::head("s:/a", "/a") + nfs::rpc + "\tper-op statistics\n";
    for (int number = 0; number < 300; ++number)
        text += "\t OP" + std::to_string(number) + ": 1 1 0 1 1 1 1 1 0\n";
    NfsSamples host(text);
    const Sample &sample = host.take();
    EXPECT_EQ(failureOf(sample, Area::Nfs), malformed);
    EXPECT_EQ(sample.nfsOperations.size(), 256U);
}

TEST(NfsReader, WithoutAMountOfNfsAndWithoutClientAndServerTheAreaIsUnsupported) {
    for (const std::string &text : {nfs::others, std::string()}) {
        NfsSamples host(text);
        const Sample &sample = host.take();
        EXPECT_EQ(failureOf(sample, Area::Nfs), std::make_pair(ENOENT, std::string("proc/net/rpc/nfs")));
        EXPECT_EQ(sample.area(Area::Nfs).absence, Absence::Unsupported);
        EXPECT_TRUE(lacks(sample.nfsClient.calls, Absence::Unsupported));
        EXPECT_TRUE(sample.nfsMounts.empty());
    }
}

TEST(NfsReader, BelowARootTheMountsAreThoseOfTheFirstProcess) {
    NfsSamples host(nfs::mount("s:/self", "/self"));
    host.write("proc/1/mountstats", nfs::mount("s:/first", "/first"));
    EXPECT_EQ(host.take().nfsMounts[0].device, "s:/first");
    host.remove("proc/1");
    EXPECT_EQ(host.take().nfsMounts[0].device, "s:/self");
}

TEST(NfsReader, AMountThatWentLeavesNothingToTheNextInItsPlace) {
    NfsSamples host(nfs::mount("s:/a", "/a"));
    EXPECT_TRUE(holds(host.take().nfsMounts[0].operations, 111));
    host.write(nfs::head("s:/b", "/b"));
    const Sample &sample = host.take();
    ASSERT_EQ(sample.nfsMounts.size(), 1U);
    EXPECT_EQ(sample.nfsMounts[0].device, "s:/b");
    EXPECT_TRUE(lacks(sample.nfsMounts[0].operations, Absence::Unsupported));
    EXPECT_TRUE(sample.nfsOperations.empty());
    host.write(nfs::others);
    EXPECT_TRUE(host.take().nfsMounts.empty());
}

} // namespace
