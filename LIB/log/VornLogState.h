// What a logger keeps beside its public members.
#pragma once

#include "threads/ForkRepair.h"
#include "threads/WorkerThread.h"

#include <atomic>

class CVornLog;

namespace zel {

/// m_strCurrentDate of a logger that has no file yet.
inline constexpr const char *LOG_NO_DATE = "EMPTY";

struct LogState {
    explicit LogState(CVornLog &log);

    CVornLog &logger;
    SharedLink<CVornLog> link;          // what the writer thread shares with its logger; thread mode only
    std::atomic<unsigned long> lost{0}; // messages lost since the last account in the file
    bool forked = false;                // since the last line: this is the child of a fork
    bool cutLine = false;               // the file ends within a line, which could not be taken off
    bool noRoomToOpen = false;          // the file system had no room for the file itself
    ForkRepair forkRepair;
};

} // namespace zel
