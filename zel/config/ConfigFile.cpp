// Reads configuration files.
#include "zel/config/ConfigFile.h"

#include "zel/Failure.h"
#include "zel/Output.h"
#include "zel/SmallFile.h"

#include <cerrno>

namespace zel {

ConfigFile readConfigFile(const std::string &name) {
    ConfigFile file{name, true, {}, {}};
    const SmallFile content = readSmallFile(name, CONFIG_LARGEST);
    if (content.error == 0)
        file.configuration = readConfiguration(content.text, allCommands());
    else if (content.error == EFBIG)
        file.problems = {name + ": larger than any configuration (" + std::to_string(CONFIG_LARGEST) + " bytes)"};
    else
        file.problems = {name + ": " + errorText(content.error)};
    for (const ConfigProblem &problem : file.configuration.problems)
        file.problems.push_back(problemText(name, problem));
    return file;
}

ConfigFile readConfigFileOf(const Arguments &given) {
    if (const std::optional<std::string> name = given.value(CONFIG_OPTION_NAME))
        return readConfigFile(*name);
    struct stat status {};
    if (stat(CONFIG_FILE, &status) != 0 && errno == ENOENT)
        return {CONFIG_FILE, false, {}, {}};
    return readConfigFile(CONFIG_FILE);
}

std::optional<Arguments> configuredArguments(const Command &command, const Arguments &given) {
    const ConfigFile file = readConfigFileOf(given);
    if (file.problems.empty())
        return withConfiguration(file.configuration, command, given);
    const bool isNamed = given.has(CONFIG_OPTION_NAME);
    const std::size_t more = file.problems.size() - 1;
    complain(file.problems[0] +
             (more > 0 ? " (and " + std::to_string(more) + " more: zel check " + file.name + ')' : "") +
             (isNamed ? "" : "; the file is left aside"));
    return isNamed ? std::nullopt : std::optional(given);
}

} // namespace zel
