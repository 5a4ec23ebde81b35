#include "MM_FS_Info.h"

#include "HostRoot.h"
#include "LogGate.h"
#include "Settings.h"
#include "filesystem/MM_FS_Measure.h"
#include "filesystem/MM_FS_Mounts.h"
#include "filesystem/MM_FS_Nfs.h"
#include "filesystem/MM_FS_Text.h"
#include "filesystem/MM_FS_VMware.h"
#include "scripts/HomeScripts.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/statfs.h>

#define FS_LOG_ERROR(...) ZEL_LOG(zel::errorLogOpen(), zel::LOG_LEVEL_ERROR, "MM_FS_Info", m_strLogMsg, __VA_ARGS__)

using zel::FilesystemPass;
using zel::MountEntry;

CMM_FS_Info::CMM_FS_Info()
    : m_pclObjectBuffer(new CObjectBuffer), m_nNFs(0), m_nCurIndex(0), m_nNFSFlag(0),
      m_pstrResultData(fgNewTextBuffer(PERF_TABLE_SIZE)),
      m_nResultDataSize(m_pstrResultData == nullptr ? 0 : PERF_TABLE_SIZE), m_nVMFlag(0), m_nIsVMWare(0),
      m_nFirstFlag(0), m_strLogMsg{} {
    fgSetTableSplit(m_strSplit);
    clearTotals();
}

CMM_FS_Info::~CMM_FS_Info() {
    fFreeFSObject();
    delete m_pclObjectBuffer;
    std::free(m_pstrResultData);
}

// --- Record pass ---------------------------------------------------------------------------------------------------

CObjectBuffer *CMM_FS_Info::fMGetFileSys() {
    recycleRecords();
    const bool walked =
        walkMountTable(FilesystemPass::Records, [this](const _ST_FS &filesystem) { keepRecord(filesystem); });
    m_nCurIndex = 1;
    return walked && m_nNFs > 0 ? m_pclObjectBuffer : nullptr;
}

// The records of the pass before serve this one, in the same order: on a host whose mounts stay nothing is allocated.
void CMM_FS_Info::recycleRecords() {
    m_spareRecords.clear();
    try {
        m_spareRecords.reserve(static_cast<std::size_t>(std::max(m_pclObjectBuffer->fGetSize(), 0)));
    } catch (const std::bad_alloc &) { // without a place for them
        fFreeFSObject();
        return;
    }
    for (const auto *node = m_pclObjectBuffer->m_pcllData->fGetEndNode(); node != nullptr; node = node->m_pstPrev) {
        if (node->m_pvdData != nullptr) // null: a caller took the record over
            m_spareRecords.emplace_back(static_cast<_ST_FS *>(node->m_pvdData));
    }
    m_pclObjectBuffer->fFreeObjects();
    m_nCurIndex = 0;
    m_nNFs = 0;
}

std::unique_ptr<_ST_FS> CMM_FS_Info::newRecord() {
    if (m_spareRecords.empty())
        return std::unique_ptr<_ST_FS>(new (std::nothrow) _ST_FS{});
    std::unique_ptr<_ST_FS> record = std::move(m_spareRecords.back());
    m_spareRecords.pop_back();
    return record;
}

void CMM_FS_Info::keepRecord(const _ST_FS &filesystem) {
    std::unique_ptr<_ST_FS> record = newRecord();
    if (record == nullptr)
        return;
    zel::copyFilesystem(filesystem, *record);
    if (m_pclObjectBuffer->fObjectPut(record->l_strFSname, record.get()) == 0)
        return;
    static_cast<void>(record.release()); // the buffer's, until it is freed or recycled
    ++m_nNFs;
}

_ST_FS *CMM_FS_Info::fMGetFileSysNext() {
    if (m_nCurIndex < 1 || m_nCurIndex > m_nNFs)
        return nullptr;
    return static_cast<_ST_FS *>(m_pclObjectBuffer->fGetObject(m_nCurIndex++));
}

// A text pass sets m_nNFs too, so the buffer itself says what there is to free.
void CMM_FS_Info::fFreeFSObject() {
    for (const auto *node = m_pclObjectBuffer->m_pcllData->fGetHeadNode(); node != nullptr; node = node->m_pstNext)
        delete static_cast<_ST_FS *>(node->m_pvdData);
    m_pclObjectBuffer->fFreeObjects();
    m_spareRecords.clear();
    m_nCurIndex = 0;
    m_nNFs = 0;
}

// --- Text pass -----------------------------------------------------------------------------------------------------

int CMM_FS_Info::fGetFileSystem() {
    clearTotals();
    CPerfText text(m_pstrResultData, m_nResultDataSize);
    text.clear();
    zel::writeFilesystemHeader(text);

    int rows = 0;
    const auto addRow = [this, &text, &rows](const _ST_FS &filesystem) {
        zel::writeFilesystemRow(text, ++rows, filesystem);
        addToTotals(filesystem);
    };
    const bool walked = walkMountTable(FilesystemPass::Text, std::cref(addRow)); // by reference: nothing is allocated
    m_nNFs = rows;
    m_nCurIndex = 1;
    if (!walked || rows == 0)
        return -1;
    text.endMarker();
    return text.incomplete() ? -1 : rows;
}

void CMM_FS_Info::clearTotals() {
    m_uFSTotalSizeTotal = m_uFSUseTotal = m_uFSFreeTotal = m_uFSAvailTotal = 0;
    m_uINTotalSizeTotal = m_uINUseTotal = m_uINFreeTotal = m_uINAvailTotal = 0;
}

void CMM_FS_Info::addToTotals(const _ST_FS &filesystem) {
    if (g_nVAGENT_type < 1 || zel::typeOutsideTotals(filesystem.l_strFSType))
        return;
    m_uFSTotalSizeTotal += filesystem.l_ulTotDskSize;
    m_uFSUseTotal += filesystem.l_ulUsdDskSize;
    m_uFSFreeTotal += filesystem.l_ulFreDskSize;
    m_uFSAvailTotal += filesystem.l_ulAvaDskSize;
    m_uINTotalSizeTotal += filesystem.l_ulTotIndSize;
    m_uINUseTotal += filesystem.l_ulUsdIndSize;
    m_uINFreeTotal += filesystem.l_ulFreIndSize;
    m_uINAvailTotal += filesystem.l_ulAvaIndSize;
}

// --- Both passes ---------------------------------------------------------------------------------------------------

// Gives every filesystem that is reported to `take`. False when the mount table cannot be opened, or without memory.
bool CMM_FS_Info::walkMountTable(FilesystemPass pass, const Taker &take) {
    try {
        return takeMounts(pass, take);
    } catch (const std::bad_alloc &) {
        return false;
    }
}

bool CMM_FS_Info::takeMounts(FilesystemPass pass, const Taker &take) {
    zel::NfsWalk nfs;
    if (!nfs.listOpen())
        FS_LOG_ERROR("fopen failed(%s)", zel::NFS_LIST);
    zel::MountTable table(m_mountFile);
    if (!table.isOpen()) {
        FS_LOG_ERROR("setmntent failed(%d)", table.openError());
        return false;
    }

    MountEntry entry;
    _ST_FS filesystem{};
    while (table.next(entry)) {
        const bool remote = zel::isNfs(entry.type);
        if (remote)
            nfs.meet(entry);
        if (!zel::typeReported(entry.type))
            continue;
        if (pass == FilesystemPass::Text && !zel::mountPointReported(entry.mountPoint))
            continue;
        if (remote && !remoteMayBeTouched(entry, nfs))
            continue;
        if (measureEntry(entry, nfs, filesystem))
            take(filesystem);
    }
    if (m_nVMFlag == 1 && m_nIsVMWare == 1)
        addDatastores(pass, take);
    return true;
}

// Lists an NFS mount and says whether it is measured too.
bool CMM_FS_Info::remoteMayBeTouched(const MountEntry &entry, zel::NfsWalk &nfs) {
    if (!nfs.list(entry))
        FS_LOG_ERROR("fputs failed(%s)", zel::NFS_LIST);
    if (m_nNFSFlag != 1)
        return false;
    if (nfs.serverAnswers(entry.device))
        return true;
    FS_LOG_ERROR("NFS Server connect failed(%s)", entry.device);
    return false;
}

bool CMM_FS_Info::measureEntry(const MountEntry &entry, const zel::NfsWalk &nfs, _ST_FS &filesystem) {
    struct statfs64 status {};
    const char *path = fgHostPath(entry.mountPoint);
    const int error = nfs.mayHang(entry.mountPoint) ? zel::statfsRemote(path, status) : zel::statfsLocal(path, status);
    if (error != 0) {
        FS_LOG_ERROR("statfs failed(%d)", error);
        return false;
    }
    if (!zel::namesReported(entry))
        return false;
    zel::copyNames(entry, filesystem);
    zel::measure(status, filesystem);
    return filesystem.l_ulTotDskSize > FS_LARGEST_UNREPORTED;
}

void CMM_FS_Info::addDatastores(FilesystemPass pass, const Taker &take) {
    if (m_nFirstFlag == 0) {
        zel::runDatastoreScript();
        m_nFirstFlag = 1;
    }
    if (zel::readDatastores(take))
        return;
    if (pass == FilesystemPass::Records)
        FS_LOG_ERROR("(FS) VMWare FS Gtr %s file not found", zel::resultPath(zel::Script::Datastores));
    else
        FS_LOG_ERROR("VMWare file not found(%s)", zel::resultPath(zel::Script::Datastores));
}

void CMM_FS_Info::fSetVMFlag(int vmFlag, int isVMware) {
    m_nVMFlag = vmFlag;
    m_nIsVMWare = isVMware;
}

int CMM_FS_Info::fGetFSTokCount(const char *path) const {
    return zel::slashCount(path);
}
