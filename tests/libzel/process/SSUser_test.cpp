// The table of user names by uid.
#include "SSUser.h"

#include "SystemHooks.h"

#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace {

// A password database of the test's own; it notes every look-up.
class PasswordDatabase {
public:
    explicit PasswordDatabase(std::map<uid_t, std::string> names) : m_names(std::move(names)) {
        systemHooks().getpwuid = [this](uid_t uid) -> passwd * {
            lookups.push_back(static_cast<int>(uid));
            const auto found = m_names.find(uid);
            if (found == m_names.end())
                return nullptr;
            m_entry.pw_uid = uid;
            m_entry.pw_name = found->second.data();
            return &m_entry;
        };
    }

    std::vector<int> lookups;

private:
    std::map<uid_t, std::string> m_names;
    passwd m_entry{};
};

TEST(UserNames, EachUidIsLookedUpOnce) {
    PasswordDatabase database({{0, "root"}, {1000, "alice"}});
    CSSUser users;

    EXPECT_STREQ(users.fUserName(0), "root");
    EXPECT_STREQ(users.fUserName(1000), "alice");
    EXPECT_STREQ(users.fUserName(0), "root");
    EXPECT_STREQ(users.fUserName(1000), "alice");

    EXPECT_EQ(database.lookups, (std::vector<int>{0, 1000}));
}

// A fresh table holds uid 0 everywhere: only the name shows that a slot is taken.
TEST(UserNames, FreshTableIsEmptyAlsoForUidZero) {
    PasswordDatabase database({});
    CSSUser users;

    for (const ST_HASH_EL &slot : users.m_stHashTable) {
        EXPECT_EQ(slot.uid, 0);
        EXPECT_STREQ(slot.name, "");
    }
    EXPECT_STREQ(users.fUserName(0), "0");
    EXPECT_EQ(database.lookups, std::vector<int>{0});
}

TEST(UserNames, UidWithoutAnEntryShowsAsItsNumberAndIsNotLookedUpAgain) {
    PasswordDatabase database({});
    CSSUser users;

    EXPECT_STREQ(users.fUserName(4242), "4242");
    EXPECT_STREQ(users.fUserName(4242), "4242");
    EXPECT_STREQ(users.fUserName(-2), "-2");

    EXPECT_EQ(database.lookups, (std::vector<int>{4242, -2}));
}

TEST(UserNames, NumberIsCutAtSevenCharacters) {
    PasswordDatabase database({});
    CSSUser users;

    EXPECT_STREQ(users.fUserName(1234567890), "1234567");
    EXPECT_STREQ(users.fUserName(-1234567890), "-123456");
}

// 5, 133 and 261 share slot 5.
TEST(UserNames, UidsOneTableApartEvictEachOther) {
    PasswordDatabase database({{5, "five"}, {133, "other"}});
    CSSUser users;

    EXPECT_STREQ(users.fUserName(5), "five");
    EXPECT_STREQ(users.fUserName(133), "other");
    EXPECT_STREQ(users.fUserName(5), "five");
    EXPECT_STREQ(users.fUserName(261), "261");
    EXPECT_STREQ(users.fUserName(5), "five");

    EXPECT_EQ(database.lookups, (std::vector<int>{5, 133, 5, 261, 5}));
}

TEST(UserNames, SlotIsTheMagnitudeOfTheUidInTheTableSize) {
    PasswordDatabase database({});
    CSSUser users;

    EXPECT_EQ(users.fAdd2Hash(5, "a"), 5);
    EXPECT_EQ(users.fAdd2Hash(128, "b"), 0);
    EXPECT_EQ(users.fAdd2Hash(65534, "c"), 126); // 65534 = 511 * 128 + 126
    EXPECT_EQ(users.fAdd2Hash(-2, "d"), 2);
    EXPECT_EQ(users.fAdd2Hash(-2147483647 - 1, "e"), 0); // 2^31 is a multiple of 128
    EXPECT_STREQ(users.fUserName(-2), "d");
    EXPECT_TRUE(database.lookups.empty());
}

TEST(UserNames, EntryOfTheSameUidIsKept) {
    CSSUser users;

    EXPECT_EQ(users.fAdd2Hash(7, "first"), 7);
    EXPECT_EQ(users.fAdd2Hash(7, "second"), 7);

    EXPECT_STREQ(users.m_stHashTable[7].name, "first");
}

TEST(UserNames, LongNameIsBoundedAndAShorterOneLeavesNothingOfIt) {
    CSSUser users;

    users.fAdd2Hash(9, std::string(100, 'n').c_str());
    EXPECT_EQ(std::string(users.m_stHashTable[9].name), std::string(31, 'n'));
    EXPECT_EQ(users.m_stHashTable[10].name[0], '\0');

    users.fAdd2Hash(137, "ab");
    EXPECT_EQ(std::string(users.m_stHashTable[9].name, 32), std::string("ab") + std::string(30, '\0'));
}

TEST(UserNames, LookUpStoresTheEntryAndGivesItsSlot) {
    PasswordDatabase database({{130, "held"}});
    CSSUser users;

    EXPECT_EQ(users.fGetUser(130), 2);
    EXPECT_EQ(users.m_stHashTable[2].uid, 130);
    EXPECT_STREQ(users.m_stHashTable[2].name, "held");
}

TEST(UserNames, EntryWithAnEmptyNameLeavesTheSlotFree) {
    PasswordDatabase database({{3, ""}});
    CSSUser users;

    EXPECT_STREQ(users.fUserName(3), "");
    EXPECT_STREQ(users.fUserName(3), "");
    EXPECT_EQ(database.lookups.size(), 2U);
}

} // namespace
