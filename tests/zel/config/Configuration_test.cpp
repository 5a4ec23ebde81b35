// A configuration compared with the options that there are.
#include "zel/config/Configuration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zel::Arguments;

constexpr zel::OptionEntry showOptions[] = {
    {"--every", "TIME", ""}, {"--count", "N", ""}, {"--raw", "", ""}, {"--rates", "", ""}, {"--config", "FILE", ""}};
constexpr zel::OptionEntry serveOptions[] = {
    {"--listen", "ADDRESS,...", ""}, {"--metrics-sections", "SECTION,...", ""}, {"--metrics-top", "N", ""}};

int runNothing(const zel::Command &, const Arguments &) {
    return 0;
}

// --every is a digit and "s"; --raw and --rates exclude each other.
std::string checkShow(const Arguments &arguments) {
    const std::string every = arguments.value("--every").value_or("1s");
    if (every.size() != 2 || every[1] != 's')
        return "--every " + every + ": no time";
    return arguments.has("--raw") && arguments.has("--rates") ? "--raw and --rates exclude each other" : "";
}

std::string checkNothing(const Arguments &) {
    return {};
}

const zel::Command show{"show", "", "", "", showOptions, {}, {}, runNothing, checkShow};
const zel::Command serve{"serve", "", "", "", serveOptions, {}, {}, runNothing, checkNothing};
const zel::Command help{"help", "", "", "", serveOptions, {}, {}, runNothing}; // has no table
constexpr const zel::Command *commands[] = {&show, &serve, &help};

zel::Configuration read(const std::string &text) {
    return zel::readConfiguration(text, commands);
}

// "1:2: text" of each problem.
std::vector<std::string> problemsOf(const std::string &text) {
    std::vector<std::string> problems;
    for (const zel::ConfigProblem &problem : read(text).problems)
        problems.push_back(zel::problemText("f", problem));
    return problems;
}

std::map<std::string, std::string> given(const std::string &text, const zel::Command &command,
                                         Arguments arguments = {}) {
    return zel::withConfiguration(read(text), command, arguments).options;
}

using Options = std::map<std::string, std::string>;

TEST(Configuration, GivesTheOptionsOfACommand) {
    const std::string text = "[show]\nevery = \"2s\"\ncount = 5\nraw = true\n[serve]\nlisten = [\"a\", \"b\"]\n";
    EXPECT_THAT(problemsOf(text), IsEmpty());
    EXPECT_EQ(given(text, show), (Options{{"--every", "2s"}, {"--count", "5"}, {"--raw", ""}}));
    EXPECT_EQ(given(text, serve), (Options{{"--listen", "a,b"}}));
    EXPECT_EQ(given(text, help), Options());
}

TEST(Configuration, HasATableForOptionsWithACommonBeginning) {
    EXPECT_EQ(given("[metrics]\nsections = \"all\"\ntop = 3", serve),
              (Options{{"--metrics-sections", "all"}, {"--metrics-top", "3"}}));
    EXPECT_THAT(problemsOf("[serve]\nmetrics-top = 3"),
                ElementsAre(HasSubstr("f:2:1: there is no key 'metrics-top' in [serve]")));
}

TEST(Configuration, AListMayBeOneText) {
    EXPECT_EQ(given("[serve]\nlisten = \"a\"", serve), (Options{{"--listen", "a"}}));
    EXPECT_EQ(given("[serve]\nlisten = []", serve), (Options{{"--listen", ""}}));
}

TEST(Configuration, FalseLeavesASwitchOut) {
    EXPECT_EQ(given("[show]\nraw = false", show), Options());
}

TEST(Configuration, TheCommandLineWins) {
    Arguments arguments;
    arguments.options = {{"--every", "9s"}};
    EXPECT_EQ(given("[show]\nevery = \"2s\"\ncount = 5", show, arguments),
              (Options{{"--every", "9s"}, {"--count", "5"}}));
}

TEST(Configuration, GivesWayToAnOptionThatExcludesIt) {
    Arguments arguments;
    arguments.options = {{"--raw", ""}};
    EXPECT_EQ(given("[show]\nrates = true\ncount = 5", show, arguments), (Options{{"--raw", ""}, {"--count", "5"}}));
}

TEST(Configuration, NamesTheNearestTableAndKey) {
    EXPECT_THAT(problemsOf("[sevre]\n"),
                ElementsAre("f:1:2: there is no table [sevre]; did you mean serve? (tables: show, serve, metrics)"));
    EXPECT_THAT(problemsOf("[show]\nevry = \"1s\""),
                ElementsAre("f:2:1: there is no key 'evry' in [show]; did you mean every?"));
    EXPECT_THAT(problemsOf("[show]\nxyzzy = 1"),
                ElementsAre("f:2:1: there is no key 'xyzzy' in [show] (keys: every, count, raw, rates)"));
    EXPECT_THAT(problemsOf("[help]\n"), ElementsAre(HasSubstr("there is no table [help]")));
}

TEST(Configuration, NamesTheTableThatHasTheKey) {
    EXPECT_THAT(problemsOf("[serve]\nsections = \"all\""),
                ElementsAre("f:2:1: there is no key 'sections' in [serve]; [metrics] has one"));
    EXPECT_THAT(problemsOf("listen = \"a\""), ElementsAre("f:1:1: 'listen' stands in no table; [serve] has one"));
    EXPECT_THAT(problemsOf("xyzzy = \"a\""), ElementsAre("f:1:1: 'xyzzy' stands in no table"));
    EXPECT_THAT(problemsOf("serve = 3"), ElementsAre("f:1:1: 'serve' is a table: [serve] in a line of its own"));
    EXPECT_THAT(problemsOf("[[serve]]"), ElementsAre(HasSubstr("'serve' is a table")));
}

TEST(Configuration, TheFileHasNoNameOfAFile) {
    EXPECT_THAT(problemsOf("[show]\nconfig = \"x\""), ElementsAre(HasSubstr("there is no key 'config'")));
}

TEST(Configuration, RefusesOtherTypes) {
    EXPECT_THAT(problemsOf("[show]\nevery = 5"),
                ElementsAre("f:2:9: every is a text in quotes, not a whole number; did you mean \"5s\"?"));
    EXPECT_THAT(problemsOf("[show]\nevery = 1.5"),
                ElementsAre("f:2:9: every is a text in quotes, not a number with a fraction"));
    EXPECT_THAT(problemsOf("[show]\ncount = \"5\""),
                ElementsAre("f:2:9: count is a whole number, not a text; did you mean 5?"));
    EXPECT_THAT(problemsOf("[show]\ncount = true"), ElementsAre("f:2:9: count is a whole number, not true or false"));
    EXPECT_THAT(problemsOf("[show]\nraw = \"true\""),
                ElementsAre("f:2:7: raw is true or false, not a text; did you mean true without quotes?"));
    EXPECT_THAT(problemsOf("[show]\nraw = 1"), ElementsAre("f:2:7: raw is true or false, not a whole number"));
    EXPECT_THAT(problemsOf("[show.every]\nx = 1"), ElementsAre(HasSubstr("every is a text in quotes, not a table")));
    EXPECT_THAT(problemsOf("[serve]\nlisten = 2026-11-22"),
                ElementsAre("f:2:10: listen is a text or a list of texts, not a date or a time"));
    EXPECT_THAT(problemsOf("[serve]\nlisten = [\"a\", 5]"),
                ElementsAre("f:2:16: listen is a list of texts, not a whole number"));
}

TEST(Configuration, RefusesTextsThatAnOptionCouldNotHave) {
    EXPECT_THAT(problemsOf("[show]\nevery = \"1\\u0000s\""), ElementsAre("f:2:9: every holds a control character"));
    for (const char *item : {"a,b", "", "a\\nb"})
        EXPECT_THAT(problemsOf("[serve]\nlisten = [\"" + std::string(item) + "\"]"),
                    ElementsAre(HasSubstr("one text of the list is one ADDRESS")))
            << item;
}

TEST(Configuration, SaysWhatTheCommandSaysOfAValue) {
    EXPECT_THAT(problemsOf("[show]\n\n  every = \"later\""), ElementsAre("f:3:11: every later: no time"));
    EXPECT_THAT(problemsOf("[show]\nraw = true\nrates = true"),
                ElementsAre("f:3:9: --raw and --rates exclude each other"));
}

TEST(Configuration, SaysEveryProblem) {
    EXPECT_THAT(problemsOf("[show]\nevery = 5\nx = 1\n[y]\n"),
                ElementsAre(HasSubstr("f:2:9"), HasSubstr("f:3:1"), HasSubstr("f:4:2")));
    EXPECT_THAT(problemsOf("[show\nx = 1"), ElementsAre(HasSubstr("f:1:6: no TOML: ")));
}

TEST(Configuration, KeysAreThoseOfTheOptions) {
    std::vector<std::string> keys;
    for (const zel::ConfigTableKeys &table : zel::configurationKeys(commands))
        for (const zel::ConfigKey &key : table.keys)
            keys.push_back(std::string(table.table) + '.' + std::string(key.key));
    EXPECT_THAT(keys, ElementsAre("show.every", "show.count", "show.raw", "show.rates", "serve.listen",
                                  "metrics.sections", "metrics.top"));
}

} // namespace
