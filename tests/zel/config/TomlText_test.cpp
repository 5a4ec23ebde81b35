// A configuration text, taken apart.
#include "zel/config/TomlText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using zel::ConfigKind;

zel::ConfigValue valueOf(const std::string &text) {
    const zel::TomlText toml = zel::readToml("[t]\nk = " + text);
    EXPECT_FALSE(toml.problem) << text << ": " << toml.problem.value_or(zel::ConfigProblem{}).text;
    return toml.tables.empty() ? zel::ConfigValue{} : toml.tables[0].entries[0].value;
}

TEST(TomlText, GivesTablesAndKeysInTheirOrderWithTheirPlaces) {
    const zel::TomlText toml = zel::readToml("# first\n[serve]\nstreams = 3\n  listen = \":9100\"\n\n[metrics]\n");
    ASSERT_EQ(toml.tables.size(), 2U);
    EXPECT_EQ(toml.tables[0].name, "serve");
    EXPECT_EQ(toml.tables[0].place.line, 2U);
    ASSERT_EQ(toml.tables[0].entries.size(), 2U);
    EXPECT_EQ(toml.tables[0].entries[0].key, "streams");
    EXPECT_EQ(toml.tables[0].entries[0].place.line, 3U);
    EXPECT_EQ(toml.tables[0].entries[0].value.place.column, 11U);
    EXPECT_EQ(toml.tables[0].entries[1].key, "listen");
    EXPECT_EQ(toml.tables[0].entries[1].place.column, 3U);
    EXPECT_EQ(toml.tables[1].name, "metrics");
    EXPECT_TRUE(toml.tables[1].entries.empty());
}

TEST(TomlText, TellsTypesApart) {
    EXPECT_EQ(valueOf("\"a\"").kind, ConfigKind::Text);
    EXPECT_EQ(valueOf("'a'").text, "a");
    EXPECT_EQ(valueOf("-7").kind, ConfigKind::Whole);
    EXPECT_EQ(valueOf("0x10").text, "16");
    EXPECT_EQ(valueOf("1.5").kind, ConfigKind::Real);
    EXPECT_EQ(valueOf("nan").kind, ConfigKind::Real);
    EXPECT_EQ(valueOf("true").text, "true");
    EXPECT_EQ(valueOf("false").kind, ConfigKind::Switch);
    EXPECT_EQ(valueOf("2026-11-22").kind, ConfigKind::Moment);
    EXPECT_EQ(valueOf("07:32:00").kind, ConfigKind::Moment);
    EXPECT_EQ(valueOf("{ a = 1 }").kind, ConfigKind::Table);
    const zel::ConfigValue list = valueOf("[\"a\", 2, [3]]");
    ASSERT_EQ(list.items.size(), 3U);
    EXPECT_EQ(list.items[1].text, "2");
    EXPECT_EQ(list.items[2].kind, ConfigKind::List);
}

TEST(TomlText, KeysBeforeTheFirstTableAreInOneWithoutAName) {
    const zel::TomlText toml = zel::readToml("a = 1\n[t]\n");
    ASSERT_EQ(toml.tables.size(), 2U);
    EXPECT_EQ(toml.tables[0].name, "");
    EXPECT_EQ(toml.tables[0].entries[0].key, "a");
}

TEST(TomlText, AnEmptyTextHasNothing) {
    for (const char *text : {"", "\n\n", "# a comment", "\xEF\xBB\xBF"}) {
        const zel::TomlText toml = zel::readToml(text);
        EXPECT_FALSE(toml.problem) << text;
        EXPECT_TRUE(toml.tables.empty()) << text;
    }
}

TEST(TomlText, SaysWhereItIsNone) {
    const struct {
        const char *text;
        std::size_t line;
    } wrong[] = {
        {"[serve]\nlisten \"x\"", 2},    {"[serve", 1},     {"a = 1\na = 2", 2}, {"a = \"x", 1}, {"a = [1, ", 1},
        {"a = 99999999999999999999", 1}, {"[a]\n[a]\n", 2}, {"a = \xFF\xFE", 1}};
    for (const auto &[text, line] : wrong) {
        const zel::TomlText toml = zel::readToml(text);
        ASSERT_TRUE(toml.problem) << text;
        EXPECT_THAT(toml.problem->text, HasSubstr("no TOML: ")) << text;
        EXPECT_EQ(toml.problem->place.line, line) << text;
        EXPECT_TRUE(toml.tables.empty()) << text;
    }
}

// What toml++ 3.3 takes for granted without looking.
TEST(TomlText, ACharacterThatTheParserDoesNotExpectIsAProblemWithItsLine) {
    for (const char *text : {"\n[\x01]\n", "\n[ \x7f", "\n[.]\na = 1", "\n[[\x02", "\n[=]", "\n[,"}) {
        const zel::TomlText toml = zel::readToml(text);
        ASSERT_TRUE(toml.problem) << text;
        EXPECT_THAT(toml.problem->text, HasSubstr("no TOML: ")) << text;
        EXPECT_EQ(toml.problem->place.line, 2U) << text;
    }
}

TEST(TomlText, CharactersBeyondAsciiAreForTextsAndComments) {
    EXPECT_EQ(valueOf("\"\u00e4\" # \u00e4").text, "\u00e4");
    EXPECT_FALSE(zel::readToml("\"\u00e4\" = '\u00e4'").problem);
    for (const char *text : {"\n\uFEE7[[", "\n\u00e4 = 1", "\na = \u2003 1", "\na = \"\"\"\\\uFEE7\"\"\""}) {
        const zel::TomlText toml = zel::readToml(text);
        ASSERT_TRUE(toml.problem) << text;
        EXPECT_EQ(toml.problem->place.line, 2U) << text;
    }
}

TEST(TomlText, IsRefusedWhenItIsLarge) {
    EXPECT_FALSE(zel::readToml(std::string(zel::CONFIG_LARGEST, '\n')).problem);
    EXPECT_TRUE(zel::readToml(std::string(zel::CONFIG_LARGEST + 1, '\n')).problem);
}

std::string repeated(const std::string &piece, std::size_t count) {
    std::string text;
    for (std::size_t at = 0; at < count; ++at)
        text += piece;
    return text;
}

// Each would be a table within a table, or a list within a list, thousands deep.
TEST(TomlText, IsRefusedWhenItNestsDeep) {
    const std::string deep = repeated("a.", 30000);
    const std::string texts[] = {deep + "a = 1",
                                 "[" + deep + "a]",
                                 "[x]\n" + repeated("\"a\" . ", 9000) + "a = 1",
                                 "[[" + deep + "a]]",
                                 "x = {" + deep + "a = 1}",
                                 "x = " + repeated("[", 30000),
                                 "x = " + repeated("{a = ", 10000),
                                 "x = " + repeated("[{a.b.c.d.e.f.g.h = ", 3000)};
    for (const std::string &text : texts)
        EXPECT_TRUE(zel::readToml(text).problem) << text.substr(0, 20);
}

TEST(TomlText, DotsOutsideOfKeysDoNotCount) {
    const std::string dots = "1.2.3.4.5.6.7.8.9.10";
    EXPECT_FALSE(zel::readToml("# " + dots + "\na = \"" + dots + "\"\nb = '" + dots + "'\nc = \"\"\"\n" + dots +
                               "\n\"\"\"\nd = [1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5]\ne = \"\\\"" + dots + "\"")
                     .problem);
}

TEST(TomlText, AKeyMayHaveAFewParts) {
    EXPECT_FALSE(zel::readToml("a.b.c.d.e.f.g.h = 1").problem);
    const zel::TomlText toml = zel::readToml("\n\na.b.c.d.e.f.g.h.i = 1");
    ASSERT_TRUE(toml.problem);
    EXPECT_EQ(toml.problem->place.line, 3U);
}

} // namespace
