// CMM_PROC_Info: every process of the host, with its CPU, memory and I/O use, from /proc/<pid>/stat, statm, io and
// cmdline.
//
// fMGetProc(0) gives one performance text with a row per process, fMGetProc(1) a push text with the busiest processes
// by CPU, memory and I/O (metric code 4.14.2.0), fMGetRealProc a light list without any figures. Rates compare a
// process with the previous scan; the first scan after construction has none and reports them as 0. A process that
// vanishes while it is read is left out without a message.
//
// Units: PCPU, PUSERCPU and PSYSCPU percent of one processor, P100CPU percent of the machine, PMEM percent of the
// memory, VSZ and RSS kilobytes, IOBYTECOM and IOBYTE kilobytes, IOBYTERATE kilobytes per second, STIME seconds since
// the epoch, CTIME seconds (clock ticks of 1/100 s in the push text).
//
// On 2.4 kernels (minor number 4, whatever the major number is) the process list and the CPU percent of java processes
// can come from scripts (g_nGetProcessType, g_nGetProcessJAVA). Texts belong to the collector and hold until its next
// scan; a scan that fails, or finds no process, gives null. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "PerfText.h"
#include "SSUser.h"
#include "SSUtil.h"

#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <sys/time.h>
#include <sys/types.h>

inline constexpr int PROC_NAME_SIZE = 10240;     // longest process name; the records hold one byte more
inline constexpr int PROC_FILE_NAME_SIZE = 64;   // longest command name of stat
inline constexpr int PROC_TEXT_SIZE = 10240;     // bytes read of stat and statm
inline constexpr int PROC_PUSH_CAPACITY = 10000; // first capacity of the push list
inline constexpr int PROC_TOP_ENTRIES = 100;     // entries considered of each order

/// What the kernel files of one process hold. Fields that no file fills are kept for embedding programs.
struct proc_s {
    char user[10];
    char cmd[40];  // command name, at most 39 characters
    char args[64]; // only fMCmdline2Proc sets it
    char state;
    char ttyc[5];
    char **environ;
    char **cmdline;
    int uid; // owner of the directory /proc/<pid>
    int pid, ppid, pgrp, session, tty, tpgid;
    int priority, nice;
    long long signal, blocked, sigignore, sigcatch; // the decimal words of stat, read as hexadecimal
    long start_time;                                // clock ticks after boot
    long utime, stime, cutime, cstime;              // clock ticks
    long size, resident, share, trs, lrs, drs, dt;  // pages
    unsigned long long io_rchar, io_wchar, io_syscr, io_syscw;
    unsigned long long io_read, io_write; // bytes
    unsigned long long io_cancle_write;
    unsigned int pcpu;
    unsigned long vsize; // bytes
    unsigned long rss;   // pages
    unsigned long rss_rlim, num_threads, it_real_value, flags, min_flt, maj_flt, cmin_flt, cmaj_flt, start_code,
        end_code, start_stack, kstk_esp, kstk_eip, wchan;
};

/// The report record of one process.
struct _ST_PROC {
    char l_strPname[PROC_NAME_SIZE + 1]; // command line, or the command name, in square brackets without a command line
    char l_strUname[33];
    char l_strCTime[22]; // CPU time, "HH:MM:SS"
    char l_strStart[22]; // start, local time
    char l_strFName[PROC_FILE_NAME_SIZE + 1];
    int l_nPid;
    int l_nPPid;
    int l_nNice;
    int l_nPriority;
    char l_chStatus;       // S (also for D), R, T, Z, otherwise ?
    unsigned long l_ulVSZ; // KB
    unsigned long l_ulRSS; // KB
    float l_dPCPU;
    float l_dPMEM;
    int l_nThreads;
    int l_nCTime; // user and system ticks; the three counters wrap
    int l_nUTime;
    int l_nSTime;
    int l_nStart;   // seconds since the epoch
    int l_nIsUpNow; // 1: read in this sample
    int l_uPSid;    // session
    double l_dPUserCpu;
    double l_dPSysCpu;
    double l_dIOByte;     // KB since the previous sample
    double l_dIOByteRate; // KB per second since the previous sample
    double l_dIOByteCom;  // KB in all
};

/// The previous sample of one pid.
struct _ST_PROC_OLD_LIST {
    pid_t m_nPid;
    int m_fOldCpuTime; // ticks
    int m_fOldUserCpuTime;
    int m_fOldSysCpuTime;
    double m_dIOByteCom; // KB
    double m_dCurTime;   // hundredths of a second
    int m_nDelFlag;      // 1: seen since fProcMapUpdate
};

/// One process of a push scan. The fields mean what they mean in _ST_PROC.
struct ST_PROCALL_LIST {
    char l_strPname[PROC_NAME_SIZE + 1];
    char l_strUname[33];
    char l_strFName[PROC_FILE_NAME_SIZE + 1];
    int l_nPid;
    int l_nPPid;
    int l_nNice;
    int l_nPriority;
    char l_chStatus;
    unsigned long l_ulVSZ;
    unsigned long l_ulRSS;
    float l_dPCPU;
    float l_dPMEM;
    int l_nThreads;
    int l_nCTime;
    int l_nUTime;
    int l_nSTime;
    int l_nStart;
    int l_nIsUpNow;
    int l_uPSid;
    double l_dPUserCpu;
    double l_dPSysCpu;
    double l_dIOByte;
    double l_dIOByteRate;
    double l_dIOByteCom;
    float l_f100CPU; // percent of the machine, at most 100
};

namespace zel {
struct ProcessState;
} // namespace zel

class CMM_PROC_Info : public CMM_INIT_Info {
public:
    CMM_PROC_Info();
    ~CMM_PROC_Info();

    // Samples -------------------------------------------------------------------------------------------------------

    /// Scans every process. `mode` below 1 gives the text report, 1 or more the push report. Null when no process was
    /// counted, /proc cannot be opened or memory is short.
    const char *fMGetProc(int mode);
    /// Lists the processes that run now, without rates and without touching the previous samples. Null as above.
    const char *fMGetRealProc();
    /// Empties the text of the last scan.
    void fMClearRealProc();

    /// The text and the number of processes of the last scan.
    const char *fGetProcInfo() const { return m_pstrPollProcInfo; }
    const char *fGetProcessInfo() const { return m_pstrPollProcInfo; }
    int fMGetNProcs() const { return m_nNProc; }

    /// Both 1: rows that a script wrote about the guests of a VMware host are added to a scan.
    void fSetVMFlag(int vmFlag, int isVMWare);

    /// Processors of the host by /proc/stat; 1 when that names none.
    int fGetCurrentCpuCnt();

    // Previous samples: a program that wants dead pids dropped calls fProcMapUpdate before and fProcMapErase after a
    // scan. Without that one record stays for every pid ever seen.
    // -----------------------------------------------------------------------------------------------------------------

    /// Marks every previous sample as not seen.
    void fProcMapUpdate();
    /// Deletes the previous samples that were not seen since.
    void fProcMapErase();

    // Reading one process: 1, or 0 when it cannot be read ------------------------------------------------------------

    /// Reads process `pid` into `raw` and `out` (zeroed by the caller) and computes its rates against its previous
    /// sample, which is then replaced. `curTime` is in hundredths of a second; `mode` below 1 names the process by its
    /// command line, otherwise by its command name. With a `totalMemKB` of 0 the memory percent is 0.
    int fMReadProcTable(int pid, proc_s *raw, _ST_PROC *out, unsigned long totalMemKB, double curTime, int mode);
    /// The same for fMGetRealProc: names, owner, pid and start time only.
    int fMRealReadProcTable(int pid, proc_s *raw, _ST_PROC *out);

    /// Parses the text of stat, which is cut at its last ")".
    int fMStat2Proc(char *buf, proc_s *raw);
    /// Parses the text of statm.
    int fMStatm2Proc(const char *buf, proc_s *raw);
    /// Reads the bytes read and written from the io file `path` (below the host root); both are 0 when it cannot be
    /// opened. Always 1.
    int fMIo2Proc(const char *path, proc_s *raw);
    /// Sets `args` to a command line (cut at 63 characters), or to the command name in square brackets when it is
    /// empty. Always 1.
    int fMCmdline2Proc(const char *buf, proc_s *raw);
    /// Replaces zero bytes among the first len - 1 by blanks. Returns 1.
    int xfrm_cmdline(char *buf, int len);

    // Rates: 1 always. Results below 0, and rates over no time at all, are 0 ------------------------------------------

    /// Rates of `cur` against `old`, whose sample is older by curTime - m_dCurTime hundredths of a second. A CPU
    /// counter that fell counts from 0.
    int fMNewCompute(_ST_PROC *cur, const _ST_PROC_OLD_LIST *old, double curTime);
    /// The same over `elapsed` hundredths of a second, with the I/O rate rounded to single precision on the way.
    int fMCompute(_ST_PROC *cur, const _ST_PROC_OLD_LIST *old, double elapsed);
    /// The CPU percent alone, from two report records; `prev` may be null.
    int fMGetPCpu(_ST_PROC *cur, const _ST_PROC *prev, double elapsed);

    /// The time of day in hundredths of a second.
    double fMGetCurTime();
    /// Hundredths of a second since the previous call; the first one gives 1e9 seconds.
    double fMGetTimeDiff();
    /// MemTotal of /proc/meminfo in KB, 0 without one.
    unsigned long fMGetSysTotMem();

    // Push list -----------------------------------------------------------------------------------------------------

    /// Copies entry `index` of m_stAllProcList. 1, or 0 when there is no such entry.
    int fMTopProcNew(ST_PROCALL_LIST *dst, int index);

    /// Orders for qsort over arrays of ST_PROCALL_LIST pointers, highest first, by l_dPCPU, l_dPMEM, l_dIOByteRate.
    static int compare_allcpu(const void *left, const void *right);
    static int compare_allmem(const void *left, const void *right);
    static int compare_allio(const void *left, const void *right);

    /// Predicates over _ST_PROC for list searches, 1 or 0: whether the first name is greater, the first CPU percent is
    /// greater, the pids are equal, the up-flags are equal.
    static int fCMPProcName(const void *left, const void *right);
    static int fCMPProcCpu(const void *left, const void *right);
    static int fCMPProcPid(const void *left, const void *right);
    static int fCMPProcIsUpNow(const void *left, const void *right);

    CSSUser *m_pclUser;
    CSSUtil *m_pclUtil;
    char *m_pstrProcessInfo; // one header or row; doubled on demand
    int m_nProcessInfoBufSize;
    int m_nNProc;
    int m_nCpuCnt; // not used: the processors are counted anew in each scan
    int m_nVMFlag;
    int m_nIsVMWare;
    std::time_t m_tTime;  // start of the scan
    char m_strUpTime[64]; // seconds since boot, as text; kept when /proc/uptime cannot be read
    std::map<int, _ST_PROC_OLD_LIST *> m_ProcMap;
    int m_nInsertFirst; // 1 once the first scan has finished
    int m_nNewCount;    // not used
    std::string g_stringPollProcess;
    const char *m_pstrPollProcInfo;
    char *m_pstrProcReturn; // not used
    timeval m_stLastTime;
    PerfSplit m_strPushSplit;
    int m_nActiveSize;                 // capacity of the push list
    ST_PROCALL_LIST **m_stAllProcList; // processes of a push scan that may be reported; null outside a scan
    std::map<int, ST_PROCALL_LIST *> m_ProcTopMap;
    char m_strLogMsg[1024];

private:
    std::unique_ptr<zel::ProcessState> m_state; // what is kept between scans
};
