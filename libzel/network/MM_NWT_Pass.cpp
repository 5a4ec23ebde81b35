// One pass over the interfaces in either mode.
#include "network/MM_NWT_Pass.h"

#include "MM_NWT_Info.h"
#include "NGFunctions.h"
#include "Settings.h"
#include "network/InterfaceReader.h"
#include "network/LinkQuery.h"
#include "network/MM_NWT_Extra.h"
#include "network/MM_NWT_Rates.h"
#include "network/MM_NWT_State.h"
#include "network/MM_NWT_Text.h"
#include "network/Readers.h"
#include "records/KeyOrder.h"

#include <cstring>

namespace {

constexpr const char *loopback = "lo";

bool isReported(const char *name) {
    return name[0] != '\0' && std::strcmp(name, loopback) != 0;
}

bool sameName(SSListNode *node, const _ST_STATIC_NETWORK &reading) {
    return CMM_NWT_Info::fCMPInterfaceName(fgListRecord<_ST_STATIC_NETWORK>(node)->l_strIfName, &reading) == 1;
}

void logCounters(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading, const _ST_STATIC_NETWORK &previous) {
    if (!zel::interfaceLogOpen())
        return;
    const auto log = [&collector](const char *counter, unsigned long long before, unsigned long long now) {
        ZEL_LOG(true, zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, collector.m_strLogMsg,
                "OLD_%s[%llu]---> New_%s[%llu]", counter, before, counter, now);
    };
    log("InPkt", previous.l_ulInPkt, reading.l_ulInPkt);
    log("OutPkt", previous.l_ulOutPkt, reading.l_ulOutPkt);
    log("InBytes", previous.l_ulInByte, reading.l_ulInByte);
    log("OutBytes", previous.l_ulOutByte, reading.l_ulOutByte);
}

// What one pass knows: its arguments, its walk, its socket, and where in the previous readings it is.
class InterfacePass {
public:
    InterfacePass(CMM_NWT_Info &collector, zel::NetworkState &state, double elapsed, int push)
        : m_collector(collector), m_elapsed(elapsed), m_push(push), m_text(g_nInterfaceStrType == 1),
          m_gatherExtra(m_text && g_nNetworkExtGather == 1),
          m_reader(push < 1 ? zel::ordinaryReader() : zel::pushReader()), m_query(&m_reader.socket()),
          m_links(state.links), m_lastNode(collector.m_pclList_Old->fSlGetHeadNode()),
          m_lastKey(collector.m_NetworkMap.end()), m_unseen(state.unseen) {}

    CSSList *take();

private:
    bool open();
    bool takeInterfaces();
    bool takeListReading(_ST_STATIC_NETWORK &reading);
    bool takeTextReading(_ST_STATIC_NETWORK &reading);
    void attachBandwidth(_ST_STATIC_NETWORK &reading);
    _ST_STATIC_NETWORK *previousListReading(const _ST_STATIC_NETWORK &reading);
    bool addResult(const _ST_NETWORK &result);
    CSSList *finish();

    CMM_NWT_Info &m_collector;
    const double m_elapsed;
    const int m_push;
    const bool m_text;
    const bool m_gatherExtra;
    zel::InterfaceReader &m_reader;
    zel::LinkQuery m_query;
    zel::KnownLinks &m_links;
    SSListNode *m_lastNode;                                   // found last in m_pclList_Old
    decltype(CMM_NWT_Info::m_NetworkMap)::iterator m_lastKey; // found last in m_NetworkMap
    zel::UnseenInterfaces m_unseen;
    int m_count = 0; // interfaces that gave a result
};

CSSList *InterfacePass::take() {
    if (!open())
        return nullptr;
    if (m_gatherExtra)
        m_unseen.collect(*m_collector.m_pclNetworkExtList);
    if (!takeInterfaces())
        return nullptr; // the table stays open until the next walk
    m_reader.close();
    m_collector.m_nFirstFlag = 1;
    m_collector.m_nInsertFirst = 1;
    if (m_gatherExtra && m_push == 0)
        zel::appendPlaceholderRows(m_collector, m_query);
    m_collector.m_nIfCnt = m_count;
    return finish();
}

// Starts text, walk and list. A table that cannot be opened leaves the list as it is.
bool InterfacePass::open() {
    m_collector.m_nInterfaceZELCnt = 0;
    m_collector.g_stringNetwork.clear();
    if (m_text && !zel::appendInterfaceHeader(m_collector, m_push))
        return false;
    if (m_reader.open() != 0) {
        ZEL_LOG(zel::interfaceErrorLogOpen(), zel::LOG_LEVEL_ERROR, zel::NETWORK_SOURCE_NAME, m_collector.m_strLogMsg,
                "init_netinfo failed");
        return false;
    }
    if (m_text)
        m_links.startPass(m_reader.socket());
    if (m_text || g_nInterfaceStrType == 0)
        m_collector.m_pclList->fSlDeleteAll();
    m_collector.m_pstNextNode = m_collector.m_pclList->fSlGetHeadNode();
    return true;
}

// False when a result of list mode could not be stored.
bool InterfacePass::takeInterfaces() {
    while (const interface *record = m_reader.next()) {
        if (!isReported(record->name))
            continue;
        _ST_STATIC_NETWORK reading{};
        zel::deliverInterface(record, reading.l_strIfName, reading.l_strLinkAlive, &reading.l_ulInPkt,
                              &reading.l_ulOutPkt, &reading.l_ulInByte, &reading.l_ulOutByte, &reading.l_ulInErr,
                              &reading.l_ulOutErr, &reading.l_ulCollisions);
        if (m_text)
            m_count += takeTextReading(reading) ? 1 : 0;
        else if (takeListReading(reading))
            ++m_count;
        else
            return false;
    }
    return true;
}

// Takes one interface in list mode. False when its result could not be stored.
bool InterfacePass::takeListReading(_ST_STATIC_NETWORK &reading) {
    if (m_collector.m_nFirstFlag == 0)
        attachBandwidth(reading);
    _ST_STATIC_NETWORK *previous = previousListReading(reading);
    const _ST_NETWORK *result = zel::computeListResult(m_collector, reading, previous, m_elapsed);
    zel::keepListReading(m_collector, reading, previous);
    return addResult(*result);
}

// Takes one interface in text mode. True when it gave a row: it has a previous reading.
bool InterfacePass::takeTextReading(_ST_STATIC_NETWORK &reading) {
    const int key = ELFHash(reading.l_strIfName);
    const auto known = zel::findNear(m_collector.m_NetworkMap, m_lastKey, key);
    if (m_collector.m_nInsertFirst == 0)
        attachBandwidth(reading);
    else if (known != m_collector.m_NetworkMap.end()) {
        const _ST_NETWORK *result = zel::computeTextResult(m_collector, reading, *known->second, m_elapsed);
        zel::copyInterfaceCounters(reading, *known->second);
        const int linkAlive = m_links.alive(reading.l_strIfName, m_query);
        if (!zel::appendInterfaceRow(m_collector, *result, linkAlive))
            return false;
        if (m_gatherExtra)
            m_unseen.markSeen(reading.l_strIfName);
        addResult(*result); // the text is the result of this mode: it does not fail for the list
        return true;
    }
    if (known == m_collector.m_NetworkMap.end())
        m_collector.m_NetworkMap.emplace(key, std::make_unique<_ST_NETWORK_OLD_LIST>(_ST_NETWORK_OLD_LIST{reading}));
    return false;
}

// Bandwidth and duplex of the list; those of a cleared reading, 0, when the list does not have it.
void InterfacePass::attachBandwidth(_ST_STATIC_NETWORK &reading) {
    constexpr unsigned long long bitsPerKilobit = 1000;
    const _ST_BANDWIDTH_LIST *entry = m_collector.m_pclBandwidthList->fGetInterfaceNode(reading.l_strIfName);
    if (entry == nullptr) {
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_collector.m_strLogMsg,
                "ifname[%s] bw is null", reading.l_strIfName);
        return;
    }
    reading.l_ulBandWidth = static_cast<unsigned long long>(entry->m_lBandwidth) * bitsPerKilobit;
    reading.l_nDuplexFlag = static_cast<unsigned int>(entry->m_nDuplex);
    ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_collector.m_strLogMsg,
            "ifname[%s] Band(%llu) Duplex(%d)", reading.l_strIfName, reading.l_ulBandWidth, entry->m_nDuplex);
}

// The kernel lists the interfaces in the same order in every pass: the node that was found last and the next one are
// tried first. Names are unique in the list, so that the search would find no other.
_ST_STATIC_NETWORK *InterfacePass::previousListReading(const _ST_STATIC_NETWORK &reading) {
    CSSList &list = *m_collector.m_pclList_Old;
    SSListNode *last = m_lastNode; // null: the list was built without memory
    if (last == list.fSlGetHeadNode() || !sameName(last, reading))
        last = last == nullptr ? nullptr : last->l_pstNext;
    if (last == nullptr || !sameName(last, reading))
        last = list.fSlSearch(&reading, sizeof(reading), CMM_NWT_Info::fCMPInterfaceName);
    if (last == nullptr)
        return nullptr;
    m_lastNode = last;
    return fgListRecord<_ST_STATIC_NETWORK>(last);
}

bool InterfacePass::addResult(const _ST_NETWORK &result) {
    return m_collector.m_pclList->fSlInsertFifo(&result, sizeof(result), nullptr) != nullptr;
}

// The result of a pass that reached its end: the first one in text mode is swallowed.
CSSList *InterfacePass::finish() {
    if (!m_text)
        return m_collector.m_pclList;
    m_collector.m_pstrNetworkInfo = m_collector.g_stringNetwork.c_str();
    if (m_collector.m_nZELSkipChk != 0)
        return m_collector.m_pclList;
    m_collector.m_nZELSkipChk = 1;
    m_collector.m_nInterfaceZELCnt = 0;
    return nullptr;
}

} // namespace

namespace zel {

CSSList *takeInterfacePass(CMM_NWT_Info &collector, NetworkState &state, double elapsed, int push) {
    return InterfacePass(collector, state, elapsed, push).take();
}

_ST_NETWORK *computeTextResult(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading,
                               const _ST_STATIC_NETWORK &previous, double elapsed) {
    startInterfaceResult(reading, *collector.m_pstNetworkInfo);
    computeInterfaceRates(reading, previous, elapsed, *collector.m_pstNetworkInfo);
    logCounters(collector, reading, previous);
    return collector.m_pstNetworkInfo;
}

_ST_NETWORK *computeListResult(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading,
                               const _ST_STATIC_NETWORK *previous, double elapsed) {
    if (previous != nullptr)
        computeTextResult(collector, reading, *previous, elapsed);
    else
        startInterfaceResult(reading, *collector.m_pstNetworkInfo);
    ZEL_LOG(interfaceLogOpen(), LOG_LEVEL_NORMAL, NETWORK_SOURCE_NAME, collector.m_strLogMsg, "fMComputeNetwork end");
    return collector.m_pstNetworkInfo;
}

void keepListReading(CMM_NWT_Info &collector, const _ST_STATIC_NETWORK &reading, _ST_STATIC_NETWORK *previous) {
    if (previous != nullptr)
        copyInterfaceCounters(reading, *previous);
    else
        collector.m_pclList_Old->fSlInsertFifo(&reading, sizeof(reading), CMM_NWT_Info::fCMPInterfaceName);
}

} // namespace zel

int CMM_NWT_Info::fCMPInterfaceName(const void *a, const void *b) {
    return std::strcmp(static_cast<const char *>(a), static_cast<const char *>(b)) == 0 ? 1 : 0;
}
