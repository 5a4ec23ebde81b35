// The old samples of the disks, against which a pass computes its rates, and how they are found again.
#pragma once

#include "MM_IO_Info.h"

#include <map>
#include <string_view>

namespace zel {

/// What the name of a device begins with.
inline constexpr std::string_view DEVICE_DIRECTORY = "/dev/";

/// Puts "/dev/" and the name into a record, cut to it.
void setDeviceName(char (&deviceName)[DISK_NAME_SIZE], std::string_view shortName);

/// Name and counters of a scanned line as a sample. What a line does not tell stays as it was.
void setSample(_ST_COMPUTE_IO &sample, const _ST_DISKSTATS_ &disk);

/// The samples by device name, kept in the list of a collector. Kernels list the disks in the same order in every pass:
/// the sample that was found last and the one after it are tried first.
class NamedSamples {
public:
    explicit NamedSamples(CSSList &samples) : m_samples(samples), m_last(nullptr) {}

    /// The old sample of a disk, or null.
    _ST_COMPUTE_IO *find(const char *deviceName);
    /// Makes `sample` the old one of its disk, which find() has looked up as `old`. False without memory.
    bool keep(const _ST_COMPUTE_IO &sample, _ST_COMPUTE_IO *old);

private:
    CSSList &m_samples;
    SSListNode *m_last;
};

/// The samples by the hash of the short name, kept in the map of a collector and never removed. Names with the same
/// hash share one.
class KeyedSamples {
public:
    using Map = std::map<int, _ST_DISK_OLD_LIST *>;

    explicit KeyedSamples(Map &samples) : m_samples(samples), m_last(samples.end()) {}

    /// The old sample of a disk, or null.
    _ST_DISK_OLD_LIST *find(const char *shortName);
    /// Keeps the first sample of a disk that find() has just looked up. Without memory it is not kept.
    void insert(const char *shortName, const _ST_COMPUTE_IO &sample);
    /// Overwrites the counters of `old`.
    static void keep(const _ST_COMPUTE_IO &sample, _ST_DISK_OLD_LIST &old);

private:
    Map &m_samples;
    Map::iterator m_last;
};

} // namespace zel
