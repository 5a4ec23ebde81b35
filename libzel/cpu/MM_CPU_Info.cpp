// Samples /proc/stat: the shares of the machine and of its processors, their texts, and the interrupt rate.
#include "MM_CPU_Info.h"

#include "LogGate.h"
#include "PerfText.h"
#include "Settings.h"
#include "cpu/CpuState.h"
#include "cpu/CpuText.h"
#include "kernel/KernelRelease.h"
#include "rates/Growth.h"
#include "scripts/HomeScripts.h"
#include "text/NumberScan.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *sourceName = "MM_CPU_Info";
constexpr int lastFourFieldMinor = 4;
constexpr float fullPercent = 100.0F;

// --- Read and parse ------------------------------------------------------------------------------------------------

zel::FileText readStat(CMM_CPU_Info &cpu, zel::CpuState &state) {
    const zel::FileText stat = state.stat.read();
    ZEL_LOG(!stat && zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, sourceName, cpu.m_strLogMsg,
            "/proc/stat buff read failed");
    return stat;
}

// Reads the new counters into the state. Returns the rows, 0 on failure; the previous counters are not touched.
int readTicks(CMM_CPU_Info &cpu, zel::CpuState &state) {
    cpu.m_nLogicalCpuCnt = 0;
    const zel::FileText stat = readStat(cpu, state);
    if (!stat)
        return 0;
    const bool fourFields = zel::rulingRelease(cpu).minor <= lastFourFieldMinor;
    const auto layout = fourFields ? zel::CpuLayout::FourFields : zel::CpuLayout::FiveFields;
    const int rows = zel::parseCpuTicks(stat.text, layout, state.ticks);
    if (rows == 0) {
        ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, sourceName, cpu.m_strLogMsg, "cpu read failed");
        return 0;
    }
    cpu.m_nLogicalCpuCnt = rows - 1;
    return rows;
}

// Clears the results, of which only the rows of the last sample are not zero, and reads the new counters.
int startSample(CMM_CPU_Info &cpu, zel::CpuState &state) {
    std::memset(cpu.m_pnCPU, 0, sizeof(zel::CpuRow) * static_cast<std::size_t>(state.writtenRows));
    cpu.m_nNCpu = 0;
    state.writtenRows = readTicks(cpu, state);
    return state.writtenRows;
}

// Sample: intr 5384898 17 0 0 0
bool parseInterruptTotal(std::string_view text, unsigned long long &total) {
    const std::size_t key = text.find("intr ");
    if (key == std::string_view::npos)
        return false;
    const char *cursor = CSSUtil::fSkipToken(text.data() + key);
    total = zel::takeUnsigned(cursor);
    return true;
}

// --- Rate ----------------------------------------------------------------------------------------------------------

void rateRows(CMM_CPU_Info &cpu, const zel::CpuState &state, int first, int end) {
    for (int row = first; row < end; ++row)
        CSSUtil::fGetCpuPct(zel::CPU_COLUMNS, cpu.m_pnCPU[row], state.ticks[row], cpu.m_plOldCPU[row]);
}

double interruptRate(unsigned long long total, long previousTotal, double elapsed) {
    if (previousTotal == 0 || !(elapsed > 0))
        return 0;
    const auto growth = static_cast<long>(total - static_cast<unsigned long long>(previousTotal));
    return zel::risePerSecond(growth, elapsed);
}

// --- Render --------------------------------------------------------------------------------------------------------

bool checkIdle(CMM_CPU_Info &cpu, float idle) {
    const bool possible = zel::idleIsPossible(idle);
    ZEL_LOG(!possible && zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, sourceName, cpu.m_strLogMsg,
            "total cpu idle value collect failed");
    return possible;
}

// False when the machine's idle share is impossible: the whole sample has then failed.
bool writeMachineRow(CMM_CPU_Info &cpu, CPerfText &text) {
    const float idle = zel::idlePercent(cpu.m_pnCPU[0]);
    if (!checkIdle(cpu, idle))
        return false;
    const zel::CpuShares shares = zel::cpuShares(0, cpu.m_pnCPU[0], idle);
    cpu.m_fUsed = static_cast<float>(shares.used);
    zel::writeCpuRow(text, shares);
    return true;
}

void writeProcessorRow(CMM_CPU_Info &cpu, CPerfText &text, int processor) {
    const float idle = zel::idlePercent(cpu.m_pnCPU[processor]);
    const float shownIdle = checkIdle(cpu, idle) ? idle : fullPercent;
    zel::writeCpuRow(text, zel::cpuShares(processor, cpu.m_pnCPU[processor], shownIdle));
}

} // namespace

CMM_CPU_Info::CMM_CPU_Info()
    : m_plOldCPU{}, m_pnCPU{}, m_nNCpu(0), m_nCpuIndex(0), m_plIntr(0), m_pdIntr(0),
      m_pclUtil(new CSSUtil), m_strLogMsg{}, m_nCpuZELCnt(0), m_pStrCpuZEL(nullptr), m_nCpuZELSize(0), m_nCpuINVCnt(0),
      m_pStrCpuINV(nullptr), m_nCpuINVSize(0), m_strDataPath{}, m_nZELSkipChk(0), m_pRealTimeStrCpuZEL(nullptr),
      m_nCpuZELRealSize(0), m_tOldTime(0), m_nGatherCount(0), m_pnCpus{}, m_fUsed(-1.0F), m_nLogicalCpuCnt(0),
      m_nPushCpuCnt(0), m_state(std::make_unique<zel::CpuState>()) {
    fgSetTableSplit(m_strSplit);
    fgSetPushSplit(m_strPushSplit);
    if (g_nCpuStrType != 1)
        return;
    m_nCpuZELSize = m_nCpuINVSize = m_nCpuZELRealSize = PERF_TABLE_SIZE;
    m_pStrCpuZEL = fgNewTextBuffer(m_nCpuZELSize);
    m_pStrCpuINV = fgNewTextBuffer(m_nCpuINVSize);
    m_pRealTimeStrCpuZEL = fgNewTextBuffer(m_nCpuZELRealSize);
    std::snprintf(m_strDataPath, sizeof(m_strDataPath), "%s", zel::resultPath(zel::Script::CpuInventory));
}

CMM_CPU_Info::~CMM_CPU_Info() {
    delete m_pclUtil;
    std::free(m_pStrCpuZEL);
    std::free(m_pStrCpuINV);
    std::free(m_pRealTimeStrCpuZEL);
}

// --- Samples -------------------------------------------------------------------------------------------------------

zel::CpuRow *CMM_CPU_Info::fMGetCpu() {
    m_nCpuZELCnt = 0;
    const int rows = startSample(*this, *m_state);
    if (rows == 0)
        return nullptr;

    const bool withText = g_nCpuStrType == 1;
    CPerfText text(m_pStrCpuZEL, m_nCpuZELSize);
    if (withText) {
        text.clear();
        zel::writeCpuHeader(text);
    }
    rateRows(*this, *m_state, 0, 1);
    if (withText && !writeMachineRow(*this, text))
        return nullptr;
    rateRows(*this, *m_state, 1, rows);
    for (int processor = 1; withText && processor < rows; ++processor)
        writeProcessorRow(*this, text, processor);

    if (withText && m_nZELSkipChk == 0) {
        m_nZELSkipChk = 1;
        return nullptr;
    }
    if (withText && text.incomplete())
        return nullptr;
    m_nCpuZELCnt = withText ? rows : 0;
    m_nNCpu = rows - 1;
    m_nCpuIndex = 0;
    return m_pnCPU;
}

zel::CpuRow *CMM_CPU_Info::fMGetPushCpu() {
    m_nPushCpuCnt = 0;
    if (g_nCpuStrType != 1 || m_pRealTimeStrCpuZEL == nullptr)
        return nullptr;
    const int rows = startSample(*this, *m_state);
    if (rows == 0)
        return nullptr;

    CPerfText text(m_pRealTimeStrCpuZEL, m_nCpuZELRealSize, CPerfText::Growth::Fixed);
    text.clear();
    text.keylessTableMetric("4.3.24.0");
    zel::writeCpuHeader(text);
    rateRows(*this, *m_state, 0, 1);
    if (!writeMachineRow(*this, text))
        return nullptr;
    rateRows(*this, *m_state, 1, rows);

    m_nPushCpuCnt = 1;
    m_nNCpu = rows - 1;
    m_nCpuIndex = 0;
    return m_pnCPU;
}

zel::CpuRow *CMM_CPU_Info::fMRulo6GatherCpu() {
    const std::time_t now = std::time(nullptr);
    if (m_nGatherCount > 0 && now == m_tOldTime)
        return m_nGatherCount > 1 ? m_pnCpus : nullptr;
    zel::CpuState &state = *m_state;
    const int rows = readTicks(*this, state);
    if (rows == 0)
        return nullptr;

    std::memset(m_pnCpus, 0, sizeof(m_pnCpus));
    for (int row = 0; row < rows; ++row)
        CSSUtil::fGetCpuPct(zel::CPU_COLUMNS, m_pnCpus[row], state.ticks[row], state.gatheredTicks[row]);
    m_tOldTime = now;
    if (m_nGatherCount < INT_MAX)
        ++m_nGatherCount;
    return m_nGatherCount > 1 ? m_pnCpus : nullptr;
}

int CMM_CPU_Info::fMGetNCpu() {
    if (m_nNCpu == 0)
        fMGetCpu();
    return m_nNCpu;
}

unsigned long long *CMM_CPU_Info::fMGetCpuNext() {
    if (m_nCpuIndex >= m_nNCpu)
        return nullptr;
    return m_pnCPU[++m_nCpuIndex];
}

double *CMM_CPU_Info::fMGetCpuInterrupt(double elapsed) {
    const zel::FileText stat = readStat(*this, *m_state);
    unsigned long long total = 0;
    if (!stat || !parseInterruptTotal(stat.text, total))
        return nullptr;
    m_pdIntr = interruptRate(total, m_plIntr, elapsed);
    m_plIntr = static_cast<long>(total);
    return &m_pdIntr;
}
