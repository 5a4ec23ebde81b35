// The first few of many records.
#include "records/TopList.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

struct Entry {
    int rank;
    int number;
};

bool before(const Entry *left, const Entry *right) {
    return left->rank < right->rank;
}

template<class List> std::string numbers(const List &list) {
    std::string text;
    for (const Entry *entry : list)
        text += std::to_string(entry->number) + " ";
    return text;
}

TEST(TopList, KeepsTheFirstInOrderAndHandsOutWhatIsLeftOver) {
    Entry entries[] = {{5, 0}, {3, 1}, {9, 2}, {1, 3}, {7, 4}};
    zel::TopList<Entry, 3> list;
    EXPECT_EQ(list.offer(&entries[0], before), nullptr);
    EXPECT_EQ(list.offer(&entries[1], before), nullptr);
    EXPECT_EQ(list.offer(&entries[2], before), nullptr);
    EXPECT_EQ(numbers(list), "1 0 2 ");
    EXPECT_EQ(list.offer(&entries[3], before), &entries[2]) << "displaced";
    EXPECT_EQ(list.offer(&entries[4], before), &entries[4]) << "not among the first";
    EXPECT_EQ(numbers(list), "3 1 0 ");
    list.clear();
    EXPECT_EQ(numbers(list), "");
}

TEST(TopList, IsTheBeginningOfAStableSort) {
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        std::vector<Entry> entries(60);
        for (int i = 0; i < 60; ++i)
            entries[static_cast<std::size_t>(i)] = {static_cast<int>(random() % 12), i};
        zel::TopList<Entry, 20> list;
        for (Entry &entry : entries)
            list.offer(&entry, before);

        std::vector<const Entry *> sorted;
        for (const Entry &entry : entries)
            sorted.push_back(&entry);
        std::stable_sort(sorted.begin(), sorted.end(), before);
        sorted.resize(20);
        ASSERT_EQ(numbers(list), numbers(sorted));
    }
}

} // namespace
