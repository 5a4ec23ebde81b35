// Construction, clocks and single operations of the interface collector.
#include "MM_NWT_Info.h"

#include "Settings.h"
#include "functions/ElapsedTime.h"
#include "network/LinkQuery.h"
#include "network/MM_NWT_Pass.h"
#include "network/MM_NWT_State.h"
#include "scripts/HomeScripts.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr const char *noInventoryYet = "1";

void allocateTextBuffer(char *&text, int &size) {
    text = fgNewTextBuffer(PERF_TABLE_SIZE);
    size = text == nullptr ? 0 : PERF_TABLE_SIZE;
}

// Inventory texts, row buffer and inventory files: text mode alone has them.
void prepareTextMode(CMM_NWT_Info &collector) {
    allocateTextBuffer(collector.m_pStrInterfaceZEL, collector.m_nInterfaceZELSize);
    allocateTextBuffer(collector.m_pStrInterfaceINV, collector.m_nInterfaceINVSize);
    allocateTextBuffer(collector.m_pStrInterfaceNewINV, collector.m_nInterfaceINVNewSize);
    allocateTextBuffer(collector.m_pstrInterfaceName, collector.m_nInterfaceNameSize);
    allocateTextBuffer(collector.m_pStrRealTimeNICZEL, collector.m_nInterfaceRealZELSize);
    if (collector.m_pstrInterfaceName != nullptr)
        std::strcpy(collector.m_pstrInterfaceName, noInventoryYet);
    std::strcpy(collector.m_strDataPath, zel::resultPath(zel::Script::InterfaceInventory));
    std::strcpy(collector.m_strDataNewPath, zel::NEW_INTERFACE_INVENTORY);
}

} // namespace

CMM_NWT_Info::CMM_NWT_Info()
    : m_pclList(new CSSList), m_pclList_Old(new CSSList), m_pclUtil(new CSSUtil), m_pstNextNode(nullptr),
      m_pstNetworkInfo(new ST_NETTRAFF{}), m_stOldIoTime{}, m_stOldVelmorIoTime{}, m_nIfCnt(0),
      m_nFirstFlag(0), m_strLogMsg{}, m_strSplit{}, m_strPushSplit{}, m_nInterfaceZELCnt(0),
      m_pStrInterfaceZEL(nullptr), m_nInterfaceZELSize(0), m_nZELSkipChk(0), m_pstrNetworkInfo(nullptr),
      m_pclBandwidthList(new CBandwidthList), m_pclNetworkExtList(nullptr), m_dElapsedTime(0.0),
      m_nInsertFirst(0), m_strDataPath{}, m_strDataNewPath{}, m_pStrInterfaceINV(nullptr), m_nInterfaceINVSize(0),
      m_pStrInterfaceNewINV(nullptr), m_nInterfaceINVNewSize(0), m_nInterfaceINVCnt(0), m_pstrInterfaceName(nullptr),
      m_nInterfaceNameSize(0), m_pStrRealTimeNICZEL(nullptr), m_nInterfaceRealZELSize(0),
      m_state(std::make_unique<zel::NetworkState>()) {
    if (g_nLinuxBandwidthFlag == 1)
        fGetNewBandwidthDuplex();
    else
        fGetBandwidth();
    if (g_nInterfaceStrType == 1)
        prepareTextMode(*this);
    fgSetTableSplit(m_strSplit);
    fgSetPushSplit(m_strPushSplit);
    fSetElapsedTime();
    m_pclNetworkExtList = new CNetworkExtList;
}

CMM_NWT_Info::~CMM_NWT_Info() {
    m_pclList->fSlDeleteAll();
    m_pclList_Old->fSlDeleteAll();
    delete m_pclList;
    delete m_pclList_Old;
    delete m_pclUtil;
    delete m_pstNetworkInfo;
    delete m_pclBandwidthList;
    delete m_pclNetworkExtList;
    for (char *text :
         {m_pStrInterfaceZEL, m_pStrInterfaceINV, m_pStrInterfaceNewINV, m_pstrInterfaceName, m_pStrRealTimeNICZEL})
        std::free(text);
}

int CMM_NWT_Info::fSetElapsedTime() {
    m_dElapsedTime = zel::elapsedSince(m_stOldVelmorIoTime);
    return 1;
}

CSSList *CMM_NWT_Info::fMGetNetworkStat() {
    return fMGetNetworkStat(zel::elapsedSince(m_stOldIoTime), -1);
}

CSSList *CMM_NWT_Info::fMGetVelmorNetworkStat(int push) {
    fSetElapsedTime();
    return fMGetNetworkStat(m_dElapsedTime, push);
}

// Without memory a pass ends like one whose table cannot be opened.
CSSList *CMM_NWT_Info::fMGetNetworkStat(double elapsed, int push) {
    try {
        return zel::takeInterfacePass(*this, *m_state, elapsed, push);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

_ST_NETWORK *CMM_NWT_Info::fMGetNetworkStatNext() {
    if (m_pstNextNode != nullptr)
        m_pstNextNode = m_pstNextNode->l_pstNext;
    return m_pstNextNode == nullptr ? nullptr : fgListRecord<_ST_NETWORK>(m_pstNextNode);
}

ST_NETTRAFF *CMM_NWT_Info::fMNetComputeIo(const _ST_STATIC_NETWORK *reading, const _ST_NETWORK_OLD_LIST *previous,
                                          double elapsed) {
    return zel::computeTextResult(*this, *reading, *previous, elapsed);
}

ST_NETTRAFF *CMM_NWT_Info::fMComputeNetwork(const _ST_STATIC_NETWORK *reading, double elapsed) {
    return zel::computeListResult(*this, *reading, fMGetOldCompNetwork(reading), elapsed);
}

_ST_STATIC_NETWORK *CMM_NWT_Info::fMGetOldCompNetwork(const _ST_STATIC_NETWORK *reading) {
    SSListNode *found = m_pclList_Old->fSlSearch(reading, sizeof(*reading), fCMPInterfaceName);
    return found == nullptr ? nullptr : fgListRecord<_ST_STATIC_NETWORK>(found);
}

int CMM_NWT_Info::fMSetOldCompNetwork(const _ST_STATIC_NETWORK *reading) {
    zel::keepListReading(*this, *reading, fMGetOldCompNetwork(reading));
    return 1;
}

int CMM_NWT_Info::fGetLinkAlive(const char *name) {
    return zel::LinkQuery().alive(name);
}
