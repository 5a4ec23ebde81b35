#include "MM_MEM_Info.h"

#include "PerfText.h"
#include "Settings.h"
#include "kernel/KernelFile.h"
#include "kernel/KernelText.h"
#include "scripts/HomeScripts.h"
#include "text/NumberScan.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

constexpr int fileSize = 4096;
constexpr int lineLength = 128;
constexpr int moduleLineSize = 256;
constexpr int defaultFreeFlag = MEM_FREE_FREE | MEM_FREE_BUFFERS | MEM_FREE_CACHED;
constexpr int bytesToKilobytes = 10;
constexpr const char *lowerCaseLetters = "abcdefghijklmnopqrstuvwxyz";

// A kernel file in memory.
struct KernelFile {
    explicit KernelFile(const char *path) : length(zel::readKernelText(path, text, fileSize)) {}

    bool valid() const { return length > 0; }
    std::string_view view() const { return {text, static_cast<std::size_t>(length)}; }

    char text[fileSize];
    int length;
};

// Sample: MemTotal:        3742148 kB
// The position behind the key, null when it is missing.
const char *valueOf(std::string_view text, std::string_view key) {
    const char *found = zel::findKey(text, key);
    return found == nullptr ? nullptr : CSSUtil::fSkipToken(found);
}

bool takeValue(std::string_view text, std::string_view key, unsigned long long &value) {
    const char *cursor = valueOf(text, key);
    if (cursor == nullptr)
        return false;
    value = zel::takeUnsigned(cursor);
    return true;
}

// The number behind the token that goes on at `cursor`: "MemTotal:3742148 5" has 5.
unsigned long long valueBehindToken(const char *cursor) {
    while (*cursor != '\0' && !zel::isBlank(*cursor))
        ++cursor;
    return zel::takeUnsigned(cursor);
}

// The values of /proc/meminfo that make a memory reading, kilobytes.
struct MemoryValues {
    unsigned long long total = 0;
    unsigned long long free = 0;
    unsigned long long buffers = 0;
    unsigned long long cached = 0;
    unsigned long long slab = 0;
};

bool parseMemory(std::string_view meminfo, MemoryValues &values) {
    zel::SoughtKey keys[] = {{"MemTotal:"}, {"MemFree:"}, {"Buffers:"}, {"Cached:"}, {"SReclaimable:"}};
    zel::findKeys(meminfo, ':', keys);
    unsigned long long *const results[] = {&values.total, &values.free, &values.buffers, &values.cached, &values.slab};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        const bool optional = results[i] == &values.slab;
        if (keys[i].found == nullptr && !optional)
            return false;
        if (keys[i].found != nullptr)
            *results[i] = valueBehindToken(keys[i].behind());
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

// Sample: Swap: 1073733632 0 1073733632
bool parseOldSwap(std::string_view meminfo, std::string_view stat, unsigned long long *swap) {
    const char *sizes = valueOf(meminfo, "Swap:");
    const char *pages = valueOf(stat, "swap");
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
    if (!takeValue(meminfo, "SwapTotal:", values[SWAP_TOTAL]) || !takeValue(meminfo, "SwapFree:", values[SWAP_FREE]) ||
        !takeValue(vmstat, "pswpin ", values[SWAP_PAGES_IN]) || !takeValue(vmstat, "pswpout ", values[SWAP_PAGES_OUT]))
        return false;
    values[SWAP_USED] = values[SWAP_TOTAL] - values[SWAP_FREE];
    std::memcpy(swap, values, sizeof(values));
    return true;
}

bool readNewSwap(std::string_view meminfo, unsigned long long *swap) {
    const KernelFile vmstat("/proc/vmstat");
    return vmstat.valid() && parseNewSwap(meminfo, vmstat.view(), swap);
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
      m_pStrRealTimeMemZEL(fgNewTextBuffer(PERF_PUSH_SIZE)) {
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
    const KernelFile meminfo("/proc/meminfo");
    MemoryValues values;
    if (!meminfo.valid() || !parseMemory(meminfo.view(), values))
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
    m_pulMEM[MEM_AVAILABLE] = availableMemory(meminfo.view(), countedFree, values.slab);
    return m_pulMEM;
}

// Consumers expect the estimate to take free memory only when it counts as free (`countedFree` is 0 otherwise).
unsigned long long CMM_MEM_Info::availableMemory(std::string_view meminfo, unsigned long long countedFree,
                                                 unsigned long long slab) {
    const char *told = valueOf(meminfo, "MemAvailable:");
    unsigned long long available = 0;
    if (told != nullptr && zel::scanUnsigned(told, available))
        return available;

    unsigned long long inactiveFile = 0;
    unsigned long long activeFile = 0;
    unsigned long long minFree = 0;
    if (!takeValue(meminfo, "Inactive(file):", inactiveFile) || !takeValue(meminfo, "Active(file):", activeFile) ||
        fMGetMinFreePara(&minFree) != 0)
        return MEM_AVAILABLE_UNKNOWN;
    return estimateAvailable(countedFree, minFree, inactiveFile + activeFile, slab);
}

// Sample: 67584
int CMM_MEM_Info::fMGetMinFreePara(unsigned long long *out) {
    char text[lineLength + 1];
    if (CSSUtil::fFile2Buff("/proc/sys/vm/min_free_kbytes", text, sizeof(text)) < 1)
        return -1;
    text[std::strcspn(text, "\n")] = '\0';
    if (text[0] == '\0' || std::strpbrk(text, lowerCaseLetters) != nullptr)
        return -1;
    const char *cursor = text;
    *out = zel::takeUnsigned(cursor);
    return 0;
}

// --- Swap ----------------------------------------------------------------------------------------------------------

unsigned long long *CMM_MEM_Info::fMGetSwap() {
    const KernelFile meminfo("/proc/meminfo");
    const KernelFile statistics("/proc/stat");
    if (!meminfo.valid() || !statistics.valid())
        return nullptr;
    const bool oldLayout =
        zel::findKey(meminfo.view(), "Swap:") != nullptr && zel::findKey(statistics.view(), "swap") != nullptr;
    const bool complete =
        oldLayout ? parseOldSwap(meminfo.view(), statistics.view(), m_pulSWP) : readNewSwap(meminfo.view(), m_pulSWP);
    return complete ? m_pulSWP : nullptr;
}

unsigned long long *CMM_MEM_Info::fMGetSwap_k2_6() {
    const KernelFile meminfo("/proc/meminfo");
    return meminfo.valid() && readNewSwap(meminfo.view(), m_pulSWP) ? m_pulSWP : nullptr;
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
