// Which texts a set of labels has.
#include "export/LabelSet.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

class Labels {
public:
    bool add(const std::string &text) {
        const std::size_t offset = m_store.size();
        m_store += text;
        return m_set.add(m_store, offset, text.size());
    }
    void clear() {
        m_set.clear();
        m_store.clear();
    }

private:
    std::string m_store;
    zel::LabelSet m_set;
};

TEST(LabelSet, ATextIsNewOnce) {
    Labels labels;
    EXPECT_TRUE(labels.add("a"));
    EXPECT_TRUE(labels.add(""));
    EXPECT_TRUE(labels.add("a longer text"));
    EXPECT_FALSE(labels.add("a"));
    EXPECT_FALSE(labels.add(""));
    EXPECT_FALSE(labels.add("a longer text"));
    EXPECT_TRUE(labels.add(std::string("a\0", 2)));
}

TEST(LabelSet, ClearForgetsEveryText) {
    Labels labels;
    for (int round = 0; round < 300; ++round) {
        EXPECT_TRUE(labels.add("a"));
        EXPECT_FALSE(labels.add("a"));
        labels.clear();
    }
}

TEST(LabelSet, AgreesWithAnOrderedSet) {
    std::mt19937 random(7);
    Labels labels;
    std::set<std::string> expected;
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 19, 'x');
        for (char &c : text)
            c = static_cast<char>('a' + random() % 3);
        ASSERT_EQ(labels.add(text), expected.insert(text).second) << text;
        if (round == 15000) {
            labels.clear();
            expected.clear();
        }
    }
}

} // namespace
