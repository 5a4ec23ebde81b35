// The memory that texts of answers may have together.
#include "zel/serve/TextBudget.h"

#include <gtest/gtest.h>

using zel::SharedText;
using zel::TextBudget;

namespace {

constexpr std::size_t kilobyte = 1024;

TEST(TextBudget, TextBeyondItIsNotShared) {
    TextBudget budget(3 * kilobyte);
    const SharedText first = budget.share(std::string(kilobyte, 'a'));
    const SharedText second = budget.share(std::string(kilobyte, 'b'));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(*first, std::string(kilobyte, 'a'));
    EXPECT_GE(budget.used(), 2 * kilobyte);
    EXPECT_EQ(budget.share(std::string(kilobyte + 1, 'c')), nullptr);
}

TEST(TextBudget, LastSharerGivesBack) {
    TextBudget budget(2 * kilobyte);
    SharedText text = budget.share(std::string(kilobyte, 'a'));
    SharedText sharer = text;
    text = nullptr;
    EXPECT_GT(budget.used(), 0U);
    sharer = nullptr;
    EXPECT_EQ(budget.used(), 0U);
    EXPECT_NE(budget.share(std::string(kilobyte + 1, 'b')), nullptr);
}

TEST(TextBudget, TextMayOutliveIt) {
    SharedText text;
    {
        TextBudget budget(kilobyte * 2);
        text = budget.share(std::string(kilobyte, 'a'));
    }
    EXPECT_EQ(text->size(), kilobyte);
}

TEST(TextBudget, MemoryCountsAndNotLength) {
    TextBudget budget(kilobyte);
    std::string text = "short";
    text.reserve(2 * kilobyte);
    EXPECT_EQ(budget.share(std::move(text)), nullptr);
}

} // namespace
