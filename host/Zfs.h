// ZFS: the statistics of its module, and its pools and their datasets, below /proc/spl/kstat/zfs. Any user.
//
// What the module counts differs from release to release: its statistics are rows of a name and a value. Whether a
// value counts or measures something its file does not say, so none of them has a rate; those of pools and datasets
// have. A pool that comes is seen within 30 seconds, a host without the module costs one look in 30 seconds. No file of
// the module stays open.
#pragma once

#include "host/Schema.h"

namespace zel {

/// One value of a file such as arcstats. One of them is unsupported, as the type in the file says.
struct ZfsValue {
    std::string source; // "arcstats"
    std::string name;   // "hits"
    Count value;
    Number signedValue; // of what can be negative
};

struct ZfsPool {
    std::string pool;
    Reading<std::string> state; // "ONLINE", "DEGRADED", "SUSPENDED"

    // The file io, which releases since 2.1 do not have.
    Count readBytes, writtenBytes, reads, writes;
    Number waitSeconds, waitLengthSeconds, waitUpdatedSeconds; // in the queue: time, and time times length
    Number runSeconds, runLengthSeconds, runUpdatedSeconds;    // in progress
    Count waiting, running;
};

struct ZfsDataset {
    std::string pool, dataset; // "tank", "tank/home"
    Count writes, writtenBytes, reads, readBytes;
    Count unlinks, unlinked; // files that are to be deleted, and those of them that were

    // The intent log, since release 2.2; what it wrote and allocated, since 2.3.
    Count logCommits, logCommitWrites;
    Count logItems;
    Count logIndirectItems, logIndirectBytes, logCopiedItems, logCopiedBytes, logNeedCopyItems, logNeedCopyBytes;
    Count logNormalItems, logNormalBytes, logNormalWrittenBytes, logNormalAllocatedBytes;
    Count logSlogItems, logSlogBytes, logSlogWrittenBytes, logSlogAllocatedBytes;
};

template<> std::span<const Field<ZfsValue>> fieldsOf<ZfsValue>();
template<> std::span<const Field<ZfsPool>> fieldsOf<ZfsPool>();
template<> std::span<const Field<ZfsDataset>> fieldsOf<ZfsDataset>();

} // namespace zel
