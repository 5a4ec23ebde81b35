#include "MM_CPU_Info.h"

#include "LogGate.h"
#include "Settings.h"
#include "kernel/KernelRelease.h"
#include "scripts/HomeScripts.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int lastFourFieldMinor = 4;

// Percentages of one row of the CPU table.
struct CpuShares {
    float used;
    float user;
    float system;
    float wait;
    float idle;
};

float percent(unsigned long long tenths) {
    return static_cast<float>(tenths) / 10.0F;
}

// Consumers read -1 as "no valid value".
float shownPercent(float value) {
    if (value > 100.0F)
        return -1.0F;
    return std::max(value, 0.0F);
}

CpuShares sharesOf(const zel::CpuRow &tenths, float idle) {
    const float wait = percent(tenths[zel::CPU_WAIT]);
    const float used = g_nCpuUsedInWIO == 1 ? 100.0F - idle : 100.0F - idle - wait;
    return {shownPercent(used), shownPercent(percent(tenths[zel::CPU_USER])),
            shownPercent(percent(tenths[zel::CPU_SYSTEM])), shownPercent(wait), shownPercent(idle)};
}

void appendHeader(CPerfText &text) {
    text.header({"NAME", "USED", "USER", "SYSTEM", "IOWAIT", "IDLE"});
}

void appendShares(CPerfText &text, const CpuShares &shares) {
    text.field(shares.used);
    text.field(shares.user);
    text.field(shares.system);
    text.field(shares.wait);
    text.field(shares.idle);
}

// Sample: intr 8885917 17 0 0 0
bool parseInterruptTotal(std::string_view text, unsigned long long &total) {
    const std::size_t key = text.find("intr ");
    if (key == std::string_view::npos)
        return false;
    const char *cursor = CSSUtil::fSkipToken(text.data() + key);
    total = zel::takeUnsigned(cursor);
    return true;
}

double interruptRate(unsigned long long total, long previousTotal, double elapsed) {
    if (previousTotal == 0 || !(elapsed > 0))
        return 0;
    const auto growth = static_cast<long>(total - static_cast<unsigned long long>(previousTotal));
    return growth < 0 ? 0 : static_cast<double>(growth) / elapsed;
}

} // namespace

CMM_CPU_Info::CMM_CPU_Info()
    : m_plOldCPU{}, m_pnCPU{}, m_nNCpu(0), m_nCpuIndex(0), m_plIntr(0), m_pdIntr(0),
      m_pclUtil(new CSSUtil), m_strLogMsg{}, m_nCpuZELCnt(0), m_pStrCpuZEL(nullptr), m_nCpuZELSize(0), m_nCpuINVCnt(0),
      m_pStrCpuINV(nullptr), m_nCpuINVSize(0), m_strDataPath{}, m_nZELSkipChk(0), m_pRealTimeStrCpuZEL(nullptr),
      m_nCpuZELRealSize(0), m_tOldTime(0), m_nGatherCount(0), m_pnCpus{}, m_fUsed(-1.0F), m_nLogicalCpuCnt(0),
      m_nPushCpuCnt(0), m_gatheredTicks{} {
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

// --- Sampling ------------------------------------------------------------------------------------------------------

zel::CpuRow *CMM_CPU_Info::fMGetCpu() {
    m_nCpuZELCnt = 0;
    zel::CpuRow ticks[zel::CPU_ROWS];
    const int rows = startSample(ticks);
    if (rows == 0)
        return nullptr;

    const bool withText = g_nCpuStrType == 1;
    CPerfText text(m_pStrCpuZEL, m_nCpuZELSize);
    if (withText) {
        text.clear();
        appendHeader(text);
    }
    CSSUtil::fGetCpuPct(zel::CPU_COLUMNS, m_pnCPU[0], ticks[0], m_plOldCPU[0]);
    if (withText && !appendMachineRow(text))
        return nullptr;
    rateProcessors(ticks, rows);
    for (int processor = 1; withText && processor < rows; ++processor)
        appendProcessorRow(text, processor);

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
    zel::CpuRow ticks[zel::CPU_ROWS];
    const int rows = startSample(ticks);
    if (rows == 0)
        return nullptr;

    CPerfText text(m_pRealTimeStrCpuZEL, m_nCpuZELRealSize, CPerfText::Growth::Fixed);
    text.clear();
    text.keylessTableMetric("4.3.24.0");
    appendHeader(text);
    CSSUtil::fGetCpuPct(zel::CPU_COLUMNS, m_pnCPU[0], ticks[0], m_plOldCPU[0]);
    if (!appendMachineRow(text))
        return nullptr;
    rateProcessors(ticks, rows);

    m_nPushCpuCnt = 1;
    m_nNCpu = rows - 1;
    m_nCpuIndex = 0;
    return m_pnCPU;
}

zel::CpuRow *CMM_CPU_Info::fMRulo6GatherCpu() {
    const std::time_t now = std::time(nullptr);
    if (m_nGatherCount > 0 && now == m_tOldTime)
        return m_nGatherCount > 1 ? m_pnCpus : nullptr;
    zel::CpuRow ticks[zel::CPU_ROWS];
    const int rows = readTicks(ticks);
    if (rows == 0)
        return nullptr;

    std::memset(m_pnCpus, 0, sizeof(m_pnCpus));
    for (int row = 0; row < rows; ++row)
        CSSUtil::fGetCpuPct(zel::CPU_COLUMNS, m_pnCpus[row], ticks[row], m_gatheredTicks[row]);
    m_tOldTime = now;
    if (m_nGatherCount < INT_MAX)
        ++m_nGatherCount;
    return m_nGatherCount > 1 ? m_pnCpus : nullptr;
}

// Clears the results, of which only the rows of the last sample are not zero, and reads the new counters.
int CMM_CPU_Info::startSample(zel::CpuRow *ticks) {
    std::memset(m_pnCPU, 0, sizeof(zel::CpuRow) * static_cast<std::size_t>(m_writtenRows));
    m_nNCpu = 0;
    m_writtenRows = readTicks(ticks);
    return m_writtenRows;
}

int CMM_CPU_Info::readStat(char *text) {
    const int length = m_stat.read(text);
    if (length < 1)
        ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "MM_CPU_Info", m_strLogMsg, "/proc/stat buff read failed");
    return length;
}

// Reads and parses /proc/stat. Returns the rows, 0 on failure; the previous counters are not touched.
int CMM_CPU_Info::readTicks(zel::CpuRow *ticks) {
    m_nLogicalCpuCnt = 0;
    char text[zel::StatReader::BUFFER_SIZE];
    const int length = readStat(text);
    if (length < 1)
        return 0;
    const bool fourFields = zel::rulingRelease(*this).minor <= lastFourFieldMinor;
    const auto layout = fourFields ? zel::CpuLayout::FourFields : zel::CpuLayout::FiveFields;
    const int rows = zel::parseCpuTicks({text, static_cast<std::size_t>(length)}, layout, ticks);
    if (rows == 0) {
        ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "MM_CPU_Info", m_strLogMsg, "cpu read failed");
        return 0;
    }
    m_nLogicalCpuCnt = rows - 1;
    return rows;
}

void CMM_CPU_Info::rateProcessors(const zel::CpuRow *ticks, int rows) {
    for (int row = 1; row < rows; ++row)
        CSSUtil::fGetCpuPct(zel::CPU_COLUMNS, m_pnCPU[row], ticks[row], m_plOldCPU[row]);
}

// --- Text ----------------------------------------------------------------------------------------------------------

// False when the machine's idle share is impossible: the whole sample has then failed.
bool CMM_CPU_Info::appendMachineRow(CPerfText &text) {
    const float idle = percent(m_pnCPU[0][zel::CPU_IDLE]);
    if (!idleIsPossible(idle))
        return false;
    const CpuShares shares = sharesOf(m_pnCPU[0], idle);
    m_fUsed = shares.used;
    text.beginRow();
    text.field("CPUS");
    appendShares(text, shares);
    return true;
}

// The kernel's first processor, its number 0, is known to consumers as CPU1.
void CMM_CPU_Info::appendProcessorRow(CPerfText &text, int processor) {
    const float idle = percent(m_pnCPU[processor][zel::CPU_IDLE]);
    text.beginRow();
    text.numberedField("CPU", processor);
    appendShares(text, sharesOf(m_pnCPU[processor], idleIsPossible(idle) ? idle : 100.0F));
}

bool CMM_CPU_Info::idleIsPossible(float idle) {
    if (idle >= 0.0F && idle <= 100.0F)
        return true;
    ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "MM_CPU_Info", m_strLogMsg,
            "total cpu idle value collect failed");
    return false;
}

// --- Results -------------------------------------------------------------------------------------------------------

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
    char text[zel::StatReader::BUFFER_SIZE];
    const int length = readStat(text);
    unsigned long long total = 0;
    if (length < 1 || !parseInterruptTotal({text, static_cast<std::size_t>(length)}, total))
        return nullptr;
    m_pdIntr = interruptRate(total, m_plIntr, elapsed);
    m_plIntr = static_cast<long>(total);
    return &m_pdIntr;
}
