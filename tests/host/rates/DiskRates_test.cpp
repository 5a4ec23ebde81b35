// Rates of disks by hand-computed numbers, and where there is none.
#include "SampledHost.h"
#include "host/Rates.h"

namespace {

using zel::Absence;
using zel::Area;
using zel::Disk;
using zel::DiskRates;
using zel::Sample;

constexpr std::int64_t second = 1000000000;

void begin(Sample &sample, std::int64_t nanoseconds) {
    sample.area(Area::Disks).asked = true;
    sample.area(Area::Disks).monotonicNanoseconds = nanoseconds;
    sample.monotonicNanoseconds = nanoseconds;
}

Disk &add(Sample &sample, const char *name = "sda") {
    Disk &disk = sample.disks.append();
    disk.name = name;
    disk.major = 8;
    disk.sequence = 1;
    for (const auto &field : zel::fieldsOf<Disk>()) {
        if (field.family.kind != zel::Kind::Counter)
            continue;
        if (const auto *count = std::get_if<zel::Count Disk::*>(&field.member))
            disk.**count = 0;
        if (const auto *number = std::get_if<zel::Number Disk::*>(&field.member))
            disk.**number = 0.0;
    }
    return disk;
}

// Two samples of one disk, two seconds apart.
struct Pair {
    Sample before, now;
    Disk *first, *last;

    explicit Pair(std::int64_t time = 2 * second) {
        begin(before, 5 * second);
        begin(now, 5 * second + time);
        first = &add(before);
        last = &add(now);
    }
    DiskRates rates() const { return zel::between(before, now).disks[0]; }
};

TEST(DiskRates, AreThoseOfIostat) {
    Pair pair;
    *pair.last = *pair.first;
    pair.first->reads = 1000;
    pair.last->reads = 1100; // 100 reads of 800 KiB in all, that took 0.4 s
    pair.last->readsMerged = 300;
    pair.last->readBytes = 819200;
    pair.last->readSeconds = 0.4;
    pair.last->writes = 50; // 50 writes of 200 KiB in all, that took 1.5 s
    pair.last->writesMerged = 0;
    pair.last->writtenBytes = 204800;
    pair.last->writeSeconds = 1.5;
    pair.last->discards = 4;
    pair.last->discardsMerged = 12;
    pair.last->discardedBytes = 4096;
    pair.last->discardSeconds = 0.02;
    pair.last->flushes = 10;
    pair.last->flushSeconds = 0.05;
    pair.last->ioSeconds = 0.5;
    pair.last->weightedSeconds = 1.9;
    const DiskRates rates = pair.rates();
    EXPECT_EQ(rates.name, "sda");
    EXPECT_TRUE(holds(rates.reads, 50));
    EXPECT_TRUE(holds(rates.writes, 25));
    EXPECT_TRUE(holds(rates.discards, 2));
    EXPECT_TRUE(holds(rates.flushes, 5));
    EXPECT_TRUE(holds(rates.readBytes, 409600));
    EXPECT_TRUE(holds(rates.writtenBytes, 102400));
    EXPECT_TRUE(holds(rates.discardedBytes, 2048));
    EXPECT_TRUE(holds(rates.readsMerged, 150));
    EXPECT_TRUE(holds(rates.writesMerged, 0));
    EXPECT_TRUE(holds(rates.discardsMerged, 6));
    EXPECT_TRUE(holds(rates.readMergedShare, 0.75)); // 300 of 400
    EXPECT_TRUE(holds(rates.writeMergedShare, 0));
    EXPECT_TRUE(holds(rates.discardMergedShare, 0.75));
    EXPECT_TRUE(holds(rates.readWaitSeconds, 0.004));
    EXPECT_TRUE(holds(rates.writeWaitSeconds, 0.03));
    EXPECT_TRUE(holds(rates.discardWaitSeconds, 0.005));
    EXPECT_TRUE(holds(rates.flushWaitSeconds, 0.005));
    EXPECT_TRUE(holds(rates.readRequestBytes, 8192));
    EXPECT_TRUE(holds(rates.writeRequestBytes, 4096));
    EXPECT_TRUE(holds(rates.discardRequestBytes, 1024));
    EXPECT_TRUE(holds(rates.queueLength, 0.95));
    EXPECT_TRUE(holds(rates.utilisation, 0.25));
}

TEST(DiskRates, AnIdleDiskWaitsForNothing) {
    const DiskRates rates = Pair().rates();
    EXPECT_TRUE(holds(rates.reads, 0));
    EXPECT_TRUE(holds(rates.readWaitSeconds, 0));
    EXPECT_TRUE(holds(rates.readRequestBytes, 0));
    EXPECT_TRUE(holds(rates.readMergedShare, 0));
    EXPECT_TRUE(holds(rates.utilisation, 0));
}

TEST(DiskRates, UtilisationIsNeverMoreThanAllOfTheTime) {
    Pair pair;
    pair.last->ioSeconds = 2.004;
    EXPECT_TRUE(holds(pair.rates().utilisation, 1));
}

TEST(DiskRates, MillisecondsWrapAt32Bits) {
    Pair pair;
    pair.first->ioSeconds = 4294966.796; // half a second before 2^32 ms
    pair.last->ioSeconds = 0.5;
    pair.first->readSeconds = 4294967.0;
    pair.last->readSeconds = 0.104; // 400 ms later
    pair.last->reads = 100;
    pair.first->weightedSeconds = 4294967.295;
    pair.last->weightedSeconds = 0.0; // 1 ms later
    const DiskRates rates = pair.rates();
    EXPECT_NEAR(*rates.utilisation, 0.5, 1e-6);
    EXPECT_NEAR(*rates.readWaitSeconds, 0.004, 1e-6);
    EXPECT_NEAR(*rates.queueLength, 0.0005, 1e-6);
}

TEST(DiskRates, ATimeThatFellWithoutWrappingIsNotYet) {
    Pair pair;
    pair.first->ioSeconds = 1000.0;
    pair.last->ioSeconds = 1.0;
    EXPECT_TRUE(lacks(pair.rates().utilisation, Absence::NotYet));
    EXPECT_TRUE(holds(pair.rates().reads, 0));
}

void expectNothingYet(const DiskRates &rates) {
    for (const auto &field : zel::fieldsOf<DiskRates>()) {
        if (field.family.kind == zel::Kind::Label)
            continue;
        EXPECT_EQ(field.of(rates).absence(), Absence::NotYet) << field.family.name;
        EXPECT_FALSE(field.of(rates).has()) << field.family.name;
    }
}

TEST(DiskRates, ACounterThatFellMeansThatAllStartedAnew) {
    Pair pair;
    pair.first->reads = 10;
    pair.last->reads = 9;
    pair.last->writtenBytes = 1 << 30;
    expectNothingYet(pair.rates());
}

TEST(DiskRates, AnotherDiskUnderTheNameIsNew) {
    for (const int what : {0, 1, 2}) {
        Pair pair;
        pair.last->reads = 1000000;
        if (what == 0)
            pair.last->sequence = 2;
        if (what == 1)
            pair.last->minor = 16;
        if (what == 2)
            pair.last->name = "sdb";
        expectNothingYet(pair.rates());
    }
}

TEST(DiskRates, ADiskWithoutSequencesIsTheSame) {
    Pair pair;
    pair.first->sequence = pair.last->sequence = Absence::Unsupported;
    pair.last->reads = 4;
    EXPECT_TRUE(holds(pair.rates().reads, 2));
}

TEST(DiskRates, OverNoTimeNothingCanBeSaid) {
    Pair pair(0);
    pair.last->reads = 4;
    expectNothingYet(pair.rates());
}

TEST(DiskRates, WithoutAnEarlierReadingOfTheAreaNothingCanBeSaid) {
    Pair pair;
    pair.before.area(Area::Disks).asked = false;
    expectNothingYet(pair.rates());
}

TEST(DiskRates, DisksThatComeAndGoLeaveTheOthers) {
    Pair pair;
    add(pair.before, "sdb").reads = 2;
    add(pair.before, "sdc").reads = 10;
    add(pair.now, "sdx").reads = 7;
    add(pair.now, "sdc").reads = 14;
    const zel::Rates rates = zel::between(pair.before, pair.now);
    ASSERT_EQ(rates.disks.size(), 3U);
    EXPECT_TRUE(holds(rates.disks[0].reads, 0));
    EXPECT_EQ(rates.disks[1].name, "sdx");
    expectNothingYet(rates.disks[1]);
    EXPECT_TRUE(holds(rates.disks[2].reads, 2));
}

TEST(DiskRates, WhatTheKernelLacksHasNoRate) {
    Pair pair;
    pair.first->flushes = pair.last->flushes = Absence::Unsupported;
    pair.first->flushSeconds = pair.last->flushSeconds = Absence::Unsupported;
    pair.last->discards = Absence::Malformed;
    const DiskRates rates = pair.rates();
    EXPECT_TRUE(lacks(rates.flushes, Absence::Unsupported));
    EXPECT_TRUE(lacks(rates.flushWaitSeconds, Absence::Unsupported));
    EXPECT_TRUE(lacks(rates.discards, Absence::Malformed));
    EXPECT_TRUE(lacks(rates.discardMergedShare, Absence::Malformed));
    EXPECT_TRUE(lacks(rates.discardRequestBytes, Absence::Malformed));
    EXPECT_TRUE(holds(rates.reads, 0));
}

} // namespace
