// CSSList: a singly linked list of copied records after a dummy head node.
//
// The list owns its nodes, each a link followed by a copy of the caller's record; pointers inside a record are copied
// as they are and never freed. Collectors keep the results of a pass in it, and callers walk it:
//
//   for (SSListNode *node = list->fSlGetHeadNode()->l_pstNext; node != nullptr; node = node->l_pstNext)
//       use(fgListRecord<_ST_DISKIO>(node));
//
// Matching: a comparison function gets a stored record and the caller's record, in this order. Only the result 1 is a
// match; 0 and negative results are none. Failures (no memory, nothing found) are null. Not thread-safe.
#pragma once

#include <cstddef>

/// A node: the record follows the link.
struct SSListNode {
    SSListNode *l_pstNext;
};

/// The record of a node.
template<typename Record> Record *fgListRecord(SSListNode *node) {
    static_assert(alignof(Record) <= alignof(SSListNode), "the record comes directly after the link");
    return reinterpret_cast<Record *>(node + 1);
}

using SSListCompare = int (*)(const void *stored, const void *record);

class CSSList {
public:
    CSSList();
    /// Frees the head alone: call fSlDeleteAll first.
    ~CSSList();

    CSSList(const CSSList &) = delete;
    CSSList &operator=(const CSSList &) = delete;

    /// Starts anew with a head and no nodes; nodes of before are forgotten, not freed. Returns 0, also without memory:
    /// then there is no head and every insertion fails.
    int fSlInit();
    /// 1 when the head exists, else 0.
    int fSlCheckHead() const;

    /// Insertions since the list was last emptied, less one for every deletion that found it empty. A deletion that
    /// removes a node does not count, so that this is no number of nodes once something was deleted.
    int fSlNList() const;
    /// The dummy head; its link is the first node.
    SSListNode *fSlGetHeadNode() const;

    /// Appends a copy of `size` bytes of `record`; `cmp` is not used. Returns the node.
    SSListNode *fSlInsertFifo(const void *record, int size, SSListCompare cmp);
    /// The same.
    SSListNode *fSlInsert(const void *record, int size, SSListCompare cmp);
    /// Makes the copy the first node.
    SSListNode *fSlInsertLifo(const void *record, int size, SSListCompare cmp);
    /// Puts the copy before the first stored record that matches, else at the end.
    SSListNode *fSlInsertFcmp(const void *record, int size, SSListCompare cmp);

    /// Sorts in place, ascending by `cmp`; the other arguments are not used. Returns null. For every node the later
    /// ones are scanned; the first that compares below it moves directly before it and the pass starts again from the
    /// first node, which settles the order of equal records.
    SSListNode *fSlSort(const void *record, int size, SSListCompare cmp);

    /// The first node that matches; `size` is not used.
    SSListNode *fSlSearch(const void *key, int size, SSListCompare cmp) const;

    /// Deletes the first node that matches and returns its predecessor (the head for the first node). Deleting from an
    /// empty list returns null and lowers the count, even below 0.
    SSListNode *fSlDelete(const void *key, int size, SSListCompare cmp);
    /// Deletes every match and stores their number in `count`. Returns null.
    SSListNode *fSlDelete(const void *key, int size, SSListCompare cmp, int *count);
    /// Frees every node and sets the count to 0. Returns the address of the head's link. The memory of records that
    /// were all of one size serves later ones until the list is destroyed.
    SSListNode **fSlDeleteAll();

    SSListNode *m_pstLlHead; // the dummy head
    int m_nLlCount;

private:
    SSListNode *predecessorOfMatch(const void *key, SSListCompare cmp) const;
    SSListNode *insertAfter(SSListNode *predecessor, const void *record, int size);
    bool moveOneForward(SSListCompare cmp);
    SSListNode *newNode(int size);
    void freeSpares();

    SSListNode *m_spare; // chain of nodes that fSlDeleteAll removed
    int m_spareSize;     // of their records
    int m_recordSize;    // of the records since the list was last emptied; mixedSizes when they differ
    SSListNode *m_tail;  // the last node, the head of an empty list: appending is the common case
};
