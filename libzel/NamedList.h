// NamedList: the doubly linked list keyed by interface name that CBandwidthList and CNetworkExtList are made of.
//
// The list owns its nodes, each a copy of what was added. Names are compared exactly; a name beyond the 31 characters
// of its field is cut when it is added. A name that is present is not added again unless m_nDupFlag is set. The cursor
// stays on a node of the list whatever is deleted. Not thread-safe.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

inline constexpr std::size_t NAMED_LIST_NAME_SIZE = 32;
inline constexpr std::size_t NAMED_LIST_ERROR_SIZE = 256;
inline constexpr int NAMED_LIST_APPEND = 1;  // new names go to the end
inline constexpr int NAMED_LIST_PREPEND = 2; // new names go to the front
inline constexpr long NAMED_LIST_MAXIMUM = 90000;

/// `Node` has m_strIFName, m_pstNext and m_pstPrev beside its values. `Texts::allocationFailed` writes the message for
/// a node that finds no memory.
template<typename Node, typename Texts> class NamedList {
public:
    NamedList() = default;
    ~NamedList() { fFreeAll(); }

    NamedList(const NamedList &) = delete;
    NamedList &operator=(const NamedList &) = delete;

    // Adding --------------------------------------------------------------------------------------------------------

    /// Adds a copy of `node`. Returns 1; 0 when its name is present and m_nDupFlag is 0; -1 for null or without memory,
    /// with m_nErrorCode and m_strErrorMsg set.
    int fAddNode(const Node *node);

    /// Where `node` belongs: 1, with `position` null (append) or the head (prepend) after m_nListOrderType; 0 when its
    /// name is present, with `position` that node. Another order type gives 1 and leaves `position` as it is.
    int fSearchInsertPosition(const Node *node, Node **position) const;

    // Looking up ----------------------------------------------------------------------------------------------------

    /// The first node of that name, or null.
    Node *fGetNode(const char *name) const;
    Node *fGetInterfaceNode(const char *name) const { return fGetNode(name); }

    // Removing: a cursor on a removed node moves to the previous node, from the head to the next ---------------------

    /// Removes every node of that name. Returns 1 when there was one, else 0.
    int fDeleteNode(const char *name);
    int fDelLinkedList(const char *name) { return fDeleteNode(name); }
    /// Unlinks and frees one node of this list. Returns 1; 0 for null.
    int fDeleteLinkedList(Node *node);
    /// Frees all nodes and returns their number.
    long fFreeAll();
    long fClearLinkedList() { return fFreeAll(); }

    // Cursor --------------------------------------------------------------------------------------------------------

    Node *fGetNode() const { return m_pstCurPosition; }
    Node *fGetHeadNode() const { return m_pstHead; }
    Node *fGetEndNode() const { return m_pstEnd; }
    /// Set the cursor. Return 1 when the list is not empty, else 0.
    int fMoveFirst();
    int fMoveLast();
    /// Return the node at the cursor, or null, and then move the cursor.
    Node *fMoveNext();
    Node *fMovePrev();

    // Counts and errors ---------------------------------------------------------------------------------------------

    long fGetNodeCnt() const { return m_lNodeCnt; }
    long fGetLinkedListCnt() const { return m_lNodeCnt; }
    void fNodeCntInc() { ++m_lNodeCnt; }
    void fNodeCntDec() { --m_lNodeCnt; }
    /// The declared maximum, which is not enforced.
    long fGetNodeMaxCnt() const { return m_lNodeMaxCnt; }
    int fGetErrorCode() const { return m_nErrorCode; }
    const char *fGetErrorMsg() const { return m_strErrorMsg; }

    int m_nErrorCode = 0; // -1 or an errno value
    char m_strErrorMsg[NAMED_LIST_ERROR_SIZE] = {};
    Node *m_pstHead = nullptr;
    Node *m_pstEnd = nullptr;
    Node *m_pstCurPosition = nullptr;
    int m_nListOrderType = NAMED_LIST_APPEND;
    long m_lNodeCnt = 0;
    long m_lNodeMaxCnt = NAMED_LIST_MAXIMUM;
    int m_nDupFlag = 0;

protected:
    /// Puts `name` into the cleared `node`. False, with the line on standard output, when there is none.
    static bool nameNode(const char *name, Node &node);

private:
    void linkBefore(Node *node, Node *position);
    void linkAtEnd(Node *node);
};

template<typename Node, typename Texts> bool NamedList<Node, Texts>::nameNode(const char *name, Node &node) {
    if (name == nullptr || name[0] == '\0') {
        std::printf("l_pstrIFName is null or length <= 0 \n");
        return false;
    }
    std::memcpy(node.m_strIFName, name, strnlen(name, sizeof(node.m_strIFName) - 1));
    return true;
}

template<typename Node, typename Texts> int NamedList<Node, Texts>::fAddNode(const Node *node) {
    if (node == nullptr) {
        m_nErrorCode = -1;
        std::snprintf(m_strErrorMsg, sizeof(m_strErrorMsg), "[-1] Add node is NULL");
        return -1;
    }
    Node added = *node;
    added.m_strIFName[sizeof(added.m_strIFName) - 1] = '\0';
    Node *position = nullptr;
    if (fSearchInsertPosition(&added, &position) == 0 && m_nDupFlag == 0)
        return 0;

    auto *copy = static_cast<Node *>(std::malloc(sizeof(Node)));
    if (copy == nullptr) {
        m_nErrorCode = errno;
        Texts::allocationFailed(m_strErrorMsg, m_nErrorCode);
        return -1;
    }
    *copy = added;
    if (position == nullptr)
        linkAtEnd(copy);
    else
        linkBefore(copy, position);
    fNodeCntInc();
    return 1;
}

template<typename Node, typename Texts>
int NamedList<Node, Texts>::fSearchInsertPosition(const Node *node, Node **position) const {
    if (m_nListOrderType != NAMED_LIST_APPEND && m_nListOrderType != NAMED_LIST_PREPEND)
        return 1;
    Node *present = fGetNode(node->m_strIFName);
    if (present != nullptr) {
        *position = present;
        return 0;
    }
    *position = m_nListOrderType == NAMED_LIST_PREPEND ? m_pstHead : nullptr;
    return 1;
}

template<typename Node, typename Texts> void NamedList<Node, Texts>::linkAtEnd(Node *node) {
    node->m_pstNext = nullptr;
    node->m_pstPrev = m_pstEnd;
    if (m_pstEnd != nullptr)
        m_pstEnd->m_pstNext = node;
    else
        m_pstHead = m_pstCurPosition = node;
    m_pstEnd = node;
}

template<typename Node, typename Texts> void NamedList<Node, Texts>::linkBefore(Node *node, Node *position) {
    node->m_pstNext = position;
    node->m_pstPrev = position->m_pstPrev;
    if (position->m_pstPrev != nullptr)
        position->m_pstPrev->m_pstNext = node;
    else
        m_pstHead = node;
    position->m_pstPrev = node;
}

template<typename Node, typename Texts> Node *NamedList<Node, Texts>::fGetNode(const char *name) const {
    if (name == nullptr)
        return nullptr;
    for (Node *node = m_pstHead; node != nullptr; node = node->m_pstNext) {
        if (std::strcmp(node->m_strIFName, name) == 0)
            return node;
    }
    return nullptr;
}

template<typename Node, typename Texts> int NamedList<Node, Texts>::fDeleteNode(const char *name) {
    Node *node = fGetNode(name);
    if (node == nullptr)
        return 0;
    const Node wanted = *node; // the caller's name may be that of a node that is freed here
    while (node != nullptr) {
        Node *next = node->m_pstNext;
        if (std::strcmp(node->m_strIFName, wanted.m_strIFName) == 0)
            fDeleteLinkedList(node);
        node = next;
    }
    return 1;
}

template<typename Node, typename Texts> int NamedList<Node, Texts>::fDeleteLinkedList(Node *node) {
    if (node == nullptr)
        return 0;
    if (m_pstCurPosition == node)
        m_pstCurPosition = node->m_pstPrev != nullptr ? node->m_pstPrev : node->m_pstNext;
    if (node->m_pstPrev != nullptr)
        node->m_pstPrev->m_pstNext = node->m_pstNext;
    else
        m_pstHead = node->m_pstNext;
    if (node->m_pstNext != nullptr)
        node->m_pstNext->m_pstPrev = node->m_pstPrev;
    else
        m_pstEnd = node->m_pstPrev;
    std::free(node);
    fNodeCntDec();
    return 1;
}

template<typename Node, typename Texts> long NamedList<Node, Texts>::fFreeAll() {
    long freed = 0;
    for (Node *node = m_pstHead; node != nullptr; ++freed) {
        Node *next = node->m_pstNext;
        std::free(node);
        node = next;
    }
    m_pstHead = m_pstEnd = m_pstCurPosition = nullptr;
    m_lNodeCnt = 0;
    return freed;
}

template<typename Node, typename Texts> int NamedList<Node, Texts>::fMoveFirst() {
    m_pstCurPosition = m_pstHead;
    return m_pstCurPosition != nullptr ? 1 : 0;
}

template<typename Node, typename Texts> int NamedList<Node, Texts>::fMoveLast() {
    m_pstCurPosition = m_pstEnd;
    return m_pstCurPosition != nullptr ? 1 : 0;
}

template<typename Node, typename Texts> Node *NamedList<Node, Texts>::fMoveNext() {
    Node *node = m_pstCurPosition;
    if (node != nullptr)
        m_pstCurPosition = node->m_pstNext;
    return node;
}

template<typename Node, typename Texts> Node *NamedList<Node, Texts>::fMovePrev() {
    Node *node = m_pstCurPosition;
    if (node != nullptr)
        m_pstCurPosition = node->m_pstPrev;
    return node;
}
