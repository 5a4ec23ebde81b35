#include "MM_NWT_Info.h"

#include "NGFunctions.h"
#include "Settings.h"
#include "functions/ElapsedTime.h"
#include "network.h"
#include "network/LinkQuery.h"
#include "push_network.h"
#include "records/KeyOrder.h"
#include "scripts/HomeScripts.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr const char *sourceName = "MM_NWT_Info";
constexpr const char *loopback = "lo";

constexpr const char *inventoryPath = zel::resultPath(zel::Script::InterfaceInventory);
constexpr const char *newInventoryPath = zel::NEW_INTERFACE_INVENTORY;
constexpr const char *noInventoryYet = "1";

using Counter = unsigned long long *;

struct Walk {
    int (*open)();
    int (*next)(char *, char *, Counter, Counter, Counter, Counter, Counter, Counter, Counter, Counter);
    int (*close)();
    const int &socket; // open from open() to close(), then -1
};

constexpr Walk ordinaryWalk{init_netinfo, get_next_netinfo, fin_netinfo, skfd};
constexpr Walk pushWalk{init_push_netinfo, get_push_next_netinfo, fin_push_netinfo, l_nPushskfd};

bool readNext(const Walk &walk, _ST_STATIC_NETWORK &reading) {
    reading = {};
    unsigned long long spare = 0;
    return walk.next(reading.l_strIfName, reading.l_strLinkAlive, &reading.l_ulInPkt, &reading.l_ulOutPkt,
                     &reading.l_ulInByte, &reading.l_ulOutByte, &reading.l_ulInErr, &reading.l_ulOutErr,
                     &reading.l_ulCollisions, &spare) == 0;
}

bool isReported(const char *name) {
    return name[0] != '\0' && std::strcmp(name, loopback) != 0;
}

bool textMode() {
    return g_nInterfaceStrType == 1;
}

const char *nameOf(SSListNode *node) {
    return fgListRecord<_ST_STATIC_NETWORK>(node)->l_strIfName;
}

// Lends a value to a member for the length of a scope.
template<typename Value> class Lend {
public:
    Lend(Value &member, Value value) : m_member(member) { m_member = value; }
    ~Lend() { m_member = Value{}; }
    Lend(const Lend &) = delete;
    Lend &operator=(const Lend &) = delete;

private:
    Value &m_member;
};

} // namespace

CMM_NWT_Info::CMM_NWT_Info()
    : m_pclList(new CSSList), m_pclList_Old(new CSSList), m_pclUtil(new CSSUtil), m_pstNextNode(nullptr),
      m_pstNetworkInfo(new ST_NETTRAFF{}), m_stOldIoTime{}, m_stOldVelmorIoTime{}, m_nIfCnt(0),
      m_nFirstFlag(0), m_strLogMsg{}, m_strSplit{}, m_strPushSplit{}, m_nInterfaceZELCnt(0),
      m_pStrInterfaceZEL(nullptr), m_nInterfaceZELSize(0), m_nZELSkipChk(0), m_pstrNetworkInfo(nullptr),
      m_pclBandwidthList(new CBandwidthList), m_pclNetworkExtList(nullptr), m_dElapsedTime(0.0),
      m_nInsertFirst(0), m_strDataPath{}, m_strDataNewPath{}, m_pStrInterfaceINV(nullptr), m_nInterfaceINVSize(0),
      m_pStrInterfaceNewINV(nullptr), m_nInterfaceINVNewSize(0), m_nInterfaceINVCnt(0), m_pstrInterfaceName(nullptr),
      m_nInterfaceNameSize(0), m_pStrRealTimeNICZEL(nullptr), m_nInterfaceRealZELSize(0) {
    if (g_nLinuxBandwidthFlag == 1)
        fGetNewBandwidthDuplex();
    else
        fGetBandwidth();
    if (textMode())
        allocateTextBuffers();
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

void CMM_NWT_Info::allocateTextBuffers() {
    const auto allocate = [](char *&text, int &size) {
        text = fgNewTextBuffer(PERF_TABLE_SIZE);
        size = text == nullptr ? 0 : PERF_TABLE_SIZE;
    };
    allocate(m_pStrInterfaceZEL, m_nInterfaceZELSize);
    allocate(m_pStrInterfaceINV, m_nInterfaceINVSize);
    allocate(m_pStrInterfaceNewINV, m_nInterfaceINVNewSize);
    allocate(m_pstrInterfaceName, m_nInterfaceNameSize);
    allocate(m_pStrRealTimeNICZEL, m_nInterfaceRealZELSize);
    if (m_pstrInterfaceName != nullptr)
        std::strcpy(m_pstrInterfaceName, noInventoryYet);
    std::strcpy(m_strDataPath, inventoryPath);
    std::strcpy(m_strDataNewPath, newInventoryPath);
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
        return takePass(elapsed, push);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CSSList *CMM_NWT_Info::takePass(double elapsed, int push) {
    const bool text = textMode();
    const Walk &walk = push < 1 ? ordinaryWalk : pushWalk;
    m_nInterfaceZELCnt = 0;
    g_stringNetwork.clear();
    if (text && !appendHeader(push))
        return nullptr;
    if (walk.open() != 0) {
        ZEL_LOG(zel::errorLogOpen(zel::LOG_MODULE_LAB, zel::LOG_DETAIL_LAB6), zel::LOG_LEVEL_ERROR, sourceName,
                m_strLogMsg, "init_netinfo failed");
        return nullptr;
    }
    if (text || g_nInterfaceStrType == 0)
        m_pclList->fSlDeleteAll();
    m_pstNextNode = m_pclList->fSlGetHeadNode();

    zel::LinkQuery query(&walk.socket);
    const Lend<zel::LinkQuery *> lentQuery(m_linkQuery, &query);
    const Lend<SSListNode *> lentNode(m_lastFound, m_pclList_Old->fSlGetHeadNode());
    m_lastKey = m_NetworkMap.end();
    collectUnseen();
    int count = 0;
    for (_ST_STATIC_NETWORK reading; readNext(walk, reading);) {
        if (!isReported(reading.l_strIfName))
            continue;
        if (text)
            count += takeTextReading(reading, elapsed) ? 1 : 0;
        else if (takeListReading(reading, elapsed))
            ++count;
        else
            return nullptr; // the table stays open until the next walk
    }
    walk.close();
    m_nFirstFlag = 1;
    m_nInsertFirst = 1;

    if (push == 0 && text && g_nNetworkExtGather == 1)
        fAddExtNicZEL();
    m_nIfCnt = count;
    if (!text)
        return m_pclList;
    m_pstrNetworkInfo = g_stringNetwork.c_str();
    if (m_nZELSkipChk != 0)
        return m_pclList;
    m_nZELSkipChk = 1;
    m_nInterfaceZELCnt = 0;
    return nullptr;
}

// Takes one interface in list mode. False when its result could not be stored.
bool CMM_NWT_Info::takeListReading(_ST_STATIC_NETWORK &reading, double elapsed) {
    if (m_nFirstFlag == 0)
        attachBandwidth(reading);
    const _ST_NETWORK *result = fMComputeNetwork(&reading, elapsed);
    fMSetOldCompNetwork(&reading);
    return addResult(*result);
}

// Takes one interface in text mode. True when it gave a row: it has a previous reading.
bool CMM_NWT_Info::takeTextReading(_ST_STATIC_NETWORK &reading, double elapsed) {
    const int key = ELFHash(reading.l_strIfName);
    const auto known = zel::findBehind(m_NetworkMap, m_lastKey, key);
    if (m_nInsertFirst == 0)
        attachBandwidth(reading);
    else if (known != m_NetworkMap.end()) {
        const _ST_NETWORK *result = fMNetComputeIo(&reading, known->second.get(), elapsed);
        zel::copyInterfaceCounters(reading, *known->second);
        if (!appendRow(*result))
            return false;
        if (g_nNetworkExtGather == 1)
            markSeen(reading.l_strIfName);
        addResult(*result); // the text is the result of this mode: it does not fail for the list
        return true;
    }
    if (known == m_NetworkMap.end())
        m_NetworkMap.emplace(key, std::make_unique<_ST_NETWORK_OLD_LIST>(_ST_NETWORK_OLD_LIST{reading}));
    return false;
}

// Bandwidth and duplex of the list; those of a cleared reading, 0, when the list does not have it.
void CMM_NWT_Info::attachBandwidth(_ST_STATIC_NETWORK &reading) {
    constexpr unsigned long long bitsPerKilobit = 1000;
    const _ST_BANDWIDTH_LIST *entry = m_pclBandwidthList->fGetInterfaceNode(reading.l_strIfName);
    if (entry == nullptr) {
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, sourceName, m_strLogMsg, "ifname[%s] bw is null",
                reading.l_strIfName);
        return;
    }
    reading.l_ulBandWidth = static_cast<unsigned long long>(entry->m_lBandwidth) * bitsPerKilobit;
    reading.l_nDuplexFlag = static_cast<unsigned int>(entry->m_nDuplex);
    ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, sourceName, m_strLogMsg, "ifname[%s] Band(%llu) Duplex(%d)",
            reading.l_strIfName, reading.l_ulBandWidth, entry->m_nDuplex);
}

bool CMM_NWT_Info::addResult(const _ST_NETWORK &result) {
    return m_pclList->fSlInsertFifo(&result, sizeof(result), nullptr) != nullptr;
}

_ST_NETWORK *CMM_NWT_Info::fMGetNetworkStatNext() {
    if (m_pstNextNode != nullptr)
        m_pstNextNode = m_pstNextNode->l_pstNext;
    return m_pstNextNode == nullptr ? nullptr : fgListRecord<_ST_NETWORK>(m_pstNextNode);
}

// The kernel lists the interfaces in the same order in every pass: during one, the node that was found last and the one
// behind it are tried first. Names are unique in the list, so that the search would find no other.
_ST_STATIC_NETWORK *CMM_NWT_Info::fMGetOldCompNetwork(const _ST_STATIC_NETWORK *reading) {
    SSListNode *head = m_pclList_Old->fSlGetHeadNode();
    SSListNode *found = nullptr;
    if (m_lastFound != nullptr) {
        if (m_lastFound != head && fCMPInterfaceName(nameOf(m_lastFound), reading) == 1)
            found = m_lastFound;
        else if (m_lastFound->l_pstNext != nullptr && fCMPInterfaceName(nameOf(m_lastFound->l_pstNext), reading) == 1)
            found = m_lastFound->l_pstNext;
    }
    if (found == nullptr)
        found = m_pclList_Old->fSlSearch(reading, sizeof(*reading), fCMPInterfaceName);
    if (found == nullptr)
        return nullptr;
    if (m_lastFound != nullptr)
        m_lastFound = found;
    return fgListRecord<_ST_STATIC_NETWORK>(found);
}

int CMM_NWT_Info::fMSetOldCompNetwork(const _ST_STATIC_NETWORK *reading) {
    _ST_STATIC_NETWORK *previous = fMGetOldCompNetwork(reading);
    if (previous != nullptr)
        zel::copyInterfaceCounters(*reading, *previous);
    else
        m_pclList_Old->fSlInsertFifo(reading, sizeof(*reading), fCMPInterfaceName);
    return 1;
}

int CMM_NWT_Info::fCMPInterfaceName(const void *a, const void *b) {
    return std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b)) == 0 ? 1 : 0;
}

int CMM_NWT_Info::fGetLinkAlive(const char *name) {
    if (m_linkQuery != nullptr)
        return m_linkQuery->alive(name);
    zel::LinkQuery query;
    return query.alive(name);
}
