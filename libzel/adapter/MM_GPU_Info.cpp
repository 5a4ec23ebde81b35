// Finds an NVIDIA adapter and the name of a process, and writes the table of the GPU processes.
#include "MM_GPU_Info.h"

#include "LogGate.h"
#include "NStringLib.h"
#include "host/Shell.h"
#include "kernel/KernelFile.h"
#include "perftext/ColumnTable.h"
#include "text/FixedText.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr const char *sourceName = "MM_GPU_Info";
constexpr const char *adapterCommand = "lspci 2> /dev/null | grep -i nvidia | tail -1 | wc -l";
constexpr std::size_t answerSize = 256;
constexpr std::size_t statSize = 4096;
constexpr std::size_t statPathSize = 32;

// Sample: 4711 (some process) S 1 4711 ...
// Cuts `stat`; null without a "(".
char *parseProcessName(char *stat) {
    char *rest = nullptr;
    Nstrstrtok(stat, "(", &rest);
    return Nstrstrtok(nullptr, ")", &rest);
}

struct ProcessRow {
    int index;
    const _ST_GPU_ALL_PROC_LIST &process;
};

// Consumers expect these as "%d" gives them.
constexpr auto asInt(unsigned int _ST_GPU_ALL_PROC_LIST::*member) {
    return [member](const ProcessRow &row) { return static_cast<int>(row.process.*member); };
}

constexpr zel::ColumnTable processColumns{
    zel::Column{"INDEX", &ProcessRow::index},
    zel::Column{"GPU", asInt(&_ST_GPU_ALL_PROC_LIST::m_nGpuIdx)},
    zel::Column{"PID", [](const ProcessRow &row) { return row.process.m_nPid; }},
    zel::Column{"PNAME", [](const ProcessRow &row) { return row.process.l_strPName; }},
    zel::Column{"GPUUTIL", asInt(&_ST_GPU_ALL_PROC_LIST::m_nSmUtil)},
    zel::Column{"MEMUTIL", asInt(&_ST_GPU_ALL_PROC_LIST::m_nMemUtil)},
};

void printProcesses(CMM_GPU_Info &gpu) {
    CPerfText row(gpu.m_pStrGPUProcess, gpu.m_nProcessLen);
    row.clear();
    processColumns.writeHeader(row);
    gpu.m_stringGpuProcess.clear();
    if (row.incomplete())
        return;
    gpu.m_stringGpuProcess = row.view();
    int index = 0;
    for (const auto &[key, process] : gpu.m_GpuProcMap) {
        if (process == nullptr)
            continue;
        row.clear();
        row.beginRow();
        processColumns.writeFields(row, ProcessRow{index + 1, *process});
        if (row.incomplete())
            continue;
        gpu.m_stringGpuProcess += row.view();
        ++index;
    }
}

} // namespace

CMM_GPU_Info::CMM_GPU_Info()
    : m_pStrGPUVerInv(fgNewTextBuffer(GPU_TEXT_SIZE)), m_pStrGPUCardInv(fgNewTextBuffer(GPU_TEXT_SIZE)),
      m_pStrGPUZel(fgNewTextBuffer(GPU_TEXT_SIZE)), m_pStrGPUProcess(fgNewTextBuffer(GPU_TEXT_SIZE)),
      m_const_pstrGpuInvVerInfo(m_stringGpuVerInv.c_str()), m_const_pstrGpuInvCardInfo(m_stringGpuCardInv.c_str()),
      m_const_pstrGpuZelInfo(m_stringGpuZel.c_str()), m_const_pstrGpuProcInfo(m_stringGpuProcess.c_str()) {
    fgSetTableSplit(m_strSplit);
}

CMM_GPU_Info::~CMM_GPU_Info() {
    fProcErase();
    std::free(m_pStrGPUVerInv);
    std::free(m_pStrGPUCardInv);
    std::free(m_pStrGPUZel);
    std::free(m_pStrGPUProcess);
}

int CMM_GPU_Info::fCheckPCIInfo() {
    const zel::ScopedPipe pipe = zel::readShell(adapterCommand);
    if (pipe == nullptr)
        return 1;
    char answer[answerSize] = {};
    if (std::fgets(answer, sizeof(answer), pipe.get()) != nullptr)
        answer[std::strcspn(answer, "\n")] = '\0';
    ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, sourceName, m_strLogMsg, "popen_pci[%s]", answer);
    return std::strtol(answer, nullptr, 10) >= 1 ? 1 : -1;
}

int CMM_GPU_Info::fGetProcName(int pid, char *name) {
    char path[statPathSize];
    char stat[statSize];
    std::snprintf(path, sizeof(path), "/proc/%d/stat", pid);
    const zel::FileText file = zel::readKernelFile(path, stat, sizeof(stat));
    if (file.failure == zel::FileText::Failure::NotOpened)
        return -1;
    if (!file) {
        const int readResult = file.failure == zel::FileText::Failure::NotRead ? -1 : 0;
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_ERROR, sourceName, m_strLogMsg, "fGetProcName read failed[%d]",
                readResult);
        return -1;
    }
    const char *processName = parseProcessName(stat);
    if (processName == nullptr)
        return -1;
    zel::copyText(name, GPU_PROCESS_NAME_SIZE, processName);
    return 1;
}

int CMM_GPU_Info::fProcPrintAll() {
    try {
        printProcesses(*this);
    } catch (const std::bad_alloc &) { // the rows so far stay
    }
    m_const_pstrGpuProcInfo = m_stringGpuProcess.c_str();
    return 0;
}

void CMM_GPU_Info::fProcErase() {
    for (const auto &[key, process] : m_GpuProcMap)
        delete process;
    m_GpuProcMap.clear();
}
