// `zel check`: reads the configuration and says what it would do.
#include "zel/Output.h"
#include "zel/commands/Commands.h"
#include "zel/config/ConfigFile.h"
#include "zel/config/ServeOptions.h"
#include "zel/config/ServePlan.h"

#include <algorithm>
#include <sys/stat.h>

namespace zel {

namespace {

constexpr std::size_t mostProblems = 20; // that are said: one mistake may make many

constexpr Example examples[] = {
    {"zel check", "what zel serve does with /etc/zel/zel.toml"},
    {"zel check new.toml && cp new.toml /etc/zel/zel.toml && systemctl reload zel", "a change that cannot go wrong"},
};

constexpr std::string_view about =
    "Without FILE: /etc/zel/zel.toml. Where that is not there, every option has its default.\n"
    "Every error of the file is said with its line and column, what is wrong and what would be right. Then the files "
    "that it names are looked at as the user who asks sees them: the token, the certificate and whether the key is its "
    "own, directories. Nothing is listened to, so that a port that is taken does not show.";

constexpr Example exitStatus[] = {
    {"0", "the configuration is right"},
    {"1", "it has errors, a file that it names is missing or does not fit, or the output failed"},
    {"2", "the command line is wrong"}};

Arguments configured(const ConfigFile &file, const Command &command) {
    return withConfiguration(file.configuration, command, {});
}

// What the file gives to a command that shows something: "zel show --format json".
void appendCommand(const ConfigFile &file, const Command &command, std::string &out) {
    std::string line;
    for (const auto &[option, value] : configured(file, command).options)
        line += ' ' + option + (value.empty() ? "" : ' ' + value);
    if (!line.empty())
        out += "zel " + std::string(command.name) + " is zel " + std::string(command.name) + line + "\n\n";
}

std::string plan(const ConfigFile &file, const ServeSettings &settings) {
    std::string text = file.isThere ? file.name + " has no errors\n\n"
                                    : "there is no " + file.name + ": every option has its default\n\n";
    text += "zel serve\n";
    for (const std::string &sentence : planOf(settings))
        text += "  " + sentence + '\n';
    text += '\n';
    for (const Command *command : allCommands()) {
        if (command->check != nullptr && command != &serveCommand)
            appendCommand(file, *command, text);
    }
    text.pop_back();
    return text;
}

// Whoever may write the file decides what the service does.
void remarkRights(const std::string &name) {
    struct stat status {};
    if (stat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        complain("remark: " + name + ": users other than its owner may change it (chmod go-w " + name + ")");
    if (status.st_uid != 0)
        complain("remark: " + name + ": it does not belong to root");
}

// A file of root that root alone may read suits a server that root starts, but not zel.service.
void remarkSecret(const std::string &path) {
    struct stat status {};
    if (path.empty() || stat(path.c_str(), &status) != 0 || status.st_uid != 0)
        return;
    const bool isForGroup = (status.st_mode & S_IRGRP) != 0 && status.st_gid != 0;
    if (!isForGroup)
        complain("remark: " + path +
                 ": zel.service has a user of its own, who may not read it: hand it over by "
                 "LoadCredential= (man zel-serve)");
}

int complainAll(const std::vector<std::string> &problems) {
    for (std::size_t at = 0; at < std::min(problems.size(), mostProblems); ++at)
        complain(problems[at]);
    if (problems.size() > mostProblems)
        complain("and " + std::to_string(problems.size() - mostProblems) + " more");
    return EXIT_FAILED;
}

int runCheck(const Command &command, const Arguments &arguments) {
    if (arguments.words.size() > 1)
        return refuse(command, "one FILE at a time");
    const ConfigFile file = arguments.words.empty() ? readConfigFileOf({}) : readConfigFile(arguments.words[0]);
    if (!file.problems.empty())
        return complainAll(file.problems);
    std::string problem;
    const ServeSettings settings = readServeSettings(configured(file, serveCommand), problem);
    std::vector<std::string> problems = problemsOf(settings);
    for (std::string &wrong : problems)
        wrong.insert(0, file.name + ": ");
    if (file.isThere)
        remarkRights(file.name);
    for (const std::string &path : credentialsOf(settings))
        complain("remark: " + path + " is there only for the service (LoadCredential=), and is not looked at");
    for (const std::string &path : {settings.tokenFile, settings.keyFile})
        remarkSecret(path);
    if (!problems.empty())
        return complainAll(problems);
    return writeOut(plan(file, settings)) == Written::Failed ? EXIT_FAILED : EXIT_DONE;
}

} // namespace

const Command checkCommand{"check",    "[FILE]", "what the configuration does, and what is wrong with it",
                           about,      {},       examples,
                           exitStatus, runCheck};

} // namespace zel
