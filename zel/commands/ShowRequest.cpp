// Reads the options of `zel show`.
#include "zel/commands/ShowRequest.h"

#include "zel/Duration.h"
#include "zel/SampleTables.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <sys/stat.h>

namespace zel {

namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds intervalDefault = 1s, intervalLeast = 10ms, intervalMost = 24h;
constexpr milliseconds deadlineDefault = 2s, deadlineLeast = 10ms, deadlineMost = 10min;
constexpr std::uint64_t countMost = 1000000000;

constexpr OptionEntry options[] = {
    {"--every", "TIME", "a sample each TIME (500ms, 1s, 2m, 1h) until Ctrl-C or --count"},
    {"--count", "N", "end after N outputs; each second without --every"},
    {"--format", "FORMAT", "table (default), json: one object per line, csv"},
    {"--rates", "", "growth per second and shares of the time between two samples; tables have them by default"},
    {"--raw", "", "counters as the kernel has them, at once; json and csv have them by default"},
    {"--all", "", "every field of every row, by the names that json and csv use"},
    {"--wide", "", "lines as long as they get: nothing is cut or left out on a narrow terminal"},
    {"--root", "DIR", "another host: the directory that holds its proc, sys and etc"},
    {"--deadline", "TIME", "what has not answered after TIME is reported as timed out (2s)"},
};

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

std::uint64_t readCount(const std::string &text, std::string &problem) {
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count == 0 || count > countMost)
        problem = "--count " + text + ": a count is a whole number from 1 to " + std::to_string(countMost);
    return count;
}

void checkRoot(const std::string &root, std::string &problem) {
    struct stat status {};
    const char *wrong = nullptr;
    if (stat(root.c_str(), &status) != 0)
        wrong = std::strerror(errno);
    else if (!S_ISDIR(status.st_mode))
        wrong = std::strerror(ENOTDIR);
    if (wrong != nullptr)
        problem = "--root " + root + ": " + wrong +
                  "; a root is a directory that holds proc, sys and etc of a host, such as / or /host";
}

// People see what happens now; programs take counters and make rates of their own.
bool wantsRates(const Arguments &arguments, const ShowRequest &request) {
    if (arguments.has("--raw"))
        return false;
    if (arguments.has("--rates"))
        return true;
    return request.format == Format::Table && needRates({request.areas, request.everything});
}

} // namespace

std::span<const OptionEntry> showOptions() {
    return options;
}

ShowRequest readShowRequest(const Arguments &arguments, std::string &problem) {
    ShowRequest request;
    request.areas = readAreas(arguments.words, problem);
    request.format = readFormat(arguments.value("--format"), problem);
    request.interval = readTime(arguments, "--every", intervalDefault, intervalLeast, intervalMost, problem);
    request.deadline = readTime(arguments, "--deadline", deadlineDefault, deadlineLeast, deadlineMost, problem);
    if (arguments.has("--every"))
        request.count = 0;
    if (arguments.has("--count"))
        request.count = readCount(*arguments.value("--count"), problem);
    if (arguments.has("--raw") && arguments.has("--rates"))
        problem = "--rates and --raw exclude each other: rates are made of counters";
    if (arguments.has("--root")) {
        request.root = *arguments.value("--root");
        checkRoot(request.root, problem);
    }
    request.wide = arguments.has("--wide");
    request.everything = arguments.has("--all");
    if (problem.empty() && request.format != Format::Table && (request.wide || request.everything))
        problem = "--wide and --all are for tables: json and csv always have every field";
    request.rates = wantsRates(arguments, request);
    return request;
}

} // namespace zel
