// The text of a scan in progress.
#pragma once

#include "MM_PROC_Info.h"

namespace zel {

/// Header and rows are written one at a time into the line buffer of the collector (`row`) and appended when they are
/// whole. One for the length of a scan.
struct ProcessText {
    explicit ProcessText(CMM_PROC_Info &owner)
        : collector(owner), row(owner.m_pstrProcessInfo, owner.m_nProcessInfoBufSize) {}

    /// Appends what is in the line buffer. A row that memory was too short for is left out whole.
    void appendRow() {
        if (!row.incomplete())
            collector.g_stringPollProcess.append(row.view());
    }

    /// Closes the text and makes it the result: null when no process was counted.
    const char *finish(bool endMarker) {
        if (endMarker) {
            row.clear();
            row.endMarker();
            appendRow();
        }
        collector.m_nNProc = count;
        collector.m_pstrPollProcInfo = collector.g_stringPollProcess.c_str();
        return count == 0 ? nullptr : collector.m_pstrPollProcInfo;
    }

    CMM_PROC_Info &collector;
    CPerfText row;
    int count = 0; // processes listed so far
};

/// Ends a scan that ran out of memory: null. The text so far can still be asked for.
inline const char *abandonScan(CMM_PROC_Info &collector) {
    collector.m_pstrPollProcInfo = collector.g_stringPollProcess.c_str();
    return nullptr;
}

} // namespace zel
