// What the sources of CMM_PROC_Info share: one scan in progress and the steps that it is made of. Not for programs that
// embed the library.
#pragma once

#include "MM_PROC_Info.h"
#include "host/ScopedHandle.h"
#include "text/OwnedText.h"

#include <cstdlib>
#include <memory>
#include <string_view>

namespace zel {

/// Column sets of the process tables.
enum class ProcessColumns { None, Plain, FileName, Extended };

/// The scratch records of a scan, refilled for every process.
struct ProcessScratch {
    proc_s raw;
    _ST_PROC record;
};

/// Finds the previous samples of a scan. The kernel lists the pids in ascending order, as the map holds them, so that
/// the sample asked for is mostly the one behind the last.
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

/// What reading one process needs to know.
struct ProcessReader {
    CMM_PROC_Info &collector;
    int directory;                 // descriptor of /proc
    int mode = 0;                  // 1 or more: push report
    unsigned long totalMemory = 0; // KB
    SampleCursor samples = SampleCursor(collector.m_ProcMap);
    int startOfText = 0; // the start time that startText shows
    char startText[sizeof(_ST_PROC::l_strStart)] = {};
};

/// One scan in progress.
struct ProcessScan {
    CMM_PROC_Info &collector;
    ProcessScratch &scratch;
    ProcessReader reader;
    CPerfText row; // over the collector's line buffer
    ProcessColumns columns = ProcessColumns::None;
    int cpuCount = 1;
    int count = 0;         // processes counted so far
    int pushEntries = 0;   // processes offered to the push list
    bool topTaken = false; // the figures of all java processes were gathered
    bool scripted = false; // the process list comes from a script

    ProcessScan(CMM_PROC_Info &owner, ProcessScratch &records, int procDirectory)
        : collector(owner), scratch(records), reader{owner, procDirectory},
          row(owner.m_pstrProcessInfo, owner.m_nProcessInfoBufSize) {}

    bool push() const { return reader.mode >= 1; }
};

// MM_PROC_Info.cpp ----------------------------------------------------------------------------------------------------

/// The collector's scratch records, all zero; null without memory.
ProcessScratch *clearedScratch(CMM_PROC_Info &collector);
/// Takes the time of the scan and the uptime.
void startClocks(CMM_PROC_Info &collector);
/// Empties what a reader may leave unset, so that nothing of the previous process shows through.
void clearRecord(_ST_PROC &record);
/// Drops the blanks at the end of the name; a name of nothing else becomes "<defunct>". Returns its length.
std::size_t trimName(char *name);
/// Reads process `pid` and adds it to the sample.
void takeProcess(ProcessScan &scan, int pid, double curTime);
/// Appends the row that stands in the line buffer to the text of the scan.
void appendRow(ProcessScan &scan);
/// Whether a name of /proc is that of a process, and its pid.
bool isProcessName(const char *name);
int processNumber(const char *name);
/// Closes the text and makes it the result: null when no process was counted.
const char *finishScan(ProcessScan &scan, bool endMarker);
/// Ends a scan that ran out of memory: null. The text so far can still be asked for.
const char *abandonScan(CMM_PROC_Info &collector);

// MM_PROC_Reader.cpp --------------------------------------------------------------------------------------------------

/// fMReadProcTable and fMRealReadProcTable with /proc open.
bool readProcess(ProcessReader &reader, int pid, double curTime, proc_s &raw, _ST_PROC &out);
bool readRealProcess(ProcessReader &reader, int pid, proc_s &raw, _ST_PROC &out);

// MM_PROC_Rates.cpp ---------------------------------------------------------------------------------------------------

/// Rates of `current` against the previous sample of its pid, which it then becomes.
void takeRates(ProcessReader &reader, _ST_PROC &current, double curTime);

// MM_PROC_Rows.cpp ----------------------------------------------------------------------------------------------------

/// The column set that the settings ask for.
ProcessColumns chosenColumns();
void writeHeader(CPerfText &text, ProcessColumns columns);
/// One row; a column set of None writes nothing. `name` is the process name as it is written, `cpuTime` CTIME and
/// `machinePercent` P100CPU.
template<class Record> struct ProcessRow {
    const Record &process;
    std::string_view name;
    int index;
    int cpuTime;
    float machinePercent;
};
void writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<_ST_PROC> &row);
void writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<ST_PROCALL_LIST> &row);

// MM_PROC_Push.cpp ----------------------------------------------------------------------------------------------------

/// Empties the push list, which is allocated by the first push scan; false without memory.
bool startPushList(CMM_PROC_Info &collector);
/// Copies the scratch record into the push list, unless it is full or the process cannot be reported any more.
void addToPushList(ProcessScan &scan, float machinePercent);
/// Appends the rows of the busiest processes.
void writeTopRows(ProcessScan &scan);
/// Sets the capacity of the next scan.
void adaptPushCapacity(CMM_PROC_Info &collector, int count);
/// Empties the report and takes the push list away, which is kept for the next scan.
void endPushList(CMM_PROC_Info &collector);

// MM_PROC_Scripts.cpp -------------------------------------------------------------------------------------------------

/// True when this kernel and the settings take the process list from a script.
bool processListIsScripted(const CMM_PROC_Info &collector);
/// Runs the script that lists the processes.
void runProcessListScript();
/// Takes the processes that the script listed.
void takeScriptedProcesses(ProcessScan &scan, double elapsed);
/// Replaces the CPU percent of a java process, on the kernels and settings that ask for it.
void takeJavaFigure(ProcessScan &scan);
/// Appends the rows about VMware guests.
void appendVMwareRows(ProcessScan &scan);

} // namespace zel
