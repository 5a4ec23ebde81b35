// The earlier row of each later one: whatever changed its place, and without looking at every pair.
#include "host/rates/Matching.h"

#include <gtest/gtest.h>

namespace {

struct Item {
    int key = 0;
};
using Items = zel::Rows<Item>;

Items itemsOf(std::initializer_list<int> keys) {
    Items items;
    for (const int key : keys)
        items.append().key = key;
    return items;
}

struct Comparisons {
    std::size_t *count;
    bool operator()(const Item &left, const Item &right) const {
        ++*count;
        return left.key == right.key;
    }
};
std::size_t hashOf(const Item &item) {
    return static_cast<std::size_t>(item.key);
}
std::size_t poorHashOf(const Item &item) {
    return static_cast<std::size_t>(item.key % 2);
}

// The place of the earlier row of each, -1 for none; and how many pairs were looked at.
std::vector<long> placesOf(const Items &before, const Items &now, std::size_t &comparisons,
                           std::size_t (*hash)(const Item &) = hashOf) {
    comparisons = 0;
    zel::Earlier earlier(before, Comparisons{&comparisons}, hash);
    std::vector<long> places;
    for (const Item &item : now) {
        const Item *found = earlier.of(item);
        places.push_back(found == nullptr ? -1 : found - before.begin());
    }
    return places;
}

using Places = std::vector<long>;

TEST(Matching, RowsThatStayInTheirPlacesAreComparedOnce) {
    std::size_t comparisons = 0;
    EXPECT_EQ(placesOf(itemsOf({7, 8, 9}), itemsOf({7, 8, 9}), comparisons), (Places{0, 1, 2}));
    EXPECT_EQ(comparisons, 3U);
}

TEST(Matching, RowsThatCameWentOrMovedAreFound) {
    std::size_t comparisons = 0;
    EXPECT_EQ(placesOf(itemsOf({1, 2, 3, 4}), itemsOf({1, 3, 5, 4, 2}), comparisons), (Places{0, 2, -1, 3, 1}));
    EXPECT_EQ(placesOf(itemsOf({1, 2, 3, 4}), itemsOf({1, 3, 5, 4, 2}), comparisons, poorHashOf),
              (Places{0, 2, -1, 3, 1}))
        << "whatever the hash is worth";
    EXPECT_EQ(placesOf(itemsOf({}), itemsOf({1, 2}), comparisons), (Places{-1, -1}));
    EXPECT_EQ(placesOf(itemsOf({1, 2}), itemsOf({}), comparisons), Places());
}

TEST(Matching, EqualRowsAreMatchedInTheirOrder) {
    std::size_t comparisons = 0;
    EXPECT_EQ(placesOf(itemsOf({1, 1, 2}), itemsOf({1, 1, 2}), comparisons), (Places{0, 1, 2}));
}

TEST(Matching, ManyRowsThatAllChangedTakeNoPairOfAll) {
    constexpr int count = 2000;
    Items before, reversed, others;
    for (int key = 0; key < count; ++key) {
        before.append().key = key;
        reversed.append().key = count - 1 - key;
        others.append().key = count + key;
    }
    std::size_t comparisons = 0;
    const Places places = placesOf(before, reversed, comparisons);
    EXPECT_EQ(places.front(), count - 1);
    EXPECT_EQ(places.back(), 0);
    EXPECT_LE(comparisons, 2U * count);
    EXPECT_EQ(placesOf(before, others, comparisons), Places(count, -1));
    EXPECT_LE(comparisons, 2U * count);
}

} // namespace
