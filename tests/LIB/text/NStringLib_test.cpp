// The text functions: digits, identifiers and quotation marks.
#include "NStringLib.h"

#include <gtest/gtest.h>

namespace {

TEST(Nisdigit, AcceptsDigitsWithAnOptionalSign) {
    for (const char *text : {"0", "12", "+12", "-7", "00000000000000000000000000000000001"})
        EXPECT_EQ(Nisdigit(text), 1) << text;
}

TEST(Nisdigit, AcceptsALoneSign) {
    EXPECT_EQ(Nisdigit("+"), 1);
    EXPECT_EQ(Nisdigit("-"), 1);
}

TEST(Nisdigit, RefusesEverythingElse) {
    for (const char *text : {"", "12a", "a12", "1 ", " 1", "1.5", "+-1", "--1", "1-", "\xb2"})
        EXPECT_EQ(Nisdigit(text), 0) << text;
    EXPECT_EQ(Nisdigit(nullptr), 0);
}

// Both orders at once: the comparison is antisymmetric.
void expectLess(const std::string &a, const std::string &b) {
    EXPECT_EQ(NOidCmp(a.c_str(), b.c_str()), -1) << a << " against " << b;
    EXPECT_EQ(NOidCmp(b.c_str(), a.c_str()), 1) << b << " against " << a;
}

void expectEqual(const std::string &a, const std::string &b) {
    EXPECT_EQ(NOidCmp(a.c_str(), b.c_str()), 0) << a << " against " << b;
    EXPECT_EQ(NOidCmp(b.c_str(), a.c_str()), 0) << b << " against " << a;
}

TEST(NOidCmp, EqualIdentifiersGiveZero) {
    expectEqual("1.3.6.1.4.1", "1.3.6.1.4.1");
    expectEqual("7", "7");
    expectEqual("", "");
}

TEST(NOidCmp, ComparesPartsAsNumbers) {
    expectLess("2", "10");
    expectLess("1.9", "1.10");
    expectEqual("1.007", "1.7");
    expectLess("1.-2", "1.1");
    expectLess("-10", "-9");
    expectEqual("-0", "0");
    expectEqual("+3", "3");
}

TEST(NOidCmp, TheFirstPairThatDiffersDecides) {
    expectLess("1.2.9.9.9", "1.3");
    expectLess("1.3.6.1.2", "1.3.6.1.10.1");
}

TEST(NOidCmp, TheIdentifierThatEndsFirstIsSmaller) {
    expectLess("1.3.6", "1.3.6.1");
    expectLess("1.3.6", "1.3.6.0");
    expectLess("1", "1.0.0.0");
}

TEST(NOidCmp, RunOfDotsCountsAsOneAndALeadingOneAsAPartOfItsOwn) {
    expectEqual("1..2", "1.2");
    expectEqual(".1.3", "0.1.3");
    expectEqual("1.", "1.0");
}

TEST(NOidCmp, PartWithoutDigitsCountsAsZero) {
    expectEqual("x.5", "0.5");
    expectEqual("1.2b", "1.2");
    expectEqual("", "0");
}

TEST(NOidCmp, IdentifiersMayBeLong) {
    std::string chain = "1";
    for (int i = 0; i < 100000; ++i)
        chain += ".4294967295";

    expectEqual(chain, chain);
    expectLess(chain + ".1", chain + ".2");
    expectLess("1.3.6.1.4.1.2021.10.1.3.1", "1.3.6.1.4.1.2021.10.1.3.2");
}

TEST(NOidCmp, PartsMayExceedEveryIntegerType) {
    // one apart, beyond 64 bits
    expectLess("2.25.329800735698586629295641978511506172917", "2.25.329800735698586629295641978511506172918");
    expectLess("1.18446744073709551615", "1.18446744073709551616");
    expectLess("1.4294967295", "1.4294967296");
    expectLess("1." + std::string(500, '9'), "1.1" + std::string(500, '0'));
}

TEST(NOidCmp, LeavesItsArgumentsAlone) {
    char a[] = "1.2.3", b[] = "1.2.3";

    EXPECT_EQ(NOidCmp(a, b), 0);

    EXPECT_STREQ(a, "1.2.3");
    EXPECT_STREQ(b, "1.2.3");
}

TEST(NCutQmark, GivesTheTextBehindTheFirstDoubleQuoteUpToABlank) {
    char text[] = "\"abc def";

    EXPECT_EQ(NCutQmark(text), text + 1);
    EXPECT_STREQ(text + 1, "abc");
}

TEST(NCutQmark, BlanksBeforeTheQuoteDoNotCut) {
    char text[] = "model name = \"Xeon E5 v4";

    EXPECT_STREQ(NCutQmark(text), "Xeon");
}

TEST(NCutQmark, WithoutABlankBehindTheQuoteTheRestIsKept) {
    char text[] = "\"abc\"";

    EXPECT_STREQ(NCutQmark(text), "abc\"");
}

TEST(NCutQmark, OnlyABlankCuts) {
    char text[] = "\"a\tb c";

    EXPECT_STREQ(NCutQmark(text), "a\tb");
}

TEST(NCutQmark, WithoutAQuoteTheTextIsReturnedUnchanged) {
    char text[] = "abc def";
    char empty[] = "";

    EXPECT_EQ(NCutQmark(text), text);
    EXPECT_STREQ(text, "abc def");
    EXPECT_EQ(NCutQmark(empty), empty);
}

TEST(NCutQmark, QuoteAtTheEndGivesTheEmptyText) {
    char text[] = "abc\"";

    EXPECT_STREQ(NCutQmark(text), "");
}

} // namespace
