// Reads /proc/spl/kstat/zfs.
#include "host/areas/ZfsStatistics.h"

#include "host/areas/ZfsLines.h"
#include "host/source/AttributeText.h"
#include "host/source/Listing.h"

#include <algorithm>
#include <dirent.h>
#include <iterator>

namespace zel {

namespace {

constexpr const char *directory = "proc/spl/kstat/zfs";

// The files of names and values that are read; others are tables, some of them long.
constexpr std::string_view sources[] = {
    "abdstats", "arcstats",         "brtstats",          "dbuf_stats", "dbufstats",   "dmu_tx", "dnodestats",
    "fm",       "vdev_cache_stats", "vdev_mirror_stats", "xuio_stats", "zfetchstats", "zil",    "zstd",
};

struct Entry {
    std::string name;
    bool isSource;
};

// Of all other names those of directories are pools.
bool takeEntry(const char *name, unsigned char type, Entry &entry) {
    const bool isSource = std::find(std::begin(sources), std::end(sources), name) != std::end(sources);
    if (!isSource && type != DT_DIR && type != DT_UNKNOWN)
        return false;
    entry = {name, isSource};
    return true;
}

bool takeDataset(std::string_view name, unsigned char, std::string &entry) {
    const bool isDataset = name.starts_with("objset-");
    if (isDataset)
        entry = name;
    return isDataset;
}

} // namespace

void ZfsStatistics::read(Take &take, std::size_t mounts) {
    take.sample.zfs.clear();
    take.sample.zfsPools.clear();
    take.sample.zfsDatasets.clear();
    const std::int64_t now = coarseSeconds();
    if (!take.root.own() || mounts != m_mounts || now - m_listedAt >= SECONDS_BEFORE_NEXT_LOOK) {
        m_mounts = mounts;
        m_listedAt = now;
        list(take);
    }
    for (const std::string &source : m_sources)
        readValues(take, source);
    for (const Pool &pool : m_pools) {
        if (!readPool(take, pool))
            m_listedAt = LONG_AGO; // it went, or a dataset of it
    }
}

void ZfsStatistics::list(Take &take) {
    AreaState &state = take.sample.area(Area::Filesystems);
    m_sources.clear();
    m_pools.clear();
    std::vector<Entry> entries;
    noteUnlessMissing(state, listEntries(take.root, directory, entries, takeEntry), directory);
    std::sort(entries.begin(), entries.end(), [](const auto &one, const auto &other) { return one.name < other.name; });
    for (const Entry &entry : entries) {
        if (entry.isSource) {
            m_sources.push_back(entry.name);
            continue;
        }
        Pool &pool = m_pools.emplace_back(Pool{entry.name, directory + ('/' + entry.name), {}});
        noteUnlessMissing(state, listEntries(take.root, pool.path.c_str(), pool.datasets, takeDataset), pool.path);
        std::sort(pool.datasets.begin(), pool.datasets.end());
    }
}

// The file at m_path. Nothing is noted of one that is missing.
int ZfsStatistics::readFile(Take &take) {
    const ScopedDescriptor file = take.root.open(m_path.c_str(), HOST_FILE_FLAGS);
    const int error = file.valid() ? m_file.readOpen(file.get()) : errno;
    noteUnlessMissing(take.sample.area(Area::Filesystems), error, m_path);
    return error;
}

void ZfsStatistics::readValues(Take &take, const std::string &source) {
    m_path.assign(directory).append("/").append(source);
    if (readFile(take) == 0 && !parseZfsValues(m_file.text().data(), source, take.sample.zfs))
        noteFailure(take.sample.area(Area::Filesystems), NOT_ITS_FORMAT, m_path);
}

bool ZfsStatistics::readPool(Take &take, const Pool &pool) {
    ZfsPool &row = take.sample.zfsPools.append();
    forget(row, Absence::Unsupported);
    row.pool = pool.name;
    const bool hasState = readState(take, pool, row);
    const bool isThere = readIo(take, pool, row) || hasState || !pool.datasets.empty();
    if (!isThere)
        take.sample.zfsPools.dropLast();
    bool all = isThere;
    for (const std::string &name : pool.datasets)
        all &= readDataset(take, pool, name);
    return all;
}

bool ZfsStatistics::readState(Take &take, const Pool &pool, ZfsPool &row) {
    m_path.assign(pool.path).append("/state");
    const int error = readFile(take);
    if (error == 0)
        takeAttributeText(m_file.text(), row.state);
    else
        row.state.clear(absenceOf(error));
    return error != ENOENT;
}

bool ZfsStatistics::readIo(Take &take, const Pool &pool, ZfsPool &row) {
    m_path.assign(pool.path).append("/io");
    const int error = readFile(take);
    if (error == 0 && !parseZfsIo(m_file.text().data(), row))
        noteFailure(take.sample.area(Area::Filesystems), NOT_ITS_FORMAT, m_path);
    return error != ENOENT;
}

// False when it is not there any more.
bool ZfsStatistics::readDataset(Take &take, const Pool &pool, const std::string &name) {
    m_path.assign(pool.path).append("/").append(name);
    if (const int error = readFile(take); error != 0)
        return error != ENOENT;
    ZfsDataset &row = take.sample.zfsDatasets.append();
    const bool whole = parseZfsDataset(m_file.text().data(), row);
    row.pool = pool.name;
    if (row.dataset.empty())
        take.sample.zfsDatasets.dropLast();
    if (!whole)
        noteFailure(take.sample.area(Area::Filesystems), NOT_ITS_FORMAT, m_path);
    return true;
}

} // namespace zel
