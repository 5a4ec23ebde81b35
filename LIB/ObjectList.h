// CObjectList: a doubly linked list of (index, untyped pointer) pairs with a chosen insertion order, a rule for equal
// indexes, a cursor, and the error of the last failed insertion.
//
// The list owns its nodes, never what their data pointers refer to. Results say whether an operation succeeded; nothing
// is logged. Not thread-safe: callers serialise access.
#pragma once

#include <cstddef>
#include <memory>

namespace zel {
struct ObjectListState;
}

struct ST_OBJECTLIST_LNKLST_ {
    int m_nIndex;
    void *m_pvdData;
    ST_OBJECTLIST_LNKLST_ *m_pstNext;
    ST_OBJECTLIST_LNKLST_ *m_pstPrev;
};

inline constexpr int OBJECTLIST_APPEND = 1;     // new nodes at the end
inline constexpr int OBJECTLIST_PREPEND = 2;    // new nodes at the front
inline constexpr int OBJECTLIST_ASCENDING = 3;  // by index, equal ones in the order of their insertion
inline constexpr int OBJECTLIST_DESCENDING = 4; // the same, largest index first

inline constexpr long OBJECTLIST_DEFAULT_MAXIMUM = 1000000000;
inline constexpr std::size_t OBJECTLIST_ERROR_SIZE = 256;

class CObjectList {
public:
    /// An empty list. An order type outside 1..4 becomes OBJECTLIST_ASCENDING. Equal indexes are refused with a
    /// `duplicates` of 0 and allowed with any other value. The maximum is kept and reported, but never enforced.
    explicit CObjectList(int orderType = OBJECTLIST_ASCENDING, long maximum = OBJECTLIST_DEFAULT_MAXIMUM,
                         int duplicates = 1);
    ~CObjectList();

    CObjectList(const CObjectList &) = delete;
    CObjectList &operator=(const CObjectList &) = delete;

    /// Inserts a copy of the index and the data pointer of `node`. Returns 1; 0 when the index is refused as a
    /// duplicate, which is no error; -1 for a null node or without memory, with error code and message set.
    int fAddNode(const ST_OBJECTLIST_LNKLST_ *node);

    /// Removes the nodes with `index`: 1 when there was one, else 0. A cursor on a removed node moves to the node
    /// before it, or to the new head. A node that becomes the head because the head was removed is not looked at, so
    /// deleting 4 from 4, 4, 6 leaves 4, 6: consumers count on one removal at the front.
    int fDeleteNode(int index);

    /// The first node with `index`, from the head, or null.
    ST_OBJECTLIST_LNKLST_ *fGetNode(int index) const;
    /// The node with `index`, or null, in a list that holds no index twice. Looking up one node after the other costs
    /// no walk. The cursor stays.
    ST_OBJECTLIST_LNKLST_ *findUnique(int index);
    /// The node under the cursor, or null.
    ST_OBJECTLIST_LNKLST_ *fGetNode() const { return m_pstCurPosition; }
    ST_OBJECTLIST_LNKLST_ *fGetHeadNode() const { return m_pstHead; }
    ST_OBJECTLIST_LNKLST_ *fGetEndNode() const { return m_pstEnd; }

    /// Set the cursor to the head or to the end: 1, or 0 when the list is empty.
    int fMoveFirst();
    int fMoveLast();
    /// Return the node under the cursor and move the cursor to its neighbour; null, without moving, when the cursor is
    /// null. fMoveFirst and then fMoveNext until null visits every node.
    ST_OBJECTLIST_LNKLST_ *fMoveNext();
    ST_OBJECTLIST_LNKLST_ *fMovePrev();

    /// Removes every node; the data stays. Their memory serves later nodes until the list is destroyed.
    void fFreeAll();

    long fGetNodeCnt() const { return m_lNodeCnt; }
    long fGetNodeMaxCnt() const { return m_lNodeMaxCnt; }
    int fGetErrorCode() const { return m_nErrorCode; }
    const char *fGetErrorMsg() const { return m_strErrorMsg; }
    void fNodeCntInc() { ++m_lNodeCnt; }
    void fNodeCntDec() { --m_lNodeCnt; }

    /// Where fAddNode puts `node`: `*position` is the node that it goes before, null for the end. Returns 1, or 0 when
    /// the index would be refused as a duplicate (the position is set all the same) or an argument is null.
    int fSearchInsertPosition(const ST_OBJECTLIST_LNKLST_ *node, ST_OBJECTLIST_LNKLST_ **position) const;

    int m_nErrorCode; // errno of the last failure, or -1
    char m_strErrorMsg[OBJECTLIST_ERROR_SIZE];
    ST_OBJECTLIST_LNKLST_ *m_pstHead;
    ST_OBJECTLIST_LNKLST_ *m_pstEnd;
    ST_OBJECTLIST_LNKLST_ *m_pstCurPosition; // the cursor
    int m_nListOrderType;                    // OBJECTLIST_...
    long m_lNodeCnt;
    long m_lNodeMaxCnt;
    int m_nDupFlag; // 1: equal indexes allowed, 0: refused

private:
    std::unique_ptr<zel::ObjectListState> m_state;
};
