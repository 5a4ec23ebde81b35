// Processors of hand-written hosts, x86 and arm64.
#include "HardwareHost.h"
#include "SampledHost.h"
#include "host/hardware/CpuInfo.h"
#include "host/hardware/ProcessorLists.h"

#include "Mutation.h"

namespace {

using zel::Absence;
using zel::Hardware;
using zel::HardwarePart;
using zel::ProcessorPackage;

std::string x86Processor(int number, int package, int core) {
    return "processor\t: " + std::to_string(number) +
           "\nvendor_id\t: GenuineIntel\ncpu family\t: 6\nmodel\t\t: 85\n"
           "model name\t: Intel(R) Xeon(R) Gold 6230 CPU @ 2.10GHz\nstepping\t: 7\nmicrocode\t: 0x5003604\n"
           "physical id\t: " +
           std::to_string(package) + "\ncore id\t\t: " + std::to_string(core) +
           "\nflags\t\t: fpu vmx aes avx2 avx512f xyzzy sha_ni\n"
           "address sizes\t: 46 bits physical, 48 bits virtual\n\n";
}

// Two packages of two cores with two threads each; processor 7 is offline.
class TwoSockets : public HardwareHost {
public:
    TwoSockets() {
        std::string text;
        for (int number = 0; number < 8; ++number) {
            const int package = number / 2 % 2, core = number % 2;
            const std::string cpu = "sys/devices/system/cpu/cpu" + std::to_string(number);
            if (number == 7) {
                write(cpu + "/online", "0\n");
                continue;
            }
            text += x86Processor(number, package, core);
            const std::string siblings = std::to_string(number % 4) + "," + std::to_string(number % 4 + 4);
            write(cpu + "/topology/physical_package_id", std::to_string(package) + "\n");
            write(cpu + "/topology/core_id", std::to_string(core) + "\n");
            write(cpu + "/topology/die_id", "0\n");
            write(cpu + "/topology/thread_siblings_list", number % 4 == 3 ? "3\n" : siblings + "\n");
            write(cpu + "/cpufreq/cpuinfo_min_freq", "1000000\n");
            write(cpu + "/cpufreq/cpuinfo_max_freq", number == 0 ? "3900000\n" : "3800000\n");
            cache(cpu, 0, "1", "Data", "32K", number % 4 == 3 ? "3" : siblings);
            cache(cpu, 1, "1", "Instruction", "32K", number % 4 == 3 ? "3" : siblings);
            cache(cpu, 2, "3", "Unified", "28160K", package == 0 ? "0-1,4-5" : "2-3,6");
        }
        write("proc/cpuinfo", text);
        write("sys/devices/system/cpu/offline", "7\n");
        write("sys/devices/system/node/node0",
              {{"cpulist", "0-1,4-5\n"},
               {"distance", "10 21\n"},
               {"meminfo", "Node 0 MemTotal:       16303412 kB\nNode 0 MemFree: 1 kB\n"}});
        write("sys/devices/system/node/node1", {{"cpulist", "\n"}, {"distance", "21 10\n"}, {"meminfo", "nothing\n"}});
        write("sys/devices/system/cpu/vulnerabilities", {{"meltdown", "Not affected\n"}, {"mds", "Vulnerable\n"}});
    }

private:
    void cache(const std::string &cpu, int index, const char *level, const char *type, const char *size,
               const std::string &shared) const {
        const std::string directory = cpu + "/cache/index" + std::to_string(index);
        write(directory, {{"level", level},
                          {"type", type},
                          {"size", size},
                          {"ways_of_associativity", "8"},
                          {"number_of_sets", "64"},
                          {"coherency_line_size", "64"}});
        write(directory + "/shared_cpu_list", shared + "\n");
    }
};

TEST(ProcessorsPart, PackagesAreCountedByTheirTopology) {
    const Hardware hardware = TwoSockets().read(HardwarePart::Processors);
    ASSERT_EQ(hardware.processorPackages.size(), 2U);
    const ProcessorPackage &first = hardware.processorPackages[0], &second = hardware.processorPackages[1];
    EXPECT_EQ(first.package, 0U);
    EXPECT_TRUE(holds(first.cores, 2));
    EXPECT_TRUE(holds(first.threads, 4));
    EXPECT_TRUE(holds(first.threadsPerCore, 2));
    EXPECT_TRUE(holds(first.dies, 1));
    EXPECT_TRUE(holds(first.onlineProcessors, "0-1,4-5"));
    EXPECT_TRUE(holds(first.offlineProcessors, "7"));
    EXPECT_TRUE(holds(second.cores, 2));
    EXPECT_TRUE(holds(second.threads, 3));
    EXPECT_TRUE(holds(second.onlineProcessors, "2-3,6"));
}

TEST(ProcessorsPart, AnX86ProcessorDescribesItself) {
    const Hardware hardware = TwoSockets().read(HardwarePart::Processors);
    const ProcessorPackage &first = hardware.processorPackages[0];
    EXPECT_TRUE(holds(first.vendor, "GenuineIntel"));
    EXPECT_TRUE(holds(first.model, "Intel(R) Xeon(R) Gold 6230 CPU @ 2.10GHz"));
    EXPECT_TRUE(holds(first.family, 6));
    EXPECT_TRUE(holds(first.modelNumber, 85));
    EXPECT_TRUE(holds(first.stepping, 7));
    EXPECT_TRUE(holds(first.microcode, "0x5003604"));
    EXPECT_TRUE(holds(first.physicalAddressBits, 46));
    EXPECT_TRUE(holds(first.virtualAddressBits, 48));
    EXPECT_TRUE(holds(first.virtualisation, "vmx"));
    EXPECT_TRUE(lacks(first.hypervisor, Absence::Unsupported));
    EXPECT_TRUE(holds(first.flags, "vmx aes avx2 avx512f sha_ni"));
    EXPECT_TRUE(holds(first.lowestHertz, 1e9));
    EXPECT_TRUE(holds(first.highestHertz, 3.9e9));
    EXPECT_TRUE(lacks(first.baseHertz, Absence::Unsupported));
    EXPECT_TRUE(lacks(first.part, Absence::Unsupported));
}

TEST(ProcessorsPart, CachesOfAKindAreCountedTogether) {
    const Hardware hardware = TwoSockets().read(HardwarePart::Processors);
    ASSERT_EQ(hardware.processorCaches.size(), 3U);
    const zel::ProcessorCache &data = hardware.processorCaches[0], &last = hardware.processorCaches[2];
    EXPECT_EQ(data.name, "L1d");
    EXPECT_EQ(hardware.processorCaches[1].name, "L1i");
    EXPECT_EQ(data.sizeBytes, 32768U);
    EXPECT_TRUE(holds(data.count, 4));
    EXPECT_TRUE(holds(data.allBytes, 131072));
    EXPECT_TRUE(holds(data.ways, 8));
    EXPECT_TRUE(holds(data.sharedByThreads, 2));
    EXPECT_EQ(last.name, "L3");
    EXPECT_EQ(last.sizeBytes, 28835840U);
    EXPECT_TRUE(holds(last.count, 2));
    EXPECT_TRUE(holds(last.sharedByThreads, 4));
}

TEST(ProcessorsPart, NodesHaveProcessorsMemoryAndDistances) {
    const Hardware hardware = TwoSockets().read(HardwarePart::Processors);
    ASSERT_EQ(hardware.processorNodes.size(), 2U);
    EXPECT_TRUE(holds(hardware.processorNodes[0].processors, "0-1,4-5"));
    EXPECT_TRUE(holds(hardware.processorNodes[0].threads, 4));
    EXPECT_TRUE(holds(hardware.processorNodes[0].memoryBytes, 16303412ULL * 1024));
    EXPECT_TRUE(holds(hardware.processorNodes[0].distances, "10 21"));
    EXPECT_TRUE(holds(hardware.processorNodes[1].threads, 0)) << "a node of memory alone";
    EXPECT_TRUE(lacks(hardware.processorNodes[1].memoryBytes, Absence::Malformed));
}

TEST(ProcessorsPart, VulnerabilitiesAreRows) {
    const Hardware hardware = TwoSockets().read(HardwarePart::Processors);
    ASSERT_EQ(hardware.processorVulnerabilities.size(), 2U);
    EXPECT_EQ(hardware.processorVulnerabilities[0].name, "mds");
    EXPECT_TRUE(holds(hardware.processorVulnerabilities[0].state, "Vulnerable"));
    EXPECT_TRUE(holds(hardware.processorVulnerabilities[1].state, "Not affected"));
}

TEST(ProcessorsPart, AnArm64ProcessorIsNamedByItsNumbers) {
    const HardwareHost host{{"proc/cpuinfo",
                             "processor\t: 0\nBogoMIPS\t: 243.75\nFeatures\t: fp asimd evtstrm aes sha2 crc32 atomics\n"
                             "CPU implementer\t: 0x41\nCPU architecture: 8\nCPU variant\t: 0x3\nCPU part\t: 0xd0c\n"
                             "CPU revision\t: 1\n\nprocessor\t: 1\nCPU implementer\t: 0x41\n"},
                            {"sys/devices/system/cpu/cpu0/topology/physical_package_id", "-1\n"},
                            {"sys/devices/system/cpu/cpu0/topology/core_id", "0\n"},
                            {"sys/devices/system/cpu/cpu1/topology/physical_package_id", "-1\n"},
                            {"sys/devices/system/cpu/cpu1/topology/core_id", "1\n"}};
    const Hardware hardware = host.read(HardwarePart::Processors);
    ASSERT_EQ(hardware.processorPackages.size(), 1U);
    const ProcessorPackage &package = hardware.processorPackages[0];
    EXPECT_TRUE(holds(package.implementer, "0x41"));
    EXPECT_TRUE(holds(package.variant, "0x3"));
    EXPECT_TRUE(holds(package.part, "0xd0c"));
    EXPECT_TRUE(holds(package.revision, "1"));
    EXPECT_TRUE(holds(package.flags, "asimd aes sha2 crc32 atomics"));
    EXPECT_TRUE(holds(package.cores, 2));
    EXPECT_TRUE(lacks(package.model, Absence::Unsupported));
    EXPECT_TRUE(lacks(package.microcode, Absence::Unsupported));
}

TEST(ProcessorsPart, WithoutSysfsTheLinesOfCpuinfoServe) {
    const HardwareHost host;
    host.write("proc/cpuinfo", x86Processor(0, 0, 0) + x86Processor(1, 0, 0) + x86Processor(2, 1, 0));
    const Hardware hardware = host.read(HardwarePart::Processors);
    ASSERT_EQ(hardware.processorPackages.size(), 2U);
    EXPECT_TRUE(holds(hardware.processorPackages[0].cores, 1));
    EXPECT_TRUE(holds(hardware.processorPackages[0].threads, 2));
    EXPECT_TRUE(hardware.processorCaches.empty());
}

TEST(ProcessorsPart, AHostWithoutAnySaysSo) {
    const Hardware hardware = HardwareHost().read(HardwarePart::Processors);
    EXPECT_TRUE(hardware.processorPackages.empty());
    EXPECT_EQ(hardware.part(HardwarePart::Processors).absence, Absence::Unsupported);
    EXPECT_EQ(hardware.part(HardwarePart::Processors).file, "proc/cpuinfo");
}

TEST(CpuInfo, DamagedTextsDoNoHarm) {
    Mutation mutation(2);
    const std::string text = x86Processor(0, 0, 0) + x86Processor(1, 0, 1);
    for (int round = 0; round < 2000; ++round)
        EXPECT_LE(zel::readCpuInfo(mutation.of(text)).size(), 8U);
}

TEST(CpuInfo, OfTwoProcessorsOfANumberTheFirstCounts) {
    const auto read = zel::readCpuInfo("processor : 3\nmodel name : one\nprocessor : 3\nmodel name : two\n"
                                       "processor : x\nmodel name : three\n");
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read.at(3).modelName, "one");
}

TEST(ProcessorLists, AreWrittenAsTheKernelDoes) {
    EXPECT_EQ(zel::processorList({}), "");
    EXPECT_EQ(zel::processorList({5}), "5");
    EXPECT_EQ(zel::processorList({0, 1, 2, 3, 8, 10, 11}), "0-3,8,10-11");
}

TEST(ProcessorLists, AreCounted) {
    EXPECT_TRUE(holds(zel::processorCount("0-3,8,10-11\n"), 7));
    EXPECT_TRUE(holds(zel::processorCount("5"), 1));
    EXPECT_TRUE(holds(zel::processorCount(""), 0));
    for (const char *wrong : {"x", "1-", "3-1", "1,", ",1", "1;2", "0-99999999999999999999", "0-1048576", "-1"})
        EXPECT_TRUE(lacks(zel::processorCount(wrong), Absence::Malformed)) << wrong;
}

} // namespace
