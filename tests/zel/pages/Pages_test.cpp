// Manual pages and completions say what the commands take: their generated parts are made here from the lists of
// options, and compared with the files. ZEL_UPDATE_DOCS=1 writes them.
#include "Paths.h"

#include "host/Hardware.h"
#include "zel/commands/Commands.h"
#include "zel/config/ConfigValues.h"
#include "zel/config/Configuration.h"
#include "zel/config/ServeOptions.h"
#include "zel/config/ServePlan.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using zel::Command;
using zel::OptionEntry;

// A text as roff shows it letter by letter: hyphens are those of programs, and no line is a request.
std::string roff(std::string_view text) {
    std::string out;
    for (const char letter : text) {
        if (letter == '\n')
            out += "\n.PP\n";
        else if (letter == '-')
            out += "\\-";
        else if (letter == '\\')
            out += "\\e";
        else
            out += letter;
    }
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

// One sentence in a line, as manual pages are written.
std::string sentences(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find(". ", at);
        const std::size_t length = end == text.npos ? text.size() - at : end + 1 - at;
        out += roff(text.substr(at, length)) + '\n';
        at += length + 1;
    }
    return out;
}

std::string fileText(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The part of a file between its two marks is `wanted`.
void expectPart(const std::string &name, const std::string &wanted) {
    const std::string path = std::string(paths::sourceRoot) + '/' + name;
    const std::string text = fileText(path);
    const std::string begin = "begin of what is generated\n", end = "end of what is generated";
    const std::size_t first = text.find(begin);
    ASSERT_NE(first, text.npos) << name << " has no mark";
    const std::size_t start = first + begin.size();
    const std::size_t last = text.rfind('\n', text.find(end, start)) + 1;
    ASSERT_GE(last, start) << name << " has no second mark";
    if (std::getenv("ZEL_UPDATE_DOCS") != nullptr)
        std::ofstream(path) << text.substr(0, start) << wanted << text.substr(last);
    else
        EXPECT_EQ(text.substr(start, last - start), wanted) << name << ": ZEL_UPDATE_DOCS=1 writes it anew";
}

// --- Manual pages of the commands ----------------------------------------------------------------------------------

std::string optionPage(const OptionEntry &option) {
    const std::string name = roff(option.name);
    const std::string head =
        option.value.empty() ? ".B " + name : ".BI " + name + " \" " + std::string(option.value) + '"';
    return ".TP\n" + head + '\n' + roff(option.help) + ".\n";
}

std::string commandPage(const Command &command) {
    const std::string name(command.name);
    std::string page =
        ".SH NAME\nzel\\-" + name + " \\- " + roff(command.summary) + "\n.SH SYNOPSIS\n.B zel " + name + '\n';
    if (!command.words.empty())
        page += ".RI \"" + std::string(command.words) + "\"\n";
    if (!command.options.empty())
        page += ".RI [ option ...]\n";
    page += ".SH DESCRIPTION\n" + sentences(command.about);
    page += command.options.empty() ? "" : ".SH OPTIONS\n";
    for (const OptionEntry &option : command.options)
        page += optionPage(option);
    page += ".SH EXAMPLES\n";
    for (const zel::Example &example : command.examples)
        page += ".TP\n.B " + roff(example.text) + '\n' + roff(example.meaning) + ".\n";
    page += ".SH EXIT STATUS\n";
    for (const zel::Example &status : command.exitStatus)
        page += ".TP\n.B " + std::string(status.text) + '\n' + roff(status.meaning) + ".\n";
    return page;
}

TEST(Pages, EveryCommandHasAManual) {
    for (const Command *command : zel::allCommands())
        expectPart("man/zel-" + std::string(command->name) + ".1.in", commandPage(*command));
}

// --- The manual page of the configuration --------------------------------------------------------------------------

std::string typeOf(const OptionEntry &option) {
    if (option.value.empty())
        return "true or false";
    if (option.value == zel::NUMBER_VALUE)
        return "a whole number";
    if (option.value.ends_with(zel::LIST_VALUE_END))
        return "a text or a list of texts";
    return option.value == "TIME" ? "a duration in quotes" : "a text";
}

TEST(Pages, TheConfigurationHasEveryKey) {
    std::string page;
    for (const zel::ConfigTableKeys &table : zel::configurationKeys(zel::allCommands())) {
        page += ".SS [" + std::string(table.table) + "]\n";
        for (const zel::ConfigKey &key : table.keys)
            page +=
                ".TP\n.BR " + roff(key.key) + " \", " + typeOf(*key.option) + "\"\n" + roff(key.option->help) + ".\n";
    }
    expectPart("man/zel.toml.5.in", page);
}

// --- Completion ----------------------------------------------------------------------------------------------------

std::string commandNames(const char *separator) {
    std::string names;
    for (const Command *command : zel::allCommands())
        names += (names.empty() ? "" : separator) + std::string(command->name);
    return names;
}

// What the words of commands and the values of options can be.
std::string wordLists() {
    std::string areas, parts;
    for (std::size_t area = 0; area < zel::AREA_COUNT; ++area)
        areas += (area > 0 ? " " : "") + std::string(zel::areaName(static_cast<zel::Area>(area)));
    for (std::size_t part = 0; part < zel::HARDWARE_PART_COUNT; ++part)
        parts += (part > 0 ? " " : "") + std::string(zel::hardwarePartName(static_cast<zel::HardwarePart>(part)));
    return "    local areas=\"" + areas + "\"\n    local parts=\"" + parts + "\"\n";
}

// The formats that a command does not refuse.
std::string formatsOf(const Command &command) {
    std::string formats;
    for (const std::string_view format : zel::FORMATS) {
        zel::Arguments arguments;
        arguments.options["--format"] = format;
        if (command.check(arguments).empty())
            formats += (formats.empty() ? "" : " ") + std::string(format);
    }
    return formats;
}

bool hasFormats(const Command &command) {
    return std::any_of(command.options.begin(), command.options.end(),
                       [](const OptionEntry &option) { return option.value == "FORMAT"; });
}

// "'" ends a text in quotes of a shell.
std::string inSingleQuotes(std::string_view text) {
    std::string out = "'";
    for (const char letter : text)
        out += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return out + '\'';
}

TEST(Pages, BashCompletesEveryOption) {
    std::string part = "    local commands=\"" + commandNames(" ") + "\"\n" + wordLists() + "    case $command in\n";
    for (const Command *command : zel::allCommands()) {
        std::string options = "--help", valued;
        for (const OptionEntry &option : command->options) {
            options += ' ' + std::string(option.name);
            valued += option.value.empty() ? "" : ' ' + std::string(option.name) + '=' + std::string(option.value);
        }
        part += "    " + std::string(command->name) + ")\n        options=\"" + options + "\"\n        valued=\"" +
                valued + " \"\n";
        if (hasFormats(*command))
            part += "        formats=\"" + formatsOf(*command) + "\"\n";
        part += "        ;;\n";
    }
    expectPart("packaging/completion/zel.bash", part + "    esac\n");
}

std::string zshAction(const Command &command, const OptionEntry &option) {
    const std::string value(option.value);
    if (value == "FILE")
        return ":" + value + ":_files";
    if (value == "FORMAT")
        return ":" + value + ":(" + formatsOf(command) + ")";
    return value == "DIR" ? ":" + value + ":_files -/" : ":" + value + ":";
}

std::string inDoubleQuotes(const std::string &text) {
    return text.empty() ? "" : '"' + text + '"';
}

std::string zshWords(const Command &command) {
    if (command.words == "[AREA...]")
        return " \"*:area:(${=areas})\"";
    if (command.words == "[PART...]")
        return " \"*:part:(${=parts})\"";
    return command.words.empty() ? "" : " '*:file:_files'";
}

TEST(Pages, ZshCompletesEveryOption) {
    std::string part = wordLists() + "    case ${words[1]} in\n";
    for (const Command *command : zel::allCommands()) {
        part += "    " + std::string(command->name) + ")\n        _arguments \\\n";
        for (const OptionEntry &option : command->options) {
            std::string help(option.help);
            for (std::size_t at = help.find(':'); at != help.npos; at = help.find(':', at + 2))
                help.insert(at, "\\");
            const std::string action = option.value.empty() ? "" : zshAction(*command, option);
            part += "            " + inSingleQuotes(std::string(option.name) + '[' + help + ']') +
                    inDoubleQuotes(action) + " \\\n";
        }
        part += "            '--help[this text]'" + zshWords(*command) + "\n        ;;\n";
    }
    expectPart("packaging/completion/_zel", part + "    esac\n");
}

TEST(Pages, FishCompletesEveryOption) {
    std::string part;
    for (const Command *command : zel::allCommands()) {
        const std::string name(command->name);
        part +=
            "complete -c zel -f -n __fish_use_subcommand -a " + name + " -d " + inSingleQuotes(command->summary) + '\n';
        for (const OptionEntry &option : command->options) {
            const bool isFile = option.value == "FILE" || option.value == "DIR";
            part += "complete -c zel -n '__fish_seen_subcommand_from " + name + "' -l " +
                    std::string(option.name.substr(2)) +
                    (option.value.empty() ? ""
                     : isFile             ? " -rF"
                                          : " -x") +
                    (option.value == "FORMAT" ? " -a " + inSingleQuotes(formatsOf(*command)) : "") + " -d " +
                    inSingleQuotes(option.help) + '\n';
        }
    }
    expectPart("packaging/completion/zel.fish", part);
}

// --- The example configuration --------------------------------------------------------------------------------------

// "#key = value" is a key of the table that was named last.
std::string uncommented(const std::string &text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        const bool isKey = text[at] == '#' && end > at + 1 && text[at + 1] >= 'a' && text[at + 1] <= 'z';
        out += text.substr(at + (isKey ? 1 : 0), end + 1 - at - (isKey ? 1 : 0));
        at = end + 1;
    }
    return out;
}

std::string problemsIn(const zel::Configuration &configuration) {
    std::string text;
    for (const zel::ConfigProblem &problem : configuration.problems)
        text += zel::problemText("zel.toml", problem) + '\n';
    return text;
}

TEST(Pages, TheExampleConfigurationIsAcceptedAndNamesEveryKey) {
    const std::string text = fileText(std::string(paths::sourceRoot) + "/packaging/zel.toml");
    const zel::Configuration asItIs = zel::readConfiguration(text, zel::allCommands());
    EXPECT_EQ(problemsIn(asItIs), "");
    EXPECT_TRUE(asItIs.options.empty()) << "a key is not commented out";
    const std::string all = uncommented(text);
    EXPECT_EQ(problemsIn(zel::readConfiguration(all, zel::allCommands())), "");
    const zel::TomlText toml = zel::readToml(all);
    for (const zel::ConfigTableKeys &table : zel::configurationKeys(zel::allCommands())) {
        for (const zel::ConfigKey &key : table.keys) {
            bool isThere = false;
            for (const zel::ConfigTable &written : toml.tables) {
                for (const zel::ConfigEntry &entry : written.entries)
                    isThere = isThere || (written.name == table.table && entry.key == key.key);
            }
            EXPECT_TRUE(isThere) << table.table << '.' << key.key;
        }
    }
}

// Files and names are examples; all else is what it is without a file.
TEST(Pages, TheExampleConfigurationShowsTheDefaults) {
    const std::string text = uncommented(fileText(std::string(paths::sourceRoot) + "/packaging/zel.toml"));
    zel::Arguments arguments =
        zel::withConfiguration(zel::readConfiguration(text, zel::allCommands()), zel::serveCommand, {});
    for (const char *example : {"--token-file", "--certificate", "--key", "--server-names"})
        EXPECT_EQ(arguments.options.erase(example), 1U) << example;
    std::string problem;
    const zel::ServeSettings shown = zel::readServeSettings(arguments, problem);
    EXPECT_EQ(problem, "");
    EXPECT_EQ(zel::planOf(shown), zel::planOf({}));
    const zel::ServeSettings own;
    EXPECT_EQ(shown.answerTime, own.answerTime);
    EXPECT_EQ(shown.idleTime, own.idleTime);
    EXPECT_EQ(shown.streamLeast, own.streamLeast);
    EXPECT_EQ(shown.streamHeartbeat, own.streamHeartbeat);
    EXPECT_EQ(shown.textfileBytes, own.textfileBytes);
    EXPECT_EQ(shown.textfiles, own.textfiles);
    EXPECT_EQ(shown.listenUnprotected, own.listenUnprotected);
}

} // namespace
