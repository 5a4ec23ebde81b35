// Reads what the filesystems of type XFS count.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/DeviceTable.h"
#include "host/source/NamedDirectory.h"

#include <optional>
#include <string_view>

namespace zel {

/// Takes the lines of a statistics file. False, and what is wrong is malformed, when a line lacks a number.
bool parseXfs(const char *text, Xfs &row);

class XfsStatistics {
public:
    /// `mounts` is how many mounts of this type there are: with another number the filesystems are listed anew.
    void read(Take &take, std::size_t mounts);

private:
    struct Known {
        std::optional<SourceFile> file;
        bool isThere = false;
    };

    /// False when there is no such file.
    static bool readFilesystem(Take &take, SourceFile &file, std::string_view device);

    NamedDirectory m_names{"sys/fs/xfs", ""};
    std::size_t m_mounts = 0;
    DeviceTable<Known> m_known;
    SourceFile m_together{"proc/fs/xfs/stat"};
};

} // namespace zel
