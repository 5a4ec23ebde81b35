// Reads processors: packages, caches, NUMA nodes, vulnerabilities.
#include "host/hardware/CpuInfo.h"
#include "host/hardware/PartReader.h"
#include "host/hardware/ProcessorCaches.h"
#include "host/hardware/ProcessorLists.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"
#include "host/source/NumberedDirectory.h"

#include <algorithm>
#include <map>
#include <set>

namespace zel {

namespace {

constexpr const char *cpuDirectory = "sys/devices/system/cpu";
constexpr const char *nodeDirectory = "sys/devices/system/node";
constexpr const char *vulnerabilityDirectory = "sys/devices/system/cpu/vulnerabilities";
constexpr std::uint64_t processorsEnd = 65536, nodesEnd = 4096;
constexpr double hertzPerKilohertz = 1000;

void takeView(std::string_view text, Reading<std::string> &reading) {
    takeAttributeText(text, reading);
}

Count numberOf(std::string_view text) {
    const std::string terminated(text);
    return text.empty() ? Count(Absence::Unsupported) : attributeNumber(terminated.c_str());
}

// Sample: 48 bits physical, 57 bits virtual
void readAddressSizes(std::string_view text, ProcessorPackage &package) {
    package.physicalAddressBits = numberOf(text);
    const std::size_t comma = text.find(',');
    package.virtualAddressBits =
        comma == std::string_view::npos ? Count(Absence::Unsupported) : numberOf(trimmed(text.substr(comma + 1)));
}

void describe(const CpuInfo &info, ProcessorPackage &package) {
    takeView(info.vendor, package.vendor);
    takeView(info.modelName, package.model);
    package.family = numberOf(info.family);
    package.modelNumber = numberOf(info.model);
    package.stepping = numberOf(info.stepping);
    takeView(info.microcode, package.microcode);
    takeView(info.implementer, package.implementer);
    takeView(info.variant, package.variant);
    takeView(info.part, package.part);
    takeView(info.revision, package.revision);
    readAddressSizes(info.addressSizes, package);
    const bool isIntel = hasWord(info.flags, "vmx"), isAmd = hasWord(info.flags, "svm");
    takeView(isIntel ? "vmx" : isAmd ? "svm" : "", package.virtualisation);
    takeView(hasWord(info.flags, "hypervisor") ? "yes" : "", package.hypervisor);
    takeView(interestingFlags(info.flags), package.flags);
}

// What belongs to one package.
struct Package {
    std::vector<std::uint64_t> processors;
    std::map<std::string, std::uint64_t> cores; // how many threads each has, by the list of them
    std::set<std::uint64_t> dies;
    Number lowest, highest, base;
};

// The smaller or larger of those that are there.
void widen(Number &bound, const Number &value, bool largest) {
    if (value && (!bound || (largest ? *value > *bound : *value < *bound)))
        bound = value;
}

class Processors {
public:
    explicit Processors(HardwareRead &read) : m_read(read) {}

    void readAll() {
        SourceFile file("proc/cpuinfo", Records::Many);
        if (const int error = file.read(m_read.root); error != 0)
            noteFailure(m_read.state, error, file.path());
        m_info = readCpuInfo(file.text());
        NumberedDirectory directory(cpuDirectory, "cpu", processorsEnd);
        directory.read(m_read.root);
        std::vector<std::uint64_t> numbers = directory.numbers();
        if (numbers.empty()) {
            for (const auto &[number, info] : m_info)
                numbers.push_back(number);
        }
        for (const std::uint64_t number : numbers)
            readProcessor(number);
        for (const auto &[number, package] : m_packages)
            addPackage(number, package);
        readProcessorCaches(m_read.root, numbers, m_read.found.processorCaches);
    }

private:
    // One that is offline has no topology, and no lines in cpuinfo.
    void readProcessor(std::uint64_t number) {
        const std::string name = "cpu" + std::to_string(number);
        DeviceAttributes files(m_read.root, cpuDirectory, name);
        const auto info = m_info.find(number);
        if (info == m_info.end() && files.number("online").valueOr(1) == 0)
            return;
        Count package = files.number("topology/physical_package_id"), core = files.number("topology/core_id");
        if (!package && info != m_info.end())
            package = numberOf(info->second.package);
        if (!core && info != m_info.end())
            core = numberOf(info->second.core);
        if (info == m_info.end() && !package)
            return;
        Package &mine = m_packages[package.valueOr(0)]; // -1: a machine that has no numbers for them
        mine.processors.push_back(number);
        Reading<std::string> siblings;
        files.text("topology/thread_siblings_list", siblings);
        ++mine.cores[siblings ? *siblings : core ? std::to_string(*core) : name];
        if (const Count die = files.number("topology/die_id"); die)
            mine.dies.insert(*die);
        widen(mine.lowest, frequency(files, "cpufreq/cpuinfo_min_freq"), false);
        widen(mine.highest, frequency(files, "cpufreq/cpuinfo_max_freq"), true);
        widen(mine.base, frequency(files, "cpufreq/base_frequency"), true);
    }
    static Number frequency(DeviceAttributes &files, std::string_view attribute) {
        const Count kilohertz = files.number(attribute);
        return kilohertz ? Number(static_cast<double>(*kilohertz) * hertzPerKilohertz) : Number(kilohertz.absence());
    }

    void addPackage(std::uint64_t number, const Package &package) {
        ProcessorPackage &row = m_read.found.processorPackages.append();
        row.package = number;
        const auto info = m_info.find(package.processors.front());
        describe(info == m_info.end() ? CpuInfo() : info->second, row);
        row.dies = package.dies.empty() ? Count(Absence::Unsupported) : Count(package.dies.size());
        row.cores = package.cores.size();
        row.threads = package.processors.size();
        std::uint64_t most = 0;
        for (const auto &[siblings, threads] : package.cores)
            most = std::max(most, threads);
        row.threadsPerCore = most;
        row.onlineProcessors.set(processorList(package.processors));
        DeviceAttributes files(m_read.root, "sys/devices/system", "cpu");
        files.text("offline", row.offlineProcessors);
        row.lowestHertz = package.lowest;
        row.highestHertz = package.highest;
        row.baseHertz = package.base;
    }

    HardwareRead &m_read;
    std::map<std::uint64_t, CpuInfo> m_info;
    std::map<std::uint64_t, Package> m_packages;
};

// Sample: Node 0 MemTotal:       16303412 kB
Count nodeMemory(DeviceAttributes &files) {
    constexpr std::string_view key = "MemTotal:";
    constexpr std::uint64_t kilobyte = 1024;
    if (const int error = files.read("meminfo"); error != 0)
        return absenceOf(error);
    const std::size_t found = files.text().find(key);
    if (found == std::string_view::npos)
        return Absence::Malformed;
    const char *cursor = files.text().data() + found + key.size();
    return scaledCount(takeCount(cursor), kilobyte);
}

void readNodes(HardwareRead &read) {
    NumberedDirectory directory(nodeDirectory, "node", nodesEnd);
    noteUnlessMissing(read.state, directory.read(read.root), nodeDirectory);
    for (const std::uint64_t number : directory.numbers()) {
        DeviceAttributes files(read.root, nodeDirectory, "node" + std::to_string(number));
        ProcessorNode &node = read.found.processorNodes.append();
        node.node = number;
        files.text("cpulist", node.processors); // empty for a node of memory alone
        node.threads = node.processors ? processorCount(*node.processors) : Count(0);
        node.memoryBytes = nodeMemory(files);
        files.text("distance", node.distances);
    }
}

void readVulnerabilities(HardwareRead &read) {
    std::vector<std::string> names;
    noteFailure(read.state, listDevices(read.root, vulnerabilityDirectory, names), vulnerabilityDirectory);
    for (const std::string &name : names) {
        DeviceAttributes files(read.root, "sys/devices/system/cpu", "vulnerabilities");
        ProcessorVulnerability &row = read.found.processorVulnerabilities.append();
        row.name = name;
        files.text(name, row.state);
    }
}

void readAll(HardwareRead &read, const std::string &) {
    Processors(read).readAll();
    readNodes(read);
    readVulnerabilities(read);
    if (read.found.processorPackages.empty())
        read.state.absence = read.state.error != 0 ? absenceOf(read.state.error) : Absence::Unsupported;
}

} // namespace

const PartReader &processorsPart() {
    static constexpr PartReader reader{.directory = cpuDirectory, .list = nullptr, .read = readAll, .lose = nullptr};
    return reader;
}

} // namespace zel
