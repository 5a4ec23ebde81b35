// The operations that CBandwidthList and CNetworkExtList share, on both.
#include "BandwidthList.h"
#include "NetworkExtList.h"
#include "StreamCapture.h"
#include "SystemHooks.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>

namespace {

int add(CBandwidthList &list, const char *name) {
    return list.fAddLinkedList(name, 1000, 1);
}

int add(CNetworkExtList &list, const char *name) {
    return list.fAddLinkedList(name);
}

template<typename List> class NamedLists : public testing::Test {
protected:
    using Node = std::remove_pointer_t<decltype(List::m_pstHead)>;

    void fill(const std::vector<const char *> &names) {
        for (const char *name : names)
            ASSERT_EQ(add(subject, name), 1) << name;
    }

    /// The names from the head; along the way the backward links and the end are checked.
    std::string names() const {
        std::string text;
        const Node *previous = nullptr;
        for (const Node *node = subject.fGetHeadNode(); node != nullptr; node = node->m_pstNext) {
            EXPECT_EQ(node->m_pstPrev, previous);
            text += (text.empty() ? "" : " ") + std::string(node->m_strIFName);
            previous = node;
        }
        EXPECT_EQ(subject.fGetEndNode(), previous);
        return text;
    }

    static Node named(const char *name) {
        Node node{};
        std::strcpy(node.m_strIFName, name);
        return node;
    }

    List subject;
};

using Lists = testing::Types<CBandwidthList, CNetworkExtList>;
TYPED_TEST_SUITE(NamedLists, Lists);

TYPED_TEST(NamedLists, StartEmpty) {
    TypeParam &list = this->subject;
    EXPECT_EQ(list.m_nErrorCode, 0);
    EXPECT_STREQ(list.fGetErrorMsg(), "");
    EXPECT_EQ(list.m_pstHead, nullptr);
    EXPECT_EQ(list.m_pstEnd, nullptr);
    EXPECT_EQ(list.m_pstCurPosition, nullptr);
    EXPECT_EQ(list.m_nListOrderType, 1);
    EXPECT_EQ(list.m_lNodeCnt, 0);
    EXPECT_EQ(list.fGetNodeMaxCnt(), 90000);
    EXPECT_EQ(list.m_nDupFlag, 0);
    EXPECT_EQ(list.fMoveFirst(), 0);
    EXPECT_EQ(list.fMoveLast(), 0);
    EXPECT_EQ(list.fMoveNext(), nullptr);
    EXPECT_EQ(list.fMovePrev(), nullptr);
    EXPECT_EQ(list.fGetNode(), nullptr);
    EXPECT_EQ(list.fGetNode("eth0"), nullptr);
    EXPECT_EQ(list.fFreeAll(), 0);
}

TYPED_TEST(NamedLists, NewNamesGoToTheEndAndAPresentOneIsNotAdded) {
    this->fill({"eth1", "eth0"});
    EXPECT_EQ(add(this->subject, "eth1"), 0);
    EXPECT_EQ(this->names(), "eth1 eth0");
    EXPECT_EQ(this->subject.fGetNodeCnt(), 2);
    EXPECT_EQ(this->subject.fGetErrorCode(), 0);
    EXPECT_STREQ(this->subject.fGetNode()->m_strIFName, "eth1") << "the first node takes the cursor";
}

TYPED_TEST(NamedLists, OrderTypeTwoPutsNewNamesInFront) {
    this->subject.m_nListOrderType = 2;
    this->fill({"eth0", "eth1", "eth2"});
    EXPECT_EQ(add(this->subject, "eth0"), 0);
    EXPECT_EQ(this->names(), "eth2 eth1 eth0");
    EXPECT_STREQ(this->subject.fGetNode()->m_strIFName, "eth0") << "the cursor stays where the first node put it";
}

TYPED_TEST(NamedLists, OtherOrderTypesAppendWithoutSearching) {
    this->subject.m_nListOrderType = 3;
    this->fill({"eth0", "eth1", "eth0"});
    EXPECT_EQ(this->names(), "eth0 eth1 eth0");
}

TYPED_TEST(NamedLists, WithTheDuplicateFlagAPresentNameIsAddedBeforeTheOther) {
    this->subject.m_nDupFlag = 1;
    this->fill({"eth0", "eth1", "eth2"});
    auto *second = this->subject.fGetNode("eth1");
    this->fill({"eth1", "eth0"});
    EXPECT_EQ(this->names(), "eth0 eth0 eth1 eth1 eth2");
    EXPECT_EQ(second->m_pstNext, this->subject.fGetNode("eth2"));
    EXPECT_EQ(this->subject.fGetLinkedListCnt(), 5);
}

TYPED_TEST(NamedLists, NamesAreComparedExactly) {
    this->fill({"eth0", "ETH0", "eth00", "eth"});
    EXPECT_EQ(this->subject.fGetNode("eth0"), this->subject.fGetHeadNode());
    EXPECT_EQ(this->subject.fGetInterfaceNode("eth"), this->subject.fGetEndNode());
    EXPECT_EQ(this->subject.fGetNode("et"), nullptr);
    EXPECT_EQ(this->subject.fGetNode(nullptr), nullptr);
}

TYPED_TEST(NamedLists, LongNamesAreCutAtTheirField) {
    EXPECT_EQ(add(this->subject, std::string(100, 'x').c_str()), 1);
    EXPECT_EQ(this->names(), std::string(31, 'x'));
    EXPECT_EQ(add(this->subject, std::string(50, 'x').c_str()), 0);
    auto open = this->named("");
    std::memset(open.m_strIFName, 'y', sizeof(open.m_strIFName));
    EXPECT_EQ(this->subject.fAddNode(&open), 1);
    EXPECT_EQ(this->names(), std::string(31, 'x') + " " + std::string(31, 'y'));
}

TYPED_TEST(NamedLists, NullOrEmptyNamePrintsALineAndIsRefused) {
    std::string out;
    {
        const StreamCapture streams;
        EXPECT_EQ(add(this->subject, nullptr), -1);
        EXPECT_EQ(add(this->subject, ""), -1);
        std::fflush(stdout);
        out = streams.out();
    }
    EXPECT_EQ(out, "l_pstrIFName is null or length <= 0 \nl_pstrIFName is null or length <= 0 \n");
    EXPECT_EQ(this->subject.fGetNodeCnt(), 0);
}

TYPED_TEST(NamedLists, NullNodeIsAnError) {
    EXPECT_EQ(this->subject.fAddNode(nullptr), -1);
    EXPECT_EQ(this->subject.fGetErrorCode(), -1);
    EXPECT_STREQ(this->subject.fGetErrorMsg(), "[-1] Add node is NULL");
}

TYPED_TEST(NamedLists, NodeIsCopied) {
    auto node = this->named("eth0");
    node.m_pstNext = node.m_pstPrev = &node;
    EXPECT_EQ(this->subject.fAddNode(&node), 1);
    EXPECT_NE(this->subject.fGetHeadNode(), &node);
    EXPECT_EQ(this->names(), "eth0");
}

TYPED_TEST(NamedLists, InsertPosition) {
    this->fill({"eth0", "eth1"});
    const auto present = this->named("eth1");
    const auto fresh = this->named("eth2");
    auto *marker = this->subject.fGetEndNode();
    auto *position = marker;

    EXPECT_EQ(this->subject.fSearchInsertPosition(&present, &position), 0);
    EXPECT_STREQ(position->m_strIFName, "eth1");
    EXPECT_EQ(this->subject.fSearchInsertPosition(&fresh, &position), 1);
    EXPECT_EQ(position, nullptr);
    this->subject.m_nListOrderType = 2;
    EXPECT_EQ(this->subject.fSearchInsertPosition(&fresh, &position), 1);
    EXPECT_EQ(position, this->subject.fGetHeadNode());
    this->subject.m_nListOrderType = 0;
    position = marker;
    EXPECT_EQ(this->subject.fSearchInsertPosition(&present, &position), 1);
    EXPECT_EQ(position, marker);
}

TYPED_TEST(NamedLists, DeletingANameRemovesEveryNodeOfIt) {
    this->subject.m_nDupFlag = 1;
    this->fill({"eth0", "eth1", "eth1", "eth2", "eth0"});
    EXPECT_EQ(this->subject.fDeleteNode("eth1"), 1);
    EXPECT_EQ(this->names(), "eth0 eth0 eth2");
    EXPECT_EQ(this->subject.fDelLinkedList("eth0"), 1);
    EXPECT_EQ(this->names(), "eth2");
    EXPECT_EQ(this->subject.fDeleteNode("eth0"), 0);
    EXPECT_EQ(this->subject.fDeleteNode(nullptr), 0);
    EXPECT_EQ(this->subject.fDeleteNode(this->subject.fGetHeadNode()->m_strIFName), 1) << "the name may be in the list";
    EXPECT_EQ(this->names(), "");
    EXPECT_EQ(this->subject.fGetNodeCnt(), 0);
    this->fill({"eth3"});
    EXPECT_EQ(this->subject.fGetNode(), this->subject.fGetHeadNode());
}

TYPED_TEST(NamedLists, RemovedCursorMovesBackOrFromTheHeadForward) {
    TypeParam &list = this->subject;
    this->fill({"a", "b", "c"});
    list.fMoveLast();
    EXPECT_EQ(list.fDeleteLinkedList(list.fGetEndNode()), 1);
    EXPECT_STREQ(list.fGetNode()->m_strIFName, "b");
    list.fMoveFirst();
    EXPECT_EQ(list.fDeleteNode("a"), 1);
    EXPECT_STREQ(list.fGetNode()->m_strIFName, "b");
    this->fill({"d"});
    EXPECT_EQ(list.fDeleteNode("d"), 1);
    EXPECT_STREQ(list.fGetNode()->m_strIFName, "b") << "a cursor elsewhere stays";
    EXPECT_EQ(list.fDeleteNode("b"), 1);
    EXPECT_EQ(list.fGetNode(), nullptr);
    EXPECT_EQ(list.fDeleteLinkedList(nullptr), 0);
}

TYPED_TEST(NamedLists, CursorReturnsItsNodeAndThenMoves) {
    TypeParam &list = this->subject;
    this->fill({"a", "b"});
    EXPECT_EQ(list.fMoveFirst(), 1);
    EXPECT_STREQ(list.fMoveNext()->m_strIFName, "a");
    EXPECT_STREQ(list.fMoveNext()->m_strIFName, "b");
    EXPECT_EQ(list.fMoveNext(), nullptr);
    EXPECT_EQ(list.fMoveLast(), 1);
    EXPECT_STREQ(list.fMovePrev()->m_strIFName, "b");
    EXPECT_STREQ(list.fMovePrev()->m_strIFName, "a");
    EXPECT_EQ(list.fMovePrev(), nullptr);
}

TYPED_TEST(NamedLists, FreeingAllReturnsTheNumber) {
    this->fill({"a", "b", "c"});
    EXPECT_EQ(this->subject.fFreeAll(), 3);
    EXPECT_EQ(this->names(), "");
    EXPECT_EQ(this->subject.fGetNode(), nullptr);
    EXPECT_EQ(this->subject.fGetNodeCnt(), 0);
    this->fill({"d"});
    EXPECT_EQ(this->subject.fClearLinkedList(), 1);
}

TYPED_TEST(NamedLists, CountIsKeptByHandAsWell) {
    this->subject.fNodeCntInc();
    this->subject.fNodeCntInc();
    this->subject.fNodeCntDec();
    EXPECT_EQ(this->subject.fGetNodeCnt(), 1);
}

TYPED_TEST(NamedLists, MaximumIsNotEnforced) {
    this->subject.m_lNodeMaxCnt = 1;
    this->fill({"a", "b"});
    EXPECT_EQ(this->subject.fGetNodeMaxCnt(), 1);
}

TEST(BandwidthList, KeepsBandwidthAndDuplexAsGiven) {
    CBandwidthList list;
    EXPECT_EQ(list.fAddLinkedList("eth0", 1000000, 2), 1);
    EXPECT_EQ(list.fAddLinkedList("eth1", 9000000000000, 17), 1);
    EXPECT_EQ(list.fAddLinkedList("eth0", 5, 1), 0);
    EXPECT_EQ(list.fGetInterfaceNode("eth0")->m_lBandwidth, 1000000);
    EXPECT_EQ(list.fGetInterfaceNode("eth0")->m_nDuplex, 2);
    EXPECT_EQ(list.fGetInterfaceNode("eth1")->m_lBandwidth, 9000000000000);
    EXPECT_EQ(list.fGetInterfaceNode("eth1")->m_nDuplex, 17);
}

TEST(BandwidthList, NoMemoryIsReportedWithItsNumber) {
    CBandwidthList list;
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(list.fAddLinkedList("eth0", 1, 1), -1);
    EXPECT_EQ(list.fGetErrorCode(), ENOMEM);
    EXPECT_STREQ(list.fGetErrorMsg(), "new node malloc error [12]");
    EXPECT_EQ(list.fAddLinkedList("eth0", 1, 1), 1);
}

TEST(NetworkExtList, NewNodesAreNotReportedYet) {
    CNetworkExtList list;
    EXPECT_EQ(list.fAddLinkedList("eth0"), 1);
    EXPECT_EQ(list.fGetHeadNode()->m_nZELFlag, 0);
}

TEST(NetworkExtList, NoMemoryIsReportedWithNumberAndText) {
    CNetworkExtList list;
    systemHooks().failAllocationAfter = 0;
    EXPECT_EQ(list.fAddLinkedList("eth0"), -1);
    EXPECT_EQ(list.fGetErrorCode(), ENOMEM);
    EXPECT_STREQ(list.fGetErrorMsg(), "[12] Cannot allocate memory");
}

} // namespace
