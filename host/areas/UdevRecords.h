// Finds udev's records of block devices below /run/udev/data.
#pragma once

#include "host/StorageDevices.h"
#include "host/source/HostDirectory.h"
#include "host/source/SourceFile.h"

#include <chrono>

namespace zel {

/// What is known of one device from one sample to the next.
struct KnownUdevRecord {
    std::chrono::steady_clock::time_point due; // at once
    bool isThere = false;
    UdevDisk disk;
};

class UdevRecords {
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr const char *DIRECTORY = "run/udev/data";

    /// To be called before the devices of a sample. A host without the directory is looked at now and then.
    void startSample(const HostDirectory &root);
    /// Reads the record of a device when it is due. Gives 0, or the errno that kept it from being read.
    int refresh(const HostDirectory &root, std::uint64_t major, std::uint64_t minor, std::string_view name, Time now,
                KnownUdevRecord &known);

private:
    SourceFile m_file{DIRECTORY, Records::Many, KeptScope::Never};
    std::int64_t m_lookedAt = LONG_AGO;
    bool m_isThere = false;
};

} // namespace zel
