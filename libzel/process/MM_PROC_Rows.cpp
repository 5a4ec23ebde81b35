// The tables of the process collector: column sets, headers and rows.
#include "Settings.h"
#include "process/MM_PROC_Scan.h"

namespace {

constexpr std::string_view commonColumns[] = {"INDEX", "PID",  "ARGS", "PCPU", "PMEM",  "VSZ",   "RSS",
                                              "STAT",  "NICE", "PPID", "USER", "STIME", "CTIME", "THCNT"};
constexpr std::string_view extendedColumns[] = {"APPID",  "PRI",        "PUSERCPU", "PSYSCPU", "IOBYTECOM",
                                                "IOBYTE", "IOBYTERATE", "NAME",     "P100CPU"};

template<class Record> void writeCommonFields(CPerfText &text, const zel::ProcessRow<Record> &row) {
    const Record &process = row.process;
    text.field(row.index);
    text.field(process.l_nPid);
    text.field(row.name);
    text.field(process.l_dPCPU);
    text.field(process.l_dPMEM);
    text.field(process.l_ulVSZ);
    text.field(process.l_ulRSS);
    text.field(process.l_chStatus);
    text.field(process.l_nNice);
    text.field(process.l_nPPid);
    text.field(process.l_strUname);
    text.field(process.l_nStart);
    text.field(row.cpuTime);
    text.field(process.l_nThreads);
}

template<class Record> void writeExtendedFields(CPerfText &text, const zel::ProcessRow<Record> &row) {
    const Record &process = row.process;
    text.field(process.l_uPSid);
    text.field(process.l_nPriority);
    text.field(process.l_dPUserCpu);
    text.field(process.l_dPSysCpu);
    text.field(process.l_dIOByteCom);
    text.field(process.l_dIOByte);
    text.field(process.l_dIOByteRate);
    text.field(process.l_strFName);
    text.field(row.machinePercent);
}

template<class Record>
void writeFields(CPerfText &text, zel::ProcessColumns columns, const zel::ProcessRow<Record> &row) {
    if (columns == zel::ProcessColumns::None)
        return;
    text.beginRow();
    writeCommonFields(text, row);
    if (columns == zel::ProcessColumns::FileName)
        text.field(row.process.l_strFName);
    else if (columns == zel::ProcessColumns::Extended)
        writeExtendedFields(text, row);
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
    if (columns == ProcessColumns::None)
        return;
    for (const std::string_view name : commonColumns)
        text.column(name);
    if (columns == ProcessColumns::FileName)
        text.column("FNAME");
    if (columns == ProcessColumns::Extended) {
        for (const std::string_view name : extendedColumns)
            text.column(name);
    }
}

void zel::writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<_ST_PROC> &row) {
    writeFields(text, columns, row);
}

void zel::writeRow(CPerfText &text, ProcessColumns columns, const ProcessRow<ST_PROCALL_LIST> &row) {
    writeFields(text, columns, row);
}
