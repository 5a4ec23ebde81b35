// One process from its files to its rates: what the scan, the real-time list and the public readers share.
#pragma once

#include "process/MM_PROC_Rates.h"
#include "process/MM_PROC_Record.h"
#include "process/ProcessState.h"

namespace zel {

/// One pass over processes.
struct ProcessPass {
    CMM_PROC_Info &collector;
    ProcessScratch &scratch;
    int directory;                 // descriptor of /proc
    KeptProcesses *kept = nullptr; // of a pass over all processes
    int mode = 0;                  // 1 or more: push report
    unsigned long totalMemory = 0; // KB
    SampleCursor samples = SampleCursor(collector.m_ProcMap);
    StartText start = {};

    bool isPush() const { return mode >= 1; }
};

/// fMReadProcTable and fMRealReadProcTable with /proc open.
bool sampleProcess(ProcessPass &pass, int pid, double curTime, proc_s &raw, _ST_PROC &record);
bool sampleRealProcess(ProcessPass &pass, int pid, proc_s &raw, _ST_PROC &record);

} // namespace zel
