// Reads memory, swap and the memory modules.
#include "MM_MEM_Info.h"

#include "PerfText.h"
#include "Settings.h"
#include "kernel/KernelText.h"
#include "memory/MemoryFiles.h"
#include "scripts/HomeScripts.h"
#include "text/AsciiText.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

constexpr int moduleLineSize = 256;
constexpr int defaultFreeFlag = MEM_FREE_FREE | MEM_FREE_BUFFERS | MEM_FREE_CACHED;
constexpr int bytesToKilobytes = 10;

// The values of /proc/meminfo that make a memory reading, kilobytes.
struct MemoryValues {
    unsigned long long total = 0;
    unsigned long long free = 0;
    unsigned long long buffers = 0;
    unsigned long long cached = 0;
    unsigned long long slab = 0;
};

// Sample: MemFree:          391388 kB
bool parseMemory(std::string_view meminfo, MemoryValues &values) {
    if (!zel::parseTotalMemory(meminfo, values.total))
        return false;
    zel::SoughtKey keys[] = {{"MemFree:"}, {"Buffers:"}, {"Cached:"}, {"SReclaimable:"}};
    zel::findKeys(meminfo, ':', keys);
    unsigned long long *const results[] = {&values.free, &values.buffers, &values.cached, &values.slab};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        const bool optional = results[i] == &values.slab;
        if (keys[i].found == nullptr && !optional)
            return false;
        if (keys[i].found == nullptr)
            continue;
        const char *cursor = zel::afterToken(keys[i].after());
        *results[i] = zel::takeUnsigned(cursor);
    }
    return true;
}

// The kernel's own estimate for memory that a program can get without swapping.
unsigned long long estimateAvailable(unsigned long long free, unsigned long long minFree, unsigned long long pageCache,
                                     unsigned long long slab) {
    const unsigned long long lowWatermark = (minFree * 5) >> 2;
    const auto withoutReserve = [lowWatermark](unsigned long long value) {
        return value - std::min(value / 2, lowWatermark);
    };
    return free - lowWatermark + withoutReserve(pageCache) + withoutReserve(slab);
}

// Consumers expect the estimate to take free memory only when it counts as free (`countedFree` is 0 otherwise).
unsigned long long availableMemory(CMM_MEM_Info &memory, std::string_view meminfo, unsigned long long countedFree,
                                   unsigned long long slab) {
    const char *reported = zel::findValue(meminfo, "MemAvailable:");
    unsigned long long available = 0;
    if (reported != nullptr && zel::scanUnsigned(reported, available))
        return available;

    unsigned long long inactiveFile = 0;
    unsigned long long activeFile = 0;
    unsigned long long minFree = 0;
    if (!zel::takeValue(meminfo, "Inactive(file):", inactiveFile) ||
        !zel::takeValue(meminfo, "Active(file):", activeFile) || memory.fMGetMinFreePara(&minFree) != 0)
        return MEM_AVAILABLE_UNKNOWN;
    return estimateAvailable(countedFree, minFree, inactiveFile + activeFile, slab);
}

// Sample: Swap: 1073733632 0 1073733632
bool parseOldSwap(std::string_view meminfo, std::string_view stat, unsigned long long *swap) {
    const char *sizes = zel::findValue(meminfo, "Swap:");
    const char *pages = zel::findValue(stat, "swap");
    if (*sizes == '\0' || *pages == '\0')
        return false;
    swap[SWAP_TOTAL] = zel::takeUnsigned(sizes) >> bytesToKilobytes;
    swap[SWAP_USED] = zel::takeUnsigned(sizes) >> bytesToKilobytes;
    swap[SWAP_FREE] = zel::takeUnsigned(sizes) >> bytesToKilobytes;
    swap[SWAP_PAGES_IN] = zel::takeUnsigned(pages);
    swap[SWAP_PAGES_OUT] = zel::takeUnsigned(pages);
    return true;
}

bool parseNewSwap(std::string_view meminfo, std::string_view vmstat, unsigned long long *swap) {
    unsigned long long values[SWAP_ELEMENTS] = {};
    if (!zel::takeValue(meminfo, "SwapTotal:", values[SWAP_TOTAL]) ||
        !zel::takeValue(meminfo, "SwapFree:", values[SWAP_FREE]) ||
        !zel::takeValue(vmstat, "pswpin ", values[SWAP_PAGES_IN]) ||
        !zel::takeValue(vmstat, "pswpout ", values[SWAP_PAGES_OUT]))
        return false;
    values[SWAP_USED] = values[SWAP_TOTAL] - values[SWAP_FREE];
    std::memcpy(swap, values, sizeof(values));
    return true;
}

bool readNewSwap(zel::MemoryFiles &files, std::string_view meminfo, unsigned long long *swap) {
    const zel::FileText vmstat = files.vmstat.read();
    return vmstat && parseNewSwap(meminfo, vmstat.text, swap);
}

int moduleSize(const char *line) {
    const long long size = zel::takeSigned(line);
    return size > INT_MAX ? INT_MAX : static_cast<int>(size < 0 ? 0 : size);
}

float percentOf(unsigned long long part, unsigned long long total) {
    return static_cast<float>(part) / static_cast<float>(total) * 100.0F;
}

} // namespace

CMM_MEM_Info::CMM_MEM_Info()
    : m_pulMEM{}, m_pulSWP{}, m_pclUtil(new CSSUtil), m_nMemCnt(0), m_pnMemCnt(nullptr), m_strCurrentPath{},
      m_nMemFreeFlag(defaultFreeFlag), m_nMemZELSize(PERF_PUSH_SIZE), m_pStrMemoryZEL(nullptr),
      m_pStrRealTimeMemZEL(fgNewTextBuffer(PERF_PUSH_SIZE)), m_files(std::make_unique<zel::MemoryFiles>()) {
    fgSetTableSplit(m_strSplit);
    fgSetPushSplit(m_strPushSplit);
}

CMM_MEM_Info::~CMM_MEM_Info() {
    fFreeMemCnt();
    delete m_pclUtil;
    std::free(m_pStrRealTimeMemZEL);
}

// --- Memory --------------------------------------------------------------------------------------------------------

unsigned long long *CMM_MEM_Info::fMGetMem() {
    const zel::FileText meminfo = m_files->meminfo.read();
    MemoryValues values;
    if (!meminfo || !parseMemory(meminfo.text, values))
        return nullptr;

    const auto counted = [this](int bit, unsigned long long value) { return (m_nMemFreeFlag & bit) != 0 ? value : 0; };
    const unsigned long long countedFree = counted(MEM_FREE_FREE, values.free);
    const unsigned long long countedSlab = counted(MEM_FREE_SLAB, values.slab);
    m_pulMEM[MEM_TOTAL] = values.total;
    m_pulMEM[MEM_FREE] =
        countedFree + counted(MEM_FREE_BUFFERS, values.buffers) + counted(MEM_FREE_CACHED, values.cached) + countedSlab;
    m_pulMEM[MEM_USED] = m_pulMEM[MEM_TOTAL] - m_pulMEM[MEM_FREE];
    m_pulMEM[MEM_BUFFERS] = values.buffers;
    m_pulMEM[MEM_CACHE] = values.cached + countedSlab;
    m_pulMEM[MEM_SLAB] = values.slab;
    m_pulMEM[MEM_AVAILABLE] = availableMemory(*this, meminfo.text, countedFree, values.slab);
    return m_pulMEM;
}

// Sample: 67584
int CMM_MEM_Info::fMGetMinFreePara(unsigned long long *out) {
    const std::string_view text = m_files->reserve.read().text;
    const std::string_view line = text.substr(0, text.find_first_of(std::string_view("\n\0", 2)));
    if (line.empty() || line.find_first_of(zel::LOWER_CASE_LETTERS) != std::string_view::npos)
        return -1;
    const char *cursor = line.data();
    const unsigned long long value = zel::takeUnsigned(cursor);
    const bool ofThisLine = cursor <= line.data() + line.size(); // or of the line after one of blanks
    *out = ofThisLine ? value : 0;
    return 0;
}

// --- Swap ----------------------------------------------------------------------------------------------------------

unsigned long long *CMM_MEM_Info::fMGetSwap() {
    const zel::FileText meminfo = m_files->meminfo.read();
    const zel::FileText stat = m_files->stat.read();
    if (!meminfo || !stat)
        return nullptr;
    const bool oldLayout = zel::findKey(meminfo.text, "Swap:") != nullptr && zel::findKey(stat.text, "swap") != nullptr;
    const bool complete =
        oldLayout ? parseOldSwap(meminfo.text, stat.text, m_pulSWP) : readNewSwap(*m_files, meminfo.text, m_pulSWP);
    return complete ? m_pulSWP : nullptr;
}

unsigned long long *CMM_MEM_Info::fMGetSwap_k2_6() {
    const zel::FileText meminfo = m_files->meminfo.read();
    return meminfo && readNewSwap(*m_files, meminfo.text, m_pulSWP) ? m_pulSWP : nullptr;
}

// --- Memory modules ------------------------------------------------------------------------------------------------

int *CMM_MEM_Info::fMGetMemCnt() {
    zel::runScript(zel::Script::MemoryModules);
    const zel::ScopedFile file = zel::openResult(zel::Script::MemoryModules);
    if (file == nullptr)
        return nullptr;

    fFreeMemCnt();
    m_pnMemCnt = static_cast<int *>(std::calloc(MEM_MODULES, sizeof(int)));
    if (m_pnMemCnt == nullptr)
        return nullptr;
    char line[moduleLineSize];
    while (m_nMemCnt < MEM_MODULES && std::fgets(line, sizeof(line), file.get()) != nullptr) {
        const int size = moduleSize(line);
        if (size > 0)
            m_pnMemCnt[m_nMemCnt++] = size;
    }
    return m_pnMemCnt;
}

void CMM_MEM_Info::fFreeMemCnt() {
    std::free(m_pnMemCnt);
    m_pnMemCnt = nullptr;
    m_nMemCnt = 0;
}

// --- Push text -----------------------------------------------------------------------------------------------------

int CMM_MEM_Info::fPushGatherMem() {
    if (fMGetMem() == nullptr || m_pulMEM[MEM_TOTAL] == 0)
        return 1;
    const float usedPercent = percentOf(m_pulMEM[MEM_USED], m_pulMEM[MEM_TOTAL]);
    const float cachePercent = percentOf(m_pulMEM[MEM_CACHE], m_pulMEM[MEM_TOTAL]);
    if (usedPercent < 0.0F || usedPercent > 100.0F)
        return 1;

    CPerfText push(m_pStrRealTimeMemZEL, m_nMemZELSize, CPerfText::Growth::Fixed);
    push.clear();
    push.agentKey(g_ptrAgentKey);
    push.metric("4.4.1.0", m_pulMEM[MEM_TOTAL]);
    push.metric("4.4.3.0", m_pulMEM[MEM_USED]);
    push.metric("4.4.4.0", m_pulMEM[MEM_FREE]);
    push.metric("4.4.12.0", m_pulMEM[MEM_BUFFERS]);
    push.metric("4.4.13.0", m_pulMEM[MEM_CACHE]);
    push.metric("4.4.5.0", static_cast<double>(usedPercent));
    push.metric("4.4.24.0", static_cast<double>(cachePercent));
    return 1;
}
