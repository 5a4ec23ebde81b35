// CMM_IO_Info: disk rates between two samples: requests and kilobytes read and written per second, and the share of the
// time that a disk was busy.
//
// Counters come from /proc/diskstats (kernel 2.6 and later), /proc/partitions (2.4), or /proc/stat with
// /proc/partitions (2.2); kernels 2.0, 2.1, 2.3 and 2.5 yield nothing. The interval is measured between two calls of
// fMGetIoStat, the first one from construction.
//
// Three forms of result:
//   list       g_nDiskStrType other than 1: records of _ST_DISKIO, walked with fMGetIoStatNext
//   text       g_nDiskStrType 1: a table in m_pstrPollDiskInfo, or as push text (metric 4.5.11.0, the 50 busiest disks)
//              in m_pstrPushDiskInfo; columns INDEX DISKNAME READCNT WRITECNT READKB WRITEKB BUSY
//   inventory  list form with nPerf 0: whole disks with their sizes, walked with fMGetIoStatNextINV
//
// The first pass of an object reports rates of 0 in list form and null in text form. A rate that is negative, or 1e9
// requests per second and more, is -1.0; busy is 0 to 100.
//
// Failures are null (counters that cannot be read, no memory) or the result that the function names. Results belong to
// the collector and stay valid until its next call. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "PerfText.h"
#include "SSList.h"
#include "SSUtil.h"

#include <map>
#include <memory>
#include <string>
#include <sys/time.h>

namespace zel {
struct DiskState;
}

inline constexpr int DISK_NAME_SIZE = 1025;
inline constexpr int DISK_RAW_NAME_SIZE = 1024;

/// What one line of the kernel says of a disk.
struct _ST_DISKSTATS_ {
    char name[DISK_RAW_NAME_SIZE]; // as printed by the kernel
    unsigned rd_ios;               // reads completed
    unsigned rd_merges;
    unsigned long long rd_sectors; // of 512 bytes
    unsigned rd_ticks;             // milliseconds spent reading
    unsigned wr_ios;
    unsigned wr_merges;
    unsigned long long wr_sectors;
    unsigned wr_ticks;
    unsigned aveq;            // weighted milliseconds doing I/O
    unsigned long long ticks; // milliseconds with I/O in progress
    unsigned long long l_nTotSize;
};

/// One sample of a disk, also kept as the old sample. Cumulative counters.
struct _ST_COMPUTE_IO {
    char l_strDEVname[DISK_NAME_SIZE]; // "/dev/sda"
    unsigned long long l_ulRead_B;     // sectors; on 2.2 the kernel's block count
    unsigned long long l_ulWrite_B;
    unsigned long long l_ulRead_N; // requests
    unsigned long long l_ulWrite_N;
    unsigned long long l_ulXfer_B; // not filled
    unsigned long long l_ulXfer_N;
    unsigned l_uiRead_ios; // for the average wait of 2.2
    unsigned l_uiRead_ticks;
    unsigned l_uiWrite_ios;
    unsigned l_uiWrite_ticks;
    unsigned long long l_ulWaitCnt; // kept with the old sample, not read
    unsigned long long l_ulWaitTime;
    unsigned long long l_nTotSize; // kilobyte blocks / 1000
    unsigned long long l_lTick;    // busy milliseconds
};

/// The result for one disk.
struct _ST_DISKIO {
    char l_strDEVname[DISK_NAME_SIZE]; // "/dev/sda"
    unsigned l_uiRead_ios;             // 0
    unsigned l_uiRead_ticks;
    unsigned l_uiWrite_ios;
    unsigned l_uiWrite_ticks;
    double l_dAwait;  // milliseconds per request, 2.2 only
    double l_dRead_B; // kilobytes per second
    double l_dWrite_B;
    double l_dRead_N; // requests per second
    double l_dWrite_N;
    double l_dXfer_B; // 0
    double l_dXfer_N;
    unsigned long long l_nTotSize; // kilobyte blocks / 1000
    double l_dBusy;                // percent of the interval
};

/// Old sample of the text form on 2.6 and later.
struct _ST_DISK_OLD_LIST {
    char l_strDEVname[DISK_NAME_SIZE];
    unsigned long long l_ulRead_B;
    unsigned long long l_ulWrite_B;
    unsigned long long l_ulRead_N;
    unsigned long long l_ulWrite_N;
    unsigned long long l_lTick;
};

/// One row of the push text before sorting.
struct ST_DISKALL_LIST {
    char l_strDEVname[DISK_NAME_SIZE];
    double l_dRead_B;
    double l_dWrite_B;
    double l_dRead_N;
    double l_dWrite_N;
    double l_dBusy;
};

/// A discovered whole disk.
struct _ST_DEV_NAME {
    char m_pstrName[DISK_NAME_SIZE]; // "/dev/sda"
    char m_chIndex;
    unsigned long long m_lTotalSize; // kilobyte blocks
};

/// Orders pointers to ST_DISKALL_LIST by falling busy percentage.
int compare_alldisk(const void *left, const void *right);

class CMM_IO_Info : public CMM_INIT_Info {
public:
    CMM_IO_Info();
    ~CMM_IO_Info();

    // Sampling ------------------------------------------------------------------------------------------------------

    /// One pass. The first argument is not used: the interval is always measured. In list form nPerf 0 asks for the
    /// inventory list; in text form nPush above 0 asks for the push table. The text that was not asked for is empty.
    CSSList *fMGetIoStat(double elapsed, int nPerf, int nPush = 0);
    /// The pass of one kernel generation.
    CSSList *fMGetIoStat_Lin22(int nPerf, int nPush);
    CSSList *fMGetIoStat_Lin24(int nPerf, int nPush);
    CSSList *fMGetIoStat_Lin26(int nPerf, int nPush);

    /// The next record of the last list, or null after the last one.
    _ST_DISKIO *fMGetIoStatNext();
    _ST_DISKIO *fMGetIoStatNextINV();

    /// Takes the interval since the last call into m_dElapsedTime. Returns 1.
    int fSetElapsedTime();

    // Discovery -----------------------------------------------------------------------------------------------------

    /// Runs the partitions script and takes the whole disks of at least 1000000 kilobyte blocks from its result: with 0
    /// into the inventory list, otherwise new ones into the name array. Returns m_nNDev (with names: the names known),
    /// 0 when there is no result.
    int fMGetDevNames(int nWithNames);
    /// Copies the first token of `src` into the `size` bytes of `dst`. Returns the place after it, or null when the
    /// token does not fit.
    char *fMParceDevUnit(const char *src, char *dst, int size);
    /// The busy percentage of the disk `name` in the rate file: 0 without a line for it, the last line wins, above 100
    /// it reads as 99.9. Returns 1, -1 (and 0 percent) when the file cannot be opened.
    int fGetDiskIoRate(const char *name, float *rate);

    // Rates: each writes m_pstIO and returns it ---------------------------------------------------------------------

    /// Kernel 2.2, against the old sample of that name. Volumes are blocks as the kernel counts them.
    _ST_DISKIO *fMComputeIo(const _ST_COMPUTE_IO *sample);
    /// Kernel 2.4, and the list form of 2.6, against the old sample of that name: a counter that fell counts 0.
    _ST_DISKIO *fMComputeIo26(const _ST_COMPUTE_IO *sample);
    /// The text form of 2.6, against `old`: a counter that fell gives an enormous rate, by which consumers tell a
    /// reset.
    _ST_DISKIO *fMDiskComputeIo(const _ST_COMPUTE_IO *sample, const _ST_DISK_OLD_LIST *old);

    /// The old sample of the disk `name`, or null.
    _ST_COMPUTE_IO *fMGetOldCompIo(const char *name);
    /// Keeps the sample as the old one of its disk. Returns 1, 0 without memory.
    int fMSetOldCompIo(const _ST_COMPUTE_IO *sample);

    /// 1 when the first 1024 characters of a stored record's name and of `name` are equal, else 0.
    static int fCMPDeviceName(const void *stored, const void *name);

    // Inventory file ------------------------------------------------------------------------------------------------

    /// Hands the inventory command to the scheduler; nothing runs here. Returns its result, -1 without a scheduler.
    int fCommandINV(int n);
    /// Returns 1.
    int fCommandExecute();
    /// Takes the inventory text into m_pStrDiskINV: 1, or -1 without one.
    int fGetDiskINV();
    /// 1 when the inventory line differs from the previous one, 0 when it is the same or the first, -1 without one.
    int fDiskChangeCheck();
    /// Removes the inventory file. Returns the result of remove().
    int fINVFileRemove();

    CSSList *m_pclList;           // results of the last pass, _ST_DISKIO
    CSSList *m_pclList_Old;       // old samples by name, _ST_COMPUTE_IO
    CSSUtil *m_pclUtil;           // kept for embedding programs
    CSSList *m_pclINVList;        // inventory, _ST_DISKIO with name and size
    SSListNode *m_pstNextNode;    // cursor of fMGetIoStatNext
    SSListNode *m_pstNextNodeINV; // cursor of fMGetIoStatNextINV
    _ST_DISKIO *m_pstIO;          // result of the last rate computation
    int m_nNDev;                  // disks seen in this pass
    int m_nNDevINV;               // inventory records
    _ST_DEV_NAME *m_pstDevName;   // discovered disks
    int m_nDevNameCount;
    char m_strSplit[2][4];
    char m_strPushSplit[2][4];
    int m_nDiskZELCnt;   // rows of the poll text
    char *m_pStrDiskZEL; // row buffer
    int m_nDiskZELSize;
    int m_nDiskINVCnt;   // 1 when an inventory text was found
    char *m_pStrDiskINV; // inventory text
    int m_nDiskINVSize;
    char *m_pstrDiskName; // previous inventory line
    int m_nDiskNameSize;
    char m_strDataPath[512];     // inventory file
    int m_nZELSkipChk;           // 0 until the first text pass has completed
    char *m_pStrRealTimeDiskZEL; // push row buffer
    int m_nDiskRealZELSize;
    int m_nInsertFirst; // 0 until the first pass has completed
    std::string g_stringPollDisk;
    char *m_pstrPollDiskInfo;   // the poll text
    char *m_pstrPollDiskReturn; // kept for embedding programs
    std::string g_stringPushDisk;
    char *m_pstrPushDiskInfo;          // the push text
    char *m_pstrPushDiskReturn;        // kept for embedding programs
    int m_nDiskPushCnt;                // index of the last push row
    int m_nActiveSize;                 // capacity of the push array
    ST_DISKALL_LIST **m_stAllDiskList; // rows of a push pass, null between passes
    char m_strLogMsg[1024];
    timeval m_stOldIoTime;
    double m_dElapsedTime;                        // seconds between the last two passes
    int m_nGatherCount;                           // kept for embedding programs
    std::map<int, _ST_DISK_OLD_LIST *> m_DiskMap; // old samples of the text form by ELFHash of the short name

private:
    std::unique_ptr<zel::DiskState> m_state;
};
