// The tokenisers: delimiters of one character and of several, empty tokens.
#include "NStringLib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

using Tokeniser = char *(*)(char *, const char *, char **);

// Every token until the tokeniser gives null.
std::vector<std::string> tokens(Tokeniser tokeniser, std::string text, const char *at) {
    std::vector<std::string> result;
    char *rest = nullptr;
    for (char *token = tokeniser(text.data(), at, &rest); token != nullptr; token = tokeniser(nullptr, at, &rest))
        result.emplace_back(token);
    return result;
}

TEST(Nstrtok, SplitsAtSingleDelimiters) {
    EXPECT_THAT(tokens(Nstrtok, "tmpfs,proc,fd", ","), ElementsAre("tmpfs", "proc", "fd"));
}

TEST(Nstrtok, RunOfDelimitersCountsAsOne) {
    EXPECT_THAT(tokens(Nstrtok, "a..b", "."), ElementsAre("a", "b"));
    EXPECT_THAT(tokens(Nstrtok, "a, ,b", ", "), ElementsAre("a", "b"));
}

TEST(Nstrtok, LeadingDelimitersGiveAnEmptyFirstToken) {
    EXPECT_THAT(tokens(Nstrtok, "..a", "."), ElementsAre("", "a"));
}

TEST(Nstrtok, TrailingDelimitersGiveAnEmptyLastToken) {
    EXPECT_THAT(tokens(Nstrtok, "a..", "."), ElementsAre("a", ""));
}

TEST(Nstrtok, EmptyTextIsOneEmptyToken) {
    EXPECT_THAT(tokens(Nstrtok, "", "."), ElementsAre(""));
}

TEST(Nstrtok, WithoutADelimiterTheTextIsTheLastToken) {
    char text[] = "whole";
    char *rest = text;

    EXPECT_EQ(Nstrtok(text, ",", &rest), text);
    EXPECT_EQ(rest, nullptr);
    EXPECT_EQ(Nstrtok(nullptr, ",", &rest), nullptr);
    EXPECT_THAT(tokens(Nstrtok, "whole", ""), ElementsAre("whole"));
}

TEST(Nstrtok, OverwritesTheWholeRunAndSavesThePlaceBehindIt) {
    char text[] = "ab,;,cd";
    char *rest = nullptr;

    EXPECT_EQ(Nstrtok(text, ",;", &rest), text);

    EXPECT_EQ(std::string(text, 7), std::string("ab\0\0\0cd", 7));
    EXPECT_EQ(rest, text + 5);
}

TEST(Nstrtok, TwoWalksDoNotDisturbEachOther) {
    char outer[] = "a=1|b=2";
    char *outerRest = nullptr;
    std::vector<std::string> seen;

    for (char *pair = Nstrtok(outer, "|", &outerRest); pair != nullptr; pair = Nstrtok(nullptr, "|", &outerRest)) {
        char *innerRest = nullptr;
        seen.emplace_back(Nstrtok(pair, "=", &innerRest));
        seen.emplace_back(innerRest);
    }

    EXPECT_THAT(seen, ElementsAre("a", "1", "b", "2"));
}

TEST(Nstrtok, DelimiterSetMayChangeBetweenCalls) {
    char text[] = "key:a,b";
    char *rest = nullptr;

    EXPECT_STREQ(Nstrtok(text, ":", &rest), "key");
    EXPECT_STREQ(Nstrtok(nullptr, ",", &rest), "a");
    EXPECT_STREQ(Nstrtok(nullptr, ",", &rest), "b");
}

TEST(Nstrtok, SplitsAtBytesAboveTheAsciiRange) {
    EXPECT_THAT(tokens(Nstrtok, "a\xff\xff\x62", "\xff"), ElementsAre("a", "b"));
}

TEST(Nstrstrtok, SplitsAtTheWholeSeparator) {
    EXPECT_THAT(tokens(Nstrstrtok, "a::b:c::d", "::"), ElementsAre("a", "b:c", "d"));
    EXPECT_THAT(tokens(Nstrstrtok, "K\x03\x1f]4.4.1.0\x03\x1f^5", "\x03\x1f]"), ElementsAre("K", "4.4.1.0\x03\x1f^5"));
}

TEST(Nstrstrtok, ConsumesOneOccurrencePerCall) {
    EXPECT_THAT(tokens(Nstrstrtok, "a____b", "__"), ElementsAre("a", "", "b"));
    EXPECT_THAT(tokens(Nstrstrtok, "__a__", "__"), ElementsAre("", "a", ""));
}

TEST(Nstrstrtok, OverwritesTheSeparatorOnlyAndSavesThePlaceBehindIt) {
    char text[] = "ab_-_-cd";
    char *rest = nullptr;

    EXPECT_EQ(Nstrstrtok(text, "_-", &rest), text);

    EXPECT_EQ(std::string(text, 8), std::string("ab\0\0_-cd", 8));
    EXPECT_EQ(rest, text + 4);
}

TEST(Nstrstrtok, WithoutTheSeparatorTheTextIsTheLastToken) {
    char text[] = "20240131-BUF";
    char *rest = text;

    EXPECT_EQ(Nstrstrtok(text, "_", &rest), text);
    EXPECT_EQ(rest, nullptr);
    EXPECT_EQ(Nstrstrtok(nullptr, "_", &rest), nullptr);
}

TEST(Nstrstrtok, EmptySeparatorIsNeverFound) {
    EXPECT_THAT(tokens(Nstrstrtok, "abc", ""), ElementsAre("abc"));
    EXPECT_THAT(tokens(Nstrstrtok, "", "::"), ElementsAre(""));
}

} // namespace
