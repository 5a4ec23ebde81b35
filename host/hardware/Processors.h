// Processors: packages with their cores and threads, caches, NUMA nodes, and what the kernel does about their known
// weaknesses. /proc/cpuinfo and /sys/devices/system; any user.
//
// A package is a socket as the kernel numbers it. What the processors of a package differ in is given for its first
// one. Clusters of an arm64 machine, which has no model names, are named by implementer and part.
#pragma once

#include "host/Schema.h"

namespace zel {

struct ProcessorPackage {
    std::uint64_t package = 0;
    Reading<std::string> vendor, model;
    Count family, modelNumber, stepping;
    Reading<std::string> microcode;
    Reading<std::string> implementer, variant, part, revision; // of arm64, as it writes them: "0x41"
    Count dies, cores, threads, threadsPerCore;                // those that are online
    Reading<std::string> onlineProcessors, offlineProcessors;  // as lists: "0-3,8"; the offline ones of the machine
    Number lowestHertz, highestHertz, baseHertz;
    Count physicalAddressBits, virtualAddressBits;
    Reading<std::string> virtualisation; // "vmx", "svm"; unsupported where there is none
    Reading<std::string> hypervisor;     // "yes" where the processor says that it is a guest
    Reading<std::string> flags;          // those of interest, in their order
};

/// One cache and all its like in the machine.
struct ProcessorCache {
    std::string name; // "L1d", "L1i", "L2", "L3"
    std::uint64_t sizeBytes = 0;
    Count level;
    Reading<std::string> type;
    Count count; // how many such caches there are
    Count ways, sets, lineBytes;
    Count sharedByThreads; // processors that share one of them
    Count allBytes;        // together
};

struct ProcessorNode {
    std::uint64_t node = 0;
    Reading<std::string> processors; // as a list
    Count threads;
    Count memoryBytes;
    Reading<std::string> distances; // to every node, in their order
};

struct ProcessorVulnerability {
    std::string name; // as the kernel has it: "spectre_v2"
    Reading<std::string> state;
};

template<> std::span<const Field<ProcessorPackage>> fieldsOf<ProcessorPackage>();
template<> std::span<const Field<ProcessorCache>> fieldsOf<ProcessorCache>();
template<> std::span<const Field<ProcessorNode>> fieldsOf<ProcessorNode>();
template<> std::span<const Field<ProcessorVulnerability>> fieldsOf<ProcessorVulnerability>();

} // namespace zel
