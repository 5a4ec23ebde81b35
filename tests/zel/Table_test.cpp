// Tables: alignment, what gives way on a narrow terminal, colours.
#include "zel/Table.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using zel::Charset;
using zel::Style;
using zel::Table;
using zel::Tone;

std::string textOf(const Table &table, const Style &style = {}) {
    std::string out;
    table.write(style, out);
    return out;
}

Table disks() {
    Table table("DISKS", {{"name", true, false}, {"read/s", false, false}, {"model", true, false}});
    table.add({{"sda"}, {"1.50 MiB"}, {"A long model name of a disk"}});
    table.add({{"nvme0n1"}, {"0 B"}, {"short"}});
    return table;
}

std::size_t longestLine(const std::string &text) {
    std::istringstream lines(text);
    std::size_t longest = 0;
    for (std::string line; std::getline(lines, line);)
        longest = std::max(longest, zel::displayWidth(line));
    return longest;
}

TEST(Table, TextsAreOnTheLeftAndNumbersOnTheRight) {
    EXPECT_EQ(textOf(disks()), "DISKS\n"
                               "  name       read/s  model\n"
                               "  sda      1.50 MiB  A long model name of a disk\n"
                               "  nvme0n1       0 B  short\n");
}

TEST(Table, WideLettersKeepTheColumnsInLine) {
    Table table("X", {{"name", true, false}, {"n", false, false}});
    table.add({{"\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e"}, {"1"}}); // three letters, six columns
    table.add({{"abcdef"}, {"2"}});
    EXPECT_EQ(textOf(table, {.charset = Charset::Utf8}),
              "X\n  name    n\n  \xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e  1\n  abcdef  2\n");
}

TEST(Table, ATextIsCutBeforeAColumnIsLeftOut) {
    const std::string text = textOf(disks(), {.width = 44});
    EXPECT_EQ(longestLine(text), 44U);
    EXPECT_NE(text.find("A long model name of a~"), text.npos) << text;
    EXPECT_EQ(text.find("column"), text.npos);
}

TEST(Table, ColumnsAreLeftOutFromTheRightAndCounted) {
    const std::string text = textOf(disks(), {.width = 30});
    EXPECT_EQ(text.find("model"), text.npos) << text;
    EXPECT_NE(text.find("read/s"), text.npos) << text;
    EXPECT_NE(text.find("1 column does not"), text.npos) << text;
    EXPECT_LE(longestLine(text), 30U);
}

TEST(Table, AColumnThatStaysIsKeptInstead) {
    Table table(
        "P", {{"pid", false, false}, {"read/s", false, false}, {"written/s", false, false}, {"command", true, true}});
    table.add({{"1"}, {"10.0 MiB"}, {"10.0 MiB"}, {"/usr/lib/systemd/systemd --system --deserialize"}});
    const std::string text = textOf(table, {.width = 40});
    EXPECT_NE(text.find("/usr/lib/systemd"), text.npos) << text;
    EXPECT_EQ(text.find("written"), text.npos) << text;
    EXPECT_LE(longestLine(text), 40U);
}

TEST(Table, NoWidthMeansNothingIsCut) {
    Table table("X", {{"name", true, false}});
    table.add({{std::string(5000, 'x')}});
    EXPECT_NE(textOf(table).find(std::string(5000, 'x')), std::string::npos);
}

TEST(Table, WithoutColumnsIsAHeading) {
    Table table("SWAP", {});
    table.remark("none");
    EXPECT_EQ(textOf(table), "SWAP  none\n");
    table.add({});
    EXPECT_EQ(textOf(table, {.width = 40}), "SWAP  none\n");
}

TEST(Table, RemarksFollowTheHeading) {
    Table table = disks();
    table.remark("2 of 9");
    table.remark("7 quiet not shown");
    EXPECT_TRUE(textOf(table).starts_with("DISKS  2 of 9; 7 quiet not shown\n"));
}

TEST(Table, ColoursAreOnlyThereWhenTheyAreWanted) {
    Table table("X", {{"name", true, false}, {"use", false, false}});
    table.add({{"a"}, {"99%", Tone::Alarm}});
    EXPECT_EQ(textOf(table).find('\033'), std::string::npos);
    const std::string coloured = textOf(table, {.colours = true});
    EXPECT_NE(coloured.find("\033[1;31m99%\033[0m"), coloured.npos);
    EXPECT_NE(coloured.find("\033[1mX\033[0m"), coloured.npos);
}

TEST(Pairs, StandSideBySideAsManyAsFit) {
    const std::vector<zel::NamedCell> pairs{{"one", {"1"}}, {"two", {"22"}}, {"three", {"333"}}};
    std::string wide, narrow;
    zel::writePairs("X", pairs, {.width = 60}, wide);
    zel::writePairs("X", pairs, {.width = 20}, narrow);
    EXPECT_EQ(wide, "X\n  one  1    two  22    three  333\n");
    EXPECT_EQ(narrow, "X\n  one    1\n  two    22\n  three  333\n");
}

TEST(Pairs, ALongValueIsCutOnATerminal) {
    std::string out;
    zel::writePairs("X", {{"name", {std::string(100, 'v')}}}, {.width = 30}, out);
    EXPECT_EQ(longestLine(out), 30U);
    EXPECT_NE(out.find("v~"), out.npos);
}

TEST(Pairs, OfNothingTheHeadingSaysSo) {
    std::string out;
    zel::writePairs("X", {}, {}, out);
    EXPECT_EQ(out, "X  none\n");
}

} // namespace
