// Keys and the numbers after them in kernel texts.
#include "kernel/KernelText.h"

#include "Mutation.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

constexpr const char *sampleText = "nr_pages 225718\npgpgin 4263392\npgpgout 1738353924\npswpin 1618\npswpout 80339\n"
                                   "drop_pgfault 2\npgfault 2320168809\npgmajfault 507162\npgpgin 5\n";

// A key is found where a plain search finds it first.
void expectFirstOccurrences(const std::string &text) {
    zel::SoughtKey keys[] = {{"pgpgin "}, {"pgpgout "}, {"pswpin "}, {"pgfault "}, {"pgmajfault "}, {"n "}};
    zel::findKeys(text, ' ', keys);
    for (const zel::SoughtKey &sought : keys) {
        const std::size_t place = text.find(sought.key);
        const char *expected = place == std::string::npos ? nullptr : text.data() + place;
        EXPECT_EQ(sought.found, expected) << sought.key << "in\n" << text;
        EXPECT_EQ(sought.after(), expected == nullptr ? nullptr : expected + sought.key.size());
    }
}

TEST(KernelText, FindsTheFirstOccurrence) {
    const std::string text = "ctx ctxt 5\nctxt 6\n";

    EXPECT_EQ(zel::findKey(text, "ctxt "), text.data() + 4);
    EXPECT_EQ(zel::afterKey(text, "ctxt "), text.data() + 9);
    EXPECT_EQ(zel::findKey(text, "page "), nullptr);
    EXPECT_EQ(zel::afterKey(text, "page "), nullptr);
    EXPECT_EQ(zel::findKey("", "page "), nullptr);
}

TEST(KernelText, KeyAtTheEndIsFoundAndHalfAKeyIsNot) {
    const std::string text = "swap";

    for (std::size_t rare = 0; rare < text.size(); ++rare) {
        EXPECT_EQ(zel::findKey(text, "swap", rare), text.data()) << rare;
        EXPECT_EQ(zel::findKey(text.substr(0, 3), "swap", rare), nullptr) << rare;
        EXPECT_EQ(zel::findKey(text.substr(1), "swap", rare), nullptr) << rare;
    }
    EXPECT_EQ(*zel::afterKey(text, "swap"), '\0');
}

TEST(KernelText, SearchByAnyCharacterOfTheKeyFindsTheSame) {
    std::mt19937 random(5);
    const std::string alphabet = "pager ";
    int found = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (auto length = random() % 60; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        if (random() % 2 == 0)
            text.insert(random() % (text.size() + 1), "page ");
        const std::size_t expected = text.find("page ");
        for (std::size_t rare = 0; rare < 5; ++rare)
            ASSERT_EQ(zel::findKey(text, "page ", rare),
                      expected == std::string::npos ? nullptr : text.data() + expected)
                << text;
        found += expected != std::string::npos ? 1 : 0;
    }
    EXPECT_GT(found, 5000);
    EXPECT_LT(found, 19000);
}

TEST(KernelText, KeysAreFoundAtTheirFirstPlace) {
    expectFirstOccurrences(sampleText);
    expectFirstOccurrences("");
    expectFirstOccurrences(" ");
    expectFirstOccurrences("n ");
    expectFirstOccurrences("pgpgin");
}

TEST(KernelText, KeysAreFoundAtTheirFirstPlaceInAnyText) {
    Mutation mutation(7);
    for (int round = 0; round < 500; ++round)
        expectFirstOccurrences(mutation.of(sampleText));
}

} // namespace
