// The bcache sets of a sample, each read by a bounded call.
#pragma once

#include "host/Bcache.h"
#include "host/areas/AreaReader.h"
#include "host/source/BoundedReads.h"
#include "host/source/NamedDirectory.h"

#include <string>
#include <vector>

namespace zel {

/// What a set says of itself and its disks.
struct BcacheAnswer {
    BcacheSet set;
    std::vector<BcacheBackingDevice> backing;
    std::vector<BcacheCacheDevice> caches;
    std::string malformed; // the file that was no number; empty when all were
};

/// Gives 0, or the errno that kept the directory of the set from being read.
int readBcacheSet(const HostDirectory &root, const std::string &uuid, BcacheAnswer &answer);

class BcacheSets {
public:
    /// Below a root directory this is all.
    void read(Take &take);
    void ask(Take &take);
    void finish(Take &take);

private:
    void takeAnswer(Take &take, const std::string &uuid, const BoundedRead<BcacheAnswer> &read);

    NamedDirectory m_list{"sys/fs/bcache", "", "-"}; // beside the sets are files, whose names have no hyphen
    BoundedReads<BcacheAnswer> m_reads{"bcache"};
};

} // namespace zel
