// The columns of the process tables. To add one is one line here.
#include "process/MM_PROC_Rows.h"

#include "Settings.h"
#include "perftext/ColumnTable.h"

namespace {

using zel::Column;

// The rows of text and push report are of two record types with the same field names.
constexpr zel::ColumnTable commonColumns{
    Column{"INDEX", [](const auto &row) { return row.index; }},
    Column{"PID", [](const auto &row) { return row.process.l_nPid; }},
    Column{"ARGS", [](const auto &row) { return row.name; }},
    Column{"PCPU", [](const auto &row) { return row.process.l_dPCPU; }},
    Column{"PMEM", [](const auto &row) { return row.process.l_dPMEM; }},
    Column{"VSZ", [](const auto &row) { return row.process.l_ulVSZ; }},
    Column{"RSS", [](const auto &row) { return row.process.l_ulRSS; }},
    Column{"STAT", [](const auto &row) { return row.process.l_chStatus; }},
    Column{"NICE", [](const auto &row) { return row.process.l_nNice; }},
    Column{"PPID", [](const auto &row) { return row.process.l_nPPid; }},
    Column{"USER", [](const auto &row) { return row.process.l_strUname; }},
    Column{"STIME", [](const auto &row) { return row.process.l_nStart; }},
    Column{"CTIME", [](const auto &row) { return row.cpuTime; }},
    Column{"THCNT", [](const auto &row) { return row.process.l_nThreads; }},
};

constexpr zel::ColumnTable fileNameColumns{
    Column{"FNAME", [](const auto &row) { return row.process.l_strFName; }},
};

constexpr zel::ColumnTable extendedColumns{
    Column{"APPID", [](const auto &row) { return row.process.l_uPSid; }},
    Column{"PRI", [](const auto &row) { return row.process.l_nPriority; }},
    Column{"PUSERCPU", [](const auto &row) { return row.process.l_dPUserCpu; }},
    Column{"PSYSCPU", [](const auto &row) { return row.process.l_dPSysCpu; }},
    Column{"IOBYTECOM", [](const auto &row) { return row.process.l_dIOByteCom; }},
    Column{"IOBYTE", [](const auto &row) { return row.process.l_dIOByte; }},
    Column{"IOBYTERATE", [](const auto &row) { return row.process.l_dIOByteRate; }},
    Column{"NAME", [](const auto &row) { return row.process.l_strFName; }},
    Column{"P100CPU", [](const auto &row) { return row.machinePercent; }},
};

constexpr zel::ColumnTable realTimeColumns{
    Column{"INDEX", &zel::RealTimeRow::index},
    Column{"PID", [](const zel::RealTimeRow &row) { return row.process.l_nPid; }},
    Column{"ARGS", &zel::RealTimeRow::name},
    Column{"USER", [](const zel::RealTimeRow &row) { return row.process.l_strUname; }},
    Column{"NAME", [](const zel::RealTimeRow &row) { return row.process.l_strFName; }},
    Column{"STIME", [](const zel::RealTimeRow &row) { return row.process.l_nStart; }},
};

// Hands the tables of a column set to `write`, in their order.
template<class Write> void forTablesOf(zel::ProcessColumns columns, Write write) {
    if (columns == zel::ProcessColumns::None)
        return;
    write(commonColumns);
    if (columns == zel::ProcessColumns::FileName)
        write(fileNameColumns);
    else if (columns == zel::ProcessColumns::Extended)
        write(extendedColumns);
}

template<class Record>
void writeFields(CPerfText &text, zel::ProcessColumns columns, const zel::ProcessRow<Record> &row) {
    if (columns != zel::ProcessColumns::None)
        text.beginRow();
    forTablesOf(columns, [&](const auto &table) { table.writeFields(text, row); });
}

} // namespace

// Any other pair of settings has no columns: consumers then get the end marker alone.
zel::ProcessColumns zel::chosenColumns() {
    if (g_nProcExtendFlag == 1)
        return ProcessColumns::Extended;
    if (g_nProcExtendFlag != 0)
        return ProcessColumns::None;
    if (g_nExecedFileNameFlag == 1)
        return ProcessColumns::FileName;
    return g_nExecedFileNameFlag == 0 ? ProcessColumns::Plain : ProcessColumns::None;
}

void zel::writeHeader(CPerfText &text, ProcessColumns columns) {
    forTablesOf(columns, [&](const auto &table) { table.writeHeader(text); });
}

void zel::writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<_ST_PROC> &row) {
    writeFields(text, columns, row);
}

void zel::writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<ST_PROCALL_LIST> &row) {
    writeFields(text, columns, row);
}

void zel::writeRealTimeHeader(CPerfText &text) {
    realTimeColumns.writeHeader(text);
}

// The room is made before, by the rule of this list.
void zel::writeRealTimeRow(CPerfText &text, const RealTimeRow &row) {
    text.beginRow(0);
    realTimeColumns.writeFields(text, row);
}
