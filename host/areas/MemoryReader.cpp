// Reads memory: the machine's, that of the nodes, huge pages, swap devices, and the errors of memory.
#include "host/areas/AreaReader.h"
#include "host/areas/EdacErrors.h"
#include "host/areas/KeyedLines.h"
#include "host/areas/MemoryKeys.h"
#include "host/source/Attribute.h"
#include "host/source/LineScan.h"
#include "host/source/NumberedDirectory.h"

#include <map>

namespace zel {

namespace {

constexpr const char *nodeDirectory = "sys/devices/system/node";
constexpr const char *hugePageDirectory = "sys/kernel/mm/hugepages";
constexpr std::uint64_t bytesPerKilobyte = 1024;

// Beyond any kernel: what a file states beyond it is not believed.
constexpr std::uint64_t nodeLimit = 4096;
constexpr std::uint64_t pageKilobytesLimit = std::uint64_t{1} << 40;
constexpr std::size_t swapLimit = 1024;
constexpr std::size_t swapNameLimit = std::size_t{4} * 4096; // PATH_MAX, every character escaped

// The files of one node.
struct NodeFiles {
    SourceFile memory, numa;

    explicit NodeFiles(std::uint64_t node) : memory(path(node, "meminfo")), numa(path(node, "numastat")) {}

    static std::string path(std::uint64_t node, const char *file) {
        return std::string(nodeDirectory) + "/node" + std::to_string(node) + '/' + file;
    }
};

// The files of the huge pages of one size.
struct HugePageFiles {
    Attribute pages, free, reserved, surplus, overcommit;

    explicit HugePageFiles(std::uint64_t kilobytes)
        : pages(path(kilobytes, "nr_hugepages")), free(path(kilobytes, "free_hugepages")),
          reserved(path(kilobytes, "resv_hugepages")), surplus(path(kilobytes, "surplus_hugepages")),
          overcommit(path(kilobytes, "nr_overcommit_hugepages")) {}

    static std::string path(std::uint64_t kilobytes, const char *file) {
        return std::string(hugePageDirectory) + "/hugepages-" + std::to_string(kilobytes) + "kB/" + file;
    }
};

// Numbers that come and go below a root do not pile up.
template<class Files> Files &filesOf(std::map<std::uint64_t, Files> &files, std::uint64_t number) {
    constexpr std::size_t most = 4096;
    if (files.size() >= most && !files.contains(number))
        files.clear();
    return files.try_emplace(number, number).first->second;
}

// Sample: /dev/dm-1                               partition	1003516		0		-2
bool parseSwap(const char *line, Swap &swap) {
    forget(swap, Absence::Malformed);
    unescape(takeWord(line).substr(0, swapNameLimit), swap.device);
    if (const std::string_view type = takeWord(line); !type.empty())
        swap.type.set(type);
    swap.sizeBytes = scaledCount(takeCount(line), bytesPerKilobyte);
    if (swap.sizeBytes)
        swap.usedBytes = scaledCount(takeCount(line), bytesPerKilobyte);
    if (swap.usedBytes)
        swap.priority = takeInteger(line);
    return swap.priority.has();
}

class MemoryReader : public AreaReader {
public:
    bool hasOneStep() const override { return true; }
    void read(Take &take) override {
        Sample &sample = take.sample;
        if (const int error = m_file.read(take.root); error != 0)
            return loseArea(sample, Area::Memory, error, m_file.path());
        forget(sample.memory, Absence::Unsupported);
        sample.memoryOthers.clear();
        const KeyedLineCounts lines =
            m_lines.parse(m_file.text().data(), sample.memory, [&](auto... line) { takeOther(sample, line...); });
        if (lines.known == 0)
            return loseArea(sample, Area::Memory, NOT_ITS_FORMAT, m_file.path());
        sample.memory.unknownLines = lines.unknown;
        if (lines.malformed > 0)
            note(take, NOT_ITS_FORMAT, m_file.path());
        readNodes(take);
        readHugePages(take);
        readSwaps(take);
        m_edac.read(take);
    }

private:
    // What is missing is no failure: kernels are built without it.
    static void note(Take &take, int error, std::string_view file) {
        noteUnlessMissing(take.sample.area(Area::Memory), error, file);
    }

    static void takeOther(Sample &sample, std::string_view key, const KeyedNumber &number) {
        MemoryOther *const other = otherOf(sample.memoryOthers, key);
        if (other == nullptr)
            return;
        other->value = number.isBytes ? Count(Absence::Unsupported) : number.value;
        other->bytes = number.isBytes ? number.value : Count(Absence::Unsupported);
    }

    void readNodes(Take &take) {
        Sample &sample = take.sample;
        sample.memoryNodes.clear();
        note(take, m_nodeNumbers.read(take.root), m_nodeNumbers.path());
        for (const std::uint64_t number : m_nodeNumbers.numbers()) {
            NodeFiles &files = filesOf(m_nodes, number);
            MemoryNode &node = sample.memoryNodes.append();
            node.node = number;
            forget(node, Absence::Unsupported);
            readNodeMemory(take, files.memory, node);
            readNodeCounters(take, files.numa, node);
        }
    }

    void readNodeMemory(Take &take, SourceFile &file, MemoryNode &node) {
        int error = file.read(take.root);
        if (error == 0) {
            const KeyedLineCounts lines = m_nodeLines.parse(file.text().data(), node);
            node.unknownLines = lines.unknown;
            error = lines.known == 0 || lines.malformed > 0 ? NOT_ITS_FORMAT : 0;
            if (lines.known > 0)
                return note(take, error, file.path());
        }
        forget(node, absenceOf(error));
        m_nodeNumbers.expire();
        note(take, error, file.path());
    }

    void readNodeCounters(Take &take, SourceFile &file, MemoryNode &node) {
        int error = file.read(take.root);
        if (error == 0) {
            const KeyedLineCounts lines = m_numaLines.parse(file.text().data(), node);
            error = lines.known == 0 || lines.malformed > 0 ? NOT_ITS_FORMAT : 0;
            if (lines.known > 0)
                return note(take, error, file.path());
        }
        m_numaLines.forget(node, absenceOf(error));
        note(take, error, file.path());
    }

    void readHugePages(Take &take) {
        Sample &sample = take.sample;
        sample.hugePages.clear();
        note(take, m_pageSizes.read(take.root), m_pageSizes.path());
        for (const std::uint64_t kilobytes : m_pageSizes.numbers()) {
            HugePageFiles &files = filesOf(m_hugePages, kilobytes);
            HugePages &pages = sample.hugePages.append();
            pages.pageBytes = kilobytes * bytesPerKilobyte;
            pages.pages = number(take, files.pages);
            pages.free = number(take, files.free);
            pages.reserved = number(take, files.reserved);
            pages.surplus = number(take, files.surplus);
            pages.overcommit = number(take, files.overcommit);
        }
    }

    static Count number(Take &take, Attribute &attribute) {
        const Count count = attribute.number(take.root);
        note(take, attribute.error(), attribute.path());
        return count;
    }

    // The first line is a heading. A kernel without swap has no file.
    void readSwaps(Take &take) {
        Sample &sample = take.sample;
        sample.swaps.clear();
        if (const int error = m_swaps.read(take.root); error != 0)
            return note(take, error, m_swaps.path());
        const char *line = nextLine(m_swaps.text().data());
        for (; *line != '\0' && sample.swaps.size() < swapLimit; line = nextLine(line)) {
            Swap &swap = sample.swaps.append();
            if (!parseSwap(line, swap))
                note(take, NOT_ITS_FORMAT, m_swaps.path());
            if (swap.device.empty())
                sample.swaps.dropLast();
        }
    }

    SourceFile m_file{"proc/meminfo"};
    KeyedLines<Memory> m_lines{MEMORY_KEYS, ':'};
    SourceFile m_swaps{"proc/swaps", Records::Many};
    NumberedDirectory m_nodeNumbers{nodeDirectory, "node", nodeLimit};
    KeyedLines<MemoryNode> m_nodeLines{MEMORY_NODE_KEYS, ':', 2}; // behind "Node 0"
    KeyedLines<MemoryNode> m_numaLines{NUMA_KEYS, ' '};
    std::map<std::uint64_t, NodeFiles> m_nodes;
    NumberedDirectory m_pageSizes{hugePageDirectory, "hugepages-", pageKilobytesLimit};
    std::map<std::uint64_t, HugePageFiles> m_hugePages;
    EdacErrors m_edac;
};

} // namespace

std::unique_ptr<AreaReader> memoryReader() {
    return std::make_unique<MemoryReader>();
}

} // namespace zel
