// The linked list: insertion by order, removal, and the cursor that survives both.
#include "ObjectList.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

struct zel::ObjectListState {
    ST_OBJECTLIST_LNKLST_ *lastFound = nullptr; // by findUnique; a node of the list or null
    ST_OBJECTLIST_LNKLST_ *spare = nullptr;     // chain of nodes that fFreeAll removed, for nodes to come
};

namespace {

using Node = ST_OBJECTLIST_LNKLST_;

bool knownOrder(int orderType) {
    return orderType >= OBJECTLIST_APPEND && orderType <= OBJECTLIST_DESCENDING;
}

template<typename Predicate> Node *firstNode(Node *head, Predicate matches) {
    Node *node = head;
    while (node != nullptr && !matches(node->m_nIndex))
        node = node->m_pstNext;
    return node;
}

Node *newNode(zel::ObjectListState &state) {
    if (state.spare == nullptr)
        return static_cast<Node *>(std::malloc(sizeof(Node)));
    return std::exchange(state.spare, state.spare->m_pstNext);
}

// A null position is the end. The first node of a list takes the cursor.
void linkBefore(CObjectList &list, Node *node, Node *position) {
    Node *previous = position == nullptr ? list.m_pstEnd : position->m_pstPrev;
    node->m_pstPrev = previous;
    node->m_pstNext = position;
    (previous == nullptr ? list.m_pstHead : previous->m_pstNext) = node;
    (position == nullptr ? list.m_pstEnd : position->m_pstPrev) = node;
    if (previous == nullptr && position == nullptr)
        list.m_pstCurPosition = node;
}

void unlinkAndFree(CObjectList &list, zel::ObjectListState &state, Node *node) {
    if (list.m_pstCurPosition == node)
        list.m_pstCurPosition = node == list.m_pstHead ? node->m_pstNext : node->m_pstPrev;
    if (state.lastFound == node)
        state.lastFound = nullptr;
    (node->m_pstPrev == nullptr ? list.m_pstHead : node->m_pstPrev->m_pstNext) = node->m_pstNext;
    (node->m_pstNext == nullptr ? list.m_pstEnd : node->m_pstNext->m_pstPrev) = node->m_pstPrev;
    std::free(node);
    list.fNodeCntDec();
}

} // namespace

CObjectList::CObjectList(int orderType, long maximum, int duplicates)
    : m_nErrorCode(0), m_strErrorMsg{}, m_pstHead(nullptr), m_pstEnd(nullptr), m_pstCurPosition(nullptr),
      m_nListOrderType(knownOrder(orderType) ? orderType : OBJECTLIST_ASCENDING), m_lNodeCnt(0), m_lNodeMaxCnt(maximum),
      m_nDupFlag(duplicates == 0 ? 0 : 1), m_state(std::make_unique<zel::ObjectListState>()) {}

CObjectList::~CObjectList() {
    fFreeAll();
    for (Node *spare = m_state->spare; spare != nullptr;)
        std::free(std::exchange(spare, spare->m_pstNext));
}

// The position is set whatever the result: it tells a caller where the duplicate's place would be.
int CObjectList::fSearchInsertPosition(const Node *node, Node **position) const {
    if (node == nullptr || position == nullptr)
        return 0;
    const int index = node->m_nIndex;
    *position = m_nDupFlag == 0 ? fGetNode(index) : nullptr;
    const int insertable = *position == nullptr ? 1 : 0;

    switch (m_nListOrderType) {
    case OBJECTLIST_APPEND:
        *position = nullptr;
        break;
    case OBJECTLIST_PREPEND:
        *position = m_pstHead;
        break;
    case OBJECTLIST_ASCENDING:
        *position = firstNode(m_pstHead, [index](int other) { return other > index; });
        break;
    case OBJECTLIST_DESCENDING:
        *position = firstNode(m_pstHead, [index](int other) { return other < index; });
        break;
    default: // an order that was assigned from outside: the node goes before its duplicate, else to the end
        break;
    }
    return insertable;
}

int CObjectList::fAddNode(const Node *node) {
    if (node == nullptr) {
        m_nErrorCode = -1;
        std::snprintf(m_strErrorMsg, sizeof(m_strErrorMsg), "[-1] Add node is NULL");
        return -1;
    }
    Node *position = nullptr;
    if (fSearchInsertPosition(node, &position) == 0)
        return 0;

    Node *added = newNode(*m_state);
    if (added == nullptr) {
        m_nErrorCode = errno;
        std::snprintf(m_strErrorMsg, sizeof(m_strErrorMsg), "[%d] %s", m_nErrorCode, std::strerror(m_nErrorCode));
        return -1;
    }
    added->m_nIndex = node->m_nIndex;
    added->m_pvdData = node->m_pvdData;
    linkBefore(*this, added, position);
    fNodeCntInc();
    return 1;
}

// After the head was removed the walk goes on from the new head's successor: consumers of the list expect one removal
// at the front.
int CObjectList::fDeleteNode(int index) {
    int removed = 0;
    Node *node = m_pstHead;
    while (node != nullptr) {
        Node *next = node->m_pstNext;
        if (node->m_nIndex == index) {
            if (node == m_pstHead && next != nullptr)
                next = next->m_pstNext; // the new head is passed over
            unlinkAndFree(*this, *m_state, node);
            removed = 1;
        }
        node = next;
    }
    return removed;
}

Node *CObjectList::fGetNode(int index) const {
    return firstNode(m_pstHead, [index](int other) { return other == index; });
}

// Look-ups mostly come in the order of the list: the node after the last one found is tried first.
Node *CObjectList::findUnique(int index) {
    Node *next = m_state->lastFound == nullptr ? nullptr : m_state->lastFound->m_pstNext;
    Node *node = next != nullptr && next->m_nIndex == index ? next : fGetNode(index);
    if (node != nullptr)
        m_state->lastFound = node;
    return node;
}

int CObjectList::fMoveFirst() {
    m_pstCurPosition = m_pstHead;
    return m_pstHead != nullptr ? 1 : 0;
}

int CObjectList::fMoveLast() {
    m_pstCurPosition = m_pstEnd;
    return m_pstEnd != nullptr ? 1 : 0;
}

Node *CObjectList::fMoveNext() {
    Node *node = m_pstCurPosition;
    if (node != nullptr)
        m_pstCurPosition = node->m_pstNext;
    return node;
}

Node *CObjectList::fMovePrev() {
    Node *node = m_pstCurPosition;
    if (node != nullptr)
        m_pstCurPosition = node->m_pstPrev;
    return node;
}

// A list is often emptied to be filled again: its nodes are kept for that.
void CObjectList::fFreeAll() {
    if (m_pstHead != nullptr) {
        m_pstEnd->m_pstNext = std::exchange(m_state->spare, m_pstHead);
    }
    m_pstHead = m_pstEnd = m_pstCurPosition = m_state->lastFound = nullptr;
    m_lNodeCnt = 0;
}
