// What outside scripts add to a scan.
#pragma once

#include "MM_PROC_Info.h"
#include "host/ScopedHandle.h"

#include <cstddef>

namespace zel {

/// True when this kernel and the settings take the process list from a script.
bool processListIsScripted(const CMM_PROC_Info &collector);
/// Runs the script that lists the processes.
void runProcessListScript();

/// The processes that the script listed, none when it left no list.
class ScriptedPids {
public:
    ScriptedPids();
    /// False after the last one.
    bool next(int &pid);

private:
    ScopedFile m_file;
};

/// The CPU percent of java processes, on the kernels and settings that take it from a script. One for each scan.
class JavaFigures {
public:
    explicit JavaFigures(CMM_PROC_Info &collector);
    /// Replaces the percent of a java process; it keeps its value when the script leaves none.
    void replaceFigure(_ST_PROC &process);

private:
    void gatherTopOfAll();

    CMM_PROC_Info &m_collector;
    bool m_wanted;
    bool m_topTaken = false; // the figures of all java processes were gathered
};

/// The rows about the guests of a VMware host, none without fSetVMFlag(1, 1). A missing file is logged.
class GuestRows {
public:
    explicit GuestRows(CMM_PROC_Info &collector);
    /// The next row, valid until the one after it; null after the last.
    const char *next();

private:
    static constexpr std::size_t lineSize = 512;

    ScopedFile m_file;
    char m_line[lineSize];
};

} // namespace zel
