// CMM_MEM_Info: memory and swap of /proc/meminfo in kilobytes, the kernel's swap counters in pages, and the sizes of
// the memory modules (by a script). Every call is a fresh reading; nothing is carried over to the next one.
//
// The kernel files are read whole into 4096 bytes: a key beyond that counts as missing. Failures are null or -1;
// nothing is logged. What a call returns belongs to the collector and keeps its place; the next call changes it. Not
// thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "SSUtil.h"

#include <memory>

/// Elements of m_pulMEM, kilobytes.
enum MemoryElement {
    MEM_TOTAL,
    MEM_USED, // total - free
    MEM_FREE, // what m_nMemFreeFlag counts as free
    MEM_BUFFERS,
    MEM_CACHE,     // page cache, with MEM_FREE_SLAB the reclaimable slab too
    MEM_SLAB,      // reclaimable slab, 0 when the kernel does not report it
    MEM_AVAILABLE, // of the kernel, or the estimate that it would make
    MEM_ELEMENTS
};

/// Elements of m_pulSWP: kilobytes, then pages since boot.
enum SwapElement { SWAP_TOTAL, SWAP_USED, SWAP_FREE, SWAP_PAGES_IN, SWAP_PAGES_OUT, SWAP_ELEMENTS };

/// Bits of m_nMemFreeFlag: what counts as free memory.
inline constexpr int MEM_FREE_FREE = 1;
inline constexpr int MEM_FREE_BUFFERS = 2;
inline constexpr int MEM_FREE_CACHED = 4;
inline constexpr int MEM_FREE_SLAB = 8; // the reclaimable slab, which then also counts as cache

/// Available memory of which no estimate can be made.
inline constexpr unsigned long long MEM_AVAILABLE_UNKNOWN = 888888888;
/// Memory modules kept by fMGetMemCnt.
inline constexpr int MEM_MODULES = 128;

namespace zel {
struct MemoryFiles;
}

class CMM_MEM_Info : public CMM_INIT_Info {
public:
    CMM_MEM_Info();
    ~CMM_MEM_Info();

    CMM_MEM_Info(const CMM_MEM_Info &) = delete;
    CMM_MEM_Info &operator=(const CMM_MEM_Info &) = delete;

    /// Reads memory into m_pulMEM. Null when the file cannot be read or lacks total, free, buffers or cache.
    unsigned long long *fMGetMem();
    /// Reads swap into m_pulSWP, by the layout that /proc/meminfo has. Null when a file or a key is missing.
    unsigned long long *fMGetSwap();
    /// The same for the newer layout, whose counters are in /proc/vmstat.
    unsigned long long *fMGetSwap_k2_6();

    // The last reading.

    unsigned long long fMGetTotMem() const { return m_pulMEM[MEM_TOTAL]; }
    unsigned long long fMGetUsdMem() const { return m_pulMEM[MEM_USED]; }
    unsigned long long fMGetFreMem() const { return m_pulMEM[MEM_FREE]; }
    unsigned long long fMGetTotSwap() const { return m_pulSWP[SWAP_TOTAL]; }
    unsigned long long fMGetUsdSwap() const { return m_pulSWP[SWAP_USED]; }
    unsigned long long fMGetFreSwap() const { return m_pulSWP[SWAP_FREE]; }

    /// Chooses what counts as free memory, MEM_FREE_... bits; 7 at first.
    void fSetMemFreeFlag(int flag) { m_nMemFreeFlag = flag; }
    /// The kernel's min_free_kbytes in `*out`: 0, or -1 (and `*out` unchanged) when there is no number to be had.
    int fMGetMinFreePara(unsigned long long *out);
    unsigned long long fMGetMin(unsigned long long a, unsigned long long b) const { return a < b ? a : b; }

    /// Runs the script that lists the memory modules and takes the positive sizes of its list, MEM_MODULES at most.
    /// Returns m_pnMemCnt, or null when there is no list; the previous one then stays.
    int *fMGetMemCnt();
    /// Number of sizes in m_pnMemCnt.
    int fMGetMemTotCnt() const { return m_nMemCnt; }
    /// Frees the list.
    void fFreeMemCnt();

    /// Writes the push text of a fresh reading. It stays as it was when the reading fails or makes no sense (no memory
    /// at all, a used percentage beyond 0 to 100). Always 1.
    int fPushGatherMem();

    unsigned long long m_pulMEM[MEM_ELEMENTS];
    unsigned long long m_pulSWP[SWAP_ELEMENTS];
    CSSUtil *m_pclUtil;         // owned
    int m_nMemCnt;              // sizes in m_pnMemCnt
    int *m_pnMemCnt;            // sizes of the memory modules, MEM_MODULES entries, owned; null before the first list
    char m_strCurrentPath[256]; // kept for embedding programs
    int m_nMemFreeFlag;         // MEM_FREE_... bits
    int m_nMemZELSize;          // size of the push text
    char *m_pStrMemoryZEL;      // kept for embedding programs
    char *m_pStrRealTimeMemZEL; // push text, owned
    char m_strSplit[2][4];      // row and column separator
    char m_strPushSplit[2][4];  // metric and field separator

private:
    std::unique_ptr<zel::MemoryFiles> m_files;
};
