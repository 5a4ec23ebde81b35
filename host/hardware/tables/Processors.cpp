// The fields of processors, their caches, nodes and vulnerabilities.
#include "host/hardware/Processors.h"

namespace zel {

namespace {

constexpr std::string_view x86Only = "an x86 processor";
constexpr std::string_view armOnly = "an arm64 processor";
constexpr Entries<ProcessorPackage> package{Area::Hardware, "processor_packages", "/proc/cpuinfo"};
constexpr Entries<ProcessorPackage> x86 = package.from("/proc/cpuinfo", x86Only);
constexpr Entries<ProcessorPackage> arm = package.from("/proc/cpuinfo", armOnly);
constexpr Entries<ProcessorPackage> topology = package.from("/sys/devices/system/cpu/cpu*/topology");
constexpr Entries<ProcessorPackage> list = package.from("/sys/devices/system/cpu");
constexpr Entries<ProcessorPackage> frequency =
    package.from("/sys/devices/system/cpu/cpu*/cpufreq", "a driver for frequencies (CONFIG_CPU_FREQ)");
constexpr Field<ProcessorPackage> packageFields[] = {
    topology.label("package", &ProcessorPackage::package, "Number of the package: a socket."),
    x86.info("vendor", &ProcessorPackage::vendor, "Maker, as the processor says."),
    x86.info("model", &ProcessorPackage::model, "Name of the model."),
    x86.info("family", &ProcessorPackage::family, "Number of the family."),
    x86.info("model_number", &ProcessorPackage::modelNumber, "Number of the model within its family."),
    x86.info("stepping", &ProcessorPackage::stepping, "Number of the stepping."),
    x86.info("microcode", &ProcessorPackage::microcode, "Revision of the microcode."),
    arm.info("implementer", &ProcessorPackage::implementer, "Number of the maker."),
    arm.info("variant", &ProcessorPackage::variant, "Number of the variant."),
    arm.info("part", &ProcessorPackage::part, "Number of the part."),
    arm.info("revision", &ProcessorPackage::revision, "Number of the revision."),
    topology.info("dies", &ProcessorPackage::dies, "Dies in the package."),
    topology.info("cores", &ProcessorPackage::cores, "Cores that are online."),
    topology.info("threads", &ProcessorPackage::threads, "Processors that are online: threads of the cores."),
    topology.info("threads_per_core", &ProcessorPackage::threadsPerCore, "Most threads that a core has online."),
    topology.info("online_processors", &ProcessorPackage::onlineProcessors, "Their numbers, as a list."),
    list.info("offline_processors", &ProcessorPackage::offlineProcessors,
              "Processors of the machine that are offline, as a list."),
    frequency.info("lowest_hertz", &ProcessorPackage::lowestHertz, Unit::Hertz, "Lowest frequency."),
    frequency.info("highest_hertz", &ProcessorPackage::highestHertz, Unit::Hertz, "Highest frequency."),
    frequency.info("base_hertz", &ProcessorPackage::baseHertz, Unit::Hertz, "Frequency without boost."),
    x86.info("physical_address_bits", &ProcessorPackage::physicalAddressBits, "Width of a physical address."),
    x86.info("virtual_address_bits", &ProcessorPackage::virtualAddressBits, "Width of a virtual address."),
    x86.info("virtualisation", &ProcessorPackage::virtualisation, "vmx or svm, where it can run guests."),
    x86.info("hypervisor", &ProcessorPackage::hypervisor, "yes where the processor is that of a guest."),
    package.info("flags", &ProcessorPackage::flags, "Abilities of interest."),
};

constexpr Entries<ProcessorCache> cache{Area::Hardware, "processor_caches", "/sys/devices/system/cpu/cpu*/cache"};
constexpr Field<ProcessorCache> cacheFields[] = {
    cache.label("name", &ProcessorCache::name, "Level and type: L1d, L1i, L2, L3."),
    cache.label("size_bytes", &ProcessorCache::sizeBytes, "Size of one."),
    cache.info("level", &ProcessorCache::level, "Level."),
    cache.info("type", &ProcessorCache::type, "Data, Instruction or Unified."),
    cache.info("count", &ProcessorCache::count, "How many there are in the machine."),
    cache.info("ways", &ProcessorCache::ways, "Ways of associativity."),
    cache.info("sets", &ProcessorCache::sets, "Sets."),
    cache.info("line_bytes", &ProcessorCache::lineBytes, Unit::Bytes, "Length of a line."),
    cache.info("shared_by_threads", &ProcessorCache::sharedByThreads, "Processors that share one."),
    cache.info("all_bytes", &ProcessorCache::allBytes, Unit::Bytes, "Size of all together."),
};

constexpr Entries<ProcessorNode> node{Area::Hardware, "processor_nodes", "/sys/devices/system/node", "CONFIG_NUMA=y"};
constexpr Field<ProcessorNode> nodeFields[] = {
    node.label("node", &ProcessorNode::node, "Number of the NUMA node."),
    node.info("processors", &ProcessorNode::processors, "Its processors, as a list."),
    node.info("threads", &ProcessorNode::threads, "How many these are."),
    node.gauge("memory_bytes", &ProcessorNode::memoryBytes, Unit::Bytes, "Its memory, as far as the kernel uses it."),
    node.info("distances", &ProcessorNode::distances, "To every node, in their order."),
};

constexpr Entries<ProcessorVulnerability> vulnerability{Area::Hardware, "processor_vulnerabilities",
                                                        "/sys/devices/system/cpu/vulnerabilities", "kernel 4.15"};
constexpr Field<ProcessorVulnerability> vulnerabilityFields[] = {
    vulnerability.label("name", &ProcessorVulnerability::name, "Name of the weakness."),
    vulnerability.state("state", &ProcessorVulnerability::state, "Whether there is one, and what is done about it."),
};

} // namespace

template<> std::span<const Field<ProcessorPackage>> fieldsOf<ProcessorPackage>() {
    return packageFields;
}
template<> std::span<const Field<ProcessorCache>> fieldsOf<ProcessorCache>() {
    return cacheFields;
}
template<> std::span<const Field<ProcessorNode>> fieldsOf<ProcessorNode>() {
    return nodeFields;
}
template<> std::span<const Field<ProcessorVulnerability>> fieldsOf<ProcessorVulnerability>() {
    return vulnerabilityFields;
}

} // namespace zel
