// CMM_FS_Info: size and use of the mounted filesystems.
//
// Source: the mount table /etc/mtab and statfs64 on every mount point. Sizes are kilobytes (1024 bytes), inodes are
// counts, usages are percent. Every call reads the table anew; nothing is a rate, so the first call is like any other.
// Below a host root a table that is a link (to the reading process's own mounts) is read as the host's /proc/1/mounts.
//
// There are two passes over the table: fMGetFileSys collects records, fGetFileSystem writes the performance text. Both
// leave out the types of g_strExcludeFilesystem, CD drives, and filesystems of 1000000 KB or less; the text also obeys
// g_strIncludeFilesystem and g_nFSTokenCount. Both write the NFS mounts they meet to ../aproc/shell/NFSList.dat, one
// line "mount point|remote source" each (a line feed in a name is written as a blank).
//
// Sizes are computed in single precision, as consumers expect them: they agree with df to about seven digits.
//
// How long a pass may take. A local mount costs its statfs64. NFS mounts are touched only after fSetNFSFlag(1), and a
// statfs64 on one, or on a mount below one, is given up after FS_REMOTE_SECONDS; while it hangs, later passes skip that
// mount at once. With g_nNfsStatusCheckFlag set every server is asked once per pass before its mounts are touched; see
// CheckNfs.h for the limits of a probe. So a dead server costs a pass at most
//
//   flag 0   FS_REMOTE_SECONDS per mount of it, once
//   flag 1   NFS_NAME_SECONDS + NFS_PORTMAPPER_SECONDS + NFS_CALL_SECONDS    (5 + 2 + 5)
//   flag 2   NFS_NAME_SECONDS + NFS_CONNECT_SECONDS                          (5 + 5)
//
// where the name costs nothing for a source with a dotted address, and one that dies between probe and statfs64 costs
// FS_REMOTE_SECONDS more.
//
// Failures skip the entry and are logged ("statfs failed(%d)" ...); only a mount table that cannot be opened, or
// memory that cannot be had, ends a pass. Not thread-safe.
#pragma once

#include "MM_INIT_Info.h"
#include "ObjectBuffer.h"
#include "PerfText.h"
#include "kernel/WholeFile.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

inline constexpr std::size_t FS_NAME_SIZE = 1025;
inline constexpr int FS_REMOTE_SECONDS = 5;
inline constexpr unsigned long long FS_LARGEST_UNREPORTED = 1000000; // kilobytes; a filesystem must be larger

namespace zel {
struct MountEntry;
class NfsWalk;
enum class FilesystemPass;
} // namespace zel

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
    /// The next record of the last pass, null behind the last one.
    _ST_FS *fMGetFileSysNext();
    /// Records, resp. rows, of the last pass.
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
    using Taker = std::function<void(const _ST_FS &)>;

    bool walkMountTable(zel::FilesystemPass pass, const Taker &take);
    bool takeMounts(zel::FilesystemPass pass, const Taker &take);
    bool remoteMayBeTouched(const zel::MountEntry &entry, zel::NfsWalk &nfs);
    bool measureEntry(const zel::MountEntry &entry, const zel::NfsWalk &nfs, _ST_FS &filesystem);
    void addDatastores(zel::FilesystemPass pass, const Taker &take);
    void recycleRecords();
    std::unique_ptr<_ST_FS> newRecord();
    void keepRecord(const _ST_FS &filesystem);
    void clearTotals();
    void addToTotals(const _ST_FS &filesystem);

    zel::WholeFile m_mountFile;
    std::vector<std::unique_ptr<_ST_FS>> m_spareRecords; // of the pass before, for the pass under way
};
