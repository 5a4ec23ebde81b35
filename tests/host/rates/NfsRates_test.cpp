// Rates of NFS mounts by hand-computed numbers, and where there is none.
#include "SampledHost.h"
#include "host/Rates.h"

namespace {

using zel::Absence;
using zel::Area;
using zel::NfsMount;
using zel::NfsOperation;
using zel::NfsTransport;
using zel::Rates;
using zel::Sample;

constexpr std::int64_t second = 1000000000;

template<class Row> void clearCounters(Row &row) {
    for (const auto &field : zel::fieldsOf<Row>()) {
        if (field.family.kind != zel::Kind::Counter)
            continue;
        if (const auto *count = std::get_if<zel::Count Row::*>(&field.member))
            row.**count = 0;
        if (const auto *number = std::get_if<zel::Number Row::*>(&field.member))
            row.**number = 0.0;
    }
}

template<class Row> Row &add(zel::Rows<Row> &rows, const char *mountPoint = "/mnt") {
    Row &row = rows.append();
    row = Row();
    row.device = "s:/a";
    row.mountPoint = mountPoint;
    row.type = "nfs4";
    clearCounters(row);
    return row;
}

NfsMount &addMount(Sample &sample, std::uint64_t age, const char *mountPoint = "/mnt") {
    NfsMount &mount = add(sample.nfsMounts, mountPoint);
    mount.ageSeconds = age;
    return mount;
}
NfsOperation &addOperation(Sample &sample, const char *name, const char *mountPoint = "/mnt") {
    NfsOperation &operation = add(sample.nfsOperations, mountPoint);
    operation.operation = name;
    return operation;
}

// Two samples, two seconds apart.
struct Pair {
    Sample before, now;

    Pair() {
        before.area(Area::Nfs).asked = now.area(Area::Nfs).asked = true;
        before.area(Area::Nfs).monotonicNanoseconds = 100 * second;
        now.area(Area::Nfs).monotonicNanoseconds = 102 * second;
    }
    Rates rates() const { return zel::between(before, now); }
};

// With a mount that has been there for long.
struct MountPair : Pair {
    NfsMount *first = &addMount(before, 1000), *last = &addMount(now, 1002);
};

TEST(NfsRates, OfAMountArePerSecondAndPerOperation) {
    MountPair pair;
    pair.first->operations = 50;
    pair.last->operations = 150;
    pair.last->retransmissions = 2;
    pair.last->timeouts = 1;
    pair.last->errors = 4;
    pair.last->sentBytes = 20000;
    pair.last->receivedBytes = 80000;
    pair.last->queueSeconds = 0.5;
    pair.last->roundTripSeconds = 2.0;
    pair.last->executeSeconds = 3.0;
    pair.last->readBytes = 600;
    pair.last->directReadBytes = 400;
    pair.last->writtenBytes = 60;
    pair.last->directWrittenBytes = 40;
    pair.last->serverReadBytes = 500;
    pair.last->serverWrittenBytes = 50;
    const zel::NfsMountRates rates = pair.rates().nfsMounts[0];
    EXPECT_EQ(rates.device, "s:/a");
    EXPECT_EQ(rates.mountPoint, "/mnt");
    EXPECT_EQ(rates.type, "nfs4");
    EXPECT_TRUE(holds(rates.operations, 50));
    EXPECT_TRUE(holds(rates.sentBytes, 10000));
    EXPECT_TRUE(holds(rates.receivedBytes, 40000));
    EXPECT_TRUE(holds(rates.readBytes, 500));
    EXPECT_TRUE(holds(rates.writtenBytes, 50));
    EXPECT_TRUE(holds(rates.serverReadBytes, 250));
    EXPECT_TRUE(holds(rates.serverWrittenBytes, 25));
    EXPECT_TRUE(holds(rates.retransmissions, 1));
    EXPECT_TRUE(holds(rates.timeouts, 0.5));
    EXPECT_TRUE(holds(rates.errors, 2));
    EXPECT_TRUE(holds(rates.retransmissionShare, 0.02));
    EXPECT_TRUE(holds(rates.operationBytes, 1000));
    EXPECT_TRUE(holds(rates.queueSeconds, 0.005));
    EXPECT_TRUE(holds(rates.roundTripSeconds, 0.02));
    EXPECT_TRUE(holds(rates.executeSeconds, 0.03));
}

TEST(NfsRates, WithoutOperationsTheirMeansAreNothing) {
    const zel::NfsMountRates rates = MountPair().rates().nfsMounts[0];
    EXPECT_TRUE(holds(rates.operations, 0));
    EXPECT_TRUE(holds(rates.roundTripSeconds, 0));
    EXPECT_TRUE(holds(rates.retransmissionShare, 0));
}

template<class Rate> void expectNothingYet(const Rate &rates) {
    for (const auto &field : zel::fieldsOf<Rate>()) {
        if (field.family.kind == zel::Kind::Label)
            continue;
        EXPECT_FALSE(field.of(rates).has()) << field.family.name;
        EXPECT_EQ(field.of(rates).absence(), Absence::NotYet) << field.family.name;
    }
}

TEST(NfsRates, ANewMountIsNotYet) {
    Pair pair;
    addMount(pair.now, 1);
    addOperation(pair.now, "READ").operations = 5;
    add(pair.now.nfsTransports).sends = 5;
    const Rates rates = pair.rates();
    expectNothingYet(rates.nfsMounts[0]);
    expectNothingYet(rates.nfsOperations[0]);
    expectNothingYet(rates.nfsTransports[0]);
}

// Mounted anew one second before the later sample: more was counted since than before.
TEST(NfsRates, AMountThatIsYoungerThanItsEarlierSampleIsNew) {
    Pair pair;
    addMount(pair.before, 1000).operations = 5;
    addMount(pair.now, 1).operations = 500;
    addOperation(pair.before, "READ").operations = 5;
    addOperation(pair.now, "READ").operations = 500;
    add(pair.before.nfsTransports).sends = 5;
    add(pair.now.nfsTransports).sends = 500;
    const Rates rates = pair.rates();
    expectNothingYet(rates.nfsMounts[0]);
    expectNothingYet(rates.nfsOperations[0]);
    expectNothingYet(rates.nfsTransports[0]);
}

// The earlier mount was one second old, and so is the later one, two seconds after it.
TEST(NfsRates, AYoungMountThatIsMountedAnewIsNew) {
    Pair pair;
    addMount(pair.before, 1).operations = 5;
    addMount(pair.now, 1).operations = 500;
    expectNothingYet(pair.rates().nfsMounts[0]);
}

// Whole seconds: a mount may seem to age by one more or less than the time between the samples.
TEST(NfsRates, AMountThatAgesWithTheTimeGoesOn) {
    for (const auto &[earlier, later] : std::initializer_list<std::pair<std::uint64_t, std::uint64_t>>{
             {0, 1}, {0, 2}, {0, 3}, {7, 8}, {7, 9}, {7, 10}}) {
        Pair pair;
        addMount(pair.before, earlier);
        addMount(pair.now, later).operations = 4;
        EXPECT_TRUE(holds(pair.rates().nfsMounts[0].operations, 2)) << earlier << " and " << later;
    }
}

// A recording that does not move: its mounts are older than the time since the earlier sample.
TEST(NfsRates, AMountThatDoesNotAgeGoesOn) {
    Pair pair;
    addMount(pair.before, 1000);
    addMount(pair.now, 1000);
    EXPECT_TRUE(holds(pair.rates().nfsMounts[0].operations, 0));
}

TEST(NfsRates, FewerOperationsThanBeforeAreThoseOfAnotherMount) {
    MountPair pair;
    pair.first->operations = 5;
    pair.last->operations = 4;
    pair.last->sentBytes = 500;
    expectNothingYet(pair.rates().nfsMounts[0]);
}

TEST(NfsRates, AnOperationThatWasNotUsedBeforeGrewFromNothing) {
    MountPair pair;
    NfsOperation &write = addOperation(pair.now, "WRITE");
    write.operations = 10;
    write.roundTripSeconds = 0.5;
    const Rates rates = pair.rates();
    EXPECT_EQ(rates.nfsOperations[0].operation, "WRITE");
    EXPECT_TRUE(holds(rates.nfsOperations[0].operations, 5));
    EXPECT_TRUE(holds(rates.nfsOperations[0].roundTripSeconds, 0.05));
}

TEST(NfsRates, OperationsAndConnectionsBelongToTheirMount) {
    Pair pair;
    for (Sample *sample : {&pair.before, &pair.now}) {
        addMount(*sample, sample == &pair.now ? 1002 : 1000, "/a");
        addMount(*sample, sample == &pair.now ? 1 : 1000, "/b"); // mounted anew
    }
    for (const char *place : {"/a", "/b"}) {
        addOperation(pair.before, "READ", place).operations = 10;
        addOperation(pair.now, "GETATTR", place).operations = 6;
        addOperation(pair.now, "READ", place).operations = 30;
        add(pair.before.nfsTransports, place).sends = 1;
        add(pair.now.nfsTransports, place).sends = 5;
    }
    const Rates rates = pair.rates();
    ASSERT_EQ(rates.nfsOperations.size(), 4U);
    EXPECT_TRUE(holds(rates.nfsOperations[0].operations, 3));
    EXPECT_TRUE(holds(rates.nfsOperations[1].operations, 10));
    expectNothingYet(rates.nfsOperations[2]);
    expectNothingYet(rates.nfsOperations[3]);
    EXPECT_TRUE(holds(rates.nfsTransports[0].sends, 2));
    expectNothingYet(rates.nfsTransports[1]);
}

TEST(NfsRates, QueuesOfAConnectionAreMeansOverWhatWasSent) {
    MountPair pair;
    add(pair.before.nfsTransports);
    NfsTransport &transport = add(pair.now.nfsTransports);
    transport.sends = 100;
    transport.receives = 98;
    transport.connects = 1;
    transport.inFlight = 250;
    transport.backlog = 50;
    transport.sendingQueue = 10;
    transport.pendingQueue = Absence::Unsupported;
    const zel::NfsTransportRates rates = pair.rates().nfsTransports[0];
    EXPECT_TRUE(holds(rates.sends, 50));
    EXPECT_TRUE(holds(rates.receives, 49));
    EXPECT_TRUE(holds(rates.connects, 0.5));
    EXPECT_TRUE(holds(rates.inFlight, 2.5));
    EXPECT_TRUE(holds(rates.backlog, 0.5));
    EXPECT_TRUE(holds(rates.sendingQueue, 0.1));
    EXPECT_TRUE(lacks(rates.pendingQueue, Absence::Unsupported));
}

TEST(NfsRates, AConnectionOfAnotherProtocolIsNew) {
    MountPair pair;
    add(pair.before.nfsTransports).protocol.set("tcp");
    add(pair.now.nfsTransports).protocol.set("rdma");
    expectNothingYet(pair.rates().nfsTransports[0]);
}

TEST(NfsRates, RowsWithoutTheirMountKeepTheirPlace) {
    Pair pair;
    addOperation(pair.now, "READ", "/nowhere");
    add(pair.now.nfsTransports, "/nowhere");
    EXPECT_EQ(pair.rates().nfsOperations.size(), 1U);
    EXPECT_EQ(pair.rates().nfsTransports.size(), 1U);
}

TEST(NfsRates, CountersOfTheClientWrapAt32Bits) {
    Pair pair;
    pair.before.nfsClient.calls = 4294967295;
    pair.now.nfsClient.calls = 9;
    EXPECT_TRUE(holds(pair.rates().perSecond("nfs_client", "calls_total"), 5));
}

} // namespace
