// The ordered list: its orders, duplicates and links.
#include "ObjectList.h"
#include "SystemHooks.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Indexes = std::vector<int>;

int add(CObjectList &list, int index, void *data = nullptr) {
    const ST_OBJECTLIST_LNKLST_ node{index, data, nullptr, nullptr};
    return list.fAddNode(&node);
}

std::unique_ptr<CObjectList> listOf(const Indexes &indexes, int orderType = OBJECTLIST_APPEND) {
    auto list = std::make_unique<CObjectList>(orderType);
    for (const int index : indexes)
        EXPECT_EQ(add(*list, index), 1);
    return list;
}

// Walks both ways, so that every link is checked.
Indexes indexesOf(const CObjectList &list) {
    Indexes forward;
    for (const auto *node = list.fGetHeadNode(); node != nullptr; node = node->m_pstNext)
        forward.push_back(node->m_nIndex);
    Indexes backward;
    for (const auto *node = list.fGetEndNode(); node != nullptr; node = node->m_pstPrev)
        backward.insert(backward.begin(), node->m_nIndex);
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(list.fGetNodeCnt(), static_cast<long>(forward.size()));
    return forward;
}

TEST(ObjectList, IsMadeEmptyWithItsDefaults) {
    const CObjectList list;

    EXPECT_EQ(list.m_nListOrderType, 3);
    EXPECT_EQ(list.fGetNodeMaxCnt(), 1000000000L);
    EXPECT_EQ(list.m_nDupFlag, 1);
    EXPECT_EQ(list.fGetNodeCnt(), 0);
    EXPECT_EQ(list.fGetErrorCode(), 0);
    EXPECT_STREQ(list.fGetErrorMsg(), "");
    EXPECT_EQ(list.fGetHeadNode(), nullptr);
    EXPECT_EQ(list.fGetEndNode(), nullptr);
    EXPECT_EQ(list.fGetNode(), nullptr);
}

TEST(ObjectList, TakesOrderMaximumAndDuplicateRuleFromItsConstructor) {
    EXPECT_EQ(CObjectList(2).m_nListOrderType, 2);
    EXPECT_EQ(CObjectList(4, 7).fGetNodeMaxCnt(), 7);
    EXPECT_EQ(CObjectList(1, 7, 0).m_nDupFlag, 0);
    EXPECT_EQ(CObjectList(1, 7, 1).m_nDupFlag, 1);
    EXPECT_EQ(CObjectList(1, 7, 5).m_nDupFlag, 1);
    EXPECT_EQ(CObjectList(1, 7, -1).m_nDupFlag, 1);
}

TEST(ObjectList, AnUnknownOrderTypeIsAscending) {
    EXPECT_EQ(CObjectList(0).m_nListOrderType, 3);
    EXPECT_EQ(CObjectList(5).m_nListOrderType, 3);
    EXPECT_EQ(CObjectList(-1).m_nListOrderType, 3);
}

TEST(ObjectList, KeepsEachOrder) {
    const Indexes input = {5, 3, 5, 1};

    EXPECT_EQ(indexesOf(*listOf(input, OBJECTLIST_APPEND)), (Indexes{5, 3, 5, 1}));
    EXPECT_EQ(indexesOf(*listOf(input, OBJECTLIST_PREPEND)), (Indexes{1, 5, 3, 5}));
    EXPECT_EQ(indexesOf(*listOf(input, OBJECTLIST_ASCENDING)), (Indexes{1, 3, 5, 5}));
    EXPECT_EQ(indexesOf(*listOf(input, OBJECTLIST_DESCENDING)), (Indexes{5, 5, 3, 1}));
}

TEST(ObjectList, EqualIndexesStandInTheOrderOfTheirInsertion) {
    int first = 0;
    int second = 0;
    for (const int order : {OBJECTLIST_ASCENDING, OBJECTLIST_DESCENDING}) {
        CObjectList list(order);
        add(list, 5, &first);
        add(list, 5, &second);

        EXPECT_EQ(list.fGetHeadNode()->m_pvdData, &first);
        EXPECT_EQ(list.fGetEndNode()->m_pvdData, &second);
        EXPECT_EQ(list.fGetNode(5)->m_pvdData, &first);
    }
}

TEST(ObjectList, RefusesADuplicateWithoutAnError) {
    for (const int order : {1, 2, 3, 4}) {
        CObjectList list(order, 10, 0);

        EXPECT_EQ(add(list, 7), 1);
        EXPECT_EQ(add(list, 7), 0);

        EXPECT_EQ(indexesOf(list), Indexes{7});
        EXPECT_EQ(list.fGetErrorCode(), 0);
        EXPECT_STREQ(list.fGetErrorMsg(), "");
    }
}

TEST(ObjectList, TheMaximumIsKeptButNotEnforced) {
    CObjectList list(OBJECTLIST_APPEND, 1);

    EXPECT_EQ(add(list, 1), 1);
    EXPECT_EQ(add(list, 2), 1);

    EXPECT_EQ(list.fGetNodeMaxCnt(), 1);
    EXPECT_EQ(list.fGetNodeCnt(), 2);
}

TEST(ObjectList, CopiesIndexAndDataOnly) {
    CObjectList list;
    int data = 0;
    ST_OBJECTLIST_LNKLST_ stranger{};
    ST_OBJECTLIST_LNKLST_ node{3, &data, &stranger, &stranger};

    ASSERT_EQ(list.fAddNode(&node), 1);

    const ST_OBJECTLIST_LNKLST_ *held = list.fGetHeadNode();
    EXPECT_NE(held, &node);
    EXPECT_EQ(held->m_nIndex, 3);
    EXPECT_EQ(held->m_pvdData, &data);
    EXPECT_EQ(held->m_pstNext, nullptr);
    EXPECT_EQ(held->m_pstPrev, nullptr);
}

TEST(ObjectList, ANullNodeIsAnError) {
    CObjectList list;

    EXPECT_EQ(list.fAddNode(nullptr), -1);

    EXPECT_EQ(list.fGetErrorCode(), -1);
    EXPECT_STREQ(list.fGetErrorMsg(), "[-1] Add node is NULL");
    EXPECT_EQ(list.fGetNodeCnt(), 0);
}

TEST(ObjectList, FailedAllocationIsAnErrorWithTheSystemsText) {
    CObjectList list;
    systemHooks().failAllocationAfter = 0;

    EXPECT_EQ(add(list, 1), -1);

    EXPECT_EQ(list.fGetErrorCode(), ENOMEM);
    EXPECT_STREQ(list.fGetErrorMsg(), "[12] Cannot allocate memory");
    EXPECT_EQ(list.fGetNodeCnt(), 0);
}

// --- Position ------------------------------------------------------------------------------------------------------

TEST(ObjectListPosition, DependsOnTheOrderOnly) {
    const ST_OBJECTLIST_LNKLST_ node{4, nullptr, nullptr, nullptr};
    // 5 and 3 are in the list: ascending 3, 5 and descending 5, 3.
    for (const auto &[order, expected] : std::vector<std::pair<int, int>>{
             {OBJECTLIST_PREPEND, 3}, {OBJECTLIST_ASCENDING, 5}, {OBJECTLIST_DESCENDING, 3}}) {
        const auto list = listOf({5, 3}, order);
        ST_OBJECTLIST_LNKLST_ *position = nullptr;

        EXPECT_EQ(list->fSearchInsertPosition(&node, &position), 1);

        ASSERT_NE(position, nullptr) << order;
        EXPECT_EQ(position->m_nIndex, expected) << order;
    }
}

TEST(ObjectListPosition, IsNullForTheEnd) {
    ST_OBJECTLIST_LNKLST_ stale{};
    for (const auto &[order, index] : std::vector<std::pair<int, int>>{
             {OBJECTLIST_APPEND, 4}, {OBJECTLIST_ASCENDING, 9}, {OBJECTLIST_DESCENDING, 1}}) {
        const auto list = listOf({5, 3}, order);
        const ST_OBJECTLIST_LNKLST_ node{index, nullptr, nullptr, nullptr};
        ST_OBJECTLIST_LNKLST_ *position = &stale;

        EXPECT_EQ(list->fSearchInsertPosition(&node, &position), 1);
        EXPECT_EQ(position, nullptr) << order;
    }
}

TEST(ObjectListPosition, ADuplicateIsReportedAndThePositionSetAllTheSame) {
    CObjectList list(OBJECTLIST_ASCENDING, 10, 0);
    add(list, 3);
    add(list, 5);
    const ST_OBJECTLIST_LNKLST_ node{3, nullptr, nullptr, nullptr};
    ST_OBJECTLIST_LNKLST_ *position = nullptr;

    EXPECT_EQ(list.fSearchInsertPosition(&node, &position), 0);
    EXPECT_EQ(position, list.fGetNode(5));
}

TEST(ObjectListPosition, AnOrderAssignedFromOutsideLeavesWhatTheDuplicateSearchFound) {
    CObjectList list(OBJECTLIST_APPEND, 10, 0);
    add(list, 3);
    add(list, 5);
    list.m_nListOrderType = 9;
    ST_OBJECTLIST_LNKLST_ node{3, nullptr, nullptr, nullptr};
    ST_OBJECTLIST_LNKLST_ *position = nullptr;

    EXPECT_EQ(list.fSearchInsertPosition(&node, &position), 0);
    EXPECT_EQ(position, list.fGetNode(3));

    node.m_nIndex = 4;
    EXPECT_EQ(list.fSearchInsertPosition(&node, &position), 1);
    EXPECT_EQ(position, nullptr);
}

TEST(ObjectListPosition, NullArgumentsAreRefused) {
    CObjectList list;
    const ST_OBJECTLIST_LNKLST_ node{};
    ST_OBJECTLIST_LNKLST_ *position = nullptr;

    EXPECT_EQ(list.fSearchInsertPosition(nullptr, &position), 0);
    EXPECT_EQ(list.fSearchInsertPosition(&node, nullptr), 0);
}

// --- Cursor --------------------------------------------------------------------------------------------------------

TEST(ObjectListCursor, StandsOnTheFirstNodeEverAdded) {
    const auto list = listOf({5, 3, 9}, OBJECTLIST_PREPEND);

    ASSERT_NE(list->fGetNode(), nullptr);
    EXPECT_EQ(list->fGetNode()->m_nIndex, 5);
}

TEST(ObjectListCursor, WalksEveryNodeBothWays) {
    const auto list = listOf({1, 2, 3});

    Indexes forward;
    EXPECT_EQ(list->fMoveFirst(), 1);
    while (const auto *node = list->fMoveNext())
        forward.push_back(node->m_nIndex);
    Indexes backward;
    EXPECT_EQ(list->fMoveLast(), 1);
    while (const auto *node = list->fMovePrev())
        backward.push_back(node->m_nIndex);

    EXPECT_EQ(forward, (Indexes{1, 2, 3}));
    EXPECT_EQ(backward, (Indexes{3, 2, 1}));
    EXPECT_EQ(list->fGetNode(), nullptr);
    EXPECT_EQ(list->fMoveNext(), nullptr);
}

TEST(ObjectListCursor, HasNowhereToGoInAnEmptyList) {
    CObjectList list;

    EXPECT_EQ(list.fMoveFirst(), 0);
    EXPECT_EQ(list.fMoveLast(), 0);
    EXPECT_EQ(list.fMoveNext(), nullptr);
    EXPECT_EQ(list.fMovePrev(), nullptr);
}

// --- Deletion ------------------------------------------------------------------------------------------------------

TEST(ObjectListDeletion, TheNodeThatBecomesTheHeadIsNotLookedAt) {
    const auto list = listOf({4, 4, 6});

    EXPECT_EQ(list->fDeleteNode(4), 1);
    EXPECT_EQ(indexesOf(*list), (Indexes{4, 6}));
}

TEST(ObjectListDeletion, BehindTheNewHeadTheWalkGoesOn) {
    const auto list = listOf({4, 4, 4, 6, 4});

    EXPECT_EQ(list->fDeleteNode(4), 1);
    EXPECT_EQ(indexesOf(*list), (Indexes{4, 6}));
}

TEST(ObjectListDeletion, RemovesEveryMiddleNodeWithTheIndex) {
    const auto list = listOf({1, 4, 4, 2, 4});

    EXPECT_EQ(list->fDeleteNode(4), 1);
    EXPECT_EQ(indexesOf(*list), (Indexes{1, 2}));
}

TEST(ObjectListDeletion, AnAbsentIndexRemovesNothing) {
    const auto list = listOf({1, 2});

    EXPECT_EQ(list->fDeleteNode(3), 0);
    EXPECT_EQ(CObjectList().fDeleteNode(3), 0);
    EXPECT_EQ(indexesOf(*list), (Indexes{1, 2}));
}

TEST(ObjectListDeletion, TheOnlyNodeLeavesAnEmptyList) {
    const auto list = listOf({1});

    EXPECT_EQ(list->fDeleteNode(1), 1);
    EXPECT_EQ(indexesOf(*list), Indexes{});
    EXPECT_EQ(list->fGetNode(), nullptr);
    EXPECT_EQ(add(*list, 2), 1);
    EXPECT_EQ(list->fGetNode()->m_nIndex, 2);
}

TEST(ObjectListDeletion, TheCursorOfTheHeadMovesToTheNewHead) {
    const auto list = listOf({1, 2, 3});
    list->fMoveFirst();

    list->fDeleteNode(1);

    EXPECT_EQ(list->fGetNode(), list->fGetNode(2));
}

TEST(ObjectListDeletion, TheCursorOfAMiddleNodeMovesToItsPredecessor) {
    const auto list = listOf({1, 2, 3});
    list->fMoveFirst();
    list->fMoveNext();

    list->fDeleteNode(2);

    EXPECT_EQ(list->fGetNode(), list->fGetNode(1));
}

TEST(ObjectListDeletion, TheCursorOfTheEndMovesToTheNewEnd) {
    const auto list = listOf({1, 2, 3});
    list->fMoveLast();

    list->fDeleteNode(3);

    EXPECT_EQ(list->fGetNode(), list->fGetNode(2));
    EXPECT_EQ(list->fGetEndNode(), list->fGetNode(2));
}

TEST(ObjectListDeletion, ACursorElsewhereStays) {
    const auto list = listOf({1, 2, 3});
    list->fMoveLast();

    list->fDeleteNode(1);
    list->fDeleteNode(2);

    EXPECT_EQ(list->fGetNode(), list->fGetNode(3));
}

TEST(ObjectListUniqueLookUp, FindsInEveryOrderAndLeavesTheCursor) {
    const auto list = listOf({1, 2, 3, 7, 5});
    list->fMoveFirst();
    for (const int index : {1, 2, 3, 7, 5, 5, 1, 7, 2, 3}) {
        ASSERT_NE(list->findUnique(index), nullptr) << index;
        EXPECT_EQ(list->findUnique(index)->m_nIndex, index);
    }
    EXPECT_EQ(list->findUnique(4), nullptr);
    EXPECT_EQ(list->fGetNode()->m_nIndex, 1);
}

TEST(ObjectListUniqueLookUp, ForgetsWhatIsRemoved) {
    const auto list = listOf({1, 2, 3});
    ASSERT_NE(list->findUnique(2), nullptr);
    list->fDeleteNode(2);
    EXPECT_EQ(list->findUnique(2), nullptr);
    EXPECT_EQ(list->findUnique(3)->m_nIndex, 3);
    list->fFreeAll();
    EXPECT_EQ(list->findUnique(3), nullptr);
    EXPECT_EQ(add(*list, 3), 1);
    EXPECT_EQ(list->findUnique(3), list->fGetHeadNode());
}

TEST(ObjectList, FreeAllForgetsTheNodesAndKeepsTheData) {
    int data = 17;
    CObjectList list;
    add(list, 1, &data);
    add(list, 2, &data);

    list.fFreeAll();

    EXPECT_EQ(indexesOf(list), Indexes{});
    EXPECT_EQ(list.fGetNode(), nullptr);
    EXPECT_EQ(data, 17);
}

TEST(ObjectList, TheCountCanBeMaintainedFromOutside) {
    CObjectList list;

    list.fNodeCntInc();
    list.fNodeCntInc();
    list.fNodeCntDec();

    EXPECT_EQ(list.fGetNodeCnt(), 1);
}

} // namespace
