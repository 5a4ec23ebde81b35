// Reads the options of `zel show`.
#include "zel/commands/ShowRequest.h"

#include "zel/SampleTables.h"
#include "zel/commands/OptionValues.h"

#include <charconv>

namespace zel {

namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds intervalDefault = 1s, intervalLeast = 10ms, intervalMost = 24h;
constexpr std::uint64_t countMost = 1000000000;

constexpr OptionEntry options[] = {
    {"--every", "TIME", "a sample each TIME (500ms, 1s, 2m, 1h) until Ctrl-C or --count"},
    {"--count", "N", "end after N outputs; each second without --every"},
    {"--format", "FORMAT",
     "table (default), json: one object per line, csv, openmetrics, prometheus: its text format, "
     "line: line protocol"},
    {"--rates", "", "growth per second and shares of the time between two samples; tables have them by default"},
    {"--raw", "", "counters as the kernel has them, at once; all formats but tables have them by default"},
    {"--all", "", "every field of every row, by the names that json and csv use; of metrics too"},
    {"--wide", "", "lines as long as they get: nothing is cut or left out on a narrow terminal"},
    ROOT_OPTION,
    DEADLINE_OPTION,
    CONFIG_OPTION,
};

std::uint64_t readCount(const std::string &text, std::string &problem) {
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count == 0 || count > countMost)
        problem = "--count " + text + ": a count is a whole number from 1 to " + std::to_string(countMost);
    return count;
}

bool isMetrics(Format format) {
    return format == Format::OpenMetrics || format == Format::Prometheus;
}

// People see what happens now; programs take counters and make rates of their own.
bool wantsRates(const Arguments &arguments, const ShowRequest &request) {
    if (arguments.has("--raw") || isMetrics(request.format))
        return false;
    if (arguments.has("--rates"))
        return true;
    return request.format == Format::Table && needRates({request.areas, request.everything});
}

// What a format has no use for; empty when there is nothing.
std::string conflictOf(const Arguments &arguments, const ShowRequest &request) {
    const Format format = request.format;
    const bool metrics = isMetrics(format);
    if (metrics && request.count != 1 && (arguments.has("--every") || arguments.has("--count")))
        return "--every and --count: openmetrics and prometheus are one page, which ends with its sample; "
               "for one at each request there is zel serve";
    if (metrics && arguments.has("--rates"))
        return "--rates: openmetrics and prometheus have counters, of which their readers take the rates";
    if (metrics && arguments.has("--wide"))
        return "--wide is for tables";
    if (format != Format::Table && !metrics && (arguments.has("--wide") || arguments.has("--all")))
        return "--wide and --all are for tables: json, csv and line always have every field";
    return {};
}

ShowRequest readValues(const Arguments &arguments, std::string &problem) {
    ShowRequest request;
    request.areas = readAreas(arguments.words, problem);
    request.format = readFormat(arguments.value("--format"), problem);
    request.interval = readTime(arguments, "--every", intervalDefault, intervalLeast, intervalMost, problem);
    request.deadline = readDeadline(arguments, problem);
    if (arguments.has("--every"))
        request.count = 0;
    if (arguments.has("--count"))
        request.count = readCount(*arguments.value("--count"), problem);
    if (arguments.has("--raw") && arguments.has("--rates"))
        problem = "--rates and --raw exclude each other: rates are made of counters";
    request.root = readRoot(arguments, problem);
    request.wide = arguments.has("--wide");
    request.everything = arguments.has("--all");
    request.rates = wantsRates(arguments, request);
    return request;
}

} // namespace

std::span<const OptionEntry> showOptions() {
    return options;
}

std::string problemOfShow(const Arguments &arguments) {
    std::string problem;
    readValues(arguments, problem);
    return problem;
}

ShowRequest readShowRequest(const Arguments &arguments, const Arguments &given, std::string &problem) {
    ShowRequest request = readValues(arguments, problem);
    if (problem.empty())
        problem = conflictOf(given, request);
    if (isMetrics(request.format)) // also where the configuration repeats tables
        request.count = 1;
    return request;
}

} // namespace zel
