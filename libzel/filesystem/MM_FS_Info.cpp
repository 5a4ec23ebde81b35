// The record pass and the text pass: what becomes of the filesystems that a walk over the mount table gives.
#include "MM_FS_Info.h"

#include "Settings.h"
#include "filesystem/MM_FS_Pass.h"
#include "filesystem/MM_FS_Text.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

using zel::FilesystemPass;

namespace {

using Records = std::vector<std::unique_ptr<_ST_FS>>;

// The records of the pass before serve this one, in the same order: on a host whose mounts stay nothing is allocated.
void recycleRecords(CMM_FS_Info &collector, Records &spares) {
    spares.clear();
    try {
        spares.reserve(static_cast<std::size_t>(std::max(collector.m_pclObjectBuffer->fGetSize(), 0)));
    } catch (const std::bad_alloc &) { // without a place for them
        collector.fFreeFSObject();
        return;
    }
    const auto *node = collector.m_pclObjectBuffer->m_pcllData->fGetEndNode();
    for (; node != nullptr; node = node->m_pstPrev) {
        if (node->m_pvdData != nullptr) // null: a caller took the record over
            spares.emplace_back(static_cast<_ST_FS *>(node->m_pvdData));
    }
    collector.m_pclObjectBuffer->fFreeObjects();
    collector.m_nCurIndex = 0;
    collector.m_nNFs = 0;
}

std::unique_ptr<_ST_FS> newRecord(Records &spares) {
    if (spares.empty())
        return std::unique_ptr<_ST_FS>(new (std::nothrow) _ST_FS{});
    std::unique_ptr<_ST_FS> record = std::move(spares.back());
    spares.pop_back();
    return record;
}

void keepRecord(CMM_FS_Info &collector, Records &spares, const _ST_FS &filesystem) {
    std::unique_ptr<_ST_FS> record = newRecord(spares);
    if (record == nullptr)
        return;
    zel::copyFilesystem(filesystem, *record);
    if (collector.m_pclObjectBuffer->fObjectPut(record->l_strFSname, record.get()) == 0)
        return;
    static_cast<void>(record.release()); // the buffer's, until it is freed or recycled
    ++collector.m_nNFs;
}

void clearTotals(CMM_FS_Info &collector) {
    collector.m_uFSTotalSizeTotal = collector.m_uFSUseTotal = 0;
    collector.m_uFSFreeTotal = collector.m_uFSAvailTotal = 0;
    collector.m_uINTotalSizeTotal = collector.m_uINUseTotal = 0;
    collector.m_uINFreeTotal = collector.m_uINAvailTotal = 0;
}

void addToTotals(CMM_FS_Info &collector, const _ST_FS &filesystem) {
    if (g_nVAGENT_type < 1 || zel::typeOutsideTotals(filesystem.l_strFSType))
        return;
    collector.m_uFSTotalSizeTotal += filesystem.l_ulTotDskSize;
    collector.m_uFSUseTotal += filesystem.l_ulUsdDskSize;
    collector.m_uFSFreeTotal += filesystem.l_ulFreDskSize;
    collector.m_uFSAvailTotal += filesystem.l_ulAvaDskSize;
    collector.m_uINTotalSizeTotal += filesystem.l_ulTotIndSize;
    collector.m_uINUseTotal += filesystem.l_ulUsdIndSize;
    collector.m_uINFreeTotal += filesystem.l_ulFreIndSize;
    collector.m_uINAvailTotal += filesystem.l_ulAvaIndSize;
}

} // namespace

CMM_FS_Info::CMM_FS_Info()
    : m_pclObjectBuffer(nullptr), m_nNFs(0), m_nCurIndex(0), m_nNFSFlag(0), m_pstrResultData(nullptr),
      m_nResultDataSize(0), m_nVMFlag(0), m_nIsVMWare(0), m_nFirstFlag(0), m_strLogMsg{},
      m_state(std::make_unique<zel::FilesystemState>()) {
    fgSetTableSplit(m_strSplit);
    clearTotals(*this);
    m_pclObjectBuffer = new CObjectBuffer; // after what may throw, so that nothing of it leaks
    m_pstrResultData = fgNewTextBuffer(PERF_TABLE_SIZE);
    m_nResultDataSize = m_pstrResultData == nullptr ? 0 : PERF_TABLE_SIZE;
}

CMM_FS_Info::~CMM_FS_Info() {
    fFreeFSObject();
    delete m_pclObjectBuffer;
    std::free(m_pstrResultData);
}

// --- Record pass ---------------------------------------------------------------------------------------------------

CObjectBuffer *CMM_FS_Info::fMGetFileSys() {
    const zel::FilesystemTaker keep{
        [this] { recycleRecords(*this, m_state->spareRecords); },
        [this](const _ST_FS &filesystem) { keepRecord(*this, m_state->spareRecords, filesystem); }};
    const bool walked = zel::MountPass(FilesystemPass::Records, *this, *m_state, keep).run();
    m_nCurIndex = 1;
    return walked && m_nNFs > 0 ? m_pclObjectBuffer : nullptr;
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
    m_state->spareRecords.clear();
    m_nCurIndex = 0;
    m_nNFs = 0;
}

// --- Text pass -----------------------------------------------------------------------------------------------------

int CMM_FS_Info::fGetFileSystem() {
    CPerfText text(m_pstrResultData, m_nResultDataSize);
    int rows = 0;
    const auto startText = [this, &text, &rows] {
        clearTotals(*this);
        text.clear();
        zel::writeFilesystemHeader(text);
        rows = 0;
    };
    const auto addRow = [this, &text, &rows](const _ST_FS &filesystem) {
        zel::writeFilesystemRow(text, ++rows, filesystem);
        addToTotals(*this, filesystem);
    };
    const zel::FilesystemTaker take{std::cref(startText), std::cref(addRow)}; // by reference: nothing is allocated
    const bool walked = zel::MountPass(FilesystemPass::Text, *this, *m_state, take).run();
    m_nNFs = rows;
    m_nCurIndex = 1;
    if (!walked || rows == 0)
        return -1;
    text.endMarker();
    return text.incomplete() ? -1 : rows;
}

void CMM_FS_Info::fSetVMFlag(int vmFlag, int isVMware) {
    m_nVMFlag = vmFlag;
    m_nIsVMWare = isVMware;
}

int CMM_FS_Info::fGetFSTokCount(const char *path) const {
    return zel::slashCount(path);
}
