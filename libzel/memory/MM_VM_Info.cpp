// Turns two readings of the VM counters into rates, and writes the push text.
#include "MM_VM_Info.h"

#include "PerfText.h"
#include "Settings.h"
#include "functions/ElapsedTime.h"
#include "memory/VmFiles.h"
#include "rates/Growth.h"

#include <cstdlib>
#include <cstring>

CMM_VM_Info::CMM_VM_Info()
    : m_pclUtil(new CSSUtil), m_nFirstFlag(0), m_pdVM{}, m_pdPAGE_AVG{}, m_plOldVM{},
      m_pStrRealTimePageZEL(fgNewTextBuffer(PERF_PUSH_SIZE)), m_nGatherCount(0), m_nPageRealZELSize(PERF_PUSH_SIZE),
      m_dElapsedTime(0), m_stOldIoTime{}, m_files(std::make_unique<zel::VmFiles>()) {
    fgSetPushSplit(m_strPushSplit);
    fSetElapsedTime();
}

CMM_VM_Info::~CMM_VM_Info() {
    delete m_pclUtil;
    std::free(m_pStrRealTimePageZEL);
}

double *CMM_VM_Info::fMGetVmStat(double elapsed) {
    long counters[VM_SLOTS] = {};
    if (fMGetStat(counters) == 0 || fMGetRunque(counters) == 0)
        return nullptr;

    int growth[VM_SLOTS];
    CSSUtil::fGetAddition(VM_SLOTS, growth, counters, m_plOldVM);
    for (int slot = 0; slot < VM_SLOTS; ++slot)
        m_pdVM[slot] = zel::risePerSecond(growth[slot], elapsed);
    m_pdVM[VM_RUN_QUEUE] = static_cast<double>(counters[VM_RUN_QUEUE]);

    if (m_nFirstFlag == 0) {
        m_nFirstFlag = 1;
        return nullptr;
    }
    return m_pdVM;
}

double *CMM_VM_Info::fMVelmorGetPage(int flag) {
    const double *sample = fMGetVmStat(fSetElapsedTime());
    if (sample == nullptr)
        return nullptr;
    if (flag < 1)
        return m_pdVM;

    CPerfText push(m_pStrRealTimePageZEL, m_nPageRealZELSize, CPerfText::Growth::Fixed);
    push.clear();
    push.agentKey(g_ptrAgentKey);
    push.metric("4.9.1.0", m_pdVM[VM_PAGED_IN_KB]);
    push.metric("4.9.2.0", m_pdVM[VM_PAGED_OUT_KB]);
    push.metric("4.9.5.0", m_pdVM[VM_FAULTS]);
    push.metric("4.9.6.0", m_pdVM[VM_SWITCHES]);
    push.metric("4.9.11.0", m_pdVM[VM_PAGE_INS]);
    push.metric("4.9.12.0", m_pdVM[VM_PAGE_OUTS]);
    return m_pdVM;
}

int CMM_VM_Info::fMGetVelmorRunque() {
    long counters[VM_SLOTS] = {};
    return fMGetRunque(counters) == 0 ? 0 : static_cast<int>(counters[VM_RUN_QUEUE]);
}

double CMM_VM_Info::fSetElapsedTime() {
    m_dElapsedTime = zel::elapsedSince(m_stOldIoTime);
    return m_dElapsedTime;
}
