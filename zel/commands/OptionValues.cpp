// Reads the values of options that several commands have.
#include "zel/commands/OptionValues.h"

#include "zel/Duration.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace zel {

namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds deadlineDefault = 2s, deadlineLeast = 10ms, deadlineMost = 10min;

} // namespace

milliseconds readTime(const Arguments &arguments, const char *option, milliseconds otherwise, milliseconds least,
                      milliseconds most, std::string &problem) {
    const std::optional<std::string> text = arguments.value(option);
    if (!text)
        return otherwise;
    const ReadDuration read = readDuration(*text, least, most);
    if (!read.problem.empty())
        problem = std::string(option) + ' ' + *text + ": " + read.problem;
    return read.value;
}

milliseconds readDeadline(const Arguments &arguments, std::string &problem) {
    return readTime(arguments, "--deadline", deadlineDefault, deadlineLeast, deadlineMost, problem);
}

std::string readRoot(const Arguments &arguments, std::string &problem) {
    const std::optional<std::string> root = arguments.value("--root");
    if (!root)
        return {};
    struct stat status {};
    const char *wrong = nullptr;
    if (stat(root->c_str(), &status) != 0)
        wrong = std::strerror(errno);
    else if (!S_ISDIR(status.st_mode))
        wrong = std::strerror(ENOTDIR);
    if (wrong != nullptr)
        problem = "--root " + *root + ": " + wrong +
                  "; a root is a directory that holds proc, sys and etc of a host, such as / or /host";
    return *root;
}

} // namespace zel
