// Reads the statistics of ZFS. Its files are opened in each sample: they are of a module that may be taken out.
#pragma once

#include "host/areas/AreaReader.h"
#include "host/source/Clocks.h"

#include <string>
#include <vector>

namespace zel {

class ZfsStatistics {
public:
    /// `mounts` is how many mounts of this type there are: with another number pools and datasets are listed anew.
    void read(Take &take, std::size_t mounts);

private:
    static constexpr std::int64_t SECONDS_BEFORE_NEXT_LOOK = 30;

    struct Pool {
        std::string name;
        std::string path;
        std::vector<std::string> datasets; // the names of their files
    };

    void list(Take &take);
    int readFile(Take &take);
    void readValues(Take &take, const std::string &source);
    bool readPool(Take &take, const Pool &pool);
    bool readState(Take &take, const Pool &pool, ZfsPool &row);
    bool readIo(Take &take, const Pool &pool, ZfsPool &row);
    bool readDataset(Take &take, const Pool &pool, const std::string &name);

    std::vector<std::string> m_sources; // of values, that this release has
    std::vector<Pool> m_pools;
    std::size_t m_mounts = 0;
    std::int64_t m_listedAt = LONG_AGO; // of a coarse monotonic clock
    std::string m_path;                 // of the file that is read
    SourceFile m_file{"", Records::Many, KeptScope::Never};
};

} // namespace zel
