// The tables of the process collector: columns, headers and rows.
#pragma once

#include "MM_PROC_Info.h"

#include <string_view>

namespace zel {

/// Column sets of the scans. None has neither header nor rows.
enum class ProcessColumns { None, Plain, FileName, Extended };

/// The column set that the settings ask for.
ProcessColumns chosenColumns();

/// One row. `name` is the process name as it is written, `cpuTime` CTIME and `machinePercent` P100CPU.
template<class Record> struct ProcessRow {
    const Record &process;
    std::string_view name;
    int index;
    int cpuTime;
    float machinePercent;
};

void writeHeader(CPerfText &text, ProcessColumns columns);
void writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<_ST_PROC> &row);
void writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<ST_PROCALL_LIST> &row);

/// The same of the real-time list.
struct RealTimeRow {
    const _ST_PROC &process;
    std::string_view name;
    int index;
};

void writeRealTimeHeader(CPerfText &text);
void writeRealTimeRow(CPerfText &text, const RealTimeRow &row);

} // namespace zel
