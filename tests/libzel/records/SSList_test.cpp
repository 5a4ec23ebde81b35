// The ordered list.
#include "SSList.h"

#include "SystemHooks.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

struct Item {
    int number;
    char mark;
};

int isGreater(const void *stored, const void *record) {
    return static_cast<const Item *>(stored)->number > static_cast<const Item *>(record)->number ? 1 : 0;
}

int hasNumber(const void *stored, const void *record) {
    return static_cast<const Item *>(stored)->number == static_cast<const Item *>(record)->number ? 1 : 0;
}

int difference(const void *left, const void *right) {
    return static_cast<const Item *>(left)->number - static_cast<const Item *>(right)->number;
}

int never(const void *, const void *) {
    return 0;
}

int minusOne(const void *, const void *) {
    return -1;
}

int two(const void *, const void *) {
    return 2;
}

class OrderedList : public testing::Test {
protected:
    ~OrderedList() override { list.fSlDeleteAll(); }

    SSListNode *append(int number, char mark = '.') {
        const Item item{number, mark};
        return list.fSlInsertFifo(&item, sizeof(item), nullptr);
    }
    SSListNode *prepend(int number) {
        const Item item{number, '.'};
        return list.fSlInsertLifo(&item, sizeof(item), nullptr);
    }
    SSListNode *insertOrdered(int number) {
        const Item item{number, '.'};
        return list.fSlInsertFcmp(&item, sizeof(item), isGreater);
    }
    SSListNode *remove(int number) {
        const Item key{number, '.'};
        return list.fSlDelete(&key, sizeof(key), hasNumber);
    }

    std::vector<int> numbers() const {
        std::vector<int> result;
        for (SSListNode *node = list.fSlGetHeadNode()->l_pstNext; node != nullptr; node = node->l_pstNext)
            result.push_back(fgListRecord<Item>(node)->number);
        return result;
    }
    std::string marks() const {
        std::string result;
        for (SSListNode *node = list.fSlGetHeadNode()->l_pstNext; node != nullptr; node = node->l_pstNext)
            result += fgListRecord<Item>(node)->mark;
        return result;
    }

    CSSList list;
};

using Numbers = std::vector<int>;

TEST_F(OrderedList, NewListHasAHeadAndNothingElse) {
    EXPECT_EQ(list.fSlCheckHead(), 1);
    EXPECT_EQ(list.fSlNList(), 0);
    ASSERT_NE(list.fSlGetHeadNode(), nullptr);
    EXPECT_EQ(list.fSlGetHeadNode(), list.m_pstLlHead);
    EXPECT_EQ(list.fSlGetHeadNode()->l_pstNext, nullptr);
}

TEST_F(OrderedList, AppendingKeepsTheOrderAndReturnsTheNode) {
    append(1);
    SSListNode *second = append(2);
    append(3);

    EXPECT_EQ(numbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(list.fSlNList(), 3);
    EXPECT_EQ(fgListRecord<Item>(second)->number, 2);
}

TEST_F(OrderedList, PlainInsertAppends) {
    const Item first{1, '.'};
    const Item second{2, '.'};
    list.fSlInsert(&first, sizeof(first), isGreater);
    list.fSlInsert(&second, sizeof(second), isGreater);

    EXPECT_EQ(numbers(), (Numbers{1, 2}));
}

TEST_F(OrderedList, PrependingReversesTheOrder) {
    prepend(1);
    prepend(2);
    prepend(3);

    EXPECT_EQ(numbers(), (Numbers{3, 2, 1}));
    EXPECT_EQ(list.fSlNList(), 3);
}

TEST_F(OrderedList, AppendingGoesOnAfterTheLastNodeHoweverItGotThere) {
    prepend(1);
    append(2);
    insertOrdered(9);
    append(4);
    remove(4);
    append(5);
    list.fSlSort(nullptr, 0, difference); // 1 2 5 9
    append(6);

    EXPECT_EQ(numbers(), (Numbers{1, 2, 5, 9, 6}));

    remove(1);
    remove(2);
    remove(5);
    remove(9);
    remove(6);
    append(7);
    EXPECT_EQ(numbers(), (Numbers{7}));
}

TEST_F(OrderedList, OrderedInsertPrecedesTheFirstGreaterRecord) {
    insertOrdered(3);
    insertOrdered(1);
    insertOrdered(2);

    EXPECT_EQ(numbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(list.fSlNList(), 3);
}

TEST_F(OrderedList, OrderedInsertTakesNoResultButOneForAMatch) {
    append(1);
    const Item item{0, '.'};
    list.fSlInsertFcmp(&item, sizeof(item), two);
    list.fSlInsertFcmp(&item, sizeof(item), minusOne);

    EXPECT_EQ(numbers(), (Numbers{1, 0, 0}));
}

TEST_F(OrderedList, RecordIsACopyOfAsManyBytesAsStated) {
    char text[16] = "0123456789";
    SSListNode *node = list.fSlInsertFifo(text, 4, nullptr);
    std::memset(text, 'x', sizeof(text));

    EXPECT_EQ(std::string(fgListRecord<char>(node), 4), "0123");
}

TEST_F(OrderedList, SearchFindsTheFirstMatch) {
    append(1, 'a');
    append(2, 'b');
    append(2, 'c');
    const Item key{2, '.'};

    SSListNode *found = list.fSlSearch(&key, sizeof(key), hasNumber);

    ASSERT_NE(found, nullptr);
    EXPECT_EQ(fgListRecord<Item>(found)->mark, 'b');
}

TEST_F(OrderedList, SearchWithZeroForEqualityFindsNothing) {
    append(1);
    const Item key{1, '.'};

    EXPECT_EQ(list.fSlSearch(&key, sizeof(key), difference), nullptr);
    EXPECT_EQ(list.fSlSearch(&key, sizeof(key), never), nullptr);
    EXPECT_EQ(list.fSlSearch(&key, sizeof(key), minusOne), nullptr);
    EXPECT_EQ(list.fSlSearch(&key, sizeof(key), two), nullptr);
}

TEST_F(OrderedList, DeleteReturnsThePredecessorAndKeepsTheCount) {
    SSListNode *first = append(1);
    append(2);
    append(3);

    EXPECT_EQ(remove(2), first);
    EXPECT_EQ(numbers(), (Numbers{1, 3}));
    EXPECT_EQ(list.fSlNList(), 3);

    EXPECT_EQ(remove(1), list.fSlGetHeadNode());
    EXPECT_EQ(numbers(), (Numbers{3}));
    EXPECT_EQ(list.fSlNList(), 3);

    list.fSlDeleteAll();
    EXPECT_EQ(list.fSlNList(), 0);
}

TEST_F(OrderedList, DeletingWhatIsNotThereChangesNothing) {
    append(1);

    EXPECT_EQ(remove(5), nullptr);
    EXPECT_EQ(list.fSlNList(), 1);
}

TEST_F(OrderedList, DeletingFromAnEmptyListLowersTheCountBelowZero) {
    EXPECT_EQ(remove(1), nullptr);
    EXPECT_EQ(list.fSlNList(), -1);
}

TEST_F(OrderedList, CountingDeleteRemovesEveryMatch) {
    append(1);
    append(2);
    append(1);
    const Item key{1, '.'};
    int count = -1;

    EXPECT_EQ(list.fSlDelete(&key, sizeof(key), hasNumber, &count), nullptr);

    EXPECT_EQ(count, 2);
    EXPECT_EQ(numbers(), (Numbers{2}));
    EXPECT_EQ(list.fSlNList(), 3);
}

TEST_F(OrderedList, CountingDeleteThatEmptiesTheListLowersTheCountOnce) {
    append(1);
    append(1);
    const Item key{1, '.'};
    int count = -1;

    list.fSlDelete(&key, sizeof(key), hasNumber, &count);

    EXPECT_EQ(count, 2);
    EXPECT_EQ(list.fSlNList(), 1); // 2 insertions - 1 for the last attempt on the empty list
}

TEST_F(OrderedList, DeletingAllGivesTheAddressOfTheHeadsLink) {
    append(1);
    append(2);

    EXPECT_EQ(list.fSlDeleteAll(), &list.m_pstLlHead->l_pstNext);
    EXPECT_EQ(numbers(), Numbers{});
    append(3);
    EXPECT_EQ(numbers(), (Numbers{3}));
    EXPECT_EQ(list.fSlNList(), 1);
}

TEST_F(OrderedList, SortAscends) {
    for (const int number : {5, 3, 9, 1, 7, 3})
        append(number);

    EXPECT_EQ(list.fSlSort(nullptr, 0, difference), nullptr);

    EXPECT_EQ(numbers(), (Numbers{1, 3, 3, 5, 7, 9}));
    EXPECT_EQ(list.fSlNList(), 6);
}

// The order of equal records follows from the restarts. 3a 3b 1c 2d: 1c moves before 3a (1c 3a 3b 2d), then 2d before
// 3a (1c 2d 3a 3b). 3a 2b 2c: 2b before 3a (2b 3a 2c), then 2c before 3a, which follows 2b.
TEST_F(OrderedList, SortMovesARecordDirectlyBeforeTheFirstGreaterOne) {
    append(3, 'a');
    append(3, 'b');
    append(1, 'c');
    append(2, 'd');
    list.fSlSort(nullptr, 0, difference);
    EXPECT_EQ(marks(), "cdab");

    list.fSlDeleteAll();
    append(3, 'a');
    append(2, 'b');
    append(2, 'c');
    list.fSlSort(nullptr, 0, difference);
    EXPECT_EQ(marks(), "bca");
}

// The comparisons of one sort, in order: 2 against 1 moves 1 to the front and the pass starts again from there.
TEST_F(OrderedList, SortStartsAgainFromTheFirstNodeAfterEveryMove) {
    static std::string log;
    log.clear();
    append(2);
    append(1);
    append(3);

    list.fSlSort(nullptr, 0, [](const void *left, const void *right) {
        log += std::to_string(static_cast<const Item *>(left)->number) + "-" +
               std::to_string(static_cast<const Item *>(right)->number) + " ";
        return difference(left, right);
    });

    EXPECT_EQ(log, "2-1 1-2 1-3 2-3 ");
}

TEST_F(OrderedList, SortOfNothingAndOfOneRecord) {
    list.fSlSort(nullptr, 0, difference);
    append(1);
    list.fSlSort(nullptr, 0, difference);

    EXPECT_EQ(numbers(), (Numbers{1}));
}

TEST_F(OrderedList, InsertionWithoutMemoryGivesNullAndCountsNothing) {
    append(1);
    systemHooks().failAllocationAfter = 0;

    EXPECT_EQ(append(2), nullptr);
    EXPECT_EQ(list.fSlNList(), 1);
    EXPECT_EQ(numbers(), (Numbers{1}));
}

TEST(OrderedListWithoutHead, EveryOperationFailsQuietly) {
    systemHooks().failAllocationAfter = 0;
    CSSList list;
    const Item item{1, '.'};

    EXPECT_EQ(list.fSlCheckHead(), 0);
    EXPECT_EQ(list.fSlGetHeadNode(), nullptr);
    EXPECT_EQ(list.fSlInsertFifo(&item, sizeof(item), nullptr), nullptr);
    EXPECT_EQ(list.fSlInsertLifo(&item, sizeof(item), nullptr), nullptr);
    EXPECT_EQ(list.fSlInsertFcmp(&item, sizeof(item), isGreater), nullptr);
    EXPECT_EQ(list.fSlSearch(&item, sizeof(item), hasNumber), nullptr);
    EXPECT_EQ(list.fSlSort(nullptr, 0, difference), nullptr);
    EXPECT_EQ(list.fSlDelete(&item, sizeof(item), hasNumber), nullptr);
    EXPECT_EQ(list.fSlNList(), -1);
    EXPECT_EQ(list.fSlDeleteAll(), nullptr);
    EXPECT_EQ(list.fSlNList(), 0);

    EXPECT_EQ(list.fSlInit(), 0);
    EXPECT_EQ(list.fSlCheckHead(), 1);
    EXPECT_NE(list.fSlInsertFifo(&item, sizeof(item), nullptr), nullptr);
    list.fSlDeleteAll();
}

} // namespace
