// Reads the bcache sets.
#include "host/areas/BcacheSets.h"

#include "host/DirectoryWalk.h"
#include "host/areas/BcacheText.h"
#include "host/source/AttributeText.h"
#include "host/source/DeviceAttributes.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace zel {

namespace {

constexpr std::size_t devicesAtMost = 256; // of a set
constexpr double percent = 100, microsecondsPerSecond = 1e6;

template<class Row> struct CountFile {
    std::string_view file;
    Count Row::*member;
};
template<class Row> struct NumberFile {
    std::string_view file;
    Number Row::*member;
    double divisor = 1;
};

constexpr CountFile<BcacheSet> setCounts[] = {
    {"congested", &BcacheSet::congested},
    {"tree_depth", &BcacheSet::treeDepth},
    {"internal/btree_nodes", &BcacheSet::btreeNodes},
    {"internal/active_journal_entries", &BcacheSet::activeJournalEntries},
    {"internal/cache_read_races", &BcacheSet::cacheReadRaces},
};
constexpr NumberFile<BcacheSet> setNumbers[] = {
    {"bucket_size", &BcacheSet::bucketBytes},
    {"average_key_size", &BcacheSet::averageKeyBytes},
    {"btree_cache_size", &BcacheSet::btreeCacheBytes},
    {"cache_available_percent", &BcacheSet::cacheAvailableRatio, percent},
    {"root_usage_percent", &BcacheSet::rootUsageRatio, percent},
    {"internal/btree_read_average_duration_us", &BcacheSet::btreeReadSeconds, microsecondsPerSecond},
};
constexpr CountFile<BcacheBackingDevice> backingCounts[] = {
    {"stats_total/cache_hits", &BcacheBackingDevice::hits},
    {"stats_total/cache_misses", &BcacheBackingDevice::misses},
    {"stats_total/cache_bypass_hits", &BcacheBackingDevice::bypassHits},
    {"stats_total/cache_bypass_misses", &BcacheBackingDevice::bypassMisses},
    {"stats_total/cache_miss_collisions", &BcacheBackingDevice::missCollisions},
    {"stats_total/cache_readaheads", &BcacheBackingDevice::readaheads},
};
constexpr NumberFile<BcacheBackingDevice> backingNumbers[] = {
    {"dirty_data", &BcacheBackingDevice::dirtyBytes},
    {"stats_total/bypassed", &BcacheBackingDevice::bypassedBytes},
};
constexpr CountFile<BcacheCacheDevice> cacheCounts[] = {{"io_errors", &BcacheCacheDevice::ioErrors}};
constexpr NumberFile<BcacheCacheDevice> cacheNumbers[] = {
    {"metadata_written", &BcacheCacheDevice::metadataWrittenBytes},
    {"written", &BcacheCacheDevice::writtenBytes},
};

// Reads files of a directory into a row, and notes the first that is no number.
class Files {
public:
    Files(const HostDirectory &root, std::string_view directory, std::string_view name, std::string &malformed)
        : m_files(root, directory, name), m_name(name), m_malformed(malformed) {}

    template<class Row> void take(std::span<const CountFile<Row>> files, Row &row) {
        for (const CountFile<Row> &file : files) {
            row.*file.member = m_files.number(file.file);
            note((row.*file.member).absence(), file.file);
        }
    }
    template<class Row> void take(std::span<const NumberFile<Row>> files, Row &row) {
        for (const NumberFile<Row> &file : files) {
            const int error = m_files.read(file.file);
            Number value = error == 0 ? takeBcacheSize(m_files.text().data()) : Number(absenceOf(error));
            if (value)
                value = *value < 0 ? Number(Absence::Malformed) : Number(*value / file.divisor);
            row.*file.member = value;
            note(value.absence(), file.file);
        }
    }
    void takeWriteback(BcacheBackingDevice &row) {
        constexpr std::string_view file = "writeback_rate_debug";
        const bool isThere = m_files.read(file) == 0;
        if (!parseWriteback(isThere ? m_files.text().data() : "", row))
            note(Absence::Malformed, file);
    }
    DeviceAttributes &attributes() { return m_files; }

private:
    void note(Absence absence, std::string_view file) {
        if (absence == Absence::Malformed && m_malformed.empty())
            m_malformed.append(m_name).append("/").append(file);
    }

    DeviceAttributes m_files;
    std::string_view m_name;
    std::string &m_malformed;
};

void readBacking(Files &files, BcacheBackingDevice &device) {
    files.attributes().text("state", device.state);
    files.take<BcacheBackingDevice>(backingCounts, device);
    files.take<BcacheBackingDevice>(backingNumbers, device);
    files.takeWriteback(device);
}

template<class Row> Row &appendDevice(std::vector<Row> &rows, const std::string &uuid, std::string_view name) {
    Row &row = rows.emplace_back();
    row.uuid = uuid;
    row.device = name;
    return row;
}

// "bdev0" is a disk that is cached, "cache0" one that caches; both are links to the disk.
bool isDevice(std::string_view name, std::string_view kind) {
    return name.starts_with(kind) && name.size() > kind.size() && digitValue<10>(name[kind.size()]) <= 9;
}

template<class Row> void sortByDevice(std::vector<Row> &rows) {
    std::sort(rows.begin(), rows.end(), [](const Row &one, const Row &other) {
        const std::size_t size = one.device.size(), otherSize = other.device.size();
        return size != otherSize ? size < otherSize : one.device < other.device;
    });
}

} // namespace

int readBcacheSet(const HostDirectory &root, const std::string &uuid, BcacheAnswer &answer) {
    const std::string directory = "sys/fs/bcache/" + uuid;
    ScopedDescriptor opened = root.open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!opened.valid())
        return errno;
    answer.set.uuid = uuid;
    Files set(root, "sys/fs/bcache", uuid, answer.malformed);
    set.take<BcacheSet>(setCounts, answer.set);
    set.take<BcacheSet>(setNumbers, answer.set);
    DirectoryRoom<4096> room;
    DirectoryWalk walk(std::move(opened), room);
    while (const char *name = walk.next()) {
        if (answer.backing.size() + answer.caches.size() == devicesAtMost)
            return E2BIG;
        if (isDevice(name, "bdev")) {
            Files files(root, directory, name, answer.malformed);
            readBacking(files, appendDevice(answer.backing, uuid, name));
        } else if (isDevice(name, "cache")) {
            Files files(root, directory, name, answer.malformed);
            BcacheCacheDevice &row = appendDevice(answer.caches, uuid, name);
            files.take<BcacheCacheDevice>(cacheCounts, row);
            files.take<BcacheCacheDevice>(cacheNumbers, row);
        }
    }
    sortByDevice(answer.backing);
    sortByDevice(answer.caches);
    return walk.error();
}

void BcacheSets::read(Take &take) {
    Sample &sample = take.sample;
    sample.bcacheSets.clear();
    sample.bcacheBackingDevices.clear();
    sample.bcacheCacheDevices.clear();
    noteUnlessMissing(sample.area(Area::Disks), m_list.read(take.root), m_list.path());
    if (take.root.own())
        return;
    for (const std::string &uuid : m_list.names()) {
        BcacheAnswer answer;
        const int error = readBcacheSet(take.root, uuid, answer);
        takeAnswer(take, uuid, {error, 0, error == 0 ? &answer : nullptr});
    }
}

void BcacheSets::ask(Take &take) {
    if (!take.root.own() || m_list.names().empty())
        return;
    m_reads.begin(take.deadline, m_list.names().size());
    for (const std::string &uuid : m_list.names())
        m_reads.ask(uuid, [root = HostDirectory(take.root), uuid](BcacheAnswer &answer) {
            return readBcacheSet(root, uuid, answer);
        });
}

void BcacheSets::finish(Take &take) {
    if (!take.root.own())
        return;
    for (std::size_t place = 0; place < m_list.names().size(); ++place)
        takeAnswer(take, m_list.names()[place], m_reads.wait(place));
}

void BcacheSets::takeAnswer(Take &take, const std::string &uuid, const BoundedRead<BcacheAnswer> &read) {
    Sample &sample = take.sample;
    AreaState &state = sample.area(Area::Disks);
    const std::string directory = m_list.path() + ('/' + uuid);
    if (read.error == ENOENT || read.error == ENOTDIR) // it is gone, or never was a set
        return m_list.expire();
    if (read.answer == nullptr) {
        noteFailure(state, read.error, directory);
        if (read.error == ETIMEDOUT)
            noteSilence(state, read.silentSeconds, directory);
        BcacheSet &row = sample.bcacheSets.append();
        row.uuid = uuid;
        return forget(row, absenceOf(read.error));
    }
    sample.bcacheSets.append() = read.answer->set;
    for (const BcacheBackingDevice &row : read.answer->backing)
        sample.bcacheBackingDevices.append() = row;
    for (const BcacheCacheDevice &row : read.answer->caches)
        sample.bcacheCacheDevices.append() = row;
    if (!read.answer->malformed.empty())
        noteFailure(state, NOT_ITS_FORMAT, directory + '/' + read.answer->malformed);
}

} // namespace zel
