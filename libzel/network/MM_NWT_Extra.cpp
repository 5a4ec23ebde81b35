// The extra interfaces of CMM_NWT_Info: those of the inventory, which the performance text covers even when the kernel
// does not list them.
#include "MM_NWT_Info.h"

#include "Settings.h"
#include "network/LinkQuery.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace {

constexpr const char *sourceName = "MM_NWT_Info";
constexpr int valueColumns = 13;
constexpr std::string_view noValue = "-";

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
        ZEL_LOG(zel::loggerInstalled(), zel::LOG_LEVEL_NORMAL, sourceName, m_strLogMsg, "fSetExtNetwork[%s]", name);
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

// Most extra interfaces were seen in an earlier pass and keep their mark: a pass looks for the others only.
void CMM_NWT_Info::collectUnseen() {
    m_unseen.clear();
    if (g_nNetworkExtGather != 1)
        return;
    for (_ST_NETWORKEXT_LIST *node = m_pclNetworkExtList->fGetHeadNode(); node != nullptr; node = node->m_pstNext) {
        if (node->m_nZELFlag != 1)
            m_unseen.push_back(node);
    }
}

// As fMatchNicName, for the pass under way.
void CMM_NWT_Info::markSeen(const char *name) {
    const auto found = std::find_if(m_unseen.begin(), m_unseen.end(), [name](const _ST_NETWORKEXT_LIST *node) {
        return std::strcmp(node->m_strIFName, name) == 0;
    });
    if (found == m_unseen.end())
        return;
    (*found)->m_nZELFlag = 1;
    m_unseen.erase(found);
}

int CMM_NWT_Info::fAddExtNicZEL() {
    try {
        appendExtraRows();
    } catch (const std::bad_alloc &) { // the text keeps the rows that it has
    }
    return 0;
}

void CMM_NWT_Info::appendExtraRows() {
    zel::LinkQuery ownQuery;
    zel::LinkQuery &query = m_linkQuery != nullptr ? *m_linkQuery : ownQuery;
    for (const _ST_NETWORKEXT_LIST *node = m_pclNetworkExtList->fGetHeadNode(); node != nullptr;
         node = node->m_pstNext) {
        if (node->m_nZELFlag == 1)
            continue;
        CPerfText row(m_pStrInterfaceZEL, m_nInterfaceZELSize);
        row.clear();
        row.beginRow();
        row.field(m_nInterfaceZELCnt + 1);
        row.field(node->m_strIFName);
        row.field(query.alive(node->m_strIFName));
        for (int column = 0; column < valueColumns; ++column)
            row.field(noValue);
        if (row.incomplete())
            continue;
        appendText(row.view());
        ++m_nInterfaceZELCnt;
    }
}
