// Tracked allocation: the table of live blocks and its report.
#include "LogGate.h"
#include "NGFunctions.h"
#include "host/SafeWrite.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

_ST_MEM_USE_ST g_stMemUse;

namespace {

constexpr int slotsPerGrowth = 512;
constexpr int noSlot = -1;

template<typename Entry> Entry *longerCopy(const Entry *entries, int oldSize, int newSize) {
    Entry *copy = static_cast<Entry *>(std::calloc(static_cast<std::size_t>(newSize), sizeof(Entry)));
    if (copy != nullptr)
        std::copy_n(entries, oldSize, copy);
    return copy;
}

void release(const _ST_MEM_USE_ST &table) {
    std::free(table.m_ppvdMEM);
    std::free(table.m_pnDebugNum);
    std::free(table.m_pnMEMSize);
}

// Adds empty slots, also to a table that has none yet. Without memory the table stays as it is.
bool growTable() {
    const int oldSize = g_stMemUse.m_nMemSize;
    const int newSize = oldSize + slotsPerGrowth;
    _ST_MEM_USE_ST grown{};
    grown.m_ppvdMEM = longerCopy(g_stMemUse.m_ppvdMEM, oldSize, newSize);
    grown.m_pnDebugNum = longerCopy(g_stMemUse.m_pnDebugNum, oldSize, newSize);
    grown.m_pnMEMSize = longerCopy(g_stMemUse.m_pnMEMSize, oldSize, newSize);
    grown.m_nMemSize = newSize;
    if (grown.m_ppvdMEM == nullptr || grown.m_pnDebugNum == nullptr || grown.m_pnMEMSize == nullptr) {
        release(grown);
        return false;
    }
    release(g_stMemUse);
    g_stMemUse = grown;
    return true;
}

int slotOf(const void *block) {
    for (int slot = 0; slot < g_stMemUse.m_nMemSize; ++slot)
        if (g_stMemUse.m_ppvdMEM[slot] == block)
            return slot;
    return noSlot;
}

// From the end: a table that has grown is filled from there.
int lastFreeSlot() {
    for (int slot = g_stMemUse.m_nMemSize - 1; slot >= 0; --slot)
        if (g_stMemUse.m_ppvdMEM[slot] == nullptr)
            return slot;
    return noSlot;
}

// What one debug number holds.
struct BlockSum {
    int count;
    long long bytes;
};

BlockSum blocksOf(int debugNumber) {
    BlockSum sum{};
    for (int slot = 0; slot < g_stMemUse.m_nMemSize; ++slot) {
        if (g_stMemUse.m_ppvdMEM[slot] == nullptr || g_stMemUse.m_pnDebugNum[slot] != debugNumber)
            continue;
        ++sum.count;
        sum.bytes += g_stMemUse.m_pnMEMSize[slot];
    }
    return sum;
}

// The report names every debug number once, in the order of first appearance.
bool firstOfItsNumber(int slot) {
    for (int earlier = 0; earlier < slot; ++earlier)
        if (g_stMemUse.m_ppvdMEM[earlier] != nullptr &&
            g_stMemUse.m_pnDebugNum[earlier] == g_stMemUse.m_pnDebugNum[slot])
            return false;
    return true;
}

// Records `block` in the slot that is known to hold its address, else in a free one. Without a slot the block is freed
// and null returned.
void *record(void *block, int knownSlot, long long bytes, int debugNumber) {
    int slot = knownSlot != noSlot ? knownSlot : lastFreeSlot();
    if (slot == noSlot) {
        slot = g_stMemUse.m_nMemSize;
        if (!growTable()) {
            std::free(block);
            return nullptr;
        }
    }
    g_stMemUse.m_ppvdMEM[slot] = block;
    g_stMemUse.m_pnDebugNum[slot] = debugNumber;
    g_stMemUse.m_pnMEMSize[slot] = static_cast<int>(std::min<long long>(bytes, INT_MAX));
    return block;
}

// What the block was that the system has handed out again.
void reportReuse(const char *call, int slot) {
    const int oldNumber = g_stMemUse.m_pnDebugNum[slot];
    zel::printErrorf("re %s[%d] DEBUG NO[%d] --> %d count, %d Byte : ", call, slot, oldNumber,
                     blocksOf(oldNumber).count, g_stMemUse.m_pnMEMSize[slot]);
}

// To the log and to standard error, each on its own condition.
void reportLine(const char *line) {
    char message[128];
    ZEL_LOG(zel::debugLogOpen(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_UNI), zel::LOG_LEVEL_DEBUG, "LIB", message, "%s",
            line);
    if (g_nPrint == 1)
        zel::printErrorf("%s\n", line);
}

} // namespace

int fgInitAlloc() {
    return g_stMemUse.m_nMemSize > 0 || growTable() ? 1 : 0;
}

void *fgNmalloc(int size, int debugNo) {
    if (size < 0 || fgInitAlloc() == 0)
        return nullptr;
    void *block = std::malloc(static_cast<std::size_t>(size));
    if (block == nullptr)
        return nullptr;
    // A slot with this address is of a block that was freed past the table.
    const int known = slotOf(block);
    if (known != noSlot && g_nPrint == 1) {
        reportReuse("malloc", known);
        zel::printErrorf("request[size %d][DebugNum %d]\n", size, debugNo);
    }
    return record(block, known, size, debugNo);
}

void *fgNcalloc(int count, int size, int debugNo) {
    if (count < 0 || size < 0 || fgInitAlloc() == 0)
        return nullptr;
    void *block = std::calloc(static_cast<std::size_t>(count), static_cast<std::size_t>(size));
    if (block == nullptr)
        return nullptr;
    const int known = slotOf(block);
    if (known != noSlot && g_nPrint == 1) {
        reportReuse("calloc", known);
        zel::printErrorf("request[memcnt %d, size %d][DebugNum %d]\n", count, size, debugNo);
    }
    return record(block, known, 1LL * count * size, debugNo);
}

int fgNfree(void *block, int debugNo) {
    // A null slot is a free one: it holds no block.
    const int slot = block != nullptr ? slotOf(block) : noSlot;
    if (slot != noSlot)
        g_stMemUse.m_ppvdMEM[slot] = nullptr;
    else if (g_nPrint == 1)
        zel::printErrorf("not found free address [%p][%d]\n", block, debugNo);
    std::free(block);
    return slot != noSlot ? 1 : 0;
}

int fgNPrintAlloc() {
    if (g_nPrint != 1 && !zel::debugLogOpen(zel::LOG_MODULE_UNI, zel::LOG_DETAIL_UNI))
        return 1;
    char line[128];
    int group = 0;
    long long total = 0;
    for (int slot = 0; slot < g_stMemUse.m_nMemSize; ++slot) {
        if (g_stMemUse.m_ppvdMEM[slot] == nullptr || !firstOfItsNumber(slot))
            continue;
        const int number = g_stMemUse.m_pnDebugNum[slot];
        const BlockSum sum = blocksOf(number);
        std::snprintf(line, sizeof(line), "Total MEM alloc[%d] DEBUG NO[%d] --> %d count, %lld Byte", group++, number,
                      sum.count, sum.bytes);
        reportLine(line);
        total += sum.bytes;
    }
    std::snprintf(line, sizeof(line), "Total memory alloc size = %lld Byte", total);
    reportLine(line);
    return 1;
}
