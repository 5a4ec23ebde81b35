// CMM_CPU_Info: how the machine and each of its processors spent the time between two samples of /proc/stat, in tenths
// of a percent; the interrupt rate; the number of physical processors (by a script); the CPU inventory line.
//
// With g_nCpuStrType 1 a sample also writes the CPU performance text, and the first sample (which covers the time since
// boot) is swallowed; otherwise there is no text and the first sample is returned. Kernels whose minor release number
// is 4 or less are read with four counters per line, whatever their major number is; the others with five
// (g_nKernelRule 1: five on every kernel from 2.6 on).
//
// What a call returns belongs to the collector and is valid until the next call. A failure is a null pointer or -1 and
// a message to the logger. fMGetCpu and fMGetPushCpu share the previous counters: each covers the time since either.
// Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "SSUtil.h"

#include <ctime>
#include <memory>

namespace zel {

/// Columns of a row in the order in which embedding programs read them.
enum CpuColumn { CPU_SYSTEM, CPU_USER, CPU_IDLE, CPU_WAIT, CPU_NICE, CPU_COLUMNS };

/// Row 0 is the whole machine, the others are processors in file order; further processors are left out.
inline constexpr int CPU_ROWS = 513;

using CpuRow = unsigned long long[CPU_COLUMNS];

struct CpuState;

} // namespace zel

class CMM_CPU_Info : public CMM_INIT_Info {
public:
    CMM_CPU_Info();
    ~CMM_CPU_Info();

    CMM_CPU_Info(const CMM_CPU_Info &) = delete;
    CMM_CPU_Info &operator=(const CMM_CPU_Info &) = delete;

    // Samples -------------------------------------------------------------------------------------------------------

    /// Takes a sample and returns m_pnCPU, row 0 (the machine) first; null when /proc/stat cannot be read or holds no
    /// processors, when the machine's idle share is impossible, and for the swallowed first sample.
    zel::CpuRow *fMGetCpu();
    /// Processor rows of the last sample; takes one when there is none.
    int fMGetNCpu();
    /// The next processor row of the last sample, then null.
    unsigned long long *fMGetCpuNext();

    /// The machine's shares of the last sample, in tenths of a percent.
    unsigned long long fMGetCpuSys() const { return m_pnCPU[0][zel::CPU_SYSTEM]; }
    unsigned long long fMGetCpuUser() const { return m_pnCPU[0][zel::CPU_USER]; }
    unsigned long long fMGetCpuIdle() const { return m_pnCPU[0][zel::CPU_IDLE]; }
    unsigned long long fMGetCpuWio() const { return m_pnCPU[0][zel::CPU_WAIT]; }

    /// The machine's used percentage of the last sample with text; -1 before it.
    float fGetUtilization() const { return m_fUsed; }
    /// Processor lines that the last sample of any kind found, also one that was swallowed.
    int fGetLogicalCpuCnt() const { return m_nLogicalCpuCnt; }

    /// Takes a sample like fMGetCpu, without swallowing a first one, and writes the push text: the code, then the CPU
    /// table with the row of the machine alone. Null when g_nCpuStrType is not 1, when there is no text buffer, and
    /// when the sample failed.
    zel::CpuRow *fMGetPushCpu();

    /// A gathering loop of its own: shares since its previous gathering in m_pnCpus, on counters that fMGetCpu and
    /// fMGetPushCpu do not touch, and without any text. For an embedding program that wants one long interval (the
    /// load of a minute, say) while the sampling operations run at their own short one. At most one gathering per
    /// second of the clock: a call within the second of the last one returns what that one gave. Null for the first
    /// gathering, which has no predecessor, and when /proc/stat cannot be read.
    zel::CpuRow *fMRulo6GatherCpu();

    /// Interrupts per second since the previous call, `elapsed` seconds ago: 0 at the first call, for a total that went
    /// back and for an elapsed time of 0 or less. Null when there is no total.
    double *fMGetCpuInterrupt(double elapsed);

    // Inventory -----------------------------------------------------------------------------------------------------

    /// Number of physical processors as the script cpu_info gives it, 0 when unknown. Consumers expect at most two
    /// characters: a line such as "16" and its line feed is longer and counts as unknown.
    int fMGetPhyCpuCnt();

    /// Takes the text after "TORVCPU|" of the inventory file into m_pStrCpuINV: 1, or -1 when there is none.
    int fGetCpuINV();
    /// Starts the inventory program: at once with mode 1, otherwise through the command scheduler. Returns 1, or 0
    /// when it could not be started.
    int fCommandINV(int mode);
    /// Removes the inventory file; 0, or -1 when that failed.
    int fINVFileRemove();
    /// Always 1: a CPU inventory counts as changed whenever it is asked for.
    int fCpuChangeCheck() { return 1; }

    unsigned long long m_plOldCPU[zel::CPU_ROWS][zel::CPU_COLUMNS]; // ticks of the previous sample
    unsigned long long m_pnCPU[zel::CPU_ROWS][zel::CPU_COLUMNS];    // shares of the last sample, tenths of a percent
    int m_nNCpu;                                                    // processor rows of the last sample
    int m_nCpuIndex;                                                // row that fMGetCpuNext returned last
    long m_plIntr;                                                  // interrupts of the previous call, 0 before it
    double m_pdIntr;                                                // interrupts per second
    CSSUtil *m_pclUtil;                                             // owned
    char m_strLogMsg[1024];
    char m_strSplit[2][4];     // row and column separator
    char m_strPushSplit[2][4]; // metric and field separator
    int m_nCpuZELCnt;          // rows of the performance text
    char *m_pStrCpuZEL;        // performance text, owned
    int m_nCpuZELSize;
    int m_nCpuINVCnt;   // 1 when there is an inventory text
    char *m_pStrCpuINV; // inventory text, owned
    int m_nCpuINVSize;
    char m_strDataPath[512];    // inventory file
    int m_nZELSkipChk;          // 1 once the first sample has been swallowed
    char *m_pRealTimeStrCpuZEL; // push text, owned
    int m_nCpuZELRealSize;
    std::time_t m_tOldTime;                                       // second of the last gathering
    int m_nGatherCount;                                           // gatherings so far
    unsigned long long m_pnCpus[zel::CPU_ROWS][zel::CPU_COLUMNS]; // shares of the last gathering, tenths of a percent
    float m_fUsed;
    int m_nLogicalCpuCnt;
    int m_nPushCpuCnt; // rows of the push text

private:
    std::unique_ptr<zel::CpuState> m_state;
};
