// The extra interfaces of CMM_NWT_Info: those of the inventory, which the performance text covers even when the kernel
// does not list them.
#include "network/MM_NWT_Extra.h"

#include "MM_NWT_Info.h"
#include "network/LinkQuery.h"
#include "network/MM_NWT_State.h"
#include "network/MM_NWT_Text.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace {

// More interfaces than any host has: an inventory gone wild does not occupy the collector for ever.
constexpr long listLimit = 10000;

// Takes the text before the next `separator` off `rest`; false when nothing is left. A separator at the end leaves one
// more, empty text.
bool takeToken(std::string_view &rest, std::string_view separator, std::string_view &token) {
    if (rest.data() == nullptr)
        return false;
    const std::size_t end = rest.find(separator);
    token = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + separator.size());
    return true;
}

} // namespace

// Sample, R and C being the separators:  INDEX C NAME C  R 1 C eth0 C 00:16:3e:00:00:01 C  R 2 C eth1 C ...
int CMM_NWT_Info::fSetExtNetwork(const char *text) {
    m_pclNetworkExtList->fFreeAll();
    std::string_view rest = text == nullptr ? "" : text;
    std::string_view row;
    takeToken(rest, m_strSplit[0], row); // the header
    while (m_pclNetworkExtList->fGetNodeCnt() < listLimit && takeToken(rest, m_strSplit[0], row)) {
        std::string_view field;
        if (!takeToken(row, m_strSplit[1], field) || !takeToken(row, m_strSplit[1], field) || field.empty())
            continue;
        char name[NAMED_LIST_NAME_SIZE];
        name[field.copy(name, sizeof(name) - 1)] = '\0';
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, zel::NETWORK_SOURCE_NAME, m_strLogMsg,
                "fSetExtNetwork[%s]", name);
        m_pclNetworkExtList->fAddLinkedList(name);
    }
    return 0;
}

int CMM_NWT_Info::fMatchNicName(const char *name) {
    _ST_NETWORKEXT_LIST *node = m_pclNetworkExtList->fGetNode(name);
    if (node != nullptr)
        node->m_nZELFlag = 1;
    return 0;
}

int CMM_NWT_Info::fAddExtNicZEL() {
    zel::LinkQuery links;
    zel::appendPlaceholderRows(*this, links);
    return 0;
}

namespace zel {

void UnseenInterfaces::collect(const CNetworkExtList &list) {
    m_nodes.clear();
    for (_ST_NETWORKEXT_LIST *node = list.fGetHeadNode(); node != nullptr; node = node->m_pstNext) {
        if (node->m_nZELFlag != 1)
            m_nodes.push_back(node);
    }
}

void UnseenInterfaces::markSeen(const char *name) {
    const auto found = std::find_if(m_nodes.begin(), m_nodes.end(), [name](const _ST_NETWORKEXT_LIST *node) {
        return std::strcmp(node->m_strIFName, name) == 0;
    });
    if (found == m_nodes.end())
        return;
    (*found)->m_nZELFlag = 1;
    m_nodes.erase(found);
}

void appendPlaceholderRows(CMM_NWT_Info &collector, LinkQuery &links) {
    try {
        for (const _ST_NETWORKEXT_LIST *node = collector.m_pclNetworkExtList->fGetHeadNode(); node != nullptr;
             node = node->m_pstNext) {
            if (node->m_nZELFlag != 1)
                appendPlaceholderRow(collector, node->m_strIFName, links.alive(node->m_strIFName));
        }
    } catch (const std::bad_alloc &) { // the text keeps the rows that it has
    }
}

} // namespace zel
