// What a host can run out of.
#include "Paths.h"
#include "SampledHost.h"

#include <cerrno>

namespace {

using zel::Absence;
using zel::Area;
using zel::Sample;

TEST(LimitsReader, UsesAndLimits) {
    SampledHost host(Area::Limits,
                     {{"proc/sys/fs/file-nr", "1024\t5\t6799107\n"},
                      {"proc/sys/fs/inode-nr", "88726\t7\n"},
                      {"proc/sys/fs/dentry-state", "372092\t368693\t45\t0\t281812\t0\n"},
                      {"proc/sys/fs/aio-nr", "12\n"},
                      {"proc/sys/fs/aio-max-nr", "65536\n"},
                      {"proc/sys/kernel/pid_max", "32768\n"},
                      {"proc/sys/kernel/threads-max", "192730\n"},
                      {"proc/sys/kernel/sem", "32000\t1024000000\t500\t32001\n"},
                      {"proc/sysvipc/sem", "       key      semid perms\n 0 1 600\n 0 2 600\n"},
                      {"proc/sysvipc/shm", "       key      shmid perms\n"},
                      {"proc/sys/kernel/random/entropy_avail", "256\n"},
                      {"proc/net/stat/arp_cache", "entries  allocs\n0000001a 00000001\n0000001a 00000002\n"},
                      {"proc/sys/net/ipv4/neigh/default/gc_thresh3", "1024\n"},
                      {"proc/loadavg", "0.37 0.60 0.24 2/212 12345\n"}});
    const Sample &sample = host.take();
    const zel::Limits &limits = sample.limits;
    EXPECT_TRUE(holds(limits.filesAllocated, 1024U));
    EXPECT_TRUE(holds(limits.filesUnused, 5U));
    EXPECT_TRUE(holds(limits.filesLimit, 6799107U));
    EXPECT_TRUE(holds(limits.inodesAllocated, 88726U));
    EXPECT_TRUE(holds(limits.inodesUnused, 7U));
    EXPECT_TRUE(holds(limits.dentriesAllocated, 372092U));
    EXPECT_TRUE(holds(limits.dentriesUnused, 368693U));
    EXPECT_TRUE(holds(limits.dentriesNegative, 281812U));
    EXPECT_TRUE(holds(limits.aioRequests, 12U));
    EXPECT_TRUE(holds(limits.aioRequestsLimit, 65536U));
    EXPECT_TRUE(holds(limits.pidsLimit, 32768U));
    EXPECT_TRUE(holds(limits.threadsLimit, 192730U));
    EXPECT_TRUE(holds(limits.threads, 212U));
    EXPECT_TRUE(holds(limits.semaphoreArrays, 2U));
    EXPECT_TRUE(holds(limits.semaphoreArraysLimit, 32001U));
    EXPECT_TRUE(holds(limits.sharedMemorySegments, 0U));
    EXPECT_TRUE(lacks(limits.messageQueues, Absence::Unsupported));
    EXPECT_TRUE(holds(limits.entropyAvailableBits, 256U));
    EXPECT_TRUE(holds(limits.arpEntries, 26U));
    EXPECT_TRUE(holds(limits.arpEntriesLimit, 1024U));
    EXPECT_TRUE(lacks(limits.ndiscEntries, Absence::Unsupported));
    EXPECT_EQ(failureOf(sample, Area::Limits), NO_FAILURE);
}

TEST(LimitsReader, BelowARootDirectoryLimitsAreReadInEachSample) {
    SampledHost host(Area::Limits, {{"proc/sys/kernel/pid_max", "32768\n"}});
    host.take();
    host.write("proc/sys/kernel/pid_max", "4194304\n");
    EXPECT_TRUE(holds(host.take().limits.pidsLimit, 4194304U));
}

TEST(LimitsReader, KeyRingsOfUsers) {
    SampledHost host(Area::Limits, {{"proc/key-users", "    0:     9 8/7 3/1000000 40/25000000\n"
                                                       " 1000:     1 1/1 199/200 19999/20000\n"}});
    const Sample &sample = host.take();
    ASSERT_EQ(sample.keyUsers.size(), 2U);
    EXPECT_EQ(sample.keyUsers[0].uid, 0U);
    EXPECT_TRUE(holds(sample.keyUsers[0].keys, 3U));
    EXPECT_TRUE(holds(sample.keyUsers[0].bytesLimit, 25000000U));
    EXPECT_EQ(sample.keyUsers[1].uid, 1000U);
    EXPECT_TRUE(holds(sample.keyUsers[1].keys, 199U));
    EXPECT_TRUE(holds(sample.keyUsers[1].keysLimit, 200U));
    EXPECT_TRUE(holds(sample.keyUsers[1].bytes, 19999U));
    EXPECT_EQ(failureOf(sample, Area::Limits), NO_FAILURE);
}

TEST(LimitsReader, DamagedFilesAreMalformedAlone) {
    const std::pair<const char *, const char *> damaged[] = {
        {"proc/sys/fs/file-nr", "1024\t5\n"},         {"proc/sys/fs/file-nr", ""},
        {"proc/sys/fs/dentry-state", "1 2 3 4\n"},    {"proc/sys/kernel/sem", "1 2 3 x\n"},
        {"proc/sys/kernel/pid_max", "many\n"},        {"proc/loadavg", "0.37 0.60 0.24 2\n"},
        {"proc/key-users", " 1000: 1 1/1 199 1/2\n"}, {"proc/key-users", "x: 1 1/1 199/200 1/2\n"},
        {"proc/net/stat/arp_cache", "entries\n"},     {"proc/net/stat/ndisc_cache", "entries\nxyz 1\n"},
    };
    for (const auto &[path, text] : damaged) {
        SampledHost host(Area::Limits, {{"proc/sys/fs/inode-nr", "88726\t7\n"}, {path, text}});
        const Sample &sample = host.take();
        EXPECT_TRUE(holds(sample.limits.inodesAllocated, 88726U)) << path;
        EXPECT_EQ(failureOf(sample, Area::Limits), std::pair(EBADMSG, std::string(path))) << text;
        EXPECT_TRUE(sample.keyUsers.empty()) << text;
    }
}

TEST(LimitsReader, WithoutAnyFileTheAreaIsLost) {
    SampledHost host({Area::Limits});
    const Sample &sample = host.take();
    EXPECT_EQ(sample.area(Area::Limits).absence, Absence::Unsupported);
    EXPECT_EQ(failureOf(sample, Area::Limits), std::pair(ENOENT, std::string("proc/sys/fs/file-nr")));
}

TEST(LimitsReader, ACapturedHost) {
    zel::Sampler sampler({.root = std::string(paths::fixtures) + "/linux-6.18/t0", .areas = {Area::Limits}});
    const Sample sample = sampler.take();
    EXPECT_EQ(failureOf(sample, Area::Limits), NO_FAILURE);
    EXPECT_TRUE(holds(sample.limits.filesAllocated, 1830U));
    EXPECT_TRUE(holds(sample.limits.filesLimit, 2466177U));
    EXPECT_TRUE(holds(sample.limits.entropyPoolBits, 256U));
}

} // namespace
