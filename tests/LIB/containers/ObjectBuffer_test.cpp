// The keyed objects: indexes, keys and failing allocations.
#include "Faults.h"
#include "ObjectBuffer.h"
#include "SystemHooks.h"

#include <gtest/gtest.h>

namespace {

TEST(ObjectBuffer, NumbersEntriesFromOne) {
    CObjectBuffer buffer;
    int object = 0;

    EXPECT_EQ(buffer.fGetPutIndex("a"), 1);
    EXPECT_EQ(buffer.fObjectPut("a", &object), 1);
    EXPECT_EQ(buffer.fObjectPut("b", &object), 2);
    EXPECT_EQ(buffer.fObjectPut("c", &object), 3);
    EXPECT_EQ(buffer.fGetPutIndex(nullptr), 4);
    EXPECT_EQ(buffer.fGetSize(), 3);
    EXPECT_EQ(buffer.m_pcllData->m_nListOrderType, 1);
    EXPECT_EQ(buffer.m_pcllKeyTable->m_nListOrderType, 1);
}

TEST(ObjectBuffer, AFreedIndexIsTheNextOneUsed) {
    CObjectBuffer buffer;
    int object = 0;
    for (const char *key : {"a", "b", "c"})
        buffer.fObjectPut(key, &object);

    ASSERT_EQ(buffer.fObjectRemove("b"), 1);

    EXPECT_EQ(buffer.fObjectPut("d", &object), 2);
    EXPECT_EQ(buffer.fObjectPut("e", &object), 4);
}

TEST(ObjectBuffer, FreedIndexesAreUsedSmallestFirst) {
    CObjectBuffer buffer;
    int object = 0;
    for (const char *key : {"a", "b", "c", "d", "e"})
        buffer.fObjectPut(key, &object);
    for (const char *key : {"d", "a", "b"})
        buffer.fObjectRemove(key); // 3 and 5 stay: of 1..2 the smallest free one is 1

    EXPECT_EQ(buffer.fObjectPut("f", &object), 1);
    EXPECT_EQ(buffer.fObjectPut("g", &object), 2);
    EXPECT_EQ(buffer.fObjectPut("h", &object), 4);
    EXPECT_EQ(buffer.fObjectPut("i", &object), 6);
}

TEST(ObjectBuffer, IndexesStayTheSmallestFreeOnesThroughRandomUse) {
    CObjectBuffer buffer;
    int object = 0;
    std::vector<bool> used(64, false); // by index
    unsigned state = 12345;
    for (int step = 0; step < 3000; ++step) {
        state = state * 1103515245U + 12345U;
        const int index = static_cast<int>(state >> 16) % 60 + 1;
        if (used[static_cast<std::size_t>(index)]) {
            ASSERT_EQ(buffer.fObjectRemove(buffer.fGetObjectKey(index)), 1);
            used[static_cast<std::size_t>(index)] = false;
        } else {
            int expected = 1;
            while (used[static_cast<std::size_t>(expected)])
                ++expected;
            ASSERT_EQ(buffer.fObjectPut(std::to_string(step).c_str(), &object), expected);
            used[static_cast<std::size_t>(expected)] = true;
        }
    }
}

TEST(ObjectBuffer, AKeyTableEmptiedFromOutsideIsNoticed) {
    CObjectBuffer buffer;
    int object = 0;
    buffer.fObjectPut("a", &object);
    buffer.fObjectPut("b", &object);
    std::free(buffer.m_pcllKeyTable->fGetNode(1)->m_pvdData);
    buffer.m_pcllKeyTable->fDeleteNode(1);

    EXPECT_EQ(buffer.fGetPutIndex("c"), 1);
}

TEST(ObjectBuffer, ARepeatedKeyFindsItsFirstEntry) {
    CObjectBuffer buffer;
    int first = 0;
    int second = 0;

    EXPECT_EQ(buffer.fObjectPut("key", &first), 1);
    EXPECT_EQ(buffer.fObjectPut("key", &second), 2);

    EXPECT_EQ(buffer.fGetObject("key"), &first);
    EXPECT_EQ(buffer.fGetObject(2), &second);
    EXPECT_EQ(buffer.fObjectRemove("key"), 1);
    EXPECT_EQ(buffer.fGetObject("key"), &second);
    EXPECT_EQ(buffer.fGetSize(), 1);
}

TEST(ObjectBuffer, CopiesTheKey) {
    CObjectBuffer buffer;
    int object = 0;
    char key[] = "key";
    buffer.fObjectPut(key, &object);

    key[0] = 'x';

    EXPECT_EQ(buffer.fGetObject("key"), &object);
    EXPECT_STREQ(buffer.fGetObjectKey(1), "key");
}

TEST(ObjectBuffer, AnEmptyKeyIsAKey) {
    CObjectBuffer buffer;
    int object = 0;

    EXPECT_EQ(buffer.fObjectPut("", &object), 1);
    EXPECT_EQ(buffer.fGetObject(""), &object);
}

TEST(ObjectBuffer, AbsentKeysAndIndexesGiveNull) {
    CObjectBuffer buffer;
    int object = 0;
    buffer.fObjectPut("key", &object);
    const char *nullKey = nullptr;

    EXPECT_EQ(buffer.fGetObject("other"), nullptr);
    EXPECT_EQ(buffer.fGetObject(nullKey), nullptr);
    EXPECT_EQ(buffer.fGetObject(2), nullptr);
    EXPECT_EQ(buffer.fGetObject(0), nullptr);
    EXPECT_EQ(buffer.fGetObjectKey(2), nullptr);
    EXPECT_EQ(buffer.fSetObject("other", &object), nullptr);
    EXPECT_EQ(buffer.fSetObject(nullKey, &object), nullptr);
    EXPECT_EQ(buffer.fSetObject(2, &object), nullptr);
    EXPECT_EQ(buffer.fObjectRemove("other"), 0);
    EXPECT_EQ(buffer.fObjectRemove(nullptr), 0);
    EXPECT_EQ(buffer.fObjectPut(nullptr, &object), 0);
    EXPECT_EQ(buffer.fGetSize(), 1);
}

TEST(ObjectBuffer, AKeyThatWasFreedIsPassedOver) {
    CObjectBuffer buffer;
    int first = 0;
    int second = 0;
    buffer.fObjectPut("key", &first);
    buffer.fObjectPut("key", &second);
    void *&held = buffer.m_pcllKeyTable->fGetNode(1)->m_pvdData;
    std::free(held);
    held = nullptr;

    EXPECT_EQ(buffer.fGetObject("key"), &second);
}

TEST(ObjectBuffer, SetObjectReplacesAndReturnsTheNewOne) {
    CObjectBuffer buffer;
    int first = 0;
    int second = 0;
    int third = 0;
    buffer.fObjectPut("key", &first);

    EXPECT_EQ(buffer.fSetObject("key", &second), &second);
    EXPECT_EQ(buffer.fGetObject(1), &second);
    EXPECT_EQ(buffer.fSetObject(1, &third), &third);
    EXPECT_EQ(buffer.fGetObject("key"), &third);
}

TEST(ObjectBuffer, FreeObjectsRemovesEntriesAndKeepsTheObjects) {
    CObjectBuffer buffer;
    int object = 17;
    buffer.fObjectPut("a", &object);
    buffer.fObjectPut("b", &object);

    EXPECT_EQ(buffer.fFreeObjects(), 1);

    EXPECT_EQ(buffer.fGetSize(), 0);
    EXPECT_EQ(buffer.fGetObject("a"), nullptr);
    EXPECT_EQ(object, 17);
    EXPECT_EQ(buffer.fObjectPut("c", &object), 1);
}

TEST(ObjectBuffer, WithoutMemoryNothingIsAdded) {
    // The key copy, the key node and the data node are allocated, in this order.
    for (int failing = 0; failing < 3; ++failing) {
        CObjectBuffer buffer;
        int object = 0;
        systemHooks().failAllocationAfter = failing;

        EXPECT_EQ(buffer.fObjectPut("key", &object), 0) << failing;

        EXPECT_EQ(buffer.fGetSize(), 0);
        EXPECT_EQ(buffer.m_pcllData->fGetNodeCnt(), 0);
        EXPECT_EQ(buffer.fObjectPut("key", &object), 1);
    }
}

TEST(ObjectBuffer, IsEmptiedWithoutMemory) {
    CObjectBuffer buffer;
    int object = 0;
    buffer.fObjectPut("a", &object);
    buffer.fObjectPut("b", &object);
    {
        const Fault fault(Call::Allocation, 1);
        EXPECT_EQ(buffer.fFreeObjects(), 1);
    }
    EXPECT_EQ(buffer.fGetSize(), 0);
    EXPECT_EQ(buffer.fObjectPut("a", &object), 1);
    EXPECT_STREQ(buffer.fGetObjectKey(1), "a");
}

} // namespace
