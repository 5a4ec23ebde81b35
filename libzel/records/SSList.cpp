// The ordered list: nodes, searches, insertion and sorting.
#include "SSList.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr int matches = 1;
constexpr int noSize = -1; // before the first record
constexpr int mixedSizes = -2;

const void *recordOf(const SSListNode *node) {
    return node + 1;
}

} // namespace

CSSList::CSSList()
    : m_pstLlHead(nullptr), m_nLlCount(0), m_spare(nullptr), m_spareSize(noSize), m_recordSize(noSize),
      m_tail(nullptr) {
    fSlInit();
}

CSSList::~CSSList() {
    freeSpares();
    std::free(m_pstLlHead);
}

int CSSList::fSlInit() {
    std::free(m_pstLlHead);
    m_pstLlHead = static_cast<SSListNode *>(std::calloc(1, sizeof(SSListNode)));
    m_tail = m_pstLlHead;
    m_nLlCount = 0;
    m_recordSize = noSize;
    return 0;
}

int CSSList::fSlCheckHead() const {
    return m_pstLlHead != nullptr ? 1 : 0;
}

int CSSList::fSlNList() const {
    return m_nLlCount;
}

SSListNode *CSSList::fSlGetHeadNode() const {
    return m_pstLlHead;
}

SSListNode *CSSList::newNode(int size) {
    if (m_recordSize != size)
        m_recordSize = m_recordSize == noSize ? size : mixedSizes;
    if (m_spare != nullptr && m_spareSize == size)
        return std::exchange(m_spare, m_spare->l_pstNext);
    return static_cast<SSListNode *>(std::malloc(sizeof(SSListNode) + static_cast<std::size_t>(size)));
}

void CSSList::freeSpares() {
    while (m_spare != nullptr)
        std::free(std::exchange(m_spare, m_spare->l_pstNext));
}

SSListNode *CSSList::insertAfter(SSListNode *predecessor, const void *record, int size) {
    if (predecessor == nullptr || size < 0)
        return nullptr;
    const auto length = static_cast<std::size_t>(size);
    SSListNode *node = newNode(size);
    if (node == nullptr)
        return nullptr;
    if (length > 0)
        std::memcpy(node + 1, record, length);
    node->l_pstNext = predecessor->l_pstNext;
    predecessor->l_pstNext = node;
    if (m_tail == predecessor)
        m_tail = node;
    ++m_nLlCount;
    return node;
}

SSListNode *CSSList::fSlInsertFifo(const void *record, int size, SSListCompare) {
    return insertAfter(m_tail, record, size);
}

SSListNode *CSSList::fSlInsert(const void *record, int size, SSListCompare cmp) {
    return fSlInsertFifo(record, size, cmp);
}

SSListNode *CSSList::fSlInsertLifo(const void *record, int size, SSListCompare) {
    return insertAfter(m_pstLlHead, record, size);
}

SSListNode *CSSList::fSlInsertFcmp(const void *record, int size, SSListCompare cmp) {
    SSListNode *predecessor = predecessorOfMatch(record, cmp);
    return insertAfter(predecessor != nullptr ? predecessor : m_tail, record, size);
}

SSListNode *CSSList::predecessorOfMatch(const void *key, SSListCompare cmp) const {
    if (m_pstLlHead == nullptr)
        return nullptr;
    for (SSListNode *node = m_pstLlHead; node->l_pstNext != nullptr; node = node->l_pstNext) {
        if (cmp(recordOf(node->l_pstNext), key) == matches)
            return node;
    }
    return nullptr;
}

SSListNode *CSSList::fSlSearch(const void *key, int, SSListCompare cmp) const {
    SSListNode *predecessor = predecessorOfMatch(key, cmp);
    return predecessor != nullptr ? predecessor->l_pstNext : nullptr;
}

// Moves the first node that comes after a greater one to the place before it; false when there is none.
bool CSSList::moveOneForward(SSListCompare cmp) {
    for (SSListNode *before = m_pstLlHead; before->l_pstNext != nullptr; before = before->l_pstNext) {
        SSListNode *current = before->l_pstNext;
        for (SSListNode *previous = current; previous->l_pstNext != nullptr; previous = previous->l_pstNext) {
            SSListNode *later = previous->l_pstNext;
            if (cmp(recordOf(current), recordOf(later)) <= 0)
                continue;
            previous->l_pstNext = later->l_pstNext;
            if (m_tail == later)
                m_tail = previous;
            later->l_pstNext = current;
            before->l_pstNext = later;
            return true;
        }
    }
    return false;
}

SSListNode *CSSList::fSlSort(const void *, int, SSListCompare cmp) {
    if (m_pstLlHead == nullptr)
        return nullptr;
    while (moveOneForward(cmp)) {
    }
    return nullptr;
}

SSListNode *CSSList::fSlDelete(const void *key, int, SSListCompare cmp) {
    if (m_pstLlHead == nullptr || m_pstLlHead->l_pstNext == nullptr) {
        --m_nLlCount;
        return nullptr;
    }
    SSListNode *predecessor = predecessorOfMatch(key, cmp);
    if (predecessor == nullptr)
        return nullptr;
    SSListNode *found = predecessor->l_pstNext;
    predecessor->l_pstNext = found->l_pstNext;
    if (m_tail == found)
        m_tail = predecessor;
    std::free(found);
    return predecessor;
}

SSListNode *CSSList::fSlDelete(const void *key, int size, SSListCompare cmp, int *count) {
    *count = 0;
    while (fSlDelete(key, size, cmp) != nullptr)
        ++*count;
    return nullptr;
}

// Collectors empty a list to fill it anew with records of the same size: the nodes are kept for that.
SSListNode **CSSList::fSlDeleteAll() {
    m_nLlCount = 0;
    if (m_pstLlHead == nullptr)
        return nullptr;
    if (m_pstLlHead->l_pstNext != nullptr) {
        if (m_spareSize != m_recordSize)
            freeSpares();
        m_tail->l_pstNext = m_spare;
        m_spare = std::exchange(m_pstLlHead->l_pstNext, nullptr);
        m_spareSize = m_recordSize;
        if (m_recordSize == mixedSizes)
            freeSpares();
    }
    m_tail = m_pstLlHead;
    m_recordSize = noSize;
    return &m_pstLlHead->l_pstNext;
}
