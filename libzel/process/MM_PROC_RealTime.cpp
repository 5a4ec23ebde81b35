// The real-time list: who runs what since when, without figures and without touching the previous samples.
#include "process/MM_PROC_RealTime.h"

#include "process/MM_PROC_Host.h"
#include "process/MM_PROC_Rows.h"
#include "process/MM_PROC_Sample.h"
#include "process/MM_PROC_Scan.h"
#include "process/ProcessText.h"

#include <string_view>

namespace {

// The buffer holds one row, so that a name that is too long for it gets a new one of twice its length.
void makeRowRoom(zel::ProcessText &text, std::size_t nameLength) {
    text.row.clear();
    if (static_cast<std::size_t>(text.collector.m_nProcessInfoBufSize) < nameLength + PERF_ROW_ROOM)
        text.row.growTo(2 * nameLength);
}

void takeRealProcess(zel::ProcessPass &pass, zel::ProcessText &text, int pid) {
    _ST_PROC &process = pass.scratch.record;
    zel::clearRecord(process);
    if (!zel::sampleRealProcess(pass, pid, pass.scratch.raw, process) || zel::isNameless(process))
        return;
    const std::string_view name(process.l_strPname, zel::trimName(process.l_strPname));
    makeRowRoom(text, name.size());
    zel::writeRealTimeRow(text.row, {process, name, ++text.count});
    text.appendRow();
}

} // namespace

const char *zel::listRealProcesses(CMM_PROC_Info &collector, ProcessState &state) {
    ProcessScratch *scratch = state.clearedScratch();
    std::optional<DirectoryWalk> directory = openProcesses(state, scratch);
    startClocks(collector);
    if (!directory)
        return nullptr;

    ProcessPass pass{collector, *scratch, directory->descriptor(), &state.kept};
    ProcessText text(collector);
    collector.g_stringPollProcess.clear();
    text.row.clear();
    text.row.timeStamp(static_cast<int>(collector.m_tTime));
    writeRealTimeHeader(text.row);
    text.appendRow();
    while (const char *name = directory->next()) {
        if (int pid = 0; isProcess(name, pid))
            takeRealProcess(pass, text, pid);
    }
    if (directory->error() == 0)
        state.kept.finish();
    return text.finish(true);
}
