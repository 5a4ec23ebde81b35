// CMM_VM_Info: paging, swapping, page faults and context switches per second, and the run queue, from /proc/stat,
// /proc/vmstat and /proc/loadavg; on kernels whose /proc/stat has a "page " line also from every /proc/<pid>/stat.
//
// The first sample has no predecessor and is swallowed (null). A failure is a null pointer or 0, without a message; the
// previous counters then stay. What a call returns belongs to the collector and is valid until the next call. Not
// thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "SSUtil.h"

#include <memory>
#include <sys/time.h>

/// Slots of a sample. The others are always 0.
enum VmSlot {
    VM_RUN_QUEUE = 0,    // running tasks but this one; not a rate
    VM_PAGED_IN_KB = 2,  // kilobytes read in
    VM_PAGED_OUT_KB = 3, // kilobytes written out
    VM_SWAPPED_IN = 4,   // pages
    VM_SWAPPED_OUT = 5,  // pages
    VM_FAULTS = 7,       // minor and major
    VM_SWITCHES = 9,     // context switches
    VM_PAGE_INS = 12,
    VM_PAGE_OUTS = 13,
    VM_SLOTS = 14
};

namespace zel {
class VmFiles;
}

class CMM_VM_Info : public CMM_INIT_Info {
public:
    /// Starts the clock of fMVelmorGetPage.
    CMM_VM_Info();
    ~CMM_VM_Info();

    CMM_VM_Info(const CMM_VM_Info &) = delete;
    CMM_VM_Info &operator=(const CMM_VM_Info &) = delete;

    /// Takes a sample, `elapsed` seconds after the previous one, and returns m_pdVM; null for the first one and on
    /// failure. A counter that did not move or went back gives 0.
    double *fMGetVmStat(double elapsed);
    /// The same over the time that it measures itself, from construction on. With `flag` 1 or more a sample that
    /// succeeded is also written as push text.
    double *fMVelmorGetPage(int flag);
    /// The run queue alone, 0 on failure.
    int fMGetVelmorRunque();

    // The readers of a sample: 1, or 0 on failure.

    /// Slot 0 of `counters`: the run queue.
    int fMGetRunque(long *counters);
    /// All other slots, by the layout of /proc/stat.
    int fMGetStat(long *counters);
    /// The same for the newer layout, whose counters are in /proc/vmstat.
    int fMGetStat_k2_6(long *counters);
    /// Adds the page faults of every living process to slot 7. Fails only when /proc cannot be opened.
    int fMGetPageFault(long *counters);

    /// Seconds since its previous call, kept in m_dElapsedTime.
    double fSetElapsedTime();

    CSSUtil *m_pclUtil;            // owned
    int m_nFirstFlag;              // 1 once the first sample has been taken
    double m_pdVM[VM_SLOTS];       // results of the last sample
    double m_pdPAGE_AVG[VM_SLOTS]; // kept for embedding programs
    long m_plOldVM[VM_SLOTS];      // counters of the previous sample
    char *m_pStrRealTimePageZEL;   // push text, owned
    int m_nGatherCount;            // kept for embedding programs
    int m_nPageRealZELSize;
    double m_dElapsedTime; // seconds between the last two push samples
    timeval m_stOldIoTime; // time of the previous push sample
    char m_strPushSplit[2][4];

private:
    std::unique_ptr<zel::VmFiles> m_files;
};
