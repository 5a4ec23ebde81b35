// Rates between two samples of a process, and the samples that are kept for it.
#pragma once

#include "MM_PROC_Info.h"

namespace zel {

/// Finds the previous samples of a scan. The kernel lists the pids in ascending order, as the map holds them, so that
/// the sample asked for is mostly the one after the last.
class SampleCursor {
public:
    using Samples = std::map<int, _ST_PROC_OLD_LIST *>;

    explicit SampleCursor(Samples &samples) : m_samples(samples), m_next(samples.begin()) {}

    /// The sample of `pid`, or null.
    _ST_PROC_OLD_LIST *find(int pid) {
        if (m_next == m_samples.end() || m_next->first != pid)
            m_next = m_samples.find(pid);
        return m_next == m_samples.end() ? nullptr : (m_next++)->second;
    }

private:
    Samples &m_samples;
    Samples::iterator m_next;
};

/// Rates of `current` against the previous sample of its pid, which it then becomes. `samples` is over the collector's
/// own. Throws std::bad_alloc when there is no memory for the sample of a new process.
void takeRates(CMM_PROC_Info &collector, SampleCursor &samples, _ST_PROC &current, double curTime);

} // namespace zel
