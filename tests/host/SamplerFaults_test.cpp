// Every system call of a sample fails once: the failure is in that sample, and the next one is whole.
#include "Faults.h"
#include "SampledHost.h"

#include <unistd.h>

namespace {

using zel::Area;

const std::vector<Area> ownAreas{Area::Cpu,        Area::Load,      Area::Pressure, Area::Memory,  Area::Vm,
                                 Area::Interrupts, Area::Protocols, Area::Limits,   Area::Identity};

std::size_t valuesOf(const zel::Sample &sample) {
    std::size_t values = 0;
    sample.visit(
        [&values](const zel::Family &, const zel::Labels &, const zel::Value &value) { values += value.has(); });
    return values;
}

bool saysWhatFailed(const zel::Sample &sample) {
    for (const zel::AreaState &state : sample.areas) {
        if (state.error != 0 && !state.file.empty())
            return true;
    }
    return false;
}

// The first sample of a sampler on a host, with the n-th call failing; then the second. False when there is no such
// call.
bool survives(const std::string &root, Call call, long number, std::size_t wholeValues) {
    zel::Sampler sampler({.root = root, .areas = ownAreas, .keptFiles = 0});
    zel::Sample sample;
    bool happened = false;
    {
        const Fault fault(call, number);
        sampler.take(sample);
        happened = Fault::happened();
    }
    if (!happened)
        return false;
    if (valuesOf(sample) < wholeValues) {
        EXPECT_TRUE(saysWhatFailed(sample)) << callName(call) << " " << number;
    }
    sampler.take(sample);
    EXPECT_EQ(valuesOf(sample), wholeValues) << callName(call) << " " << number;
    return true;
}

void fillHost(const SampledHost &host) {
    host.write("proc/net/snmp", "Tcp: InSegs\nTcp: 5\nUdp: InDatagrams\nUdp: 6\n");
    host.write("proc/net/sockstat", "TCP: inuse 5\n");
    host.write("proc/net/tcp", "heading\n");
    host.write("proc/net/udp", "heading\n");
    host.write("proc/net/arp", "heading\n1.2.3.4 0x1 0x2 aa * eth0\n");
    host.write("proc/sys/fs/file-nr", "5 0 7\n");
    host.write("proc/sys/kernel/pid_max", "32768\n");
    host.write("proc/stat", "cpu  1 2 3 4 5 6 7 8 9 10\ncpu0 1 2 3 4 5 6 7 8 9 10\nintr 5\nctxt 6\n");
    host.write("sys/devices/system/cpu/present", "0\n");
    host.write("sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", "1000\n");
    host.write("proc/loadavg", "1.00 2.00 3.00 4/5 6\n");
    host.write("proc/pressure/cpu", "some avg10=0.00 avg60=0.00 avg300=0.00 total=5\n");
    host.write("proc/meminfo", "MemTotal: 5 kB\n");
    host.write("sys/devices/system/node/node0/meminfo", "Node 0 MemTotal: 5 kB\n");
    host.write("sys/devices/system/node/node0/numastat", "numa_hit 5\n");
    host.write("sys/kernel/mm/hugepages/hugepages-2048kB/nr_hugepages", "5\n");
    host.write("proc/swaps", "heading\n/dev/a partition 5 0 1\n");
    host.write("proc/vmstat", "pgfault 5\n");
    host.write("proc/interrupts", "  CPU0\n 1: 5 one\n");
    host.write("proc/softirqs", "  CPU0\n HI: 5\n");
    host.write("proc/uptime", "5.00 6.00\n");
    host.write("proc/sys/kernel/hostname", "host\n");
    host.write("etc/os-release", "ID=debian\n");
}

TEST(SamplerFaults, BelowADirectoryAFailedCallIsInItsSampleOnly) {
    const SampledHost host(ownAreas);
    fillHost(host);
    const std::size_t whole = valuesOf(zel::Sampler({.root = host.path(), .areas = ownAreas}).take());
    ASSERT_GT(whole, 50U);
    long faults = 0;
    for (const Call call : {Call::Open, Call::Pread, Call::Getdents, Call::Thread}) {
        for (long number = 1; survives(host.path(), call, number, whole); ++number)
            ++faults;
    }
    EXPECT_GT(faults, 40);
}

TEST(SamplerFaults, OnThisHostAFailedCallIsInItsSampleOnly) {
    const auto loadAndVm = [](const zel::Sample &sample) {
        return sample.load.load1.has() && sample.vm.pgfault.has() && sample.cpu.idleSeconds.has() &&
               sample.activity.forks.has() && sample.memory.freeBytes.has() && sample.identity.uptimeSeconds.has();
    };
    for (const Call call : {Call::Open, Call::Pread, Call::Getdents}) {
        for (long number = 1;; ++number) {
            zel::Sampler sampler({.areas = ownAreas});
            zel::Sample sample;
            {
                const Fault fault(call, number);
                sampler.take(sample);
                if (!Fault::happened())
                    break;
            }
            EXPECT_TRUE(loadAndVm(sample) || saysWhatFailed(sample)) << callName(call) << " " << number;
            sampler.take(sample);
            EXPECT_TRUE(loadAndVm(sample)) << callName(call) << " " << number;
        }
    }
}

TEST(SamplerFaults, KeptFileWhoseReadFailsIsOpenedAnewBeforeThatCounts) {
    zel::Sampler sampler({.areas = {Area::Load}});
    ASSERT_TRUE(sampler.take().load.load1);
    const Fault fault(Call::Pread, 1);
    const zel::Sample sample = sampler.take();
    EXPECT_TRUE(Fault::happened());
    EXPECT_TRUE(sample.load.load1);
    EXPECT_EQ(failureOf(sample, Area::Load), NO_FAILURE);
}

TEST(SamplerFaults, WithoutMemoryASampleFailsAndTheNextIsWhole) {
    const SampledHost host(ownAreas);
    fillHost(host);
    for (const std::string &root : {std::string(), host.path()}) {
        long faults = 0;
        for (long number = 1; number < 400; ++number) {
            zel::Sampler sampler({.root = root, .areas = ownAreas});
            zel::Sample sample;
            bool happened = false;
            {
                const Fault fault(Call::Allocation, number);
                try {
                    sampler.take(sample);
                } catch (const std::bad_alloc &) {
                    ++faults;
                }
                happened = Fault::happened();
            }
            if (!happened)
                break;
            sampler.take(sample);
            EXPECT_TRUE(sample.load.load1) << root << number;
            EXPECT_TRUE(sample.vm.pgfault) << root << number;
        }
        EXPECT_LT(faults, 400);
    }
}

} // namespace
