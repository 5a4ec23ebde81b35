// CMM_FS_Info: size and use of the mounted filesystems.
//
// Source: the mount table /etc/mtab and statfs64 on every mount point. Sizes are kilobytes (1024 bytes), inodes are
// counts, usages are percent. Nothing is a rate, so the first call is like any other. Every call asks every mount anew;
// the table is read when the kernel has reported a change of it, where it is the kernel's own, and else by every call.
// Below a host root a table that is a link (to the reading process's own mounts) is read as the host's /proc/1/mounts.
//
// There are two passes over the table: fMGetFileSys collects records, fGetFileSystem writes the performance text. Both
// leave out the types of g_strExcludeFilesystem, CD drives, and filesystems of 1000000 KB or less; the text also obeys
// g_strIncludeFilesystem and g_nFSTokenCount. Both write the NFS mounts they find to ../aproc/shell/NFSList.dat, one
// line "mount point|remote source" each (a line feed in a name is written as a blank).
//
// Sizes are computed in single precision, as consumers expect them: they agree with df to about seven digits.
//
// Mounts that do not answer. A mount whose type is known to be local costs its statfs64. Every other one (NFS, FUSE,
// CIFS, overlay ...), whatever is mounted below one, and a local one whose last answer took longer than
// FS_SLOW_MILLISECONDS is measured on a thread of its own, for at most FS_REMOTE_SECONDS. All these limits run at the
// same time: however many mounts are dead, a pass takes one limit. A mount that did not answer is left out, logged once
// ("statfs failed(%d), mount does not answer(%s)"), holds that one thread, and is not asked again until the thread
// returns. Nobody waits for it again either: later passes give it 0.2 seconds together with all others of its kind,
// until it answers ("mount answers again(%s)").
//
// NFS mounts are touched only after fSetNFSFlag(1). With g_nNfsStatusCheckFlag set every server is asked once per pass
// before its mounts are touched, all of them at the same time; see CheckNfs.h for the limits of a probe. Dead servers
// cost a pass at most
//
//   flag 0   FS_REMOTE_SECONDS
//   flag 1   NFS_NAME_SECONDS + NFS_PORTMAPPER_SECONDS + NFS_CALL_SECONDS    (5 + 2 + 5)
//   flag 2   NFS_NAME_SECONDS + NFS_CONNECT_SECONDS                          (5 + 5)
//
// and 0.2 seconds from the second pass on. A server that dies between probe and statfs64 costs FS_REMOTE_SECONDS more.
//
// Failures skip the entry and are logged ("statfs failed(%d)" ...); only a mount table that cannot be opened, or
// memory that cannot be had, ends a pass. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "ObjectBuffer.h"
#include "PerfText.h"

#include <cstddef>
#include <memory>

inline constexpr std::size_t FS_NAME_SIZE = 1025;
inline constexpr int FS_REMOTE_SECONDS = 5;
inline constexpr int FS_SLOW_MILLISECONDS = 200;
inline constexpr unsigned long long FS_LARGEST_UNREPORTED = 1000000; // kilobytes; a filesystem must be larger

namespace zel {
struct FilesystemState;
}

/// One filesystem. Names longer than their field are cut.
struct _ST_FS {
    char l_strFSname[FS_NAME_SIZE];  // mount point
    char l_strDEVname[FS_NAME_SIZE]; // device or remote source
    char l_strFSType[FS_NAME_SIZE];
    unsigned long long l_ulTotDskSize; // kilobytes
    unsigned long long l_ulUsdDskSize;
    unsigned long long l_ulFreDskSize;
    unsigned long long l_ulAvaDskSize; // free for ordinary users
    unsigned long long l_ulTotIndSize; // inodes
    unsigned long long l_ulUsdIndSize;
    unsigned long long l_ulFreIndSize;
    unsigned long long l_ulAvaIndSize;
    double l_dDskUsage; // percent
    double l_dIndUsage;
    int l_nIsUpNow; // always 0
};

class CMM_FS_Info : public CMM_INIT_Info {
public:
    CMM_FS_Info();
    ~CMM_FS_Info();

    /// The record pass: the collector's buffer of _ST_FS, keyed by mount point, or null when there is no filesystem to
    /// report or the mount table cannot be opened. Records belong to the collector and live until the next record pass.
    CObjectBuffer *fMGetFileSys();
    /// The next record of the last pass, null after the last one.
    _ST_FS *fMGetFileSysNext();
    /// Records or rows of the last pass.
    int fMGetNFileSys() const { return m_nNFs; }
    /// Frees every record.
    void fFreeFSObject();

    /// The text pass: the number of rows, or -1 when there is none or the mount table cannot be opened. The text then
    /// has no end marker.
    int fGetFileSystem();
    /// The text; the collector's, valid until the next text pass.
    char *fGetFSInfo() { return m_pstrResultData; }

    /// 1: measure NFS mounts too. Anything else: only list them.
    void fSetNFSFlag(int flag) { m_nNFSFlag = flag; }
    /// Both 1: add the datastores of a VMware host, which a script reports.
    void fSetVMFlag(int vmFlag, int isVMware);
    /// Number of "/" in `path`.
    int fGetFSTokCount(const char *path) const;

    CObjectBuffer *m_pclObjectBuffer; // of _ST_FS; owned, as are the records
    int m_nNFs;
    int m_nCurIndex; // of the next record, from 1
    int m_nNFSFlag;
    char *m_pstrResultData; // the text
    int m_nResultDataSize;
    PerfSplit m_strSplit;
    unsigned long long m_uFSTotalSizeTotal; // sums over the rows of the last text, with g_nVAGENT_type 1 or more
    unsigned long long m_uFSUseTotal;
    unsigned long long m_uFSFreeTotal;
    unsigned long long m_uFSAvailTotal;
    unsigned long long m_uINTotalSizeTotal;
    unsigned long long m_uINUseTotal;
    unsigned long long m_uINFreeTotal;
    unsigned long long m_uINAvailTotal;
    int m_nVMFlag;
    int m_nIsVMWare;
    int m_nFirstFlag; // the datastore script has run
    char m_strLogMsg[1024];

private:
    std::unique_ptr<zel::FilesystemState> m_state; // what is kept between passes
};
