// The process collector: what it owns, and its two samples.
#include "MM_PROC_Info.h"

#include "process/MM_PROC_RealTime.h"
#include "process/MM_PROC_Scan.h"
#include "process/ProcessText.h"

#include <cstdlib>
#include <new>

CMM_PROC_Info::CMM_PROC_Info()
    : m_pclUser(new CSSUser), m_pclUtil(new CSSUtil), m_pstrProcessInfo(fgNewTextBuffer(PERF_TABLE_SIZE)),
      m_nProcessInfoBufSize(PERF_TABLE_SIZE), m_nNProc(0), m_nCpuCnt(0), m_nVMFlag(0), m_nIsVMWare(0),
      m_tTime(0), m_strUpTime{}, m_nInsertFirst(0), m_nNewCount(0), m_pstrPollProcInfo(nullptr),
      m_pstrProcReturn(nullptr), m_stLastTime{}, m_strPushSplit{}, m_nActiveSize(PROC_PUSH_CAPACITY),
      m_stAllProcList(nullptr), m_strLogMsg{}, m_state(new zel::ProcessState) {
    fgSetPushSplit(m_strPushSplit);
}

CMM_PROC_Info::~CMM_PROC_Info() {
    for (auto &sample : m_ProcMap)
        delete sample.second;
    std::free(m_pstrProcessInfo);
    delete m_pclUtil;
    delete m_pclUser;
}

const char *CMM_PROC_Info::fMGetProc(int mode) {
    try {
        return zel::scanProcesses(*this, *m_state, mode);
    } catch (const std::bad_alloc &) {
        return zel::abandonScan(*this);
    }
}

const char *CMM_PROC_Info::fMGetRealProc() {
    try {
        return zel::listRealProcesses(*this, *m_state);
    } catch (const std::bad_alloc &) {
        return zel::abandonScan(*this);
    }
}

void CMM_PROC_Info::fMClearRealProc() {
    g_stringPollProcess.clear();
}

void CMM_PROC_Info::fSetVMFlag(int vmFlag, int isVMWare) {
    m_nVMFlag = vmFlag;
    m_nIsVMWare = isVMWare;
}
