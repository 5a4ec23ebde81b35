// Reads the caches of processors: one row for each kind, with how many of it there are.
#include "host/hardware/ProcessorCaches.h"

#include "host/hardware/ProcessorLists.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <algorithm>
#include <set>
#include <string>

namespace zel {

namespace {

constexpr unsigned cachesMost = 16; // of one processor
constexpr const char *cpuDirectory = "sys/devices/system/cpu";

// Sample: 48K
Count cacheSize(std::string_view text) {
    const std::string terminated(trimmed(text));
    const char *cursor = terminated.c_str();
    unsigned long long number = 0;
    if (!scanUnsigned(cursor, number))
        return Absence::Malformed;
    const std::uint64_t unit = *cursor == 'K' ? 1024 : *cursor == 'M' ? 1024 * 1024 : 1;
    return scaledCount(Count(number), unit);
}

std::string cacheName(const Count &level, const Reading<std::string> &type) {
    std::string name(1, 'L');
    name.append(level ? std::to_string(*level) : "?");
    if (type && *type == "Data")
        name += 'd';
    if (type && *type == "Instruction")
        name += 'i';
    return name;
}

// The row of the kind that `one` is of.
ProcessorCache &rowOf(Rows<ProcessorCache> &rows, const ProcessorCache &one) {
    for (ProcessorCache &row : rows) {
        if (row.name == one.name && row.sizeBytes == one.sizeBytes)
            return row;
    }
    ProcessorCache &row = rows.append();
    row = one;
    row.count = 0;
    return row;
}

class CacheReader {
public:
    CacheReader(const HostDirectory &root, Rows<ProcessorCache> &rows) : m_root(root), m_rows(rows) {}

    void read(std::uint64_t processor) {
        const std::string path = std::string(cpuDirectory) + "/cpu" + std::to_string(processor) + "/cache";
        for (unsigned index = 0; index < cachesMost; ++index) {
            DeviceAttributes files(m_root, path, "index" + std::to_string(index));
            ProcessorCache cache;
            cache.level = files.number("level");
            if (!cache.level)
                return;
            files.text("type", cache.type);
            Reading<std::string> shared;
            files.text("shared_cpu_list", shared);
            const std::string sharers = shared ? *shared : std::to_string(processor);
            if (m_seen.insert(cacheName(cache.level, cache.type) + ' ' + sharers).second)
                add(files, sharers, cache);
        }
    }

private:
    void add(DeviceAttributes &files, std::string_view sharers, ProcessorCache &cache) {
        const Count size = files.read("size") == 0 ? cacheSize(files.text()) : Count(Absence::Unsupported);
        cache.name = cacheName(cache.level, cache.type);
        cache.sizeBytes = size.valueOr(0);
        cache.ways = files.number("ways_of_associativity");
        if (cache.ways && *cache.ways == 0) // fully associative, or not known
            cache.ways = Absence::Unsupported;
        cache.sets = files.number("number_of_sets");
        cache.lineBytes = files.number("coherency_line_size");
        cache.sharedByThreads = processorCount(sharers);
        ProcessorCache &row = rowOf(m_rows, cache);
        row.count = row.count.valueOr(0) + 1;
        row.allBytes = size ? scaledCount(row.count, *size) : size;
    }

    const HostDirectory &m_root;
    Rows<ProcessorCache> &m_rows;
    std::set<std::string> m_seen;
};

} // namespace

void readProcessorCaches(const HostDirectory &root, const std::vector<std::uint64_t> &processors,
                         Rows<ProcessorCache> &rows) {
    CacheReader reader(root, rows);
    for (const std::uint64_t processor : processors)
        reader.read(processor);
    std::sort(rows.begin(), rows.end(), [](const ProcessorCache &one, const ProcessorCache &other) {
        return std::tie(one.name, one.sizeBytes) < std::tie(other.name, other.sizeBytes);
    });
}

} // namespace zel
