// Parses the command line with CLI11 and says in our own words what is wrong with it.
#include "zel/CommandLine.h"

#include "zel/Help.h"
#include "zel/Output.h"
#include "zel/Words.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace zel {

namespace {

constexpr const char *helpNames = "-h,--help";
constexpr std::string_view dashes = "--";
constexpr const char *helpMeaning = "this text";

int printed(Written written) {
    return written == Written::Failed ? EXIT_FAILED : EXIT_DONE;
}

std::vector<std::string_view> commandNames() {
    std::vector<std::string_view> names;
    for (const Command *command : allCommands())
        names.push_back(command->name);
    return names;
}

std::vector<std::string_view> optionNames(const Command &command) {
    std::vector<std::string_view> names{"--help"};
    for (const OptionEntry &option : command.options)
        names.push_back(option.name);
    return names;
}

int refuseInGeneral(const std::string &problem) {
    complain(problem);
    writeError("try: zel --help\n");
    return EXIT_USAGE;
}

// One command within the parser, and what was given to it.
struct Parsed {
    const Command *command;
    CLI::App *parser;
    Arguments arguments;
    std::map<std::string, std::string> values; // of every option, given or not

    void addTo(CLI::App &app) {
        parser = app.add_subcommand(std::string(command->name), std::string(command->summary));
        parser->set_help_flag(helpNames, helpMeaning);
        if (!command->words.empty())
            parser->add_option("words", arguments.words)->allow_extra_args();
        for (const OptionEntry &option : command->options) {
            const std::string name(option.name);
            if (option.value.empty())
                parser->add_flag(name)->disable_flag_override();
            else
                parser->add_option(name, values[name])->take_last();
        }
    }
    void collect() {
        for (const OptionEntry &option : command->options) {
            const std::string name(option.name);
            if (parser->count(name) > 0)
                arguments.options[name] = values[name];
        }
    }
    int refuseUnknown() const {
        const std::string wrong = parser->remaining().empty() ? "" : parser->remaining()[0];
        const std::string name = wrong.substr(0, wrong.find('='));
        return refuse(*command, "there is no option " + inQuotes(name) + suggestion(name, optionNames(*command)));
    }
    // CLI11 begins its message with the name of the option, that of a flag without its dashes.
    int refuseValue(const std::string &message) const {
        for (const OptionEntry &option : command->options) {
            const std::string name(option.name);
            if (message.starts_with(name) && !option.value.empty())
                return refuse(*command, name + " needs a value: " + name + ' ' + std::string(option.value));
            if (message.starts_with(name.substr(dashes.size())) && option.value.empty())
                return refuse(*command, name + " takes no value");
        }
        return refuse(*command, message);
    }
};

int refuseCommand(const CLI::App &app) {
    const std::string wrong = app.remaining().empty() ? "" : app.remaining()[0];
    const bool isOption = wrong.starts_with('-');
    const std::vector<std::string_view> names =
        isOption ? std::vector<std::string_view>{"--help", "--version"} : commandNames();
    return refuseInGeneral((isOption ? "there is no option " : "there is no command ") + inQuotes(wrong) +
                           suggestion(wrong, names) + (isOption ? "" : " (commands: " + listed(commandNames()) + ")"));
}

class CommandLine {
public:
    CommandLine() {
        m_app.set_help_flag(helpNames, helpMeaning);
        m_app.add_flag("--version", m_version);
        m_app.require_subcommand(0, 1);
        for (const Command *command : allCommands()) {
            m_commands.push_back(std::make_unique<Parsed>(Parsed{command, nullptr, {}, {}}));
            m_commands.back()->addTo(m_app);
        }
    }

    int run(int count, char **arguments) {
        try {
            m_app.parse(count, arguments);
        } catch (const CLI::CallForHelp &) {
            return help();
        } catch (const CLI::ExtrasError &) {
            const Parsed *parsed = chosen();
            return parsed == nullptr || parsed->parser->remaining().empty() ? refuseCommand(m_app)
                                                                            : parsed->refuseUnknown();
        } catch (const CLI::ParseError &error) {
            const Parsed *parsed = chosen();
            return parsed == nullptr ? refuseInGeneral(error.what()) : parsed->refuseValue(error.what());
        }
        if (m_version)
            return printed(writeOut("zel " ZEL_VERSION "\n"));
        Parsed *parsed = chosen();
        if (parsed == nullptr)
            return help();
        parsed->collect();
        return parsed->command->run(*parsed->command, parsed->arguments);
    }

private:
    int help() { return printed(writeOut(chosen() == nullptr ? generalHelp() : commandHelp(*chosen()->command))); }
    Parsed *chosen() {
        for (const std::unique_ptr<Parsed> &parsed : m_commands) {
            if (parsed->parser->parsed())
                return parsed.get();
        }
        return nullptr;
    }

    CLI::App m_app;
    bool m_version = false;
    std::vector<std::unique_ptr<Parsed>> m_commands;
};

} // namespace

int refuse(const Command &command, std::string_view problem) {
    const std::string name(command.name);
    complain(name + ": " + std::string(problem));
    writeError("try: zel " + name + " --help\n");
    return EXIT_USAGE;
}

std::string suggestion(std::string_view wrong, std::span<const std::string_view> words) {
    const std::string_view near = nearestWord(wrong, words);
    return near.empty() ? "" : "; did you mean " + std::string(near) + '?';
}

std::string inQuotes(std::string_view word) {
    return '\'' + std::string(word) + '\'';
}

int runCommandLine(int count, char **arguments) {
    return CommandLine().run(count, arguments);
}

} // namespace zel
