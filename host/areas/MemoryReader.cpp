// Reads memory: the machine's, that of the nodes, huge pages, swap devices.
#include "host/areas/AreaReader.h"
#include "host/areas/KeyedLines.h"
#include "host/areas/MemoryKeys.h"
#include "host/source/Attribute.h"
#include "host/source/NumberedDirectory.h"

#include <map>

namespace zel {

namespace {

constexpr const char *nodeDirectory = "sys/devices/system/node";
constexpr const char *hugePageDirectory = "sys/kernel/mm/hugepages";
constexpr std::uint64_t bytesPerKilobyte = 1024;

// The files of one node.
struct NodeFiles {
    SourceFile memory, numa;
    KeyedLines<MemoryNode> memoryLines{MEMORY_NODE_KEYS}, numaLines{NUMA_KEYS};

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

template<class Files> Files &filesOf(std::map<std::uint64_t, Files> &files, std::uint64_t number) {
    return files.try_emplace(number, number).first->second;
}

// The names of swap devices hold blanks and line feeds as octal escapes.
// Sample: \040 -> a blank
void unescape(std::string_view text, std::string &out) {
    out.clear();
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool escaped = text[at] == '\\' && at + 3 < text.size() && digitValue<10>(text[at + 1]) < 4 &&
                             digitValue<10>(text[at + 2]) < 8 && digitValue<10>(text[at + 3]) < 8;
        if (!escaped) {
            out += text[at];
            continue;
        }
        out += static_cast<char>(digitValue<10>(text[at + 1]) * 64 + digitValue<10>(text[at + 2]) * 8 +
                                 digitValue<10>(text[at + 3]));
        at += 3;
    }
}

std::string_view takeWord(const char *&cursor) {
    const char *start = skipBlanks(cursor);
    cursor = start;
    skipWord(cursor);
    return {start, static_cast<std::size_t>(cursor - start)};
}

// Sample: /dev/dm-1                               partition	1003516		0		-2
void parseSwap(const char *line, Swap &swap) {
    forget(swap, Absence::Malformed);
    unescape(takeWord(line), swap.device);
    if (const std::string_view type = takeWord(line); !type.empty())
        swap.type.set(type);
    unsigned long long size = 0, used = 0;
    long long priority = 0;
    if (!scanUnsigned(line, size) || !scanUnsigned(line, used))
        return;
    swap.sizeBytes = size * bytesPerKilobyte;
    swap.usedBytes = used * bytesPerKilobyte;
    if (scanSigned(line, priority))
        swap.priority = static_cast<double>(priority);
}

class MemoryReader : public AreaReader {
public:
    void read(Take &take) override {
        Sample &sample = take.sample;
        if (const int error = m_file.read(take.root); error != 0)
            return loseArea(sample, Area::Memory, error, m_file.path());
        forget(sample.memory, Absence::Unsupported);
        m_lines.parse(m_file.text().data(), ':', sample.memory);
        readNodes(take);
        readHugePages(take);
        readSwaps(take);
    }

private:
    void readNodes(Take &take) {
        Sample &sample = take.sample;
        sample.memoryNodes.clear();
        if (numberedEntries(take.root, nodeDirectory, "node", m_numbers) != 0)
            return; // a kernel without NUMA
        for (const std::uint64_t number : m_numbers) {
            NodeFiles &files = filesOf(m_nodes, number);
            MemoryNode &node = sample.memoryNodes.append();
            node.node = number;
            forget(node, Absence::Unsupported);
            if (const int error = files.memory.read(take.root); error == 0)
                files.memoryLines.parse(files.memory.text().data(), ':', node, 2); // behind "Node 0"
            else
                noteFailure(sample.area(Area::Memory), error, files.memory.path());
            if (const int error = files.numa.read(take.root); error == 0)
                files.numaLines.parse(files.numa.text().data(), ' ', node);
            else
                noteFailure(sample.area(Area::Memory), error, files.numa.path());
        }
    }

    void readHugePages(Take &take) {
        Sample &sample = take.sample;
        sample.hugePages.clear();
        if (numberedEntries(take.root, hugePageDirectory, "hugepages-", m_numbers) != 0)
            return; // a kernel without huge pages
        for (const std::uint64_t kilobytes : m_numbers) {
            HugePageFiles &files = filesOf(m_hugePages, kilobytes);
            HugePages &pages = sample.hugePages.append();
            pages.pageBytes = kilobytes * bytesPerKilobyte;
            pages.pages = files.pages.number(take.root);
            pages.free = files.free.number(take.root);
            pages.reserved = files.reserved.number(take.root);
            pages.surplus = files.surplus.number(take.root);
            pages.overcommit = files.overcommit.number(take.root);
        }
    }

    // The first line is a heading.
    void readSwaps(Take &take) {
        Sample &sample = take.sample;
        sample.swaps.clear();
        if (m_swaps.read(take.root) != 0)
            return; // a kernel without swap
        for (const char *line = nextLine(m_swaps.text().data()); *line != '\0'; line = nextLine(line))
            parseSwap(line, sample.swaps.append());
    }

    SourceFile m_file{"proc/meminfo"};
    KeyedLines<Memory> m_lines{MEMORY_KEYS};
    SourceFile m_swaps{"proc/swaps", Records::Many};
    std::map<std::uint64_t, NodeFiles> m_nodes;
    std::map<std::uint64_t, HugePageFiles> m_hugePages;
    std::vector<std::uint64_t> m_numbers;
};

} // namespace

std::unique_ptr<AreaReader> memoryReader() {
    return std::make_unique<MemoryReader>();
}

} // namespace zel
