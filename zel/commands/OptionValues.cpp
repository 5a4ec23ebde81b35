// Reads the values of options that several commands have.
#include "zel/commands/OptionValues.h"

#include "zel/Directory.h"
#include "zel/Duration.h"

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
    if (const std::string wrong = rootProblem(*root); !wrong.empty())
        problem = "--root " + *root + ": " + wrong;
    return *root;
}

} // namespace zel
